#include "StringSearcher.h"

#include <algorithm>

#include "GlobMatcher.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

template <class Char>
using View = std::basic_string_view<Char>;

template <class Char>
bool clipRange(View<Char> text, unsigned long start, unsigned long& length) {
    if (start >= text.size())
        return false;
    length = std::min(length, text.size() - start);
    return true;
}

template <class Char>
bool findChar(unsigned long& position, unsigned long& size, View<Char> text, unsigned long start,
              unsigned long length, View<Char> characters) {
    if (!clipRange(text, start, length))
        return false;
    const unsigned long found = text.substr(0, start + length).find_first_of(characters, start);
    if (found == text.npos)
        return false;
    position = found;
    size = 1;
    return true;
}

template <class String>
bool findGlob(unsigned long& position, unsigned long& size, const String& text, unsigned long start,
              unsigned long length, const String& glob) {
    if (glob.empty() || length == 0 || !StringSearcher::validateParameters(text, start, length))
        return false;
    try {
        const auto [foundPosition, foundSize] = GlobMatcher::find(text, glob, start, length);
        position = foundPosition;
        size = foundSize;
        return true;
    } catch (const Exception&) {
        return false;
    }
}

template <class Char>
bool findLineEnd(unsigned long& position, unsigned long& size, View<Char> text, unsigned long start,
                 unsigned long length, unsigned long maxSize, View<Char> whitespace, View<Char> breakAfter) {
    if (!clipRange(text, start, length))
        return false;
    const auto isBlank = [&](Char c) { return whitespace.find(c) != View<Char>::npos; };
    const auto found = [&](unsigned long lineEnd, unsigned long dropped) {
        position = start + lineEnd;
        size = dropped;
        return true;
    };
    const View<Char> range = text.substr(start, length);
    const unsigned long lineSize = std::min(maxSize, range.size());

    const unsigned long lineFeed = range.substr(0, lineSize + 1).find(Char('\n'));
    if (lineFeed != range.npos)
        return found(lineFeed, 1);
    const unsigned long lastWord = range.find_last_not_of(whitespace);
    if (lastWord == range.npos || lastWord < lineSize)
        return false;

    // Whitespace at the beginning of a line is an indentation and no place to break.
    const unsigned long firstWord = range.find_first_not_of(whitespace);
    for (unsigned long end = lineSize; end > firstWord; --end) {
        if (isBlank(range[end]) && !isBlank(range[end - 1])) {
            unsigned long behind = end;
            while (behind < range.size() && isBlank(range[behind]) && range[behind] != Char('\n'))
                ++behind;
            // A line feed behind the blanks ends this line as well, and not an empty one of its own.
            const bool atLineFeed = behind < range.size() && range[behind] == Char('\n');
            return found(end, behind + atLineFeed - end);
        }
        if (breakAfter.find(range[end - 1]) != View<Char>::npos)
            return found(end, 0);
    }
    return found(lineSize, 0);
}

}  // namespace

bool StringSearcher::validateParameters(const std::string& text, unsigned long start, unsigned long& length) {
    return clipRange<char>(text, start, length);
}

bool StringSearcher::validateParameters(const std::wstring& text, unsigned long start,
                                        unsigned long& length) {
    return clipRange<wchar_t>(text, start, length);
}

CharSearcher::CharSearcher(const std::string& characters)
    : characters_(characters), charactersW_(StringTools::convert(characters)) {}

CharSearcher::CharSearcher(const std::wstring& characters)
    : characters_(StringTools::convert(characters)), charactersW_(characters) {}

bool CharSearcher::operator()(unsigned long& position, unsigned long& size, const std::string& text,
                              unsigned long start, unsigned long length) const {
    return findChar<char>(position, size, text, start, length, characters_);
}

bool CharSearcher::operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                              unsigned long start, unsigned long length) const {
    return findChar<wchar_t>(position, size, text, start, length, charactersW_);
}

GlobSearcher::GlobSearcher(const std::string& glob) : glob_(glob), globW_(StringTools::convert(glob)) {}

GlobSearcher::GlobSearcher(const std::wstring& glob) : glob_(StringTools::convert(glob)), globW_(glob) {}

bool GlobSearcher::operator()(unsigned long& position, unsigned long& size, const std::string& text,
                              unsigned long start, unsigned long length) const {
    return findGlob(position, size, text, start, length, glob_);
}

bool GlobSearcher::operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                              unsigned long start, unsigned long length) const {
    return findGlob(position, size, text, start, length, globW_);
}

LineSizeSearcher::LineSizeSearcher(unsigned long lineSize, const std::string& breakAfter)
    : lineSize_(std::max(lineSize, 1UL)),
      breakAfter_(breakAfter),
      breakAfterW_(StringTools::convert(breakAfter)) {}

LineSizeSearcher::LineSizeSearcher(unsigned long lineSize, const std::wstring& breakAfter)
    : lineSize_(std::max(lineSize, 1UL)),
      breakAfter_(StringTools::convert(breakAfter)),
      breakAfterW_(breakAfter) {}

bool LineSizeSearcher::operator()(unsigned long& position, unsigned long& size, const std::string& text,
                                  unsigned long start, unsigned long length) const {
    return findLineEnd<char>(position, size, text, start, length, lineSize_, StringTools::whitespace(),
                             breakAfter_);
}

bool LineSizeSearcher::operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                                  unsigned long start, unsigned long length) const {
    return findLineEnd<wchar_t>(position, size, text, start, length, lineSize_, StringTools::whitespaceW(),
                                breakAfterW_);
}

}  // namespace MovrikCorelib
