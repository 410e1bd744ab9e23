#include <signal.h>

#include <set>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "InChild.h"
#include "RegistryFile.h"

using MovrikCorelib::FileRegistry;
using Texts = std::list<std::string>;
using std::string_literals::operator""s;

namespace {

std::string getString(const std::string& key) {
    std::string value;
    const int status = FileRegistry::getRaw(key, FileRegistry::String, value);
    return status == 0 ? value : "status " + std::to_string(status);
}

int writeA() {
    return FileRegistry::setRaw("A", FileRegistry::Int, "1");
}

/// Whether an earlier failure has released the locks, for other threads and for other processes.
bool isFree() {
    int status = -1;
    std::thread([&] { status = writeA(); }).join();
    return status == 0 && TestSupport::inChild(writeA) == 0;
}

class FileRegistryTest : public testing::Test {
protected:
    void write(const std::string& text) const { TestSupport::writeFile(registry.path, text); }
    std::string read() const { return TestSupport::readFile(registry.path); }

    const TestSupport::RegistryFile registry;
};

}  // namespace

TEST_F(FileRegistryTest, FileHoldsTheTreeInNameOrder) {
    EXPECT_EQ("status 3", getString("A"));
    EXPECT_TRUE(TestSupport::listTree(registry.dir.path()).empty()) << "reading makes nothing";
    EXPECT_EQ(0, FileRegistry::setRaw("B\\C\\D", FileRegistry::String, "x=y\nz\\"));
    EXPECT_EQ(0, FileRegistry::setRaw("A", FileRegistry::Int, "-5"));
    EXPECT_EQ(0, FileRegistry::set("B\\L", {"p", "q"}));
    const std::string text =
        "root\n{\n\ttype (string)=[undef]\n\tvalue (string)=\n"
        "\tA\n\t{\n\t\ttype (string)=int\n\t\tvalue (string)=-5\n\t}\n"
        "\tB\n\t{\n\t\ttype (string)=[undef]\n\t\tvalue (string)=\n"
        "\t\tC\n\t\t{\n\t\t\ttype (string)=[undef]\n\t\t\tvalue (string)=\n"
        "\t\t\tD\n\t\t\t{\n\t\t\t\ttype (string)=str\n\t\t\t\tvalue (string)=x=y\\nz\\\\\n\t\t\t}\n\t\t}\n"
        "\t\tL\n\t\t{\n\t\t\ttype (string)=lst\n\t\t\tvalue (string)=p\0q\0\0\n\t\t}\n\t}\n}\n"s;
    EXPECT_EQ(text, read());
    EXPECT_EQ("x=y\nz\\", getString("B\\C\\D"));

    std::set<std::string> keys = {"old"};
    EXPECT_EQ(0, FileRegistry::getSubKeys("B", keys));
    EXPECT_EQ((std::set<std::string>{"C", "L"}), keys);
    EXPECT_EQ(9, FileRegistry::getSubKeys("X", keys) + FileRegistry::removeKey("B\\X") +
                     FileRegistry::removeKey("X\\C"));
    EXPECT_EQ(text, read());
    EXPECT_EQ(0, FileRegistry::removeKey("B\\C"));
    EXPECT_EQ("status 3", getString("B\\C\\D"));
    EXPECT_EQ(0, FileRegistry::setRaw("B", FileRegistry::String, "leaf"));
    EXPECT_EQ("status 3", getString("B\\L")) << "a set replaces the whole subtree";
}

TEST_F(FileRegistryTest, WhatCannotBeStoredOrAskedIsRefused) {
    write("");
    EXPECT_EQ("status 3", getString("A")) << "an empty file is an empty registry";
    EXPECT_EQ(0, writeA());
    EXPECT_EQ("status 4", getString("A"));
    const std::string before = read();
    EXPECT_EQ(4, FileRegistry::setRaw("A", -1, "") + FileRegistry::setRaw("A", 5, ""));
    EXPECT_EQ("status 2", getString(""));
    std::string deep = "d";
    for (unsigned long i = 1; i < FileRegistry::MaxDepth; ++i)
        deep += "\\d";
    for (const std::string& key : {""s, "a=b"s, "a\\"s, "\\a"s, "a\\\\b"s, "a\nb"s, " a"s, "a\t"s, "#a"s,
                                   "a\\}"s, "a\0b"s, deep + "\\d"})
        EXPECT_EQ(2, FileRegistry::setRaw(key, FileRegistry::String, "x")) << key;
    EXPECT_EQ(before, read());
    EXPECT_EQ(0, FileRegistry::setRaw(deep, FileRegistry::String, "x"));
    EXPECT_EQ("x", getString(deep));
}

