#include "ThreadLock.h"

#include <unistd.h>

#include <exception>

#include "Exception.h"
#include "Logger.h"

namespace MovrikCorelib {

namespace {

constinit std::atomic<StaticLogger*> current = nullptr;
StaticLogger logger(current);

/// This thread is writing a line about a lock: the locks that the line needs stay silent.
constinit thread_local bool onLogRoad = false;

pthread_mutex_t firstUse = PTHREAD_MUTEX_INITIALIZER;

template <class... Values>
void traceLock(bool traced, const char* text, const Values&... values) {
    if (!traced || Logger::MainLevel < 8 || onLogRoad)
        return;
    const Logger* alive = current.load();
    if (!alive || !alive->isOn(8))
        return;
    struct Road {
        Road() { onLogRoad = true; }
        ~Road() { onLogRoad = false; }
    } road;
    // A lock never throws: what keeps a receiver from taking the line is dropped.
    try {
        ParamStream parameters;
        static_cast<void>((parameters << ... << values));
        alive->flood(text, parameters);
    } catch (const Exception&) {
    } catch (const std::exception&) {
    }
}

unsigned long long addressOf(const ThreadLock* lock) {
    return reinterpret_cast<unsigned long long>(lock);
}

unsigned long long number(pthread_t thread) {
    return thread;
}

}  // namespace

ThreadLock::~ThreadLock() {
    const pthread_t holder = owner.load(std::memory_order_relaxed);
    if (holder == pthread_self())
        level = 1;
    if (holder != 0)
        unlock();
}

void ThreadLock::makeMutex() {
    pthread_mutex_lock(&firstUse);
    if (!initialised.load(std::memory_order_relaxed)) {
        pthread_mutexattr_init(&mutexAttr);
        pthread_mutex_init(&mutex, &mutexAttr);
        initialised.store(true, std::memory_order_release);
    }
    pthread_mutex_unlock(&firstUse);
}

bool ThreadLock::lock(bool blocking) {
    traceLock(traced, "ThreadLock::lock: Going to lock % (%)", addressOf(this),
              blocking ? "blocking" : "non-blocking");
    if (!initialised.load(std::memory_order_acquire))
        makeMutex();
    const pthread_t self = pthread_self();
    // Read without the mutex: only the holder ever finds its own id here.
    const pthread_t holder = owner.load(std::memory_order_relaxed);
    if (holder == self) {
        ++level;
        traceLock(traced, "ThreadLock::lock: Already locked");
        return true;
    }
    if (holder != 0 && !blocking) {
        traceLock(traced, "ThreadLock::lock: Failed to lock - lock belongs to thread %", number(holder));
        return false;
    }
    const bool locked = (blocking ? pthread_mutex_lock(&mutex) : pthread_mutex_trylock(&mutex)) == 0;
    if (locked) {
        owner.store(self, std::memory_order_relaxed);
        ++level;
    }
    // The line tells the end of the attempt, not its result.
    traceLock(traced, "ThreadLock::lock: Locked");
    return locked;
}

bool ThreadLock::lock(unsigned int milliseconds) {
    for (int attempts = static_cast<int>(milliseconds) / 10 + 1; attempts > 0; --attempts) {
        if (lock(false))
            return true;
        usleep(10'000);
    }
    return false;
}

bool ThreadLock::unlock() {
    traceLock(traced, "ThreadLock::unlock: Going to unlock %", addressOf(this));
    if (!initialised.load(std::memory_order_acquire))
        return false;
    if (const pthread_t holder = owner.load(std::memory_order_relaxed); holder != pthread_self()) {
        traceLock(traced, "ThreadLock::unlock: Cannot unlock - locked by other thread %", number(holder));
        return false;
    }
    if (--level != 0) {
        traceLock(traced, "ThreadLock::unlock: Nested locking (now at level % - actual unlock at zero)",
                  level);
        return true;
    }
    owner.store(0, std::memory_order_relaxed);
    if (pthread_mutex_unlock(&mutex) != 0) {
        traceLock(traced, "ThreadLock::unlock: Failed to unlock");
        return false;
    }
    traceLock(traced, "ThreadLock::unlock: Unlocked");
    return true;
}

}  // namespace MovrikCorelib
