// The UID dictionary: the generated table of standard UIDs, its lookups and the named constants.
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDic.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace {

#include "generated/Dicom_UIDTable.inc"

constexpr bool SortedByUID() {
    for (size_t i = 1; i < kUIDCount; ++i)
        if (std::string_view(kUIDEntries[i - 1].uid).compare(kUIDEntries[i].uid) >= 0) return false;
    return true;
}
static_assert(SortedByUID(), "the UID table must be sorted by UID and free of duplicates");

// Orders of the table by another field, built on first use.
template <const char* Dicom_UIDEntry::*Field>
std::array<uint16_t, kUIDCount> SortedBy() {
    std::array<uint16_t, kUIDCount> order{};
    for (size_t i = 0; i < kUIDCount; ++i) order[i] = static_cast<uint16_t>(i);
    std::sort(order.begin(), order.end(), [](uint16_t a, uint16_t b) {
        return std::string_view(kUIDEntries[a].*Field).compare(kUIDEntries[b].*Field) < 0;
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

template <const char* Dicom_UIDEntry::*Field>
const Dicom_UIDEntry* FindIn(const std::array<uint16_t, kUIDCount>& order, std::string_view key) {
    const auto* it = std::lower_bound(order.begin(), order.end(), key, [](uint16_t i, std::string_view k) {
        return std::string_view(kUIDEntries[i].*Field).compare(k) < 0;
    });
    if (it != order.end() && std::string_view(kUIDEntries[*it].*Field).compare(key) == 0)
        return &kUIDEntries[*it];
    return nullptr;
}

}  // namespace

const Dicom_UIDEntry* Dicom_UIDic::Find(const char* uid, size_t length) {
    if (uid == nullptr) return nullptr;
    while (length > 0 && (uid[length - 1] == '\0' || uid[length - 1] == ' ')) --length;
    const std::string_view key(uid, length);
    const Dicom_UIDEntry* end = kUIDEntries + kUIDCount;
    const Dicom_UIDEntry* it = std::lower_bound(
        kUIDEntries, end, key,
        [](const Dicom_UIDEntry& e, std::string_view k) { return std::string_view(e.uid).compare(k) < 0; });
    if (it != end && std::string_view(it->uid).compare(key) == 0) return it;
    return nullptr;
}

const Dicom_UIDEntry* Dicom_UIDic::Find(const char* uid) {
    return uid ? Find(uid, std::strlen(uid)) : nullptr;
}

const char* Dicom_UIDic::Name(const char* uid, size_t length) {
    const Dicom_UIDEntry* e = Find(uid, length);
    return e ? e->name : nullptr;
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

// The named constants. They are built ahead of the default order of static initialisation, so
// that static objects elsewhere (defined-term constants, file-static transfer syntaxes) may copy
// them while they are built themselves.
namespace {
int g_constantStatus = 0;  // the constructors' status; every UID of the table is valid
}

#define DICOM_UID_DEFINE(NAME, INDEX) \
    [[gnu::init_priority(1000)]] const Dicom_UI Dicom_UIDic::NAME(kUIDEntries[INDEX].uid, &g_constantStatus);
DICOM_UID_CONSTANTS(DICOM_UID_DEFINE)
#undef DICOM_UID_DEFINE
