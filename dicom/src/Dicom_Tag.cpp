// Dicom_Tag members that are not inline, and the process-wide registry of private creators.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Tag.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <unordered_map>

unsigned Dicom_Tag::hash() const {
    // Group, element and implementor through a 64-bit finaliser, so that tags of one group and
    // consecutive elements spread over all buckets.
    uint64_t x = (uint64_t{GetTag()} << 16) | m_implementor;
    x ^= x >> 33;
    x *= 0xFF51AFD7ED558CCDull;
    x ^= x >> 33;
    x *= 0xC4CEB9FE1A85EC53ull;
    x ^= x >> 33;
    return static_cast<unsigned>(x);
}

Dicom_Tag& Dicom_Tag::SetRepeatingGroup(int index) {
    if (!IsRepeatingGroupFamily(m_group) || index < 0 || index > 127) {
        *this = ILLEGAL_TAG;
        return *this;
    }
    // The odd (private) groups of a family follow their public group: 2i for public, 2i + 1 for
    // private attributes.
    m_group = static_cast<unsigned short>((m_group & 0xFF00) | (2 * index) | (m_group & 1));
    return *this;
}

Dicom_Tag Dicom_Tag::Construct_Tag(const char* name, const char* creator) {
    return Dicom_Dictionary::Construct_Tag(name, creator);
}

std::string Dicom_Tag::ToString() const {
    char text[16];
    std::snprintf(text, sizeof text, "(%04X,%04X)", m_group, m_element);
    return text;
}

// --- ImplementorIDVector ---

namespace {

// Bounds that keep a flood of distinct creators (hostile input) from growing the registry
// without limit; a creator beyond them gets no index and its data stays unresolved.
constexpr size_t kMaxCreatorLength = 1024;
constexpr size_t kMaxCreators = Dicom_Tag::NO_IMPLEMENTOR;  // indexes 0 .. 0xFFFE
constexpr size_t kMaxCreatorBytes = size_t{16} << 20;

struct CreatorRegistry {
    std::shared_mutex mutex;
    std::deque<std::string> names;  // a deque never moves its strings: views of them stay valid
    std::unordered_map<std::string_view, unsigned short> indexes;
    size_t bytes = 0;

    CreatorRegistry() {
#define DICOM_PRIVATE_CREATOR(INDEX, CREATOR) Add(CREATOR);
#include <Dicom/Dicom_PrivateDictionary.inl>
    }

    // Called with the lock held exclusively (or during construction).
    unsigned short Add(std::string_view creator) {
        if (names.size() >= kMaxCreators || bytes + creator.size() > kMaxCreatorBytes)
            return Dicom_Tag::NO_IMPLEMENTOR;
        const auto index = static_cast<unsigned short>(names.size());
        names.emplace_back(creator);
        bytes += creator.size();
        indexes.emplace(std::string_view(names.back()), index);
        return index;
    }
};

// Created on first use and never destroyed, so that it serves the static initialisation and
// destruction of every other translation unit.
CreatorRegistry& Registry() {
    static CreatorRegistry* registry = new CreatorRegistry;
    return *registry;
}

// Each thread remembers its last hits: the parser asks for the same few creators over and over,
// and a registered string never changes or moves.
struct CacheSlot {
    const char* data = nullptr;
    size_t size = 0;
    unsigned short index = Dicom_Tag::NO_IMPLEMENTOR;
};
constexpr unsigned kCacheSlots = 8;
thread_local CacheSlot t_cache[kCacheSlots];
thread_local unsigned t_cacheNext = 0;

std::string_view TrimPadding(const char* creator, size_t length) {
    while (length > 0 && (creator[length - 1] == ' ' || creator[length - 1] == '\0')) --length;
    return {creator, length};
}

unsigned short Remember(std::string_view stored, unsigned short index) {
    CacheSlot& slot = t_cache[t_cacheNext++ % kCacheSlots];
    slot.data = stored.data();
    slot.size = stored.size();
    slot.index = index;
    return index;
}

}  // namespace

unsigned short ImplementorIDVector::Index(const char* creator, size_t length) {
    if (creator == nullptr) {
        if (length != 0) return Dicom_Tag::NO_IMPLEMENTOR;
        creator = "";
    }
    const std::string_view key = TrimPadding(creator, length);
    if (key.size() > kMaxCreatorLength) return Dicom_Tag::NO_IMPLEMENTOR;
    for (const CacheSlot& slot : t_cache)
        if (slot.data != nullptr && slot.size == key.size() &&
            std::memcmp(slot.data, key.data(), key.size()) == 0)
            return slot.index;

    CreatorRegistry& r = Registry();
    {
        std::shared_lock lock(r.mutex);
        const auto it = r.indexes.find(key);
        if (it != r.indexes.end()) return Remember(it->first, it->second);
    }
    std::unique_lock lock(r.mutex);
    const auto it = r.indexes.find(key);
    if (it != r.indexes.end()) return Remember(it->first, it->second);
    const unsigned short index = r.Add(key);
    if (index == Dicom_Tag::NO_IMPLEMENTOR) return index;
    return Remember(r.names.back(), index);
}

unsigned short ImplementorIDVector::Index(const Dicom_LO& creator) {
    return Index(reinterpret_cast<const char*>(creator.GetData()), creator.GetRawLen());
}

std::string ImplementorIDVector::Name(unsigned short index) { return std::string(NameView(index)); }

std::string_view ImplementorIDVector::NameView(unsigned short index) {
    CreatorRegistry& r = Registry();
    std::shared_lock lock(r.mutex);
    return index < r.names.size() ? std::string_view(r.names[index]) : std::string_view();
}

size_t ImplementorIDVector::Size() {
    CreatorRegistry& r = Registry();
    std::shared_lock lock(r.mutex);
    return r.names.size();
}
