#include "SystemBase.h"

#include <list>
#include <map>

#include "ConfTypes.h"
#include "FileRegistry.h"
#include "StringTools.h"
#include "SystemTools.h"

namespace MovrikCorelib {

namespace {

/// The keys up to `KeyCurrentUser` have the numbers of the details, plus one.
enum SystemKey {
    KeyUnknown = 0,
    KeyHostName = SystemTools::HostName + 1,
    KeyMachineName = SystemTools::MachineName + 1,
    KeyPlatform = SystemTools::Platform + 1,
    KeyOs = SystemTools::Os + 1,
    KeyOsVersion = SystemTools::OsVersion + 1,
    KeyOsLanguage = SystemTools::OsLanguage + 1,
    KeyKeyboardLanguage = SystemTools::KeyboardLanguage + 1,
    KeyKeyboardType = SystemTools::KeyboardType + 1,
    KeyArchitecture = SystemTools::Architecture + 1,
    KeyDomain = SystemTools::Domain + 1,
    KeyCurrentUser = SystemTools::User + 1,
    KeyOsBits = 12,
    KeyGroups = 13,
    KeyGroupUsers = 14,
    KeyUserGroups = 15,
    KeyIP = 16,
    KeyDiskSerial = 17
};

std::string detail(int code) {
    return SystemTools::obtain(static_cast<SystemTools::DetailCode>(code));
}

std::string asNumber(const std::string& text) {
    return StringTools::toString(StringTools::toUInt32(text));
}

std::string answer(int key, const std::string& argument) {
    switch (key) {
        case KeyOsVersion:
            return asNumber(detail(SystemTools::OsVersion));
        case KeyOsBits:
            return asNumber(detail(SystemTools::OsBits));
        case KeyGroups:
            return StringTools::join(SystemTools::obtainGroups(), '\n');
        case KeyGroupUsers:
            return StringTools::join(SystemTools::obtainGroupUsers(argument), '\n');
        case KeyUserGroups:
            return StringTools::join(SystemTools::obtainUserGroups(argument), '\n');
        case KeyIP:
            return StringTools::join(SystemTools::obtainIP(), '\n');
        case KeyDiskSerial:
            return SystemTools::obtainDiskSerial(argument);
        default:
            return detail(key - 1);
    }
}

template <class Value>
Value& target(const SystemQueryParam& param) {
    return *static_cast<Value*>(param.value);
}

template <class Number>
int writeNumber(const SystemQueryParam& param, int type) {
    return FileRegistry::setRaw(param.key, type, StringTools::toString(target<Number>(param)));
}

/// The registry's result as the answer to the message.
MessageHandleCode conclude(int result, SystemQueryParam& param) {
    switch (result) {
        case FileRegistry::Done:
            break;
        case FileRegistry::BadArguments:
        case FileRegistry::NoSuchKey:
            param.status = ConfStatusNotFound;
            break;
        case FileRegistry::WrongType:
            param.status = ConfStatusWrongType;
            break;
        default:
            param.status = ConfStatusNoAccess;
            break;
    }
    return MessageConsumed;
}

MessageHandleCode refuse(int status, SystemQueryParam& param) {
    param.status = status;
    return MessageHandled;
}

/// The message's parameter, null if it has none that can be answered.
SystemQueryParam* parameterOf(const ImsMessage& message) {
    auto* param = dynamic_cast<SystemQueryParam*>(message.parameter);
    return param && param->value ? param : nullptr;
}

}  // namespace

SystemBase::SystemBase() : ImsAgent("system-base") {
    try {
        hookQuery = setMessageHook(false, "system", "query", "", HookNormal);
        hookSet = setMessageHook(false, "system", "set", "", HookNormal);
    } catch (const Exception& cause) {
        if (hookQuery != 0)
            removeMessageHook(hookQuery);
        throwWrapped<SystemBase_FailedToSetIMSHook>(cause);
    }
}

SystemBase::~SystemBase() {
    removeMessageHook(hookQuery);
    removeMessageHook(hookSet);
}

MessageHandleCode SystemBase::hookMessage(unsigned long long id, const ImsMessage& message) {
    return id == hookQuery || id == hookSet ? handleMessage(message) : MessageNotHandled;
}

MessageHandleCode SystemBase::handleMessage(const ImsMessage& message) {
    if (message.generalType != "system")
        return MessageNotHandled;
    if (message.groupType == "query")
        return query(message);
    if (message.groupType == "set")
        return set(message);
    return MessageNotHandled;
}

MessageHandleCode SystemBase::query(const ImsMessage& message) {
    SystemQueryParam* param = parameterOf(message);
    if (!param)
        return MessageNotHandled;
    if (param->type == ConfTypeSystemString)
        return querySystem(*param);
    return queryLocalConf(*param);
}

MessageHandleCode SystemBase::set(const ImsMessage& message) {
    SystemQueryParam* param = parameterOf(message);
    if (!param)
        return MessageNotHandled;
    if (param->type < ConfTypeLocalInt || param->type > ConfTypeLocalSet)
        return refuse(ConfStatusWriteFailed, *param);
    return setLocalConf(*param);
}

MessageHandleCode SystemBase::querySystem(SystemQueryParam& param) {
    std::string key = param.key;
    std::string argument;
    const int number = mapSysKey(key, argument);
    if (number == KeyUnknown)
        return refuse(ConfStatusNotFound, param);
    target<std::string>(param) = answer(number, argument);
    return MessageConsumed;
}

MessageHandleCode SystemBase::queryLocalConf(SystemQueryParam& param) {
    return queryLocalConfFileReg(param);
}

MessageHandleCode SystemBase::queryLocalConfFileReg(SystemQueryParam& param) {
    switch (param.type) {
        case ConfTypeLocalInt:
            return conclude(FileRegistry::get(param.key, target<long long>(param)), param);
        case ConfTypeLocalUInt:
            return conclude(FileRegistry::get(param.key, target<unsigned long long>(param)), param);
        case ConfTypeLocalFloat:
            return conclude(FileRegistry::get(param.key, target<double>(param)), param);
        case ConfTypeLocalString:
            return conclude(FileRegistry::getRaw(param.key, FileRegistry::String, target<std::string>(param)),
                            param);
        case ConfTypeLocalSet:
            return conclude(FileRegistry::get(param.key, target<std::list<std::string>>(param)), param);
        default:
            return refuse(ConfStatusUnknownType, param);
    }
}

MessageHandleCode SystemBase::setLocalConf(SystemQueryParam& param) {
    return setLocalConfFileReg(param);
}

MessageHandleCode SystemBase::setLocalConfFileReg(SystemQueryParam& param) {
    switch (param.type) {
        case ConfTypeLocalInt:
            return conclude(writeNumber<long long>(param, FileRegistry::Int), param);
        case ConfTypeLocalUInt:
            return conclude(writeNumber<unsigned long long>(param, FileRegistry::UInt), param);
        case ConfTypeLocalFloat:
            return conclude(writeNumber<double>(param, FileRegistry::Double), param);
        case ConfTypeLocalString:
            return conclude(FileRegistry::setRaw(param.key, FileRegistry::String, target<std::string>(param)),
                            param);
        case ConfTypeLocalSet:
            return conclude(FileRegistry::set(param.key, target<std::list<std::string>>(param)), param);
        default:
            return refuse(ConfStatusInvalidType, param);
    }
}

int SystemBase::mapSysKey(std::string& key, std::string& argument) {
    static const std::map<std::string, int> keys = {
        {"hostname", KeyHostName},
        {"machinename", KeyMachineName},
        {"platform", KeyPlatform},
        {"os", KeyOs},
        {"osversion", KeyOsVersion},
        {"oslang", KeyOsLanguage},
        {"keyboardlang", KeyKeyboardLanguage},
        {"keyboardtype", KeyKeyboardType},
        {"arch", KeyArchitecture},
        {"domain", KeyDomain},
        {"currentuser", KeyCurrentUser},
        {"osbits", KeyOsBits},
        {"groups", KeyGroups},
        {"groupusers", KeyGroupUsers},
        {"usergroups", KeyUserGroups},
        {"ip", KeyIP},
        {"diskserial", KeyDiskSerial},
    };
    if (const size_t dot = key.find('.'); dot != key.npos) {
        argument = key.substr(dot + 1);
        // Callers rely on it that a key with an argument is unknown and answers nothing.
        key.erase(0, dot);
    }
    const auto entry = keys.find(key);
    return entry == keys.end() ? KeyUnknown : entry->second;
}

}  // namespace MovrikCorelib
