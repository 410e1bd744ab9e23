#pragma once

#include <functional>
#include <string>
#include <type_traits>

#include "StringTools.h"

namespace MovrikCorelib {

/// Told how a long operation gets on: the path at work, a status, the amount done and the amount in all.
/// Status 0 is a step of a running copy (bytes), 1 a completed step, 3 a failed verification. May be null.
template <class Char>
using FileProgress = std::function<void(const std::basic_string<Char>& path, int status,
                                        unsigned long long done, unsigned long long all)>;

/// A text as the system takes it: bytes.
inline const std::string& systemText(const std::string& text) {
    return text;
}
inline std::string systemText(const std::wstring& text) {
    return StringTools::convert(text);
}

/// A path to hand to a system call. One with a zero byte in it, which would reach the system cut short, is
/// handed over as the empty path, which no call finds. Used within one expression.
class SystemPath {
public:
    explicit SystemPath(const std::string& path) : text(path) {}
    explicit SystemPath(const std::wstring& path) : converted(StringTools::convert(path)), text(converted) {}
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;

    operator const char*() const { return text.find('\0') == std::string::npos ? text.c_str() : ""; }

private:
    std::string converted;
    const std::string& text;
};

/// A text of the system in either width.
template <class Char>
std::basic_string<Char> textOf(const std::string& text) {
    if constexpr (std::is_same_v<Char, char>)
        return text;
    else
        return StringTools::convert(text);
}

}  // namespace MovrikCorelib
