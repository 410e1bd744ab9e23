#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Exception.h"
#include "Thread.h"
#include "ThreadLock.h"
#include "Throws.h"

namespace MovrikCorelib {

/// Makes, drives and owns threads, under ids that count from 1 through the whole process. A class that needs
/// threads derives from it. Operations may be called on any thread, also from a body.
///
/// Operations on one thread throw their failure with the thread's failure, or `Thread_NotFound`, in it.
/// Operations on all threads go through all of them in order of id and collect the failures in the one they
/// throw at the end.
class ThreadRunner : public Throws {
public:
    MOVRIK_FAILURE(CreateThread_NullParameter);
    MOVRIK_FAILURE(CreateThread_OutOfMemory);
    MOVRIK_FAILURE(Thread_NotFound);
    MOVRIK_FAILURE(SendToGarbage_AlreadyGarbage);
    MOVRIK_FAILURE(Start_FailedToStart);
    MOVRIK_FAILURE(Suspend_FailedToSuspend);
    MOVRIK_FAILURE(Resume_FailedToResume);
    MOVRIK_FAILURE(Stop_FailedToStop);
    MOVRIK_FAILURE(Kill_FailedToKill);
    MOVRIK_FAILURE(Wait_Timeout);

    ThreadRunner() = default;
    /// Kills and deletes what is left.
    ~ThreadRunner() override;
    ThreadRunner(const ThreadRunner&) = delete;
    ThreadRunner& operator=(const ThreadRunner&) = delete;

    /// Makes a thread, not started, whose `owner` is this runner, and returns its id. The parameters are
    /// handed over; after a failure they are still the caller's.
    unsigned int createThread(const std::string& name, void* (*function)(void*),
                              const std::vector<Thread::ThreadParam*>& parameters);

    bool haveThread(unsigned int id) const;
    /// Takes no lock: the caller makes sure that the thread is not deleted meanwhile. Throws
    /// `Thread_NotFound`.
    Thread* findThread(unsigned int id);

    void startThread(unsigned int id);
    void suspendThread(unsigned int id);
    void resumeThread(unsigned int id);
    void stopThread(unsigned int id);
    void killThread(unsigned int id);

    void startAllThreads();
    void suspendAllThreads();
    /// Throws `Suspend_FailedToSuspend`: callers in the field catch that one.
    void resumeAllThreads();
    void stopAllThreads();
    void killAllThreads();

    /// Marks a thread for `deleteGarbage`; a live one that is not killed counts only when its body has ended.
    /// Throws `SendToGarbage_AlreadyGarbage`, and any other failure as a plain `Exception` that bears its
    /// name.
    void sendToGarbage(unsigned int id, bool killNow);
    /// Drops failures of single threads.
    void sendAllToGarbage(bool killNow);
    /// Deletes the undefined threads.
    void deleteGarbage();

    /// Polls every 10 milliseconds for `timeout` milliseconds, with the runner locked. Always ends in
    /// `Wait_Timeout`, also if the thread ended in time: look at the thread's state. Throws
    /// `Thread_NotFound`.
    void waitForThreadToEnd(unsigned int id, unsigned long long timeout);
    /// The same for all; returns as soon as no thread is live. With a `timeout` of 0 it throws at once if
    /// any thread, even an ended one, is registered.
    void waitForAllThreadsToEnd(unsigned long long timeout);

    static inline std::atomic<unsigned int> IdCounter = 0;  ///< the id given last

private:
    template <class Failure>
    void onThread(unsigned int id, void (Thread::*operation)(),
                  SourcePosition position = SourcePosition::here());
    template <class Failure>
    void onAllThreads(bool (*eligible)(const Thread&), void (Thread::*operation)());

    std::map<unsigned int, std::unique_ptr<Thread>> threads;
    mutable ThreadLock lock;
};

}  // namespace MovrikCorelib
