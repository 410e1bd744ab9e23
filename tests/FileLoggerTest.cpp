#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <regex>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "DateTime.h"
#include "FileLogger.h"
#include "LogCollector.h"
#include "TestSupport.h"

using namespace MovrikCorelib;
using TestSupport::failureOf, TestSupport::readFile;

namespace {

class FileLoggerTest : public testing::Test {
protected:
    FileLoggerTest() {
        setZone(2 * 3'600'000);
        Logger::MainLevel = 4;
    }
    static void setZone(long long offset) {
        TimeZone zone;
        zone.offset = offset;
        TimeZone::setDefault(zone);
    }
    static Logger::LogMessageParameter record(int level, const std::string& source,
                                              const std::string& message) {
        Logger::LogMessageParameter made(level, source, message, ParamStream() << "x");
        made.time = DateTime("1990-01-07T12:30:45.250Z");
        made.thread = 123;
        made.process = 45;
        return made;
    }
    /// A file with "T" for the times of the present, and its lines cut to level and message.
    static std::string shape(const std::string& path) {
        const std::string text =
            std::regex_replace(readFile(path), std::regex(R"(20\d\d-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3})"), "T");
        return std::regex_replace(text, std::regex(R"(T \(thread=\d+ process=\d+ \w+\) *)"), "");
    }

    const TestSupport::TempDir dir;
    const std::string file = dir / "app.log";
    const Logger logger{"src", nullptr};
};

}  // namespace

