#pragma once

#include <set>
#include <string>

#include "ImsMessage.h"

namespace MovrikCorelib {

/// Parameter of the "databank" messages, for a provider outside this library. It stays the sender's.
/// Group "get": message type "string" fills the wide string at `value`, "list" the list of wide strings,
/// "keys" fills `keys`. Group "set": "string" and "list" read `value`, which the provider must not change.
class DataQueryParam : public ImsMessageParameter {
public:
    std::string bank;
    std::wstring key;
    void* value = nullptr;
    int status = 0;  ///< 2 no such bank, 3 no such key, anything else is success
    std::set<std::wstring> keys;
};

}  // namespace MovrikCorelib
