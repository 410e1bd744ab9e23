#include "FileSearch.h"

#include <sys/stat.h>

#include <vector>

#include "EnvTools.h"
#include "FileOps.h"
#include "FileScanner.h"
#include "FileStatus.h"
#include "FileTree.h"
#include "GlobMatcher.h"
#include "PathForm.h"
#include "PathParts.h"
#include "VisitedDirs.h"

namespace MovrikCorelib {

namespace {

/// Visits the matching files of a directory and, if `recursive`, of those in it, until `visit` gives true;
/// tells whether that happened.
template <class Char, class Visit>
bool walk(const std::basic_string<Char>& dir, const std::basic_string<Char>& pattern, bool recursive,
          const FileProgress<Char>& progress, Visit visit) {
    using String = std::basic_string<Char>;
    VisitedDirs visited;
    std::vector<String> waiting{dir};
    while (!waiting.empty()) {
        String current = std::move(waiting.back());
        waiting.pop_back();
        if (!visited.enter(systemText(current)))
            continue;
        std::set<String> files;
        std::set<String> dirs;
        FileTree<Char>::readDir(current, pattern, &files, nullptr);
        if (recursive)
            FileTree<Char>::readDir(current, textOf<Char>("*"), nullptr, &dirs);
        if (progress)
            progress(current, 1, 1, 1);
        PathForm<Char>::completeDir(current);
        for (const String& name : files) {
            String path = current + name;
            if (visit(PathForm<Char>::contractPath(path)))
                return true;
        }
        for (auto name = dirs.rbegin(); name != dirs.rend(); ++name)
            waiting.push_back(current + *name);
    }
    return false;
}

/// Null for all but regular files: a device may have no end.
template <class String>
FileOps::Stream openSearched(const String& path) {
    struct stat64 status;
    if (stat64(SystemPath(path), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    return FileOps::openFIn(systemText(path));
}

template <class String>
bool holdsText(const String& path, const std::string& text) {
    const FileOps::Stream stream = openSearched(path);
    return stream && (text.empty() || FileScanner(stream.get(), text).next());
}

template <class String>
bool holdsMatch(const String& path, const std::string& lineGlob) {
    const FileOps::Stream stream = openSearched(path);
    for (std::string line; FileOps::readFUntil(stream.get(), line, '\n');) {
        if (GlobMatcher::match(line, lineGlob, 0, std::string::npos))
            return true;
    }
    return false;
}

/// A visitor that keeps the first path for which `test` is true.
template <class String, class Test>
auto keepFirst(String& result, Test test) {
    return [&result, test](const String& path) {
        if (!test(path))
            return false;
        result = path;
        return true;
    };
}

}  // namespace

template <class Char>
bool FileSearch<Char>::findPath(const String& name, String& result, const String& list,
                                const String& variable) {
    const Char separator(':');
    String whole = name;
    if (PathForm<Char>::mapSymbolic(whole).empty())
        return false;
    std::list<String> dirs;
    if (PathForm<Char>::isComplete(whole)) {
        dirs.push_back(String());
    } else {
        dirs = StringTools::splitList(list, separator);
        dirs.push_back(FileStatus<Char>::getCurrentDir());
        std::string value;
        std::string wanted = systemText(variable);
        std::string lower = wanted;
        if (StringTools::lower(lower) == "path")
            wanted = "PATH";
        if (EnvTools::get(wanted, value))
            dirs.splice(dirs.end(), StringTools::splitList(textOf<Char>(value), separator));
        dirs.remove(String());
    }
    for (String& candidate : dirs) {
        PathForm<Char>::completeDir(candidate) += whole;
        PathForm<Char>::processPath(candidate);
        if (FileStatus<Char>::exists(PathParts<Char>::trimDir(candidate))) {
            result = candidate;
            return true;
        }
    }
    return false;
}

template <class Char>
bool FileSearch<Char>::findExe(const String& name, String& result, const String& list,
                               const String& variable) {
    const String prefix = textOf<Char>("movrik_");
    return (!name.starts_with(prefix) && findPath(prefix + name, result, list, variable)) ||
           findPath(name, result, list, variable);
}

template <class Char>
bool FileSearch<Char>::findName(const String& dir, const String& name, String& result, bool recursive,
                                const Progress& progress) {
    return walk<Char>(dir, textOf<Char>("*"), recursive, progress, keepFirst(result, [&](const String& path) {
                          return PathParts<Char>::getBase(path) == name;
                      }));
}

template <class Char>
bool FileSearch<Char>::findNameGlob(const String& dir, const String& pattern, String& result, bool recursive,
                                    const Progress& progress) {
    return walk<Char>(dir, pattern, recursive, progress,
                      keepFirst(result, [](const String&) { return true; }));
}

template <class Char>
bool FileSearch<Char>::findContents(const String& dir, const String& text, String& result, bool recursive,
                                    const Progress& progress) {
    return walk<Char>(dir, textOf<Char>("*"), recursive, progress, keepFirst(result, [&](const String& path) {
                          return holdsText(path, systemText(text));
                      }));
}

template <class Char>
bool FileSearch<Char>::findContentsGlob(const String& dir, const String& pattern, String& result,
                                        bool recursive, const Progress& progress) {
    const std::string lineGlob = "*" + systemText(pattern) + "*";
    return walk<Char>(dir, textOf<Char>("*"), recursive, progress,
                      keepFirst(result, [&](const String& path) { return holdsMatch(path, lineGlob); }));
}

template <class Char>
bool FileSearch<Char>::find(const String& dir, const String& pattern, const String& text, bool recursive,
                            std::set<FileHit>& results, const Progress& progress) {
    if (!FileStatus<Char>::isDir(dir))
        return false;
    const std::string bytes = systemText(text);
    walk<Char>(dir, pattern, recursive, progress, [&](const String& path) {
        FileHit hit{textOf<char>(systemText(path)), textOf<wchar_t>(systemText(path)), 0};
        if (bytes.empty()) {
            results.insert(std::move(hit));
            return false;
        }
        const FileOps::Stream stream = openSearched(path);
        for (FileScanner scanner(stream.get(), bytes); stream && scanner.next();) {
            hit.position = scanner.position();
            results.insert(hit);
        }
        return false;
    });
    return true;
}

template class FileSearch<char>;
template class FileSearch<wchar_t>;

}  // namespace MovrikCorelib
