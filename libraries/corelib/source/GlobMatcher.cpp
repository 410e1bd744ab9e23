#include "GlobMatcher.h"

#include <algorithm>

#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr char Star = '*';
constexpr char AnyOne = '?';

template <class Char>
bool isStar(Char c) {
    return c == static_cast<Char>(Star);
}

template <class Char>
bool isAnyOne(Char c) {
    return c == static_cast<Char>(AnyOne);
}

template <class Text>
bool isSingleStar(const Text& glob) {
    return glob.size() == 1 && isStar(glob[0]);
}

template <class Char>
bool hasStarRun(std::basic_string_view<Char> glob) {
    return std::ranges::adjacent_find(glob, [](Char a, Char b) { return isStar(a) && isStar(b); }) !=
           glob.end();
}

template <class Char>
std::basic_string<Char> withoutStarRuns(std::basic_string_view<Char> glob) {
    std::basic_string<Char> processed;
    processed.reserve(glob.size());
    for (Char c : glob) {
        if (!isStar(c) || processed.empty() || !isStar(processed.back()))
            processed += c;
    }
    return processed;
}

template <class Text>
bool succeed(GlobParam<Text>& param, unsigned long size) {
    param.matched = true;
    param.matchSize = size;
    return true;
}

/// A match that takes all up to the end. With a start above 0, `find` sets an end that may lie before it.
template <class Text>
bool succeedToEnd(GlobParam<Text>& param) {
    return succeed(param, param.strEnd > param.start ? param.strEnd - param.start : 0);
}

}  // namespace

bool GlobMatcher::match(std::string_view str, std::string_view glob, unsigned long start,
                        unsigned long size) {
    return matchWhole(str, glob, start, size);
}

bool GlobMatcher::match(std::wstring_view str, std::wstring_view glob, unsigned long start,
                        unsigned long size) {
    return matchWhole(str, glob, start, size);
}

bool GlobMatcher::matchIgnoreCase(std::string_view str, std::string_view glob, unsigned long start,
                                  unsigned long size) {
    std::string lowerStr(str), lowerGlob(glob);
    return match(StringTools::lower(lowerStr), StringTools::lower(lowerGlob), start, size);
}

bool GlobMatcher::matchIgnoreCase(std::wstring_view str, std::wstring_view glob, unsigned long start,
                                  unsigned long size) {
    std::wstring lowerStr(str), lowerGlob(glob);
    return match(StringTools::lower(lowerStr), StringTools::lower(lowerGlob), start, size);
}

std::pair<unsigned long, unsigned long> GlobMatcher::find(const std::string& str, const std::string& glob,
                                                          unsigned long start, unsigned long size) {
    return findFirst(str, glob, start, size);
}

std::pair<unsigned long, unsigned long> GlobMatcher::find(const std::wstring& str, const std::wstring& glob,
                                                          unsigned long start, unsigned long size) {
    return findFirst(str, glob, start, size);
}

std::string GlobMatcher::processGlob(std::string_view glob) {
    return withoutStarRuns(glob);
}

std::wstring GlobMatcher::processGlob(std::wstring_view glob) {
    return withoutStarRuns(glob);
}

unsigned long GlobMatcher::validateSize(unsigned long a, unsigned long b) {
    return std::min(a, b);
}

template <class Char>
bool GlobMatcher::matchWhole(std::basic_string_view<Char> str, std::basic_string_view<Char> glob,
                             unsigned long start, unsigned long size) {
    // The glob as written: callers rely on that "**" does not match an empty subject.
    if (start >= str.size())
        return glob.empty() || isSingleStar(glob);
    if (validateSize(size, str.size() - start) == 0)
        return false;

    std::basic_string<Char> processed;
    if (hasStarRun(glob))
        glob = processed = processGlob(glob);

    GlobParam<std::basic_string_view<Char>> param(str, glob);
    param.wholeString = true;
    param.start = param.strPos = start;
    param.strEnd = str.size();
    return match(param);
}

template <class Text>
std::pair<unsigned long, unsigned long> GlobMatcher::findFirst(const Text& str, const Text& glob,
                                                               unsigned long start, unsigned long size) {
    if (start >= str.size())
        throwFailure<Find_OutOfBounds>("Find_OutOfBounds");
    const unsigned long count = validateSize(size, str.size() - start);
    if (count == 0)
        throwFailure<Find_OutOfBounds>("Find_OutOfBounds");

    GlobParam<Text> param(str, processGlob(glob));
    // Not `start` + `count`: the sizes that callers get are measured to the bare count.
    param.strEnd = count;
    for (unsigned long candidate = start; candidate < start + count; ++candidate) {
        param.matched = false;
        param.globPos = 0;
        param.start = param.strPos = candidate;
        if (match(param))
            return {candidate, param.matchSize};
    }
    throwFailure<Find_NotFound>("Find_NotFound");
}

