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
    Kvl_PrivateHeap* general = Kvl_SingletonHeap::GetInstance(Kvl_GeneralHeap);
    ASSERT_NE(general, nullptr);
    EXPECT_NE(session, general);
    EXPECT_EQ(Kvl_SingletonHeap::GetInstance(Kvl_HeapTypeCount), nullptr);
    EXPECT_EQ(Kvl_SingletonHeap::GetInstance(static_cast<Kvl_HeapType>(-1)), nullptr);
}

TEST(PrivateHeap, CountsAllocationsAndBytes) {
    Kvl_PrivateHeap heap("test");
    void* a = heap.Allocate(100, kFile);
    void* b = heap.Allocate(28, kFile);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    std::memset(a, 0xAB, 100);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % alignof(std::max_align_t), 0u);
    Kvl_PrivateHeap::Stats stats = heap.GetStats();
    EXPECT_EQ(stats.allocations, 2u);
    EXPECT_EQ(stats.frees, 0u);
    EXPECT_EQ(stats.bytesInUse, 128);
    heap.Free(a, kFile);
    heap.Free(b, kFile);
    heap.Free(nullptr, kFile);  // ignored
    stats = heap.GetStats();
    EXPECT_EQ(stats.frees, 2u);
    EXPECT_EQ(stats.bytesInUse, 0);
    EXPECT_EQ(stats.arrayAllocations, 0u);
    EXPECT_EQ(stats.arrayFrees, 0u);
}

TEST(PrivateHeap, CountsArraysSeparately) {
    Kvl_PrivateHeap heap;
    void* array = heap.AllocateArray(64, kFile);
    void* zero = heap.AllocateArray(0, kFile);
    ASSERT_NE(zero, nullptr);
    EXPECT_NE(zero, array);
    EXPECT_EQ(heap.GetArrayAllocationCount(), 2u);
    EXPECT_EQ(heap.GetAllocationCount(), 0u);
    EXPECT_EQ(heap.GetBytesInUse(), 64);
    heap.FreeArray(array, kFile);
    heap.FreeArray(zero, kFile);
    EXPECT_EQ(heap.GetArrayFreeCount(), 2u);
    EXPECT_EQ(heap.GetFreeCount(), 0u);
    EXPECT_EQ(heap.GetBytesInUse(), 0);
}

TEST(PrivateHeap, ResetStatsKeepsBytesInUse) {
    Kvl_PrivateHeap heap;
    void* p = heap.Allocate(10, kFile);
    heap.ResetStats();
    Kvl_PrivateHeap::Stats stats = heap.GetStats();
    EXPECT_EQ(stats.allocations, 0u);
    EXPECT_EQ(stats.bytesInUse, 10);
    heap.Free(p, kFile);
    EXPECT_EQ(heap.GetFreeCount(), 1u);
    EXPECT_EQ(heap.GetBytesInUse(), 0);
}

TEST(PrivateHeap, HugeRequestThrowsBadAlloc) {
    Kvl_PrivateHeap heap;
    EXPECT_THROW(heap.Allocate(static_cast<size_t>(-1) - 8, kFile), std::bad_alloc);
    EXPECT_EQ(heap.GetAllocationCount(), 0u);
}

TEST(PrivateHeap, CountersFromSeveralThreads) {
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_GeneralHeap);
    heap->ResetStats();
    const std::int64_t bytesBefore = heap->GetBytesInUse();
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([heap, t] {
            std::vector<void*> held;
            for (int i = 0; i < kRounds; ++i) {
                const size_t size = static_cast<size_t>(1 + (i + t) % 97);
                if (i % 3 == 0) {
                    void* p = heap->AllocateArray(size, kFile);
                    std::memset(p, t, size);
                    heap->FreeArray(p, kFile);
                } else {
                    held.push_back(heap->Allocate(size, kFile));
                    if (held.size() > 16) {
                        heap->Free(held.front(), kFile);
                        held.erase(held.begin());
                    }
                }
            }
            for (void* p : held) heap->Free(p, kFile);
        });
    }
    for (auto& thread : threads) thread.join();
    const Kvl_PrivateHeap::Stats stats = heap->GetStats();
    std::uint64_t arrays = 0;
    for (int i = 0; i < kRounds; ++i) arrays += (i % 3 == 0) ? 1 : 0;
    EXPECT_EQ(stats.arrayAllocations, kThreads * arrays);
    EXPECT_EQ(stats.arrayFrees, kThreads * arrays);
    EXPECT_EQ(stats.allocations, kThreads * (kRounds - arrays));
    EXPECT_EQ(stats.frees, stats.allocations);
    EXPECT_EQ(stats.bytesInUse, bytesBefore);
}

// The pattern of IOD_SessionHeapMsg: class-specific new/delete over heap 0.
struct OnSessionHeap {
    static void* operator new(size_t size) {
        return Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap)->Allocate(size, kFile);
    }
    static void operator delete(void* p) { Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap)->Free(p, kFile); }
    static void* operator new[](size_t size) {
        return Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap)->AllocateArray(size, kFile);
    }
    static void operator delete[](void* p) {
        Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap)->FreeArray(p, kFile);
    }
    virtual ~OnSessionHeap() = default;
    char payload[40] = {};
};

TEST(PrivateHeap, ClassSpecificNewAndDeleteGoThroughTheSessionHeap) {
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    heap->ResetStats();
    const std::int64_t bytesBefore = heap->GetBytesInUse();
    auto* object = new OnSessionHeap;
    EXPECT_EQ(heap->GetAllocationCount(), 1u);
    EXPECT_EQ(heap->GetBytesInUse() - bytesBefore, static_cast<std::int64_t>(sizeof(OnSessionHeap)));
    delete object;
    EXPECT_EQ(heap->GetFreeCount(), 1u);
    auto* array = new OnSessionHeap[3];
    EXPECT_EQ(heap->GetArrayAllocationCount(), 1u);
    delete[] array;
    EXPECT_EQ(heap->GetArrayFreeCount(), 1u);
    EXPECT_EQ(heap->GetBytesInUse(), bytesBefore);
}

TEST(PrivateHeapDeathTest, MismatchedFreeEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Kvl_PrivateHeap heap("death");
    EXPECT_DEATH(
        {
            void* p = heap.AllocateArray(8, kFile);
            heap.Free(p, "here/file");
        },
        "Free of an AllocateArray block.*here/file");
}

}  // namespace
