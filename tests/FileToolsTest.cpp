#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <limits>
#include <list>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FileOps.h"
#include "FileTools.h"
#include "TestSupport.h"

using namespace MovrikCorelib;
using namespace TestSupport;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

using Names = std::set<std::string>;

std::wstring wide(const std::string& text) {
    return std::wstring(text.begin(), text.end());
}

/// Runs an operation that changes a path in place in both widths and gives the narrow result.
template <class Narrow, class Wide>
std::string changed(std::string path, Narrow narrowForm, Wide wideForm) {
    std::wstring twin = wide(path);
    narrowForm(path);
    wideForm(twin);
    EXPECT_EQ(twin, wide(path));
    return path;
}

#define CHANGED(operation, path)                                     \
    changed(                                                         \
        path, [](std::string& text) { FileTools::operation(text); }, \
        [](std::wstring& text) { FileTools::operation(text); })

/// A tree with a link that leads back to its top.
void makeTree(const std::string& top) {
    writeFile(top + "/b.txt", "second needle\nneedleneedle");
    writeFile(top + "/a.log", "nothing");
    writeFile(top + "/sub/deep/target.txt", "hay\nneedle");
    writeFile(top + "/sub/a.txt", "");
    fs::create_directory_symlink("..", top + "/sub/loop");
    fs::create_symlink("nowhere", top + "/dangling");
}

/// A directory on another file system than the temporary one, or an empty text.
std::string otherFileSystem(const std::string& here) {
    struct stat64 one;
    struct stat64 two;
    const bool differs = stat64(here.c_str(), &one) == 0 && stat64("/dev/shm", &two) == 0 &&
                         one.st_dev != two.st_dev && access("/dev/shm", W_OK) == 0;
    return differs ? "/dev/shm" : "";
}

}  // namespace

TEST(FileToolsTest, PartsOfPaths) {
    struct Case {
        std::string path, dir, parent, base, trimmedBase, suffix;
    };
    const Case cases[] = {
        {"/a/b.c/x.in.gz", "/a/b.c", "/a/b.c", "x.in.gz", "x.in.gz", "gz"},
        {"a.b/c", "a.b", "a.b", "c", "c", ""},
        {"a.b.c", "", "", "a.b.c", "a.b.c", "c"},
        {"a\\b\\", "a/b", "a", "", "b", ""},
        {"a/b//", "a/b/", "a/b", "", "b", ""},
        {"/a", "", "", "a", "a", ""},
        {"/", "", "", "", "", ""},
        {"", "", "", "", "", ""},
        {"x.", "", "", "x.", "x.", ""},
        {"C:\\d\\.rc", "C:/d", "C:/d", ".rc", ".rc", "rc"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.path);
        EXPECT_EQ(FileTools::getDir(each.path), each.dir);
        EXPECT_EQ(FileTools::getParent(each.path), each.parent);
        EXPECT_EQ(FileTools::getBase(each.path, false), each.base);
        EXPECT_EQ(FileTools::getBase(each.path, true), each.trimmedBase);
        EXPECT_EQ(FileTools::getSuffix(each.path), each.suffix);
        EXPECT_EQ(FileTools::getParent(wide(each.path)), wide(each.parent));
        EXPECT_EQ(FileTools::getBase(wide(each.path), true), wide(each.trimmedBase));
        EXPECT_EQ(FileTools::getSuffix(wide(each.path)), wide(each.suffix));
    }
    EXPECT_EQ(FileTools::getDrive("c:x"), "c:");
    EXPECT_EQ(FileTools::getDrive("1:x"), "");
    EXPECT_EQ(FileTools::findSuffixStart("/d/x.in"), 5u);
    EXPECT_EQ(FileTools::findSuffixEnd("/d/x.in"), 7u);
    EXPECT_EQ(FileTools::findBaseStart("/d/x.in"), 3u);
    EXPECT_EQ(FileTools::findDirEnd("/d/x.in"), 2u);
    EXPECT_EQ(FileTools::findSuffixStart("/d.e/x"), std::string::npos);
    EXPECT_EQ(FileTools::findBaseStart("/d/"), std::string::npos);
    EXPECT_EQ(FileTools::findDirStart("x"), std::string::npos);

    std::string path = "C:\\d\\e\\x.in.gz";
    EXPECT_EQ(FileTools::splitSuffix(path), "gz");
    EXPECT_EQ(FileTools::splitDrive(path), "C:");
    EXPECT_EQ(FileTools::splitBase(path), "x.in");
    EXPECT_EQ(path, "/d/e/");
    path += "y";
    EXPECT_EQ(FileTools::splitDir(path), "/d/e");
    EXPECT_EQ(path, "y");
    EXPECT_EQ(FileTools::splitDir(path) + FileTools::splitSuffix(path) + path, "y");
    EXPECT_EQ(CHANGED(removeBase, "/a/b"), "/a/");
    EXPECT_EQ(CHANGED(removeSuffix, "/a.b/c"), "/a.b/c");
    EXPECT_EQ(CHANGED(removeSuffix, "/a.b/c.d"), "/a.b/c");
    EXPECT_EQ(CHANGED(trimDir, "a\\b//"), "a/b");
    EXPECT_EQ(CHANGED(trimDir, "/"), "");
    EXPECT_EQ(CHANGED(completeDir, "a"), "a/");
    EXPECT_EQ(CHANGED(completeDir, "a\\"), "a\\");
    EXPECT_EQ(CHANGED(completeDir, ""), "");
}

