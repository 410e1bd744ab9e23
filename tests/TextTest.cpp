#include <locale.h>

#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "EnvTools.h"
#include "GlobMatcher.h"
#include "StringTools.h"
#include "TestSupport.h"

using namespace MovrikCorelib;

namespace {

constexpr unsigned long All = std::string::npos;

std::wstring wide(const std::string& text) {
    return StringTools::convert(text);
}

/// What a glob means, by its definition.
bool means(std::string_view glob, std::string_view str) {
    if (glob.empty())
        return str.empty();
    if (glob[0] == '*')
        return means(glob.substr(1), str) || (!str.empty() && means(glob, str.substr(1)));
    return !str.empty() && (glob[0] == '?' || glob[0] == str[0]) && means(glob.substr(1), str.substr(1));
}

/// All texts of up to `size` characters of an alphabet.
std::vector<std::string> allTexts(const std::string& alphabet, unsigned long size) {
    std::vector<std::string> texts = {""};
    for (unsigned long i = 0; i < texts.size(); ++i) {
        if (const std::string head = texts[i]; head.size() < size) {
            for (char c : alphabet)
                texts.push_back(head + c);
        }
    }
    return texts;
}

struct Locale {
    explicit Locale(const char* name)
        : before(setlocale(LC_CTYPE, nullptr)), set(setlocale(LC_CTYPE, name)) {}
    ~Locale() { setlocale(LC_CTYPE, before.c_str()); }

    const std::string before;
    const bool set;
};

using Strings = std::vector<std::string>;

}  // namespace

TEST(GlobMatch, KnownAnswers) {
    const struct {
        const char *str, *glob;
        unsigned long start, size;
        bool matches;
    } cases[] = {{"ABC", "a?c", 0, All, false},
                 {"a\\b", "a\\?", 0, All, true},
                 {"a\\?", "a\\b", 0, All, false},
                 {"*", "[*]", 0, All, false},
                 {"7:0:::", "?*:0:?*:?*:?*", 0, All, false},
                 {"7:0:a:b:c:d", "?*:0:?*:?*:?*", 0, All, true},
                 {"abc", "abc", 1, 100, false},
                 {"abc", "bc", 1, 1, true},
                 {"abc", "*", 1, 0, false},
                 {"abc", "*", 3, 0, true},
                 {"abc", "**", All, All, false}};
    for (const auto& c : cases)
        EXPECT_EQ(GlobMatcher::match(c.str, c.glob, c.start, c.size), c.matches) << c.str << " " << c.glob;
    EXPECT_TRUE(GlobMatcher::matchIgnoreCase("ABC", "a?C"));
    EXPECT_TRUE(GlobMatcher::matchIgnoreCase(L"ABC", L"a?C"));
}

TEST(GlobMatch, AgreesWithTheMeaningOfEveryShortGlob) {
    const Strings subjects = allTexts("ab", 5);
    for (const std::string& glob : allTexts("ab?*", 5)) {
        for (const std::string& str : subjects) {
            const bool expected = str.empty() ? glob.empty() || glob == "*" : means(glob, str);
            ASSERT_EQ(GlobMatcher::match(str, glob), expected) << str << " " << glob;
            ASSERT_EQ(GlobMatcher::match(wide(str), wide(glob)), expected) << str << " " << glob;
        }
    }
}

TEST(GlobFind, LeftmostThenShortestUnlessAStarEndsTheGlob) {
    const Strings subjects = allTexts("ab", 4);
    for (const std::string& glob : allTexts("ab?*", 4)) {
        for (const std::string& str : subjects) {
            std::pair<unsigned long, unsigned long> expected(All, 0), found(All, 0);
            for (unsigned long i = 0; i < str.size() && expected.first == All && !glob.empty(); ++i) {
                unsigned long size = glob.ends_with('*') ? str.size() - i : 0;
                while (size <= str.size() - i && !means(glob, str.substr(i, size)))
                    ++size;
                if (size <= str.size() - i)
                    expected = {i, size};
            }
            try {
                found = GlobMatcher::find(str, glob);
            } catch (const GlobMatcher::Find_NotFound&) {
            } catch (const GlobMatcher::Find_OutOfBounds&) {
                EXPECT_EQ(str, "");
            }
            ASSERT_EQ(found, expected) << str << " " << glob;
        }
    }
}

