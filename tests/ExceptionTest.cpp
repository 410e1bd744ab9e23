#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Exception.h"

using namespace MovrikCorelib;

namespace {

class Valve {
public:
    MOVRIK_FAILURE(Open_Stuck);
    MOVRIK_FAILURE(Start_Failed);

    static void open() {
        throwFailure<Open_Stuck>(L"@valve.open.stuck{Valve \"%\" is stuck};", ParamStream() << 7);
    }
    static void start() {
        try {
            open();
        } catch (const Open_Stuck& e) {
            throwWrapped<Start_Failed>(e);
        }
    }
};

std::wstring widen(const std::string& ascii) {
    return std::wstring(ascii.begin(), ascii.end());
}

}  // namespace

TEST(Exception, RendersItsMessageWithoutKeys) {
    const struct {
        std::string message;
        std::string rendered;
    } cases[] = {
        {"@out-of-memory{Out of memory};", " Out of memory"},
        {"plain words", " plain words"},
        {"@k{a}b};", " abb"},
        {"x@y", " xy"},
        {"@k{a@@b{c};", " ac"},
        {"@k{one};@l{two};", " onetwo"},
        {"@k{a};} b@c", " a}} bc"},
        {"@k{text;}", " text;"},
        {"@unfinished", " "},
        {"@config.cache.merge{Failed}; (New data stream: %)", " Failed  (New data stream: 5)"},
        {"@k{100\\%};", " 100\\%5"},
        {"", ""},
    };
    for (const auto& [message, rendered] : cases) {
        SCOPED_TRACE(message);
        Exception narrow(message, ParamStream() << 5);
        EXPECT_EQ(narrow.getFullMessage(false), rendered);
        EXPECT_EQ(narrow.getFullMessage(true), "Exception:" + rendered);
        EXPECT_EQ(narrow.getFullMessageW(false), widen(message.empty() ? "" : "Exception:" + rendered));

        Exception wide(widen(message), " @logsrc{};", ParamStream() << 5);
        EXPECT_EQ(wide.getFullMessageW(false), widen(rendered));
        EXPECT_EQ(wide.getFullMessage(false), message.empty() ? "" : "Exception:" + rendered);
        EXPECT_EQ(wide.getMessageWWithLocation(), widen(message + " @logsrc{};"));
        EXPECT_EQ(wide.getMessageWithLocation(), " @logsrc{};");
    }
}

TEST(Exception, AppendsTextAndItsValues) {
    Exception narrow("@k{one %};", ParamStream() << 1);
    narrow.addToMessage("and %", ParamStream() << 2);
    narrow.addToMessage("end");
    EXPECT_EQ(narrow.getFullMessage(false), " one 1  and 2 end");

    Exception wide;
    wide.addToMessage(L"all %", ParamStream() << 3);
    EXPECT_EQ(wide.getFullMessageW(false), L"  all 3");
}

TEST(Exception, CarriesItsClassAndItsCause) {
    const std::string line = std::to_string(SourcePosition::here().line);
    EXPECT_EQ(sourceTag(),
              " @logsrc{file=\"ExceptionTest\" line=" + std::to_string(std::stoi(line) + 1) + "};");
    EXPECT_EQ(sourceTag({"/a.b/c.d.cpp", 4}), " @logsrc{file=\"c.d\" line=4};");
    EXPECT_EQ(sourceTag({"/a.b/c", 4}), " @logsrc{file=\"c\" line=4};");
    try {
        Valve::start();
        FAIL();
    } catch (Valve::Start_Failed& failure) {
        EXPECT_EQ(failure.getFullMessage(true), "Start_Failed:\nOpen_Stuck: Valve \"7\" is stuck");
        EXPECT_TRUE(failure.haveContainedException("Open_Stuck"));

        Exception container;
        container.contained.push_back(std::move(failure));
        container.contained.push_back(Exception("second"));
        container.contained.push_back(Exception("third"));
        EXPECT_FALSE(container.haveContainedException("Open_Stuck")) << "one level only";
        EXPECT_EQ(container.getContained("Exception"), &*++container.contained.begin());
        EXPECT_EQ(container.getContained("Start_Failed")->contained.front().locations.size(), 1U);
        Exception copy;
        copy = container;
        container.contained.clear();
        EXPECT_EQ(copy.getFullMessage(false),
                  "\nStart_Failed:\nOpen_Stuck: Valve \"7\" is stuck\nException: second\nException: third");
    }
}
