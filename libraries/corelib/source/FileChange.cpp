#include "FileChange.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <list>
#include <set>
#include <system_error>

#include "FileRemoval.h"
#include "FileStatus.h"
#include "FileTransfer.h"
#include "FileTree.h"
#include "PathForm.h"
#include "PathParts.h"

namespace MovrikCorelib {

namespace {

constexpr mode_t DirectoryMode = 0755;

template <class Char>
bool removeTree(std::basic_string<Char> dir, bool force, bool itself, const FileProgress<Char>& progress) {
    const std::string path = systemText(PathParts<Char>::trimDir(dir));
    unsigned long long done = 0;
    const bool emptied = FileRemoval::clear(path, force, [&](const std::string& each) {
        ++done;
        if (progress)
            progress(textOf<Char>(each), 1, done, done);
    });
    return emptied && (!itself || FileTransfer<Char>::remove(dir, force));
}

/// Applies one of the operations of a `FileTransfer` to all matching files of a directory.
template <class Char, class Operation>
bool eachFile(std::basic_string<Char> dir, std::basic_string<Char> target,
              const std::basic_string<Char>& pattern, const FileProgress<Char>& progress,
              Operation operation) {
    using Transfer = FileTransfer<Char>;
    std::set<std::basic_string<Char>> names;
    if (!FileTree<Char>::readDir(dir, pattern, &names, nullptr))
        return false;
    PathForm<Char>::completeDir(dir);
    PathForm<Char>::completeDir(target);
    bool all = true;
    unsigned long long count = 0;
    for (const auto& name : names) {
        const typename Transfer::Outcome outcome = operation(dir + name, target + name);
        ++count;
        all = all && outcome == Transfer::Done;
        if (progress && outcome != Transfer::Failed)
            progress(dir + name, outcome == Transfer::Done ? 1 : 3, count, names.size());
    }
    return all;
}

/// Whether `path`, which need not exist, is `dir` or lies below it, links resolved.
template <class String>
bool liesWithin(const String& path, const String& dir) {
    std::error_code error;
    const auto inner = std::filesystem::weakly_canonical(systemText(path), error);
    if (error)
        return true;
    const auto outer = std::filesystem::canonical(systemText(dir), error);
    if (error)
        return true;
    const auto fork = std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end());
    return fork.first == outer.end();
}

/// A tree as relative paths, each directory ahead of what is in it; links count as files.
template <class String>
struct TreePaths {
    std::list<String> dirs;
    std::list<String> files;
};

template <class Char>
bool collect(const std::basic_string<Char>& root, const std::basic_string<Char>& place,
             TreePaths<std::basic_string<Char>>& paths) {
    std::set<std::basic_string<Char>> files;
    std::set<std::basic_string<Char>> dirs;
    bool all = FileTree<Char>::readDir(root + place, textOf<Char>("*"), &files, &dirs);
    for (const auto& name : files)
        paths.files.push_back(place + name);
    for (const auto& name : dirs) {
        if (FileStatus<Char>::isLink(root + place + name)) {
            paths.files.push_back(place + name);
            continue;
        }
        paths.dirs.push_back(place + name);
        all = collect<Char>(root, place + name + Char('/'), paths) && all;
    }
    return all;
}

template <class String>
bool replaceByLink(const String& source, const String& target, bool overwrite) {
    using Char = typename String::value_type;
    if (overwrite && FileStatus<Char>::isFile(target))
        FileTransfer<Char>::remove(target, false);
    return FileTransfer<Char>::copyLink(source, target);
}

}  // namespace

template <class Char>
bool FileChange<Char>::makeDir(const String& path, bool force) {
    if (FileStatus<Char>::exists(path)) {
        if (!force)
            return false;
        const bool gone = FileStatus<Char>::isFile(path) ? remove(path, true) : removeDir(path, true);
        if (!gone)
            return false;
    }
    mkdir(SystemPath(path), DirectoryMode);
    return FileStatus<Char>::isDir(path);
}

template <class Char>
bool FileChange<Char>::ensurePath(String path) {
    constexpr Char slash('/');
    if (path.empty())
        return false;
    PathForm<Char>::contractPath(path);
    for (std::size_t end = path.find(slash); end != String::npos; end = path.find(slash, end + 1)) {
        const String dir = path.substr(0, end);
        if (dir.find_first_not_of(slash) == String::npos)
            continue;  // the root
        if (FileStatus<Char>::isDir(dir) || FileStatus<Char>::isLink(dir) || makeDir(dir, false))
            continue;
        // Another process may have been quicker.
        if (!FileStatus<Char>::isDir(dir))
            return false;
    }
    return true;
}