TEST(GlobFind, EndIsTheCountAlsoBehindAStart) {
    using Result = std::pair<unsigned long, unsigned long>;
    EXPECT_EQ(GlobMatcher::find(L"xabc", L"a**", 0, 100), Result(1, 3));
    EXPECT_EQ(GlobMatcher::find("abcdef", "*", 2, 100), Result(2, 2));
    EXPECT_EQ(GlobMatcher::find("abcabc", "c", 3, 100), Result(5, 1));
    EXPECT_EQ(GlobMatcher::find("abcdef", "f*", 5, 100), Result(5, 0));
    // Here no candidate meets the end position: the scan must stop at the end of the text.
    for (const char* glob : {"e*z", "f?", "f*?z", "efg"})
        EXPECT_THROW(GlobMatcher::find("abcdef", glob, 4, 100), GlobMatcher::Find_NotFound) << glob;
    EXPECT_THROW(GlobMatcher::find("abc", "b", 3, 1), GlobMatcher::Find_OutOfBounds);
    EXPECT_THROW(GlobMatcher::find("abc", "b", 0, 0), GlobMatcher::Find_OutOfBounds);
    try {
        GlobMatcher::find(L"abc", L"z", 0, 3);
        ADD_FAILURE();
    } catch (const GlobMatcher::Find_NotFound& e) {
        EXPECT_EQ(e.message, "Find_NotFound");
    }
}

TEST(StringTools, EditsInPlace) {
    using S = StringTools;
    std::string text;
    const auto in = [&](std::string_view start) -> std::string& { return text = start; };
    EXPECT_EQ(S::trimLeft(in("\b\f\v x \n"), true), "x \n");
    EXPECT_EQ(S::trimLeft(in("\x01 x"), true), "\x01 x");
    EXPECT_EQ(S::trimLeft(in("\x01 \xE4"), false), "\xE4");
    const std::string_view withZero("x\0 \r\n", 5);
    EXPECT_EQ(S::trimRight(in(withZero), true), withZero.substr(0, 2));
    EXPECT_EQ(S::trimRight(in(withZero), false), "x");
    EXPECT_EQ(S::trimNumber(in(" -12.500 kg")), "-12.5");
    EXPECT_EQ(S::trimNumber(in(".00")), "0");
    EXPECT_EQ(S::trimNumber(in(".")), ".");
    EXPECT_EQ(S::capitalize(in("one tWO\nthree-four")), "One Two\nThree-four");
    EXPECT_EQ(S::capitalizeSentence(in(" aB c. \tdE.f")), " Ab c. \tDe.F");
    EXPECT_EQ(S::substitute(in("aaaaab"), "aa", "aaa"), "aaaaaaab");
    EXPECT_EQ(S::substitute(in("bcbcabc"), "bc", "-", 1, 5), "bc-abc");
    EXPECT_EQ(S::substitute(in("aaaa"), 'a', 'b', 1, 2), "abba");
    EXPECT_EQ(S::erase(in("abcabc"), "ac", 1), "abb");
    EXPECT_EQ(S::eraseAllExcept(in("abcabc"), "a"), "aa");
    EXPECT_EQ(S::unQuote(in("'a'")), "a");
    EXPECT_EQ(S::unQuote(in("'a\"")), "'a\"");
    EXPECT_EQ(S::unQuote(in("\"")), "\"");
    EXPECT_EQ(S::pad(in("abc"), 6, '-'), "-abc--");
    EXPECT_EQ(S::padLeft(in("42"), 4, '0'), "0042");
    EXPECT_EQ(S::escape(in("a=\\\n"), "=\n", "?n", '\\'), "a\\?\\\\\\n");
    EXPECT_EQ(S::unescape(in("\\n\\x\\\\n\\"), 'n', '\n', '\\'), "\n\\x\\n\\");
    EXPECT_THROW(S::erase(in("abc"), 'a', 4), std::out_of_range);
    EXPECT_THROW(S::substitute(in("abc"), "a", "b", 4), std::out_of_range);
    std::wstring wideText = L"\b\u00E4\x01 ";
    EXPECT_EQ(S::trimRight(S::trimLeft(wideText, true), false), L"\u00E4");
}

TEST(StringTools, EscapeComesBackForEveryShortText) {
    for (const std::string& text : allTexts("=?\\a", 5)) {
        std::string copy = text;
        EXPECT_EQ(StringTools::escape(copy, '=', '?', '\\').find('='), All);
        ASSERT_EQ(StringTools::unescape(copy, '?', '=', '\\'), text);
    }
}

TEST(StringTools, CountsAndCompares) {
    EXPECT_EQ(StringTools::count("abcab", 'a', 1, 3), 1U);
    EXPECT_EQ(StringTools::count("abcab", "ab", 1), 3U);
    EXPECT_EQ(StringTools::countUpTo("a(aa)a", 'a', 2, ')'), 2U);
    EXPECT_EQ(StringTools::countDownTo("aa(aba", 'a', 5, '('), 2U);
    EXPECT_EQ(StringTools::findFirstDiff("abc", "ab", 1), 2U);
    EXPECT_EQ(StringTools::findFirstDiff("abc", "abd", 0, 2), All);
    EXPECT_TRUE(StringTools::subCompare("host.domain", 4, ".domain"));
    EXPECT_FALSE(StringTools::subCompare("host", 9, ""));
}

