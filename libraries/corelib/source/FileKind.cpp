#include "FileKind.h"

#include <algorithm>
#include <cstring>

#include "FileOps.h"
#include "FileText.h"

namespace MovrikCorelib {

bool FileKind::setName(const std::string& newName) {
    name = newName;
    nameW = StringTools::convert(newName);
    return true;
}

bool FileKind::setName(const std::wstring& newName) {
    name = StringTools::convert(newName);
    nameW = newName;
    return true;
}

bool FileKind::openWith(Mode wanted) {
    if (open_ || name.empty())
        return false;
    if (!buffer)
        buffer = std::make_unique_for_overwrite<char[]>(BlockSize);
    restart(0);
    linePos = 0;
    if (!openAs(wanted))
        return false;
    mode = wanted;
    open_ = true;
    writing = wanted == Out || wanted == Append;
    moved = writeThrough = lost = false;
    curLine = 1;
    prevLine = 0;
    return true;
}

template <class Text>
bool FileKind::openNamed(const Text& newName, Mode wanted) {
    return !open_ && setName(newName) && openWith(wanted);
}

bool FileKind::openIn() {
    return openWith(In);
}

bool FileKind::openIn(const std::string& newName) {
    return openNamed(newName, In);
}

bool FileKind::openIn(const std::wstring& newName) {
    return openNamed(newName, In);
}

bool FileKind::openOut() {
    return openWith(Out);
}

bool FileKind::openOut(const std::string& newName) {
    return openNamed(newName, Out);
}

bool FileKind::openOut(const std::wstring& newName) {
    return openNamed(newName, Out);
}

bool FileKind::openAppend() {
    return openWith(Append);
}

bool FileKind::openAppend(const std::string& newName) {
    return openNamed(newName, Append);
}

bool FileKind::openAppend(const std::wstring& newName) {
    return openNamed(newName, Append);
}

bool FileKind::openIO(bool create, bool append) {
    return openWith(create ? Create : append ? CreateAppend : Update);
}

bool FileKind::close() {
    if (!open_)
        return false;
    const bool stored = !writing || drain();
    open_ = false;
    return closeStream() && stored && !lost;
}

unsigned long long FileKind::size() const {
    unsigned long long stored;
    if (!open_ || !storedSize(stored))
        return 0;
    return writing && next > 0 ? std::max(stored, getPos()) : stored;
}

void FileKind::restart(unsigned long long position) {
    blockPos = position;
    next = filled = 0;
    ended = false;
}

bool FileKind::setPos(unsigned long long position) {
    if (!open_)
        return false;
    if (writing) {
        if (!drain())
            return false;
        leaveLine();
        if (mode == Append)
            storedSize(position);
        if (!place(position))
            return false;
        restart(position);
        writing = mode != CreateAppend;  // the next write finds the end again
        if (position < linePos) {
            linePos = 0;  // what lies in between may be overwritten
            curLine = 1;
        }
        return true;
    }
    if (position < blockPos || position > blockPos + filled)
        return moveOut(position);
    ended = false;
    const auto offset = static_cast<unsigned int>(position - blockPos);
    if (offset > next) {
        skipTo(offset);
    } else {
        const auto lines = std::count(buffer.get() + offset, buffer.get() + next, '\n');
        curLine -= std::min(curLine - 1, static_cast<unsigned long>(lines));
        next = offset;
    }
    return true;
}

bool FileKind::seekFromCur(long long offset) {
    const unsigned long long here = getPos();
    const auto distance = static_cast<unsigned long long>(offset);
    return (offset < 0 ? 0 - distance <= here : distance <= ~here) && setPos(here + distance);
}

bool FileKind::seekFromEnd(long long offset) {
    unsigned long long end;
    if (!open_ || !storedSize(end))
        return false;
    end = size();
    const auto distance = static_cast<unsigned long long>(offset);
    return (offset < 0 ? 0 - distance <= end : distance <= ~end) && setPos(end + distance);
}

unsigned long FileKind::getCurLine() {
    if (open_ && moved && (!writing || drain()))
        syncLine();
    return curLine;
}

void FileKind::leaveLine() {
    if (moved || !canRead())
        return;
    moved = true;
    linePos = getPos();
}

void FileKind::skipTo(unsigned int offset) {
    curLine += static_cast<unsigned long>(std::count(buffer.get() + next, buffer.get() + offset, '\n'));
    next = offset;
}

/// Makes room behind what has not been read yet and reads on; false if nothing came.
bool FileKind::fill() {
    const unsigned int rest = filled - next;
    std::memmove(buffer.get(), buffer.get() + next, rest);
    blockPos += next;
    next = 0;
    filled = rest + take(buffer.get() + rest, BlockSize - rest, blockPos + rest);
    return filled > rest;
}

/// Whether there is a byte to read; if not, the end is reached.
bool FileKind::more() {
    if (next < filled || (!ended && fill()))
        return true;
    ended = true;
    return false;
}

bool FileKind::turnToReading() {
    if (!canRead())
        return false;
    if (writing) {
        if (!drain())
            return false;
        writing = false;
    }
    if (moved)
        syncLine();
    prevLine = curLine;
    return true;
}

bool FileKind::read(char& character) {
    if (!beginRead())
        return false;
    char byte;
    do {
        if (!more())
            return false;
        byte = buffer[next++];
    } while (byte == '\r' && FileOps::IgnoreCR);
    curLine += byte == '\n';
    character = byte;
    return true;
}

bool FileKind::read(std::string& text, unsigned int count) {
    text.clear();
    if (!beginRead())
        return false;
    while (text.size() < count && more()) {
        const std::size_t old = text.size();
        const unsigned int taken = std::min(filled - next, count - static_cast<unsigned int>(old));
        text.append(buffer.get() + next, taken);
        skipTo(next + taken);
        if (FileOps::IgnoreCR)
            text.erase(std::remove(text.begin() + static_cast<std::ptrdiff_t>(old), text.end(), '\r'),
                       text.end());
    }
    return count == 0 || !text.empty();
}

bool FileKind::readUntil(std::string& text, char delimiter) {
    text.clear();
    if (!beginRead() || ended)
        return false;
    const bool findable = delimiter != '\r' || !FileOps::IgnoreCR;
    bool found = false;
    while (!found && more()) {
        const char* const start = buffer.get() + next;
        const void* const place = findable ? std::memchr(start, delimiter, filled - next) : nullptr;
        found = place;
        const auto length =
            found ? static_cast<unsigned int>(static_cast<const char*>(place) - start) : filled - next;
        text.append(start, length);
        if (delimiter == '\n')
            next += length;
        else
            skipTo(next + length);
        next += found;
    }
    if (found && delimiter == '\n')
        ++curLine;
    if (FileOps::IgnoreCR)
        std::erase(text, '\r');
    return found || deliversRest(text.empty());
}

bool FileKind::nextWide(wchar_t& character) {
    const auto have = [this](unsigned int count) {
        while (filled - next < count) {
            if (ended || !fill())
                return false;
        }
        return true;
    };
    do {
        if (!have(2)) {
            ended = true;
            return false;
        }
        FileOps::fromUTF16LE({buffer.get() + next, 2}, character);
        unsigned int used = 2;
        if (character >= 0xD800 && character < 0xDC00 && have(4))
            used = FileOps::fromUTF16LE({buffer.get() + next, 4}, character);
        next += used;
    } while (character == L'\r' && FileOps::IgnoreCR);
    curLine += character == L'\n';
    return true;
}

bool FileKind::read(wchar_t& character) {
    return beginRead() && nextWide(character);
}

bool FileKind::read(std::wstring& text, unsigned int count) {
    text.clear();
    if (!beginRead())
        return false;
    for (wchar_t character; text.size() < count && nextWide(character);)
        text += character;
    return count == 0 || !text.empty();
}

bool FileKind::readUntil(std::wstring& text, wchar_t delimiter) {
    text.clear();
    if (!beginRead() || ended)
        return false;
    for (wchar_t character; nextWide(character);) {
        if (character == delimiter)
            return true;
        text += character;
    }
    return deliversRest(text.empty());
}

bool FileKind::turnToWriting() {
    if (!canWrite())
        return false;
    if (!writing) {
        if (moved)
            syncLine();
        leaveLine();
        const unsigned long long position = mode == CreateAppend ? size() : getPos();
        linePos = std::min(linePos, position);  // a read position behind the end has the lines of the end
        if (!place(position))
            return false;
        restart(position);
        writing = true;
    }
    leaveLine();
    return true;
}

bool FileKind::drain() {
    const unsigned int count = next;
    blockPos += count;
    next = 0;
    if (count == 0 || put(buffer.get(), count))
        return true;
    lost = writeThrough = true;
    return false;
}

bool FileKind::writeBytes(std::string_view bytes) {
    if (!beginWrite())
        return false;
    while (!bytes.empty()) {
        const std::size_t taken = bytes.copy(buffer.get() + next, BlockSize - next);
        next += static_cast<unsigned int>(taken);
        bytes.remove_prefix(taken);
        if (next == BlockSize && !drain())
            return false;
    }
    return !writeThrough || flush();
}

bool FileKind::write(wchar_t character) {
    std::string bytes;
    return FileOps::toUTF16LE(character, bytes) && writeBytes(bytes);
}

bool FileKind::write(const std::wstring& text) {
    std::string bytes;
    bool all = true;
    for (auto character = text.begin(); all && character != text.end(); ++character)
        all = FileOps::toUTF16LE(*character, bytes);
    return writeBytes(bytes) && all;
}

bool FileKind::flush() {
    if (!open_)
        return false;
    if (!writing)
        return true;
    writeThrough = !drain() || !sync();
    lost = lost || writeThrough;
    return !writeThrough;
}

}  // namespace MovrikCorelib
