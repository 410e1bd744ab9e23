#include "Thread.h"

#include <errno.h>
#include <unistd.h>

#include "DateTime.h"

namespace MovrikCorelib {

namespace {

constexpr useconds_t StopSignalPause = 2'000;
constexpr useconds_t EndPoll = 10'000;
constexpr int EndPolls = 50;

void traceName(const Logger& logger, const char* text, const std::string& name) {
    if (logger.isOn(7))
        logger.trace(text, ParamStream() << name);
}

}  // namespace

Thread::Thread() : Thread("", nullptr, {}) {}

Thread::Thread(const std::string& threadName, void* (*body)(void*), const std::vector<ThreadParam*>& values)
    : name(threadName), function(body), parameters(values), state(body ? ThreadDefined : ThreadUndefined) {
    logger.nameIfAnonymous("Thread");
}

Thread::Thread(unsigned long) : Thread() {
    throw Thread_NotSupportedOnThisPlatform(Exception());
}

Thread::~Thread() {
    try {
        if (owned && isLive()) {
            if (state != ThreadStopping) {
                stop();
                for (int polls = EndPolls; polls > 0 && isLive(); --polls)
                    usleep(EndPoll);
            }
            if (isLive())
                kill();
        }
    } catch (const Exception&) {
    }
    for (ThreadParam* parameter : parameters)
        delete parameter;
}

std::vector<Thread::ThreadParam*> Thread::makeParameters() {
    return {};
}

std::vector<Thread::ThreadParam*> Thread::makeParameters(ThreadParam* p1) {
    return {p1};
}

std::vector<Thread::ThreadParam*> Thread::makeParameters(ThreadParam* p1, ThreadParam* p2) {
    return {p1, p2};
}

std::vector<Thread::ThreadParam*> Thread::makeParameters(ThreadParam* p1, ThreadParam* p2, ThreadParam* p3) {
    return {p1, p2, p3};
}

void Thread::start() {
    traceName(logger, "Thread::start: Going to start %", name);
    ensureValidThread();
    if (isLive())
        throwFailure<Start_AlreadyStarted>(
            "@thread.start.already-started{Trying to start thread \"%\" that is already started};",
            ParamStream() << name);
    const ThreadState before = state.exchange(ThreadDefined);
    ended = false;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    const int result = pthread_create(&handle, &attributes, function, this);
    pthread_attr_destroy(&attributes);
    if (result != 0) {
        state = before;
        errno = result;
        throwFailure<Start_FailedToStart>(
            "@thread.start.failed-to-start{Failed to start thread \"%\" (error=%)};", ParamStream()
                                                                                          << name << errno);
    }
    // A body that has ended already has the last word.
    ThreadState created = ThreadDefined;
    state.compare_exchange_strong(created, ThreadRunning);
    startTime = DateTime::getCurrentTime();
    lastUpdate = startTime.load();
    traceName(logger, "Thread::start: Started %", name);
}

void Thread::suspend() {
    traceName(logger, "Thread::suspend: Going to suspend %", name);
    ensureValidThread();
    if (state != ThreadRunning)
        throwFailure<Suspend_NotRunning>(
            "@thread.suspend.not-running{Trying to suspend \"%\", but the thread is not running};",
            ParamStream() << name);
    throwFailure<Exception>("NOT IMPLEMENTED YET");
}

void Thread::resume() {
    traceName(logger, "Thread::resume: Going to resume %", name);
    ensureValidThread();
    if (state != ThreadSuspended)
        throwFailure<Resume_NotSuspended>(
            "@thread.resume.not-suspended{Trying to resume \"%\", but the thread is not suspended};",
            ParamStream() << name);
    if (suspendCounter > 1) {
        --suspendCounter;
        if (logger.isOn(7))
            logger.trace(
                "Thread::resume: Suspend counter reduced to % - cannot do actual resume until it is zero",
                ParamStream() << suspendCounter);
        return;
    }
    suspendCounter = 0;
    throwFailure<Exception>("NOT IMPLEMENTED YET");
}

void Thread::stop() {
    traceName(logger, "Thread::stop: Going to signal thread % to stop", name);
    ensureValidThread();
    if (!isLive())
        throwFailure<Stop_NotStarted>(
            "@thread.stop.not-started{Trying to stop \"%\", but the thread has not been started};",
            ParamStream() << name);
    resumeFully<Stop_FailedToResume>();
    state = ThreadStopping;
    traceName(logger, "Thread::stop: Thread \"%\" has been signalled to stop", name);
}

void Thread::kill() {
    traceName(logger, "Thread::kill: Going to kill thread %", name);
    ensureValidThread();
    if (!isLive())
        throwFailure<Kill_NotStarted>(
            "@thread.kill.not-started{Trying to kill \"%\", but the thread has not been started};",
            ParamStream() << name);
    resumeFully<Kill_FailedToResume>();
    // The handle of a detached thread is void once its body has ended.
    if (!ended)
        if (const int result = pthread_cancel(handle); result != 0)
            throwFailure<Kill_FailedToKill>(
                "@thread.kill.failed-to-kill{Failed to kill thread \"%\" (error=%)};", ParamStream()
                                                                                           << name << result);
    handle = 0;
    state = undefineWhenEnded ? ThreadUndefined : ThreadKilled;
    // No blank behind the quote; tools in the field look for the line as it is.
    traceName(logger, "Thread::kill: Thread \"%\"has been killed", name);
}

void Thread::update() {
    // The same words as in `stop`; tools in the field look for them.
    traceName(logger, "Thread::stop: Going to signal thread % to stop", name);
    ensureValidThread();
    if (state != ThreadRunning)
        throwFailure<Update_NotRunning>(
            "@thread.update.not-running{Trying to update \"%\", but the thread is not running};",
            ParamStream() << name);
    lastUpdate = DateTime::getCurrentTime();
}

void Thread::makeUndefined(bool killNow) {
    ensureValidThread();
    if (isLive() && !killNow) {
        undefineWhenEnded = true;
        return;
    }
    if (isLive()) {
        try {
            kill();
        } catch (const Exception& e) {
            throwWrapped<MakeUndefined_KillError>(e);
        }
    }
    state = ThreadUndefined;
}

void Thread::ensureValidThread() const {
    if (state == ThreadUndefined)
        throwUntagged<Thread_Undefined>("@thread.undefined{Thread is not defined};");
}

bool Thread::isReallySuspended() const {
    ensureValidThread();
    return false;
}

Thread::ThreadParam* Thread::getParameter(unsigned int index) const {
    if (index >= parameters.size())
        throwFailure<GetParameter_IndexOutOfBounds>(
            "@thread.get-parameter.index-out-of-bounds{Trying to access a parameter %i which does not "
            "exist};",
            ParamStream() << index);
    return parameters[index];
}

bool Thread::shouldStop() {
    usleep(StopSignalPause);
    if (state != ThreadStopping)
        return false;
    logger.trace("Thread::shouldStop: Got stop signal");
    return true;
}

bool Thread::shouldCurrentThreadStop() {
    return false;
}

unsigned long long Thread::getCurrentThreadStartTime() {
    return 0;
}

bool Thread::isLive() const {
    const ThreadState now = state;
    return now == ThreadRunning || now == ThreadSuspended || now == ThreadStopping;
}

template <class Failure>
void Thread::resumeFully(SourcePosition position) {
    while (state == ThreadSuspended) {
        try {
            resume();
        } catch (const Exception& e) {
            throwWrapped<Failure>(e, position);
        }
    }
}

}  // namespace MovrikCorelib
