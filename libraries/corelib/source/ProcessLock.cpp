#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>

#include "ProcessTools.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr int OpenFlags = O_WRONLY | O_CREAT;
constexpr mode_t FileMode = 0622;
constexpr useconds_t RetryPause = 10000;

/// A lock file as this process has it open, shared by all `Lock` objects of its name.
struct SharedFile {
    int fd = -1;
    int users = 0;    ///< objects that have it open
    int holders = 0;  ///< objects that hold the lock or are about to
    int pid = 0;      ///< process that `holders` counts for: a forked child has the descriptor, not the lock
};

// Never destroyed: locks may be released by the destructors of static objects.
std::map<std::string, SharedFile>& files() {
    static auto& table = *new std::map<std::string, SharedFile>;
    return table;
}

ThreadLock& filesLock() {
    static ThreadLock& lock = *new ThreadLock;
    return lock;
}

int openLockFile(const char* path) {
    int fd = open(path, OpenFlags | O_CLOEXEC | O_NOFOLLOW, FileMode);
    // Kernels may refuse to open another user's file in "/tmp" for creation, though it can be written.
    if (fd < 0 && errno == EACCES)
        fd = open(path, O_WRONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return -1;
    // The umask may have taken bits away. Another user's file that can be written is good enough.
    if (fchmod(fd, FileMode) != 0 && access(path, W_OK) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

/// Comes before the lock is asked for: an object that lets go meanwhile must not free the file then.
void addHolder(const std::string& path, int pid) {
    ThreadLockHolder held(filesLock());
    SharedFile& file = files()[path];
    if (file.pid != pid) {
        file.pid = pid;
        file.holders = 0;
    }
    ++file.holders;
}

/// Frees the file with its last holder; false if that failed.
bool removeHolder(const std::string& path) {
    ThreadLockHolder held(filesLock());
    SharedFile& file = files()[path];
    if (file.holders == 1 && lockf(file.fd, F_ULOCK, 1) != 0)
        return false;
    --file.holders;
    return true;
}

}  // namespace

ProcessTools::Lock::Lock(const std::string& lockName) : name(lockName) {}

ProcessTools::Lock::~Lock() {
    if (owner == getpid())
        removeHolder(name);
    assertFDescClosed();
}

bool ProcessTools::Lock::initialize() {
    if (name.empty())
        return false;
    if (initialized)
        return true;
    for (const char separator : {':', '/', '\\'})
        StringTools::substitute(name, separator, '_');
    name.insert(0, "/tmp/lock_");
    initialized = true;
    return true;
}

bool ProcessTools::Lock::assertFDescOpen() {
    if (fdOpen)
        return true;
    ThreadLockHolder held(filesLock());
    SharedFile& file = files()[name];
    if (file.users == 0)
        file.fd = openLockFile(name.c_str());
    if (file.fd < 0) {
        files().erase(name);
        return false;
    }
    ++file.users;
    fd = file.fd;
    fdOpen = true;
    return true;
}

void ProcessTools::Lock::assertFDescClosed() {
    if (!fdOpen)
        return;
    ThreadLockHolder held(filesLock());
    if (--files()[name].users == 0) {
        close(fd);
        files().erase(name);
    }
    fd = -1;
    fdOpen = false;
}

bool ProcessTools::Lock::reEnforce(int pid) {
    if (owner == 0 || owner != pid)
        return false;
    ++count;
    return true;
}

bool ProcessTools::Lock::unixLock(bool wait, int pid) {
    if (!assertFDescOpen())
        return false;
    addHolder(name, pid);
    int result = 0;
    do
        result = lockf(fd, wait ? F_LOCK : F_TLOCK, 1);
    while (wait && result != 0 && errno == EINTR);
    if (result != 0) {
        const int error = errno;
        removeHolder(name);
        errno = error;
        return false;
    }
    // What a parent process held when it forked does not count here.
    if (owner != pid)
        count = 0;
    owner = pid;
    ++count;
    return true;
}

bool ProcessTools::Lock::lock(bool wait) {
    const int pid = getpid();
    return initialize() && (reEnforce(pid) || unixLock(wait, pid));
}

bool ProcessTools::Lock::lock(unsigned int attempts) {
    for (; attempts > 0; --attempts) {
        if (lock(false))
            return true;
        usleep(RetryPause);
    }
    return false;
}

bool ProcessTools::Lock::unlock() {
    if (!initialized || owner != getpid())
        return false;
    if (--count > 0)
        return true;
    if (!removeHolder(name)) {
        ++count;
        return false;
    }
    assertFDescClosed();
    owner = 0;
    return true;
}

}  // namespace MovrikCorelib
