#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "Exception.h"

namespace MovrikCorelib {

/// State of one match. `Text` is the kind of string that the subject has.
template <class Text>
struct GlobParam {
    GlobParam(const Text& subject, Text processedGlob)
        : globEnd(processedGlob.size()), str(subject), glob(std::move(processedGlob)) {}

    unsigned long start = 0;         ///< subject position where this attempt began
    bool matched = false;            ///< the attempt has succeeded
    bool wholeString = false;        ///< the glob must consume the subject to its end
    unsigned long strPos = 0;        ///< current subject position
    unsigned long strEnd = 0;        ///< subject end position
    unsigned long globPos = 0;       ///< current glob position
    unsigned long globEnd;           ///< length of the glob
    bool starSeen = false;           ///< a star has been passed, so there is a point to go back to
    unsigned long retryStrPos = 0;   ///< subject position to go back to on a mismatch
    unsigned long retryGlobPos = 0;  ///< glob position to go back to on a mismatch
    unsigned long matchSize = 0;     ///< length of the match, valid when `matched` is set
    const Text& str;                 ///< the subject; it must outlive the record
    Text glob;                       ///< the glob as `GlobMatcher::processGlob` gives it
};

/// The system's only pattern language: "*" stands for any run of characters, the empty run included, "?"
/// for exactly one. Every other character stands for itself, by exact code; nothing can be escaped.
/// All operations exist for narrow and wide text and may be called from any thread.
class GlobMatcher {
public:
    MOVRIK_FAILURE(Find_OutOfBounds);
    MOVRIK_FAILURE(Find_NotFound);

    using GlobParamString = GlobParam<std::string>;
    using GlobParamWString = GlobParam<std::wstring>;

    /// Whether `glob` matches `str` from `start` to its end. `size` does not end the subject: it only makes
    /// the answer false when it is 0. An empty subject matches only "" and "*" as written, not "**".
    /// Never throws, and allocates only for a glob with a run of stars.
    static bool match(std::string_view str, std::string_view glob, unsigned long start = 0,
                      unsigned long size = std::string::npos);
    static bool match(std::wstring_view str, std::wstring_view glob, unsigned long start = 0,
                      unsigned long size = std::wstring::npos);

    /// `match` on lower-case copies of both texts, as `StringTools::lower` makes them.
    static bool matchIgnoreCase(std::string_view str, std::string_view glob, unsigned long start = 0,
                                unsigned long size = std::string::npos);
    static bool matchIgnoreCase(std::wstring_view str, std::wstring_view glob, unsigned long start = 0,
                                unsigned long size = std::wstring::npos);

    /// Position and length of the first match that begins in the `size` characters from `start`: the
    /// leftmost start wins, there the shortest run that completes the glob. A star at the end of the glob
    /// takes all up to the subject's end, which is the clipped `size`, counted from 0 and not from `start`
    /// (nothing, if that lies before the match).
    /// Throws `Find_OutOfBounds` if `start` is at or past the end or `size` is 0, `Find_NotFound` if nothing
    /// matches.
    static std::pair<unsigned long, unsigned long> find(const std::string& str, const std::string& glob,
                                                        unsigned long start = 0,
                                                        unsigned long size = std::string::npos);
    static std::pair<unsigned long, unsigned long> find(const std::wstring& str, const std::wstring& glob,
                                                        unsigned long start = 0,
                                                        unsigned long size = std::wstring::npos);

    /// The glob with every run of stars reduced to one.
    static std::string processGlob(std::string_view glob);
    static std::wstring processGlob(std::wstring_view glob);

    /// The smaller of the two.
    static unsigned long validateSize(unsigned long a, unsigned long b);

private:
    template <class Char>
    static bool matchWhole(std::basic_string_view<Char> str, std::basic_string_view<Char> glob,
                           unsigned long start, unsigned long size);
    template <class Text>
    static std::pair<unsigned long, unsigned long> findFirst(const Text& str, const Text& glob,
                                                             unsigned long start, unsigned long size);

    // The steps of a match over its record. `match`, `matchNonSimple` and `handleGlobMatch` tell whether the
    // glob matched; `handleTrivial` and `handleTrivialEmpty` whether they decided it, with the outcome in
    // `matched`; `handleUpToFirstStar` is false on a mismatch, `matchStar` if the glob has no star here, and
    // `updateOnMisMatchingChar` if there is no star that can grow; it grows the last star up to the next
    // place where the character behind it matches, and steps past that character.
    template <class Text>
    static bool match(GlobParam<Text>& param);
    template <class Text>
    static bool handleTrivial(GlobParam<Text>& param);
    template <class Text>
    static bool handleTrivialEmpty(GlobParam<Text>& param);
    template <class Text>
    static bool matchNonSimple(GlobParam<Text>& param);
    template <class Text>
    static bool handleUpToFirstStar(GlobParam<Text>& param);
    template <class Text>
    static void advancePositions(GlobParam<Text>& param);
    template <class Text>
    static bool isBeforeFirstStar(const GlobParam<Text>& param);
    template <class Text>
    static bool isCurrentCharMatching(const GlobParam<Text>& param);
    template <class Text>
    static bool handleGlobMatch(GlobParam<Text>& param);
    template <class Text>
    static bool atStrOrGlobEnd(const GlobParam<Text>& param);
    template <class Text>
    static bool matchStar(GlobParam<Text>& param);
    template <class Text>
    static bool updateOnMisMatchingChar(GlobParam<Text>& param);
};

}  // namespace MovrikCorelib
