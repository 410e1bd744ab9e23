#include "ConfTypes.h"

#include <array>
#include <string_view>

namespace MovrikCorelib {

namespace {

/// Indexed by type; the gaps are types without a text.
constexpr std::array<std::string_view, 22> TypeTexts = {
    "none",          "bool",        "int",        "uint",
    "float",         "string",      "datetime",   "time-of-day",
    "timezone",      "timespan",    "dir",        "file",
    "list",          "sub-entries", "",           "",
    "system string", "local int",   "local uint", "local float",
    "local string",  "local set"};

constexpr std::array<std::string_view, 10> ErrorTexts = {"",
                                                         "IMS error",
                                                         "Wrong type",
                                                         "Unknown type",
                                                         "Not found",
                                                         "Incorrect formatting",
                                                         "Input format is wrong",
                                                         "Access denied",
                                                         "Out of memory",
                                                         "File error"};

/// The text at an index that may be anything, or `fallback`.
template <std::size_t Size>
std::string_view textAt(const std::array<std::string_view, Size>& texts, int index,
                        std::string_view fallback) {
    return index >= 0 && index < static_cast<int>(Size) ? texts[static_cast<std::size_t>(index)] : fallback;
}

}  // namespace

std::string mapConfType(int type) {
    const std::string_view text = textAt(TypeTexts, type, "");
    return std::string(text.empty() ? "undefined" : text);
}

int mapConfType(const std::string& text) {
    for (std::size_t i = 0; i < TypeTexts.size(); ++i)
        if (!TypeTexts[i].empty() && TypeTexts[i] == text)
            return static_cast<int>(i);
    return ConfTypeNone;
}

std::string mapConfError(ConfError error) {
    return std::string(textAt(ErrorTexts, static_cast<int>(error), "Unknown error"));
}

}  // namespace MovrikCorelib
