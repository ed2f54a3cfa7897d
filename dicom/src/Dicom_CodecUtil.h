// Dicom_CodecUtil: byte helpers of the reader, the writer and the trusted buffers (internal).
#pragma once

#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_Sequence.h>
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_VR.h>

#include <cstdint>
#include <cstring>

namespace Dicom_CodecUtil {

inline uint16_t Load16LE(const unsigned char* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
inline uint16_t Load16BE(const unsigned char* p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t Load32LE(const unsigned char* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;  // the layer runs on little-endian hosts
}
inline uint32_t Load32BE(const unsigned char* p) { return __builtin_bswap32(Load32LE(p)); }
inline void Store16LE(unsigned char* p, uint16_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}
inline void Store16BE(unsigned char* p, uint16_t v) {
    p[0] = static_cast<unsigned char>(v >> 8);
    p[1] = static_cast<unsigned char>(v);
}
inline void Store32LE(unsigned char* p, uint32_t v) { std::memcpy(p, &v, 4); }
inline void Store32BE(unsigned char* p, uint32_t v) { Store32LE(p, __builtin_bswap32(v)); }

// Size of the units a big-endian encoding swaps (0: bytes, not swapped).
inline unsigned SwapUnit(Dicom_VR vr) {
    if (vr == Dicom_VR::AT) return 2;  // a pair of 16-bit numbers
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    return info.binary ? info.width : 0;
}

inline void SwapUnits(unsigned char* p, size_t length, unsigned unit) {
    switch (unit) {
        case 2:
            for (size_t i = 0; i + 2 <= length; i += 2) {
                const unsigned char t = p[i];
                p[i] = p[i + 1];
                p[i + 1] = t;
            }
            break;
        case 4:
            for (size_t i = 0; i + 4 <= length; i += 4) {
                uint32_t v;
                std::memcpy(&v, p + i, 4);
                v = __builtin_bswap32(v);
                std::memcpy(p + i, &v, 4);
            }
            break;
        case 8:
            for (size_t i = 0; i + 8 <= length; i += 8) {
                uint64_t v;
                std::memcpy(&v, p + i, 8);
                v = __builtin_bswap64(v);
                std::memcpy(p + i, &v, 8);
            }
            break;
        default:
            break;
    }
}

// Copies `length` bytes swapped in units of `unit` (0/1: plain copy).
inline void CopySwapped(unsigned char* out, const unsigned char* in, size_t length, unsigned unit) {
    if (length) std::memcpy(out, in, length);
    if (unit >= 2) SwapUnits(out, length, unit);
}

// Dictionary entry of a tag, with the repeating-group families (50xx, 60xx) looked up under
// their first group when the exact group is not listed.
inline const Dicom_DictEntry* LookupEntry(const Dicom_Tag& tag) {
    const Dicom_DictEntry* e = Dicom_Dictionary::Lookup(tag);
    if (e || !Dicom_Tag::IsRepeatingGroupFamily(tag.GetGroup())) return e;
    Dicom_Tag base = tag;
    base.SetGroup(static_cast<unsigned short>((tag.GetGroup() & 0xFF00) | (tag.GetGroup() & 1)));
    return Dicom_Dictionary::Lookup(base);
}

// Sequence and encapsulation state of values.
inline Dicom_Sequence& SequenceItems(Dicom_SQ* sq) { return sq->GetSequence(); }
inline const Dicom_Sequence& SequenceItems(const Dicom_SQ* sq) { return sq->GetSequence(); }
inline void SetSequenceUndefinedLength(Dicom_SQ* sq, bool on) { sq->SetUndefinedLength(on); }
inline bool SequenceUndefinedLength(const Dicom_SQ* sq) { return sq->HasUndefinedLength(); }
inline bool ItemDefinedLength(const Dicom_SQ* sq, int i) { return !sq->ItemHasUndefinedLength(i); }

inline bool IsOtherVR(Dicom_VR vr) {
    switch (vr) {
        case Dicom_VR::OB:
        case Dicom_VR::OD:
        case Dicom_VR::OF:
        case Dicom_VR::OL:
        case Dicom_VR::OV:
        case Dicom_VR::OW:
        case Dicom_VR::UN:
            return true;
        default:
            return false;
    }
}
inline void SetEncapsulatedFlag(Dicom_Type* v, bool on) {
    if (v && IsOtherVR(v->GetVR())) static_cast<Dicom_OtherType*>(v)->SetEncapsulated(on);
}
inline bool IsEncapsulatedValue(const Dicom_Type* v) {
    return v && IsOtherVR(v->GetVR()) && static_cast<const Dicom_OtherType*>(v)->IsEncapsulated();
}

}  // namespace Dicom_CodecUtil
