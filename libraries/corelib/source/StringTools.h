#pragma once

#include <string>
#include <string_view>

#include "StringSearcher.h"
#include "TextEdit.h"
#include "TextNumber.h"
#include "TextSplit.h"

namespace MovrikCorelib {

/// The common vocabulary for narrow and wide text; each operation that takes text exists for both. The bases
/// hold the operations on one character type: `TextEdit` changes texts, `TextSplit` cuts and joins them,
/// `TextNumber` reads numbers. Safe from any thread, each text in the hands of one.
class StringTools : public TextEdit<char>,
                    public TextEdit<wchar_t>,
                    public TextNumber<char>,
                    public TextNumber<wchar_t>,
                    public TextSplit<char>,
                    public TextSplit<wchar_t> {
public:
    using StringSearcher = MovrikCorelib::StringSearcher;
    using CharSearcher = MovrikCorelib::CharSearcher;
    using GlobSearcher = MovrikCorelib::GlobSearcher;
    using LineSizeSearcher = MovrikCorelib::LineSizeSearcher;

    using TextEdit<char>::count, TextEdit<wchar_t>::count;
    using TextEdit<char>::countUpTo, TextEdit<wchar_t>::countUpTo;
    using TextEdit<char>::countDownTo, TextEdit<wchar_t>::countDownTo;
    using TextEdit<char>::trimLeft, TextEdit<wchar_t>::trimLeft;
    using TextEdit<char>::trimRight, TextEdit<wchar_t>::trimRight;
    using TextEdit<char>::trimNumber, TextEdit<wchar_t>::trimNumber;
    using TextEdit<char>::upper, TextEdit<wchar_t>::upper;
    using TextEdit<char>::lower, TextEdit<wchar_t>::lower;
    using TextEdit<char>::capitalize, TextEdit<wchar_t>::capitalize;
    using TextEdit<char>::capitalizeSentence, TextEdit<wchar_t>::capitalizeSentence;
    using TextEdit<char>::substitute, TextEdit<wchar_t>::substitute;
    using TextEdit<char>::erase, TextEdit<wchar_t>::erase;
    using TextEdit<char>::eraseAllExcept, TextEdit<wchar_t>::eraseAllExcept;
    using TextEdit<char>::reverse, TextEdit<wchar_t>::reverse;
    using TextEdit<char>::unQuote, TextEdit<wchar_t>::unQuote;
    using TextEdit<char>::pad, TextEdit<wchar_t>::pad;
    using TextEdit<char>::padLeft, TextEdit<wchar_t>::padLeft;
    using TextEdit<char>::padRight, TextEdit<wchar_t>::padRight;
    using TextEdit<char>::findFirstDiff, TextEdit<wchar_t>::findFirstDiff;
    using TextEdit<char>::subCompare, TextEdit<wchar_t>::subCompare;
    using TextEdit<char>::escape, TextEdit<wchar_t>::escape;
    using TextEdit<char>::unescape, TextEdit<wchar_t>::unescape;

    using TextNumber<char>::toBool, TextNumber<wchar_t>::toBool;
    using TextNumber<char>::toInt8, TextNumber<wchar_t>::toInt8;
    using TextNumber<char>::toInt16, TextNumber<wchar_t>::toInt16;
    using TextNumber<char>::toInt32, TextNumber<wchar_t>::toInt32;
    using TextNumber<char>::toInt64, TextNumber<wchar_t>::toInt64;
    using TextNumber<char>::toUInt8, TextNumber<wchar_t>::toUInt8;
    using TextNumber<char>::toUInt16, TextNumber<wchar_t>::toUInt16;
    using TextNumber<char>::toUInt32, TextNumber<wchar_t>::toUInt32;
    using TextNumber<char>::toUInt64, TextNumber<wchar_t>::toUInt64;
    using TextNumber<char>::toDouble, TextNumber<wchar_t>::toDouble;
    using TextNumber<char>::hashInt32, TextNumber<wchar_t>::hashInt32;
    using TextNumber<char>::hashUInt32, TextNumber<wchar_t>::hashUInt32;
    using TextNumber<char>::hashInt64, TextNumber<wchar_t>::hashInt64;
    using TextNumber<char>::hashUInt64, TextNumber<wchar_t>::hashUInt64;

    using TextSplit<char>::split, TextSplit<wchar_t>::split;
    using TextSplit<char>::splitSubstr, TextSplit<wchar_t>::splitSubstr;
    using TextSplit<char>::rsplit, TextSplit<wchar_t>::rsplit;
    using TextSplit<char>::rsplitSubstr, TextSplit<wchar_t>::rsplitSubstr;
    using TextSplit<char>::splitList, TextSplit<wchar_t>::splitList;
    using TextSplit<char>::splitVector, TextSplit<wchar_t>::splitVector;
    using TextSplit<char>::splitSet, TextSplit<wchar_t>::splitSet;
    using TextSplit<char>::splitMap, TextSplit<wchar_t>::splitMap;
    using TextSplit<char>::splitSubstrList, TextSplit<wchar_t>::splitSubstrList;
    using TextSplit<char>::splitSubstrVector, TextSplit<wchar_t>::splitSubstrVector;
    using TextSplit<char>::splitSubstrSet, TextSplit<wchar_t>::splitSubstrSet;
    using TextSplit<char>::splitSubstrMap, TextSplit<wchar_t>::splitSubstrMap;
    using TextSplit<char>::splitSearcherVector, TextSplit<wchar_t>::splitSearcherVector;
    using TextSplit<char>::join, TextSplit<wchar_t>::join;
    using TextSplit<char>::convert, TextSplit<wchar_t>::convert;

    /// Blank, carriage return, line feed, tab, vertical tab, backspace, form feed.
    static const std::string& whitespace();
    static const std::wstring& whitespaceW();

    /// Between the multibyte coding of the current locale and wide characters, one character at a time as
    /// `mbtowc` and `wctomb` do it, each call with a shift state of its own. No character is lost: a byte
    /// that begins no character of the locale becomes the wide character of the same code, and a wide
    /// character that the locale cannot write becomes that byte if its code is below 0x100, otherwise "?".
    /// One that takes several bytes becomes "?" where a single one is asked for.
    static wchar_t convert(char c);
    static char convert(wchar_t c);
    static std::wstring convert(std::string_view text);
    static std::string convert(std::wstring_view text);

    /// The four bytes of a character in host order, zero-padded to `width` bytes. A width below 4 gives
    /// false or an empty text. An incomplete group at the end of a coded text is left out.
    static bool encode(wchar_t c, char* bytes, unsigned short width);
    static bool decode(wchar_t& c, const char* bytes, unsigned short width);
    static std::string encode(std::wstring_view text, unsigned short width = 4);
    static std::wstring decode(std::string_view bytes, unsigned short width = 4);

    /// Decimal text; bool gives "1" or "0".
    static std::string toString(bool value) { return value ? "1" : "0"; }
    static std::string toString(signed char value) { return signedText(value); }
    static std::string toString(unsigned char value) { return unsignedText(value); }
    static std::string toString(short value) { return signedText(value); }
    static std::string toString(unsigned short value) { return unsignedText(value); }
    static std::string toString(int value) { return signedText(value); }
    static std::string toString(unsigned int value) { return unsignedText(value); }
    static std::string toString(long value) { return signedText(value); }
    static std::string toString(unsigned long value) { return unsignedText(value); }
    static std::string toString(long long value) { return signedText(value); }
    static std::string toString(unsigned long long value) { return unsignedText(value); }

    /// 14 digits behind the ".", or 15 and an exponent outside 1e-15 to 1e15. Zeros at the very end go, and a
    /// "." left there; readers of such texts rely on that this takes a zero from the end of an exponent too:
    /// 1e20 gives "1.000000000000000e+2".
    static std::string toString(double value);

    /// A pointer is no bool.
    static std::string toString(const void*) = delete;

    /// The text of `toString` in wide characters.
    template <class Number>
    static std::wstring toWString(Number value) {
        const std::string text = toString(value);
        return std::wstring(text.begin(), text.end());
    }

private:
    static std::string signedText(long long value);
    static std::string unsignedText(unsigned long long value);
};

}  // namespace MovrikCorelib
