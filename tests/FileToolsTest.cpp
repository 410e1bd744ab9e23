#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <list>
#include <map>
#include <set>
#include <string>
#include <utility>
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
        {"/", "", "", "", "", ""},
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
        EXPECT_EQ(FileTools::getBase(wide(each.path), true), wide(each.trimmedBase));
    }
    EXPECT_EQ(FileTools::getDrive("1:x"), "");
    EXPECT_EQ(FileTools::findSuffixStart("/d.e/x"), std::string::npos);
    EXPECT_EQ(FileTools::findBaseStart("/d/"), std::string::npos);

    std::string path = "C:\\d\\e\\x.in.gz";
    EXPECT_EQ(FileTools::splitSuffix(path), "gz");
    EXPECT_EQ(FileTools::splitDrive(path), "C:");
    EXPECT_EQ(FileTools::splitBase(path), "x.in");
    EXPECT_EQ(path, "/d/e/");
    EXPECT_EQ(CHANGED(removeSuffix, "/a.b/c"), "/a.b/c");
    EXPECT_EQ(CHANGED(trimDir, "/") + CHANGED(trimDir, "a\\b//"), "a/b");
    EXPECT_EQ(CHANGED(completeDir, "a\\") + CHANGED(completeDir, "") + CHANGED(completeDir, "b"), "a\\b/");
}

TEST(FileToolsTest, ContractedPaths) {
    const std::pair<std::string, std::string> cases[] = {{"", ""},
                                                         {"/", "/"},
                                                         {"\\", "/"},
                                                         {"a//b", "a/b"},
                                                         {"//a/./b/", "//a/b/"},
                                                         {"a/b/../c", "a/c"},
                                                         {"a/b/../c/../../d", "a/d"},
                                                         {"../../a", "../../a"},
                                                         {"a/../../b", "../b"},
                                                         {"/a/../../b", "/b"},
                                                         {"/a/../", "/"},
                                                         {"a/..", ""},
                                                         {"a/../", "./"},
                                                         {"a\\..\\b\\", "b/"},
                                                         {"...", "..."}};
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
        {"%MOVRIK_T_A%%MOVRIK_T_A%/y", "aa%MOVRIK_T_A%/y"},
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
        {dir / "a.log", true, false, false, true}, {dir / "sub/", false, true, false, true},
        {dir / "link", true, true, true, true},    {dir / "dangling", true, false, true, true},
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
    EXPECT_EQ(FileTools::size(dir / "link/../a.log") + FileTools::size(dir / "dangling"), 7u);
    EXPECT_EQ(CHANGED(expand, dir / "dangling"), dir / "nowhere");
    EXPECT_EQ(CHANGED(expand, dir / "a.log"), "");

    EXPECT_TRUE(FileTools::setStatus(dir / "a.log", 0640));
    EXPECT_FALSE(FileTools::isAllowed(dir / "a.log", FileTools::AccessAll, FileTools::RightRead));
    EXPECT_TRUE(FileTools::setPermissions(dir / "a.log", FileTools::AccessOthers, FileTools::RightRead));
    EXPECT_TRUE(FileTools::setPermissions(dir / "a.log", FileTools::AccessAll, FileTools::RightWrite, false));
    EXPECT_TRUE(FileTools::checkStatus(dir / "a.log", 0444) && !FileTools::checkStatus(dir / "a.log", 0200));
    // 2010-03-07 12:00:00.123 GMT, and a moment before 1970.
    for (const unsigned long long count : {1267963200123ull + 2209075200000ull, 2209075199999ull}) {
        EXPECT_TRUE(FileTools::setLastModified(dir / "a.log", DateTime(count)));
        EXPECT_EQ(FileTools::lastModified(dir / "a.log").time(), count);
    }
    EXPECT_FALSE(FileTools::setLastAccessed(dir / "a.log", DateTime()));
    EXPECT_FALSE(FileTools::touch(dir / "no/x") || FileTools::createFile(dir / "b.txt"));
    EXPECT_EQ(FileTools::size(dir / "b.txt"), 26u);
}

