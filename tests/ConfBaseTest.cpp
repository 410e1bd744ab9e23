#include <unistd.h>

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "ConfAgent.h"
#include "ConfBase.h"
#include "ConfMessages.h"
#include "DataQueryParam.h"
#include "LogCollector.h"
#include "StringStream.h"
#include "TestSupport.h"

using namespace MovrikCorelib;

namespace {

using Names = std::list<std::string>;
using WideNames = std::list<std::wstring>;
using TestSupport::failureOf;

/// Another service on the bus, behind the stores.
class Provider : public ImsAgent {
public:
    using Answer = std::function<MessageHandleCode(const ImsMessage&)>;

    Provider(Ims& ims, const std::string& general, Answer receiver)
        : ImsAgent("provider", ims), answer(std::move(receiver)) {
        setMessageHook(false, general, "", "", HookLast);
    }
    MessageHandleCode hookMessage(unsigned long long, const ImsMessage& message) override {
        return answer(message);
    }

private:
    Answer answer;
};

class ConfBaseTest : public testing::Test {
protected:
    std::string add(const std::string& path, int type, const std::string& text = "") {
        conf.setNode(path, "", type);
        base.find(path)->value = text;
        return path;
    }

    /// Sends a tree, less some bytes at its end, and tells whether a store took it.
    bool send(const ConfNode& tree, const std::string& type, std::size_t cut = 0) {
        StringStream stream;
        tree.toStream(stream);
        stream.setStream(stream.getStream().substr(0, stream.getStream().size() - cut));
        ConfDataParam param;
        param.stream = &stream;
        ImsMessage message("conf", "data", type, &param);
        return conf.sendMessage(message);
    }

    Ims ims;
    ConfBase base{ims};
    ConfAgent conf{ims};
};

TEST_F(ConfBaseTest, ExpandsKeywordsInPaths) {
    EXPECT_EQ(conf.processPath("%%"), "%%");
    const std::pair<const char*, const char*> keywords[] = {
        {"a", "old"}, {"a", "x.y"}, {"ab", "both"}, {"t", "%a%"}, {"", "empty"}};
    for (const auto& [keyword, path] : keywords)
        conf.registerKeyword(keyword, path);
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},       {"%a%.z", "x.y.z"}, {"%a%.%b%", "x.y.both"}, {"%a%.%c%", "x.y.%ac%"}, {"%A%", "%A%"},
        {"%t%", "%a%"}, {"%%", "empty"},    {"abc%def", "abc"},      {"%a%%", "x.y"}};
    for (const auto& [raw, path] : cases)
        EXPECT_EQ(conf.processPath(raw), path) << raw;

    // Keywords outlive the data.
    const auto tree = ConfNode::newRoot();
    tree->ensureNodes("x.y", ConfTypeInt)->value = "7";
    EXPECT_TRUE(send(*tree, "clear-old"));
    EXPECT_EQ(conf.getInt32("%a%"), 7);
}

TEST_F(ConfBaseTest, ExpandsReferencesInValues) {
    add("a.b", ConfTypeInt, "5");
    add("x", ConfTypeString, "text");
    add("d", ConfTypeDir, "\\var\\");
    conf.setList(add("list", ConfTypeList), std::string("${x},q"), ',');
    add("twice", ConfTypeString, "${x}-${x}");
    add("self", ConfTypeString, "${self}");
    add("one", ConfTypeString, "${two}");
    add("two", ConfTypeFile, "${one}");
    add("value", ConfTypeString);
    conf.registerKeyword("k", "x");
    const std::pair<const char*, const char*> cases[] = {
        {"plain $x", "plain $x"}, {"x${a.b}y", "x5y"},
        {"x${a.c}y", "x${a.cy"},  {"a${x}b${open", "atextb${open"},
        {"${a${b}}", "${a${b}"},  {"${twice}${twice}", "text-texttext-text"},
        {"${%k%}", "text"},       {"${d}/log", "/var/log"},
        {"${list}", "${x},q"},    {"${one}", "[ERROR:CIRCULAR-REFERENCE]"}};
    for (const auto& [text, read] : cases) {
        conf.setString("value", text);
        EXPECT_EQ(conf.getString("value"), read) << text;
        EXPECT_EQ(base.find("value")->value, text);
    }
    EXPECT_EQ(conf.getString("self"), "[ERROR:CIRCULAR-REFERENCE]");
    EXPECT_EQ(conf.getList("list"), (Names{"${x}", "q"}));
}

