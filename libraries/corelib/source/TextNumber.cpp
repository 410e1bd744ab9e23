#include "TextNumber.h"

#include <stdlib.h>
#include <wchar.h>

#include <string>
#include <type_traits>

namespace MovrikCorelib {

namespace {

template <class Char>
unsigned long long digits(std::basic_string_view<Char> text) {
    unsigned long long number = 0;
    for (Char c : text) {
        const auto digit = static_cast<unsigned int>(c) - static_cast<unsigned int>('0');
        if (digit > 9)
            break;
        number = number * 10 + digit;
    }
    return number;
}

template <class Number, class Char>
Number hash(std::basic_string_view<Char> text) {
    Number h = 0;
    for (Char c : text)
        h = static_cast<std::make_unsigned_t<Char>>(c) + h * 37;
    return h;
}

}  // namespace

template <class Char>
bool TextNumber<Char>::toBool(View text) {
    return !text.empty() && !(text.size() == 1 && text[0] == Char('0'));
}

template <class Char>
signed char TextNumber<Char>::toInt8(View text) {
    return static_cast<signed char>(toInt64(text));
}

template <class Char>
short TextNumber<Char>::toInt16(View text) {
    return static_cast<short>(toInt64(text));
}

template <class Char>
int TextNumber<Char>::toInt32(View text) {
    return static_cast<int>(toInt64(text));
}

template <class Char>
long long TextNumber<Char>::toInt64(View text) {
    const bool negative = text.starts_with(Char('-'));
    const unsigned long long size = digits(text.substr(negative));
    return static_cast<long long>(negative ? 0 - size : size);
}

template <class Char>
unsigned char TextNumber<Char>::toUInt8(View text) {
    return static_cast<unsigned char>(toUInt64(text));
}

template <class Char>
unsigned short TextNumber<Char>::toUInt16(View text) {
    return static_cast<unsigned short>(toUInt64(text));
}

template <class Char>
unsigned int TextNumber<Char>::toUInt32(View text) {
    return static_cast<unsigned int>(toUInt64(text));
}

template <class Char>
unsigned long long TextNumber<Char>::toUInt64(View text) {
    return digits(text);
}

template <class Char>
double TextNumber<Char>::toDouble(View text) {
    const std::basic_string<Char> terminated(text);
    if constexpr (std::is_same_v<Char, char>)
        return strtod(terminated.c_str(), nullptr);
    else
        return wcstod(terminated.c_str(), nullptr);
}

template <class Char>
int TextNumber<Char>::hashInt32(View text) {
    return static_cast<int>(hashUInt32(text));
}

template <class Char>
unsigned int TextNumber<Char>::hashUInt32(View text) {
    return hash<unsigned int>(text);
}

template <class Char>
long long TextNumber<Char>::hashInt64(View text) {
    return static_cast<long long>(hashUInt64(text));
}

template <class Char>
unsigned long long TextNumber<Char>::hashUInt64(View text) {
    return hash<unsigned long long>(text);
}

template class TextNumber<char>;
template class TextNumber<wchar_t>;

}  // namespace MovrikCorelib
