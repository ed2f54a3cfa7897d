// Mutex and its scope guard: a held mutex cannot be taken by another thread, and the guard
// serialises concurrent increments.
#include <ThreadTools/Mutex.h>
#include <ThreadTools/ThreadAPI_LockGuard.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

bool TakenElsewhere(Mutex& mutex) {
    bool taken = true;
    std::thread([&] { taken = mutex.TryLock() && (mutex.Unlock(), true); }).join();
    return taken;
}

TEST(ThreadTools, LockAndGuardExcludeOtherThreads) {
    Mutex mutex;
    mutex.Lock();
    EXPECT_FALSE(TakenElsewhere(mutex));
    mutex.Unlock();
    {
        ThreadAPI_LockGuard guard(mutex);
        EXPECT_FALSE(TakenElsewhere(mutex));
    }
    EXPECT_TRUE(TakenElsewhere(mutex));
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 10000; ++i) {
                ThreadAPI_LockGuard guard(mutex);
                ++counter;
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter, 40000);
}

}  // namespace
