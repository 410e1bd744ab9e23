#include <gtest/gtest.h>

#include "LogCollector.h"

using namespace MovrikCorelib;

namespace {

class LoggerTest : public testing::Test {
protected:
    TestSupport::LogCollector log{"source"};
    Logger logger{"source", nullptr};
};

}  // namespace

TEST_F(LoggerTest, BothLevelsDecideAndTheGroupFollowsTheLevel) {
    struct Case {
        int own, main;
        const char* expected;
    };
    for (const Case& c : {Case{7, 3, "f1 m\nf2 m\nf3 m\n"}, Case{4, 8, "f1 m\nf2 m\nf3 m\nd4 m\n"},
                          Case{8, 8, "f1 m\nf2 m\nf3 m\nd4 m\nd5 m\nd6 m\nd7 m\nd8 m\n"}, Case{0, 8, ""}}) {
        log.lines.clear();
        logger.level = c.own;
        Logger::MainLevel = c.main;
        using Entry = void (Logger::*)(std::string_view) const;
        for (const Entry entry :
             {Entry(&Logger::fatal), Entry(&Logger::error), Entry(&Logger::warning), Entry(&Logger::info),
              Entry(&Logger::verbose), Entry(&Logger::debug), Entry(&Logger::trace), Entry(&Logger::flood)})
            (logger.*entry)("m");
        EXPECT_EQ(log.lines, c.expected) << c.own << "/" << c.main;
    }
    log.lines.clear();
    Logger::MainLevel = 0;
    logger.log(6, "unasked %", ParamStream() << 7);
    Logger("source", &log).log(1, "direct", ParamStream());
    EXPECT_EQ(log.lines, "d6 unasked 7\nf1 direct\n");
}

TEST_F(LoggerTest, InnerFailuresComeOutBeforeTheOuterOne) {
    Exception inner("@inner{Cause %};", " @logsrc{file=\"A\" line=1};", ParamStream() << 5);
    inner.name = "Inner";
    Exception outer("@outer{Outer};");
    outer.contained = {Exception(" @logsrc{file=\"B\" line=2};", inner), Exception(L"only wide")};
    logger.error(outer);
    logger.fail(Logger::FailDebug, "Op", "a.b", "bad %", "; tail", ParamStream() << 9);
    logger.fail(Logger::FailWarning, "Op", "a.b", "bad %", "; tail", ParamStream() << 9);
    EXPECT_EQ(log.lines,
              "f2 Inner: @inner{Cause 5}; @logsrc{file=\"A\" line=1};\n"
              "f2 Exception: Container for above exceptions\nf2 Exception: <NO MESSAGE>\n"
              "f2 Exception: @outer{Outer};\nd6 Op: bad 9\nf3 @a.b{bad 9}; tail\n");
}

TEST_F(LoggerTest, LevelMessageSetsAllLoggersWithinTheMainLevel) {
    Logger::MainLevel = 5;
    for (const auto& [text, expected] :
         {std::pair("4", 4), std::pair("6", 4), std::pair("-1", 4), std::pair("none", 0)}) {
        EXPECT_TRUE(Ims::sendDefault(ImsMessage("debug", "level", text)));
        EXPECT_EQ(logger.level, expected) << text;
    }
}

TEST_F(LoggerTest, NamesAndTags) {
    Logger::Revision = 13550;
    EXPECT_EQ(Logger::formatSource("a/b/ConfAgent", 7), " @logsrc{file=\"ConfAgent\" line=7 rev=13550};");
    Logger::Revision = 0;
    EXPECT_EQ(Logger::mapDebugLevel(Logger::mapDebugLevel("WaRNing")), "warning");
}
