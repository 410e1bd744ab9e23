#include <functional>

#include <gtest/gtest.h>

#include "ConfNode.h"
#include "DateTime.h"
#include "DateTimeDetails.h"
#include "LogCollector.h"
#include "StringStream.h"
#include "TimeSpan.h"
#include "TimeZone.h"

using namespace MovrikCorelib;

namespace {

using Node = SmartPointer<ConfNode>;
using Names = std::list<std::string>;
using TestSupport::failureOf;

class ConfNodeTest : public testing::Test {
protected:
    ConfNodeTest() { TimeZone::setDefault(TimeZone("+01:00 (+00:00 0M0W0D0H-0M0W0D0H)")); }
    ~ConfNodeTest() override { TimeZone::resetDefault(); }

    Node add(const std::string& path, int type, const std::string& text = "") {
        const Node node = root->ensureNodes(path, type);
        node->value = text;
        return node;
    }

    Node root = ConfNode::newRoot();
};

TEST_F(ConfNodeTest, ShowsEachTypeInItsOwnForm) {
    const std::tuple<int, const char*, const char*> cases[] = {
        {ConfTypeBool, "active", "true"},
        {ConfTypeBool, "TRUE", "false"},
        {ConfTypeDateTime, "2010-03-07T12:30:45.250Z", "2010-03-07T13:30:45.250"},
        {ConfTypeDateTime, "2010-03-07T12:30:45.250", "2010-03-07T12:30:45.250"},
        {ConfTypeTimeOfDay, "12:30:45.250Z", "12:30:45"},
        {ConfTypeTimeOfDay, "12:30:45", "11:30:45"},
        {ConfTypeTimeSpan, "P1d", "P1D"},
        {ConfTypeDir, "\\var\\log//", "/var/log"},
        {ConfTypeFile, "\\var\\log/", "/var/log/"},
        {ConfTypeNone, "hidden", ""}};
    for (const auto& [type, text, shown] : cases)
        EXPECT_EQ(add("n", type, text)->getAsString(), shown) << type << " " << text;
}

TEST_F(ConfNodeTest, SettersStoreTextInNodesOfTheirTypeOnly) {
    const DateTime moment(DateTimeDetails(2010, 3, 7, 12, 30, 45, 250, false));
    const std::tuple<int, std::function<void(ConfNode&)>, const char*> cases[] = {
        {ConfTypeBool, [](ConfNode& n) { n.set(true); }, "true"},
        {ConfTypeInt, [](ConfNode& n) { n.set(-5LL); }, "-5"},
        {ConfTypeString, [](ConfNode& n) { n.set("text"); }, "text"},
        {ConfTypeDateTime, [&](ConfNode& n) { n.set(moment); }, "2010-03-07T12:30:45.250Z"},
        {ConfTypeTimeOfDay, [&](ConfNode& n) { n.set(DateTimeDetails(moment)); }, "12:30:45.250Z"},
        {ConfTypeTimeSpan, [](ConfNode& n) { n.set(TimeSpan(90000)); }, "PT1M30S"},
        {ConfTypeDir, [](ConfNode& n) { n.setDir("\\a\\"); }, "\\a\\"}};
    for (const auto& [type, set, text] : cases) {
        const Node node = add("n", type);
        for (const auto& other : cases)
            EXPECT_EQ(failureOf([&] { std::get<1>(other)(*node); }).starts_with("Set_WrongType:"),
                      std::get<0>(other) != type);
        EXPECT_EQ(node->value, text);
    }
}

TEST_F(ConfNodeTest, RefusalsNameThePathAndBothTypes) {
    const Node text = add("a.b", ConfTypeString, "x");
    const Node number = add("n", ConfTypeInt);
    EXPECT_THROW(root->removeChild("x"), ConfNode::RemoveChild_NotFound);
    EXPECT_THROW(number->rename("n"), ConfNode::Rename_NewNameAlreadyExists);
    EXPECT_EQ(failureOf([&] { text->getBool(); }),
              "Get_WrongType: Trying to get bool value from node root.a.b but this node is of type string");
    EXPECT_EQ(failureOf([&] { number->set("5"); }),
              "Set_WrongType: Trying to set int value in node root.n but this node is of type int");
    EXPECT_EQ(
        failureOf([&] { number->addListElement("a"); }),
        "Set_WrongType: Trying to set add list value element in node root.n but this node is of type int");
}

TEST_F(ConfNodeTest, CutsListsAtEachSeparator) {
    const Node list = add("l", ConfTypeList);
    const std::pair<const char*, Names> cases[] = {
        {"a,,b,", {"a", "", "b"}}, {"", {}}, {",", {""}}, {",ab", {"", "ab"}}};
    for (const auto& [text, elements] : cases) {
        list->setList(text, ',');
        EXPECT_EQ(list->getList(), elements) << text;
    }
    list->addListElement("c");
    EXPECT_EQ(list->getAsString(), ",ab,c");
}

TEST_F(ConfNodeTest, FindsMakesAndMovesNodesAlongPaths) {
    const Node leaf = add("a.b.c", ConfTypeString, "x");
    EXPECT_EQ(leaf->getPath(), "root.a.b.c");
    EXPECT_EQ(root->find("a.b."), root->find("a.b"));
    for (const char* path : {"", ".", ".a", "a..b", "a.x", "x", "a.b.c.d"})
        EXPECT_FALSE(root->find(path)) << path;
    EXPECT_EQ(root->findClosest(root, "a.b.x.c"), root->find("a.b"));
    EXPECT_EQ(root->findClosest(root, ""), root);

    add("a.z", ConfTypeInt, "1");
    EXPECT_EQ(root->ensureNodePath("a.b", ConfTypeInt)->type, ConfTypeNone);
    EXPECT_EQ(root->ensureNodes("a.b.c", ConfTypeString), leaf);
    EXPECT_TRUE(root->ensureNodes("a.b", ConfTypeInt)->children.empty());
    EXPECT_EQ(root->find("a")->childOrder, (Names{"z", "b"}));
    root->find("a.z")->rename("y");
    EXPECT_EQ(root->find("a")->childOrder, (Names{"b", "y"}));
    EXPECT_FALSE(root->ensureNodes(".x", ConfTypeInt));

    const Node held = root->find("a.y");
    Node removed = root->find("a");
    root->removeChild("a");
    EXPECT_EQ(held->getPath(), "a.y");
    removed.clear();
    EXPECT_EQ(held->getPath(), "y");
    EXPECT_TRUE(root->childOrder.empty());
}

TEST_F(ConfNodeTest, DepthIsBounded) {
    std::string path = "n";
    for (unsigned int i = 1; i < ConfNode::MaxDepth; ++i)
        path += ".n";
    EXPECT_TRUE(root->ensureNodes(path, ConfTypeInt));
    EXPECT_FALSE(root->ensureNodes(path + ".n", ConfTypeInt));
    StringStream stream;
    for (int i = 0; i < 5000; ++i)
        stream << std::string("n") << 0 << std::string() << 0U << 1U;
    root->fromStream(stream);
    EXPECT_TRUE(root->find(path));
    EXPECT_FALSE(root->find(path + ".n"));
}

TEST_F(ConfNodeTest, CopyStopsAtATakenNameAndMergeJoins) {
    add("one.x", ConfTypeString, "new");
    add("two", ConfTypeList)->setList("p,q", ',');
    root->find("two")->setAttribute("both", "new");
    const Node target = ConfNode::newRoot();
    target->ensureNodes("two", ConfTypeList)->setList("old", ';');
    target->find("two")->attributes = {{"both", "old"}, {"mine", "kept"}};
    EXPECT_THROW(ConfNode::newCopy(*target)->copy(*root), ConfNode::AddChild_NameAlreadyInUse);

    target->ensureNodes("own", ConfTypeInt);
    EXPECT_TRUE(target->merge(*root));
    EXPECT_EQ(target->childOrder, (Names{"two", "own", "one"}));
    EXPECT_EQ(target->find("two")->elements, Names{"old"});
    EXPECT_EQ(target->find("two")->getAttribute("both") + target->find("two")->getAttribute("mine"),
              "newkept");
    EXPECT_FALSE(target->find("one.x") == root->find("one.x"));
    target->name = "other";
    EXPECT_FALSE(root->merge(*target));
    EXPECT_FALSE(root->find("own"));
}

TEST_F(ConfNodeTest, StreamsRoundAndStopsAtWhatIsMissing) {
    add("z.leaf", ConfTypeString, "x\x1Ey\n")->setAttribute("description", "d");
    add("a", ConfTypeList)->setList("p,,q", ',');
    StringStream stream;
    root->toStream(stream);
    const std::string bytes = stream.getStream();
    const Node target = ConfNode::newRoot();
    target->ensureNodes("gone", ConfTypeInt);
    target->fromStream(stream);
    EXPECT_EQ(target->childOrder, (Names{"z", "a"}));
    EXPECT_EQ(target->find("z.leaf")->value, "x\x1Ey\n");
    EXPECT_EQ(target->find("z.leaf")->getAttribute("description"), "d");
    EXPECT_EQ(target->find("a")->getAsString(), "p,,q");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        stream.setStream(bytes.substr(0, size));
        EXPECT_FALSE(target->readWhole(stream)) << size;
    }
    StringStream huge;
    huge << std::string("root") << int(ConfTypeList) << std::string() << ',' << ~0U << std::string("only");
    EXPECT_FALSE(target->readWhole(huge));
}

TEST_F(ConfNodeTest, FormatsForLogs) {
    add("b", ConfTypeInt, "5")->setAttribute("description", "five");
    add("b.empty", ConfTypeString);
    EXPECT_EQ(root->format(),
              "root\n{\n\tb\n\t{\n\t\tdescription (string)=five\n\t\ttype (int32)=2\n"
              "\t\tvalue (string)=5\n\t\tempty\n\t\t{\n\t\t}\n\t}\n}\n");
}

}  // namespace
