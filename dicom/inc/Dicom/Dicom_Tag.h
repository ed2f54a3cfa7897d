// Dicom_Tag: a (group, element) pair plus the private implementor it belongs to.
//
// Public attributes carry the implementor index 65535 (Dicom_Tag::NO_IMPLEMENTOR).
// Private data elements are known in two forms:
//  - resolved: the element number as it stands in a message, (gggg,bbxx), where bb is the block
//    that the implementor's creator element (gggg,00bb) reserved, and the implementor index;
//  - unresolved: (gggg,00xx) with the implementor index; this is the form of the dictionary
//    constants and of Unresolve(). A message resolves it through its creator elements.
// Equality compares group, element and implementor; ordering (for the element store) compares
// group and element only, which is unique inside one data set.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

class Dicom_LO;

class Dicom_Tag {
public:
    static constexpr unsigned short NO_IMPLEMENTOR = 0xFFFF;
    static const Dicom_Tag ILLEGAL_TAG;  // (FFFF,FFFF)

    constexpr Dicom_Tag() = default;
    // group in the high 16 bits, element in the low 16 bits; the XML path is accepted for
    // compatibility and not kept.
    constexpr explicit Dicom_Tag(unsigned int tag, std::wstring* xmlPath = nullptr)
        : m_group(static_cast<unsigned short>(tag >> 16)),
          m_element(static_cast<unsigned short>(tag & 0xFFFF)) {
        (void)xmlPath;
    }
    constexpr Dicom_Tag(unsigned short group, unsigned short element,
                        unsigned short implementor = NO_IMPLEMENTOR)
        : m_group(group), m_element(element), m_implementor(implementor) {}
    constexpr Dicom_Tag(const Dicom_Tag&) = default;
    constexpr Dicom_Tag& operator=(const Dicom_Tag&) = default;

    constexpr unsigned short GetGroup() const { return m_group; }
    constexpr unsigned short GetElement() const { return m_element; }
    constexpr unsigned int GetTag() const { return (unsigned(m_group) << 16) | m_element; }
    constexpr void SetGroup(unsigned short g) { m_group = g; }
    constexpr void SetElement(unsigned short e) { m_element = e; }

    constexpr bool operator==(const Dicom_Tag& o) const {
        return m_group == o.m_group && m_element == o.m_element && m_implementor == o.m_implementor;
    }
    constexpr bool operator!=(const Dicom_Tag& o) const { return !(*this == o); }
    // Order of the element store: group, then element.
    constexpr bool operator<(const Dicom_Tag& o) const { return GetTag() < o.GetTag(); }

    unsigned hash() const;

    // Turns a tag of the curve (50xx) or overlay (60xx) family into the tag of repeating-group
    // index i (0..127): group low byte 2i for public attributes, 2i + 1 for private ones
    // (odd base group). Any other index, or a tag outside both families, yields ILLEGAL_TAG.
    Dicom_Tag& SetRepeatingGroup(int index);
    static bool IsRepeatingGroupFamily(unsigned short group) {
        return (group & 0xFF00) == 0x5000 || (group & 0xFF00) == 0x6000;
    }

    constexpr bool IsPrivate() const { return (m_group & 1) != 0 && m_group > 8 && m_group != 0xFFFF; }
    // True for a private creator (reservation) element (gggg,0010)..(gggg,00FF), odd gggg.
    constexpr bool IsPrivateImplementor() const {
        return IsPrivate() && m_element >= 0x0010 && m_element <= 0x00FF && m_implementor == NO_IMPLEMENTOR;
    }
    // Index of the private creator in ImplementorIDVector, or NO_IMPLEMENTOR.
    constexpr unsigned short GetImplementorID() const { return m_implementor; }
    constexpr void SetImplementorID(unsigned short id) { m_implementor = id; }
    constexpr bool HasImplementor() const { return m_implementor != NO_IMPLEMENTOR; }
    // A private data tag that still needs its block (dictionary form (gggg,00xx)).
    constexpr bool IsUnresolvedPrivate() const { return HasImplementor() && m_element < 0x0100; }
    // Drops the block of a resolved private data tag: (gggg,bbxx) -> (gggg,00xx).
    Dicom_Tag& Unresolve() {
        if (HasImplementor()) m_element &= 0x00FF;
        return *this;
    }

    // Tag of a standard attribute by dictionary keyword ("PatientName") or UPPER_SNAKE name
    // ("PATIENT_NAME"), or a private one by (creator, "gggg,xx"). ILLEGAL_TAG when unknown.
    // See Dicom_Dictionary::Construct_Tag for every form accepted.
    static Dicom_Tag Construct_Tag(const char* name, const char* creator = nullptr);

    // "(0010,0010)"
    std::string ToString() const;

private:
    unsigned short m_group = 0xFFFF;
    unsigned short m_element = 0xFFFF;
    unsigned short m_implementor = NO_IMPLEMENTOR;
};

inline constexpr Dicom_Tag Dicom_Tag::ILLEGAL_TAG{0xFFFF, 0xFFFF};

template <>
struct std::hash<Dicom_Tag> {
    size_t operator()(const Dicom_Tag& t) const noexcept { return t.hash(); }
};

// Process-wide, thread-safe registry of private creator strings. Index() returns the index of
// a creator (trailing spaces and NULs ignored), registering it on first sight. The creators of the
// library's own dictionary are registered first, in a fixed order, so that the dictionary's
// constants can carry constant indexes. Usable during static initialisation. Index() gives
// NO_IMPLEMENTOR for a creator longer than 1024 bytes and once the registry is full (65535
// creators or 16 MiB): such a creator's data stays unresolved.
class ImplementorIDVector {
public:
    static unsigned short Index(const Dicom_LO& creator);
    static unsigned short Index(const char* creator, size_t length);
    static unsigned short Index(const std::string& creator) { return Index(creator.data(), creator.size()); }
    // The creator string of an index; empty for an unknown index.
    static std::string Name(unsigned short index);
    // The same without a copy: registered strings live as long as the process.
    static std::string_view NameView(unsigned short index);
    static size_t Size();
};
