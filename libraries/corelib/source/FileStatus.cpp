#include "FileStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <limits>

#include "FileOps.h"
#include "FileText.h"
#include "PathForm.h"

namespace MovrikCorelib {

namespace {

constexpr long long EpochSeconds = 2209075200;  // from the origin of DateTime to that of the system
constexpr long long LastSecond = std::numeric_limits<long long>::max() / 1000 - EpochSeconds - 1;
constexpr unsigned int StatusBits = 07777;

template <class String>
bool follow(const String& path, struct stat64& status) {
    return stat64(SystemPath(path), &status) == 0;
}

template <class String>
bool look(const String& path, struct stat64& status) {
    return lstat64(SystemPath(path), &status) == 0;
}

DateTime fromSystem(long long seconds, long nanoseconds) {
    if (seconds < -EpochSeconds || seconds > LastSecond)
        return DateTime();
    return DateTime(static_cast<unsigned long long>((seconds + EpochSeconds) * 1000 + nanoseconds / 1000000));
}

DateTime fromSystem(const timespec& time) {
    return fromSystem(time.tv_sec, time.tv_nsec);
}

bool toSystem(const DateTime& time, timespec& result) {
    const unsigned long long count = time.time();
    if (count == 0 || count > static_cast<unsigned long long>(std::numeric_limits<long long>::max()))
        return false;
    result.tv_sec = static_cast<time_t>(count / 1000) - EpochSeconds;
    result.tv_nsec = static_cast<long>(count % 1000) * 1000000;
    return true;
}

constexpr timespec Omitted{0, UTIME_OMIT};

unsigned int bitsOf(FileRights::FileAccessEntity who, unsigned int rights) {
    rights &= 7;
    switch (who) {
        case FileRights::AccessOwner:
            return rights << 6;
        case FileRights::AccessGroup:
            return rights << 3;
        case FileRights::AccessOthers:
            return rights;
        case FileRights::AccessAll:
            break;
    }
    return rights << 6 | rights << 3 | rights;
}

}  // namespace

template <class Char>
bool FileStatus<Char>::isFile(const String& path) {
    struct stat64 status;
    return look(path, status) && !S_ISDIR(status.st_mode);
}

template <class Char>
bool FileStatus<Char>::isDir(String path) {
    PathForm<Char>::correctSeparation(path);
    if (path.size() > 1 && path.back() == '/')
        path.pop_back();
    struct stat64 status;
    return follow(path, status) && S_ISDIR(status.st_mode);
}

template <class Char>
bool FileStatus<Char>::isLink(const String& path) {
    struct stat64 status;
    return look(path, status) && S_ISLNK(status.st_mode);
}

template <class Char>
bool FileStatus<Char>::exists(const String& path) {
    struct stat64 status;
    return look(path, status);
}

template <class Char>
unsigned long long FileStatus<Char>::size(const String& path) {
    struct stat64 status;
    return follow(path, status) && status.st_size > 0 ? static_cast<unsigned long long>(status.st_size) : 0;
}

template <class Char>
bool FileStatus<Char>::checkStatus(const String& path, unsigned int bits) {
    struct stat64 status;
    return follow(path, status) && (status.st_mode & StatusBits & bits) == bits;
}

template <class Char>
bool FileStatus<Char>::isAllowed(const String& path, FileRights::FileAccessEntity who, unsigned int rights) {
    return checkStatus(path, bitsOf(who, rights));
}

template <class Char>
unsigned long long FileStatus<Char>::freeSpace(const String& path) {
    struct statvfs64 system;
    if (statvfs64(SystemPath(path), &system) != 0)
        return 0;
    return static_cast<unsigned long long>(system.f_bavail) * system.f_frsize;
}

template <class Char>
DateTime FileStatus<Char>::firstCreated(const String& path) {
    struct statx status;
    if (statx(AT_FDCWD, SystemPath(path), 0, STATX_BTIME | STATX_CTIME, &status) != 0)
        return DateTime();
    const statx_timestamp& time = status.stx_mask & STATX_BTIME ? status.stx_btime : status.stx_ctime;
    return fromSystem(time.tv_sec, static_cast<long>(time.tv_nsec));
}

template <class Char>
DateTime FileStatus<Char>::lastAccessed(const String& path) {
    struct stat64 status;
    return follow(path, status) ? fromSystem(status.st_atim) : DateTime();
}

template <class Char>
DateTime FileStatus<Char>::lastModified(const String& path) {
    struct stat64 status;
    return follow(path, status) ? fromSystem(status.st_mtim) : DateTime();
}

template <class Char>
bool FileStatus<Char>::setFirstCreated(const String& path, const DateTime& time) {
    return time.time() != 0 && firstCreated(path).time() == time.time();
}

template <class Char>
bool FileStatus<Char>::setLastAccessed(const String& path, const DateTime& time) {
    timespec times[] = {{}, Omitted};
    return toSystem(time, times[0]) && utimensat(AT_FDCWD, SystemPath(path), times, 0) == 0;
}

template <class Char>
bool FileStatus<Char>::setLastModified(const String& path, const DateTime& time) {
    timespec times[] = {Omitted, {}};
    return toSystem(time, times[1]) && utimensat(AT_FDCWD, SystemPath(path), times, 0) == 0;
}

template <class Char>
bool FileStatus<Char>::setPermissions(const String& path, FileRights::FileAccessEntity who,
                                      unsigned int rights, bool allow) {
    struct stat64 status;
    if (!follow(path, status))
        return false;
    const unsigned int bits = bitsOf(who, rights);
    return setStatus(path, allow ? status.st_mode | bits : status.st_mode & ~bits);
}

template <class Char>
bool FileStatus<Char>::setStatus(const String& path, unsigned int bits) {
    return chmod(SystemPath(path), bits & StatusBits) == 0;
}

template <class Char>
bool FileStatus<Char>::createLink(const String& target, const String& link) {
    return symlink(SystemPath(target), SystemPath(link)) == 0;
}

template <class Char>
bool FileStatus<Char>::createFile(const String& path, bool overwrite) {
    FileOps::Stream stream = FileOps::openFOut(systemText(path), !overwrite);
    return FileOps::closeF(stream);
}

template <class Char>
bool FileStatus<Char>::touch(const String& path) {
    if (utimensat(AT_FDCWD, SystemPath(path), nullptr, 0) == 0)
        return true;
    FileOps::Stream stream = FileOps::openFAppend(systemText(path));
    return FileOps::closeF(stream);
}

template <class Char>
typename FileStatus<Char>::String FileStatus<Char>::getCurrentDir() {
    char buffer[2048];
    return getcwd(buffer, sizeof buffer) ? textOf<Char>(buffer) : String();
}

template <class Char>
bool FileStatus<Char>::setCurrentDir(const String& path) {
    return chdir(SystemPath(path)) == 0;
}

template class FileStatus<char>;
template class FileStatus<wchar_t>;

}  // namespace MovrikCorelib
