#include <string.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "LogCollector.h"
#include "ThreadRunner.h"

using namespace MovrikCorelib;
using TestSupport::failureOf;

namespace {

struct Counter : Thread::ThreadParam {
    explicit Counter(int& count) : deletions(count) {}
    ~Counter() override { ++deletions; }
    int& deletions;
};

/// Ends at once.
void* brief(void* argument) {
    auto& thread = *static_cast<Thread*>(argument);
    thread.ended = true;
    thread.state = thread.undefineWhenEnded ? Thread::ThreadUndefined : Thread::ThreadEnded;
    return nullptr;
}

/// Works until it is told to stop.
void* obedient(void* argument) {
    while (!static_cast<Thread*>(argument)->shouldStop()) {
    }
    return brief(argument);
}

/// Never listens.
void* stubborn(void*) {
    int before = 0;
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &before);
    for (;;)
        usleep(1'000);
}

bool reaches(const Thread& thread, Thread::ThreadState state) {
    for (int i = 0; i < 2'000 && thread.state != state; ++i)
        usleep(5'000);
    return thread.state == state;
}

}  // namespace

TEST(Thread, EachStateAllowsWhatItAllows) {
    Thread undefined, defined("t", obedient, {}), running("t", obedient, {}), suspended("t", obedient, {});
    running.start();
    suspended.state = Thread::ThreadSuspended;
    struct Case {
        void (Thread::*operation)();
        const char *inDefined, *inRunning, *inSuspended;
    };
    const char* const skip = nullptr;
    for (const Case& c : {Case{&Thread::suspend, "Suspend_NotRunning", "Exception: NOT IMPLEMENTED YET",
                               "Suspend_NotRunning"},
                          Case{&Thread::resume, "Resume_NotSuspended", "Resume_NotSuspended",
                               "Exception: NOT IMPLEMENTED YET"},
                          Case{&Thread::update, "Update_NotRunning", "", "Update_NotRunning"},
                          Case{&Thread::stop, "Stop_NotStarted", skip, "Stop_FailedToResume"},
                          Case{&Thread::kill, "Kill_NotStarted", skip, "Kill_FailedToResume"},
                          Case{&Thread::start, skip, "Start_AlreadyStarted", "Start_AlreadyStarted"}})
        for (const auto& [thread, expected] :
             {std::pair(&undefined, "Thread_Undefined"), std::pair(&defined, c.inDefined),
              std::pair(&running, c.inRunning), std::pair(&suspended, c.inSuspended)}) {
            if (!expected)
                continue;
            const std::string failure = failureOf([&, tested = thread] { (tested->*c.operation)(); });
            EXPECT_EQ(failure.substr(0, strlen(expected)), expected);
            EXPECT_EQ(failure.empty(), *expected == 0) << failure;
        }
    suspended.state = Thread::ThreadDefined;
    EXPECT_THROW(undefined.makeUndefined(false), Thread::Thread_Undefined);
    EXPECT_NE(failureOf([&] { running.getParameter(0); }).find("parameter 0i which"), std::string::npos);
    EXPECT_THROW(Thread(1UL), Thread::Thread_NotSupportedOnThisPlatform);
}

TEST(Thread, StartsAnewAfterItsEndHoweverEarlyThatCame) {
    int deletions = 0;
    for (int i = 0; i < 50; ++i) {
        Thread quick("quick", brief, Thread::makeParameters(new Counter(deletions)));
        for (int run = 0; run < 2; ++run) {
            quick.start();
            ASSERT_TRUE(reaches(quick, Thread::ThreadEnded));
        }
    }
    EXPECT_EQ(deletions, 50);
    Thread marked("marked", obedient, {});
    marked.start();
    marked.makeUndefined(false);
    marked.stop();
    EXPECT_NO_THROW(marked.stop()) << "stopping twice is legal";
    EXPECT_TRUE(reaches(marked, Thread::ThreadUndefined));

    TestSupport::LogCollector log("Thread");
    Thread thread("t", stubborn, {});
    thread.start();
    thread.update();
    thread.stop();
    thread.kill();
    EXPECT_EQ(thread.state, Thread::ThreadKilled);
    EXPECT_EQ(log.lines,
              "d7 Thread::start: Going to start t\nd7 Thread::start: Started t\n"
              "d7 Thread::stop: Going to signal thread t to stop\nd7 Thread::stop: Going to signal thread t "
              "to stop\n"
              "d7 Thread::stop: Thread \"t\" has been signalled to stop\n"
              "d7 Thread::kill: Going to kill thread t\nd7 Thread::kill: Thread \"t\"has been killed\n");
}

TEST(ThreadRunner, IdsRiseOverAllRunnersAndFailuresAreWrapped) {
    ThreadRunner one, two;
    const unsigned int id = one.createThread("a", obedient, {});
    EXPECT_EQ(two.createThread("b", obedient, {}), id + 1);
    EXPECT_THROW(one.createThread("c", obedient, Thread::makeParameters(nullptr)),
                 ThreadRunner::CreateThread_NullParameter);
    EXPECT_EQ(one.createThread("d", nullptr, {}), id + 2);
    EXPECT_FALSE(one.haveThread(id + 1));
    EXPECT_EQ(failureOf([&] { one.startThread(id + 1); }),
              "Start_FailedToStart:\nThread_NotFound: Trying to access thread " + std::to_string(id + 1) +
                  ", but that thread does not exist");
    EXPECT_THROW(one.killThread(id), ThreadRunner::Kill_FailedToKill);
    EXPECT_THROW(one.sendToGarbage(id + 2, false), ThreadRunner::SendToGarbage_AlreadyGarbage);
    EXPECT_EQ(failureOf([&] { one.sendToGarbage(id + 1, false); }).find("Thread_NotFound"), 0U);
}

TEST(ThreadRunner, AllThreadsFormsGoOnAfterAFailureAndPassOverTheWrongStates) {
    ThreadRunner runner;
    EXPECT_NO_THROW(runner.waitForAllThreadsToEnd(0));
    Thread& a = *runner.findThread(runner.createThread("a", obedient, {}));
    Thread& b = *runner.findThread(runner.createThread("b", obedient, {}));
    runner.createThread("undefined", nullptr, {});
    EXPECT_NO_THROW(runner.killAllThreads());
    runner.startAllThreads();
    EXPECT_THROW(runner.waitForAllThreadsToEnd(25), ThreadRunner::Wait_Timeout);
    a.state = Thread::ThreadSuspended;
    EXPECT_THROW(runner.resumeAllThreads(), ThreadRunner::Suspend_FailedToSuspend);
    EXPECT_EQ(failureOf([&] { runner.stopAllThreads(); }),
              "Stop_FailedToStop:\nStop_FailedToResume:\nException: NOT IMPLEMENTED YET");
    EXPECT_TRUE(reaches(b, Thread::ThreadEnded));
    a.state = Thread::ThreadStopping;
    EXPECT_NO_THROW(runner.waitForAllThreadsToEnd(60'000));
    EXPECT_THROW(runner.waitForAllThreadsToEnd(0), ThreadRunner::Wait_Timeout) << "ended threads count";
}

TEST(ThreadRunner, GarbageIsKeptUntilItsBodyHasEnded) {
    int deletions = 0;
    ThreadRunner runner;
    const unsigned int id =
        runner.createThread("a", obedient, Thread::makeParameters(new Counter(deletions)));
    runner.createThread("b", stubborn, Thread::makeParameters(new Counter(deletions)));
    runner.startAllThreads();
    runner.sendToGarbage(id, false);
    runner.deleteGarbage();
    EXPECT_EQ(deletions, 0);
    runner.stopThread(id);
    EXPECT_THROW(runner.waitForThreadToEnd(id, 1'000), ThreadRunner::Wait_Timeout)
        << "also when it has ended";
    runner.deleteGarbage();
    EXPECT_FALSE(runner.haveThread(id));
    EXPECT_EQ(deletions, 1);
    runner.sendAllToGarbage(true);
    runner.deleteGarbage();
    EXPECT_EQ(deletions, 2);
}