template <class Char>
bool FileChange<Char>::remove(const String& path, bool force) {
    return FileTransfer<Char>::remove(path, force);
}

template <class Char>
bool FileChange<Char>::removeDir(const String& dir, bool force, const Progress& progress) {
    return removeTree<Char>(dir, force, true, progress);
}

template <class Char>
bool FileChange<Char>::clearDir(const String& dir, bool force, const Progress& progress) {
    return removeTree<Char>(dir, force, false, progress);
}

template <class Char>
bool FileChange<Char>::copy(const String& source, const String& target, bool overwrite,
                            unsigned long blockSize, bool verify, const Progress& progress) {
    const FileTransfer<Char> transfer(overwrite, blockSize, verify, progress);
    return transfer.copy(source, target) == FileTransfer<Char>::Done;
}

template <class Char>
bool FileChange<Char>::copy(const String& dir, const String& target, const String& pattern, bool overwrite,
                            unsigned long blockSize, bool verify, const Progress& progress) {
    const FileTransfer<Char> transfer(overwrite, blockSize, verify, progress);
    return eachFile<Char>(dir, target, pattern, progress,
                          [&](const String& from, const String& to) { return transfer.copy(from, to); });
}

template <class Char>
bool FileChange<Char>::move(const String& source, const String& target, bool overwrite,
                            unsigned long blockSize, bool verify, const Progress& progress) {
    const FileTransfer<Char> transfer(overwrite, blockSize, verify, progress);
    return transfer.move(source, target) == FileTransfer<Char>::Done;
}

template <class Char>
bool FileChange<Char>::move(const String& dir, const String& target, const String& pattern, bool overwrite,
                            unsigned long blockSize, bool verify, const Progress& progress) {
    const FileTransfer<Char> transfer(overwrite, blockSize, verify, progress);
    return eachFile<Char>(dir, target, pattern, progress,
                          [&](const String& from, const String& to) { return transfer.move(from, to); });
}

template <class Char>
bool FileChange<Char>::copyDir(const String& source, const String& target, bool overwrite,
                               unsigned long blockSize, bool verify, const Progress& progress) {
    if (!FileStatus<Char>::isDir(source) || target.empty() || liesWithin(target, source))
        return false;
    String from = source;
    String to = target;
    PathForm<Char>::completeDir(from);
    PathForm<Char>::completeDir(to);
    TreePaths<String> paths;
    bool all = collect<Char>(from, String(), paths);
    const auto isLinked = [&to](const String& dir) { return FileStatus<Char>::isLink(to + dir); };
    if (std::ranges::any_of(paths.dirs, isLinked) || !ensurePath(to))
        return false;
    for (const String& dir : paths.dirs)
        all = (FileStatus<Char>::isDir(to + dir) || makeDir(to + dir, false)) && all;
    unsigned long long count = 0;
    const FileTransfer<Char> transfer(overwrite, blockSize, verify, progress);
    for (const String& file : paths.files) {
        if (overwrite && FileStatus<Char>::isLink(to + file))
            remove(to + file, false);  // what is written through it would leave the tree
        const bool copied = FileStatus<Char>::isLink(from + file)
                                ? replaceByLink(from + file, to + file, overwrite)
                                : transfer.copy(from + file, to + file) == FileTransfer<Char>::Done;
        all = all && copied;
        ++count;
        if (progress && copied)
            progress(from + file, 1, count, paths.files.size());
    }
    return all;
}

template <class Char>
bool FileChange<Char>::moveDir(const String& source, const String& target, bool overwrite,
                               unsigned long blockSize, bool verify, const Progress& progress) {
    String from = source;
    String to = target;
    PathParts<Char>::trimDir(from);
    PathParts<Char>::trimDir(to);
    if (!FileStatus<Char>::isDir(from) || FileStatus<Char>::isLink(from))
        return false;
    if (!FileStatus<Char>::exists(to)) {
        if (FileTransfer<Char>::rename(from, to, false))
            return true;
        if (errno != EXDEV)
            return false;
    }
    return copyDir(from, to, overwrite, blockSize, verify, progress) && removeDir(from, true);
}

template class FileChange<char>;
template class FileChange<wchar_t>;

}  // namespace MovrikCorelib
