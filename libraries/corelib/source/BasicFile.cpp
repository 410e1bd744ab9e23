#include "BasicFile.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <array>
#include <limits>

namespace MovrikCorelib {

BasicFile::~BasicFile() {
    close();
}

bool BasicFile::openAs(Mode wanted) {
    switch (wanted) {
        case In:
            stream = FileOps::openFIn(name);
            break;
        case Out:
            stream = FileOps::openFOut(name);
            break;
        case Append:
            stream = FileOps::openFAppend(name);
            break;
        default:
            stream = FileOps::openFIO(name, wanted == Create, wanted == CreateAppend);
    }
    if (!stream)
        return false;
    // Whole blocks come and go here.
    setvbuf(stream.get(), nullptr, _IONBF, 0);
    stream.get_deleter().buffer.reset();
    if (wanted == Append)
        storedSize(blockPos);
    return true;
}

bool BasicFile::closeStream() {
    return FileOps::closeF(stream);
}

unsigned int BasicFile::take(char* bytes, unsigned int count, unsigned long long) {
    return static_cast<unsigned int>(FileOps::readFBlock(stream.get(), bytes, count));
}

bool BasicFile::put(const char* bytes, unsigned int count) {
    return FileOps::writeFStr(stream.get(), {bytes, count});
}

bool BasicFile::sync() {
    return fflush(stream.get()) == 0;
}

bool BasicFile::storedSize(unsigned long long& bytes) const {
    struct stat64 status;
    if (fstat64(fileno(stream.get()), &status) != 0)
        return false;
    bytes = static_cast<unsigned long long>(std::max<off64_t>(status.st_size, 0));
    return true;
}

bool BasicFile::place(unsigned long long position) {
    return position <= static_cast<unsigned long long>(std::numeric_limits<off_t>::max()) &&
           fseeko(stream.get(), static_cast<off_t>(position), SEEK_SET) == 0;
}

bool BasicFile::moveOut(unsigned long long position) {
    if (!place(position))
        return false;
    leaveLine();
    restart(position);
    return true;
}

/// Line feeds from one position up to another or the end of the file.
unsigned long BasicFile::countLines(unsigned long long from, unsigned long long to) {
    unsigned long lines = 0;
    std::array<char, 16384> block;
    if (!place(from))
        return 0;
    for (std::size_t got = 1; from < to && got > 0; from += got) {
        const auto wanted = std::min<unsigned long long>(to - from, block.size());
        got = FileOps::readFBlock(stream.get(), block.data(), wanted);
        lines += static_cast<unsigned long>(std::count(block.data(), block.data() + got, '\n'));
    }
    return lines;
}

void BasicFile::syncLine() {
    const unsigned long long position = getPos();
    moved = false;
    if (position < linePos - std::min(linePos, position))
        curLine = 1 + countLines(0, position);
    else if (position < linePos)
        curLine -= std::min(curLine - 1, countLines(position, linePos));
    else if (position > linePos)
        curLine += countLines(linePos, position);
    place(position);
}

}  // namespace MovrikCorelib