TEST(FileToolsTest, ListsDirectories) {
    const TempDir dir;
    makeTree(dir.path());
    writeFile(dir / "odd\nname\xFF", "");
    std::set<std::string> files, dirs;
    EXPECT_TRUE(FileTools::readDir(dir.path() + "//", "*", &files, &dirs));
    EXPECT_TRUE(FileTools::readDir(dir / "sub", "*", nullptr, &dirs));
    EXPECT_TRUE(FileTools::readDir(dir / "sub", "?.txt", &files, nullptr));
    EXPECT_TRUE(FileTools::readDir(dir.path(), "*.none", &files, &dirs));
    EXPECT_EQ(files, (std::set<std::string>{"a.log", "a.txt", "b.txt", "dangling", "odd\nname\xFF"}));
    EXPECT_EQ(dirs, (std::set<std::string>{"deep", "loop", "sub"}));
    EXPECT_FALSE(FileTools::readDir(dir / "a.log", "*", &files, &dirs));
    EXPECT_FALSE(FileTools::readDir("", "*", &files, &dirs));
    // A name that the locale cannot read does not end a wide listing.
    std::set<std::wstring> wide;
    EXPECT_TRUE(
        FileTools::readDir(std::wstring(dir.path().begin(), dir.path().end()), L"none", &wide, &wide));
    EXPECT_TRUE(wide.empty());
    std::set<std::wstring> root;
    EXPECT_TRUE(FileTools::readDir(L"/", L"d?v", nullptr, &root) && root.contains(L"dev"));

    // sub, sub/deep and sub/loop, which is not gone through again
    unsigned long fileCount, dirCount;
    EXPECT_TRUE(FileTools::count(dir.path(), "*.txt", "*", fileCount, dirCount, true));
    EXPECT_EQ(std::pair(fileCount, dirCount), std::pair(3ul, 3ul));
    EXPECT_FALSE(FileTools::count(dir / "a.log", "*", "*", fileCount, dirCount, true));
    EXPECT_EQ(fileCount, 3u);
    FileTools::DirItem tree;
    EXPECT_TRUE(FileTools::getDirTree(dir / "sub/", tree));
    ASSERT_EQ(tree.items.size(), 3u);
    const auto deep = std::next(tree.items.begin());
    EXPECT_TRUE(deep->name == "deep" && deep->items.size() == 1 && std::next(deep)->items.empty());
}

TEST(FileToolsTest, FindsFilesByNameAndContents) {
    const TempDir dir;
    makeTree(dir.path());
    fs::create_symlink("/dev/zero", dir / "a.endless");
    std::string result = "kept";
    std::size_t visited = 0;
    const auto note = [&](const std::string&, int status, unsigned long long, unsigned long long) {
        visited += status == 1;
    };
    EXPECT_FALSE(FileTools::findName(dir.path(), "target.txt", result, false) ||
                 FileTools::findName(dir.path(), "sub", result, true));
    EXPECT_EQ(result, "kept");
    EXPECT_TRUE(FileTools::findName(dir.path() + "/./", "target.txt", result, true, note));
    EXPECT_EQ(result, dir / "sub/deep/target.txt");
    EXPECT_EQ(visited, 3u);
    EXPECT_TRUE(FileTools::findNameGlob(dir.path(), "a.l*", result, true) && result == dir / "a.log");
    EXPECT_TRUE(FileTools::findContents(dir.path(), "hay\nnee", result, true));
    EXPECT_EQ(result, dir / "sub/deep/target.txt");
    EXPECT_TRUE(FileTools::findContentsGlob(dir.path(), "sec*need?e", result, true));
    EXPECT_EQ(result, dir / "b.txt");
    EXPECT_FALSE(FileTools::findContentsGlob(dir.path(), "hay*needle", result, true));
    std::wstring wideResult;
    EXPECT_TRUE(FileTools::findContents(wide(dir.path()), L"nothing", wideResult, true));
    EXPECT_EQ(wideResult, wide(dir / "a.log"));

    // A text that lies across the blocks in which files are read.
    writeFile(dir / "big.txt", std::string(256 * 1024 - 3, 'x') + "needle");
    std::set<FileTools::SearchResult> hits;
    EXPECT_TRUE(FileTools::find(dir.path(), "*.txt", "needle", true, hits));
    std::multimap<std::string, unsigned long long> places;
    for (const auto& hit : hits)
        places.emplace(hit.path.substr(dir.path().size() + 1), hit.position);
    EXPECT_EQ(
        places,
        (decltype(places){
            {"b.txt", 7}, {"b.txt", 14}, {"b.txt", 20}, {"big.txt", 262141}, {"sub/deep/target.txt", 4}}));
}

