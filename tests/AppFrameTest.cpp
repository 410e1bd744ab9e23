#include <filesystem>
#include <functional>
#include <map>
#include <new>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "AppFrame.h"
#include "ConfOldFile.h"
#include "InChild.h"
#include "RegistryFile.h"
#include "StringTools.h"

using namespace MovrikCorelib;
using namespace TestSupport;
namespace fs = std::filesystem;

namespace {

class TestFrame : public AppFrame {
public:
    explicit TestFrame(const std::string& appName) : AppFrame("Test", appName, "1", true, "Movrik, Inc.") {}

    void construct() override {}
    void destruct() override {}
    void setAppNameAppend() override { AppNameAppend.text = "text"; }
    int run() override { return work(); }

    using AppFrame::fileLogger;
    std::function<int()> work;
};

class Frame : public testing::Test {
protected:
    ~Frame() override {
        Logger::MainLevel = 7;
        AppFrame::AppNameAppend = {};
    }

    void writeConfiguration(const std::string& nodes, const std::string& ownLogNodes) {
        std::string own = appName;
        writeFile(home / "conf",
                  StringTools::lower(own) + " () = \"\" { log () = \"\" {" + ownLogNodes + "} }\n" + nodes);
    }

    const RegistryFile registry{"movrik.freg"};
    const TempDir& home = registry.dir;
    const std::string appName = fs::path(home.path()).filename();  // unique, with capitals
};

}  // namespace

TEST_F(Frame, RunAppPrintsAndLogsWhateverComesOutOfRun) {
    const auto fail = [](auto thrown) { return [thrown]() -> int { throw thrown; }; };
    const std::tuple<std::function<int()>, std::string, std::string> cases[] = {
        {fail(Exception("@a.b{Bad %};", ParamStream() << 7)), " Bad 7", "@a.b{Bad 7};"},
        {fail(std::range_error("")), "ERROR: STD range error", "@std-range-error{STD range error};"},
        {fail(std::bad_alloc()), "ERROR: STD out of memory", "@std-out-of-memory{STD out of memory};"},
        {fail(1), "ERROR: Unknown exception", "@unknown-exception{Unknown exception};"}};
    for (const auto& [work, printed, logged] : cases) {
        TestFrame frame(appName);
        frame.work = work;
        testing::internal::CaptureStdout();
        frame.fileLogger.enable(home / "log", appName);
        EXPECT_EQ(frame.runApp(), 2);
        EXPECT_TRUE(readFile(home / ("log/" + appName + ".log")).ends_with(logged + "\n")) << logged;

        frame.fileLogger.disable();
        frame.fileLogger.enable(home / "gone", appName);
        fs::remove(home / "gone");  // so that the log call fails
        EXPECT_EQ(frame.runApp(), 2);
        AppFrame::output(std::wstring(L"100%s"), false);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), printed + printed + "100%s");
    }
}

TEST_F(Frame, LogLevelComesFromTheDebugLevelAndElseFromTheSeverity) {
    // What is empty is not in the file, and "x" is of the wrong type.
    const std::tuple<std::string, std::string, int> cases[] = {
        {"", "", 0},     {"", "None", 0},     {"", "Fatal", 1},    {"", "CRITICAL", 2}, {"x", "notice", 4},
        {"", "info", 0}, {"0", "Warning", 3}, {"1", "warning", 5}, {"2", "", 6},        {"3", "warning", 6},
        {"4", "", 7},    {"5", "", 8},        {"6", "error", 0},   {"-1", "error", 0}};
    const auto node = [](const std::string& declaration, const std::string& value) {
        return value.empty() ? "" : declaration + " = \"" + value + "\" {}";
    };
    TestFrame frame(appName);
    for (const auto& [debug, severity, level] : cases) {
        writeConfiguration("log () = \"\" { channels () = \"\" { default () = \"\" {" +
                               node("severity (String)", severity) + "} } }",
                           node(debug == "x" ? "debug-level (String)" : "debug-level (Integer)", debug));
        ConfOldFile().loadFileIntoBase(home / "conf", true);
        EXPECT_EQ(frame.getLogLevel(), level) << debug << severity;
    }
}

TEST_F(Frame, OnlyOneOfSeveralProcessesIsTheSingleInstance) {
    const auto statusOf = [this](const std::string& suffix) {
        return inChild([&] {
            TestFrame frame(appName + suffix);
            frame.work = [&frame] { return frame.ensureSingleInstance(), 0; };
            return frame.runApp();  // 2 if it throws
        });
    };
    {
        TestFrame frame(appName);
        frame.ensureSingleInstance();
        EXPECT_EQ(statusOf(""), 2);
        EXPECT_EQ(statusOf("-2"), 0);
    }
    EXPECT_EQ(statusOf(""), 0);
}

TEST_F(Frame, ProcessesGetTheSmallestFreeNumbersAndAFailureHoldsNobodyUp) {
    TestFrame frame(appName);
    const auto number = [&frame] { return static_cast<int>(frame.getEnum()); };
    const auto numberGivenBack = [&frame, &number] {
        const int got = number();
        frame.removeEnum();
        return got;
    };
    EXPECT_EQ(inChild(numberGivenBack), 0);
    EXPECT_EQ(inChild(number), 0);
    EXPECT_EQ(inChild(numberGivenBack), 1);
    EXPECT_EQ(inChild([&] { return number() * 10 + number(); }), 11);

    writeFile(home / "damaged", "no registry {");
    FileRegistry::setFName(home / "damaged");
    EXPECT_EQ(frame.getEnum(), 0u);
    EXPECT_EQ(frame.exitProgram(), 2);
    FileRegistry::setFName(registry.path);
    EXPECT_EQ(inChild(number), 2);
    AppFrame::AppNameAppend.flags = 7;
    frame.setup();
    EXPECT_EQ(AppFrame::AppName, appName + "-text-" + std::to_string(getpid()) + "-0");
}