TEST(FileToolsTest, ContractedPaths) {
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"/", "/"},
        {"\\", "/"},
        {"a//b", "a/b"},
        {"//a/./b/", "//a/b/"},
        {"a/b/../c", "a/c"},
        {"a/b/../c/../../d", "a/d"},
        {"../../a", "../../a"},
        {"a/../../b", "../b"},
        {"/a/../../b", "/b"},
        {"/a/..", "/"},
        {"/a/../", "/"},
        {"a/..", ""},
        {"./", "./"},
        {"a/../", "./"},
        {"a\\..\\b\\", "b/"},
        {"...", "..."},
    };
    for (const auto& [path, contracted] : cases)
        EXPECT_EQ(CHANGED(contractPath, path), contracted) << path;
}

TEST(FileToolsTest, RelativeAndCompletePaths) {
    struct Case {
        std::string path, base, complete, relative;
        bool relates;
    };
    const Case cases[] = {
        {"b", "/a", "/a/b", "b", false},         {"/a/b/c", "/a", "/a/b/c", "b/c", true},
        {"/a", "/a/", "/a", ".", true},          {"/x/", "/a/b/", "/x/", "../../x/", true},
        {"a/c", "a/b", "a/b/a/c", "../c", true}, {"C:/x", "/a", "C:/x", "../C:/x", true},
        {"b", "../a", "../a/b", "b", false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.path + " " + each.base);
        std::string path = each.path;
        EXPECT_EQ(FileTools::makeComplete(path, each.base), each.complete);
        std::wstring relative = wide(each.path);
        EXPECT_EQ(FileTools::makeRelative(relative, wide(each.base)), each.relates);
        EXPECT_EQ(relative, wide(each.relative));
    }
}

TEST(FileToolsTest, VariablesInPaths) {
    const ScopedEnv a("MOVRIK_T_A", "aa");
    const ScopedEnv b("MOVRIK_T_B", "x%MOVRIK_T_A%");
    const ScopedEnv runaway("MOVRIK_T_R",
                            "0123456789012345%MOVRIK_T_R%/$MOVRIK_T_R/0123456789012345%MOVRIK_T_R%");
    const std::pair<std::string, std::string> cases[] = {
        {"/%MOVRIK_T_A%\\b", "/aa/b"},
        {"%MOVRIK_T_A%/0123456789/%MOVRIK_T_A%", "aa/0123456789/aa"},
        {"%MOVRIK_T_NONE%/%MOVRIK_T_A%", "%MOVRIK_T_NONE%/aa"},
        {"100%/%", "100%/%"},
        {"50%/x", "50%/x"},
        {"$MOVRIK_T_A/x", "aa/x"},
        {"/d/$MOVRIK_T_A", "/d/$MOVRIK_T_A"},
        {"$MOVRIK_T_NONE/$MOVRIK_T_A/x", "$MOVRIK_T_NONE/aa/x"},
        // The next search starts where the closing "%" was: what was put in ahead of that place is not taken
        // up.
        {"%MOVRIK_T_B%/y", "x%MOVRIK_T_A%/y"},
    };
    for (const auto& [path, mapped] : cases)
        EXPECT_EQ(CHANGED(mapSymbolic, path), mapped) << path;
    EXPECT_EQ(CHANGED(processPath, "%MOVRIK_T_A%/../b"), "b");
    EXPECT_EQ(CHANGED(prepDir, "$MOVRIK_T_A/./b"), "aa/b/");
    std::string path = "%MOVRIK_T_R%";
    EXPECT_LT(FileTools::mapSymbolic(path).size(), 200000u);
}

