// The UID dictionary: the generated table of standard UIDs, its lookups and the named constants.
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDic.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace {

constexpr Dicom_DictText V(uint32_t offset) { return Dicom_DictText(Dicom_DictText::UID_VALUE, offset); }
constexpr Dicom_DictText T(uint32_t offset) { return Dicom_DictText(Dicom_DictText::UID_TEXT, offset); }

#include "generated/Dicom_UIDTable.inc"

// A UID of the table as its bytes, also in constant expressions.
constexpr const unsigned char* ValueBytes(size_t index) {
    return kUIDValues + kUIDEntries[index].uid.GetOffset();
}
constexpr uint32_t ValueLength(size_t index) {
    const unsigned char* p = ValueBytes(index);
    uint32_t n = 0;
    while (p[n] != 0) ++n;
    return n;
}
const char* ValueChars() { return reinterpret_cast<const char*>(kUIDValues); }
std::string_view UIDOf(size_t index) {
    return std::string_view(ValueChars() + kUIDEntries[index].uid.GetOffset());
}
constexpr std::string_view TextOf(Dicom_DictText t) { return std::string_view(kUIDText + t.GetOffset()); }

constexpr bool ByteLess(const unsigned char* a, const unsigned char* b) {
    while (*a != 0 && *a == *b) ++a, ++b;
    return *a < *b;
}
constexpr bool SortedByUID() {
    for (size_t i = 1; i < kUIDCount; ++i)
        if (!ByteLess(ValueBytes(i - 1), ValueBytes(i))) return false;
    return true;
}
static_assert(SortedByUID(), "the UID table must be sorted by UID and free of duplicates");

// Orders of the table by another field, built on first use.
template <Dicom_DictText Dicom_UIDEntry::*Field>
std::array<uint16_t, kUIDCount> SortedBy() {
    std::array<uint16_t, kUIDCount> order{};
    for (size_t i = 0; i < kUIDCount; ++i) order[i] = static_cast<uint16_t>(i);
    std::sort(order.begin(), order.end(), [](uint16_t a, uint16_t b) {
        return TextOf(kUIDEntries[a].*Field).compare(TextOf(kUIDEntries[b].*Field)) < 0;
    });
    return order;
}
const std::array<uint16_t, kUIDCount>& ByKeyword() {
    static const auto order = SortedBy<&Dicom_UIDEntry::keyword>();
    return order;
}
const std::array<uint16_t, kUIDCount>& ByConstant() {
    static const auto order = SortedBy<&Dicom_UIDEntry::constant>();
    return order;
}

template <Dicom_DictText Dicom_UIDEntry::*Field>
const Dicom_UIDEntry* FindIn(const std::array<uint16_t, kUIDCount>& order, std::string_view key) {
    const auto* it = std::lower_bound(order.begin(), order.end(), key, [](uint16_t i, std::string_view k) {
        return TextOf(kUIDEntries[i].*Field).compare(k) < 0;
    });
    if (it != order.end() && TextOf(kUIDEntries[*it].*Field).compare(key) == 0) return &kUIDEntries[*it];
    return nullptr;
}

}  // namespace

const Dicom_UIDEntry* Dicom_UIDic::Find(const char* uid, size_t length) {
    if (uid == nullptr) return nullptr;
    while (length > 0 && (uid[length - 1] == '\0' || uid[length - 1] == ' ')) --length;
    const std::string_view key(uid, length);
    const Dicom_UIDEntry* end = kUIDEntries + kUIDCount;
    const Dicom_UIDEntry* it =
        std::lower_bound(kUIDEntries, end, key, [](const Dicom_UIDEntry& e, std::string_view k) {
            return UIDOf(static_cast<size_t>(&e - kUIDEntries)).compare(k) < 0;
        });
    if (it != end && UIDOf(static_cast<size_t>(it - kUIDEntries)).compare(key) == 0) return it;
    return nullptr;
}

const Dicom_UIDEntry* Dicom_UIDic::Find(const char* uid) {
    return uid ? Find(uid, std::strlen(uid)) : nullptr;
}

const char* Dicom_UIDic::Name(const char* uid, size_t length) {
    const Dicom_UIDEntry* e = Find(uid, length);
    return e ? e->name.c_str() : nullptr;
}

const char* Dicom_UIDic::Name(const char* uid) { return uid ? Name(uid, std::strlen(uid)) : nullptr; }

const Dicom_UIDEntry* Dicom_UIDic::FindByName(const char* name) {
    if (name == nullptr || name[0] == '\0') return nullptr;
    if (const Dicom_UIDEntry* e = FindIn<&Dicom_UIDEntry::keyword>(ByKeyword(), name)) return e;
    return FindIn<&Dicom_UIDEntry::constant>(ByConstant(), name);
}

bool Dicom_UIDic::IsStorageSOPClass(const char* uid, size_t length) {
    const Dicom_UIDEntry* e = Find(uid, length);
    return e != nullptr && e->storage;
}

size_t Dicom_UIDic::Count() { return kUIDCount; }
const Dicom_UIDEntry& Dicom_UIDic::Entry(size_t index) { return kUIDEntries[index]; }

const char* Dicom_DictText::UIDTextPool() { return kUIDText; }
const char* Dicom_DictText::UIDValuePool() { return ValueChars(); }

// The named constants: values over the table's bytes, initialised at compile time, so that static
// objects elsewhere (defined-term constants, file-static transfer syntaxes) may copy them while
// they are built themselves, whatever the order of initialisation.
#define DICOM_UID_DEFINE(NAME, INDEX) \
    constinit const Dicom_UI Dicom_UIDic::NAME(Dicom_UI::StaticBytes{ValueBytes(INDEX), ValueLength(INDEX)});
DICOM_UID_CONSTANTS(DICOM_UID_DEFINE)
#undef DICOM_UID_DEFINE
