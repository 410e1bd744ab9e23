#pragma once

#include <stdio.h>

#include <functional>
#include <string>
#include <string_view>

namespace MovrikCorelib {

/// Finds the places of a text in a stream, block by block, as bytes. Places do not overlap.
class FileScanner {
public:
    /// Receives the bytes that are passed by; false ends the scan.
    using Passed = std::function<bool(std::string_view bytes)>;

    /// `wanted` is not empty; the stream outlives the scanner.
    FileScanner(FILE* from, std::string wanted) : stream(from), text(std::move(wanted)) {}

    /// Goes on behind the next place and tells whether there is one; all that lies ahead of it goes to
    /// `passed`.
    bool next(const Passed& passed = nullptr);

    /// Offset, from where the scan began, of the place found last.
    unsigned long long position() const { return found; }
    /// The scan ended before the stream did: it could not be read, or `passed` gave false.
    bool failed() const { return broken; }

private:
    bool pass(const Passed& passed, std::size_t end);

    FILE* stream;
    std::string text;
    std::string buffer;
    std::size_t at = 0;           ///< first byte of `buffer` not passed
    unsigned long long base = 0;  ///< offset of the first byte of `buffer`
    unsigned long long found = 0;
    bool broken = false;
};

}  // namespace MovrikCorelib
