#include "FileLines.h"

#include <limits>

#include "FileOps.h"
#include "FileText.h"

namespace MovrikCorelib {

namespace {

constexpr wchar_t ByteOrderMark = 0xFEFF;
constexpr unsigned long Everything = std::numeric_limits<unsigned long>::max();

template <class String>
FileOps::Stream openText(const String& name) {
    FileOps::Stream stream = FileOps::openFIn(systemText(name));
    if constexpr (std::is_same_v<String, std::wstring>) {
        wchar_t first;
        if (stream && !(FileOps::readFWC(stream.get(), first) && first == ByteOrderMark))
            rewind(stream.get());
    }
    return stream;
}

bool readLine(FILE* stream, std::string& line, char delimiter) {
    return FileOps::readFUntil(stream, line, delimiter);
}

bool readLine(FILE* stream, std::wstring& line, wchar_t delimiter) {
    return FileOps::readFWUntil(stream, line, delimiter);
}

bool readAll(FILE* stream, std::string& text) {
    return FileOps::readFStr(stream, text, Everything);
}

bool readAll(FILE* stream, std::wstring& text) {
    return FileOps::readFWStr(stream, text, Everything);
}

bool writeText(FILE* stream, const std::string& text) {
    return FileOps::writeFStr(stream, text);
}

bool writeText(FILE* stream, const std::wstring& text) {
    return FileOps::writeFWStr(stream, text);
}

template <class String>
void trim(String& text, bool right, bool left) {
    if (right)
        StringTools::trimRight(text, true);
    if (left)
        StringTools::trimLeft(text, true);
}

/// Gives each line of a file to `take`.
template <class String, class Take>
bool eachLine(const String& name, typename String::value_type delimiter, Take take) {
    const FileOps::Stream stream = openText(name);
    if (!stream)
        return false;
    for (String line; readLine(stream.get(), line, delimiter);)
        take(line);
    return !ferror(stream.get());
}

template <class String, class Lines>
bool addLines(const String& name, Lines& lines, typename String::value_type delimiter, bool right,
              bool left) {
    return eachLine(name, delimiter, [&](String& line) {
        trim(line, right, left);
        lines.insert(lines.end(), line);
    });
}

template <class String, class Add>
bool eachEntry(const String& name, typename String::value_type lineDelimiter,
               typename String::value_type keyDelimiter, bool right, bool left, bool skipEmpty, Add add) {
    return eachLine(name, lineDelimiter, [&](const String& line) {
        const std::size_t place = line.find(keyDelimiter);
        if (place == String::npos)
            return;
        String key = line.substr(0, place);
        String value = line.substr(place + 1);
        trim(key, right, left);
        trim(value, right, left);
        if (!skipEmpty || !value.empty())
            add(key, value);
    });
}

/// Makes a file of what `write` puts into its stream.
template <class String, class Write>
bool makeFile(const String& name, Write write) {
    FileOps::Stream stream = FileOps::openFOut(systemText(name));
    const bool written = stream && write(stream.get());
    return FileOps::closeF(stream) && written;
}

template <class String, class Lines>
bool writeLines(const String& name, const Lines& lines, typename String::value_type delimiter) {
    return makeFile(name, [&](FILE* stream) {
        for (const String& line : lines) {
            if (!writeText(stream, line) || !writeText(stream, String(1, delimiter)))
                return false;
        }
        return true;
    });
}

template <class String, class Entries>
bool writeEntries(const String& name, const Entries& entries, typename String::value_type lineDelimiter,
                  typename String::value_type keyDelimiter) {
    return makeFile(name, [&](FILE* stream) {
        for (const auto& [key, value] : entries) {
            if (!writeText(stream, key + keyDelimiter + value + lineDelimiter))
                return false;
        }
        return true;
    });
}

}  // namespace

template <class Char>
bool FileLines<Char>::fileToText(const String& name, String& text) {
    const FileOps::Stream stream = openText(name);
    if (!stream)
        return false;
    readAll(stream.get(), text);
    return !ferror(stream.get());
}

template <class Char>
bool FileLines<Char>::fileToList(const String& name, std::list<String>& lines, Char delimiter, bool trimRight,
                                 bool trimLeft) {
    return addLines(name, lines, delimiter, trimRight, trimLeft);
}

template <class Char>
bool FileLines<Char>::fileToVector(const String& name, std::vector<String>& lines, Char delimiter,
                                   bool trimRight, bool trimLeft) {
    return addLines(name, lines, delimiter, trimRight, trimLeft);
}

template <class Char>
bool FileLines<Char>::fileToSet(const String& name, std::set<String>& lines, Char delimiter, bool trimRight,
                                bool trimLeft) {
    return addLines(name, lines, delimiter, trimRight, trimLeft);
}

template <class Char>
bool FileLines<Char>::fileToMap(const String& name, std::map<String, String>& entries, Char lineDelimiter,
                                Char keyDelimiter, bool trimRight, bool trimLeft, bool skipEmpty) {
    entries.clear();
    return eachEntry(name, lineDelimiter, keyDelimiter, trimRight, trimLeft, skipEmpty,
                     [&](const String& key, const String& value) { entries[key] = value; });
}

template <class Char>
bool FileLines<Char>::fileToMap(const String& name, std::multimap<String, String>& entries,
                                Char lineDelimiter, Char keyDelimiter, bool trimRight, bool trimLeft,
                                bool skipEmpty) {
    entries.clear();
    return eachEntry(name, lineDelimiter, keyDelimiter, trimRight, trimLeft, skipEmpty,
                     [&](const String& key, const String& value) { entries.emplace(key, value); });
}

template <class Char>
bool FileLines<Char>::textToFile(const String& name, const String& text) {
    return makeFile(name, [&](FILE* stream) { return writeText(stream, text); });
}

template <class Char>
bool FileLines<Char>::listToFile(const String& name, const std::list<String>& lines, Char delimiter) {
    return writeLines(name, lines, delimiter);
}

template <class Char>
bool FileLines<Char>::vectorToFile(const String& name, const std::vector<String>& lines, Char delimiter) {
    return writeLines(name, lines, delimiter);
}

template <class Char>
bool FileLines<Char>::setToFile(const String& name, const std::set<String>& lines, Char delimiter) {
    return writeLines(name, lines, delimiter);
}

template <class Char>
bool FileLines<Char>::mapToFile(const String& name, const std::map<String, String>& entries,
                                Char lineDelimiter, Char keyDelimiter) {
    return writeEntries(name, entries, lineDelimiter, keyDelimiter);
}

template <class Char>
bool FileLines<Char>::mapToFile(const String& name, const std::multimap<String, String>& entries,
                                Char lineDelimiter, Char keyDelimiter) {
    return writeEntries(name, entries, lineDelimiter, keyDelimiter);
}

template class FileLines<char>;
template class FileLines<wchar_t>;

}  // namespace MovrikCorelib
