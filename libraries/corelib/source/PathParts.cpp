#include "PathParts.h"

#include <algorithm>

namespace MovrikCorelib {

namespace {

template <class Char>
bool isSeparator(Char character) {
    return character == '/' || character == '\\';
}

template <class String>
unsigned long lastSeparator(const String& path) {
    const auto found = std::find_if(path.rbegin(), path.rend(), isSeparator<typename String::value_type>);
    return found == path.rend() ? String::npos : static_cast<unsigned long>(path.rend() - found) - 1;
}

template <class String>
String& separate(String& path) {
    std::ranges::replace(path, typename String::value_type('\\'), typename String::value_type('/'));
    return path;
}

template <class String>
String part(const String& path, unsigned long start, unsigned long end) {
    return start == String::npos ? String() : path.substr(start, end - start);
}

}  // namespace

template <class Char>
unsigned long PathParts<Char>::findDriveStart(const String& path) {
    const auto isLetter = [](Char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return path.size() >= 2 && path[1] == ':' && isLetter(path[0]) ? 0 : String::npos;
}

template <class Char>
unsigned long PathParts<Char>::findDriveEnd(const String& path) {
    return findDriveStart(path) == String::npos ? String::npos : 2;
}

template <class Char>
unsigned long PathParts<Char>::findDirStart(const String& path) {
    return findDirEnd(path) == String::npos ? String::npos : 0;
}

template <class Char>
unsigned long PathParts<Char>::findDirEnd(const String& path) {
    return lastSeparator(path);
}

template <class Char>
unsigned long PathParts<Char>::findBaseStart(const String& path) {
    const unsigned long start = lastSeparator(path) + 1;  // 0 without a separator
    return start < path.size() ? start : String::npos;
}

template <class Char>
unsigned long PathParts<Char>::findBaseEnd(const String& path) {
    return findBaseStart(path) == String::npos ? String::npos : path.size();
}

template <class Char>
unsigned long PathParts<Char>::findSuffixStart(const String& path) {
    const unsigned long base = findBaseStart(path);
    const unsigned long dot = path.rfind(Char('.'));
    return base == String::npos || dot == String::npos || dot < base ? String::npos : dot + 1;
}

template <class Char>
unsigned long PathParts<Char>::findSuffixEnd(const String& path) {
    return findSuffixStart(path) == String::npos ? String::npos : path.size();
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::getDrive(const String& path) {
    return part(path, findDriveStart(path), findDriveEnd(path));
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::getDir(String path) {
    separate(path);
    return part(path, findDirStart(path), findDirEnd(path));
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::getBase(String path, bool trim) {
    separate(path);
    if (trim)
        trimDir(path);
    return part(path, findBaseStart(path), findBaseEnd(path));
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::getSuffix(const String& path) {
    return part(path, findSuffixStart(path), findSuffixEnd(path));
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::getParent(String path) {
    if (!path.empty() && isSeparator(path.back()))
        path.pop_back();
    return getDir(std::move(path));
}

template <class Char>
typename PathParts<Char>::String& PathParts<Char>::removeBase(String& path) {
    splitBase(path);
    return path;
}

template <class Char>
typename PathParts<Char>::String& PathParts<Char>::removeSuffix(String& path) {
    splitSuffix(path);
    return path;
}

template <class Char>
typename PathParts<Char>::String& PathParts<Char>::trimDir(String& path) {
    separate(path);
    path.resize(path.find_last_not_of(Char('/')) + 1);
    return path;
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::splitDrive(String& path) {
    String drive = getDrive(separate(path));
    path.erase(0, drive.size());
    return drive;
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::splitDir(String& path) {
    const unsigned long end = findDirEnd(separate(path));
    if (end == String::npos)
        return String();
    String dir = path.substr(0, end);
    path.erase(0, end + 1);
    return dir;
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::splitBase(String& path) {
    String base = getBase(separate(path));
    path.resize(path.size() - base.size());
    return base;
}

template <class Char>
typename PathParts<Char>::String PathParts<Char>::splitSuffix(String& path) {
    const unsigned long start = findSuffixStart(separate(path));
    if (start == String::npos)
        return String();
    String suffix = path.substr(start);
    path.resize(start - 1);
    return suffix;
}

template class PathParts<char>;
template class PathParts<wchar_t>;

}  // namespace MovrikCorelib
