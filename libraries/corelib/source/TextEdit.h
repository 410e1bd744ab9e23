#pragma once

#include <string>
#include <string_view>

namespace MovrikCorelib {

/// The part of `StringTools` that looks at and changes one text, for one character type. What changes a text
/// does so in place and returns that text. Ranges are clipped at the end of the text. The `start` of an
/// operation that changes a range must not lie past the end: these throw std::out_of_range.
template <class Char>
class TextEdit {
    using String = std::basic_string<Char>;
    using View = std::basic_string_view<Char>;

public:
    /// How many characters of the range equal `c`, or are in `set`. 0 for a start past the end.
    static unsigned long count(View text, Char c, unsigned long start = 0, unsigned long length = View::npos);
    static unsigned long count(View text, View set, unsigned long start = 0,
                               unsigned long length = View::npos);

    /// Counts `c` from `start` on, forwards or backwards, until `stop` or the end or beginning of the text;
    /// the character at `start` is looked at first. 0 for a start past the end.
    static unsigned long countUpTo(View text, Char c, unsigned long start, Char stop);
    static unsigned long countDownTo(View text, Char c, unsigned long start, Char stop);

    /// Remove the characters at one end that are in `StringTools::whitespace()`, or, without `useSet`, all
    /// with a code of 32 or below.
    static String& trimLeft(String& text, bool useSet = true);
    static String& trimRight(String& text, bool useSet = true);

    /// Tidies a decimal number: drops all but digits, "." and "-", then zeros at the end behind a "." and a
    /// "." left at the end. A number of which nothing remains becomes "0"; a text of "." alone stays.
    static String& trimNumber(String& text);

    /// By the platform's `toupper` and `tolower`, so in the current locale.
    static Char upper(Char c);
    static Char lower(Char c);
    static String& upper(String& text);
    static String& lower(String& text);

    /// Upper case for the first character of each word, lower case for the rest. Words are parted by blank,
    /// tab, line feed and carriage return.
    static String& capitalize(String& text);

    /// Upper case for the first character of the text and behind each ".", those four passed over; lower
    /// case for the rest.
    static String& capitalizeSentence(String& text);

    /// Replaces each `what` that lies in the range, from left to right; what was put in is not looked at
    /// again. An empty `what` occurs nowhere.
    static String& substitute(String& text, Char what, Char with, unsigned long start = 0,
                              unsigned long length = View::npos);
    static String& substitute(String& text, View what, View with, unsigned long start = 0,
                              unsigned long length = View::npos);

    /// Removes each character of the range that equals `c`, is in `set`, or is not in `set`.
    static String& erase(String& text, Char c, unsigned long start = 0, unsigned long length = View::npos);
    static String& erase(String& text, View set, unsigned long start = 0, unsigned long length = View::npos);
    static String& eraseAllExcept(String& text, View set, unsigned long start = 0,
                                  unsigned long length = View::npos);

    /// Turns the characters of the range round.
    static String& reverse(String& text, unsigned long start = 0, unsigned long length = View::npos);

    /// Removes the first and the last character if both are "'" or both are a double quote.
    static String& unQuote(String& text);

    /// Add `fill` until `width` is reached: on both sides (an odd one on the right), the left, the right.
    static String& pad(String& text, unsigned long width, Char fill = Char(' '));
    static String& padLeft(String& text, unsigned long width, Char fill = Char(' '));
    static String& padRight(String& text, unsigned long width, Char fill = Char(' '));

    /// First position in the range where `a` and `b` differ, the end of the shorter one included; npos if
    /// there is none.
    static unsigned long findFirstDiff(View a, View b, unsigned long start = 0,
                                       unsigned long length = View::npos);

    /// Whether `b` stands in `a` at `start`. False for a start past the end.
    static bool subCompare(View a, unsigned long start, View b);

    /// Writes `esc` and `with` for each `what`, and `esc` twice for each `esc`. In the set form a character
    /// at index i of `whats` becomes `esc` and the one at index i of `withs`.
    static String& escape(String& text, Char what, Char with, Char esc);
    static String& escape(String& text, View whats, View withs, Char esc);

    /// Undoes `escape`. An `esc` that is last or stands ahead of anything else stays as it is.
    static String& unescape(String& text, Char with, Char what, Char esc);
    static String& unescape(String& text, View withs, View whats, Char esc);
};

extern template class TextEdit<char>;
extern template class TextEdit<wchar_t>;

}  // namespace MovrikCorelib
