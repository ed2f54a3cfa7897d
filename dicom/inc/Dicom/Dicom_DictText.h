// Dicom_DictText: a text of the layer's constant tables (data dictionary, UID registry).
//
// The tables hold no pointers: a text is a reference into one of the tables' string pools, so the
// tables stay read-only data that the dynamic loader neither relocates nor copies when the library
// is loaded. A Dicom_DictText reads like the `const char*` it stands for: it converts to a
// NUL-terminated `const char*`, or to nullptr when the entry has no such text.
#pragma once

#include <cstdint>

class Dicom_DictText {
public:
    // A reference: the pool in the top two bits, the byte offset into it in the others.
    static constexpr uint32_t kNone = 0xFFFFFFFFu;
    static constexpr uint32_t kPoolShift = 30;
    static constexpr uint32_t kOffsetMask = (1u << kPoolShift) - 1;
    enum Pool : uint32_t { STANDARD = 0, PRIVATE = 1, UID_TEXT = 2, UID_VALUE = 3 };

    constexpr Dicom_DictText() = default;
    constexpr Dicom_DictText(Pool pool, uint32_t offset) : m_ref((uint32_t{pool} << kPoolShift) | offset) {}

    // The text, or nullptr when there is none.
    const char* c_str() const;
    operator const char*() const { return c_str(); }  // NOLINT: reads as the pointer it replaces

    constexpr bool IsNone() const { return m_ref == kNone; }
    constexpr Pool GetPool() const { return static_cast<Pool>(m_ref >> kPoolShift); }
    constexpr uint32_t GetOffset() const { return m_ref & kOffsetMask; }

private:
    // The pools of the UID registry (Dicom_UIDic.cpp); the dictionary's own are local to it.
    static const char* UIDTextPool();
    static const char* UIDValuePool();

    uint32_t m_ref = kNone;
};
