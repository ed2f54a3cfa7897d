// The private heaps: one per type, counters of blocks and bytes (also under several threads), and
// the end of a mismatched free.
#include <Kvl/Kvl_PrivateHeap.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

namespace {

constexpr const char* kFile = "tests/platform/test_private_heap";

TEST(PrivateHeap, SingletonPerType) {
    Kvl_PrivateHeap* session = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(session, Kvl_SingletonHeap::GetInstance(static_cast<Kvl_HeapType>(0)));
    EXPECT_NE(Kvl_SingletonHeap::GetInstance(Kvl_GeneralHeap), session);
    EXPECT_EQ(Kvl_SingletonHeap::GetInstance(Kvl_HeapTypeCount), nullptr);
    EXPECT_EQ(Kvl_SingletonHeap::GetInstance(static_cast<Kvl_HeapType>(-1)), nullptr);
}

TEST(PrivateHeap, CountsBlocksArraysAndBytes) {
    Kvl_PrivateHeap heap("test");
    void* a = heap.Allocate(100, kFile);
    void* array = heap.AllocateArray(28, kFile);
    void* zero = heap.AllocateArray(0, kFile);
    ASSERT_TRUE(a && array && zero && zero != array);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % alignof(std::max_align_t), 0u);
    EXPECT_EQ(heap.GetAllocationCount(), 1u);
    EXPECT_EQ(heap.GetArrayAllocationCount(), 2u);
    EXPECT_EQ(heap.GetBytesInUse(), 128);
    heap.ResetStats();  // keeps the bytes in use
    heap.Free(a, kFile);
    heap.Free(nullptr, kFile);
    heap.FreeArray(array, kFile);
    heap.FreeArray(zero, kFile);
    const Kvl_PrivateHeap::Stats stats = heap.GetStats();
    EXPECT_EQ(stats.allocations + stats.arrayAllocations, 0u);
    EXPECT_EQ(stats.frees, 1u);
    EXPECT_EQ(stats.arrayFrees, 2u);
    EXPECT_EQ(stats.bytesInUse, 0);
    EXPECT_THROW(heap.Allocate(static_cast<size_t>(-1) - 8, kFile), std::bad_alloc);
    EXPECT_EQ(heap.GetAllocationCount(), 0u);
}

TEST(PrivateHeap, CountersFromSeveralThreads) {
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_GeneralHeap);
    heap->ResetStats();
    const std::int64_t bytesBefore = heap->GetBytesInUse();
    constexpr int kThreads = 4, kRounds = 2000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([heap, t] {
            std::vector<void*> held;
            for (int i = 0; i < kRounds; ++i) {
                const size_t size = static_cast<size_t>(1 + (i + t) % 97);
                if (i % 2 == 0) {
                    heap->FreeArray(std::memset(heap->AllocateArray(size, kFile), t, size), kFile);
                } else {
                    held.push_back(heap->Allocate(size, kFile));
                    if (held.size() > 16) heap->Free(held.front(), kFile), held.erase(held.begin());
                }
            }
            for (void* p : held) heap->Free(p, kFile);
        });
    }
    for (auto& thread : threads) thread.join();
    const Kvl_PrivateHeap::Stats stats = heap->GetStats();
    EXPECT_EQ(stats.arrayAllocations, kThreads * kRounds / 2u);
    EXPECT_EQ(stats.arrayFrees, kThreads * kRounds / 2u);
    EXPECT_EQ(stats.allocations, kThreads * kRounds / 2u);
    EXPECT_EQ(stats.frees, stats.allocations);
    EXPECT_EQ(stats.bytesInUse, bytesBefore);
}

TEST(PrivateHeapDeathTest, MismatchedFreeEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Kvl_PrivateHeap heap("death");
    EXPECT_DEATH(heap.Free(heap.AllocateArray(8, kFile), "here/file"),
                 "Free of an AllocateArray block.*here/file");
}

}  // namespace
