#pragma once

#include <list>
#include <map>
#include <set>
#include <string>

#include "ConfTypes.h"
#include "DateTime.h"
#include "DateTimeDetails.h"
#include "Exception.h"
#include "ImsAgent.h"
#include "TimeSpan.h"
#include "TimeZone.h"

namespace MovrikCorelib {

class ConfQueryParam;
class DataQueryParam;
class SystemQueryParam;

/// Reads, writes and tests settings. It holds nothing: each call is one message, answered on the caller's
/// thread by the store that has a hook for it, so there may be many agents. Without a store every call ends
/// in an `*_ImsNotWorking` failure, `getSystem` in `GetSystem_Failed`.
///
/// Paths are node names joined by "." and may hold `%keyword%`. Times are counts of milliseconds as in
/// `DateTime`.
class ConfAgent : public ImsAgent {
public:
    /// What `testDir` and `testFile` ask for; any other value asks for nothing.
    enum ExistenceCheck : int { MustExist = 0, CreateIfMissing = 1 };

    MOVRIK_FAILURE(Keyword_OutOfMemory);
    MOVRIK_FAILURE(Keyword_ImsNotWorking);
    MOVRIK_FAILURE(Query_OutOfMemory);
    MOVRIK_FAILURE(Query_ImsNotWorking);
    MOVRIK_FAILURE(Query_NotFound);
    MOVRIK_FAILURE(Query_WrongType);
    MOVRIK_FAILURE(Query_UnknownType);
    MOVRIK_FAILURE(Query_NotValidOption);
    MOVRIK_FAILURE(Query_InvalidPath);
    MOVRIK_FAILURE(Query_FailedToRemove);
    MOVRIK_FAILURE(GetSystem_Failed);
    MOVRIK_FAILURE(GetLocal_OutOfMemory);
    MOVRIK_FAILURE(GetLocal_ImsNotWorking);
    MOVRIK_FAILURE(GetLocal_NotFound);
    MOVRIK_FAILURE(GetLocal_WrongType);
    MOVRIK_FAILURE(GetLocal_NoAccess);
    MOVRIK_FAILURE(GetData_ImsNotWorking);
    MOVRIK_FAILURE(GetData_BankNotFound);
    MOVRIK_FAILURE(GetData_NotFound);
    MOVRIK_FAILURE(SetLocal_OutOfMemory);
    MOVRIK_FAILURE(SetLocal_ImsNotWorking);
    MOVRIK_FAILURE(SetLocal_InvalidType);
    MOVRIK_FAILURE(SetLocal_Failure);
    MOVRIK_FAILURE(SetLocal_NoAccess);
    MOVRIK_FAILURE(SetData_ImsNotWorking);
    MOVRIK_FAILURE(Test_OutOfMemory);
    MOVRIK_FAILURE(Test_ImsNotWorking);
    MOVRIK_FAILURE(Test_NotFound);
    MOVRIK_FAILURE(Test_WrongType);
    MOVRIK_FAILURE(Test_UnknownType);
    MOVRIK_FAILURE(Test_ValueOutOfRange);
    MOVRIK_FAILURE(Test_ValueNotMatchingGlob);
    MOVRIK_FAILURE(Test_ValueNotOption);
    MOVRIK_FAILURE(Test_DirMustExist);
    MOVRIK_FAILURE(Test_DirCouldNotBeCreated);
    MOVRIK_FAILURE(Test_FileMustExist);
    MOVRIK_FAILURE(Test_FileCouldNotBeCreated);
    MOVRIK_FAILURE(Test_EmptyList);
    MOVRIK_FAILURE(Test_MissingRequiredListElement);
    MOVRIK_FAILURE(Test_MissingRequiredSub);
    MOVRIK_FAILURE(Test_InvalidNumberOfSubs);

    /// On the default message system.
    ConfAgent() : ImsAgent("conf-agent") {}
    explicit ConfAgent(Ims& ims) : ImsAgent("conf-agent", ims) {}

    /// Makes `%keyword%` stand for `path`, which need not exist yet; the last registration wins.
    void registerKeyword(const std::string& keyword, const std::string& path);
    /// The path with its keywords replaced.
    std::string processPath(const std::string& path);

