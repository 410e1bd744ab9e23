#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "CmdParser.h"
#include "ProcessTools.h"
#include "TestSupport.h"

using namespace MovrikCorelib;
using namespace TestSupport;
namespace fs = std::filesystem;

namespace {

/// The program, installed in a directory of its own.
class CommandLine : public testing::Test {
protected:
    CommandLine() { install(); }

    void install() {
        for (const auto& entry : fs::directory_iterator(home.path()))
            fs::remove_all(entry.path());
        writeRegistry({"etc", "start"});
        fs::create_directory(home / "etc");
        fs::copy(MOVRIK_SOURCE_DIR "/examples/etc/quorvelarchivefilesplitter.conf", configuration);
    }

    /// The keys of these directories, as far as named.
    void writeRegistry(const std::set<std::string>& directories) {
        std::string text = "root\n{\nResources\n{\n";
        for (const std::string& directory : directories)
            text += (directory == "etc" ? "ConfigurationDir" : "StartupLogDir") +
                    ("\n{\ntype (string)=str\nvalue (string)=" + (home / directory) + "\n}\n");
        writeFile(registry, text + "}\n}\n");
    }

    TestSupport::Run runProgram(const std::string& words) {
        std::vector<std::string> command = CmdParser::convert(words);
        command.insert(command.begin(), {MOVRIK_PROGRAM, "--filereg", registry});
        return run(command, {"QUORVEL_HOME=" + home.path()});
    }

    /// What the program has logged in one of its directories.
    std::string log(const std::string& directory) {
        const std::string file = home / (directory + "/QuorvelArchiveFileSplitter.log");
        return fs::exists(file) ? readFile(file) : "";
    }

    const TempDir home;
    const std::string registry = home / "movrik.freg";
    const std::string configuration = home / "etc/quorvelarchivefilesplitter.conf";
};

}  // namespace

TEST_F(CommandLine, PrintsWhatTheExpectedFilesSay) {
    std::istringstream commands(readFile(MOVRIK_SOURCE_DIR "/tests/expected/commands"));
    int count = 0;
    for (std::string line; std::getline(commands, line);) {
        std::istringstream parts(line);
        std::string name, words;
        int status = -1;
        if (!(parts >> name >> status))
            continue;
        std::getline(parts, words);
        const auto result = runProgram(words);
        EXPECT_EQ(result.output, readFile(MOVRIK_SOURCE_DIR "/tests/expected/" + name + ".txt")) << line;
        EXPECT_EQ(result.status, status) << line;
        ++count;
    }
    EXPECT_EQ(count, 15);
    EXPECT_NE(log("log").find("@vorz.run.missing.option{Missing command line option \"end\"};\n"),
              std::string::npos);
}

TEST_F(CommandLine, AStartThatFailsPrintsNothingEndsWithTwoAndLogsWhy) {
    const struct {
        std::function<void()> spoil;
        const char* logDirectory;
        std::string logged;
    } cases[] = {
        {[&] { fs::remove(registry); }, "start", ""},
        {[&] { writeRegistry({"etc"}); }, "start", ""},
        {[&] { writeRegistry({"start"}); }, "start",
         "Configuration_NoConfigurationDir: Container for above exc"},
        {[&] { fs::remove(configuration); }, "start",
         "@app-frame.configure.file-not-found{Configuration file \"" + configuration +
             "\" was not found}; @logsrc{file=\"AppFrame\" line="},
        {[&] { writeFile(configuration, "a () = \"\" {\nb (String) {}\n}\n"); }, "start",
         "{Invalid configuration node definition in line 2 in file \"" + configuration + "\"};"},
        {[&] { writeFile(configuration, ""); }, "start",
         "{Configuration entry \"Movrik.directories.log\" was not found};"},
        {[&] { writeFile(home / "archive", ""); }, "log",
         "{Directory \"" + (home / "archive") +
             "\" specified at configuration entry \"%archive-dir%\" does not exist and could not be "
             "created;}"},
    };
    for (const auto& [spoil, logDirectory, logged] : cases) {
        install();
        spoil();
        const auto result = runProgram("-s 2024-03-07 -e 2024-03-07");
        EXPECT_EQ(result.status, 2) << logged;
        EXPECT_EQ(result.output, "") << logged;
        EXPECT_EQ(log(logDirectory).empty(), logged.empty()) << logged;
        EXPECT_NE(log(logDirectory).find(logged), std::string::npos) << logged << "\n" << log(logDirectory);
    }
}

TEST_F(CommandLine, SignalsDoNotCutARunShort) {
    const ScopedEnv environment("QUORVEL_HOME", home.path());
    std::string text = readFile(configuration);
    text.insert(text.find("archive-dir"), "log () = \"\" { debug-level (Integer) = \"1\" {} } ");
    writeFile(configuration, text);
    ProcessTools::Lock lock(registry);
    ASSERT_TRUE(lock.lock(true));
    // The program waits for the registry while the signals come.
    const std::string words = "--filereg " + registry + " -s 2024-03-07 -e 2024-03-07";
    ProcessTools::Process program(MOVRIK_PROGRAM, words);
    ASSERT_TRUE(program.run());
    const std::string status = "/proc/" + std::to_string(program.pid) + "/status";
    for (unsigned long long caught = 0; program.isRunning() && !(caught >> (SIGTERM - 1) & 1);) {
        text = readFile(status);
        caught = std::stoull(text.substr(text.find("SigCgt:") + 7), nullptr, 16);
    }
    for (const int number : {SIGABRT, SIGINT, SIGTERM})
        kill(program.pid, number);
    usleep(100000);
    EXPECT_TRUE(program.isRunning() && lock.unlock());
    while (program.isRunning())
        usleep(10000);
    EXPECT_EQ(program.exitCode, 0);
    EXPECT_NE(log("log").find("Command line:\n" MOVRIK_PROGRAM " " + words + "\n"), std::string::npos);
}