TEST_F(ConfBaseTest, MultiplyingAndLongReferencesStayBounded) {
    add("v0", ConfTypeString, "x");
    add("e0", ConfTypeString);
    for (int i = 1; i <= 300; ++i)
        for (const std::string name : {"v", "e", "c"}) {
            const std::string reference = "${" + name + std::to_string(i - 1) + "}";
            add(name + std::to_string(i), ConfTypeString, name == "c" ? reference : reference + reference);
        }
    EXPECT_EQ(conf.getString("v3"), "xxxxxxxx");
    EXPECT_LE(conf.getString("v64").size(), ConfBase::MaxExpandedText + 1000);
    EXPECT_LE(conf.getString("e64").size(), ConfBase::MaxExpandedText + 1000);
    EXPECT_EQ(conf.getString("c300"), "${c99}");  // 200 steps were followed
}

TEST_F(ConfBaseTest, AnswersEachQueryWithAStatus) {
    int seen = 0;
    const Provider bystander(ims, "conf", [&](const ImsMessage&) { return ++seen, MessageNotHandled; });
    const auto query = [&](const char* path, int type, bool isSet) {
        ConfQueryParam param;
        param.path = path;
        param.type = type;
        param.isSet = isSet;
        param.nodeType = ConfTypeString;
        std::string value = "untouched";
        param.value = &value;
        ImsMessage message("conf", "query", "", &param);
        seen = 0;
        EXPECT_TRUE(conf.sendMessage(message));
        // Only a read that is done ends the delivery.
        EXPECT_EQ(seen, param.status != ConfStatusDone || isSet) << path << " " << type;
        EXPECT_TRUE(param.status == ConfStatusDone || value == "untouched");
        return param.status;
    };
    EXPECT_EQ(query("s", ConfTypeString, false), ConfStatusNotFound);
    add("s", ConfTypeString, "text");
    add("l", ConfTypeList);
    const std::tuple<const char*, int, bool, int> cases[] = {
        {"s", 5, false, 1}, {"s", 1, false, 4}, {"s", 14, false, 5}, {"s", 0, false, 5},
        {"x", 5, false, 3}, {"s", 5, true, 1},  {"s", 2, true, 4},   {"x", 5, true, 3},
        {"s", 13, true, 5}, {"l", 12, true, 6}, {"", 14, true, 7},   {"s..t", 14, true, 7},
        {"s", 14, true, 1}, {"", 15, true, 7},  {"x", 15, true, 7},  {"s", 15, true, 1},
        {"s", 15, true, 7}};
    for (const auto& [path, type, isSet, status] : cases)
        EXPECT_EQ(query(path, type, isSet), status) << path << " " << type << " " << isSet;
    for (const char* group : {"query", "data", "keyword", "rawpath", "other"})
        EXPECT_EQ(base.handleMessage(ImsMessage("conf", group, "")), MessageNotHandled);
}

