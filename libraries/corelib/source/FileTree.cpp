#include "FileTree.h"

#include <dirent.h>
#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <vector>

#include "FileOps.h"
#include "FileStatus.h"
#include "GlobMatcher.h"
#include "PathForm.h"
#include "PathParts.h"
#include "VisitedDirs.h"

namespace MovrikCorelib {

namespace {

constexpr std::size_t CompareBlock = 256 * 1024;

template <class String>
String below(const String& dir, const String& name) {
    String path = dir;
    return PathForm<typename String::value_type>::completeDir(path) + name;
}

template <class Char, class Same>
bool compareFiles(const std::basic_string<Char>& first, const std::basic_string<Char>& second,
                  const FileProgress<Char>& progress, Same same) {
    const FileOps::Stream one = FileOps::openFIn(systemText(first));
    const FileOps::Stream two = FileOps::openFIn(systemText(second));
    if (!one || !two)
        return false;
    const unsigned long long all = FileStatus<Char>::size(first);
    unsigned long long done = 0;
    std::vector<char> left(CompareBlock);
    std::vector<char> right(CompareBlock);
    for (std::size_t got = CompareBlock; got == CompareBlock;) {
        got = fread(left.data(), 1, CompareBlock, one.get());
        if (fread(right.data(), 1, CompareBlock, two.get()) != got || ferror(one.get()) || ferror(two.get()))
            return false;
        if (!std::equal(left.data(), left.data() + got, right.data(), same))
            return false;
        done += got;
        if (progress && got > 0)
            progress(first, 0, done, all);
    }
    return true;
}

template <class Char>
bool fillTree(const std::basic_string<Char>& dir, typename FileTree<Char>::DirItem& tree,
              const FileProgress<Char>& progress) {
    using Item = typename FileTree<Char>::DirItem;
    std::set<std::basic_string<Char>> files;
    std::set<std::basic_string<Char>> dirs;
    bool all = FileTree<Char>::readDir(dir, textOf<Char>("*"), &files, &dirs);
    for (const auto& name : files)
        tree.items.insert(Item{name, false, {}});
    for (const auto& name : dirs) {
        Item item{name, true, {}};
        const std::basic_string<Char> path = below(dir, name);
        if (!FileStatus<Char>::isLink(path) && !fillTree<Char>(path, item, progress))
            all = false;
        tree.items.insert(std::move(item));
    }
    if (progress)
        progress(dir, 1, files.size() + dirs.size(), files.size() + dirs.size());
    return all;
}

/// Whether two things of one kind, not directories, hold the same.
template <class String>
bool sameContents(const String& first, const String& second, const struct stat64& one,
                  const struct stat64& two) {
    using Char = typename String::value_type;
    if (S_ISREG(one.st_mode))
        return one.st_size == two.st_size && FileTree<Char>::compare(first, second);
    if (!S_ISLNK(one.st_mode))
        return one.st_rdev == two.st_rdev;
    char targets[2][4096];
    const ssize_t left = readlink(SystemPath(first), targets[0], sizeof targets[0]);
    const ssize_t right = readlink(SystemPath(second), targets[1], sizeof targets[1]);
    return left >= 0 && left == right && std::equal(targets[0], targets[0] + left, targets[1]);
}

template <class Char>
bool compareTrees(const std::basic_string<Char>& first, const std::basic_string<Char>& second,
                  const std::basic_string<Char>& place,
                  std::list<typename FileTree<Char>::DiffDef>& differences,
                  const FileProgress<Char>& progress) {
    using Diff = typename FileTree<Char>::DiffDef;
    std::set<std::basic_string<Char>> names;
    std::set<std::basic_string<Char>> others;
    const std::basic_string<Char> everything = textOf<Char>("*");
    if (!FileTree<Char>::readDir(first, everything, &names, &names) ||
        !FileTree<Char>::readDir(second, everything, &others, &others))
        return false;
    names.merge(others);
    bool all = true;
    for (const auto& name : names) {
        const std::basic_string<Char> one = below(first, name);
        const std::basic_string<Char> two = below(second, name);
        const std::basic_string<Char> path = below(place, name);
        struct stat64 left;
        struct stat64 right;
        const bool inFirst = lstat64(SystemPath(one), &left) == 0;
        const bool inSecond = lstat64(SystemPath(two), &right) == 0;
        if (!inFirst && !inSecond)
            all = false;
        else if (!inFirst)
            differences.push_back({path, Diff::OnlySecond});
        else if (!inSecond)
            differences.push_back({path, Diff::OnlyFirst});
        else if ((left.st_mode & S_IFMT) != (right.st_mode & S_IFMT))
            differences.push_back({path, Diff::Kind});
        else if (S_ISDIR(left.st_mode))
            all = compareTrees<Char>(one, two, path, differences, progress) && all;
        else if (!sameContents(one, two, left, right))
            differences.push_back({path, Diff::Contents});
    }
    if (progress)
        progress(first, 1, names.size(), names.size());
    return all;
}

}  // namespace

template <class Char>
bool FileTree<Char>::readDir(const String& dir, const String& pattern, std::set<String>* files,
                             std::set<String>* dirs) {
    if (!FileStatus<Char>::isDir(dir))
        return false;
    String path = dir;
    if (PathParts<Char>::trimDir(path).empty())
        path = Char('/');
    PathForm<Char>::makeComplete(path, FileStatus<Char>::getCurrentDir());
    const std::unique_ptr<DIR, int (*)(DIR*)> handle(opendir(SystemPath(path)), closedir);
    if (!handle)
        return false;
    PathForm<Char>::completeDir(path);
    const auto nextEntry = [&handle] {
        errno = 0;  // the end of the directory leaves it so; what is done with a name may not
        return readdir64(handle.get());
    };
    while (const dirent64* const entry = nextEntry()) {
        const String name = textOf<Char>(entry->d_name);
        if (entry->d_name == std::string_view(".") || entry->d_name == std::string_view("..") ||
            !GlobMatcher::match(name, pattern, 0, String::npos))
            continue;
        // What the entry itself tells saves a look at the file.
        const bool isDirectory =
            entry->d_type == DT_DIR || ((entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) &&
                                        FileStatus<Char>::isDir(path + name));
        if (std::set<String>* const names = isDirectory ? dirs : files)
            names->insert(name);
    }
    return errno == 0;
}

template <class Char>
bool FileTree<Char>::count(const String& dir, const String& filePattern, const String& dirPattern,
                           unsigned long& files, unsigned long& dirs, bool recursive) {
    if (!FileStatus<Char>::isDir(dir))
        return false;
    files = dirs = 0;
    VisitedDirs visited;
    std::list<String> waiting{dir};
    for (; !waiting.empty(); waiting.pop_front()) {
        const String& current = waiting.front();
        if (!visited.enter(systemText(current)))
            continue;
        std::set<String> fileNames;
        std::set<String> dirNames;
        readDir(current, filePattern, &fileNames, nullptr);
        readDir(current, dirPattern, nullptr, &dirNames);
        files += fileNames.size();
        dirs += dirNames.size();
        if (recursive) {
            for (const String& name : dirNames)
                waiting.push_back(below(current, name));
        }
    }
    return true;
}

template <class Char>
bool FileTree<Char>::getDirTree(const String& dir, DirItem& tree, const Progress& progress) {
    tree = {PathParts<Char>::getBase(dir, true), FileStatus<Char>::isDir(dir), {}};
    return tree.isDir && fillTree<Char>(dir, tree, progress);
}

template <class Char>
bool FileTree<Char>::compare(const String& first, const String& second, const Progress& progress) {
    return compareFiles<Char>(first, second, progress, std::equal_to<>());
}

template <class Char>
bool FileTree<Char>::iCompare(const String& first, const String& second, const Progress& progress) {
    return compareFiles<Char>(first, second, progress, [](unsigned char one, unsigned char two) {
        return one == two || std::tolower(one) == std::tolower(two);
    });
}

template <class Char>
bool FileTree<Char>::compareDirs(const String& first, const String& second, std::list<DiffDef>& differences,
                                 const Progress& progress) {
    return compareTrees<Char>(first, second, String(), differences, progress);
}

template class FileTree<char>;
template class FileTree<wchar_t>;

}  // namespace MovrikCorelib
