#include "ZFile.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <limits>

#include "FileOps.h"

namespace MovrikCorelib {

ZFile::~ZFile() {
    close();
}

bool ZFile::openAs(Mode wanted) {
    if (wanted != In && wanted != Out)
        return false;
    // Not by name: a pipe found under it would make zlib wait.
    const int opened = FileOps::openDescriptor(name, wanted == In ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC);
    if (opened < 0)
        return false;
    broken = false;
    bool usable;
    if (wanted == In) {
        descriptor = opened;
        usable = reopen();
    } else {
        handle = gzdopen(opened, "wb");
        usable = handle;
    }
    if (!usable) {
        ::close(opened);
        descriptor = -1;
    }
    return usable;
}

bool ZFile::closeStream() {
    const bool closed = handle && gzclose(handle) == Z_OK;
    handle = nullptr;
    if (descriptor < 0)
        return closed;
    ::close(descriptor);  // a file cut short closes with an error, too, but its reader has had all there is
    descriptor = -1;
    return true;
}

/// Starts to unpack at the head of the file again.
bool ZFile::reopen() {
    if (handle)
        gzclose(handle);
    handle = nullptr;
    lseek64(descriptor, 0, SEEK_SET);
    const int input = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (input >= 0)
        handle = gzdopen(input, "rb");
    if (input >= 0 && !handle)
        ::close(input);
    broken = !handle;
    return handle;
}

unsigned int ZFile::take(char* bytes, unsigned int count, unsigned long long position) {
    const int got = broken ? 0 : gzread(handle, bytes, count);
    if (got >= 0)
        return static_cast<unsigned int>(got);
    // Damage in a block hides what stands ahead of it there. Taken in single characters, it comes out as far
    // as zlib gets.
    unsigned int taken = 0;
    if (reopen() && gzseek64(handle, static_cast<z_off64_t>(position), SEEK_SET) >= 0) {
        for (int character; taken < count && (character = gzgetc(handle)) >= 0;)
            bytes[taken++] = static_cast<char>(character);
    }
    broken = taken < count;
    return taken;
}

bool ZFile::put(const char* bytes, unsigned int count) {
    broken = broken || gzwrite(handle, bytes, count) != static_cast<int>(count);
    return !broken;
}

bool ZFile::sync() {
    broken = broken || gzflush(handle, Z_SYNC_FLUSH) != Z_OK;
    return !broken;
}

bool ZFile::place(unsigned long long position) {
    return position <= static_cast<unsigned long long>(std::numeric_limits<z_off64_t>::max()) &&
           gzseek64(handle, static_cast<z_off64_t>(position), SEEK_SET) >= 0;
}

bool ZFile::moveOut(unsigned long long position) {
    if (position < blockPos) {
        restart(0);
        curLine = 1;
        reopen();
    }
    ended = false;
    while (position > blockPos + filled) {
        skipTo(filled);
        if (!fill()) {
            ended = true;
            return false;
        }
    }
    skipTo(static_cast<unsigned int>(position - blockPos));
    return handle;
}

}  // namespace MovrikCorelib
