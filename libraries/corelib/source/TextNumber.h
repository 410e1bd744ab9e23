#pragma once

#include <string_view>

namespace MovrikCorelib {

/// The part of `StringTools` that makes numbers from a text, for one character type. Nothing is reported.
template <class Char>
class TextNumber {
    using View = std::basic_string_view<Char>;

public:
    /// False for "" and "0", otherwise true.
    static bool toBool(View text);

    /// Decimal digits up to the first other character; none give 0. The signed forms take one leading "-".
    /// There is no "+" and no blank is skipped. A number too large wraps round at 64 bits; the smaller forms
    /// give the same number cut to their width.
    static signed char toInt8(View text);
    static short toInt16(View text);
    static int toInt32(View text);
    static long long toInt64(View text);
    static unsigned char toUInt8(View text);
    static unsigned short toUInt16(View text);
    static unsigned int toUInt32(View text);
    static unsigned long long toUInt64(View text);

    /// By the platform's `strtod`, so in the current locale; 0 for a text that is no number.
    static double toDouble(View text);

    /// h = code + h * 37 over all characters, from h = 0, wrapping round. A narrow character counts as its
    /// unsigned byte value.
    static int hashInt32(View text);
    static unsigned int hashUInt32(View text);
    static long long hashInt64(View text);
    static unsigned long long hashUInt64(View text);
};

extern template class TextNumber<char>;
extern template class TextNumber<wchar_t>;

}  // namespace MovrikCorelib
