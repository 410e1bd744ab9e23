#include "ConfAgent.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>

#include "ConfMessages.h"
#include "DataQueryParam.h"
#include "FileTools.h"
#include "GlobMatcher.h"
#include "StringTools.h"
#include "SystemQueryParam.h"

namespace MovrikCorelib {

namespace {

/// Null if there is no memory.
template <class Parameter>
std::unique_ptr<Parameter> makeParameter() {
    return std::unique_ptr<Parameter>(new (std::nothrow) Parameter);
}

/// A store only reads what a write points to; the one pointer of a parameter serves both directions.
std::unique_ptr<ConfQueryParam> makeQuery(const std::string& path, int type, const void* value, bool isSet) {
    auto param = makeParameter<ConfQueryParam>();
    if (param) {
        param->path = path;
        param->type = type;
        param->value = const_cast<void*>(value);
        param->isSet = isSet;
    }
    return param;
}

std::unique_ptr<SystemQueryParam> makeLocal(const std::string& key, int type, const void* value,
                                            bool persistent) {
    auto param = makeParameter<SystemQueryParam>();
    if (param) {
        param->key = key;
        param->type = type;
        param->value = const_cast<void*>(value);
        param->persistent = persistent;
    }
    return param;
}

/// What a failed query tells: where, and the type that was asked for.
ParamStream details(const std::string& where) {
    return ParamStream() << where;
}
ParamStream details(const std::string& where, int type) {
    return details(where) << mapConfType(type);
}

constexpr char OutOfRange[] =
    "@conf-agent.test.value-out-of-range{Configuration entry \"%\" (value=%) is not within the required "
    "range of % through %};";

}  // namespace

void ConfAgent::registerKeyword(const std::string& keyword, const std::string& path) {
    const auto param = makeParameter<ConfKeywordParam>();
    if (!param)
        throwFailure<Keyword_OutOfMemory>("@out-of-memory{Out of memory};");
    param->keyword = keyword;
    param->path = path;
    ImsMessage message("conf", "keyword", "", param.get());
    if (!sendMessage(message))
        throwFailure<Keyword_ImsNotWorking>(
            "@conf-agent.keyword.ims-not-working{Failed to register keyword \"%\" = \"%\" because IMS isn't "
            "working};",
            ParamStream() << keyword << path);
}

std::string ConfAgent::processPath(const std::string& path) {
    const auto param = makeParameter<ConfPathParam>();
    if (!param)
        throwFailure<Keyword_OutOfMemory>("@out-of-memory{Out of memory};");
    param->rawPath = path;
    ImsMessage message("conf", "rawpath", "", param.get());
    if (!sendMessage(message))
        throwFailure<Keyword_ImsNotWorking>(
            "@conf-agent.keyword.ims-not-working{Failed to process path \"%\" because IMS isn't working};",
            ParamStream() << path);
    return param->processedPath;
}

void ConfAgent::sendQuery(ConfQueryParam* param) {
    const std::unique_ptr<ConfQueryParam> owned(param);
    if (!param)
        throwFailure<Query_OutOfMemory>("@out-of-memory{Out of memory};");
    ImsMessage message("conf", "query", "", param);
    if (!sendMessage(message))
        throwFailure<Query_ImsNotWorking>(
            "@conf-agent.query.ims-not-working{Failed to query configuration entry \"%\" because IMS isn't "
            "working};",
            details(param->path));
    switch (param->status) {
        case ConfStatusNotFound:
            throwFailure<Query_NotFound>(
                "@conf-agent.query.not-found{Configuration entry \"%\" was not found};",
                details(param->path));
        case ConfStatusWrongType:
            throwFailure<Query_WrongType>(
                "@conf-agent.query.wrong-type{Configuration entry \"%\" is not of requested type (%)};",
                details(param->path, param->type));
        case ConfStatusUnknownType:
            // Callers catch one class for both answers about the type.
            throwFailure<Query_WrongType>(
                "@conf-agent.query.unknown-type{Got request for configuration entry \"%\" of type %, but no "
                "such type is defined};",
                details(param->path, param->type));
        case ConfStatusInvalidPath:
            throwFailure<Query_InvalidPath>(
                "@conf-agent.query.invalid-path{Invalid configuration node path \"%\"};",
                details(param->path));
        case ConfStatusFailedToRemove:
            throwFailure<Query_FailedToRemove>(
                "@conf-agent.query.failed-to-remove{Failed to remove configuration node at \"%\"};",
                details(param->path));
        default:
            break;
    }
}

int ConfAgent::getStringOption(const std::string& path, const std::map<std::string, int>& options) {
    const std::string value = getString(path);
    const auto found = options.find(value);
    if (found == options.end())
        throwFailure<Query_NotValidOption>(
            "@conf-agent.get.not-valid-option{The value \"%\" at configuration entry \"%\" is not a valid "
            "option};",
            ParamStream() << value << path);
    return found->second;
}

void ConfAgent::read(const std::string& path, int type, void* value) {
    sendQuery(makeQuery(path, type, value, false).release());
}

void ConfAgent::write(const std::string& path, int type, const void* value) {
    sendQuery(makeQuery(path, type, value, true).release());
}

void ConfAgent::writeList(const std::string& path, const void* value, const char* form, char separator) {
    auto param = makeQuery(path, ConfTypeList, value, true);
    if (param) {
        param->attributes["ltype"] = form;
        param->separator = separator;
    }
    sendQuery(param.release());
}

void ConfAgent::setNode(const std::string& path, const std::string& description, int nodeType) {
    auto param = makeQuery(path, ConfTypeMakeNode, &path, true);
    if (param) {
        param->description = &description;
        param->nodeType = nodeType;
    }
    sendQuery(param.release());
}

std::string ConfAgent::getSystem(const std::string& key) {
    std::string value;
    const auto param = makeLocal(key, ConfTypeSystemString, &value, false);
    ImsMessage message("system", "query", "", param.get());
    // The status is not looked at: callers take an unknown key for an empty answer.
    if (!param || !sendMessage(message))
        throwFailure<GetSystem_Failed>("@conf-agent.get-system.failed{Failed to get system value for \"%\"};",
                                       ParamStream() << key);
    return value;
}

void ConfAgent::queryLocal(SystemQueryParam* param) {
    const std::unique_ptr<SystemQueryParam> owned(param);
    if (!param)
        throwFailure<GetLocal_OutOfMemory>("@out-of-memory{Out of memory};");
    ImsMessage message("system", "query", "", param);
    if (!sendMessage(message))
        throwFailure<GetLocal_ImsNotWorking>(
            "@conf-agent.get-local.ims-not-working{Failed to query local configuration key \"%\" because IMS "
            "isn't working};",
            details(param->key));
    switch (param->status) {
        case ConfStatusNotFound:
            throwFailure<GetLocal_NotFound>(
                "@conf-agent.get-local.not-found{Configuration key \"%\" was not found};",
                details(param->key));
        case ConfStatusWrongType:
            throwFailure<GetLocal_WrongType>(
                "@conf-agent.get-local.wrong-type{Configuration key \"%\" is not of requested type (%)};",
                details(param->key, param->type));
        case ConfStatusNoAccess:
            throwFailure<GetLocal_NoAccess>(
                "@conf-agent.get-local.no-access{Got request for configuration key \"%\" of type %, but "
                "failed to get access to it};",
                details(param->key, param->type));
        default:
            break;
    }
}

void ConfAgent::setLocal(SystemQueryParam* param) {
    const std::unique_ptr<SystemQueryParam> owned(param);
    if (!param)
        throwFailure<SetLocal_OutOfMemory>("@out-of-memory{Out of memory};");
    ImsMessage message("system", "set", "", param);
    if (!sendMessage(message))
        throwFailure<SetLocal_ImsNotWorking>(
            "@conf-agent.set-local.ims-not-working{Failed to set local configuration key \"%\" because IMS "
            "isn't working};",
            details(param->key));
    switch (param->status) {
        case ConfStatusInvalidType:
            throwFailure<SetLocal_InvalidType>(
                "@conf-agent.set-local.invalid-type{Cannot set configuration key \"%\" of type \"%\" - "
                "invalid type};",
                details(param->key, param->type));
        case ConfStatusWriteDenied:
            throwFailure<SetLocal_NoAccess>(
                "@conf-agent.set-local.no-access{Cannot set configuration key \"%\" of type \"%\" because "
                "access to it was denied};",
                details(param->key, param->type));
        case ConfStatusWriteFailed:
            throwFailure<SetLocal_Failure>(
                "@conf-agent.set-local.failure{Configuration key \"%\" of type \"%\" could not be set};",
                details(param->key, param->type));
        default:
            break;
    }
}

void ConfAgent::readLocal(const std::string& key, int type, void* value, bool persistent) {
    queryLocal(makeLocal(key, type, value, persistent).release());
}

void ConfAgent::writeLocal(const std::string& key, int type, const void* value, bool persistent) {
    setLocal(makeLocal(key, type, value, persistent).release());
}

void ConfAgent::getFromBank(DataQueryParam& param, const char* kind) {
    ImsMessage message("databank", "get", kind, &param);
    if (!sendMessage(message))
        throwFailure<GetData_ImsNotWorking>(
            L"@conf-agent.get-data.ims-not-working{Failed to query data bank \"%\" because IMS isn't "
            L"working};",
            ParamStream() << param.bank);
    if (param.status == ConfStatusBankNotFound)
        throwFailure<GetData_BankNotFound>(
            L"@conf-agent.get-data.bank-not-found{Data bank \"%\" was not found};", details(param.bank));
}

void ConfAgent::readData(const std::string& bank, const std::wstring& key, void* value, const char* kind) {
    DataQueryParam param;
    param.bank = bank;
    param.key = key;
    param.value = value;
    getFromBank(param, kind);
    if (param.status == ConfStatusNotFound)
        throwFailure<GetData_NotFound>(
            L"@conf-agent.get-data.not-found{Key \"%\" was not found in bank \"%\"};", ParamStream()
                                                                                           << key << bank);
}

void ConfAgent::writeData(const std::string& bank, const std::wstring& key, const void* value,
                          const char* kind) {
    DataQueryParam param;
    param.bank = bank;
    param.key = key;
    param.value = const_cast<void*>(value);
    ImsMessage message("databank", "set", kind, &param);
    if (!sendMessage(message))
        throwFailure<SetData_ImsNotWorking>(
            L"@conf-agent.set-data.ims-not-working{Failed to set to data bank \"%\" because IMS isn't "
            L"working};",
            ParamStream() << bank);
}

std::string ConfAgent::getData(const std::string& bank, const std::string& key) {
    return StringTools::convert(getData(bank, StringTools::convert(key)));
}

std::list<std::wstring> ConfAgent::getDataKeys(const std::string& bank) {
    DataQueryParam param;
    param.bank = bank;
    getFromBank(param, "keys");
    return {param.keys.begin(), param.keys.end()};
}

void ConfAgent::setData(const std::string& bank, const std::string& key, const std::string& value) {
    setData(bank, StringTools::convert(key), StringTools::convert(value));
}

void ConfAgent::test(const std::string& path, int type, void* value) {
    try {
        read(path, type, value);
    } catch (const Query_OutOfMemory& e) {
        throwWrapped<Test_OutOfMemory>(e);
    } catch (const Query_ImsNotWorking& e) {
        throwWrapped<Test_ImsNotWorking>(e);
    } catch (const Query_NotFound& e) {
        throwWrapped<Test_NotFound>(e);
    } catch (const Query_WrongType& e) {
        throwWrapped<Test_WrongType>(e);
    } catch (const Query_UnknownType& e) {
        throwWrapped<Test_UnknownType>(e);
    }
}

std::string ConfAgent::testedTarget(const std::string& path, int type) {
    auto target = tested<std::string>(path, type);
    if (FileTools::isLink(target))
        FileTools::expand(target);
    return target;
}

template <class Value>
void ConfAgent::testRange(const std::string& path, int type, const Value& min, const Value& max) {
    const Value value = tested<Value>(path, type);
    if (min > value || value > max)
        throwFailure<Test_ValueOutOfRange>(OutOfRange, ParamStream() << path << value << min << max);
}

void ConfAgent::testInt(const std::string& path, long long min, long long max) {
    testRange(path, ConfTypeInt, min, max);
}

void ConfAgent::testUInt(const std::string& path, unsigned long long min, unsigned long long max) {
    testRange(path, ConfTypeUInt, min, max);
}

void ConfAgent::testFloat(const std::string& path, double min, double max) {
    testRange(path, ConfTypeFloat, min, max);
}

void ConfAgent::testTime(const std::string& path, unsigned long long min, unsigned long long max) {
    testRange(path, ConfTypeDateTime, min, max);
}

void ConfAgent::testTimeSpan(const std::string& path, const TimeSpan& min, const TimeSpan& max) {
    const auto value = tested<TimeSpan>(path, ConfTypeTimeSpan);
    if (value.compare(min) < 0 || value.compare(max) > 0)
        throwFailure<Test_ValueOutOfRange>(
            OutOfRange, ParamStream() << path << std::string(value) << std::string(min) << std::string(max));
}

void ConfAgent::testString(const std::string& path, const std::string& glob) {
    const auto value = tested<std::string>(path, ConfTypeString);
    if (!GlobMatcher::match(value, glob))
        throwFailure<Test_ValueNotMatchingGlob>(
            "@conf-agent.test.value-not-matching-blog{Configuration entry \"%\" (value=\"%\") does not match "
            "the required \"%\"};",
            ParamStream() << path << value << glob);
}

void ConfAgent::testStringOptions(const std::string& path, const std::set<std::string>& options) {
    auto value = tested<std::string>(path, ConfTypeString);
    StringTools::lower(value);
    if (!options.contains(value))
        throwFailure<Test_ValueNotOption>(
            "@conf-agent.test.value-not-option{Configuration entry \"%\" (value=\"%\") does not match any of "
            "the specified options \"%\"};",
            ParamStream() << path << value << StringTools::join(options, ", "));
}

// Tools that read logs know the two texts with their end turned round, and the one without its "@" below.

void ConfAgent::testDir(const std::string& path, ExistenceCheck check) {
    const std::string dir = testedTarget(path, ConfTypeDir);
    if (check == MustExist && !FileTools::isDir(dir))
        throwFailure<Test_DirMustExist>(
            "@conf-agent.test.dir-must-exist{Directory \"%\" specified at configuration entry \"%\" does not "
            "exist};",
            ParamStream() << dir << path);
    if (check == CreateIfMissing && !FileTools::ensurePath(dir + FileTools::dirSepStr()))
        throwFailure<Test_DirCouldNotBeCreated>(
            "@conf-agent.test.dir-could-not-be-created{Directory \"%\" specified at configuration entry "
            "\"%\" does not exist and could not be created;}",
            ParamStream() << dir << path);
}

void ConfAgent::testFile(const std::string& path, ExistenceCheck check) {
    const std::string file = testedTarget(path, ConfTypeFile);
    if (check == MustExist && !FileTools::isFile(file))
        throwFailure<Test_FileMustExist>(
            "@conf-agent.test.file-must-exist{File \"%\" specified at configuration entry \"%\" does not "
            "exist};",
            ParamStream() << file << path);
    if (check == CreateIfMissing && !FileTools::touch(file))
        throwFailure<Test_FileCouldNotBeCreated>(
            "@conf-agent.test.file-could-not-be-created{File \"%\" specified at configuration entry \"%\" "
            "does not exist and could not be created;}",
            ParamStream() << file << path);
}

void ConfAgent::testList(const std::string& path, bool notEmpty, const std::list<std::string>& required,
                         const std::list<std::string>& requiredAny) {
    const auto elements = tested<std::list<std::string>>(path, ConfTypeList);
    const auto isMissing = [&](const std::string& glob) {
        return std::ranges::none_of(
            elements, [&](const std::string& element) { return GlobMatcher::match(element, glob); });
    };
    if (notEmpty && elements.empty())
        throwFailure<Test_EmptyList>(
            "@conf-agent.test.empty-list{List at configuration entry \"%\" cannot be empty};", ParamStream()
                                                                                                   << path);
    if (const auto missing = std::ranges::find_if(required, isMissing); missing != required.end())
        throwFailure<Test_MissingRequiredListElement>(
            "@conf-agent.test.missing-required-list-element{Required list element matching \"%\" was not "
            "found in list at configuration entry \"%\"};",
            ParamStream() << *missing << path);
    if (!requiredAny.empty() && std::ranges::all_of(requiredAny, isMissing))
        throwFailure<Test_MissingRequiredListElement>(
            "conf-agent.test.missing-required-list-element{Required list element matching any of \"%\" was "
            "not found in list at configuration entry \"%\"};",
            ParamStream() << StringTools::join(requiredAny, ", ") << path);
}

void ConfAgent::testSubEntries(const std::string& path, const std::list<std::string>& required) {
    const auto names = tested<std::list<std::string>>(path, ConfTypeSubEntries);
    const std::set<std::string> present(names.begin(), names.end());
    std::list<std::string> missing;
    std::ranges::remove_copy_if(required, std::back_inserter(missing),
                                [&](const std::string& sub) { return present.contains(sub); });
    if (!missing.empty())
        throwFailure<Test_MissingRequiredSub>(
            "@conf-agent.test.missing-required-sub{Configuration entry \"%\" are missing the following "
            "required sub-entries: %};",
            ParamStream() << path << StringTools::join(missing, ", "));
}

void ConfAgent::testSubEntries(const std::string& path, unsigned int min, unsigned int max) {
    const auto count = tested<std::list<std::string>>(path, ConfTypeSubEntries).size();
    if (count < min || count > max)
        throwFailure<Test_InvalidNumberOfSubs>(
            "@conf-agent.test.invalid-number-of-subs{Configuration entry \"%\" have % sub-entries, but there "
            "cannot be less than % or more than %};",
            ParamStream() << path << static_cast<unsigned long long>(count) << min << max);
}

}  // namespace MovrikCorelib
