#pragma once

#include <string>

#include "ImsMessage.h"

namespace MovrikCorelib {

/// Parameter of the "system" messages, "query" and "set": one system value or one local value. It stays the
/// sender's and carries the answer back.
class SystemQueryParam : public ImsMessageParameter {
public:
    std::string key;  ///< system key or local key
    int type = 0;     ///< `ConfType` 16 to 21
    /// The sender's object: string, long long, unsigned long long, double or list of strings.
    void* value = nullptr;
    bool persistent = false;  ///< the flag of the local calls, passed along unread
    int status = 0;           ///< the answer, a `ConfStatus`
};

}  // namespace MovrikCorelib