TEST(FileToolsTest, TestsTellFilesDirectoriesAndLinksApart) {
    const TempDir dir;
    makeTree(dir.path());
    fs::create_directory_symlink("sub", dir / "link");
    struct Case {
        std::string path;
        bool isFile, isDir, isLink, exists;
    };
    const Case cases[] = {
        {dir / "a.log", true, false, false, true}, {dir / "sub", false, true, false, true},
        {dir / "sub/", false, true, false, true},  {dir / "dangling", true, false, true, true},
        {dir / "link", true, true, true, true},    {dir / "none", false, false, false, false},
        {"", false, false, false, false},          {(dir / "sub") + "\0x"s, false, false, false, false},
        {"/", false, true, false, true},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.path);
        EXPECT_EQ(FileTools::isFile(each.path), each.isFile);
        EXPECT_EQ(FileTools::isDir(each.path), each.isDir);
        EXPECT_EQ(FileTools::isLink(each.path), each.isLink);
        EXPECT_EQ(FileTools::exists(each.path), each.exists);
        EXPECT_EQ(FileTools::isDir(wide(each.path)), each.isDir);
    }
    EXPECT_EQ(FileTools::size(dir / "a.log"), 7u);
    EXPECT_EQ(FileTools::size(dir / "dangling"), 0u);
    EXPECT_EQ(CHANGED(expand, dir / "dangling"), dir / "nowhere");
    EXPECT_EQ(CHANGED(expand, dir / "a.log"), "");
    EXPECT_FALSE(FileTools::createLink("x", dir / "a.log"));

    EXPECT_TRUE(FileTools::setStatus(dir / "a.log", 0640));
    EXPECT_TRUE(FileTools::isAllowed(dir / "a.log", FileTools::AccessOwner,
                                     FileTools::RightRead | FileTools::RightWrite));
    EXPECT_FALSE(FileTools::isAllowed(dir / "a.log", FileTools::AccessAll, FileTools::RightRead));
    EXPECT_TRUE(FileTools::setPermissions(dir / "a.log", FileTools::AccessOthers, FileTools::RightRead));
    EXPECT_TRUE(FileTools::setPermissions(dir / "a.log", FileTools::AccessAll, FileTools::RightWrite, false));
    EXPECT_TRUE(FileTools::checkStatus(dir / "a.log", 0444));
    EXPECT_FALSE(FileTools::checkStatus(dir / "a.log", 0200));
    EXPECT_TRUE(FileTools::setStatus(dir / "a.log", 0600));

    // 2010-03-07 12:00:00.123 GMT, and a moment before 1970.
    for (const unsigned long long count : {1267963200123ull + 2209075200000ull, 2209075199999ull}) {
        EXPECT_TRUE(FileTools::setLastModified(dir / "a.log", DateTime(count)));
        EXPECT_EQ(FileTools::lastModified(dir / "a.log").time(), count);
    }
    EXPECT_FALSE(FileTools::setLastAccessed(dir / "a.log", DateTime()));
    EXPECT_EQ(FileTools::lastAccessed(dir / "none").time(), 0u);
    EXPECT_TRUE(FileTools::touch(dir / "a.log") && FileTools::touch(dir / "new"));
    EXPECT_GT(FileTools::lastModified(dir / "a.log").time(), 1767225600000ull + 2209075200000ull);
    EXPECT_FALSE(FileTools::touch(dir / "no/x") || FileTools::createFile(dir / "new"));
    EXPECT_TRUE(FileTools::createFile(dir / "a.log", true));
    EXPECT_EQ(FileTools::size(dir / "a.log"), 0u);
    EXPECT_GT(FileTools::freeSpace(dir.path()), 0u);
    std::list<FileTools::FileSystem> systems;
    EXPECT_TRUE(FileTools::getFileSystems(systems));
    EXPECT_TRUE(std::ranges::any_of(systems, [](const auto& system) { return system.directory == "/"; }));
}

TEST(FileToolsTest, ListsDirectories) {
    const TempDir dir;
    makeTree(dir.path());
    writeFile(dir / "odd\nname\xFF", "");
    Names files;
    Names dirs;
    EXPECT_TRUE(FileTools::readDir(dir.path() + "//", "*", &files, &dirs));
    EXPECT_EQ(files, (Names{"a.log", "b.txt", "dangling", "odd\nname\xFF"}));
    EXPECT_EQ(dirs, Names{"sub"});
    EXPECT_TRUE(FileTools::readDir(dir / "sub", "*", nullptr, &dirs));
    EXPECT_TRUE(FileTools::readDir(dir / "sub", "?.txt", &files, nullptr));
    EXPECT_EQ(files, (Names{"a.log", "a.txt", "b.txt", "dangling", "odd\nname\xFF"}));
    EXPECT_EQ(dirs, (Names{"deep", "loop", "sub"}));
    EXPECT_TRUE(FileTools::readDir(dir.path(), "*.none", &files, &dirs));
    EXPECT_EQ(files.size() + dirs.size(), 8u);
    EXPECT_FALSE(FileTools::readDir(dir / "a.log", "*", &files, &dirs));
    EXPECT_FALSE(FileTools::readDir("", "*", &files, &dirs));
    std::set<std::wstring> root;
    EXPECT_TRUE(FileTools::readDir(L"/", L"d?v", nullptr, &root));
    EXPECT_EQ(root, std::set<std::wstring>{L"dev"});

    unsigned long fileCount = 9;
    unsigned long dirCount = 9;
    EXPECT_TRUE(FileTools::count(dir.path(), "*.txt", "*", fileCount, dirCount, true));
    EXPECT_EQ(fileCount, 3u);
    EXPECT_EQ(dirCount, 3u);  // sub, sub/deep and sub/loop, which is not gone through again
    EXPECT_TRUE(FileTools::count(dir.path(), "*", "x*", fileCount, dirCount, true));
    EXPECT_EQ(fileCount, 4u);
    EXPECT_EQ(dirCount, 0u);
    EXPECT_FALSE(FileTools::count(dir / "none", "*", "*", fileCount, dirCount, true));
    EXPECT_EQ(fileCount, 0u);

    FileTools::DirItem tree;
    EXPECT_TRUE(FileTools::getDirTree(dir / "sub/", tree));
    EXPECT_EQ(tree.name, "sub");
    ASSERT_EQ(tree.items.size(), 3u);
    auto item = tree.items.begin();
    EXPECT_TRUE(item->name == "a.txt" && !item->isDir);
    ++item;
    ASSERT_TRUE(item->name == "deep" && item->isDir && item->items.size() == 1);
    EXPECT_EQ(item->items.begin()->name, "target.txt");
    EXPECT_TRUE((++item)->items.empty());
}

