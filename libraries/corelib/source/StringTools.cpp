#include "StringTools.h"

#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include <array>
#include <charconv>
#include <climits>
#include <limits>

namespace MovrikCorelib {

namespace {

constexpr unsigned short CodeSize = sizeof(wchar_t);

template <class Number>
std::string decimal(Number value) {
    std::array<char, std::numeric_limits<Number>::digits10 + 3> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return std::string(buffer.data(), end);
}

/// The character that begins at the front of `text`, which is not empty; takes its bytes off.
wchar_t takeCharacter(std::string_view& text, mbstate_t& state) {
    wchar_t c = 0;
    const size_t used = mbrtowc(&c, text.data(), text.size(), &state);
    if (used > text.size()) {
        state = mbstate_t();
        c = static_cast<unsigned char>(text.front());
        text.remove_prefix(1);
    } else {
        text.remove_prefix(used == 0 ? 1 : used);
    }
    return c;
}

void appendCharacter(std::string& text, wchar_t c, mbstate_t& state) {
    std::array<char, MB_LEN_MAX> bytes;
    const size_t used = wcrtomb(bytes.data(), c, &state);
    if (used <= bytes.size()) {
        text.append(bytes.data(), used);
        return;
    }
    state = mbstate_t();
    const auto code = static_cast<unsigned int>(c);
    text += code < 0x100 ? static_cast<char>(code) : '?';
}

}  // namespace

const std::string& StringTools::whitespace() {
    static const std::string characters = " \r\n\t\v\b\f";
    return characters;
}

const std::wstring& StringTools::whitespaceW() {
    static const std::wstring characters = L" \r\n\t\v\b\f";
    return characters;
}

wchar_t StringTools::convert(char c) {
    std::string_view text(&c, 1);
    mbstate_t state = {};
    return takeCharacter(text, state);
}

char StringTools::convert(wchar_t c) {
    std::string text;
    mbstate_t state = {};
    appendCharacter(text, c, state);
    return text.size() == 1 ? text[0] : '?';
}

std::wstring StringTools::convert(std::string_view text) {
    std::wstring wide;
    wide.reserve(text.size());
    mbstate_t state = {};
    while (!text.empty())
        wide += takeCharacter(text, state);
    return wide;
}

std::string StringTools::convert(std::wstring_view text) {
    std::string narrow;
    narrow.reserve(text.size());
    mbstate_t state = {};
    for (wchar_t c : text)
        appendCharacter(narrow, c, state);
    return narrow;
}

bool StringTools::encode(wchar_t c, char* bytes, unsigned short width) {
    if (width < CodeSize)
        return false;
    memcpy(bytes, &c, CodeSize);
    memset(bytes + CodeSize, 0, width - CodeSize);
    return true;
}

bool StringTools::decode(wchar_t& c, const char* bytes, unsigned short width) {
    if (width < CodeSize)
        return false;
    memcpy(&c, bytes, CodeSize);
    return true;
}

std::string StringTools::encode(std::wstring_view text, unsigned short width) {
    std::string bytes;
    if (width < CodeSize)
        return bytes;
    bytes.resize(text.size() * width);
    for (char* place = bytes.data(); wchar_t c : text) {
        encode(c, place, width);
        place += width;
    }
    return bytes;
}

std::wstring StringTools::decode(std::string_view bytes, unsigned short width) {
    std::wstring text;
    if (width < CodeSize)
        return text;
    text.resize(bytes.size() / width);
    for (const char* place = bytes.data(); wchar_t & c : text) {
        decode(c, place, width);
        place += width;
    }
    return text;
}

std::string StringTools::toString(double value) {
    if (value == 0)
        return "0";
    const double size = value < 0 ? -value : value;
    const char* const format = size > 1e15 || size < 1e-15 ? "%.15e" : "%.14f";
    std::array<char, 64> buffer;
    snprintf(buffer.data(), buffer.size(), format, value);
    std::string text = buffer.data();
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.ends_with('.'))
            text.pop_back();
    }
    return text;
}

std::string StringTools::signedText(long long value) {
    return decimal(value);
}

std::string StringTools::unsignedText(unsigned long long value) {
    return decimal(value);
}

}  // namespace MovrikCorelib
