#pragma once

#include <string>

#include "Exception.h"
#include "ImsAgent.h"
#include "SystemQueryParam.h"

namespace MovrikCorelib {

/// Answers the "system" messages of the default message system: facts about the machine from `SystemTools`,
/// and local settings from `FileRegistry`. The answer is written through the `value` of the message's
/// `SystemQueryParam`, and its `status` tells the outcome:
///
///     0  done                                       5  the query's type is not 16 to 21
///     3  no such key, or one that cannot be stored  6  the registry could not be accessed
///     4  the stored value has another type          9, 11  the type is no local type (11 by message)
///
/// Handlers run on the sender's thread. The handlers answer `MessageConsumed`, or `MessageHandled` if the
/// system key or the type is unknown, or `MessageNotHandled` if the message is not for them.
class SystemBase : public ImsAgent {
public:
    MOVRIK_FAILURE(SystemBase_FailedToSetIMSHook);

    /// Sets the hooks; throws `SystemBase_FailedToSetIMSHook` with the cause contained.
    SystemBase();
    ~SystemBase() override;
    SystemBase(const SystemBase&) = delete;
    SystemBase& operator=(const SystemBase&) = delete;

    MessageHandleCode handleMessage(const ImsMessage& message) override;
    MessageHandleCode hookMessage(unsigned long long id, const ImsMessage& message) override;

    /// The "query" and the "set" messages.
    MessageHandleCode query(const ImsMessage& message);
    MessageHandleCode set(const ImsMessage& message);

    /// `value` points to a string.
    MessageHandleCode querySystem(SystemQueryParam& param);

    /// `value` points to what the type says: 17 long long, 18 unsigned long long, 19 double, 20 string,
    /// 21 list of strings.
    MessageHandleCode queryLocalConf(SystemQueryParam& param);
    MessageHandleCode queryLocalConfFileReg(SystemQueryParam& param);
    MessageHandleCode setLocalConf(SystemQueryParam& param);
    MessageHandleCode setLocalConfFileReg(SystemQueryParam& param);

    /// The number of a system key, 0 if it is none. A key with a "." is never found: `argument` gets the text
    /// behind the dot, and `key` is left with the dot and that text.
    static int mapSysKey(std::string& key, std::string& argument);

private:
    unsigned long long hookQuery = 0;
    unsigned long long hookSet = 0;
};

}  // namespace MovrikCorelib
