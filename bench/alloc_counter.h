// alloc_counter.h: counts heap allocations of the calling process while a scope is open.
//
// The counter interposes the C allocation functions (malloc, calloc, realloc, the aligned
// ones); operator new of libstdc++ ends in malloc, so every heap allocation of the process,
// ours or a library's, passes through it. Counting is off outside an AllocCountScope, and a
// closed scope costs one relaxed load per allocation.
//
// Include this header in exactly ONE translation unit of an executable, and only there: it
// defines the interposed functions. Sanitizer runtimes and valgrind bring allocators of their
// own; under a sanitizer the counter compiles to nothing (ALLOC_COUNTER_ACTIVE is 0), and under
// valgrind it is bypassed, which AllocCounterWorks() reveals.
#pragma once

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ALLOC_COUNTER_ACTIVE 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define ALLOC_COUNTER_ACTIVE 0
#endif
#endif
#if !defined(ALLOC_COUNTER_ACTIVE) && defined(__GLIBC__)
#define ALLOC_COUNTER_ACTIVE 1
#endif
#if !defined(ALLOC_COUNTER_ACTIVE)
#define ALLOC_COUNTER_ACTIVE 0
#endif

namespace alloc_counter {
inline std::atomic<bool> g_enabled{false};
inline std::atomic<long> g_count{0};

inline void Note() {
    if (g_enabled.load(std::memory_order_relaxed)) g_count.fetch_add(1, std::memory_order_relaxed);
}
}  // namespace alloc_counter

// Counts the allocations made between construction and Count().
class AllocCountScope {
public:
    AllocCountScope() {
        alloc_counter::g_count.store(0, std::memory_order_relaxed);
        alloc_counter::g_enabled.store(true, std::memory_order_relaxed);
    }
    ~AllocCountScope() { alloc_counter::g_enabled.store(false, std::memory_order_relaxed); }
    AllocCountScope(const AllocCountScope&) = delete;
    AllocCountScope& operator=(const AllocCountScope&) = delete;
    long Count() const { return alloc_counter::g_count.load(std::memory_order_relaxed); }
};

#if ALLOC_COUNTER_ACTIVE
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t n, size_t size);
void* __libc_realloc(void* p, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    alloc_counter::Note();
    return __libc_malloc(size);
}
void* calloc(size_t n, size_t size) {
    alloc_counter::Note();
    return __libc_calloc(n, size);
}
void* realloc(void* p, size_t size) {
    alloc_counter::Note();
    return __libc_realloc(p, size);
}
void* memalign(size_t alignment, size_t size) {
    alloc_counter::Note();
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    alloc_counter::Note();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size) {
    if (alignment < sizeof(void*) || (alignment & (alignment - 1)) != 0) return EINVAL;
    alloc_counter::Note();
    void* p = __libc_memalign(alignment, size);
    if (p == nullptr && size != 0) return ENOMEM;
    *out = p;
    return 0;
}
}
#endif

// True when allocations are actually seen (false under a sanitizer or valgrind).
inline bool AllocCounterWorks() {
    AllocCountScope scope;
    void* volatile p = std::malloc(24);
    std::free(p);
    return scope.Count() > 0;
}
