#include "FileOps.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "SystemTools.h"

namespace MovrikCorelib {

namespace {

constexpr std::size_t BufferSize = 64 * 1024;
constexpr mode_t NewFileMode = 0666;

/// A line as getdelim takes it, reused from call to call.
struct LineBuffer {
    static constexpr std::size_t Kept = 1024 * 1024;

    LineBuffer() = default;
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    ~LineBuffer() { free(text); }

    void trim() {
        if (size <= Kept)
            return;
        free(text);
        text = nullptr;
        size = 0;
    }

    char* text = nullptr;
    std::size_t size = 0;
};

FileOps::Stream openStream(const std::string& name, int flags, const char* mode) {
    const int descriptor = FileOps::openDescriptor(name, flags);
    if (descriptor < 0)
        return nullptr;
    FILE* const stream = fdopen(descriptor, mode);
    if (!stream) {
        ::close(descriptor);
        return nullptr;
    }
    FileOps::Closer closer{std::make_unique_for_overwrite<char[]>(BufferSize)};
    setvbuf(stream, closer.buffer.get(), _IOFBF, BufferSize);
    __fsetlocking(stream, FSETLOCKING_BYCALLER);
    return FileOps::Stream(stream, std::move(closer));
}

// C requires a move between the two directions of one stream. The C library keeps the stream's open flags and
// its last direction, so finding out costs no system call for each character.
bool turnToReading(FILE* stream) {
    return stream && (!__fwriting(stream) || !__freadable(stream) || fseeko(stream, 0, SEEK_CUR) == 0);
}

bool turnToWriting(FILE* stream) {
    return stream && (!__freading(stream) || !__fwritable(stream) || fseeko(stream, 0, SEEK_CUR) == 0);
}

bool isHighSurrogate(unsigned int unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(unsigned int unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

bool machineIsLittle() {
    static const bool little = SystemTools::obtain(SystemTools::Endian) == "little";
    return little;
}

void appendUnit(std::string& bytes, unsigned int unit) {
    auto stored = static_cast<unsigned short>(unit);
    if (!machineIsLittle())
        stored = __builtin_bswap16(stored);
    char raw[sizeof stored];
    std::memcpy(raw, &stored, sizeof stored);
    bytes.append(raw, sizeof stored);
}

unsigned int unitAt(std::string_view bytes, std::size_t place) {
    unsigned short stored;
    std::memcpy(&stored, bytes.data() + place, sizeof stored);
    return machineIsLittle() ? stored : __builtin_bswap16(stored);
}

}  // namespace

bool FileOps::IgnoreCR = false;

void FileOps::Closer::operator()(FILE* stream) const {
    fclose(stream);
}

int FileOps::openDescriptor(const std::string& name, int flags) {
    if (name.empty() || name.find('\0') != std::string::npos)
        return -1;
    const int descriptor = ::open(name.c_str(), flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, NewFileMode);
    if (descriptor < 0)
        return -1;
    struct stat64 status;
    const bool usable =
        fstat64(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISCHR(status.st_mode));
    if (!usable || fcntl(descriptor, F_SETFL, flags) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

FileOps::Stream FileOps::openFIn(const std::string& name) {
    return openStream(name, O_RDONLY, "rb");
}

FileOps::Stream FileOps::openFOut(const std::string& name, bool fresh) {
    return openStream(name, O_WRONLY | O_CREAT | (fresh ? O_EXCL : O_TRUNC), "wb");
}

FileOps::Stream FileOps::openFAppend(const std::string& name) {
    return openStream(name, O_WRONLY | O_CREAT | O_APPEND, "ab");
}

FileOps::Stream FileOps::openFIO(const std::string& name, bool create, bool append) {
    if (create)
        return openStream(name, O_RDWR | O_CREAT | O_TRUNC, "w+b");
    if (append)
        return openStream(name, O_RDWR | O_CREAT | O_APPEND, "a+b");
    return openStream(name, O_RDWR, "r+b");
}

bool FileOps::closeF(Stream& stream) {
    if (!stream)
        return false;
    const bool closed = fclose(stream.release()) == 0;
    stream.get_deleter().buffer.reset();
    return closed;
}

bool FileOps::readFC(FILE* stream, char& character) {
    if (!turnToReading(stream))
        return false;
    int next;
    do {
        next = getc_unlocked(stream);
    } while (next == '\r' && IgnoreCR);
    if (next == EOF)
        return false;
    character = static_cast<char>(next);
    return true;
}

std::size_t FileOps::readFBlock(FILE* stream, char* bytes, std::size_t size) {
    return turnToReading(stream) ? fread_unlocked(bytes, 1, size, stream) : 0;
}

bool FileOps::readFStr(FILE* stream, std::string& text, unsigned long count) {
    text.clear();
    if (!turnToReading(stream))
        return false;
    // In steps, so that a count beyond the file's size costs no memory.
    while (text.size() < count) {
        const std::size_t old = text.size();
        const std::size_t wanted = std::min<std::size_t>(count - old, std::max(old, BufferSize));
        text.resize(old + wanted);
        const std::size_t got = fread_unlocked(text.data() + old, 1, wanted, stream);
        text.resize(old + got);
        if (IgnoreCR)
            text.erase(std::remove(text.begin() + static_cast<std::ptrdiff_t>(old), text.end(), '\r'),
                       text.end());
        if (got < wanted)
            break;
    }
    return count == 0 || !text.empty();
}

bool FileOps::readFUntil(FILE* stream, std::string& text, char delimiter) {
    text.clear();
    if (!turnToReading(stream))
        return false;
    if (IgnoreCR && delimiter == '\r') {
        // A delimiter that never comes: all that is left.
        for (std::string more; readFStr(stream, more, BufferSize);)
            text += more;
        return !text.empty();
    }
    thread_local LineBuffer line;
    const ssize_t got = getdelim(&line.text, &line.size, static_cast<unsigned char>(delimiter), stream);
    if (got <= 0)
        return false;
    auto length = static_cast<std::size_t>(got);
    const bool delimited = line.text[length - 1] == delimiter;
    if (delimited)
        --length;
    text.assign(line.text, length);
    line.trim();
    if (IgnoreCR)
        std::erase(text, '\r');
    return delimited || !text.empty();
}

bool FileOps::readFWC(FILE* stream, wchar_t& character) {
    if (!turnToReading(stream))
        return false;
    do {
        char raw[4];
        std::size_t got = fread_unlocked(raw, 1, 2, stream);
        if (got < 2)
            return false;
        if (isHighSurrogate(unitAt({raw, 2}, 0)))
            got += fread_unlocked(raw + 2, 1, 2, stream);
        const unsigned int used = fromUTF16LE({raw, got}, character);
        if (used < got && fseeko(stream, static_cast<off_t>(used) - static_cast<off_t>(got), SEEK_CUR) != 0)
            return false;
    } while (character == L'\r' && IgnoreCR);
    return true;
}

bool FileOps::readFWStr(FILE* stream, std::wstring& text, unsigned long count) {
    text.clear();
    for (wchar_t character; text.size() < count && readFWC(stream, character);)
        text += character;
    return stream && (count == 0 || !text.empty());
}

bool FileOps::readFWUntil(FILE* stream, std::wstring& text, wchar_t delimiter) {
    text.clear();
    for (wchar_t character; readFWC(stream, character);) {
        if (character == delimiter)
            return true;
        text += character;
    }
    return !text.empty();
}

bool FileOps::writeFC(FILE* stream, char character) {
    return turnToWriting(stream) && putc_unlocked(static_cast<unsigned char>(character), stream) != EOF;
}

bool FileOps::writeFStr(FILE* stream, std::string_view text) {
    return turnToWriting(stream) && fwrite_unlocked(text.data(), 1, text.size(), stream) == text.size();
}

bool FileOps::writeFWC(FILE* stream, wchar_t character) {
    return writeFWStr(stream, std::wstring_view(&character, 1));
}

bool FileOps::writeFWStr(FILE* stream, std::wstring_view text) {
    std::string bytes;
    const bool all = std::ranges::all_of(text, [&](wchar_t next) { return toUTF16LE(next, bytes); });
    return writeFStr(stream, bytes) && all;
}

bool FileOps::toUTF16LE(wchar_t character, std::string& bytes) {
    const auto code = static_cast<unsigned int>(character);
    if (code > 0x10FFFF)
        return false;
    if (code < 0x10000) {
        appendUnit(bytes, code);
    } else {
        appendUnit(bytes, 0xD800 + ((code - 0x10000) >> 10));
        appendUnit(bytes, 0xDC00 + (code & 0x3FF));
    }
    return true;
}

unsigned int FileOps::fromUTF16LE(std::string_view bytes, wchar_t& character) {
    if (bytes.size() < 2)
        return 0;
    const unsigned int first = unitAt(bytes, 0);
    if (isHighSurrogate(first) && bytes.size() >= 4) {
        const unsigned int second = unitAt(bytes, 2);
        if (isLowSurrogate(second)) {
            character = static_cast<wchar_t>(0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF));
            return 4;
        }
    }
    character = static_cast<wchar_t>(first);
    return 2;
}

}  // namespace MovrikCorelib
