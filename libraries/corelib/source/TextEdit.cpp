#include "TextEdit.h"

#include <ctype.h>
#include <wctype.h>

#include <algorithm>
#include <type_traits>

#include "StringTools.h"

namespace MovrikCorelib {

namespace {

template <class Char>
constexpr bool IsNarrow = std::is_same_v<Char, char>;

template <class Char>
bool contains(std::basic_string_view<Char> set, Char c) {
    return set.find(c) != set.npos;
}

template <class Char>
bool isOneOf(const char* set, Char c) {
    for (; *set; ++set) {
        if (c == static_cast<Char>(*set))
            return true;
    }
    return false;
}

/// What `trimLeft` and `trimRight` remove.
template <class Char>
bool isTrimmed(Char c, bool useSet) {
    if (!useSet)
        return static_cast<std::make_unsigned_t<Char>>(c) <= 32;
    if constexpr (IsNarrow<Char>)
        return contains<Char>(StringTools::whitespace(), c);
    else
        return contains<Char>(StringTools::whitespaceW(), c);
}

template <class Char>
bool partsWords(Char c) {
    return isOneOf(" \t\n\r", c);
}

template <class Char, class Matches>
unsigned long countIf(std::basic_string_view<Char> text, unsigned long start, unsigned long length,
                      Matches matches) {
    if (start >= text.size())
        return 0;
    return static_cast<unsigned long>(std::ranges::count_if(text.substr(start, length), matches));
}

template <class Char, class Matches>
std::basic_string<Char>& eraseIf(std::basic_string<Char>& text, unsigned long start, unsigned long length,
                                 Matches matches) {
    const auto size = std::basic_string_view<Char>(text).substr(start, length).size();
    const auto first = text.begin() + static_cast<std::ptrdiff_t>(start);
    const auto last = first + static_cast<std::ptrdiff_t>(size);
    text.erase(std::remove_if(first, last, matches), last);
    return text;
}

}  // namespace

template <class Char>
unsigned long TextEdit<Char>::count(View text, Char c, unsigned long start, unsigned long length) {
    return countIf(text, start, length, [&](Char other) { return other == c; });
}

template <class Char>
unsigned long TextEdit<Char>::count(View text, View set, unsigned long start, unsigned long length) {
    return countIf(text, start, length, [&](Char c) { return contains(set, c); });
}

template <class Char>
unsigned long TextEdit<Char>::countUpTo(View text, Char c, unsigned long start, Char stop) {
    unsigned long counted = 0;
    for (unsigned long i = start; i < text.size() && text[i] != stop; ++i)
        counted += text[i] == c;
    return counted;
}

template <class Char>
unsigned long TextEdit<Char>::countDownTo(View text, Char c, unsigned long start, Char stop) {
    if (start >= text.size())
        return 0;
    unsigned long counted = 0;
    for (unsigned long i = start + 1; i > 0 && text[i - 1] != stop; --i)
        counted += text[i - 1] == c;
    return counted;
}

template <class Char>
auto TextEdit<Char>::trimLeft(String& text, bool useSet) -> String& {
    const auto kept = std::ranges::find_if_not(text, [&](Char c) { return isTrimmed(c, useSet); });
    text.erase(text.begin(), kept);
    return text;
}

template <class Char>
auto TextEdit<Char>::trimRight(String& text, bool useSet) -> String& {
    while (!text.empty() && isTrimmed(text.back(), useSet))
        text.pop_back();
    return text;
}

template <class Char>
auto TextEdit<Char>::trimNumber(String& text) -> String& {
    const Char point = '.';
    if (text.size() == 1 && text[0] == point)
        return text;
    std::erase_if(text, [](Char c) { return !isOneOf("0123456789.-", c); });
    if (contains<Char>(text, point)) {
        text.erase(text.find_last_not_of(Char('0')) + 1);
        if (text.back() == point)
            text.pop_back();
    }
    if (text.empty() || (text.size() == 1 && text[0] == Char('-')))
        text.assign(1, Char('0'));
    return text;
}

template <class Char>
Char TextEdit<Char>::upper(Char c) {
    if constexpr (IsNarrow<Char>)
        return static_cast<char>(toupper(static_cast<unsigned char>(c)));
    else
        return static_cast<wchar_t>(towupper(static_cast<wint_t>(c)));
}

template <class Char>
Char TextEdit<Char>::lower(Char c) {
    if constexpr (IsNarrow<Char>)
        return static_cast<char>(tolower(static_cast<unsigned char>(c)));
    else
        return static_cast<wchar_t>(towlower(static_cast<wint_t>(c)));
}

template <class Char>
auto TextEdit<Char>::upper(String& text) -> String& {
    for (Char& c : text)
        c = upper(c);
    return text;
}

template <class Char>
auto TextEdit<Char>::lower(String& text) -> String& {
    for (Char& c : text)
        c = lower(c);
    return text;
}

template <class Char>
auto TextEdit<Char>::capitalize(String& text) -> String& {
    bool first = true;
    for (Char& c : text) {
        c = first ? upper(c) : lower(c);
        first = partsWords(c);
    }
    return text;
}

template <class Char>
auto TextEdit<Char>::capitalizeSentence(String& text) -> String& {
    bool first = true;
    for (Char& c : text) {
        if (partsWords(c))
            continue;
        c = first ? upper(c) : lower(c);
        first = c == Char('.');
    }
    return text;
}

template <class Char>
auto TextEdit<Char>::substitute(String& text, Char what, Char with, unsigned long start, unsigned long length)
    -> String& {
    const unsigned long end = start + View(text).substr(start, length).size();
    for (unsigned long i = start; i < end; ++i) {
        if (text[i] == what)
            text[i] = with;
    }
    return text;
}

template <class Char>
auto TextEdit<Char>::substitute(String& text, View what, View with, unsigned long start, unsigned long length)
    -> String& {
    const View range = View(text).substr(start, length);
    unsigned long found = what.empty() ? View::npos : range.find(what);
    if (found == View::npos)
        return text;
    String changed(text, 0, start);
    unsigned long copied = 0;
    for (; found != View::npos; found = range.find(what, copied)) {
        changed.append(range, copied, found - copied).append(with);
        copied = found + what.size();
    }
    changed.append(text, start + copied);
    text.swap(changed);
    return text;
}

template <class Char>
auto TextEdit<Char>::erase(String& text, Char c, unsigned long start, unsigned long length) -> String& {
    return eraseIf(text, start, length, [&](Char other) { return other == c; });
}

template <class Char>
auto TextEdit<Char>::erase(String& text, View set, unsigned long start, unsigned long length) -> String& {
    return eraseIf(text, start, length, [&](Char c) { return contains(set, c); });
}

template <class Char>
auto TextEdit<Char>::eraseAllExcept(String& text, View set, unsigned long start, unsigned long length)
    -> String& {
    return eraseIf(text, start, length, [&](Char c) { return !contains(set, c); });
}

template <class Char>
auto TextEdit<Char>::reverse(String& text, unsigned long start, unsigned long length) -> String& {
    const auto size = View(text).substr(start, length).size();
    const auto first = text.begin() + static_cast<std::ptrdiff_t>(start);
    std::reverse(first, first + static_cast<std::ptrdiff_t>(size));
    return text;
}

template <class Char>
auto TextEdit<Char>::unQuote(String& text) -> String& {
    if (text.size() >= 2 && text.front() == text.back() && isOneOf("'\"", text.front())) {
        text.pop_back();
        text.erase(0, 1);
    }
    return text;
}

template <class Char>
auto TextEdit<Char>::pad(String& text, unsigned long width, Char fill) -> String& {
    if (text.size() < width)
        padLeft(text, text.size() + (width - text.size()) / 2, fill);
    return padRight(text, width, fill);
}

template <class Char>
auto TextEdit<Char>::padLeft(String& text, unsigned long width, Char fill) -> String& {
    if (text.size() < width)
        text.insert(0, width - text.size(), fill);
    return text;
}

template <class Char>
auto TextEdit<Char>::padRight(String& text, unsigned long width, Char fill) -> String& {
    if (text.size() < width)
        text.append(width - text.size(), fill);
    return text;
}

template <class Char>
unsigned long TextEdit<Char>::findFirstDiff(View a, View b, unsigned long start, unsigned long length) {
    const auto [shorter, longer] = std::minmax({a.size(), b.size()});
    for (unsigned long i = start; i < longer && i - start < length; ++i) {
        if (i >= shorter || a[i] != b[i])
            return i;
    }
    return View::npos;
}

template <class Char>
bool TextEdit<Char>::subCompare(View a, unsigned long start, View b) {
    return start <= a.size() && a.substr(start).starts_with(b);
}

template <class Char>
auto TextEdit<Char>::escape(String& text, Char what, Char with, Char esc) -> String& {
    return escape(text, View(&what, 1), View(&with, 1), esc);
}

template <class Char>
auto TextEdit<Char>::escape(String& text, View whats, View withs, Char esc) -> String& {
    const auto isPlain = [&](Char c) { return c != esc && !contains(whats, c); };
    if (std::ranges::all_of(text, isPlain))
        return text;
    String escaped;
    escaped.reserve(text.size() + text.size() / 8 + 8);
    for (Char c : text) {
        const auto index = whats.find(c);
        if (index < withs.size())
            (escaped += esc) += withs[index];
        else if (c == esc)
            escaped.append(2, esc);
        else
            escaped += c;
    }
    text.swap(escaped);
    return text;
}

template <class Char>
auto TextEdit<Char>::unescape(String& text, Char with, Char what, Char esc) -> String& {
    return unescape(text, View(&with, 1), View(&what, 1), esc);
}

template <class Char>
auto TextEdit<Char>::unescape(String& text, View withs, View whats, Char esc) -> String& {
    unsigned long written = 0;
    for (unsigned long i = 0; i < text.size(); ++i) {
        if (text[i] == esc && i + 1 < text.size()) {
            const Char next = text[++i];
            const auto index = withs.find(next);
            if (index < whats.size()) {
                text[written++] = whats[index];
                continue;
            }
            if (next != esc)
                text[written++] = esc;
        }
        text[written++] = text[i];
    }
    text.resize(written);
    return text;
}

template class TextEdit<char>;
template class TextEdit<wchar_t>;

}  // namespace MovrikCorelib
