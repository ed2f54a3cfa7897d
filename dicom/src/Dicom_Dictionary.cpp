// The data dictionary: the generated standard table, the library's private table and their lookups.
#include <Dicom/Dicom_Dictionary.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr Dicom_DictText T(uint32_t offset) { return Dicom_DictText(Dicom_DictText::STANDARD, offset); }

#include "generated/Dicom_StandardDictionary.inc"

// --- the library's own private dictionary ---
// Its texts (creators, names, VMs) go into a string pool built at compile time from the macro
// table, so that its entries hold offsets like the standard ones.

constexpr std::string_view kCreatorTexts[] = {
#define DICOM_PRIVATE_CREATOR(INDEX, CREATOR) CREATOR,
#include <Dicom/Dicom_PrivateDictionary.inl>
};
constexpr size_t kCreatorCount = std::size(kCreatorTexts);

constexpr bool CreatorsAreInIndexOrder() {
    constexpr int indexes[] = {
#define DICOM_PRIVATE_CREATOR(INDEX, CREATOR) INDEX,
#include <Dicom/Dicom_PrivateDictionary.inl>
    };
    for (size_t i = 0; i < std::size(indexes); ++i)
        if (indexes[i] != static_cast<int>(i)) return false;
    return true;
}
static_assert(CreatorsAreInIndexOrder(), "private creators must be listed with indexes 0, 1, 2, ...");