    /// Reading. There is no default: a missing node is `Query_NotFound`, one of another type
    /// `Query_WrongType`. The narrow integers are the low bits of the value. Strings, dirs and files come
    /// with their references replaced.
    bool getBool(const std::string& path) { return read<bool>(path, ConfTypeBool); }
    short getInt16(const std::string& path) { return static_cast<short>(getInt64(path)); }
    int getInt32(const std::string& path) { return static_cast<int>(getInt64(path)); }
    long long getInt64(const std::string& path) { return read<long long>(path, ConfTypeInt); }
    unsigned short getUInt16(const std::string& path) { return static_cast<unsigned short>(getUInt64(path)); }
    unsigned int getUInt32(const std::string& path) { return static_cast<unsigned int>(getUInt64(path)); }
    unsigned long long getUInt64(const std::string& path) {
        return read<unsigned long long>(path, ConfTypeUInt);
    }
    float getFloat(const std::string& path) { return static_cast<float>(getDouble(path)); }
    double getDouble(const std::string& path) { return read<double>(path, ConfTypeFloat); }
    std::string getString(const std::string& path) { return read<std::string>(path, ConfTypeString); }
    /// What `options` holds for the text; `Query_NotValidOption` if it holds nothing.
    int getStringOption(const std::string& path, const std::map<std::string, int>& options);
    unsigned long long getTime(const std::string& path) {
        return read<unsigned long long>(path, ConfTypeDateTime);
    }
    DateTime getDateTime(const std::string& path) { return DateTime(getTime(path)); }
    DateTimeDetails getDateTimeDetails(const std::string& path) { return DateTimeDetails(getTime(path)); }
    DateTimeDetails getTimeOfDay(const std::string& path) {
        return DateTimeDetails(read<unsigned long long>(path, ConfTypeTimeOfDay));
    }
    TimeZone getTimeZone(const std::string& path) { return read<TimeZone>(path, ConfTypeTimeZone); }
    TimeSpan getTimeSpan(const std::string& path) { return read<TimeSpan>(path, ConfTypeTimeSpan); }
    std::string getDir(const std::string& path) { return read<std::string>(path, ConfTypeDir); }
    std::string getFile(const std::string& path) { return read<std::string>(path, ConfTypeFile); }
    std::list<std::string> getList(const std::string& path) {
        return read<std::list<std::string>>(path, ConfTypeList);
    }
    /// Names of the children in file order; the top level for an empty path.
    std::list<std::string> getSubEntries(const std::string& path) {
        return read<std::list<std::string>>(path, ConfTypeSubEntries);
    }

    /// Writing, to a node that exists and bears the type; in memory only. A datetime or a time of day cannot
    /// be written this way: the store answers with `ConfNode::Set_WrongType`.
    void setBool(const std::string& path, bool value) { write(path, ConfTypeBool, &value); }
    void setInt(const std::string& path, long long value) { write(path, ConfTypeInt, &value); }
    void setUInt(const std::string& path, unsigned long long value) { write(path, ConfTypeUInt, &value); }
    void setDouble(const std::string& path, double value) { write(path, ConfTypeFloat, &value); }
    void setString(const std::string& path, const std::string& value) { write(path, ConfTypeString, &value); }
    void setDateTime(const std::string& path, const DateTimeDetails& value) {
        const unsigned long long count = value.getTimeType();
        write(path, ConfTypeDateTime, &count);
    }
    void setTimeOfDay(const std::string& path, const DateTimeDetails& value) {
        const unsigned long long count = value.getTimeType();
        write(path, ConfTypeTimeOfDay, &count);
    }
    void setTimeZone(const std::string& path, const TimeZone& value) {
        write(path, ConfTypeTimeZone, &value);
    }
    void setTimeSpan(const std::string& path, const TimeSpan& value) {
        write(path, ConfTypeTimeSpan, &value);
    }
    void setDir(const std::string& path, const std::string& value) { write(path, ConfTypeDir, &value); }
    void setFile(const std::string& path, const std::string& value) { write(path, ConfTypeFile, &value); }
    /// The first form is cut at `separator`; a separator at the end adds no element.
    void setList(const std::string& path, const std::string& text, char separator) {
        writeList(path, &text, "str", separator);
    }
    void setList(const std::string& path, const std::list<std::string>& items, char separator) {
        writeList(path, &items, "list", separator);
    }
    /// Makes the node and what is missing on the way to it, replacing one of another type. An empty
    /// description sets none. `Query_InvalidPath` for a path that cannot be made.
    void setNode(const std::string& path, const std::string& description, int nodeType);
    /// `Query_InvalidPath` for the root and for a missing node.
    void removeNode(const std::string& path) { write(path, ConfTypeRemoveNode, &path); }

    /// A fact about the machine or the user, empty for an unknown key.
    std::string getSystem(const std::string& key);

