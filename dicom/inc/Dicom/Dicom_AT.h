// Dicom_AT: Attribute Tag: pairs of 16-bit numbers (group, element), each kept in host order.
// Text form "(0028,0010)", values separated by '\\'.
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_Tag.h>

class Dicom_AT : public Dicom_NumberType {
public:
    static constexpr Dicom_VR kVR = Dicom_VR::AT;

    constexpr Dicom_AT() : Dicom_NumberType(Dicom_VR::AT) {}
    Dicom_AT(unsigned short group, unsigned short element);
    explicit Dicom_AT(const Dicom_Tag& tag) : Dicom_AT(tag.GetGroup(), tag.GetElement()) {}
    // Bytes of (group, element) pairs in `order` (16-bit units swapped on big endian).
    Dicom_AT(void* data, unsigned int length, int copy, const Dicom_Endianity& order, int* status);

    int Count() const { return static_cast<int>(m_len / 4); }
    // Group / element of the first pair: 0 and *out set, or -1 when empty.
    int GetGroupNumber(unsigned short* out) const;
    int GetElementNumber(unsigned short* out) const;
    // Pair i as a public tag; ILLEGAL_TAG when out of range.
    Dicom_Tag GetTag(int i) const;

    Dicom_AT operator[](int i) const;
    Dicom_AT operator|(const Dicom_AT& other) const;
    Dicom_Type* Clone() const override { return new Dicom_AT(*this); }
};

extern const Dicom_AT At_NULL;