TEST(FileToolsTest, FindsFilesByNameAndContents) {
    const TempDir dir;
    makeTree(dir.path());
    std::string result = "kept";
    std::vector<std::string> visited;
    const auto note = [&](const std::string& path, int status, unsigned long long, unsigned long long) {
        EXPECT_EQ(status, 1);
        visited.push_back(path);
    };
    EXPECT_FALSE(FileTools::findName(dir.path(), "target.txt", result, false));
    EXPECT_EQ(result, "kept");
    EXPECT_TRUE(FileTools::findName(dir.path() + "/./", "target.txt", result, true, note));
    EXPECT_EQ(result, dir / "sub/deep/target.txt");
    EXPECT_EQ(visited.size(), 3u);
    EXPECT_FALSE(FileTools::findName(dir.path(), "sub", result, true));
    EXPECT_TRUE(FileTools::findNameGlob(dir.path(), "a.*", result, true) && result == dir / "a.log");
    EXPECT_TRUE(FileTools::findNameGlob(dir.path(), "t*", result, true) &&
                result == dir / "sub/deep/target.txt");
    EXPECT_TRUE(FileTools::findContents(dir.path(), "hay\nnee", result, true));
    EXPECT_EQ(result, dir / "sub/deep/target.txt");
    EXPECT_TRUE(FileTools::findContentsGlob(dir.path(), "sec*need?e", result, true) &&
                result == dir / "b.txt");
    EXPECT_FALSE(FileTools::findContentsGlob(dir.path(), "hay*needle", result, true));
    std::wstring wideResult;
    EXPECT_TRUE(FileTools::findContents(wide(dir.path()), L"nothing", wideResult, true));
    EXPECT_EQ(wideResult, wide(dir / "a.log"));

    std::set<FileTools::SearchResult> hits;
    EXPECT_TRUE(FileTools::find(dir.path(), "*.txt", "needle", true, hits));
    std::multimap<std::string, unsigned long long> places;
    for (const auto& hit : hits)
        places.emplace(hit.path, hit.position);
    EXPECT_EQ(
        places,
        (decltype(places){
            {dir / "b.txt", 7}, {dir / "b.txt", 14}, {dir / "b.txt", 20}, {dir / "sub/deep/target.txt", 4}}));
    EXPECT_FALSE(FileTools::find(dir / "none", "*", "", true, hits));

    // A text that lies across the blocks in which files are read.
    writeFile(dir / "big", std::string(256 * 1024 - 3, 'x') + "needle");
    hits.clear();
    EXPECT_TRUE(FileTools::find(dir.path(), "big", "needle", false, hits));
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits.begin()->position, 262141u);
}