    /// Settings of this machine, kept in the file registry.
    long long getLocalConfInt(const std::string& key, bool persistent) {
        return readLocal<long long>(key, ConfTypeLocalInt, persistent);
    }
    unsigned long long getLocalConfUInt(const std::string& key, bool persistent) {
        return readLocal<unsigned long long>(key, ConfTypeLocalUInt, persistent);
    }
    double getLocalConfFloat(const std::string& key, bool persistent) {
        return readLocal<double>(key, ConfTypeLocalFloat, persistent);
    }
    std::string getLocalConfString(const std::string& key, bool persistent) {
        return readLocal<std::string>(key, ConfTypeLocalString, persistent);
    }
    std::list<std::string> getLocalConfList(const std::string& key, bool persistent) {
        return readLocal<std::list<std::string>>(key, ConfTypeLocalSet, persistent);
    }
    void setLocalConf(const std::string& key, long long value, bool persistent) {
        writeLocal(key, ConfTypeLocalInt, &value, persistent);
    }
    void setLocalConf(const std::string& key, unsigned long long value, bool persistent) {
        writeLocal(key, ConfTypeLocalUInt, &value, persistent);
    }
    void setLocalConf(const std::string& key, double value, bool persistent) {
        writeLocal(key, ConfTypeLocalFloat, &value, persistent);
    }
    void setLocalConf(const std::string& key, const std::string& value, bool persistent) {
        writeLocal(key, ConfTypeLocalString, &value, persistent);
    }
    void setLocalConf(const std::string& key, const std::list<std::string>& value, bool persistent) {
        writeLocal(key, ConfTypeLocalSet, &value, persistent);
    }

    /// Data banks of an outside provider. `GetData_BankNotFound` and `GetData_NotFound` as it answers.
    std::string getData(const std::string& bank, const std::string& key);
    std::wstring getData(const std::string& bank, const std::wstring& key) {
        std::wstring value;
        readData(bank, key, &value, "string");
        return value;
    }
    std::list<std::wstring> getDataList(const std::string& bank, const std::wstring& key) {
        std::list<std::wstring> values;
        readData(bank, key, &values, "list");
        return values;
    }
    std::list<std::wstring> getDataKeys(const std::string& bank);
    void setData(const std::string& bank, const std::string& key, const std::string& value);
    void setData(const std::string& bank, const std::wstring& key, const std::wstring& value) {
        writeData(bank, key, &value, "string");
    }
    void setData(const std::string& bank, const std::wstring& key, const std::list<std::wstring>& value) {
        writeData(bank, key, &value, "list");
    }

    /// Checks at start-up: they pass silently or throw the `Test_*` failure that tells what is wrong.
    /// Ranges are inclusive. Globs know "*" and "?".
    void testBool(const std::string& path) { tested<bool>(path, ConfTypeBool); }
    void testInt(const std::string& path, long long min, long long max);
    void testUInt(const std::string& path, unsigned long long min, unsigned long long max);
    void testFloat(const std::string& path, double min, double max);
    void testString(const std::string& path, const std::string& glob);
    /// The value is lower-cased first, so only lower-case options can match.
    void testStringOptions(const std::string& path, const std::set<std::string>& options);
    void testTime(const std::string& path, unsigned long long min, unsigned long long max);
    void testTimeOfDay(const std::string& path) { tested<unsigned long long>(path, ConfTypeTimeOfDay); }
    void testTimeZone(const std::string& path) { tested<TimeZone>(path, ConfTypeTimeZone); }
    void testTimeSpan(const std::string& path, const TimeSpan& min, const TimeSpan& max);
    /// A link is followed one step. These two may touch the disk.
    void testDir(const std::string& path, ExistenceCheck check);
    void testFile(const std::string& path, ExistenceCheck check);
    /// Each glob of `required`, and one of `requiredAny` unless that is empty, must match an element.
    void testList(const std::string& path, bool notEmpty, const std::list<std::string>& required,
                  const std::list<std::string>& requiredAny);
    void testSubEntries(const std::string& path, const std::list<std::string>& required);
    void testSubEntries(const std::string& path, unsigned int min, unsigned int max);

    /// Send one query and turn its answer into nothing or a failure. They own the parameter from the call on
    /// and delete it on every way out; null stands for no memory.
    void sendQuery(ConfQueryParam* param);
    void queryLocal(SystemQueryParam* param);
    void setLocal(SystemQueryParam* param);

private:
    void read(const std::string& path, int type, void* value);
    void write(const std::string& path, int type, const void* value);
    void writeList(const std::string& path, const void* value, const char* form, char separator);
    void test(const std::string& path, int type, void* value);
    void readLocal(const std::string& key, int type, void* value, bool persistent);
    void writeLocal(const std::string& key, int type, const void* value, bool persistent);
    void getFromBank(DataQueryParam& param, const char* kind);
    void writeData(const std::string& bank, const std::wstring& key, const void* value, const char* kind);
    void readData(const std::string& bank, const std::wstring& key, void* value, const char* kind);
    std::string testedTarget(const std::string& path, int type);
    template <class Value>
    void testRange(const std::string& path, int type, const Value& min, const Value& max);

    template <class Value>
    Value read(const std::string& path, int type) {
        Value value{};
        read(path, type, &value);
        return value;
    }

    template <class Value>
    Value tested(const std::string& path, int type) {
        Value value{};
        test(path, type, &value);
        return value;
    }

    template <class Value>
    Value readLocal(const std::string& key, int type, bool persistent) {
        Value value{};
        readLocal(key, type, &value, persistent);
        return value;
    }
};

}  // namespace MovrikCorelib