TEST_F(ConfBaseTest, MergesAndReplacesData) {
    const auto tree = ConfNode::newRoot();
    for (const char* path : {"b.x", "a"})
        tree->ensureNodes(path, ConfTypeInt);
    EXPECT_TRUE(send(*tree, ""));
    const auto more = ConfNode::newRoot();
    more->ensureNodes("a", ConfTypeString)->value = "text";
    more->ensureNodes("b.y", ConfTypeInt);
    EXPECT_TRUE(send(*more, ""));
    EXPECT_EQ(conf.getSubEntries(""), (Names{"b", "a"}));
    EXPECT_EQ(conf.getSubEntries("b"), (Names{"x", "y"}));
    EXPECT_EQ(conf.getString("a"), "text");
    EXPECT_TRUE(send(*more, "clear-old"));
    more->name = "stranger";
    EXPECT_FALSE(send(*more, ""));
    EXPECT_FALSE(send(*tree, "clear-old", 1));
    EXPECT_EQ(conf.getSubEntries("b"), Names{"y"});
}

TEST_F(ConfBaseTest, TheAgentReadsWhatItWrites) {
    const DateTimeDetails moment(2010, 3, 7, 12, 30, 45, 0, false);
    conf.setInt(add("n.int", ConfTypeInt), 70000);
    EXPECT_EQ(conf.getInt16("n.int"), 4464);  // 70000 - 65536
    conf.setBool(add("bool", ConfTypeBool), true);
    conf.setNode("bool", "a flag", ConfTypeBool);
    EXPECT_EQ(base.find("bool")->getAttribute("description"), "a flag");
    EXPECT_TRUE(conf.getBool("bool"));
    conf.setTimeZone(add("zone", ConfTypeTimeZone), TimeZone("+0200"));
    EXPECT_EQ(conf.getTimeZone("zone").getString(), "+02:00");
    conf.setTimeSpan(add("span", ConfTypeTimeSpan), TimeSpan(1, 2, 0, 0, 0, 3, 0));
    EXPECT_EQ(std::string(conf.getTimeSpan("span")), "P1Y2MT3S");
    conf.setList(add("list", ConfTypeList), Names{"", "c,d"}, ';');
    EXPECT_EQ(conf.getList("list"), (Names{"", "c,d"}));
    add("at", ConfTypeDateTime, "2010-03-07T12:30:45Z");
    EXPECT_EQ(conf.getDateTimeDetails("at").compare(moment), 0);
    add("time", ConfTypeTimeOfDay, "12:30:45Z");
    EXPECT_EQ(conf.getTimeOfDay("time").getString(false, false, false), "2000-01-01T12:30:45Z");
    add("option", ConfTypeString, "fast");
    EXPECT_EQ(conf.getStringOption("option", {{"slow", 1}, {"fast", 2}}), 2);
    EXPECT_THROW(conf.getStringOption("option", {{"Fast", 2}}), ConfAgent::Query_NotValidOption);
    EXPECT_EQ(failureOf([&] { conf.setDateTime("at", moment); }),
              "Set_WrongType: Trying to set uint value in node root.at but this node is of type datetime");
    EXPECT_EQ(failureOf([&] { conf.getBool("option"); }),
              "Query_WrongType: Configuration entry \"option\" is not of requested type (bool)");
    conf.removeNode("n");
    EXPECT_THROW(conf.removeNode("n.int"), ConfAgent::Query_InvalidPath);
    EXPECT_THROW(conf.setInt("n.int", 1), ConfAgent::Query_NotFound);
}

TEST_F(ConfBaseTest, ChecksValuesInTheirRanges) {
    constexpr unsigned long long Day = 86400000;
    add("int", ConfTypeInt, "-5");
    add("float", ConfTypeFloat, "0.5");
    add("at", ConfTypeDateTime, "1900-01-01T00:00:00Z");
    add("span", ConfTypeTimeSpan, "P1Y");
    conf.testInt("int", -5, 0);
    conf.testInt("int", -9, -5);
    conf.testFloat("float", 0.5, 0.5);
    conf.testTime("at", Day, Day);
    conf.testTimeSpan("span", TimeSpan("P12M"), TimeSpan("P12M"));
    EXPECT_THROW(conf.testInt("int", -4, 9), ConfAgent::Test_ValueOutOfRange);
    EXPECT_THROW(conf.testInt("int", -9, -6), ConfAgent::Test_ValueOutOfRange);
    EXPECT_THROW(conf.testTimeSpan("span", TimeSpan(), TimeSpan("P11M")), ConfAgent::Test_ValueOutOfRange);
    EXPECT_EQ(failureOf([&] { conf.testTimeSpan("span", TimeSpan("P13M"), TimeSpan("P2Y")); }),
              "Test_ValueOutOfRange: Configuration entry \"span\" (value=P1Y) is not within the required "
              "range of P13M through P2Y");
    EXPECT_THROW(conf.testInt("none", 0, 0), ConfAgent::Test_NotFound);
    EXPECT_THROW(conf.testTimeOfDay("int"), ConfAgent::Test_WrongType);
}

