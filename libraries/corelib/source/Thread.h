#pragma once

#include <pthread.h>

#include <atomic>
#include <string>
#include <vector>

#include "Exception.h"
#include "Logger.h"
#include "Throws.h"

namespace MovrikCorelib {

class ThreadRunner;

/// One POSIX thread, detached: nothing joins it, and only `state` shows its end.
///
/// A body tests `shouldStop` in its loop, and before it returns it sets `ended` and then `state`: to
/// `ThreadUndefined` if `undefineWhenEnded` is set, otherwise to `ThreadEnded`. It must touch the object no
/// more after that. A body that may be killed first makes its cancellation asynchronous and enables it.
/// It lets no exception out. It may run before `start` has returned.
///
/// There is no lock here: the last write to `state` wins. `ThreadRunner` serialises its calls.
class Thread : public Throws {
public:
    MOVRIK_FAILURE(Thread_Undefined);
    MOVRIK_FAILURE(Thread_NotSupportedOnThisPlatform);
    MOVRIK_FAILURE(GetParameter_IndexOutOfBounds);
    MOVRIK_FAILURE(Start_AlreadyStarted);
    MOVRIK_FAILURE(Start_FailedToStart);
    MOVRIK_FAILURE(Suspend_NotRunning);
    MOVRIK_FAILURE(Resume_NotSuspended);
    MOVRIK_FAILURE(Stop_NotStarted);
    MOVRIK_FAILURE(Stop_FailedToResume);
    MOVRIK_FAILURE(Kill_NotStarted);
    MOVRIK_FAILURE(Kill_FailedToResume);
    MOVRIK_FAILURE(Kill_FailedToKill);
    MOVRIK_FAILURE(Update_NotRunning);
    MOVRIK_FAILURE(MakeUndefined_KillError);

    enum ThreadState : int {
        ThreadUndefined = 0,  ///< no function: almost every operation throws
        ThreadDefined = 1,    ///< not started
        ThreadRunning = 2,
        ThreadSuspended = 3,
        ThreadStopping = 4,  ///< asked to stop, still alive
        ThreadKilled = 6,
        ThreadEnded = 7
    };

    /// Base of what is handed to a body.
    class ThreadParam {
    public:
        virtual ~ThreadParam() = default;
    };

    Thread();
    /// The parameters are deleted with the thread. A null `body` gives an undefined thread. The body gets
    /// this object as its argument.
    Thread(const std::string& threadName, void* (*body)(void*), const std::vector<ThreadParam*>& values);
    /// Existing threads cannot be wrapped: throws `Thread_NotSupportedOnThisPlatform`.
    explicit Thread(unsigned long id);
    /// Stops a live thread, waits up to half a second, and kills it if that was not enough.
    ~Thread() override;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    static std::vector<ThreadParam*> makeParameters();
    static std::vector<ThreadParam*> makeParameters(ThreadParam* p1);
    static std::vector<ThreadParam*> makeParameters(ThreadParam* p1, ThreadParam* p2);
    static std::vector<ThreadParam*> makeParameters(ThreadParam* p1, ThreadParam* p2, ThreadParam* p3);

    /// All of these throw `Thread_Undefined` in state 0.

    /// Also starts an ended or killed thread anew. Throws `Start_AlreadyStarted`, `Start_FailedToStart`.
    void start();
    /// Not available on this platform: throws `Suspend_NotRunning`, or a plain `Exception` when running.
    void suspend();
    /// Throws `Resume_NotSuspended`; nothing can be suspended on this platform.
    void resume();
    /// Makes `shouldStop` true; does not wait. Throws `Stop_NotStarted`.
    void stop();
    /// Cancels the thread, unless its body has ended. Throws `Kill_NotStarted`, `Kill_FailedToKill`.
    void kill();
    /// Called by the body: a sign of life. Throws `Update_NotRunning`, also once `stop` was called.
    void update();
    /// A live thread becomes undefined when its body ends, or, if `killNow`, at once.
    void makeUndefined(bool killNow);
    void ensureValidThread() const;
    /// Not available on this platform: no result to rely on.
    bool isReallySuspended() const;

    /// Throws `GetParameter_IndexOutOfBounds`.
    ThreadParam* getParameter(unsigned int index) const;

    /// Called by the body in its loop: sleeps 2 milliseconds, then tells whether `stop` was called.
    bool shouldStop();

    /// Not available on this platform: always false and 0.
    static bool shouldCurrentThreadStop();
    static unsigned long long getCurrentThreadStartTime();

    /// Running, suspended or stopping.
    bool isLive() const;

    bool owned = true;     ///< only an owned thread is ended by the destructor
    pthread_t handle = 0;  ///< 0 when there is none
    std::string name;
    Logger logger;
    void* (*function)(void*) = nullptr;
    ThreadRunner* owner = nullptr;  ///< what the body works for
    std::vector<ThreadParam*> parameters;
    std::atomic<ThreadState> state = ThreadUndefined;
    std::atomic<unsigned long long> startTime = 0;   ///< `DateTime::getCurrentTime`
    std::atomic<unsigned long long> lastUpdate = 0;  ///< the same
    unsigned int suspendCounter = 0;
    std::atomic<bool> ended = false;
    std::atomic<bool> undefineWhenEnded = false;

private:
    template <class Failure>
    void resumeFully(SourcePosition position = SourcePosition::here());
};

}  // namespace MovrikCorelib
