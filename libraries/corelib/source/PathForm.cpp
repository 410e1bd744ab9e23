#include "PathForm.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

#include "EnvTools.h"
#include "FileText.h"
#include "PathParts.h"

namespace MovrikCorelib {

namespace {

constexpr std::size_t LongestMapped = 65536;

template <class String>
bool getVariable(const String& name, String& value) {
    std::string found;
    if (!EnvTools::get(systemText(name), found))
        return false;
    value = textOf<typename String::value_type>(found);
    return true;
}

template <class String>
std::vector<String> components(const String& path) {
    using Char = typename String::value_type;
    std::vector<String> parts = StringTools::splitVector(path, Char('/'));
    std::erase(parts, String());
    return parts;
}

}  // namespace

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::correctSeparation(String& path) {
    std::ranges::replace(path, Char('\\'), Char('/'));
    return path;
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::completeDir(String& path) {
    if (!path.empty() && path.back() != '/' && path.back() != '\\')
        path += Char('/');
    return path;
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::contractPath(String& path) {
    constexpr Char slash('/');
    const String here(1, Char('.'));
    const String up(2, Char('.'));
    const String root(1, slash);
    if (path.empty() || correctSeparation(path) == root)
        return path;
    const String head(path[0] != slash ? 0u : path[1] == slash ? 2u : 1u, slash);
    const bool endsInSlash = path.back() == slash;

    std::vector<String> parts = StringTools::splitVector(path, slash);
    long last = -1;  // the last part kept
    for (std::size_t index = 0; index < parts.size(); ++index) {
        String& part = parts[index];
        if (part == here) {
            part.clear();
        } else if (part != up) {
            last = static_cast<long>(index);
        } else if (last < 0 || parts[static_cast<std::size_t>(last)] == up) {
            ++last;
        } else {
            // The step down may land on a part cleared before, on which a later ".." uses itself up:
            // "a/b/../c/../../d" is "a/d". Paths in configuration files in the field rely on it.
            part.clear();
            parts[static_cast<std::size_t>(last)].clear();
            --last;
        }
    }
    std::erase(parts, String());
    path = head + StringTools::join(parts, root);
    if (endsInSlash && path.empty())
        path = here;  // "./" and the like must not turn into the root directory
    if (endsInSlash && path.back() != slash)
        path += slash;
    return path;
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::makeComplete(String& path, const String& base) {
    if (!isComplete(path)) {
        String dir = base;
        path.insert(0, completeDir(dir));
    }
    return correctSeparation(path);
}

template <class Char>
bool PathForm<Char>::makeRelative(String& path, const String& base) {
    String to = path;
    String from = base;
    contractPath(to);
    contractPath(from);
    if (isComplete(to) != isComplete(from))
        return false;
    const std::vector<String> target = components(to);
    const std::vector<String> start = components(from);
    const auto fork = std::ranges::mismatch(target, start);
    const String up(2, Char('.'));
    if (std::find(fork.in2, start.end(), up) != start.end())
        return false;
    std::vector<String> steps(static_cast<std::size_t>(start.end() - fork.in2), up);
    steps.insert(steps.end(), fork.in1, target.end());
    const bool endsInSlash = to.ends_with(Char('/'));
    path = steps.empty() ? String(1, Char('.')) : StringTools::join(steps, String(1, Char('/')));
    if (endsInSlash)
        completeDir(path);
    return true;
}

template <class Char>
bool PathForm<Char>::isComplete(const String& path) {
    const unsigned long drive = PathParts<Char>::findDriveEnd(path);
    const unsigned long root = drive == String::npos ? 0 : drive;
    return root < path.size() && (path[root] == '/' || path[root] == '\\');
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::prepDir(String& path) {
    return completeDir(processPath(path));
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::mapSymbolic(String& path) {
    correctSeparation(path);
    String value;

    unsigned long open = path.find(Char('%'));
    while (open != String::npos && path.size() <= LongestMapped) {
        const unsigned long close = path.find(Char('%'), open + 1);
        if (close == String::npos)
            break;
        if (getVariable(path.substr(open + 1, close - open - 1), value))
            path.replace(open, close - open + 1, value);
        // Behind where the closing "%" was, however long the value: a reference close behind a shorter value
        // is passed over. Configuration files in the field rely on what is and what is not replaced.
        open = path.find(Char('%'), close + 1);
    }

    open = path.find(Char('$'));
    while (open != String::npos && path.size() <= LongestMapped) {
        const unsigned long close = path.find(Char('/'), open + 1);
        if (close == String::npos)
            break;  // file names that end in "$..." are never touched
        if (getVariable(path.substr(open + 1, close - open - 1), value))
            path.replace(open, close - open, value);
        open = path.find(Char('$'), close);
    }
    return path;
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::expand(String& path) {
    char buffer[1024];
    const ssize_t size = readlink(SystemPath(path), buffer, sizeof buffer);
    if (size <= 0) {
        path.clear();
        return path;
    }
    String target = textOf<Char>(std::string(buffer, static_cast<std::size_t>(size)));
    if (!target.starts_with(Char('/')) && PathParts<Char>::findDirEnd(path) != String::npos)
        target = PathParts<Char>::getDir(path) + Char('/') + target;
    path = std::move(target);
    return PathParts<Char>::trimDir(path);
}

template <class Char>
typename PathForm<Char>::String& PathForm<Char>::processPath(String& path) {
    return contractPath(mapSymbolic(path));
}

template class PathForm<char>;
template class PathForm<wchar_t>;

}  // namespace MovrikCorelib
