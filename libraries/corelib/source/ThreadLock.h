#pragma once

#include <pthread.h>

#include <atomic>

namespace MovrikCorelib {

/// A recursive lock. It needs no set-up call: it is ready as a member, and a file-static one is ready before
/// the constructors of its source have run. Nothing here throws; every failure is a false result.
///
/// Each step is traced at level 8 ("flood") through the bus. A lock taken on the way of such a line writes no
/// line itself.
class ThreadLock {
public:
    /// Locks of the log road itself are `Untraced`: a line about them would be delivered with them held.
    enum Tracing { Traced, Untraced };

    constexpr explicit ThreadLock(Tracing tracing = Traced) noexcept : traced(tracing == Traced) {}

    /// Releases the lock entirely if the calling thread holds it; does nothing to another thread's.
    virtual ~ThreadLock();

    ThreadLock(const ThreadLock&) = delete;
    ThreadLock& operator=(const ThreadLock&) = delete;

    /// True if the caller now holds the lock, one level deeper than before. Waits only if `blocking`.
    bool lock(bool blocking);

    /// Tries every 10 milliseconds, `milliseconds` / 10 + 1 times, and sleeps after each failure. A value
    /// above the range of a signed int counts as negative: it is refused, but from -9 up tried once.
    bool lock(unsigned int milliseconds);

    /// True if one level was released. False, and nothing changes, if the caller does not hold the lock.
    bool unlock();

private:
    void makeMutex();

    std::atomic<bool> initialised = false;  ///< true once the mutex exists
    std::atomic<pthread_t> owner = 0;       ///< thread that holds the lock, 0 when free
    unsigned int level = 0;                 ///< how many times `owner` has locked it
    pthread_mutex_t mutex = {};
    pthread_mutexattr_t mutexAttr = {};
    bool traced;
};

/// Holds a lock from construction to the end of the scope.
class ThreadLockHolder {
public:
    explicit ThreadLockHolder(ThreadLock& held) : held_(held) { held_.lock(true); }
    ~ThreadLockHolder() { held_.unlock(); }
    ThreadLockHolder(const ThreadLockHolder&) = delete;
    ThreadLockHolder& operator=(const ThreadLockHolder&) = delete;

private:
    ThreadLock& held_;
};

}  // namespace MovrikCorelib