TEST(FileToolsTest, FindsAlongSearchLists) {
    const TempDir dir;
    for (const char* name : {"one/tool", "two/tool", "two/movrik_tool", "two/movrik_x", "path/only"})
        writeFile(dir / name, "");
    const ScopedEnv variable("MOVRIK_T_LIST", dir / "path" + "::" + dir.path());
    const std::string list = ":" + (dir / "none") + ":" + (dir / "one/") + ":" + (dir / "two");
    std::string result = "kept";
    EXPECT_FALSE(FileTools::findPath("none.such", result, list, "MOVRIK_T_LIST"));
    EXPECT_FALSE(FileTools::findPath("", result, list, "MOVRIK_T_LIST"));
    EXPECT_EQ(result, "kept");
    EXPECT_TRUE(FileTools::findPath("tool", result, list, "MOVRIK_T_LIST") && result == dir / "one/tool");
    EXPECT_TRUE(FileTools::findPath("only", result, list, "MOVRIK_T_LIST") && result == dir / "path/only");
    EXPECT_TRUE(FileTools::findPath("one/../two/", result, "", "MOVRIK_T_LIST") && result == dir / "two");
    EXPECT_TRUE(FileTools::findPath(dir / "two//tool", result, "", "") && result == dir / "two/tool");
    EXPECT_TRUE(FileTools::findExe("tool", result, list, "") && result == dir / "two/movrik_tool");
    EXPECT_TRUE(FileTools::findExe("movrik_x", result, list, "") && result == dir / "two/movrik_x");
    EXPECT_TRUE(FileTools::findExe("only", result, list, "MOVRIK_T_LIST") && result == dir / "path/only");
    const ScopedEnv path("PATH", dir / "two");
    std::wstring wideResult;
    EXPECT_TRUE(FileTools::findPath(L"tool", wideResult, L"", L"Path") &&
                wideResult == wide(dir / "two/tool"));
}

TEST(FileToolsTest, MakesAndRemovesDirectoriesWithoutFollowingLinks) {
    const TempDir dir;
    EXPECT_FALSE(FileTools::ensurePath(""));
    EXPECT_TRUE(FileTools::ensurePath(dir / "a/x/../b/file"));
    EXPECT_TRUE(FileTools::isDir(dir / "a/b"));
    EXPECT_FALSE(FileTools::exists(dir / "a/b/file") || FileTools::exists(dir / "a/x"));
    EXPECT_TRUE(FileTools::ensurePath(wide(dir / "a/b/c/")));
    EXPECT_TRUE(FileTools::isDir(dir / "a/b/c"));
    EXPECT_TRUE(FileTools::ensurePath("file") && FileTools::ensurePath("./"));
    writeFile(dir / "a/f", "");
    EXPECT_FALSE(FileTools::ensurePath(dir / "a/f/c/"));

    EXPECT_FALSE(FileTools::makeDir(dir / "a", false) || FileTools::makeDir(dir / "no/a", true));
    EXPECT_TRUE(FileTools::makeDir(dir / "a/f", true) && FileTools::isDir(dir / "a/f"));

    writeFile(dir / "outside/kept", "kept");
    fs::create_directory_symlink("../outside", dir / "a/link");
    writeFile(dir / "a/deep/er/x", "");
    EXPECT_FALSE(FileTools::clearDir(dir / "a/link", true) || FileTools::removeDir(dir / "a/link/", true));
    EXPECT_FALSE(FileTools::removeDir(dir / "none", true) || FileTools::removeDir("", true));
    EXPECT_TRUE(FileTools::clearDir(dir / "a", false));
    EXPECT_TRUE(FileTools::isDir(dir / "a") && fs::is_empty(dir / "a"));
    writeFile(dir / "a/deep/x", "");
    fs::create_directory_symlink("../outside", dir / "a/link");
    EXPECT_TRUE(FileTools::makeDir(dir / "a", true) && fs::is_empty(dir / "a"));
    EXPECT_TRUE(FileTools::removeDir(dir / "a/", false));
    EXPECT_EQ(listTree(dir.path()), std::vector<std::string>{"outside/kept"});
    EXPECT_FALSE(FileTools::remove(dir / "outside", true) || FileTools::remove(dir / "none", true));

    if (getuid() == 0)
        return;  // nothing is refused
    FileTools::setStatus(dir / "outside", 0500);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(FileTools::remove(dir / "outside/kept", true));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(25));
    EXPECT_TRUE(FileTools::removeDir(dir / "outside", true));
}

