#include "ThreadRunner.h"

#include <unistd.h>

#include <algorithm>
#include <new>

namespace MovrikCorelib {

namespace {

constexpr useconds_t WaitPoll = 10'000;
constexpr useconds_t StoppingGrace = 50'000;

unsigned int countPolls(unsigned long long timeout) {
    return static_cast<unsigned int>(timeout / 10 + (timeout % 10 != 0 ? 1 : 0));
}

bool isUndefined(const Thread& thread) {
    return thread.state == Thread::ThreadUndefined;
}
bool isLive(const Thread& thread) {
    return thread.isLive();
}
bool isStartable(const Thread& thread) {
    return !isUndefined(thread) && !isLive(thread);
}
bool isRunning(const Thread& thread) {
    return thread.state == Thread::ThreadRunning;
}
bool isSuspended(const Thread& thread) {
    return thread.state == Thread::ThreadSuspended;
}

[[noreturn]] void throwTimeout(SourcePosition position = SourcePosition::here()) {
    throwFailure<ThreadRunner::Wait_Timeout>(
        "@thread-runner.wait.timeout{Timeout while waiting for thread(s) to end};", ParamStream(), position);
}

}  // namespace

ThreadRunner::~ThreadRunner() {
    try {
        sendAllToGarbage(true);
        deleteGarbage();
    } catch (const Exception&) {
    }
}

unsigned int ThreadRunner::createThread(const std::string& name, void* (*function)(void*),
                                        const std::vector<Thread::ThreadParam*>& parameters) {
    if (std::ranges::find(parameters, nullptr) != parameters.end())
        throwFailure<CreateThread_NullParameter>(
            "@thread-runner.create-thread.null-parameter{One or more of the parameters was NULL};");
    std::unique_ptr<Thread> thread(new (std::nothrow) Thread(name, function, parameters));
    if (!thread)
        throwFailure<CreateThread_OutOfMemory>("@out-of-memory{Out of memory};");
    thread->owner = this;
    const unsigned int id = ++IdCounter;
    const ThreadLockHolder held(lock);
    threads[id] = std::move(thread);
    return id;
}

bool ThreadRunner::haveThread(unsigned int id) const {
    const ThreadLockHolder held(lock);
    return threads.contains(id);
}

Thread* ThreadRunner::findThread(unsigned int id) {
    const auto found = threads.find(id);
    if (found == threads.end())
        throwFailure<Thread_NotFound>(
            "@thread.not-found{Trying to access thread %, but that thread does not exist};", ParamStream()
                                                                                                 << id);
    return found->second.get();
}

template <class Failure>
void ThreadRunner::onThread(unsigned int id, void (Thread::*operation)(), SourcePosition position) {
    try {
        const ThreadLockHolder held(lock);
        (findThread(id)->*operation)();
    } catch (const Exception& e) {
        throwWrapped<Failure>(e, position);
    }
}

void ThreadRunner::startThread(unsigned int id) {
    onThread<Start_FailedToStart>(id, &Thread::start);
}
void ThreadRunner::suspendThread(unsigned int id) {
    onThread<Suspend_FailedToSuspend>(id, &Thread::suspend);
}
void ThreadRunner::resumeThread(unsigned int id) {
    onThread<Resume_FailedToResume>(id, &Thread::resume);
}
void ThreadRunner::stopThread(unsigned int id) {
    onThread<Stop_FailedToStop>(id, &Thread::stop);
}
void ThreadRunner::killThread(unsigned int id) {
    onThread<Kill_FailedToKill>(id, &Thread::kill);
}

template <class Failure>
void ThreadRunner::onAllThreads(bool (*eligible)(const Thread&), void (Thread::*operation)()) {
    Failure failures{Exception()};
    {
        const ThreadLockHolder held(lock);
        for (const auto& [id, thread] : threads) {
            if (!eligible(*thread))
                continue;
            try {
                (thread.get()->*operation)();
            } catch (const Exception& e) {
                failures.contained.push_back(e);
            }
        }
    }
    if (!failures.contained.empty())
        throw failures;
}

void ThreadRunner::startAllThreads() {
    onAllThreads<Start_FailedToStart>(isStartable, &Thread::start);
}
void ThreadRunner::suspendAllThreads() {
    onAllThreads<Suspend_FailedToSuspend>(isRunning, &Thread::suspend);
}
void ThreadRunner::resumeAllThreads() {
    onAllThreads<Suspend_FailedToSuspend>(isSuspended, &Thread::resume);
}
void ThreadRunner::stopAllThreads() {
    onAllThreads<Stop_FailedToStop>(isLive, &Thread::stop);
}
void ThreadRunner::killAllThreads() {
    onAllThreads<Kill_FailedToKill>(isLive, &Thread::kill);
}

void ThreadRunner::sendToGarbage(unsigned int id, bool killNow) {
    try {
        const ThreadLockHolder held(lock);
        findThread(id)->makeUndefined(killNow);
    } catch (const Thread::Thread_Undefined& e) {
        throwWrapped<SendToGarbage_AlreadyGarbage>(e);
    } catch (const Exception& e) {
        Exception copy = e;
        copy.locations.push_back(sourceTag());
        throw copy;
    }
}

void ThreadRunner::sendAllToGarbage(bool killNow) {
    const ThreadLockHolder held(lock);
    bool graceGiven = false;
    for (const auto& [id, thread] : threads) {
        if (isUndefined(*thread))
            continue;
        if (thread->state == Thread::ThreadStopping && !graceGiven) {
            usleep(StoppingGrace);
            graceGiven = true;
        }
        try {
            thread->makeUndefined(killNow);
        } catch (const Exception&) {
        }
    }
}

void ThreadRunner::deleteGarbage() {
    const ThreadLockHolder held(lock);
    std::erase_if(threads, [](const auto& entry) { return isUndefined(*entry.second); });
}

void ThreadRunner::waitForThreadToEnd(unsigned int id, unsigned long long timeout) {
    const ThreadLockHolder held(lock);
    const Thread* thread = findThread(id);
    for (unsigned int polls = countPolls(timeout); polls > 0 && thread->isLive(); --polls)
        usleep(WaitPoll);
    // Also when the thread has ended: callers catch this and look at the state.
    throwTimeout();
}

void ThreadRunner::waitForAllThreadsToEnd(unsigned long long timeout) {
    const ThreadLockHolder held(lock);
    // Ended threads count until the first poll, so a wait of 0 fails if there is any.
    auto alive = static_cast<std::ptrdiff_t>(threads.size());
    for (unsigned int polls = countPolls(timeout); polls > 0 && alive != 0; --polls) {
        alive = std::ranges::count_if(threads, [](const auto& entry) { return isLive(*entry.second); });
        usleep(WaitPoll);
    }
    if (alive != 0)
        throwTimeout();
}

}  // namespace MovrikCorelib