TEST_F(ConfBaseTest, ChecksTextsListsAndChildren) {
    add("s", ConfTypeString, "Yes");
    add("full", ConfTypeList, "");
    conf.setList("full", Names{"alpha", "beta"}, ',');
    add("empty", ConfTypeList, "");
    for (const char* path : {"top.x", "top.y", "top.z"})
        add(path, ConfTypeInt, "1");
    conf.testString("s", "?e*");
    conf.testStringOptions("s", {"no", "yes"});
    conf.testList("full", true, {"a*", "*a"}, {"x", "b*"});
    conf.testList("empty", false, {}, {});
    conf.testSubEntries("top", {"z", "x"});
    conf.testSubEntries("top", 3, 3);
    EXPECT_THROW(conf.testString("s", "?e"), ConfAgent::Test_ValueNotMatchingGlob);
    EXPECT_THROW(conf.testStringOptions("s", {"No", "Yes"}), ConfAgent::Test_ValueNotOption);
    EXPECT_THROW(conf.testList("empty", true, {"a"}, {}), ConfAgent::Test_EmptyList);
    EXPECT_THROW(conf.testSubEntries("top", 0, 2), ConfAgent::Test_InvalidNumberOfSubs);
    EXPECT_THROW(conf.testList("full", true, {"b*", "c"}, {}), ConfAgent::Test_MissingRequiredListElement);
    const Names any{"c", "d"};
    // This text has no "@", so its key is shown.
    EXPECT_EQ(failureOf([&] { conf.testList("full", true, {}, any); }),
              "Test_MissingRequiredListElement: conf-agent.test.missing-required-list-element{Required list "
              "element matching any of \"c, d\" was not found in list at configuration entry \"full\"");
    const Names subs{"q", "x", "a"};
    EXPECT_EQ(failureOf([&] { conf.testSubEntries("top", subs); }),
              "Test_MissingRequiredSub: Configuration entry \"top\" are missing the following required "
              "sub-entries: q, a");
}

TEST_F(ConfBaseTest, ChecksDirectoriesAndFilesOnDisk) {
    const TestSupport::TempDir tmp;
    TestSupport::writeFile(tmp / "file", "x");
    ASSERT_EQ(symlink(tmp.path().c_str(), (tmp / "link").c_str()), 0);
    ASSERT_EQ(symlink("gone", (tmp / "dangling").c_str()), 0);
    // In the order of the steps, with the path that the failure names.
    const std::tuple<bool, const char*, int, const char*, const char*> steps[] = {
        {true, "link", 0, "", ""},
        {true, "new/below", 2, "", ""},
        {true, "new/below", 0, "Test_DirMustExist", "new/below"},
        {true, "dangling", 0, "Test_DirMustExist", "gone"},
        {true, "new/below", 1, "", ""},
        {true, "new/below", 0, "", ""},
        {true, "file/below", 1, "Test_DirCouldNotBeCreated", "file/below"},
        {false, "fresh", 0, "Test_FileMustExist", "fresh"},
        {false, "fresh", 1, "", ""},
        {false, "fresh", 0, "", ""},
        {false, "file/below", 1, "Test_FileCouldNotBeCreated", "file/below"}};
    for (const auto& [isDir, path, how, name, shown] : steps) {
        add("p", isDir ? ConfTypeDir : ConfTypeFile, tmp / path);
        // The texts about creation end in ";}", so their semicolon is shown.
        const std::string text = std::string(name) + ": " + (isDir ? "Directory" : "File") + " \"" +
                                 (tmp / shown) + "\" specified at configuration entry \"p\" does not exist" +
                                 (how == 1 ? " and could not be created;" : "");
        EXPECT_EQ(failureOf([&, asDir = isDir, check = ConfAgent::ExistenceCheck{how}] {
                      asDir ? conf.testDir("p", check) : conf.testFile("p", check);
                  }),
                  *name ? text : "");
    }
}

