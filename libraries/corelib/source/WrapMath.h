#pragma once

namespace MovrikCorelib {

/// Signed 64-bit arithmetic that wraps around where plain arithmetic would be undefined. Calendar fields and
/// spans come from users and files, so any value can turn up.
constexpr long long wrapAdd(long long a, long long b) {
    return static_cast<long long>(static_cast<unsigned long long>(a) + static_cast<unsigned long long>(b));
}

constexpr long long wrapSub(long long a, long long b) {
    return static_cast<long long>(static_cast<unsigned long long>(a) - static_cast<unsigned long long>(b));
}

constexpr long long wrapMul(long long a, long long b) {
    return static_cast<long long>(static_cast<unsigned long long>(a) * static_cast<unsigned long long>(b));
}

}  // namespace MovrikCorelib
