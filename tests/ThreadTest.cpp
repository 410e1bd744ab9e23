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

TEST(Thread, StartsAnewAfterItsEndHoweverEarlyThatCame) {
    Thread quick("quick", brief, {});
    for (int run = 0; run < 50; ++run) {
        quick.start();
        ASSERT_TRUE(reaches(quick, Thread::ThreadEnded));
    }
}

TEST(Thread, RefusesWhatItsStateDoesNotAllow) {
    Thread thread("t", obedient, Thread::makeParameters());
    EXPECT_THROW(thread.stop(), Thread::Stop_NotStarted);
    EXPECT_THROW(thread.update(), Thread::Update_NotRunning);
    thread.start();
    thread.update();
    EXPECT_THROW(thread.start(), Thread::Start_AlreadyStarted);
    EXPECT_EQ(failureOf([&] { thread.suspend(); }), "Exception: NOT IMPLEMENTED YET");
    EXPECT_THROW(thread.resume(), Thread::Resume_NotSuspended);
    EXPECT_THROW(thread.getParameter(0), Thread::GetParameter_IndexOutOfBounds);
    thread.makeUndefined(false);
    thread.stop();
    EXPECT_TRUE(reaches(thread, Thread::ThreadUndefined)) << "when its body has ended";
    EXPECT_THROW(thread.start(), Thread::Thread_Undefined);
}

TEST(ThreadRunner, IdsRiseOverAllRunnersAndFailuresAreWrapped) {
    ThreadRunner one, two;
    const unsigned int id = one.createThread("a", obedient, {});
    EXPECT_EQ(two.createThread("b", nullptr, {}), id + 1);
    EXPECT_THROW(one.createThread("c", obedient, Thread::makeParameters(nullptr)),
                 ThreadRunner::CreateThread_NullParameter);
    EXPECT_EQ(failureOf([&] { one.startThread(id + 1); }),
              "Start_FailedToStart:\nThread_NotFound: Trying to access thread " + std::to_string(id + 1) +
                  ", but that thread does not exist");
    EXPECT_THROW(one.killThread(id), ThreadRunner::Kill_FailedToKill);
    EXPECT_THROW(two.sendToGarbage(id + 1, false), ThreadRunner::SendToGarbage_AlreadyGarbage);
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
    const unsigned int defined = runner.createThread("c", obedient, {});
    runner.deleteGarbage();
    EXPECT_EQ(deletions, 0);
    EXPECT_TRUE(runner.haveThread(defined));
    runner.stopThread(id);
    EXPECT_THROW(runner.waitForThreadToEnd(id, 60'000), ThreadRunner::Wait_Timeout)
        << "also when it has ended";
    runner.deleteGarbage();
    EXPECT_FALSE(runner.haveThread(id));
    EXPECT_EQ(deletions, 1);
    runner.sendAllToGarbage(true);
    runner.deleteGarbage();
    EXPECT_EQ(deletions, 2);
}
