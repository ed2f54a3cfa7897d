// Dicom_Arena: chunked bump allocator, and the uniform new/delete of arena objects.
#include <Dicom/Dicom_Arena.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr size_t kAlign = 16;
constexpr size_t kFirstChunk = 4096;
constexpr size_t kMaxChunk = 1u << 20;
// Requests at least this large get a chunk of their own, so that a big value does not waste the
// rest of the current chunk.
constexpr size_t kLargeRequest = 16384;

inline size_t AlignUp(size_t n) { return (n + (kAlign - 1)) & ~(kAlign - 1); }

// Header in front of every Dicom_ArenaObject: where the object lives.
struct ObjectHeader {
    uint32_t magic;
    uint32_t inArena;
    uint64_t reserved;
};
static_assert(sizeof(ObjectHeader) == kAlign, "arena object header must keep 16-byte alignment");
constexpr uint32_t kHeaderMagic = 0xA7E4A0B1u;

}  // namespace

struct Dicom_Arena::Chunk {
    Chunk* next;
    size_t size;  // usable bytes after the (aligned) chunk header
};

struct Dicom_Arena::Adopted {
    Adopted* next;
    void* block;
};

Dicom_Arena* Dicom_Arena::Create() { return new Dicom_Arena(); }

void Dicom_Arena::Release() {
    if (m_refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

Dicom_Arena::~Dicom_Arena() {
    while (m_adopted) {
        Adopted* a = m_adopted;
        m_adopted = a->next;
        std::free(a->block);
    }
    while (m_chunks) {
        Chunk* c = m_chunks;
        m_chunks = c->next;
        std::free(c);
    }
}

void* Dicom_Arena::AllocateSlow(size_t size) {
    if (size > SIZE_MAX - kAlign) throw std::bad_alloc();
    size = AlignUp(size == 0 ? 1 : size);
    if (size > static_cast<size_t>(m_end - m_cursor)) {
        const size_t header = AlignUp(sizeof(Chunk));
        size_t chunkSize;
        if (size >= kLargeRequest) {
            chunkSize = size;
        } else {
            // Chunks grow with the arena (1/2 of what it holds so far), bounded.
            chunkSize = m_bytes / 2;
            if (chunkSize < kFirstChunk) chunkSize = kFirstChunk;
            if (chunkSize > kMaxChunk) chunkSize = kMaxChunk;
            if (chunkSize < size) chunkSize = size;
        }
        if (chunkSize > SIZE_MAX - header) throw std::bad_alloc();
        void* raw = std::malloc(header + chunkSize);
        if (!raw) throw std::bad_alloc();
        Chunk* c = static_cast<Chunk*>(raw);
        c->next = m_chunks;
        c->size = chunkSize;
        m_chunks = c;
        unsigned char* start = static_cast<unsigned char*>(raw) + header;
        m_bytes += chunkSize;
        if (size >= kLargeRequest && m_cursor != nullptr && (m_end - m_cursor) > 0) {
            // Keep the current chunk for the small objects that follow.
            return start;
        }
        m_cursor = start;
        m_end = start + chunkSize;
    }
    void* p = m_cursor;
    m_cursor += size;
    return p;
}

unsigned char* Dicom_Arena::Copy(const void* data, size_t size) {
    unsigned char* p = static_cast<unsigned char*>(Allocate(size));
    if (size) std::memcpy(p, data, size);
    return p;
}

void Dicom_Arena::Adopt(void* mallocBlock) {
    if (!mallocBlock) return;
    Adopted* a = static_cast<Adopted*>(Allocate(sizeof(Adopted)));
    a->block = mallocBlock;
    a->next = m_adopted;
    m_adopted = a;
}

// ---------------------------------------------------------------------------------------------
// Dicom_ArenaObject

void* Dicom_ArenaObject::operator new(size_t size) {
    return operator new(size, static_cast<Dicom_Arena*>(nullptr));
}

void* Dicom_ArenaObject::operator new(size_t size, Dicom_Arena* arena) {
    void* raw;
    if (arena) {
        raw = arena->Allocate(sizeof(ObjectHeader) + size);
    } else {
        raw = std::malloc(sizeof(ObjectHeader) + size);
        if (!raw) throw std::bad_alloc();
    }
    ObjectHeader* h = static_cast<ObjectHeader*>(raw);
    h->magic = kHeaderMagic;
    h->inArena = arena ? 1u : 0u;
    h->reserved = 0;
    return h + 1;
}

void Dicom_ArenaObject::operator delete(void* p) noexcept {
    if (!p) return;
    ObjectHeader* h = static_cast<ObjectHeader*>(p) - 1;
    if (h->inArena) return;  // the arena frees it
    h->magic = 0;
    std::free(h);
}

void Dicom_ArenaObject::operator delete(void* p, Dicom_Arena* arena) noexcept {
    // Only reached when a constructor threw: heap objects are freed, arena memory stays with the arena.
    if (!arena) operator delete(p);
}

bool Dicom_ArenaObject::InArena(const void* object) {
    if (!object) return false;
    const ObjectHeader* h = static_cast<const ObjectHeader*>(object) - 1;
    return h->inArena != 0;
}
