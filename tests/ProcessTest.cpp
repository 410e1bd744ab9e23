#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <set>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "InChild.h"
#include "ProcessTools.h"
#include "TestSupport.h"

using MovrikCorelib::ProcessTools;
using Lock = ProcessTools::Lock;
using Process = ProcessTools::Process;
using TestSupport::inChild;
namespace fs = std::filesystem;

namespace {

/// What a process must not leave behind: open descriptors with where they lead, and shared memory it made.
std::set<std::string> resources() {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
        found.insert(entry.path().string() + " " + fs::read_symlink(entry.path()).string());
    std::istringstream segments(TestSupport::readFile("/proc/sysvipc/shm"));
    for (std::string line; std::getline(segments, line);)
        if (line.find(" " + std::to_string(getpid()) + " ") != line.npos)
            found.insert(line);
    return found;
}

bool endsWithin10s(Process& process) {
    for (int i = 0; i < 1000 && process.isRunning(); ++i)
        usleep(10000);
    return !process.isRunning();
}

class ProcessTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(before, resources());
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "a child was left behind";
    }

    const std::set<std::string> before = resources();
};

}  // namespace

TEST_F(ProcessTest, LockNestsAndExcludesOtherProcesses) {
    const TestSupport::TempDir dir;
    const std::string own = fs::path(dir.path()).filename(), name = "a:b/c\\" + own;
    const auto isFree = [&name] { return inChild([&] { return Lock(name).lock(5u) ? 1 : 0; }) == 1; };
    const mode_t mask = umask(077);
    Lock lock(name);
    EXPECT_FALSE(lock.unlock());
    ASSERT_TRUE(lock.lock(true) && lock.lock(true));
    umask(mask);
    EXPECT_EQ(fs::perms(0622), fs::status("/tmp/lock_a_b_c_" + own).permissions());

    // The child has the object but not the lock, and its attempts leave the parent's lock alone.
    EXPECT_EQ(0, inChild([&] { return lock.unlock() || lock.lock(false) ? 1 : 0; }));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(isFree());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_TRUE(lock.unlock());
    {
        Lock second(name), third(name);
        EXPECT_TRUE(second.lock(true) && third.lock(true) && second.unlock());
    }
    EXPECT_FALSE(isFree()) << "other objects of the name have gone, this one holds";
    EXPECT_TRUE(lock.unlock() && isFree());
    EXPECT_FALSE(lock.unlock() || lock.lock(0u) || Lock("").lock(true));
    EXPECT_FALSE(Lock(std::string(300, 'x')).lock(true));
}

TEST_F(ProcessTest, EndOfAProgramIsNoted) {
    const int fd = fcntl(STDIN_FILENO, F_DUPFD, 200);
    const std::string haveIt = "-c '[ -e /proc/self/fd/" + std::to_string(fd) + " ]'";
    const struct {
        std::string args;
        bool inherit;
        int state, exitCode;
    } cases[] = {{"-c 'exit 7'", false, Process::Ended, 7},
                 {"-c \"sleep 0.3; exit 255\"", false, Process::Ended, 255},
                 {"-c 'kill -9 $$'", false, Process::Killed, -1},
                 {haveIt, false, Process::Ended, 1},
                 {haveIt, true, Process::Ended, 0}};
    for (const auto& c : cases) {
        Process process("sh", c.args, c.inherit);
        EXPECT_TRUE(process.run() && endsWithin10s(process)) << c.args;
        EXPECT_EQ(c.state, process.state) << c.args;
        EXPECT_EQ(c.exitCode, process.exitCode) << c.args;
    }
    close(fd);
}

TEST_F(ProcessTest, ProgramThatCannotStartIsReported) {
    const std::pair<std::wstring, int> cases[] = {{L"no-such-program", ENOENT}, {L"/tmp", EACCES}};
    for (const auto& [program, error] : cases) {
        for (const bool piped : {false, true}) {
            Process process(program, std::wstring(L"a b"));
            std::string output;
            EXPECT_FALSE(ProcessTools::run(&process, 0, piped ? &output : nullptr));
            EXPECT_EQ(error, errno);
            EXPECT_EQ(Process::NotStarted, process.state);
            EXPECT_EQ(254, process.exitCode);
            EXPECT_EQ(before, resources()) << "while the object lives";
        }
    }
}

TEST_F(ProcessTest, OutputOfAProgramIsCollected) {
    Process process("sh", std::string("-c 'for i in 1 2; do printf %01000d $i; sleep 0.05; done; exit 9'"));
    for (int round = 0; round < 2; ++round) {
        std::string output = ">";
        ASSERT_TRUE(ProcessTools::run(&process, 0, &output));
        EXPECT_EQ(">" + std::string(999, '0') + "1" + std::string(999, '0') + "2", output);
        EXPECT_EQ(9, process.exitCode);
        EXPECT_EQ(before, resources()) << "while the object lives";
        EXPECT_FALSE(process.readPipe(output) || errno != 0) << "still the end";
    }
    const std::string locale = setlocale(LC_ALL, nullptr);
    if (!setlocale(LC_ALL, "C.UTF-8"))
        GTEST_SKIP() << "no locale with characters of several bytes";
    // The block of 512 bytes ends inside the character; the last one is never completed.
    Process accented("sh", std::string("-c 'printf \"%0511d\\303\\251x\\303\" 0'"));
    std::wstring wide;
    ASSERT_TRUE(accented.usePipe() && accented.run());
    while (accented.readPipe(wide)) {
    }
    setlocale(LC_ALL, locale.c_str());
    EXPECT_EQ(std::wstring(511, L'0') + L"\u00e9x\u00c3", wide);
    EXPECT_TRUE(endsWithin10s(accented));
}

