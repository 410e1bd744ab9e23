#include <gtest/gtest.h>

#include "ConfAgent.h"
#include "ConfBase.h"
#include "ConfOldFile.h"
#include "LogCollector.h"
#include "TestSupport.h"

using namespace MovrikCorelib;

namespace {

using Names = std::list<std::string>;

class ConfOldFileTest : public testing::Test {
protected:
    /// Loads a text as the only configuration; what is shown of the failure, empty if there was none.
    std::string load(const std::string& text, bool clearOld = true) {
        TestSupport::writeFile(file, text);
        return loadFile(file, clearOld);
    }

    std::string loadFile(const std::string& path, bool clearOld = true) {
        return TestSupport::failureOf([&] { ConfOldFile().loadFileIntoBase(path, clearOld); });
    }

    /// The text that the store holds, references not expanded.
    std::string raw(const std::string& path) { return base.find(path)->value; }

    TestSupport::TempDir dir;
    const std::string file = dir / "app.conf";
    ConfBase base;
    ConfAgent conf;
};

TEST_F(ConfOldFileTest, LoadsTheTreeInFileOrder) {
    const std::string text =
        "general () = \"\" {\n"
        "    home (DirName) = \"/var/opt/app\" {}\n"
        "    data (DirName) = \"${general.home}\" {}\n"
        "    retries (Integer) = \"5\" {}\n"
        "    keep (TimeSpan) = \"P1d2h\" {}\n"
        "    mode (NetworkIP) = \"127.0.0.1\" { }\n"
        "}\n"
        "another name\t( Unknown )\v=\r\n\"x\ny\\\"{flag(Bool)=\"on\"{}port(NetworkPort)=\"80\"{}\n"
        "ratio(Real)=\"0.5\"{}log(FileName)=\"${general.home}a/../b.log\"{}at(Time)=\"01:00:00Z\"{}\n"
        "day(Date)=\"2010-03-07\"{}}\n";
    ASSERT_EQ(load(text), "");
    EXPECT_EQ(conf.getSubEntries(""), (Names{"general", "another name"}));
    EXPECT_EQ(conf.getSubEntries("general"), (Names{"home", "data", "retries", "keep", "mode"}));
    EXPECT_EQ(conf.getDir("general.data"), "/var/opt/app");
    EXPECT_EQ(raw("general.keep"), "P1DT2H");
    EXPECT_EQ(raw("another name"), "x\ny\\");
    EXPECT_EQ(raw("another name.log"), "/var/opt/app/b.log");
    std::string types = mapConfType(base.find("another name")->type);
    for (const std::string& child : conf.getSubEntries("another name"))
        types += " " + mapConfType(base.find("another name." + child)->type);
    EXPECT_EQ(types, "none bool int float file time-of-day datetime");

    TestSupport::writeGzip(dir / "app.conf.gz", text);
    EXPECT_EQ(loadFile(dir / "app.conf.gz"), "");
}

TEST_F(ConfOldFileTest, BadFilesNameTheLineAndLeaveTheStoreAlone) {
    ASSERT_EQ(load("kept()=\"\"{}"), "");
    const std::string premature = "Load_PrematureEndOfFile: Premature end of file in line ";
    const std::string invalid = "Load_InvalidNode: Invalid configuration node definition in line ";
    const std::string where = " in file \"" + file + "\"";
    const std::pair<std::string, std::string> cases[] = {
        {"a (String) = \"x\"", premature + "1" + where},
        {"a (String) = \"x\" {\n\n", premature + "3" + where},
        {"a", premature + "1" + where},
        {"a (String) = \"x\"\n\n ;", invalid + "3" + where},
        {"a (String) {}", invalid + "1" + where},
        {"a()=\"\"{ b()=\"\"{}\nb()=\"\"{} }",
         "AddChild_NameAlreadyInUse: Cannot add child node \"b\" to \"a\" because another child with that "
         "name already exists"}};
    for (const auto& [text, failure] : cases) {
        EXPECT_EQ(load(text), failure) << text;
        EXPECT_EQ(conf.getSubEntries(""), Names{"kept"});
    }
    EXPECT_TRUE(loadFile(dir / "none").starts_with("Load_FileNotFound:"));
    for (const std::string& path : {dir.path(), std::string("/dev/zero")})
        EXPECT_EQ(loadFile(path), "Load_FileError: Failed to load file \"" + path + "\"");

    ASSERT_EQ(load(" \t\n", false), "");
    EXPECT_EQ(conf.getSubEntries(""), Names{"kept"});
    ASSERT_EQ(load(""), "");
    EXPECT_EQ(conf.getSubEntries(""), Names{});
    // An empty name ends the reading silently, at any depth.
    EXPECT_EQ(load("a()=\"\"{} b()=\"\"{ ()=\"\"{} } c()=\"\"{}"), "");
    EXPECT_EQ(conf.getSubEntries(""), Names{"a"});
}

TEST_F(ConfOldFileTest, DepthIsBounded) {
    std::string open;
    for (unsigned int i = 0; i < ConfNode::MaxDepth; ++i)
        open += "a()=\"\"{";
    EXPECT_EQ(load(open + std::string(ConfNode::MaxDepth, '}')), "");
    EXPECT_TRUE(load(open + "b()=\"\"{}").starts_with("Load_InvalidNode:"));
}

TEST_F(ConfOldFileTest, ReplacesReferencesOnceTheWholeFileIsRead) {
    // In "p${a}qr" one character stands ahead of the reference, so one behind it is lost.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"${late}", "later", "later"},
        {"p${a}qr", "pxr", "pxr"},
        {"pp${a}qr${a}", "ppxx", "ppxx"},
        {"${a}-${a}", "x-x", "x-x"},
        {"$ ${a}", "$ x", "$ x"},
        {"${n}", "7", "7"},
        {"${none}${a}", "${none}x", "${nonex"},
        {"${a", "${a", "${a"},
        {"a${}", "a${}", "a"},
        {"${self}", "${self}", "[ERROR:CIRCULAR-REFERENCE]"}};
    for (const auto& [value, held, read] : cases) {
        ASSERT_EQ(load("a(String)=\"x\"{} n(Integer)=\"7\"{} self(String)=\"" + std::string(value) +
                       "\"{} late(String)=\"later\"{}"),
                  "");
        EXPECT_EQ(raw("self"), held) << value;
        EXPECT_EQ(conf.getString("self"), read) << value;
    }
}