TEST(FileToolsTest, FindsAlongSearchLists) {
    const TempDir dir;
    for (const char* name : {"one/tool", "two/tool", "two/movrik_tool", "two/movrik_x", "path/only"})
        writeFile(dir / name, "");
    const ScopedEnv variable("MOVRIK_T_LIST", dir / "path" + "::" + dir.path());
    const std::string list = ":" + (dir / "none") + ":" + (dir / "one/") + ":" + (dir / "two");
    std::string result = "kept";
    EXPECT_FALSE(FileTools::findPath("none.such", result, list, "MOVRIK_T_LIST"));
    EXPECT_EQ(result, "kept");
    EXPECT_TRUE(FileTools::findPath("tool", result, list, "MOVRIK_T_LIST") && result == dir / "one/tool");
    EXPECT_TRUE(FileTools::findPath("one/../two/", result, "", "MOVRIK_T_LIST") && result == dir / "two");
    EXPECT_TRUE(FileTools::findPath(dir / "two//tool", result, "", "") && result == dir / "two/tool");
    EXPECT_TRUE(FileTools::findExe("tool", result, list, "") && result == dir / "two/movrik_tool");
    EXPECT_TRUE(FileTools::findExe("only", result, list, "MOVRIK_T_LIST") && result == dir / "path/only");
    const ScopedEnv path("PATH", dir / "two");
    std::wstring wideResult;
    EXPECT_TRUE(FileTools::findPath(L"tool", wideResult, L"", L"Path") &&
                wideResult == wide(dir / "two/tool"));
}

