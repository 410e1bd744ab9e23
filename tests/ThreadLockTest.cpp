#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "LogCollector.h"
#include "StringTools.h"
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

TEST(ThreadLock, FloodLinesTellEachStepAndNeverFeedThemselves) {
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
    const std::string address = std::to_string(reinterpret_cast<unsigned long long>(&*lock));
    lock->unlock();
    lock->lock(true);
    lock->lock(false);
    elsewhere([&] { return lock->lock(false) || lock->unlock(); });
    lock->unlock();
    lock->lock(true);
    lock.reset();
    for (const auto& [text, shorter] : {std::pair(address, std::string("@")),
                                        {std::to_string(pthread_self()), "me"},
                                        {"d8 ThreadLock::", ""}})
        StringTools::substitute(log.lines, text, shorter);
    EXPECT_EQ(log.lines,
              "unlock: Going to unlock @\nlock: Going to lock @ (blocking)\nlock: Locked\n"
              "lock: Going to lock @ (non-blocking)\nlock: Already locked\n"
              "lock: Going to lock @ (non-blocking)\nlock: Failed to lock - lock belongs to thread me\n"
              "unlock: Going to unlock @\nunlock: Cannot unlock - locked by other thread me\n"
              "unlock: Going to unlock @\nunlock: Nested locking (now at level 1 - actual unlock at zero)\n"
              "lock: Going to lock @ (blocking)\nlock: Already locked\n"
              "unlock: Going to unlock @\nunlock: Unlocked\n");
}
