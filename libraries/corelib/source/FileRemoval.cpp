#include "FileRemoval.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string_view>

#include "FileText.h"

namespace MovrikCorelib {

namespace {

constexpr unsigned int DeepestLevel = 2000;

/// Opens a directory that is none by link; with `force`, gives its owner all rights where that is refused.
int openDir(int parent, const char* name, bool force) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int dir = openat(parent, name, flags);
    if (dir >= 0 || errno != EACCES || !force)
        return dir;
    const int place = openat(parent, name, flags | O_PATH);
    if (place < 0)
        return -1;
    const std::string self = "/proc/self/fd/" + std::to_string(place);
    const bool changed = chmod(self.c_str(), S_IRWXU) == 0;
    close(place);
    return changed ? openat(parent, name, flags) : -1;
}

bool isDirectory(int parent, const dirent64& entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat64 status;
    return fstatat64(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

bool unlinkIn(int dir, const char* name, int flags, bool force) {
    if (unlinkat(dir, name, flags) == 0)
        return true;
    struct stat64 status;
    return errno == EACCES && force && fstat64(dir, &status) == 0 &&
           fchmod(dir, (status.st_mode & 07777) | S_IRWXU) == 0 && unlinkat(dir, name, flags) == 0;
}

/// `dir` is an open directory, which this closes.
bool clearBelow(int dir, const std::string& path, bool force, const FileRemoval::Emptied& emptied,
                unsigned int level) {
    const std::unique_ptr<DIR, int (*)(DIR*)> handle(fdopendir(dir), closedir);
    if (!handle) {
        close(dir);
        return false;
    }
    if (level >= DeepestLevel)
        return false;
    bool all = true;
    while (const dirent64* const entry = readdir64(handle.get())) {
        const char* const name = entry->d_name;
        if (name == std::string_view(".") || name == std::string_view(".."))
            continue;
        int flags = 0;
        if (isDirectory(dir, *entry)) {
            flags = AT_REMOVEDIR;
            const int inner = openDir(dir, name, force);
            if (inner >= 0)
                clearBelow(inner, path + "/" + name, force, emptied, level + 1);
        }
        all = unlinkIn(dir, name, flags, force) && all;
    }
    if (all && emptied)
        emptied(path);
    return all;
}

}  // namespace

bool FileRemoval::clear(const std::string& dir, bool force, const Emptied& emptied) {
    const int top = openDir(AT_FDCWD, SystemPath(dir), force);
    return top >= 0 && clearBelow(top, dir, force, emptied, 0);
}

}  // namespace MovrikCorelib
