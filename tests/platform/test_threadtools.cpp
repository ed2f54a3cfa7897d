#include <ThreadTools/Mutex.h>
#include <ThreadTools/ThreadAPI_LockGuard.h>
#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

namespace {

static_assert(!std::is_copy_constructible_v<Mutex>);
static_assert(!std::is_copy_assignable_v<Mutex>);
static_assert(!std::is_copy_constructible_v<ThreadAPI_LockGuard>);

TEST(ThreadTools, TryLockFailsWhileHeld) {
    Mutex mutex;
    mutex.Lock();
    bool taken = true;
    std::thread other([&] { taken = mutex.TryLock(); });
    other.join();
    EXPECT_FALSE(taken);
    mutex.Unlock();
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}

TEST(ThreadTools, LockGuardHoldsForItsScope) {
    Mutex mutex;
    {
        ThreadAPI_LockGuard guard(mutex);
        bool taken = true;
        std::thread other([&] { taken = mutex.TryLock(); });
        other.join();
        EXPECT_FALSE(taken);
    }
    EXPECT_TRUE(mutex.TryLock());
    mutex.Unlock();
}

TEST(ThreadTools, GuardSerialisesIncrements) {
    Mutex mutex;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 10000; ++i) {
                ThreadAPI_LockGuard guard(mutex);
                ++counter;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter, 40000);
}

}  // namespace
