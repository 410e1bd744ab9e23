#include "TextSplit.h"

#include <algorithm>
#include <stdexcept>

#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr unsigned long NotFound = std::string::npos;

/// Where a separator stands in a text and how long it is.
struct Found {
    unsigned long position = NotFound;
    unsigned long size = 0;
};

template <class Char>
unsigned long findText(std::basic_string_view<Char> text, std::basic_string_view<Char> wanted,
                       unsigned long start) {
    return wanted.empty() ? NotFound : text.find(wanted, start);
}

template <class Char>
std::basic_string<Char> cutHead(std::basic_string<Char>& text, Found separator) {
    if (separator.position == NotFound)
        return text;
    std::basic_string<Char> head(text, 0, separator.position);
    text.erase(0, separator.position + separator.size);
    return head;
}

template <class Char>
std::basic_string<Char> cutTail(std::basic_string<Char>& text, Found separator) {
    if (separator.position == NotFound)
        return text;
    std::basic_string<Char> tail(text, separator.position + separator.size);
    text.erase(separator.position);
    return tail;
}

/// Hands each part of `text` to `take`, which gives the entries there are by then. `findNext` gives the first
/// separator at or behind a position.
template <class Char, class FindNext, class Take>
void forEachPart(std::basic_string_view<Char> text, unsigned long maxFields, bool skipEmpty,
                 unsigned long start, FindNext findNext, Take take) {
    if (start > text.size())
        throw std::out_of_range("split: start past the end of the text");
    if (start == text.size())
        return;
    unsigned long position = start;
    unsigned long made = 0;
    for (;;) {
        const Found separator = findNext(position);
        // Something found that takes no step forward would be found for ever.
        if (separator.position == NotFound || made == maxFields - 1 ||
            separator.position + separator.size <= position)
            break;
        if (!skipEmpty || separator.position != position)
            made = take(text.substr(position, separator.position - position));
        position = separator.position + separator.size;
    }
    take(text.substr(position));
}

template <class Parts>
auto appenderTo(Parts& parts) {
    return [&parts](auto part) {
        parts.emplace_back(part);
        return parts.size();
    };
}

template <class Char>
auto charFinder(std::basic_string_view<Char> text, Char separator) {
    return [=](unsigned long position) { return Found{text.find(separator, position), 1}; };
}

template <class Char>
auto textFinder(std::basic_string_view<Char> text, std::basic_string_view<Char> separator) {
    return [=](unsigned long position) {
        return Found{findText(text, separator, position), separator.size()};
    };
}

template <class Char, class FindNext>
auto makeList(std::basic_string_view<Char> text, FindNext findNext, unsigned long maxFields, bool skipEmpty,
              unsigned long start) {
    std::list<std::basic_string<Char>> parts;
    forEachPart(text, maxFields, skipEmpty, start, findNext, appenderTo(parts));
    return parts;
}

template <class Char, class FindNext>
auto makeVector(std::basic_string_view<Char> text, FindNext findNext, unsigned long maxFields, bool skipEmpty,
                unsigned long start) {
    unsigned long number = 0;
    forEachPart(text, maxFields, skipEmpty, start, findNext, [&](auto) { return ++number; });
    std::vector<std::basic_string<Char>> parts;
    parts.reserve(number);
    forEachPart(text, maxFields, skipEmpty, start, findNext, appenderTo(parts));
    return parts;
}

template <class Char, class FindNext>
auto makeSet(std::basic_string_view<Char> text, FindNext findNext, unsigned long maxFields, bool skipEmpty,
             bool lowerCase, unsigned long start) {
    std::set<std::basic_string<Char>> parts;
    forEachPart(text, maxFields, skipEmpty, start, findNext, [&](auto view) {
        std::basic_string<Char> part(view);
        if (lowerCase)
            StringTools::lower(part);
        parts.insert(std::move(part));
        return parts.size();
    });
    return parts;
}

}  // namespace

template <class Char>
auto TextSplit<Char>::split(String& text, Char separator) -> String {
    return cutHead(text, {text.find(separator), 1});
}

template <class Char>
auto TextSplit<Char>::split(String& text, View set) -> String {
    return cutHead(text, {text.find_first_of(set), 1});
}

template <class Char>
auto TextSplit<Char>::splitSubstr(String& text, View separator) -> String {
    return cutHead(text, {findText<Char>(text, separator, 0), separator.size()});
}

template <class Char>
auto TextSplit<Char>::rsplit(String& text, Char separator) -> String {
    return cutTail(text, {text.rfind(separator), 1});
}

template <class Char>
auto TextSplit<Char>::rsplit(String& text, View set) -> String {
    return cutTail(text, {text.find_last_of(set), 1});
}

