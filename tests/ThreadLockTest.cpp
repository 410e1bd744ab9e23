#include <algorithm>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "LogCollector.h"
#include "ThreadLock.h"

using namespace MovrikCorelib;

namespace {

template <class Call>
bool elsewhere(Call call) {
    bool result = false;
    std::thread([&] { result = call(); }).join();
    return result;
}

}  // namespace

TEST(ThreadLock, OtherThreadsGetInOnlyWhenEveryLevelIsReleased) {
    ThreadLock lock;
    EXPECT_FALSE(lock.unlock());
    for (int level = 0; level < 3; ++level)
        EXPECT_TRUE(lock.lock(true));
    for (int level = 3; level > 0; --level) {
        EXPECT_FALSE(elsewhere([&] { return lock.lock(false) || lock.unlock(); }));
        EXPECT_TRUE(lock.unlock());
    }
    EXPECT_FALSE(lock.unlock());
    EXPECT_TRUE(elsewhere([&] { return lock.lock(false) && lock.unlock(); }));
    EXPECT_FALSE(lock.lock(0x80000000U)) << "a negative count of attempts is none";
    EXPECT_TRUE(lock.lock(0xFFFFFFFFU)) << "-1 / 10 + 1 is one attempt";

    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(elsewhere([&] { return lock.lock(25U); })) << "three attempts, each followed by 10 ms";
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST(ThreadLock, FloodLinesNeitherFeedThemselvesNorFail) {
    /// Takes a lock of its own for every line and then fails, as a full disk would make it.
    struct Failing : TestSupport::LogCollector {
        MessageHandleCode handleMessage(const ImsMessage& message) override {
            const ThreadLockHolder held(own);
            LogCollector::handleMessage(message);
            throw std::runtime_error("full");
        }
        ThreadLock own;
    } log;
    std::optional<ThreadLock> lock(std::in_place);
    lock->lock(true);
    lock->lock(false);
    lock.reset();
    EXPECT_EQ(std::ranges::count(log.lines, '\n'), 6) << "two for each step\n" << log.lines;
    EXPECT_TRUE(log.lines.ends_with("d8 ThreadLock::unlock: Unlocked\n")) << "from level 2 in one step";
}