TEST(StringTools, CutsFromBothEnds) {
    using S = StringTools;
    std::string text = "a:b::c,d::e,";
    EXPECT_EQ(S::split(text, ";"), "a:b::c,d::e,");
    EXPECT_EQ(S::split(text, ";,:"), "a");
    EXPECT_EQ(S::splitSubstr(text, "::"), "b");
    EXPECT_EQ(S::split(text, ','), "c");
    EXPECT_EQ(text, "d::e,");
    EXPECT_EQ(S::rsplit(text, ':'), "e,");
    EXPECT_EQ(S::rsplitSubstr(text = "a::b::c,", "::"), "c,");
    EXPECT_EQ(S::rsplit(text, "/"), "a::b");
    EXPECT_EQ(S::rsplit(text, ":/"), "b");
    EXPECT_EQ(text, "a:");
    EXPECT_EQ(S::splitSubstr(text, ""), "a:");
}

TEST(StringTools, SplitsWholeTexts) {
    const struct {
        const char* text;
        unsigned long maxFields;
        bool skipEmpty;
        Strings parts;
    } cases[] = {{"", All, false, {}},
                 {"a,b,c", 2, false, {"a", "b,c"}},
                 {"a,b,c", 0, false, {"a", "b", "c"}},
                 {"a,,b", All, true, {"a", "b"}},
                 {"a,,b", All, false, {"a", "", "b"}},
                 {",,a,b,,c", 2, true, {"a", "b,,c"}},
                 {"a,b,", All, true, {"a", "b", ""}},
                 {",", All, false, {"", ""}}};
    for (const auto& c : cases) {
        EXPECT_EQ(StringTools::splitVector(c.text, ',', c.maxFields, c.skipEmpty), c.parts) << c.text;
        const auto list = StringTools::splitList(c.text, ',', c.maxFields, c.skipEmpty);
        EXPECT_EQ(Strings(list.begin(), list.end()), c.parts) << c.text;
    }
    EXPECT_EQ(StringTools::splitSubstrVector("<>a<>b<><>c", "<>", 2, true), (Strings{"a", "b<><>c"}));
    EXPECT_EQ(StringTools::splitVector(L"a:b", L':'), (std::vector<std::wstring>{L"a", L"b"}));
    EXPECT_EQ(StringTools::splitSet("b,A,a", ',', All, false, true), (std::set<std::string>{"a", "b"}));
    EXPECT_EQ(StringTools::splitSet("a,a,b,c", ',', 3, false, false), (std::set<std::string>{"a", "b", "c"}));
    EXPECT_THROW(StringTools::splitVector("a", ',', All, false, 2), std::out_of_range);
}

TEST(StringTools, SplitsAndJoinsMaps) {
    using Map = std::map<std::string, std::string>;
    const std::string text = "k=1;K=2;k=;rest";
    EXPECT_EQ(StringTools::splitMap(text, ';', '='), (Map{{"K", "2"}, {"k", ""}}));
    EXPECT_EQ(StringTools::splitMap(text, ';', '=', true, true), (Map{{"k", "1"}}));
    EXPECT_EQ(StringTools::splitSubstrMap("a->1; b->", "; ", "->"), (Map{{"a", "1"}, {"b", ""}}));
    EXPECT_EQ(StringTools::join(Map{{"a", "1"}, {"b", ""}}, "; ", "->"), "a->1; b->");
    EXPECT_EQ(StringTools::join(std::multiset<std::string>{"b", "a", "b"}, ", "), "a, b, b");
}

TEST(StringTools, ReadsNumbersWithoutComplaint) {
    const struct {
        const char* text;
        long long number;
        unsigned long long positive;
    } cases[] = {{"12x", 12, 12},
                 {"+5", 0, 0},
                 {"-", 0, 0},
                 {"--7", 0, 0},
                 {"-9223372036854775808", std::numeric_limits<long long>::min(), 0},
                 {"18446744073709551615", -1, ~0ULL},
                 {"18446744073709551621", 5, 5}};
    for (const auto& c : cases) {
        EXPECT_EQ(StringTools::toInt64(c.text), c.number) << c.text;
        EXPECT_EQ(StringTools::toUInt64(wide(c.text)), c.positive) << c.text;
    }
    EXPECT_EQ(StringTools::toInt8("200"), -56);
    EXPECT_EQ(StringTools::toUInt16("-1"), 0);
    EXPECT_EQ(StringTools::toInt32(L"4294967295"), -1);
    for (const char* text : {"", "0", "00", "false"})
        EXPECT_EQ(StringTools::toBool(text), std::string(text).size() > 1) << text;
    EXPECT_EQ(StringTools::hashInt64("\xFF"), 255);
    EXPECT_EQ(StringTools::hashInt32(L"\u20AC\u20AC\u20AC\u20AC\u20AC"), -1068956740);
}