TEST(FileToolsTest, CopiesAndMovesWithoutLosingAnything) {
    const TempDir dir;
    const std::string bytes = "one\r\ntwo\0\r"s + std::string(10000, 'x');
    writeFile(dir / "s", bytes);
    writeFile(dir / "t", "old");
    FileOps::IgnoreCR = true;
    std::vector<unsigned long long> steps;
    const auto note = [&](const std::string&, int status, unsigned long long done, unsigned long long all) {
        EXPECT_EQ(status, 0);
        EXPECT_EQ(all, 10010u);
        steps.push_back(done);
    };
    EXPECT_FALSE(FileTools::copy(dir / "s", dir / "t", false, 4096, true, note));
    EXPECT_TRUE(FileTools::copy(dir / "s", dir / "t", true, 4096, true, note));
    EXPECT_TRUE(FileOps::IgnoreCR);
    FileOps::IgnoreCR = false;
    EXPECT_EQ(readFile(dir / "t"), bytes);
    EXPECT_EQ(steps, (std::vector<unsigned long long>{4096, 8192, 10010}));
    EXPECT_TRUE(FileTools::copy(wide(dir / "s"), wide(dir / "u"), false, 0, true));
    EXPECT_TRUE(
        FileTools::copy(dir / "s", dir / "v", false, std::numeric_limits<unsigned long>::max(), true));

    // A file is never copied onto itself, and a copy that fails leaves nothing.
    fs::create_hard_link(dir / "s", dir / "same");
    EXPECT_FALSE(FileTools::copy(dir / "s", dir / "same", true, 4096, false));
    EXPECT_FALSE(FileTools::copy(dir / "s", dir / "s", true, 4096, false));
    EXPECT_FALSE(FileTools::copy(dir / "s", "/dev/full", true, 4096, false));
    EXPECT_TRUE(FileTools::exists("/dev/full"));
    EXPECT_FALSE(FileTools::copy(dir.path(), dir / "w", true, 4096, false));
    EXPECT_FALSE(FileTools::copy(dir / "s", dir.path(), true, 4096, false));
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(FileTools::copy(dir / "pipe", dir / "w", false, 4096, false) ||
                 FileTools::exists(dir / "w"));
    EXPECT_EQ(readFile(dir / "s"), bytes);

    fs::create_symlink("nowhere", dir / "dangling");
    for (const char* target : {"t", "dangling", "pipe"})
        EXPECT_FALSE(FileTools::move(dir / "s", dir / target, false, 4096, false, nullptr)) << target;
    EXPECT_EQ(readFile(dir / "t"), bytes);
    EXPECT_TRUE(FileTools::move(dir / "s", dir / "w", false, 4096, false, nullptr));
    EXPECT_FALSE(FileTools::exists(dir / "s") || FileTools::move(dir / "s", dir / "w", true, 4096, false));
    writeFile(dir / "s", "new");
    EXPECT_TRUE(FileTools::move(dir / "s", dir / "w", true, 4096, false));
    EXPECT_EQ(readFile(dir / "w"), "new");
    EXPECT_FALSE(FileTools::move(dir / "w", dir / "no/w", false, 4096, false));
    EXPECT_TRUE(FileTools::exists(dir / "w"));
}

TEST(FileToolsTest, MovesBetweenFileSystems) {
    const TempDir dir;
    const std::string other = otherFileSystem(dir.path());
    if (other.empty())
        GTEST_SKIP() << "only one file system here";
    const std::string away = other + "/" + FileTools::getBase(dir.path());
    ASSERT_TRUE(FileTools::makeDir(away, false));
    writeFile(dir / "s", "text\r\n");
    FileTools::setStatus(dir / "s", 0600);
    FileTools::setLastModified(dir / "s", DateTime(1267963200123ull + 2209075200000ull));
    writeFile(away + "/t", "old");
    EXPECT_FALSE(FileTools::move(dir / "s", away + "/t", false, 4096, true));
    EXPECT_EQ(readFile(away + "/t"), "old");
    EXPECT_TRUE(FileTools::move(dir / "s", away + "/t", true, 4096, true));
    EXPECT_EQ(readFile(away + "/t"), "text\r\n");
    EXPECT_FALSE(FileTools::exists(dir / "s") || FileTools::checkStatus(away + "/t", 0044));
    EXPECT_EQ(FileTools::lastModified(away + "/t").time(), 1267963200123ull + 2209075200000ull);
    EXPECT_FALSE(FileTools::move(away + "/t", dir.path(), true, 4096, false));
    fs::create_symlink("nowhere", dir / "link");
    EXPECT_TRUE(FileTools::move(dir / "link", away + "/link", false, 4096, false));
    EXPECT_EQ(fs::read_symlink(away + "/link"), "nowhere");
    EXPECT_TRUE(FileTools::moveDir(away, dir / "back", false, 4096, true));
    EXPECT_FALSE(FileTools::exists(away));
    EXPECT_EQ(listTree(dir.path()), (std::vector<std::string>{"back/link", "back/t"}));
    FileTools::removeDir(away, true);
}