TEST_F(FileLoggerTest, LinesUpToTheThresholdAreLaidOutInFixedColumns) {
    FileLogger log;
    log.enable(dir.path(), "app");
    log.log(record(3, "src", "@key{of %};"));
    log.log(record(1, "a source of 26 characters.", "two\nlines"));
    EmsMessageParameter foreign;
    EXPECT_EQ(log.handleMessage(ImsMessage("debug", "debug", "4")), MessageHandled);
    EXPECT_EQ(log.handleMessage(ImsMessage("debug", "functional", "1", &foreign)), MessageHandled);
    EXPECT_EQ(log.handleMessage(ImsMessage("debug", "other", "1")), MessageNotHandled);
    // The bracket has 27 characters: 10 blanks up to its width of 37, and the blank behind it.
    const std::string bracket = " (thread=123 process=45 src)" + std::string(11, ' ');
    std::string expected =
        "Opened log file at T\nWARNING 1990-01-07T14:30:45.250" + bracket + "@key{of x};\n" +
        "FATAL   1990-01-07T14:30:45.250 (thread=123 process=45 a source of 26 characters.) two\nlines\n";
    using Case = std::tuple<unsigned long long, long long, const char*>;
    for (const auto& [later, offset, time] :
         {Case{0, 0, "12:30:45.250"}, Case{749, 0, "12:30:45.999"}, Case{750, 0, "12:30:46.000"},
          Case{751, 3'600'000, "13:30:46.001"}, Case{752, 3'600'500, "13:30:46.502"},
          Case{1'251, 3'600'500, "13:30:47.001"}}) {
        setZone(offset);
        Logger::LogMessageParameter timed = record(4, "src", "");
        timed.time += later;
        log.log(timed);
        expected += std::string("info    1990-01-07T") + time + bracket + "\n";
    }
    setZone(0);
    log.setLevelThreshold(8);
    EXPECT_THROW(log.setLevelThreshold(9), FileLogger::Level_OutOfBounds);
    for (const char* level : {"8", "2", "8", "7"}) {
        log.handleMessage(ImsMessage("debug", "level", level));
        for (const int own : {2, 3, 8})
            logger.log(own, level, ParamStream());
    }
    expected += "ERROR   8\nWARNING 8\nflood   8\nERROR   2\nERROR   8\nERROR   7\nWARNING 7\n";
    EXPECT_EQ(shape(file), expected);
}

TEST_F(FileLoggerTest, ControlLinesTellWhatHappenedToTheFile) {
    {
        FileLogger log;
        logger.error("dropped: not enabled");
        EXPECT_THROW(log.enable("/dev/null/no", ""), FileLogger::Enable_EmptyBaseName);
        EXPECT_THROW(log.enable("/dev/null/no", "app"), FileLogger::Enable_InvalidDir);
        log.enable(dir.path() + "\\made", "app");
        EXPECT_THROW(log.reEnable(), FileLogger::Enable_AlreadyEnabled);
        logger.error("one");
        log.disable();
        logger.error("dropped: disabled");
        log.reEnable();
        logger.error("two");
    }
    EXPECT_EQ(shape(dir / "made/app.log"),
              "Opened log file at T\nERROR   one\nDisabling logging to this file at TZ\n\n"
              "Enabling logging to this file at T\nERROR   two\nClosing log file at TZ\n");
}

TEST_F(FileLoggerTest, RotatesBeforeTheLineThatFindsTheFileAboveItsSize) {
    // Opening adds a header of 44 bytes: the gap, 19 characters, a time of 23 and the line feed.
    for (const unsigned int size : {4'956U, 4'957U}) {
        const TestSupport::TempDir own;
        TestSupport::writeFile(own / "app.log", std::string(size, 'x'));
        // The names that the next seconds would give are taken.
        const unsigned long long now = DateTime::getCurrentTime();
        for (unsigned long long name = now; size == 4'957 && name < now + 8'000; ++name)
            std::filesystem::create_hard_link(own / "app.log",
                                              own / ("app-" + std::to_string(name) + ".log"));
        FileLogger log;
        log.setRotationSize(1);
        log.enable(own.path(), "app");
        logger.error("line");
        const std::string head = std::string(size, 'x') + "\nOpened log file at T\n", line = "ERROR   line\n";
        const std::string text = shape(own / "app.log");
        std::smatch name;
        if (std::regex_match(text, name,
                             std::regex("Opened.*T\nFile continued from \"(.*)\\.log\"\n" + line)))
            EXPECT_EQ(shape(name[1].str() + "-1.log"), head + "Rotating log file at TZ\n");
        else
            EXPECT_EQ(text, head + line);
        EXPECT_EQ(name.empty(), size == 4'956);
    }
}

TEST_F(FileLoggerTest, FailuresReachTheCallerAndTheNextLineTriesAnew) {
    FileLogger log;
    const auto lose = [&] {
        try {
            logger.error(std::string(6'000, 'y'));
        } catch (const FileLogger::Log_FileOpenError&) {
            FAIL() << "comes out as a plain failure";
        }
    };
    const std::string notOpened = "Log_FileOpenError: Failed to open log file \"" + (dir / "app") + "\"";
    std::filesystem::create_directory(file);
    log.enable(dir.path(), "app");
    log.setRotationSize(0);
    EXPECT_EQ(failureOf(lose), notOpened);
    std::filesystem::remove(file);
    EXPECT_EQ(failureOf(lose), "");
    std::filesystem::remove_all(dir.path());
    EXPECT_EQ(
        failureOf(lose).find("Log_RotateError: Failed to rotate file (from \"" + (dir / "app") + "\" to "),
        0U);
    EXPECT_EQ(failureOf(lose), notOpened);
    std::filesystem::create_directory(dir.path());
    std::filesystem::create_symlink("/dev/full", file);
    EXPECT_EQ(failureOf(lose), "Log_FileWriteError: Failed to write to log file \"" + file + "\"");
    Logger::MainLevel = 7;  // the destructor's own lines fail too, and that must not end the process
}

TEST_F(FileLoggerTest, LinesOfManyThreadsComeOutWholeAndInOrderInBothModes) {
    constexpr int Threads = 4;
    constexpr std::size_t Lines = 3'000;
    for (const bool threaded : {false, true}) {
        const TestSupport::TempDir own;
        FileLogger log;
        log.useThread(threaded);
        log.enable(own.path(), "app");
        std::vector<std::thread> writers;
        for (int t = 0; t < Threads; ++t)
            writers.emplace_back([&, t] {
                for (std::size_t n = 0; n < Lines; ++n)
                    logger.info("of % number % end", ParamStream() << t << n);
            });
        for (std::thread& writer : writers)
            writer.join();
        log.disable();
        const std::string all = readFile(own / "app.log");
        for (int t = 0; t < Threads; ++t)
            for (std::size_t n = 0, at = 0; n < Lines; ++n) {
                at = all.find(" of " + std::to_string(t) + " number " + std::to_string(n) + " end\n", at);
                ASSERT_NE(at, std::string::npos) << t << "/" << n;
            }
    }
}

TEST_F(FileLoggerTest, LoggerThreadWritesTheQueueBeforeItStopsAndNothingAboutItself) {
    FileLogger log;
    log.enable(dir.path(), "app");
    Logger::MainLevel = 7;
    log.useThread(true);
    const auto start = std::chrono::steady_clock::now();
    logger.error("queued");
    usleep(500'000);
    logger.error("last");
    log.disable();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(shape(file),
              "Opened log file at T\nERROR   queued\nERROR   last\n"
              "trace   Thread::stop: Going to signal thread logger-thread to stop\n"
              "trace   Thread::stop: Thread \"logger-thread\" has been signalled to stop\n"
              "trace   Thread::shouldStop: Got stop signal\nDisabling logging to this file at TZ\n");
}

TEST_F(FileLoggerTest, LinesLoggedDuringASwitchOfTheModeAreNotLeftForLater) {
    FileLogger log;
    log.setRotationSize(1'000'000'000);
    log.enable(dir.path(), "app");
    std::atomic<bool> enough = false;
    std::thread writer([&] {
        for (int number = 0; !enough; ++number) {
            logger.info("number %", ParamStream() << number);
            usleep(1);
        }
    });
    for (const bool threaded : {true, false, true, false}) {
        log.useThread(threaded);
        usleep(50'000);
    }
    log.disable();
    enough = true;
    writer.join();
    std::istringstream lines(readFile(file));
    int last = -1;
    for (std::string line; std::getline(lines, line);) {
        const auto at = line.find("number ");
        if (at == line.npos)
            continue;
        const int number = std::stoi(line.substr(at + 7));
        ASSERT_GT(number, last);
        last = number;
    }
    EXPECT_GT(last, 100);
}

TEST_F(FileLoggerTest, LinesBehindADeadLoggerThreadAreWrittenAtTheStop) {
    std::filesystem::create_directory(file);
    FileLogger log;
    log.useThread(true);
    log.enable(dir.path(), "app");
    for (const char* line : {"kills the thread", "kills the stop", "kept 1", "kept 2"})
        logger.error(line);
    usleep(500'000);
    EXPECT_NE(failureOf([&] { log.disable(); }), "");
    std::filesystem::remove(file);
    log.disable();
    EXPECT_EQ(shape(file),
              "Opened log file at T\nERROR   kept 1\nERROR   kept 2\nDisabling logging to this file at TZ\n");
}