template <class Char>
auto TextSplit<Char>::rsplitSubstr(String& text, View separator) -> String {
    return cutTail(text, {separator.empty() ? NotFound : text.rfind(separator), separator.size()});
}

template <class Char>
auto TextSplit<Char>::splitList(View text, Char separator, unsigned long maxFields, bool skipEmpty,
                                unsigned long start) -> std::list<String> {
    return makeList(text, charFinder(text, separator), maxFields, skipEmpty, start);
}

template <class Char>
auto TextSplit<Char>::splitVector(View text, Char separator, unsigned long maxFields, bool skipEmpty,
                                  unsigned long start) -> std::vector<String> {
    return makeVector(text, charFinder(text, separator), maxFields, skipEmpty, start);
}

template <class Char>
auto TextSplit<Char>::splitSet(View text, Char separator, unsigned long maxFields, bool skipEmpty,
                               bool lowerCase, unsigned long start) -> std::set<String> {
    return makeSet(text, charFinder(text, separator), maxFields, skipEmpty, lowerCase, start);
}

template <class Char>
auto TextSplit<Char>::splitSubstrList(View text, View separator, unsigned long maxFields, bool skipEmpty,
                                      unsigned long start) -> std::list<String> {
    return makeList(text, textFinder(text, separator), maxFields, skipEmpty, start);
}

template <class Char>
auto TextSplit<Char>::splitSubstrVector(View text, View separator, unsigned long maxFields, bool skipEmpty,
                                        unsigned long start) -> std::vector<String> {
    return makeVector(text, textFinder(text, separator), maxFields, skipEmpty, start);
}

template <class Char>
auto TextSplit<Char>::splitSubstrSet(View text, View separator, unsigned long maxFields, bool skipEmpty,
                                     bool lowerCase, unsigned long start) -> std::set<String> {
    return makeSet(text, textFinder(text, separator), maxFields, skipEmpty, lowerCase, start);
}

template <class Char>
auto TextSplit<Char>::splitSearcherVector(const String& text, const StringSearcher& searcher,
                                          unsigned long maxFields, bool skipEmpty, unsigned long start)
    -> std::vector<String> {
    std::vector<String> parts;
    const auto findNext = [&](unsigned long position) {
        Found found;
        searcher(found.position, found.size, text, position, NotFound);
        return found;
    };
    forEachPart(View(text), maxFields, skipEmpty, start, findNext, appenderTo(parts));
    return parts;
}

template <class Char>
auto TextSplit<Char>::splitMap(View text, Char pairSeparator, Char valueSeparator, bool lowerKeys,
                               bool keepFirst) -> std::map<String, String> {
    return splitSubstrMap(text, View(&pairSeparator, 1), View(&valueSeparator, 1), lowerKeys, keepFirst);
}

template <class Char>
auto TextSplit<Char>::splitSubstrMap(View text, View pairSeparator, View valueSeparator, bool lowerKeys,
                                     bool keepFirst) -> std::map<String, String> {
    std::map<String, String> pairs;
    for (unsigned long position = 0; position < text.size();) {
        const unsigned long keyEnd = findText(text, valueSeparator, position);
        if (keyEnd == NotFound)
            break;
        const unsigned long valueStart = keyEnd + valueSeparator.size();
        const unsigned long valueEnd = std::min(findText(text, pairSeparator, valueStart), text.size());
        String key(text.substr(position, keyEnd - position));
        if (lowerKeys)
            StringTools::lower(key);
        String value(text.substr(valueStart, valueEnd - valueStart));
        if (keepFirst)
            pairs.try_emplace(std::move(key), std::move(value));
        else
            pairs.insert_or_assign(std::move(key), std::move(value));
        position = valueEnd + pairSeparator.size();
    }
    return pairs;
}

template <class Char>
auto TextSplit<Char>::convert(const std::set<String>& items) -> std::list<String> {
    return {items.begin(), items.end()};
}

template <class Char>
auto TextSplit<Char>::convert(const std::multiset<String>& items) -> std::list<String> {
    return {items.begin(), items.end()};
}

template <class Char>
auto TextSplit<Char>::convert(const std::map<String, String>& pairs) -> std::list<std::pair<String, String>> {
    return {pairs.begin(), pairs.end()};
}

template <class Char>
auto TextSplit<Char>::convert(const std::multimap<String, String>& pairs)
    -> std::list<std::pair<String, String>> {
    return {pairs.begin(), pairs.end()};
}

template class TextSplit<char>;
template class TextSplit<wchar_t>;

}  // namespace MovrikCorelib