struct PrivateSource {
    std::string_view name;
    unsigned short creator;
    uint32_t group;
    uint32_t lowByte;
    Dicom_VR vr;
    std::string_view vm;
};
constexpr PrivateSource kPrivateSources[] = {
#define DICOM_PRIVATE_TAG(NAME, CREATOR, GROUP, LOW_BYTE, VR, VM) \
    {#NAME, CREATOR, GROUP, LOW_BYTE, Dicom_VR::VR, VM},
#include <Dicom/Dicom_PrivateDictionary.inl>
};
constexpr size_t kPrivateCount = std::size(kPrivateSources);

// The texts of the entry of private creator elements (gggg,0010-00FF).
constexpr std::string_view kCreatorElementTexts[] = {"1", "PrivateCreator", "PRIVATE_CREATOR"};

// Pool layout: the creator element's texts, every creator, then the name and the VM of every
// entry, each NUL-terminated.
constexpr size_t PrivatePoolSize() {
    size_t n = 0;
    for (std::string_view c : kCreatorElementTexts) n += c.size() + 1;
    for (std::string_view c : kCreatorTexts) n += c.size() + 1;
    for (const PrivateSource& p : kPrivateSources) n += p.name.size() + 1 + p.vm.size() + 1;
    return n;
}

struct PrivatePool {
    std::array<char, PrivatePoolSize()> text{};
    std::array<uint32_t, std::size(kCreatorElementTexts)> creatorElement{};
    std::array<uint32_t, kCreatorCount> creator{};
    std::array<uint32_t, kPrivateCount> name{};
    std::array<uint32_t, kPrivateCount> vm{};
};

constexpr PrivatePool kPrivatePool = [] {
    PrivatePool pool;
    size_t at = 0;
    auto put = [&](std::string_view s) {
        const auto offset = static_cast<uint32_t>(at);
        for (char c : s) pool.text[at++] = c;
        pool.text[at++] = '\0';
        return offset;
    };
    for (size_t i = 0; i < std::size(kCreatorElementTexts); ++i)
        pool.creatorElement[i] = put(kCreatorElementTexts[i]);
    for (size_t i = 0; i < kCreatorCount; ++i) pool.creator[i] = put(kCreatorTexts[i]);
    for (size_t i = 0; i < kPrivateCount; ++i) {
        pool.name[i] = put(kPrivateSources[i].name);
        pool.vm[i] = put(kPrivateSources[i].vm);
    }
    return pool;
}();

constexpr auto kPrivateEntries = [] {
    std::array<Dicom_DictEntry, kPrivateCount> entries{};
    for (size_t i = 0; i < kPrivateCount; ++i) {
        const PrivateSource& p = kPrivateSources[i];
        const Dicom_DictText name(Dicom_DictText::PRIVATE, kPrivatePool.name[i]);
        entries[i] = {(p.group << 16) | p.lowByte,
                      0xFFFFFFFFu,
                      p.vr,
                      Dicom_VR::NONE,
                      false,
                      p.creator,
                      Dicom_DictText(Dicom_DictText::PRIVATE, kPrivatePool.vm[i]),
                      name,
                      name,
                      Dicom_DictText(Dicom_DictText::PRIVATE, kPrivatePool.creator[p.creator])};
    }
    return entries;
}();

// A text of the dictionary's pools, also in constant expressions.
constexpr std::string_view TextOf(Dicom_DictText t) {
    if (t.IsNone()) return {};
    if (t.GetPool() == Dicom_DictText::PRIVATE) {
        const std::string_view rest =
            std::string_view(kPrivatePool.text.data(), kPrivatePool.text.size()).substr(t.GetOffset());
        return rest.substr(0, rest.find('\0'));
    }
    return std::string_view(kStandardText + t.GetOffset());
}

// Key of a private attribute: creator, group, element low byte.
constexpr uint64_t PrivateKey(unsigned implementor, unsigned group, unsigned lowByte) {
    return (uint64_t{implementor} << 24) | (uint64_t{group} << 8) | lowByte;
}
constexpr uint64_t PrivateKey(const Dicom_DictEntry& e) {
    return PrivateKey(e.implementor, e.tag >> 16, e.tag & 0xFF);
}

constexpr auto kPrivateByKey = [] {
    std::array<uint16_t, kPrivateCount> order{};
    for (size_t i = 0; i < kPrivateCount; ++i) order[i] = static_cast<uint16_t>(i);
    std::sort(order.begin(), order.end(), [](uint16_t a, uint16_t b) {
        return PrivateKey(kPrivateEntries[a]) < PrivateKey(kPrivateEntries[b]);
    });
    return order;
}();

constexpr auto kPrivateByName = [] {
    std::array<uint16_t, kPrivateCount> order{};
    for (size_t i = 0; i < kPrivateCount; ++i) order[i] = static_cast<uint16_t>(i);
    std::sort(order.begin(), order.end(), [](uint16_t a, uint16_t b) {
        return TextOf(kPrivateEntries[a].name) < TextOf(kPrivateEntries[b].name);
    });
    return order;
}();

constexpr bool IsRepeatingFamily(unsigned group) {
    return (group & 0xFF00) == 0x5000 || (group & 0xFF00) == 0x6000;
}

// What the private table must satisfy: unique (creator, group, low byte), odd groups, creators
// that exist, and repeating-group attributes under the first private group of their family.
constexpr bool PrivateTableIsConsistent() {
    for (size_t i = 1; i < kPrivateCount; ++i)
        if (PrivateKey(kPrivateEntries[kPrivateByKey[i - 1]]) ==
            PrivateKey(kPrivateEntries[kPrivateByKey[i]]))
            return false;
    for (const Dicom_DictEntry& e : kPrivateEntries) {
        const unsigned group = e.tag >> 16;
        if ((group & 1) == 0 || group <= 0x0008 || group == 0xFFFF) return false;
        if (e.implementor >= kCreatorCount) return false;
        if (IsRepeatingFamily(group) && group != 0x5001 && group != 0x6001) return false;
        if (e.vr == Dicom_VR::NONE) return false;
    }
    for (size_t i = 1; i < kPrivateCount; ++i)
        if (TextOf(kPrivateEntries[kPrivateByName[i - 1]].name) ==
            TextOf(kPrivateEntries[kPrivateByName[i]].name))
            return false;
    return true;
}
static_assert(PrivateTableIsConsistent(),
              "Dicom_PrivateDictionary.inl: duplicate or misplaced private attribute");

// Private creator elements (gggg,0010)..(gggg,00FF) of any odd group; Lookup applies the range.
constexpr Dicom_DictEntry kPrivateCreatorEntry{
    0x00010000,
    0x0001FF00,
    Dicom_VR::LO,
    Dicom_VR::NONE,
    false,
    Dicom_Tag::NO_IMPLEMENTOR,
    Dicom_DictText(Dicom_DictText::PRIVATE, kPrivatePool.creatorElement[0]),
    Dicom_DictText(Dicom_DictText::PRIVATE, kPrivatePool.creatorElement[1]),
    Dicom_DictText(Dicom_DictText::PRIVATE, kPrivatePool.creatorElement[2]),
    {}};

// --- the standard single tags by hash ---
// The parser asks for tags in no predictable order, where a binary search over 5,000 tags costs
// more than a parse step should; an open-addressing table (load about 0.6) built at compile time
// answers in one or two probes, also when the tag is unknown.

constexpr unsigned kStandardHashBits = 13;
constexpr uint32_t kStandardHashMask = (1u << kStandardHashBits) - 1;
constexpr uint32_t kEmptySlot = 0xFFFFFFFFu;  // (FFFF,FFFF) is no attribute
static_assert(kStandardExactCount * 3 / 2 < (size_t{1} << kStandardHashBits), "hash table too small");

struct StandardHashSlot {
    uint32_t tag;
    uint32_t index;  // into kStandardEntries
};

constexpr uint32_t StandardSlot(uint32_t tag) { return (tag * 0x9E3779B1u) >> (32 - kStandardHashBits); }

constexpr auto kStandardHash = [] {
    std::array<StandardHashSlot, size_t{1} << kStandardHashBits> table{};
    for (StandardHashSlot& s : table) s = {kEmptySlot, 0};
    for (uint32_t i = 0; i < kStandardExactCount; ++i) {
        uint32_t slot = StandardSlot(kStandardTags[i]);
        while (table[slot].tag != kEmptySlot) slot = (slot + 1) & kStandardHashMask;
        table[slot] = {kStandardTags[i], i};
    }
    return table;
}();

// The ranges by their first tag, probed once for each distinct mask.
constexpr size_t kRangeCount = kStandardCount - kStandardExactCount;
constexpr unsigned kRangeHashBits = 8;
constexpr uint32_t kRangeHashMask = (1u << kRangeHashBits) - 1;
static_assert(kRangeCount * 2 < (size_t{1} << kRangeHashBits), "range hash table too small");

constexpr uint32_t RangeSlot(uint32_t tag) { return (tag * 0x9E3779B1u) >> (32 - kRangeHashBits); }

constexpr size_t CountRangeMasks() {
    size_t n = 0;
    for (size_t i = kStandardExactCount; i < kStandardCount; ++i) {
        bool seen = false;
        for (size_t j = kStandardExactCount; j < i; ++j)
            seen = seen || kStandardEntries[j].mask == kStandardEntries[i].mask;
        n += seen ? 0 : 1;
    }
    return n;
}

// Distinct masks in table order, which puts the more specific ones first.
constexpr auto kRangeMasks = [] {
    std::array<uint32_t, CountRangeMasks()> masks{};
    size_t n = 0;
    for (size_t i = kStandardExactCount; i < kStandardCount; ++i)
        if (std::find(masks.begin(), masks.begin() + n, kStandardEntries[i].mask) == masks.begin() + n)
            masks[n++] = kStandardEntries[i].mask;
    return masks;
}();

constexpr auto kRangeHash = [] {
    std::array<StandardHashSlot, size_t{1} << kRangeHashBits> table{};
    for (StandardHashSlot& s : table) s = {kEmptySlot, 0};
    for (uint32_t i = kStandardExactCount; i < kStandardCount; ++i) {
        uint32_t slot = RangeSlot(kStandardEntries[i].tag);
        while (table[slot].tag != kEmptySlot) slot = (slot + 1) & kRangeHashMask;
        table[slot] = {kStandardEntries[i].tag, i};
    }
    return table;
}();

// --- lookups ---

const Dicom_DictEntry* FindStandard(uint32_t t) {
    for (uint32_t slot = StandardSlot(t);; slot = (slot + 1) & kStandardHashMask) {
        const StandardHashSlot& s = kStandardHash[slot];
        if (s.tag == kEmptySlot) break;
        if (s.tag == t) return &kStandardEntries[s.index];
    }
    // Ranges: one probe per distinct mask, the most specific mask first.
    for (uint32_t mask : kRangeMasks) {
        const uint32_t key = t & mask;
        for (uint32_t slot = RangeSlot(key);; slot = (slot + 1) & kRangeHashMask) {
            const StandardHashSlot& s = kRangeHash[slot];
            if (s.tag == kEmptySlot) break;
            if (s.tag == key && kStandardEntries[s.index].mask == mask) return &kStandardEntries[s.index];
        }
    }
    return nullptr;
}

template <size_t N>
const Dicom_DictEntry* FindByName(std::string_view key, const Dicom_DictEntry* entries,
                                  const uint16_t (&order)[N], Dicom_DictText Dicom_DictEntry::*field) {
    const uint16_t* end = order + N;
    const uint16_t* it = std::lower_bound(
        order, end, key, [&](uint16_t i, std::string_view k) { return TextOf(entries[i].*field) < k; });
    if (it != end && TextOf(entries[*it].*field) == key) return &entries[*it];
    return nullptr;
}

const Dicom_DictEntry* FindPrivateByName(std::string_view key) {
    const auto* it =
        std::lower_bound(kPrivateByName.begin(), kPrivateByName.end(), key,
                         [](uint16_t i, std::string_view k) { return TextOf(kPrivateEntries[i].name) < k; });
    if (it != kPrivateByName.end() && TextOf(kPrivateEntries[*it].name) == key) return &kPrivateEntries[*it];
    return nullptr;
}

bool IsHex(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }

// Reads exactly `digits` hex digits.
bool ReadHex(std::string_view s, size_t digits, unsigned* out) {
    if (s.size() != digits) return false;
    unsigned v = 0;
    for (char c : s) {
        if (!IsHex(c)) return false;
        v = v * 16 + static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    *out = v;
    return true;
}

// "gggg,eeee", "(gggg,eeee)", "ggggeeee"; with `shortElement` also "gggg,xx".
bool ParseHexTag(std::string_view s, bool shortElement, unsigned* group, unsigned* element) {
    if (s.size() >= 2 && s.front() == '(' && s.back() == ')') s = s.substr(1, s.size() - 2);
    const size_t comma = s.find(',');
    if (comma == std::string_view::npos) {
        unsigned v = 0;
        if (!ReadHex(s, 8, &v)) return false;
        *group = v >> 16;
        *element = v & 0xFFFF;
        return true;
    }
    if (!ReadHex(s.substr(0, comma), 4, group)) return false;
    const std::string_view e = s.substr(comma + 1);
    return ReadHex(e, 4, element) || (shortElement && ReadHex(e, 2, element));
}

// A name without surrounding blanks.
std::string_view TrimName(const char* s) {
    std::string_view v(s);
    while (!v.empty() && v.front() == ' ') v.remove_prefix(1);
    while (!v.empty() && v.back() == ' ') v.remove_suffix(1);
    return v;
}

// A creator string without its trailing padding, as ImplementorIDVector compares them.
std::string_view TrimCreator(const char* s) {
    std::string_view v(s);
    while (!v.empty() && (v.back() == ' ' || v.back() == '\0')) v.remove_suffix(1);
    return v;
}

// The (gggg,0000) entry of every group: found by tag, but it names no tag of its own.
bool IsGenericGroupLength(const Dicom_DictEntry* e) { return (e->mask & 0xFFFF0000u) == 0; }

}  // namespace

const Dicom_DictEntry* Dicom_Dictionary::LookupPrivate(unsigned short implementor, unsigned short group,
                                                       unsigned char elementLowByte) {
    if (implementor >= kCreatorCount) return nullptr;
    if (IsRepeatingFamily(group)) group = static_cast<unsigned short>((group & 0xFF00) | (group & 1));
    const uint64_t key = PrivateKey(implementor, group, elementLowByte);
    const auto* it =
        std::lower_bound(kPrivateByKey.begin(), kPrivateByKey.end(), key,
                         [](uint16_t i, uint64_t k) { return PrivateKey(kPrivateEntries[i]) < k; });
    if (it != kPrivateByKey.end() && PrivateKey(kPrivateEntries[*it]) == key) return &kPrivateEntries[*it];
    return nullptr;
}

const Dicom_DictEntry* Dicom_Dictionary::Lookup(const Dicom_Tag& tag) {
    const unsigned short element = tag.GetElement();
    if (tag.HasImplementor())
        return LookupPrivate(tag.GetImplementorID(), tag.GetGroup(),
                             static_cast<unsigned char>(element & 0xFF));
    if (element != 0 && tag.IsPrivate())
        return element >= 0x0010 && element <= 0x00FF ? &kPrivateCreatorEntry : nullptr;
    return FindStandard(tag.GetTag());
}

Dicom_VR Dicom_Dictionary::FindVR(const Dicom_Tag& tag) {
    const unsigned short element = tag.GetElement();
    if (tag.HasImplementor()) {
        const Dicom_DictEntry* e =
            LookupPrivate(tag.GetImplementorID(), tag.GetGroup(), static_cast<unsigned char>(element & 0xFF));
        return e ? e->vr : Dicom_VR::NONE;
    }
    if (element == 0) return Dicom_VR::UL;
    if (tag.IsPrivate()) return element <= 0x00FF && element >= 0x0010 ? Dicom_VR::LO : Dicom_VR::NONE;
    const Dicom_DictEntry* e = FindStandard(tag.GetTag());
    return e ? e->vr : Dicom_VR::NONE;
}

const Dicom_DictEntry* Dicom_Dictionary::LookupByName(const char* name) {
    if (name == nullptr || name[0] == '\0') return nullptr;
    if (const Dicom_DictEntry* e = FindPrivateByName(name)) return e;
    if (const Dicom_DictEntry* e =
            FindByName(name, kStandardEntries, kStandardByKeyword, &Dicom_DictEntry::keyword))
        return e;
    return FindByName(name, kStandardEntries, kStandardByName, &Dicom_DictEntry::name);
}

Dicom_Tag Dicom_Dictionary::Construct_Tag(const char* name, const char* creator) {
    if (name == nullptr) return Dicom_Tag::ILLEGAL_TAG;
    const std::string_view text = TrimName(name);
    unsigned group = 0, element = 0;
    if (creator != nullptr && !TrimCreator(creator).empty()) {
        const std::string_view wanted = TrimCreator(creator);
        if (ParseHexTag(text, true, &group, &element)) {
            if ((group & 1) == 0 || group <= 0x0008 || group == 0xFFFF) return Dicom_Tag::ILLEGAL_TAG;
            const unsigned short implementor = ImplementorIDVector::Index(wanted.data(), wanted.size());
            if (implementor == Dicom_Tag::NO_IMPLEMENTOR) return Dicom_Tag::ILLEGAL_TAG;
            return Dicom_Tag(static_cast<unsigned short>(group), static_cast<unsigned short>(element & 0xFF),
                             implementor);
        }
        const Dicom_DictEntry* e = FindPrivateByName(text);
        if (e != nullptr && TrimCreator(e->creator) == wanted) return e->GetTag();
        return Dicom_Tag::ILLEGAL_TAG;
    }
    const std::string key(text);
    const Dicom_DictEntry* e = LookupByName(key.c_str());
    if (e != nullptr && !IsGenericGroupLength(e)) return e->GetTag();
    if (ParseHexTag(text, false, &group, &element))
        return Dicom_Tag(static_cast<unsigned short>(group), static_cast<unsigned short>(element));
    return Dicom_Tag::ILLEGAL_TAG;
}

size_t Dicom_Dictionary::StandardEntryCount() { return kStandardCount; }
const Dicom_DictEntry& Dicom_Dictionary::StandardEntry(size_t index) { return kStandardEntries[index]; }
size_t Dicom_Dictionary::PrivateEntryCount() { return kPrivateCount; }
const Dicom_DictEntry& Dicom_Dictionary::PrivateEntry(size_t index) { return kPrivateEntries[index]; }
size_t Dicom_Dictionary::PrivateCreatorCount() { return kCreatorCount; }
const char* Dicom_Dictionary::PrivateCreator(size_t index) {
    return index < kCreatorCount ? kPrivatePool.text.data() + kPrivatePool.creator[index] : nullptr;
}

const char* Dicom_DictText::c_str() const {
    if (IsNone()) return nullptr;
    switch (GetPool()) {
        case STANDARD:
            return kStandardText + GetOffset();
        case PRIVATE:
            return kPrivatePool.text.data() + GetOffset();
        case UID_TEXT:
            return UIDTextPool() + GetOffset();
        case UID_VALUE:
            return UIDValuePool() + GetOffset();
    }
    return nullptr;
}
