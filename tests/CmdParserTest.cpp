#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CmdParser.h"
#include "Logger.h"
#include "StringTools.h"

using MovrikCorelib::CmdParser;
using MovrikCorelib::Logger;
using MovrikCorelib::StringTools;

namespace {

CmdParser makeParser() {
    CmdParser parser;
    parser.init("prog", true, false, true);
    parser.specifyOptionOnlyArg("all", 'a', "Take all");
    parser.specifyRequiredOptionWithFixedValuesArg("mode", 'm', "Speed ", {"slow", "fast"});
    parser.specifyOptionEqualsValue("size", "Size of a block");
    parser.specifyRemainder("exec", 'x', "Run this");
    parser.specifyValueArg("from");
    parser.specifyValueArg("to", "Where it goes");
    return parser;
}

// The options that were found in a fixed order, then the plain words.
std::string found(CmdParser& parser) {
    std::string text, value;
    for (const char* option : {"help", "all", "mode", "size", "exec", "debug", "filereg"})
        if (parser.getOptionValue(option, value))
            text += std::string(option) + ":" + value + ";";
    if (parser.getOptionValue('c', value))
        text += "c:" + value + ";";
    while (parser.getNextValueArg(value))
        text += "<" + value + ">";
    return text;
}

}  // namespace

TEST(CmdParser, SortsWordsAndTellsTheFirstErrorKeepingWhatStandsAheadOfIt) {
    const struct {
        const char* words;  // parted by "|"
        const char* found;
        const char* error;
    } cases[] = {
        {"", "", "Missing executable argument"},
        {"prog||-|w", "<w>", ""},
        {"prog|-ac|\"|-a|-c|file", "all:;c:\";", ""},
        {"prog|-a-debug|x", "all:;debug:x;", ""},
        {"prog|--filereg|\"--all\"|-c|'a'", "filereg:--all;c:'a';", ""},
        {"prog|size=\"a=b\"|size=", "size:\"a=b\";", ""},
        {"prog|3=x|a.b=c|--|size=4", "size:4;<3=x><a.b=c>", ""},
        {"prog|--|--|-a", "<--><-a>", ""},
        {"prog|w|-x|ls|--all||a=b", "exec:ls --all  a=b;<w>", ""},
        {"prog|1|2|3", "<1><2>", "Too many arguments"},
        {"prog|-ab", "all:;", "Unknown option '-b'"},
        {"prog|-a-", "all:;", "Unknown option '--'"},
        {"prog|--|-x|a=b", "<-x>", "Unknown option 'a'"},
        {"prog|--size=3", "", "Unknown option '--size=3'"},
        {"prog|-am", "all:;", "Missing argument to '-m' option"},
        {"prog|-m|\"fast\"", "", "Invalid argument to '-m' option"},
    };
    CmdParser parser = makeParser();
    for (const auto& [words, expected, message] : cases) {
        std::string error = "stale";
        EXPECT_EQ(parser.parse(StringTools::splitVector(words, '|'), error), *message == '\0') << words;
        EXPECT_EQ(error, message) << words;
        CmdParser copy = parser;
        EXPECT_EQ(found(copy), expected) << words;
    }
}

TEST(CmdParser, TakesSurplusAndUnknownWordsWhereAllowed) {
    CmdParser parser;
    parser.init("", false, true, true);
    parser.specifyValueArg("first");
    parser.specifyOptionWithValueArg("", 'v', "");
    std::string error;
    ASSERT_TRUE(parser.parse({"one", "-b-c", "--help", "-v", "2", "two"}, error)) << error;
    EXPECT_EQ(found(parser), "<one><-b-c><--help><two>");
    int number = 7;
    EXPECT_FALSE(parser.getOptionValue('v', number, {{"1", 10}}));
    EXPECT_TRUE(parser.getOptionValue('v', number, {{"1", 10}, {"2", 20}}));
    EXPECT_EQ(number, 20);
    // In a set, those without a short form come last.
    EXPECT_LT(parser.findOpt('v')->compare({0, CmdParser::OptionWithValue, 0, "a", {}, "", ""}), 0);
    EXPECT_FALSE(parser.haveOption(""));  // the form that -v does not have
}

TEST(CmdParser, ShowsWhatWasDeclaredAndNotRefusedWithDescriptionsWrapped) {
    CmdParser parser("prog", false);
    parser.specifyRequiredOptionWithFixedValuesArg("mode", 'm', "Speed ", {"slow", "fast"});
    parser.specifyOptionEqualsValue("blocksize",
                                    "Blocks of this size are read ahead of the walk, in half-hour steps, and "
                                    "the rest follows in one piece at the end now");
    parser.specifyValueArg("from");
    EXPECT_FALSE(parser.specifyOptionOnlyArg("mode", 0, ""));
    EXPECT_FALSE(parser.specifyOptionWithValueArg("other", 'm', ""));
    EXPECT_FALSE(parser.specifyRequiredOptionWithFixedValuesArg("other", 'o', "", {}));
    EXPECT_FALSE(parser.specify("", CmdParser::ValueArgument, 0, "", {"x"}));
    parser.addDocLine("\n  Takes a walk.\nThen rests.");
    EXPECT_EQ(parser.getUsageText(), R"(Usage: prog [options] <from>
Options:
  -m <arg>
    --mode <arg>      : Speed (One of: fast, slow)
  --blocksize=<value> : Blocks of this size are read ahead of the walk, in half-
                        hour steps, and the rest follows in one piece at the end
                        now


  Takes a walk.
  Then rests.
)");
    CmdParser builtIn = makeParser();
    std::string error;
    EXPECT_TRUE(builtIn.parse({"prog", "--version", "-?"}, error));
    EXPECT_EQ(error, builtIn.getUsageText());
    EXPECT_TRUE(builtIn.parse({"prog", "--revision", "--version"}, error));
    EXPECT_EQ(error, "6.3.0.0");
}

TEST(CmdParser, DebugSetsTheProcessLevelIfItsNameIsKnown) {
    const std::pair<const char*, int> cases[] = {{"FLOOD", 8}, {"None", 0}, {"bogus", 7}, {"error -y", 7}};
    for (const auto& [words, level] : cases) {
        Logger::MainLevel = 7;
        std::string error;
        makeParser().parse(CmdParser::convert(std::string("prog --debug ") + words), error);
        EXPECT_EQ(Logger::MainLevel, level) << words;
    }
    Logger::MainLevel = 7;
}

TEST(CmdParser, CutsCommandLinesOutsideQuotes) {
    EXPECT_EQ(CmdParser::convert("  prog\t\"b  c\" d\"e f\"g\n"),
              (std::vector<std::string>{"prog", "b  c", "de fg"}));
    EXPECT_EQ(CmdParser::convert("\"\" 'b c' \"open end "),
              (std::vector<std::string>{"", "'b", "c'", "open end "}));
}