TEST_F(ProcessTest, OutputIsCollectedAlsoWithoutStandardDescriptors) {
    for (int missing = 1; missing < 8; ++missing) {
        const auto run = [missing] {
            for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                if (missing & 1 << fd)
                    close(fd);
            Process process("echo", "hello");
            std::string output;
            const bool done = ProcessTools::run(&process, 0, &output) && process.exitCode == 0;
            const bool asBefore =
                (fcntl(STDOUT_FILENO, F_GETFD) < 0) == ((missing & 1 << STDOUT_FILENO) != 0);
            return done && asBefore && output == "hello\n" ? 0 : 1;
        };
        EXPECT_EQ(inChild(run), 0) << missing;
    }
}

TEST_F(ProcessTest, RunningProgramIsControlled) {
    Process process("sleep", "60");
    EXPECT_FALSE(process.suspend() || process.kill()) << "not started: no signal to anybody";
    ASSERT_TRUE(process.run());
    EXPECT_FALSE(process.run() || process.usePipe());
    EXPECT_TRUE(process.suspend() && process.suspend() && process.resume());
    EXPECT_FALSE(process.isRunning() || process.run());
    EXPECT_TRUE(process.resume() && process.isRunning() && !process.resume());

    // A fork knows the program as well, though it is no child of its own.
    EXPECT_EQ(inChild([&] { return process.isRunning() && Process(process.pid).isRunning() ? 0 : 1; }), 0);

    Process handle(process.pid);
    EXPECT_TRUE(handle.isRunning() && process.suspend() && process.stop() && endsWithin10s(process));
    EXPECT_EQ(Process::Killed, process.state);
    EXPECT_FALSE(process.stop() || handle.isRunning());
    ASSERT_TRUE(process.run() && process.kill());
    EXPECT_FALSE(process.pid != 0 || process.kill());

    // Children that no object has started end, and are killed, all the same.
    for (const bool killed : {false, true}) {
        const pid_t child = fork();
        if (child == 0)
            _exit(killed ? pause() : 3);
        Process own(child);
        EXPECT_TRUE(killed ? own.kill() : endsWithin10s(own));
        EXPECT_TRUE(kill(child, 0) == -1 && errno == ESRCH) << "collected";
    }
}

TEST_F(ProcessTest, EndedProgramsAreCollected) {
    // The object holds the end of a pipe that nobody has read: it is closed when the object goes.
    Process* garbage = ProcessTools::newProcess("sh", std::string("-c 'echo x; sleep 2'"), false, true);
    Process* kept = ProcessTools::newProcess("sleep", "2");
    ASSERT_TRUE(garbage->usePipe() && garbage->run() && kept->run());
    const int child = kept->pid;
    ProcessTools::deleteProcess(&kept);
    EXPECT_EQ(0, kill(child, 0)) << "the program outlives its object";
    EXPECT_NE(before, resources());
    for (int i = 0; i < 1000 && (kill(child, 0) == 0 || resources() != before); ++i) {
        ProcessTools::catchZombies();
        ProcessTools::handleGarbage();
        usleep(10000);
    }
}

TEST_F(ProcessTest, CommandLinesAreCutAtBlanksOutsideQuotes) {
    const std::pair<std::wstring, std::vector<std::wstring>> cases[] = {
        {L" \t a  'b c'\n\"d 'e\" '' ", {L"a", L"b c", L"d 'e"}},
        {L"f'g h'i 'k'l'm' '\"n\"' 'j", {L"f'g h'i", L"k'l'm", L"\"n\"", L"'j"}}};
    for (const auto& [line, args] : cases)
        EXPECT_EQ(args, ProcessTools::convertArgs(line));
    const std::vector<std::string> args = {"a", "b c", "it's", "\"q\"", "\t"};
    EXPECT_EQ("a \"b c\" \"it's\" '\"q\"' \"\t\"", ProcessTools::convertArgs(args));
    EXPECT_EQ(args, ProcessTools::convertArgs(ProcessTools::convertArgs(args)));
}

TEST_F(ProcessTest, RunningProcessesAreListed) {
    std::set<int> pids = {-1};
    const bool listed = ProcessTools::getRunningProcesses(pids);
    EXPECT_EQ(listed, inChild([] { return system("command -v ps >/dev/null") != 0; }) == 0);
    EXPECT_EQ(listed ? 1u : 0u, pids.count(getpid()) + pids.count(-1));
}