TEST(FileToolsTest, MakesAndRemovesDirectoriesWithoutFollowingLinks) {
    const TempDir dir;
    EXPECT_TRUE(FileTools::ensurePath(dir / "a/x/../b/file") && FileTools::ensurePath(wide(dir / "a/d/")));
    EXPECT_TRUE(FileTools::isDir(dir / "a/b") && FileTools::isDir(dir / "a/d"));
    EXPECT_FALSE(FileTools::exists(dir / "a/b/file") || FileTools::exists(dir / "a/x"));
    writeFile(dir / "a/f", "");
    EXPECT_FALSE(FileTools::ensurePath("") || FileTools::ensurePath(dir / "a/f/c/"));
    EXPECT_FALSE(FileTools::makeDir(dir / "a", false) || FileTools::makeDir(dir / "no/a", true));
    EXPECT_TRUE(FileTools::makeDir(dir / "a/f", true));

    writeFile(dir / "outside/kept", "kept");
    fs::create_directory_symlink("../outside", dir / "a/link");
    writeFile(dir / "a/deep/er/x", "");
    EXPECT_FALSE(FileTools::clearDir(dir / "a/link", true) || FileTools::removeDir(dir / "a/link/", true));
    EXPECT_FALSE(FileTools::removeDir("", true) || FileTools::remove(dir / "outside", true));
    EXPECT_TRUE(FileTools::makeDir(dir / "a", true) && fs::is_empty(dir / "a"));
    EXPECT_TRUE(FileTools::removeDir(dir / "a/", false));
    EXPECT_EQ(listTree(dir.path()), std::vector<std::string>{"outside/kept"});
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
    std::vector<unsigned long long> steps;
    const auto note = [&](const std::string&, int status, unsigned long long done, unsigned long long all) {
        EXPECT_TRUE(status == 0 && all == 10010);
        steps.push_back(done);
    };
    FileOps::IgnoreCR = true;
    EXPECT_FALSE(FileTools::copy(dir / "s", dir / "t", false, 4096, true, note));
    EXPECT_TRUE(FileTools::copy(dir / "s", dir / "t", true, 4096, true, note));
    EXPECT_TRUE(std::exchange(FileOps::IgnoreCR, false));
    EXPECT_EQ(readFile(dir / "t"), bytes);
    EXPECT_EQ(steps, (std::vector<unsigned long long>{4096, 8192, 10010}));
    EXPECT_TRUE(FileTools::copy(wide(dir / "s"), wide(dir / "u"), false, 0, true));

    // A file is never copied onto itself, and a copy that fails leaves nothing.
    fs::create_hard_link(dir / "s", dir / "same");
    fs::create_symlink("nowhere", dir / "dangling");
    ASSERT_EQ(mkfifo((dir / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(FileTools::copy(dir / "s", dir / "same", true, 4096, false));
    EXPECT_FALSE(FileTools::copy(dir / "s", "/dev/full", true, 4096, false));
    EXPECT_FALSE(FileTools::copy(dir / "pipe", dir / "w", false, 1, false) || FileTools::exists(dir / "w"));
    for (const char* target : {"t", "dangling", "pipe", "no/w"})
        EXPECT_FALSE(FileTools::move(dir / "s", dir / target, false, 4096, false)) << target;
    EXPECT_EQ(readFile(dir / "s") + readFile(dir / "t"), bytes + bytes);
    EXPECT_TRUE(FileTools::move(dir / "s", dir / "w", false, 4096, false) && !FileTools::exists(dir / "s"));
    writeFile(dir / "s", "new");
    EXPECT_TRUE(FileTools::move(dir / "s", dir / "w", true, 4096, false) && readFile(dir / "w") == "new");
}

TEST(FileToolsTest, MovesBetweenFileSystems) {
    const TempDir dir;
    const std::string away = "/dev/shm/" + FileTools::getBase(dir.path());
    if (!FileTools::makeDir(away, false) || rename(dir.path().c_str(), away.c_str()) == 0 || errno != EXDEV) {
        FileTools::removeDir(away, true);
        GTEST_SKIP() << "only one file system here";
    }
    writeFile(dir / "s", "text\r\n");
    FileTools::setStatus(dir / "s", 0600);
    FileTools::setLastModified(dir / "s", DateTime(1267963200123ull + 2209075200000ull));
    writeFile(away + "/t", "old");
    EXPECT_FALSE(FileTools::move(dir / "s", away + "/t", false, 4096, true) ||
                 readFile(away + "/t") != "old");
    EXPECT_TRUE(FileTools::move(dir / "s", away + "/t", true, 4096, true));
    EXPECT_EQ(readFile(away + "/t"), "text\r\n");
    EXPECT_FALSE(FileTools::exists(dir / "s") || FileTools::checkStatus(away + "/t", 0044));
    EXPECT_EQ(FileTools::lastModified(away + "/t").time(), 1267963200123ull + 2209075200000ull);
    fs::create_symlink("nowhere", dir / "link");
    EXPECT_TRUE(FileTools::move(dir / "link", away + "/link", false, 4096, false));
    EXPECT_TRUE(FileTools::moveDir(away, dir / "back", false, 4096, true) && !FileTools::exists(away));
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
    EXPECT_EQ(readFile(dir / "t/a.in") + readFile(dir / "t/b.in"), "s/a.int/b.in");
    EXPECT_TRUE(FileTools::move(dir / "s", dir / "t", "b*", true, 4096, false, note));
    EXPECT_TRUE(readFile(dir / "t/b.in") == "s/b.in" && !FileTools::exists(dir / "s/b.in"));

    makeTree(dir / "tree");
    EXPECT_FALSE(FileTools::copyDir(dir / "tree", dir / "tree/sub/copy", false, 4096, true));
    EXPECT_TRUE(FileTools::copyDir(dir / "tree", dir / "copy/", false, 4096, true));
    std::list<FileTools::DiffDef> diffs;
    EXPECT_TRUE(FileTools::compareDirs(dir / "tree", dir / "copy", diffs) && diffs.empty());
    writeFile(dir / "copy/a.log", "NOTHING");
    writeFile(dir / "copy/sub/extra/x", "");
    FileTools::remove(dir / "copy/b.txt", false);
    FileTools::makeDir(dir / "copy/sub/a.txt", true);
    EXPECT_TRUE(FileTools::compareDirs(dir / "tree", dir / "copy", diffs));
    std::string found;
    for (const auto& diff : diffs)
        found += diff.path + "=" + std::to_string(diff.difference) + " ";
    EXPECT_EQ(found, "a.log=3 b.txt=0 sub/a.txt=2 sub/extra=1 ");
    EXPECT_TRUE(FileTools::iCompare(dir / "tree/a.log", dir / "copy/a.log"));

    // Links in the target let nothing out of it.
    fs::create_directories(dir / "linked");
    fs::create_directories(dir / "leading");
    fs::create_symlink("../s/a.in", dir / "linked/a.log");
    fs::create_directory_symlink("../s", dir / "leading/sub");
    EXPECT_TRUE(FileTools::copyDir(dir / "tree", dir / "linked", true, 4096, false));
    EXPECT_FALSE(FileTools::copyDir(dir / "tree", dir / "leading", true, 4096, false));
    EXPECT_EQ(readFile(dir / "s/a.in"), "s/a.in");
    EXPECT_EQ(listTree(dir / "s"), (std::vector<std::string>{"a.in", "c.txt"}));
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
    std::map<std::string, std::string> map{{"gone", ""}};
    EXPECT_TRUE(FileTools::fileToMap(name, map, '\n', '=', true, true, false));
    EXPECT_EQ(map, (std::map<std::string, std::string>{{"b", "3"}, {"c", ""}}));
    std::multimap<std::string, std::string> all;
    EXPECT_TRUE(FileTools::fileToMap(name, all, '\n', '=', true, true, true));
    EXPECT_TRUE(FileTools::mapToFile(name, all, ';', ':'));
    EXPECT_EQ(readFile(name), "b:1=2;b:3;");
    EXPECT_FALSE(FileTools::fileToList(dir.path(), lines, '\n', false, false));
    EXPECT_FALSE(FileTools::textToFile("/dev/full", "x") || FileTools::textToFile(dir.path(), "x"));

    EXPECT_TRUE(FileTools::listToFile(wide(name), std::list<std::wstring>{L"\u20AC", L""}, L';'));
    EXPECT_EQ(readFile(name), "\xAC\x20;\0;\0"s);
    writeFile(name, "\xFF\xFE!\0;\0?\0"s);
    std::vector<std::wstring> wideLines;
    EXPECT_TRUE(FileTools::fileToVector(wide(name), wideLines, L';', false, false));
    EXPECT_EQ(wideLines, (std::vector<std::wstring>{L"!", L"?"}));
}

TEST(FileToolsTest, SplitsAndJoinsFiles) {
    const TempDir dir;
    const std::string s = dir / "s";
    const auto contents = [&dir](std::initializer_list<const char*> names) {
        std::string all;
        for (const char* const name : names)
            all += readFile(dir / name) + "|";
        return all;
    };
    writeFile(s, "aa--b----c");
    std::list<std::string> parts;
    EXPECT_TRUE(FileTools::split(s, dir / "p", 4, parts));
    EXPECT_EQ(contents({"p.1", "p.2", "p.3"}), "aa--|b---|-c|");
    EXPECT_TRUE(FileTools::join(parts, dir / "joined") && FileTools::compare(s, dir / "joined"));
    // A part in the way ends it, and those made before are gone again.
    writeFile(dir / "q.3", "kept");
    EXPECT_FALSE(FileTools::split(s, dir / "q", 4, parts) || FileTools::split(s, dir / "r", 0, parts));
    EXPECT_TRUE(!FileTools::exists(dir / "q.1") && contents({"q.3"}) == "kept|" && parts.size() == 3);

    std::list<std::wstring> pieces;
    EXPECT_TRUE(FileTools::splitDelim(wide(s), wide(dir / "d"), L"--", pieces));
    EXPECT_EQ(contents({"d.1", "d.2", "d.3", "d.4"}), "aa|b||c|");
    EXPECT_TRUE(FileTools::joinDelim(pieces, wide(dir / "whole"), L"--"));
    EXPECT_EQ(contents({"whole"}), "aa--b----c|");
    pieces.push_back(wide(dir / "none"));
    EXPECT_FALSE(FileTools::joinDelim(pieces, wide(dir / "half"), L"--") || FileTools::exists(dir / "half"));

    EXPECT_TRUE(FileTools::appendDelim(dir / "d.1", dir / "new", "/"));
    EXPECT_TRUE(FileTools::appendDelim(dir / "d.2", dir / "new", "/"));
    EXPECT_TRUE(FileTools::append(dir / "new", dir / "new") && contents({"new"}) == "aa/baa/b|");
    EXPECT_TRUE(FileTools::detachDelim(dir / "new", dir / "tail", "/"));
    EXPECT_EQ(contents({"new", "tail"}), "aa/baa|b|");
    EXPECT_FALSE(FileTools::detach(dir / "new", dir / "tail", 0) ||
                 FileTools::detach(dir / "new", dir / "u", 7));
    EXPECT_TRUE(FileTools::detach(dir / "new", dir / "u", 2) && contents({"new", "u"}) == "aa|/baa|");
}