TEST_F(ConfOldFileTest, CircularAndMultiplyingReferencesStayHarmless) {
    ASSERT_EQ(load("a(String)=\"1${b}\"{} b(String)=\"2${a}\"{} c(String)=\"${a}\"{}"), "");
    EXPECT_EQ(raw("a") + raw("b"), "1${b}2${a}");
    for (const char* path : {"a", "b", "c"})
        EXPECT_EQ(conf.getString(path), "[ERROR:CIRCULAR-REFERENCE]");

    // Each v holds the one before twice, each w leads through all that follow.
    std::string text = "v0(String)=\"x\"{} w600(String)=\"end\"{}";
    for (int i = 1; i <= 600; ++i) {
        const std::string v = "${v" + std::to_string(i - 1) + "}";
        text += "v" + std::to_string(i) + "(String)=\"" + v + v + "\"{}";
        text.insert(0, "w" + std::to_string(600 - i) + "(String)=\"${w" + std::to_string(601 - i) + "}\"{}");
    }
    ASSERT_EQ(load(text), "");
    EXPECT_EQ(raw("v2"), "xxxx");
    EXPECT_EQ(conf.getString("w0"), "end");
    unsigned long held = 0;
    for (int i = 0; i <= 600; ++i)
        held += raw("v" + std::to_string(i)).size();
    EXPECT_LT(held, ConfOldFile::MaxInsertedText + 20000);
}

TEST_F(ConfOldFileTest, TurnsOldTimeSpansIntoTodaysForm) {
    const std::pair<const char*, const char*> cases[] = {{"P1d2h30m", "P1DT2H30M"},
                                                         {"P1DT2H", "P1DTT2H"},
                                                         {"P1h2d3M", "PT1H2D3M"},
                                                         {"p1d", "p1D"},
                                                         {"P12", "P"},
                                                         {"P-1.5s9", "PT-1.5S"}};
    for (const auto& [old, today] : cases) {
        ASSERT_EQ(load("t(TimeSpan)=\"" + std::string(old) + "\"{}"), "");
        EXPECT_EQ(raw("t"), today) << old;
    }
}

TEST(ConfOldFileAlone, NeedsAStoreAndKeepsWhatItCouldNotSend) {
    const TestSupport::TempDir dir;
    TestSupport::writeFile(dir / "c", "a(String)=\"x\"{}");
    ConfOldFile file;
    EXPECT_THROW(file.loadFileIntoBase(dir / "c", false), ConfOldFile::Load_FailedToSendToBase);
    const ConfBase base;
    file.sendToBase(false);
    EXPECT_EQ(ConfAgent().getString("a"), "x");
    // What has been sent is gone: an empty node is left, which no tree takes.
    EXPECT_THROW(file.sendToBase(false), ConfOldFile::Load_FailedToSendToBase);
    file.sendToBase(true);
    EXPECT_EQ(ConfAgent().getSubEntries(""), Names{});
}

}  // namespace
