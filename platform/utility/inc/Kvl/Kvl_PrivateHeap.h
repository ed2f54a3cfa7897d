// Kvl/Kvl_PrivateHeap.h: a private heap of the KVL utility library.
//
// A Kvl_PrivateHeap hands out memory for objects (Allocate/Free) and arrays
// (AllocateArray/FreeArray) and counts what it does. The process-wide heaps
// are reached through Kvl_SingletonHeap::GetInstance (Kvl/Kvl_SingletonHeap.h);
// IOD_SessionHeapMsg allocates through heap type 0.
//
//   Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
//   void* p = heap->Allocate(64, "src/Foo");
//   heap->Free(p, "src/Foo");
//
// Memory comes from the system allocator and is aligned for any type
// (alignof(std::max_align_t)). Allocate and AllocateArray throw
// std::bad_alloc when memory runs out (so that they can back operator new);
// a size of 0 yields a unique non-null pointer. Free and FreeArray accept
// null. Memory must go back to the heap that gave it, through the matching
// call (Free for Allocate, FreeArray for AllocateArray); a mismatch, or a
// pointer the heap did not give, is detected and ends the process with a
// message naming the `file` argument. The `file` argument otherwise only
// labels the call site.
//
// All members are thread-safe. The counters are updated atomically; a
// Stats snapshot taken while other threads allocate is not one instant.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

class Kvl_PrivateHeap {
public:
    struct Stats {
        std::uint64_t allocations = 0;       // successful Allocate calls
        std::uint64_t frees = 0;             // Free calls with a non-null pointer
        std::uint64_t arrayAllocations = 0;  // successful AllocateArray calls
        std::uint64_t arrayFrees = 0;        // FreeArray calls with a non-null pointer
        std::int64_t bytesInUse = 0;         // bytes requested and not yet freed
    };

    constexpr explicit Kvl_PrivateHeap(const char* name = "private heap") noexcept : name_(name) {}
    Kvl_PrivateHeap(const Kvl_PrivateHeap&) = delete;
    Kvl_PrivateHeap& operator=(const Kvl_PrivateHeap&) = delete;

    void* Allocate(size_t size, const char* file);
    void Free(void* pointer, const char* file);
    void* AllocateArray(size_t size, const char* file);
    void FreeArray(void* pointer, const char* file);

    Stats GetStats() const noexcept;
    std::uint64_t GetAllocationCount() const noexcept { return allocations_.load(); }
    std::uint64_t GetFreeCount() const noexcept { return frees_.load(); }
    std::uint64_t GetArrayAllocationCount() const noexcept { return arrayAllocations_.load(); }
    std::uint64_t GetArrayFreeCount() const noexcept { return arrayFrees_.load(); }
    std::int64_t GetBytesInUse() const noexcept { return bytesInUse_.load(); }

    // For tests: sets the four call counters to 0. bytesInUse is a live
    // figure of outstanding memory and is left as it is.
    void ResetStats() noexcept;

    const char* GetName() const noexcept { return name_; }

private:
    void* allocate(size_t size, bool array, const char* file);
    void release(void* pointer, bool array, const char* file);

    const char* name_;
    std::atomic<std::uint64_t> allocations_{0};
    std::atomic<std::uint64_t> frees_{0};
    std::atomic<std::uint64_t> arrayAllocations_{0};
    std::atomic<std::uint64_t> arrayFrees_{0};
    std::atomic<std::int64_t> bytesInUse_{0};
};
