#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <filesystem>
#include <list>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "ConfAgent.h"
#include "InChild.h"
#include "RegistryFile.h"
#include "StringTools.h"
#include "SystemBase.h"
#include "SystemQueryParam.h"
#include "SystemTools.h"

using namespace MovrikCorelib;
using namespace TestSupport;
using Texts = std::list<std::string>;
using std::string_literals::operator""s;

TEST(SystemToolsTest, OneDetailAskedForFirstLeavesTheOthersRight) {
    // Each in a program of its own: what has once been found out stays for the process.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const ScopedEnv env("LANG", "de_AT.UTF-8");
    const auto endTellingWhether = [](bool right) { exit(right ? 0 : 1); };
    EXPECT_EXIT(
        {
            SystemTools::obtainPlatform();
            endTellingWhether(SystemTools::obtain(SystemTools::Platform) == "linux-32" &&
                              SystemTools::obtain(SystemTools::OsBits) == "32");
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            SystemTools::obtainKeyboardLanguage();
            endTellingWhether(SystemTools::obtain(SystemTools::KeyboardLanguage) == "AT:de" &&
                              SystemTools::obtain(SystemTools::OsLanguage) == "de_AT.UTF-8");
        },
        testing::ExitedWithCode(0), "");
}

TEST(SystemToolsTest, EnvironmentTellsLanguageDisplayAndDirectories) {
    const char* const cases[][3] = {{"C", "en_US.UTF-8", "US:en"},
                                    {"", "en_US.UTF-8", "US:en"},
                                    {"de_AT@x", "de_AT@x", "AT:de"},
                                    {"d", "d", ":d"}};
    for (const auto& [lang, language, keyboard] : cases) {
        const ScopedEnv env("LANG", lang), display("DISPLAY", lang);
        if (!*lang)
            unsetenv("DISPLAY");
        SystemTools::obtainDetails();
        EXPECT_EQ(language, SystemTools::obtain(SystemTools::OsLanguage));
        EXPECT_EQ(keyboard, SystemTools::obtain(SystemTools::KeyboardLanguage));
        EXPECT_EQ(*lang ? lang : "0.0", SystemTools::obtain(SystemTools::Display));
    }
    const TempDir dir;
    const ScopedEnv env("HOME", dir / "home");
    for (const std::string& temp : {"/tmp"s, dir / "home", dir / "home/tmp"}) {
        if (temp != "/tmp")
            writeFile(temp + "/x", "");
        EXPECT_EQ(temp, SystemTools::obtainDir(SystemTools::UserTempDir));
        EXPECT_EQ(dir / "home", SystemTools::obtainDir(SystemTools::UserDataDir));
    }
}

TEST(SystemToolsTest, DaemonLeavesItsParentUnlessToldNotTo) {
    const TempDir dir;
    const std::string part = dir / "part", report = dir / "report";
    for (std::string argument : {"--nodetach", "--no", "", "--nodetached"}) {
        const int status = inChild([&] {
            char* argv[] = {argument.data(), argument.data(), nullptr};
            dup2(0, 300);
            const pid_t self = getpid(), session = getsid(0);
            const bool result = SystemTools::detachFromParent(2, argv);
            const bool masked = umask(0) == 022;
            if (getpid() == self)
                return !result ? 7 : session == getsid(0) && masked ? 0 : 1;
            std::string text = masked && getsid(0) == getpid() ? "" : "no daemon ";
            for (int fd = 0; fd < 400; ++fd) {
                std::error_code error;
                text += std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), error).string();
            }
            writeFile(part, text);
            _exit(rename(part.c_str(), report.c_str()));
        });
        EXPECT_EQ(argument == "--nodetached" ? 7 : 0, status) << argument;
    }
    for (int i = 0; i < 1000 && access(report.c_str(), F_OK) != 0; ++i)
        usleep(10000);
    EXPECT_EQ("/dev/null/dev/null/dev/null", readFile(report));
}

TEST(SystemBaseTest, FactsAreAnsweredByKey) {
    const SystemBase base;
    ConfAgent agent;
    SystemTools::obtainDetails();
    utsname info{};
    strcpy(info.release, "2.6.32-5");
    SystemTools::obtainOsVersion(info);
    EXPECT_EQ("020632", SystemTools::obtain(SystemTools::OsVersion));
    EXPECT_EQ("20632", agent.getSystem("osversion"));
    const std::pair<const char*, std::string> answers[] = {
        {"platform", "linux-32"}, {"os", "linux"},
        {"osbits", "32"},         {"keyboardtype", "[undef]"},
        {"diskserial.sda", ""},   {"diskserial", "[unknown]"},
        {"groupusers.root", ""},  {"currentuser", SystemTools::getUserFromID(getuid())},
        {"nonsense", ""},         {"", ""}};
    for (const auto& [key, value] : answers)
        EXPECT_EQ(value, agent.getSystem(key)) << key;
    EXPECT_EQ("root", SystemTools::getUserFromID(0));
    for (const std::string& group : StringTools::splitVector(agent.getSystem("groups"), '\n'))
        for (const std::string& user : SystemTools::obtainGroupUsers(group))
            EXPECT_TRUE(SystemTools::obtainUserGroups(user).contains(group));
    for (const long long none : {-1LL, 4294967296LL, 4000000123LL})
        EXPECT_EQ("", SystemTools::getUserFromID(none) + SystemTools::getGroupFromID(none));
}

TEST(SystemBaseTest, LocalSettingsGoToTheRegistry) {
    const RegistryFile registry;
    const SystemBase base;
    ConfAgent agent;
    agent.setLocalConf("int", -9223372036854775807LL, false);
    agent.setLocalConf("A\\float", 0.5, true);
    agent.setLocalConf("list", Texts{"1", "2"}, true);
    EXPECT_EQ(-9223372036854775807LL, agent.getLocalConfInt("int", false));
    EXPECT_EQ(0.5, agent.getLocalConfFloat("A\\float", false));
    EXPECT_EQ((Texts{"1", "2"}), agent.getLocalConfList("list", false));

    std::string text = "x";
    const auto ask = [&text](const char* group, int type, const char* key) {
        SystemQueryParam param;
        param.type = type;
        param.key = key;
        param.value = &text;
        ImsMessage message("system", group, "", &param);
        return ConfAgent().sendMessage(message) ? param.status : -1;
    };
    const std::tuple<const char*, int, const char*, int> cases[] = {
        {"set", 20, "B=", 3},  {"set", 20, "B", 0},      {"set", 16, "B", 11},  {"set", 22, "B", 11},
        {"query", 16, "B", 3}, {"query", 20, "list", 4}, {"query", 15, "B", 5}, {"query", 22, "B", 5},
        {"query", 20, "C", 3}, {"other", 20, "B", -1},   {"query", 20, "B", 0}};
    for (const auto& [group, type, key, status] : cases)
        EXPECT_EQ(status, ask(group, type, key)) << group << key << type;
    EXPECT_EQ("x", text);
    agent.setLocalConf("", text, false);  // a write that failed goes unnoticed by callers

    writeFile(registry.path, "broken");
    EXPECT_EQ(12, ask("query", 20, "B") + ask("set", 20, "B"));
    EXPECT_EQ("broken", readFile(registry.path));
}