TEST_F(FileRegistryTest, NumbersAndListsComeBack) {
    unsigned long long wide = 0;
    unsigned int narrow = 0;
    int other = 0;
    EXPECT_EQ(0, FileRegistry::setRaw("u", FileRegistry::UInt, "18446744073709551614"));
    EXPECT_EQ(0, FileRegistry::get("u", wide) + FileRegistry::get("u", narrow));
    EXPECT_EQ(18446744073709551614u, wide);
    EXPECT_EQ(4294967294u, narrow);
    EXPECT_EQ(4, FileRegistry::get("u", other));
    const std::pair<Texts, Texts> cases[] = {{{}, {""}},
                                             {{"a", "b c", "d\n"}, {"a", "b c", "d\n"}},
                                             {{"", "a"}, {"", "a"}},
                                             {{"a", "", "b"}, {"a"}}};
    for (const auto& [stored, found] : cases) {
        Texts list = {"old"};
        EXPECT_EQ(0, FileRegistry::set("l", stored) + FileRegistry::get("l", list));
        EXPECT_EQ(found, list);
    }
}

TEST_F(FileRegistryTest, HandWrittenFilesAreTakenOrLeftAlone) {
    write(
        "# by hand\n\nroot\n{\n  A\n  {\n    value (string)=x\n    B\n    {\n"
        "      type (string)=str\n    }\n  }\n}\n");
    EXPECT_EQ("status 4", getString("A")) << "no type";
    EXPECT_EQ("", getString("A\\B")) << "no value";

    std::string deep;
    for (int i = 0; i < 3000; ++i)
        deep = "root\n{\n" + deep + "}\n";
    for (const std::string& broken : {"root\n{\n\tA\n\t{\n"s, "root\n"s, "other\n{\n}\n"s, "\n"s, deep}) {
        write(broken);
        EXPECT_EQ("status 1", getString("A"));
        EXPECT_EQ(2, writeA() + FileRegistry::removeKey("A"));
        EXPECT_EQ(broken, read());
    }
    write("");
    EXPECT_TRUE(isFree());
}

TEST(FileRegistryAccessTest, UnreachableFileDoesNotLockAnybodyOut) {
    const TestSupport::RegistryFile registry("test.freg/below.freg");
    TestSupport::writeFile(registry.dir / "test.freg", "not a directory");
    EXPECT_EQ(0, writeA()) << "nothing to write to counts as done";
    EXPECT_TRUE(isFree());
    EXPECT_EQ(std::vector<std::string>{"test.freg"}, TestSupport::listTree(registry.dir.path()));
    FileRegistry::setFName(registry.dir.path());
    EXPECT_EQ(1, writeA()) << "it is a directory";
    FileRegistry::setFName(registry.dir / std::string(300, 'x'));
    EXPECT_EQ(1, writeA()) << "no lock file, no access";
    FileRegistry::setFName(registry.dir / "new");
    EXPECT_TRUE(isFree());
}

TEST_F(FileRegistryTest, ManyProcessesAndThreadsLoseNoKey) {
    constexpr int Keys = 15;
    const auto writeKeys = [](const std::string& prefix) {
        for (int i = 0; i < Keys; ++i) {
            const std::string number = std::to_string(i), key = "all\\" + prefix + number;
            EXPECT_EQ(0, FileRegistry::setRaw(key, FileRegistry::String, number));
            EXPECT_EQ(number, getString(key));
        }
    };
    for (const char* writer : {"a", "b", "c", "d"})
        if (fork() == 0) {
            std::thread other(writeKeys, "thread "s + writer);
            writeKeys(writer);
            other.join();
            _exit(HasFailure());
        }
    for (int status = -1; wait(&status) > 0;)
        EXPECT_EQ(0, status);
    std::set<std::string> keys;
    EXPECT_EQ(0, FileRegistry::getSubKeys("all", keys));
    EXPECT_EQ(8u * Keys, keys.size());
}

TEST_F(FileRegistryTest, KilledWriterLeavesTheOldOrTheNewRegistry) {
    ASSERT_EQ(0, FileRegistry::setRaw("kept", FileRegistry::String, "yes"));
    const std::string values[] = {std::string(300000, 'a'), std::string(200000, 'b')};
    ASSERT_EQ(0, FileRegistry::setRaw("big", FileRegistry::String, values[0]));
    const std::string saving = registry.path + ".saving";
    for (useconds_t round = 0; round < 25; ++round) {
        unlink(saving.c_str());
        const pid_t child = fork();
        if (child == 0)
            for (int i = 1;; ++i)
                FileRegistry::setRaw("big", FileRegistry::String, values[i % 2]);
        // Hits the writer at its work, a little later each time.
        for (int i = 0; i < 10000 && access(saving.c_str(), F_OK) != 0; ++i)
            usleep(200);
        usleep(round * 100);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        EXPECT_EQ("yes", getString("kept"));
        const std::string value = getString("big");
        EXPECT_TRUE(value == values[0] || value == values[1]) << value.size() << " characters";
    }
    EXPECT_EQ(0, FileRegistry::setRaw("big", FileRegistry::String, "small"))
        << "the lock went with its holder";
}