TEST(StringTools, WritesNumbers) {
    const std::pair<double, const char*> doubles[] = {{-0.0, "0"},
                                                      {100, "100"},
                                                      {1.0 / 3, "0.33333333333333"},
                                                      {1e20, "1.000000000000000e+2"},
                                                      {2.5e16, "2.500000000000000e+16"},
                                                      {-2e-16, "-2.000000000000000e-16"},
                                                      {1e-15, "0"}};
    for (const auto& [value, text] : doubles)
        EXPECT_EQ(StringTools::toString(value), text);
    EXPECT_EQ(StringTools::toString(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(StringTools::toWString(~0ULL), L"18446744073709551615");
}

TEST(StringTools, ConversionLosesNoByte) {
    std::string bytes;
    for (int code = 0; code < 256; ++code)
        bytes += static_cast<char>(code);
    {
        const Locale plain("C");
        EXPECT_EQ(StringTools::convert(wide(bytes)), bytes);
        EXPECT_EQ(StringTools::convert(L"\u20AC"), "?");
    }
    const Locale unicode("C.UTF-8");
    if (!unicode.set)
        GTEST_SKIP() << "no UTF-8 locale";
    EXPECT_EQ(wide("\xE2\x82\xAC\xFFz\xE2\x82"), L"\u20AC\u00FFz\u00E2\u0082");
    EXPECT_EQ(StringTools::convert(L"\u20AC\xD800"), "\xE2\x82\xAC?");
    EXPECT_EQ(StringTools::convert('\xE2'), L'\u00E2');
}

TEST(StringTools, CodesCharactersWithPadding) {
    const std::string coded = StringTools::encode(L"a\u20AC", 6);
    EXPECT_EQ(coded.size(), 12U);
    EXPECT_EQ(coded.substr(4, 2), std::string(2, '\0'));
    EXPECT_EQ(StringTools::decode(coded + "abc", 6), L"a\u20AC");
    EXPECT_EQ(StringTools::encode(L"a", 3) + StringTools::convert(StringTools::decode(coded, 3)), "");
}

TEST(Searchers, WrapLinesAtWhitespaceAndDashes) {
    const struct {
        const char* text;
        unsigned long width;
        Strings lines;
    } cases[] = {{"the quick brown fox", 9, {"the quick", "brown fox"}},
                 {"the  quick", 5, {"the", "quick"}},
                 {"well-known", 5, {"well-", "known"}},
                 {"abcdefgh", 3, {"abc", "def", "gh"}},
                 {"  abcdef", 4, {"  ab", "cdef"}},
                 {"  \n\ncd e", 2, {"  ", "", "cd", "e"}},
                 {"abc  ", 3, {"abc  "}},
                 {"ab \n cd", 2, {"ab", " c", "d"}},
                 {"ab", 0, {"a", "b"}}};
    for (const auto& c : cases)
        EXPECT_EQ(StringTools::splitSearcherVector(c.text, StringTools::LineSizeSearcher(c.width)), c.lines)
            << c.text;
}

TEST(Searchers, FindNothingOutsideTheirRange) {
    unsigned long position = 77, size = 77;
    const StringTools::CharSearcher chars("xc");
    const StringTools::GlobSearcher glob("b?"), none("");
    EXPECT_FALSE(chars(position, size, "abc", 0, 2) || chars(position, size, "abc", 3, All));
    EXPECT_FALSE(glob(position, size, "abc", 0, 2) || glob(position, size, "abc", 0, 0));
    EXPECT_FALSE(none(position, size, "abc", 0, All));
    EXPECT_EQ(position + size, 154U);
    EXPECT_TRUE(chars(position, size, L"abc", 1, All));
    EXPECT_EQ(position * 10 + size, 21U);
    EXPECT_TRUE(glob(position, size, L"abc", 0, All));
    EXPECT_EQ(position * 10 + size, 12U);
}

TEST(EnvTools, ARemovedVariableStaysDefined) {
    const std::string name = "MOVRIK_TEXT_TEST";
    const TestSupport::ScopedEnv restore(name, "first");
    std::string value = "kept";
    EXPECT_FALSE(EnvTools::get(name + "_UNDEFINED", value));
    EXPECT_EQ(value, "kept");
    EXPECT_TRUE(EnvTools::set(name, "second"));
    EXPECT_TRUE(EnvTools::get(name, value));
    EXPECT_EQ(value, "second");
    EXPECT_TRUE(EnvTools::remove(name) && EnvTools::exists(name));
    EXPECT_FALSE(EnvTools::set(name, std::string("a\0b", 3)));
}