template <class Text>
bool GlobMatcher::match(GlobParam<Text>& param) {
    return handleTrivial(param) ? param.matched : matchNonSimple(param);
}

template <class Text>
bool GlobMatcher::handleTrivial(GlobParam<Text>& param) {
    if (handleTrivialEmpty(param))
        return true;
    if (param.str.empty())
        return false;
    const Text& glob = param.glob;
    if (isSingleStar(glob) || (glob.size() == 2 && isAnyOne(glob[0]) && isStar(glob[1])))
        return succeedToEnd(param);
    return false;
}

template <class Text>
bool GlobMatcher::handleTrivialEmpty(GlobParam<Text>& param) {
    if (!param.str.empty())
        return param.glob.empty();
    return (param.glob.empty() || isSingleStar(param.glob)) && succeedToEnd(param);
}

template <class Text>
bool GlobMatcher::matchNonSimple(GlobParam<Text>& param) {
    return handleUpToFirstStar(param) ? handleGlobMatch(param) : param.matched;
}

template <class Text>
bool GlobMatcher::handleUpToFirstStar(GlobParam<Text>& param) {
    while (isBeforeFirstStar(param)) {
        if (!isCurrentCharMatching(param))
            return false;
        advancePositions(param);
    }
    return true;
}

template <class Text>
void GlobMatcher::advancePositions(GlobParam<Text>& param) {
    ++param.strPos;
    ++param.globPos;
}

template <class Text>
bool GlobMatcher::isBeforeFirstStar(const GlobParam<Text>& param) {
    return !atStrOrGlobEnd(param) && !isStar(param.glob[param.globPos]);
}

template <class Text>
bool GlobMatcher::isCurrentCharMatching(const GlobParam<Text>& param) {
    if (param.strPos >= param.str.size())  // an end before the start is never met, but the text ends
        return false;
    const auto wanted = param.glob[param.globPos];
    return isAnyOne(wanted) || wanted == param.str[param.strPos];
}

template <class Text>
bool GlobMatcher::handleGlobMatch(GlobParam<Text>& param) {
    for (;;) {
        if (!atStrOrGlobEnd(param)) {
            if (matchStar(param)) {
                if (param.matched)
                    return true;
            } else if (isCurrentCharMatching(param)) {
                advancePositions(param);
                continue;
            }
        } else if (param.globPos != param.globEnd) {
            const bool starLeft = param.globPos + 1 == param.globEnd && isStar(param.glob[param.globPos]);
            return starLeft && succeedToEnd(param);
        } else if (param.strPos == param.strEnd || !param.wholeString) {
            return succeed(param, param.strPos - param.start);
        }
        if (!updateOnMisMatchingChar(param))
            return false;
    }
}

template <class Text>
bool GlobMatcher::atStrOrGlobEnd(const GlobParam<Text>& param) {
    return param.strPos == param.strEnd || param.globPos == param.globEnd;
}

template <class Text>
bool GlobMatcher::matchStar(GlobParam<Text>& param) {
    if (!isStar(param.glob[param.globPos]))
        return false;
    if (++param.globPos == param.globEnd)
        return succeedToEnd(param);
    param.starSeen = true;
    param.retryGlobPos = param.globPos;
    param.retryStrPos = param.strPos;  // the first try is the empty run
    return true;
}

// Inline: it runs once per star in the poll lines.
template <class Text>
inline bool GlobMatcher::updateOnMisMatchingChar(GlobParam<Text>& param) {
    if (!param.starSeen)
        return false;
    const unsigned long end = param.retryStrPos <= param.strEnd ? param.strEnd : param.str.size();
    const auto wanted = param.glob[param.retryGlobPos];
    unsigned long found = param.retryStrPos;
    if (!isAnyOne(wanted)) {
        using View = std::basic_string_view<typename Text::value_type>;
        found = View(param.str).substr(0, end).find(wanted, found);
    }
    if (found >= end)
        return false;
    param.strPos = param.retryStrPos = found + 1;
    param.globPos = param.retryGlobPos + 1;
    return true;
}

}  // namespace MovrikCorelib
