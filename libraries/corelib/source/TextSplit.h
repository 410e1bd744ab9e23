#pragma once

#include <concepts>
#include <list>
#include <map>
#include <ranges>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "StringSearcher.h"

namespace MovrikCorelib {

/// The part of `StringTools` that cuts texts and joins them, for one character type. An empty separator text
/// or set is never found.
template <class Char>
class TextSplit {
    using String = std::basic_string<Char>;
    using View = std::basic_string_view<Char>;

public:
    /// Cut off what stands ahead of the first separator (the character, any of the set, or the whole text)
    /// and return it; `text` loses it and the separator. Without a separator the whole text is returned and
    /// `text` stays as it is.
    static String split(String& text, Char separator);
    static String split(String& text, View set);
    static String splitSubstr(String& text, View separator);

    /// The same from the right: cut off and return what stands behind the last separator.
    static String rsplit(String& text, Char separator);
    static String rsplit(String& text, View set);
    static String rsplitSubstr(String& text, View separator);

    /// All parts of a text from `start` on. At most `maxFields` parts are made, the last one holding the
    /// remainder unsplit; 0 sets no limit. `skipEmpty` leaves out empty parts, except the one behind the last
    /// separator, which is always a part. An empty text has no parts. Throws std::out_of_range if `start`
    /// lies past the end. `lowerCase` turns the parts to lower case.
    static std::list<String> splitList(View text, Char separator, unsigned long maxFields = View::npos,
                                       bool skipEmpty = false, unsigned long start = 0);
    static std::vector<String> splitVector(View text, Char separator, unsigned long maxFields = View::npos,
                                           bool skipEmpty = false, unsigned long start = 0);
    static std::set<String> splitSet(View text, Char separator, unsigned long maxFields = View::npos,
                                     bool skipEmpty = false, bool lowerCase = false, unsigned long start = 0);
    static std::list<String> splitSubstrList(View text, View separator, unsigned long maxFields = View::npos,
                                             bool skipEmpty = false, unsigned long start = 0);
    static std::vector<String> splitSubstrVector(View text, View separator,
                                                 unsigned long maxFields = View::npos, bool skipEmpty = false,
                                                 unsigned long start = 0);
    static std::set<String> splitSubstrSet(View text, View separator, unsigned long maxFields = View::npos,
                                           bool skipEmpty = false, bool lowerCase = false,
                                           unsigned long start = 0);

    /// The same, with what a searcher finds as separators.
    static std::vector<String> splitSearcherVector(const String& text, const StringSearcher& searcher,
                                                   unsigned long maxFields = View::npos,
                                                   bool skipEmpty = false, unsigned long start = 0);

    /// Pairs of a key, up to the next value separator, and a value, up to the next pair separator or the end.
    /// A rest without a value separator is no pair and is left out. `lowerKeys` turns the keys to lower case.
    /// Of several pairs with one key the last counts, or, with `keepFirst`, the first.
    static std::map<String, String> splitMap(View text, Char pairSeparator, Char valueSeparator,
                                             bool lowerKeys = false, bool keepFirst = false);
    static std::map<String, String> splitSubstrMap(View text, View pairSeparator, View valueSeparator,
                                                   bool lowerKeys = false, bool keepFirst = false);

    /// The texts of a list, vector, set or multiset in their order, with a separator between them.
    template <std::ranges::input_range Items>
    requires std::same_as<std::ranges::range_value_t<Items>, String>
    static String join(const Items& items, View separator) {
        String joined;
        for (bool first = true; const String& item : items) {
            if (!std::exchange(first, false))
                joined += separator;
            joined += item;
        }
        return joined;
    }

    template <std::ranges::input_range Items>
    requires std::same_as<std::ranges::range_value_t<Items>, String>
    static String join(const Items& items, Char separator) { return join(items, View(&separator, 1)); }

    /// The pairs of a map or multimap, as `splitMap` reads them.
    template <std::ranges::input_range Pairs>
    requires std::same_as<std::ranges::range_value_t<Pairs>, std::pair<const String, String>>
    static String join(const Pairs& pairs, View pairSeparator, View valueSeparator) {
        String joined;
        for (bool first = true; const auto& [key, value] : pairs) {
            if (!std::exchange(first, false))
                joined += pairSeparator;
            joined.append(key).append(valueSeparator).append(value);
        }
        return joined;
    }

    template <std::ranges::input_range Pairs>
    requires std::same_as<std::ranges::range_value_t<Pairs>, std::pair<const String, String>>
    static String join(const Pairs& pairs, Char pairSeparator, Char valueSeparator) {
        return join(pairs, View(&pairSeparator, 1), View(&valueSeparator, 1));
    }

    /// The items or pairs of a container as a list, in container order.
    static std::list<String> convert(const std::set<String>& items);
    static std::list<String> convert(const std::multiset<String>& items);
    static std::list<std::pair<String, String>> convert(const std::map<String, String>& pairs);
    static std::list<std::pair<String, String>> convert(const std::multimap<String, String>& pairs);
};

extern template class TextSplit<char>;
extern template class TextSplit<wchar_t>;

}  // namespace MovrikCorelib
