#include <Kvl/Kvl_PrivateHeap.h>
#include <Kvl/Kvl_SingletonHeap.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <type_traits>

namespace {

constexpr std::uint32_t kMagicObject = 0x4B564C4FU;  // "KVLO"
constexpr std::uint32_t kMagicArray = 0x4B564C41U;   // "KVLA"
constexpr std::uint32_t kMagicFreed = 0x4B564C46U;   // "KVLF"

// Placed in front of every block; its size keeps the user pointer aligned
// for any type.
struct alignas(std::max_align_t) BlockHeader {
    size_t size;
    const Kvl_PrivateHeap* heap;
    std::uint32_t magic;
};
static_assert(sizeof(BlockHeader) % alignof(std::max_align_t) == 0);

[[noreturn]] void HeapFailure(const char* heapName, const char* what, const void* pointer, const char* file) {
    std::fprintf(stderr, "Kvl_PrivateHeap '%s': %s %p (from %s)\n", heapName, what, pointer,
                 file != nullptr ? file : "?");
    std::fflush(stderr);
    std::abort();
}

}  // namespace

void* Kvl_PrivateHeap::allocate(size_t size, bool array, const char* /*file*/) {
    if (size > static_cast<size_t>(-1) - sizeof(BlockHeader)) throw std::bad_alloc();
    void* raw = std::malloc(sizeof(BlockHeader) + size);
    if (raw == nullptr) throw std::bad_alloc();
    auto* header = static_cast<BlockHeader*>(raw);
    header->size = size;
    header->heap = this;
    header->magic = array ? kMagicArray : kMagicObject;
    (array ? arrayAllocations_ : allocations_).fetch_add(1, std::memory_order_relaxed);
    bytesInUse_.fetch_add(static_cast<std::int64_t>(size), std::memory_order_relaxed);
    return header + 1;
}

void Kvl_PrivateHeap::release(void* pointer, bool array, const char* file) {
    if (pointer == nullptr) return;
    BlockHeader* header = static_cast<BlockHeader*>(pointer) - 1;
    const std::uint32_t expected = array ? kMagicArray : kMagicObject;
    if (header->magic != expected || header->heap != this) {
        const char* what =
            header->magic == kMagicFreed ? "double free of"
            : header->magic == (array ? kMagicObject : kMagicArray)
                ? (array ? "FreeArray of an Allocate block" : "Free of an AllocateArray block")
            : header->heap != this && (header->magic == kMagicObject || header->magic == kMagicArray)
                ? "free of a block of another heap"
                : "free of a pointer it did not allocate";
        HeapFailure(name_, what, pointer, file);
    }
    header->magic = kMagicFreed;
    (array ? arrayFrees_ : frees_).fetch_add(1, std::memory_order_relaxed);
    bytesInUse_.fetch_sub(static_cast<std::int64_t>(header->size), std::memory_order_relaxed);
    std::free(header);
}

void* Kvl_PrivateHeap::Allocate(size_t size, const char* file) { return allocate(size, false, file); }

void Kvl_PrivateHeap::Free(void* pointer, const char* file) { release(pointer, false, file); }

void* Kvl_PrivateHeap::AllocateArray(size_t size, const char* file) { return allocate(size, true, file); }

void Kvl_PrivateHeap::FreeArray(void* pointer, const char* file) { release(pointer, true, file); }

Kvl_PrivateHeap::Stats Kvl_PrivateHeap::GetStats() const noexcept {
    Stats stats;
    stats.allocations = allocations_.load();
    stats.frees = frees_.load();
    stats.arrayAllocations = arrayAllocations_.load();
    stats.arrayFrees = arrayFrees_.load();
    stats.bytesInUse = bytesInUse_.load();
    return stats;
}

void Kvl_PrivateHeap::ResetStats() noexcept {
    allocations_.store(0);
    frees_.store(0);
    arrayAllocations_.store(0);
    arrayFrees_.store(0);
}

Kvl_PrivateHeap* Kvl_SingletonHeap::GetInstance(Kvl_HeapType type) noexcept {
    static_assert(std::is_trivially_destructible_v<Kvl_PrivateHeap>,
                  "the singleton heaps must outlive every static destructor");
    static Kvl_PrivateHeap heaps[Kvl_HeapTypeCount] = {Kvl_PrivateHeap("session heap"),
                                                       Kvl_PrivateHeap("general heap")};
    const int index = static_cast<int>(type);
    if (index < 0 || index >= static_cast<int>(Kvl_HeapTypeCount)) return nullptr;
    return &heaps[index];
}
