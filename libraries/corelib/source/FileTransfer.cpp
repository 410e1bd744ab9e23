#include "FileTransfer.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "FileOps.h"
#include "FileStatus.h"
#include "FileTree.h"

namespace MovrikCorelib {

namespace {

constexpr unsigned long DefaultBlock = 4096;
constexpr unsigned long LargestBlock = 16 * 1024 * 1024;
constexpr useconds_t RetryPause = 25000;

/// Bytes pass unchanged as long as one of these lives.
class WithCR {
public:
    WithCR() : before(std::exchange(FileOps::IgnoreCR, false)) {}
    WithCR(const WithCR&) = delete;
    WithCR& operator=(const WithCR&) = delete;
    ~WithCR() { FileOps::IgnoreCR = before; }

private:
    bool before;
};

template <class String>
bool areSame(const String& first, const String& second) {
    struct stat64 one;
    struct stat64 two;
    return stat64(SystemPath(first), &one) == 0 && stat64(SystemPath(second), &two) == 0 &&
           one.st_dev == two.st_dev && one.st_ino == two.st_ino;
}

/// Deletes a file that holds a part only; devices stay.
template <class String>
void dropPart(const String& path) {
    struct stat64 status;
    if (lstat64(SystemPath(path), &status) == 0 && S_ISREG(status.st_mode))
        unlink(SystemPath(path));
}

template <class String>
void copyAttributes(const String& source, const String& target) {
    struct stat64 status;
    if (stat64(SystemPath(source), &status) != 0)
        return;
    const timespec times[] = {status.st_atim, status.st_mtim};
    if (chmod(SystemPath(target), status.st_mode & 07777) == 0)
        utimensat(AT_FDCWD, SystemPath(target), times, 0);
}

}  // namespace

template <class Char>
bool FileTransfer<Char>::copyBytes(const String& source, const String& target) const {
    const WithCR guard;
    const unsigned long long all = FileStatus<Char>::size(source);
    const FileOps::Stream from = FileOps::openFIn(systemText(source));
    if (!from)
        return false;
    FileOps::Stream to = FileOps::openFOut(systemText(target), !overwrite);
    if (!to)
        return false;
    const unsigned long block = std::min(blockSize == 0 ? DefaultBlock : blockSize, LargestBlock);
    unsigned long long done = 0;
    bool good = true;
    for (std::string bytes; good && done < all;) {
        const auto wanted = static_cast<unsigned long>(std::min<unsigned long long>(block, all - done));
        good = FileOps::readFStr(from.get(), bytes, wanted) && bytes.size() == wanted &&
               FileOps::writeFStr(to.get(), bytes);
        if (good) {
            done += wanted;
            if (progress)
                progress(source, 0, done, all);
        }
    }
    good = FileOps::closeF(to) && good;
    if (!good)
        dropPart(target);
    return good;
}

template <class Char>
typename FileTransfer<Char>::Outcome FileTransfer<Char>::copy(const String& source,
                                                              const String& target) const {
    if (!FileStatus<Char>::isFile(source) || (!overwrite && FileStatus<Char>::exists(target)) ||
        areSame(source, target) || !copyBytes(source, target))
        return Failed;
    if (!verify || FileTree<Char>::compare(source, target))
        return Done;
    dropPart(target);
    return CheckFailed;
}

template <class Char>
typename FileTransfer<Char>::Outcome FileTransfer<Char>::move(const String& source,
                                                              const String& target) const {
    if (!FileStatus<Char>::isFile(source) || (!overwrite && FileStatus<Char>::exists(target)))
        return Failed;
    if (rename(source, target, overwrite))
        return Done;
    return errno == EXDEV ? moveAcross(source, target) : Failed;
}

template <class Char>
typename FileTransfer<Char>::Outcome FileTransfer<Char>::moveAcross(const String& source,
                                                                    const String& target) const {
    // An old target stays until the whole file lies beside it.
    const bool replaces = FileStatus<Char>::exists(target);
    const String place =
        replaces ? target + textOf<Char>(".moving-" + StringTools::toString(getpid())) : target;
    if (FileStatus<Char>::isLink(source)) {
        if (!copyLink(source, place))
            return Failed;
    } else {
        const Outcome outcome = FileTransfer(false, blockSize, verify, progress).copy(source, place);
        if (outcome != Done)
            return outcome;
        copyAttributes(source, place);
    }
    if (replaces && !rename(place, target, true)) {
        unlink(SystemPath(place));
        return Failed;
    }
    return remove(source, true) ? Done : Failed;
}

template <class Char>
bool FileTransfer<Char>::rename(const String& from, const String& to, bool replace) {
    if (!replace) {
        // Closes the gap between the caller's look at the target and the renaming, where the file system can.
        if (renameat2(AT_FDCWD, SystemPath(from), AT_FDCWD, SystemPath(to), RENAME_NOREPLACE) == 0)
            return true;
        if (errno != EINVAL && errno != ENOSYS)
            return false;
        if (FileStatus<Char>::exists(to)) {
            errno = EEXIST;
            return false;
        }
    }
    return ::rename(SystemPath(from), SystemPath(to)) == 0;
}

template <class Char>
bool FileTransfer<Char>::copyLink(const String& source, const String& target) {
    char text[4096];
    const ssize_t size = readlink(SystemPath(source), text, sizeof text);
    if (size <= 0 || size == static_cast<ssize_t>(sizeof text))
        return false;
    return symlink(std::string(text, static_cast<std::size_t>(size)).c_str(), SystemPath(target)) == 0;
}

template <class Char>
bool FileTransfer<Char>::remove(const String& path, bool force) {
    if (::remove(SystemPath(path)) == 0)
        return true;
    if (errno != EACCES || !force)
        return false;
    if (!FileStatus<Char>::isLink(path))
        FileStatus<Char>::setPermissions(path, FileRights::AccessOwner, FileRights::RightWrite);
    usleep(RetryPause);
    return ::remove(SystemPath(path)) == 0;
}

template class FileTransfer<char>;
template class FileTransfer<wchar_t>;

}  // namespace MovrikCorelib
