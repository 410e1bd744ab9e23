#include "FileScanner.h"

#include <string.h>

#include <algorithm>

namespace MovrikCorelib {

namespace {

constexpr std::size_t BlockSize = 256 * 1024;

}  // namespace

bool FileScanner::pass(const Passed& passed, std::size_t end) {
    if (passed && end > at && !passed(std::string_view(buffer).substr(at, end - at)))
        broken = true;
    at = end;
    return !broken;
}

bool FileScanner::next(const Passed& passed) {
    while (!broken) {
        const char* const start = buffer.data() + at;
        if (const void* const place = memmem(start, buffer.size() - at, text.data(), text.size())) {
            const std::size_t offset =
                static_cast<std::size_t>(static_cast<const char*>(place) - buffer.data());
            if (!pass(passed, offset))
                return false;
            found = base + offset;
            at = offset + text.size();
            return true;
        }
        // The end of the block may be the start of a place.
        const std::size_t open = std::min(text.size() - 1, buffer.size() - at);
        if (!pass(passed, buffer.size() - open))
            return false;
        base += at;
        buffer.erase(0, at);
        at = 0;
        buffer.resize(open + BlockSize);
        const std::size_t got = fread(buffer.data() + open, 1, BlockSize, stream);
        buffer.resize(open + got);
        if (ferror(stream))
            broken = true;
        else if (got == 0) {
            pass(passed, buffer.size());
            return false;
        }
    }
    return false;
}

}  // namespace MovrikCorelib