TEST(FileToolsTest, CopiesMovesAndComparesManyFiles) {
    const TempDir dir;
    for (const char* name : {"s/a.in", "s/b.in", "s/c.txt", "t/b.in"})
        writeFile(dir / name, name);
    std::map<std::string, int> told;
    const auto note = [&](const std::string& path, int status, unsigned long long, unsigned long long) {
        told[FileTools::getBase(path)] = status;
    };
    EXPECT_FALSE(FileTools::copy(dir / "s", dir / "t", "*.in", false, 4096, true, note));
    EXPECT_EQ(told, (std::map<std::string, int>{{"a.in", 1}}));
    EXPECT_EQ(readFile(dir / "t/a.in"), "s/a.in");
    EXPECT_EQ(readFile(dir / "t/b.in"), "t/b.in");
    EXPECT_TRUE(FileTools::move(dir / "s", dir / "t", "b*", true, 4096, false, note));
    EXPECT_EQ(readFile(dir / "t/b.in"), "s/b.in");
    EXPECT_FALSE(FileTools::exists(dir / "s/b.in") ||
                 FileTools::move(dir / "no", dir / "t", "*", true, 1, false));

    makeTree(dir / "tree");
    EXPECT_FALSE(FileTools::copyDir(dir / "tree", dir / "tree/sub/copy", false, 4096, true));
    EXPECT_FALSE(FileTools::copyDir(dir / "tree", dir / "tree", true, 4096, true));
    EXPECT_FALSE(FileTools::exists(dir / "tree/sub/copy"));
    EXPECT_TRUE(FileTools::copyDir(dir / "tree", dir / "copy/", false, 4096, true));
    std::list<FileTools::DiffDef> diffs;
    EXPECT_TRUE(FileTools::compareDirs(dir / "tree", dir / "copy", diffs));
    EXPECT_TRUE(diffs.empty());
    EXPECT_TRUE(FileTools::isLink(dir / "copy/sub/loop") && FileTools::isLink(dir / "copy/dangling"));

    using Diff = FileTools::DiffDef;
    writeFile(dir / "copy/a.log", "NOTHING");
    writeFile(dir / "copy/sub/extra/x", "");
    FileTools::remove(dir / "copy/b.txt", false);
    FileTools::makeDir(dir / "copy/sub/a.txt", true);
    FileTools::remove(dir / "copy/dangling", false);
    FileTools::createLink("elsewhere", dir / "copy/dangling");
    EXPECT_TRUE(FileTools::compareDirs(dir / "tree", dir / "copy", diffs));
    std::vector<std::pair<std::string, int>> found;
    for (const Diff& diff : diffs)
        found.emplace_back(diff.path, diff.difference);
    EXPECT_EQ(found, (decltype(found){{"a.log", Diff::Contents},
                                      {"b.txt", Diff::OnlyFirst},
                                      {"dangling", Diff::Contents},
                                      {"sub/a.txt", Diff::Kind},
                                      {"sub/extra", Diff::OnlySecond}}));
    EXPECT_FALSE(FileTools::compare(dir / "tree/a.log", dir / "copy/a.log"));
    EXPECT_TRUE(FileTools::iCompare(dir / "tree/a.log", dir / "copy/a.log"));
    EXPECT_FALSE(FileTools::compare(dir / "tree/a.log", dir / "none") ||
                 FileTools::compare(dir / "s", dir / "s"));
    EXPECT_FALSE(FileTools::compareDirs(dir / "tree", dir / "none", diffs));
    EXPECT_FALSE(FileTools::moveDir(dir / "tree", dir / "copy", false, 4096, false));
    EXPECT_TRUE(FileTools::exists(dir / "tree/b.txt"));
    EXPECT_FALSE(FileTools::moveDir(dir / "tree", dir / "tree/sub/in", true, 4096, false));
    EXPECT_TRUE(FileTools::moveDir(dir / "tree/", dir / "moved/", false, 4096, false));
    EXPECT_FALSE(FileTools::exists(dir / "tree") || !FileTools::exists(dir / "moved/sub/deep/target.txt"));
}

TEST(FileToolsTest, FilesAndContainers) {
    const TempDir dir;
    const std::string name = dir / "x";
    writeFile(name, " a \nb=1=2\n\n b = 3 \nc=\n\tz");
    std::list<std::string> lines{"kept"};
    EXPECT_TRUE(FileTools::fileToList(name, lines, '\n', true, false));
    EXPECT_EQ(lines, (std::list<std::string>{"kept", " a", "b=1=2", "", " b = 3", "c=", "\tz"}));
    std::vector<std::string> cut;
    EXPECT_TRUE(FileTools::fileToVector(name, cut, '=', false, true));
    EXPECT_EQ(cut, (std::vector<std::string>{"a \nb", "1", "2\n\n b ", "3 \nc", "z"}));
    std::set<std::string> set;
    EXPECT_TRUE(FileTools::fileToSet(name, set, '\n', true, true));
    EXPECT_EQ(set, (std::set<std::string>{"", "a", "b = 3", "b=1=2", "c=", "z"}));
    std::map<std::string, std::string> map{{"gone", ""}};
    EXPECT_TRUE(FileTools::fileToMap(name, map, '\n', '=', true, true, false));
    EXPECT_EQ(map, (std::map<std::string, std::string>{{"b", "3"}, {"c", ""}}));
    std::multimap<std::string, std::string> all;
    EXPECT_TRUE(FileTools::fileToMap(name, all, '\n', '=', true, true, true));
    EXPECT_EQ(all, (std::multimap<std::string, std::string>{{"b", "1=2"}, {"b", "3"}}));
    EXPECT_FALSE(FileTools::fileToList(dir.path(), lines, '\n', false, false));
    EXPECT_FALSE(FileTools::fileToMap(dir / "none", map, '\n', '=', false, false, false));

    EXPECT_TRUE(FileTools::mapToFile(name, all, ';', ':'));
    EXPECT_EQ(readFile(name), "b:1=2;b:3;");
    EXPECT_TRUE(FileTools::setToFile(name, std::set<std::string>{"y", "x\0"s}, '\n'));
    EXPECT_EQ(readFile(name), "x\0\ny\n"s);
    std::string text;
    EXPECT_TRUE(FileTools::fileToText(name, text) && text == "x\0\ny\n"s);
    EXPECT_FALSE(FileTools::textToFile("/dev/full", text) || FileTools::textToFile(dir.path(), text));

    EXPECT_TRUE(FileTools::listToFile(wide(name), std::list<std::wstring>{L"\u20AC", L""}, L';'));
    EXPECT_EQ(readFile(name), "\xAC\x20;\0;\0"s);
    writeFile(name,
              "\xFF\xFE"
              "a\0;\0b\0"s);
    std::vector<std::wstring> wideLines;
    EXPECT_TRUE(FileTools::fileToVector(wide(name), wideLines, L';', false, false));
    EXPECT_EQ(wideLines, (std::vector<std::wstring>{L"a", L"b"}));
}