TEST(ConfAgentAlone, EveryCallFailsWithoutItsStore) {
    Ims ims;
    ConfAgent conf(ims);
    std::make_unique<ConfBase>(ims).reset();  // takes its hooks with it
    EXPECT_THROW(conf.registerKeyword("k", "p"), ConfAgent::Keyword_ImsNotWorking);
    EXPECT_THROW(conf.processPath("p"), ConfAgent::Keyword_ImsNotWorking);
    EXPECT_THROW(conf.getBool("p"), ConfAgent::Query_ImsNotWorking);
    EXPECT_THROW(conf.testBool("p"), ConfAgent::Test_ImsNotWorking);
    EXPECT_THROW(conf.getSystem("k"), ConfAgent::GetSystem_Failed);
    EXPECT_THROW(conf.getLocalConfInt("k", false), ConfAgent::GetLocal_ImsNotWorking);
    EXPECT_THROW(conf.setLocalConf("k", 1LL, false), ConfAgent::SetLocal_ImsNotWorking);
    EXPECT_THROW(conf.getData("bank", L"k"), ConfAgent::GetData_ImsNotWorking);
    EXPECT_THROW(conf.setData("bank", "k", "v"), ConfAgent::SetData_ImsNotWorking);
}

TEST(ConfAgentAlone, DataBanksGoToTheirProvider) {
    Ims ims;
    ConfAgent conf(ims);
    std::wstring text;
    WideNames list;
    const Provider provider(ims, "databank", [&](const ImsMessage& message) {
        auto& param = dynamic_cast<DataQueryParam&>(*message.parameter);
        const auto pass = [&](auto& mine) {
            auto& theirs = *static_cast<decltype(&mine)>(param.value);
            message.groupType == "set" ? mine = theirs : theirs = mine;
        };
        param.status = param.bank != "bank" ? 2 : param.key == L"none" ? 3 : 1;
        param.keys = {list.begin(), list.end()};
        if (message.messageType != "keys")
            message.messageType == "list" ? pass(list) : pass(text);
        return MessageConsumed;
    });
    conf.setData("bank", "key", "value");
    EXPECT_EQ(conf.getData("bank", L"key"), L"value");
    conf.setData("bank", L"", WideNames{L"p\xE9", L"a"});
    EXPECT_EQ(conf.getDataList("bank", L""), (WideNames{L"p\xE9", L"a"}));
    EXPECT_EQ(conf.getDataKeys("bank"), (WideNames{L"a", L"p\xE9"}));
    EXPECT_THROW(conf.getDataKeys("other"), ConfAgent::GetData_BankNotFound);
    EXPECT_EQ(failureOf([&] { conf.getData("bank", "none"); }),
              "GetData_NotFound: Key \"none\" was not found in bank \"bank\"");
}

TEST(ConfTypes, MapBetweenNumbersAndTexts) {
    for (int type = 0; type <= 21; ++type)
        EXPECT_EQ(mapConfType(mapConfType(type)), type == 14 || type == 15 ? 0 : type);
    EXPECT_EQ(mapConfType(7) + mapConfType(14) + mapConfType(-1), "time-of-dayundefinedundefined");
    EXPECT_EQ(mapConfError(ConfErrorFile) + mapConfError(ConfError{99}), "File errorUnknown error");
}

}  // namespace
