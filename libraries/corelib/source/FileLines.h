#pragma once

#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace MovrikCorelib {

/// The part of `FileTools` that moves text between plain files and containers, for one character type. Narrow
/// text is bytes; wide text stands in the file in 16-bit units, low byte first, and a `FileTools::BOM` at its
/// start is passed over. All give false if the file cannot be opened or, when writing, not wholly written.
template <class Char>
class FileLines {
    using String = std::basic_string<Char>;

public:
    /// Replaces `text` by the whole file.
    static bool fileToText(const String& name, String& text);
    /// Add each line, without its delimiter; `trimRight` and `trimLeft` cut `StringTools::whitespace` off its
    /// ends. What follows the last delimiter is a line if it is not empty.
    static bool fileToList(const String& name, std::list<String>& lines, Char delimiter, bool trimRight,
                           bool trimLeft);
    static bool fileToVector(const String& name, std::vector<String>& lines, Char delimiter, bool trimRight,
                             bool trimLeft);
    static bool fileToSet(const String& name, std::set<String>& lines, Char delimiter, bool trimRight,
                          bool trimLeft);
    /// Replace the map by the lines' keys and values, parted at the first key delimiter; a line without one
    /// is passed over. Keys and values are trimmed. `skipEmpty` leaves out entries with an empty value. Of a
    /// key that repeats, a map keeps the last value and a multimap all.
    static bool fileToMap(const String& name, std::map<String, String>& entries, Char lineDelimiter,
                          Char keyDelimiter, bool trimRight, bool trimLeft, bool skipEmpty);
    static bool fileToMap(const String& name, std::multimap<String, String>& entries, Char lineDelimiter,
                          Char keyDelimiter, bool trimRight, bool trimLeft, bool skipEmpty);

    /// Replace the file. Each item is followed by the delimiter.
    static bool textToFile(const String& name, const String& text);
    static bool listToFile(const String& name, const std::list<String>& lines, Char delimiter);
    static bool vectorToFile(const String& name, const std::vector<String>& lines, Char delimiter);
    static bool setToFile(const String& name, const std::set<String>& lines, Char delimiter);
    static bool mapToFile(const String& name, const std::map<String, String>& entries, Char lineDelimiter,
                          Char keyDelimiter);
    static bool mapToFile(const String& name, const std::multimap<String, String>& entries,
                          Char lineDelimiter, Char keyDelimiter);
};

}  // namespace MovrikCorelib
