// The pages every run of the static iodtool writes, mapped before the first of them is touched.
//
// A short run of the tool (dump of a small file, --version) spends a large share of its CPU time
// in page faults. The static objects of the libraries (.data and .bss) and the first heap pages
// (the defined-term constants, the registrations of static destructors, the parse arena, the
// output buffer) are each first written by a fault, one page at a time, and a fault costs several
// times more than mapping the same page in a batch (on a virtual machine, about three times).
// Before the static constructors run, this maps in one call each:
//  - the writable data of the executable (.data and .bss);
//  - the heap that the C library's allocator holds, unused (its first extension, 132 KiB).
// The read-only data and the code are left to the kernel's fault-around (64 KiB a fault), which
// maps them more cheaply than a batch of every page would; the link order keeps the code a run
// needs together (see tools/CMakeLists.txt).
//
// Nothing here changes what the tool does: the calls only tell the kernel to map now what would
// be mapped on first use. A kernel without MADV_POPULATE_WRITE (before Linux 5.14) refuses the
// call and the tool runs as before. IODTOOL_PREFAULT=0 in the environment turns the step off (to
// measure it).
//
// Only the static, non-PIE executable does this: its layout is known (the linker's symbols below
// delimit its writable data), and no shared library or sanitizer allocator stands between it and
// the C library's heap.
#if defined(IODTOOL_STATIC_EXECUTABLE) && defined(__linux__)

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

// Symbols of the C library's start files and of the linker: the start of .data, the end of .bss.
extern "C" char __data_start[], _end[];

namespace {

constexpr uintptr_t kPage = 4096;
// At most this much heap is populated: the allocator's first extension is 132 KiB.
constexpr uintptr_t kHeapLimit = 256 * 1024;

uintptr_t PageDown(const void* p) { return reinterpret_cast<uintptr_t>(p) & ~(kPage - 1); }
uintptr_t PageUp(const void* p) { return (reinterpret_cast<uintptr_t>(p) + kPage - 1) & ~(kPage - 1); }

void Populate(uintptr_t from, uintptr_t to) {
    if (from < to) madvise(reinterpret_cast<void*>(from), to - from, MADV_POPULATE_WRITE);
}

void MapStartupPages(int, char**, char**) {
    const char* off = std::getenv("IODTOOL_PREFAULT");
    if (off != nullptr && off[0] == '0') return;

    Populate(PageDown(__data_start), PageUp(_end));

    // The allocator took its first 132 KiB of heap during the C library's start (a static
    // executable sets up its library search paths); what lies between a new allocation and the
    // break is the heap that the constructors and a small command use.
    void* first = std::malloc(1);
    const uintptr_t top = reinterpret_cast<uintptr_t>(sbrk(0));
    const uintptr_t from = PageUp(first);
    if (first != nullptr && from < top && top - from <= kHeapLimit) Populate(from, top);
    std::free(first);
}

// .preinit_array runs after the C library has set itself up and before any constructor.
[[gnu::used, gnu::section(".preinit_array")]] void (*const g_mapStartupPages)(int, char**,
                                                                              char**) = MapStartupPages;

}  // namespace

#endif
