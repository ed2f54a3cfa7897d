// Dicom_Arena: the bump allocator behind a parsed message.
//
// Parsing a data set creates one element and one value object per attribute. Instead of one
// heap allocation each, the parser places them in the message's arena, and values point into
// the message's copy of the input (copy != 0) or into the caller's buffer (copy == 0).
// The arena is reference counted: the message and the items of its sequences hold it, and its
// memory is released when the last of them is destroyed.
//
// Objects that may live in an arena derive from Dicom_ArenaObject. Their `delete` is uniform:
// a heap object is freed, an arena object only has its destructor run (its memory goes with the
// arena). Elements taken out of a parsed message must not outlive that message.
#pragma once

#include <atomic>
#include <cstddef>
#include <new>

class Dicom_Arena {
public:
    // A new arena with one reference held by the caller.
    static Dicom_Arena* Create();
    void AddRef() { m_refs.fetch_add(1, std::memory_order_relaxed); }
    void Release();

    // Memory aligned to 16 bytes, valid until the arena is released. The bump is inline: the
    // parser allocates an element and a value per attribute.
    void* Allocate(size_t size) {
        const size_t n = (size + 15) & ~static_cast<size_t>(15);
        if (n >= size && n != 0 && n <= static_cast<size_t>(m_end - m_cursor)) {
            void* p = m_cursor;
            m_cursor += n;
            return p;
        }
        return AllocateSlow(size);
    }
    // Copies `size` bytes into arena memory.
    unsigned char* Copy(const void* data, size_t size);
    // Takes a block obtained with std::malloc over; freed with the arena.
    void Adopt(void* mallocBlock);
    size_t BytesAllocated() const { return m_bytes; }

    Dicom_Arena(const Dicom_Arena&) = delete;
    Dicom_Arena& operator=(const Dicom_Arena&) = delete;

private:
    void* AllocateSlow(size_t size);  // a new chunk
    Dicom_Arena() = default;
    ~Dicom_Arena();
    struct Chunk;
    std::atomic<int> m_refs{1};
    Chunk* m_chunks = nullptr;
    unsigned char* m_cursor = nullptr;
    unsigned char* m_end = nullptr;
    size_t m_bytes = 0;
    struct Adopted;
    Adopted* m_adopted = nullptr;
};

// Base of the classes whose objects may be placed in an arena. A 16-byte header in front of
// each object records where it lives.
class Dicom_ArenaObject {
public:
    static void* operator new(size_t size);
    static void* operator new(size_t size, Dicom_Arena* arena);  // arena == nullptr: heap
    static void operator delete(void* p) noexcept;
    static void operator delete(void* p, Dicom_Arena*) noexcept;  // constructor threw
    static void* operator new(size_t size, void* place) noexcept = delete;
    // True when the object lives in an arena.
    static bool InArena(const void* object);
};