TEST(FileToolsTest, SplitsAndJoinsFiles) {
    const TempDir dir;
    const std::string s = dir / "s";
    writeFile(s, "aa--b----c");
    std::list<std::string> parts;
    EXPECT_TRUE(FileTools::split(s, dir / "p", 4, parts));
    EXPECT_EQ(parts, (std::list<std::string>{dir / "p.1", dir / "p.2", dir / "p.3"}));
    EXPECT_EQ(readFile(dir / "p.2"), "b---");
    EXPECT_EQ(readFile(dir / "p.3"), "-c");
    EXPECT_TRUE(FileTools::join(parts, dir / "joined") && FileTools::compare(s, dir / "joined"));
    EXPECT_FALSE(FileTools::join(parts, dir / "joined") || FileTools::split(s, dir / "q", 0, parts));

    // A part in the way ends it, and those made before are gone again.
    writeFile(dir / "q.3", "kept");
    EXPECT_FALSE(FileTools::split(s, dir / "q", 4, parts));
    EXPECT_EQ(parts.size(), 3u);
    EXPECT_FALSE(FileTools::exists(dir / "q.1") || readFile(dir / "q.3") != "kept");

    std::list<std::wstring> pieces;
    EXPECT_TRUE(FileTools::splitDelim(wide(s), wide(dir / "d"), L"--", pieces));
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(readFile(dir / "d.1") + "|" + readFile(dir / "d.2") + "|" + readFile(dir / "d.3") + "|" +
                  readFile(dir / "d.4"),
              "aa|b||c");
    EXPECT_TRUE(FileTools::joinDelim(pieces, wide(dir / "whole"), L"--"));
    EXPECT_EQ(readFile(dir / "whole"), "aa--b----c");
    pieces.push_back(wide(dir / "none"));
    EXPECT_FALSE(FileTools::joinDelim(pieces, wide(dir / "half"), L"--") || FileTools::exists(dir / "half"));
    EXPECT_FALSE(FileTools::splitDelim(wide(s), wide(dir / "e"), L"", pieces));

    EXPECT_TRUE(FileTools::appendDelim(dir / "d.1", dir / "new", FileTools::fileDelimiter()));
    EXPECT_TRUE(FileTools::appendDelim(dir / "d.2", dir / "new", FileTools::fileDelimiter()));
    EXPECT_TRUE(FileTools::append(dir / "new", dir / "new"));
    EXPECT_EQ(readFile(dir / "new"),
              "aa\x1C"
              "baa\x1C"
              "b");
    EXPECT_FALSE(FileTools::append(dir / "none", dir / "new2") || FileTools::exists(dir / "new2"));
    EXPECT_TRUE(FileTools::detachDelim(dir / "new", dir / "tail", FileTools::fileDelimiter()));
    EXPECT_EQ(readFile(dir / "new") + "|" + readFile(dir / "tail"),
              "aa\x1C"
              "baa|b");
    EXPECT_FALSE(FileTools::detach(dir / "new", dir / "tail", 0) ||
                 FileTools::detach(dir / "new", dir / "u", 7));
    EXPECT_TRUE(FileTools::detach(dir / "new", dir / "u", 2));
    EXPECT_EQ(readFile(dir / "new") + "|" + readFile(dir / "u"),
              "aa|\x1C"
              "baa");
    EXPECT_FALSE(FileTools::detachDelim(dir / "new", dir / "v", "none") || FileTools::exists(dir / "v"));
}
