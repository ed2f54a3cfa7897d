// Value representations and their encoding properties.
#pragma once

#include <cstdint>

enum class Dicom_VR : uint8_t {
    AE,
    AS,
    AT,
    CS,
    DA,
    DS,
    DT,
    FD,
    FL,
    IS,
    LO,
    LT,
    OB,
    OD,
    OF,
    OL,
    OV,
    OW,
    PN,
    SH,
    SL,
    SQ,
    SS,
    ST,
    SV,
    TM,
    UC,
    UI,
    UL,
    UN,
    UR,
    US,
    UT,
    UV,
    NONE  // no value representation known (dictionary miss)
};

inline constexpr int DICOM_VR_COUNT = static_cast<int>(Dicom_VR::NONE);

struct Dicom_VRInfo {
    char name[3];        // "AE"
    uint8_t padding;     // byte that pads an odd value: ' ', '\0'
    uint8_t width;       // size of one binary value (0 for text and SQ)
    bool longLength;     // explicit VR: 2 reserved bytes and a 32-bit length
    bool text;           // value is text (possibly several values separated by '\\')
    bool charsetText;    // text subject to Specific Character Set
    bool binary;         // value is a sequence of fixed-width numbers, swapped on big endian
    uint32_t maxLength;  // largest length of one value in bytes (0: no limit of its own)
    uint8_t kind;        // kind code of its values (Dicom_Kind in Dicom_Type.h)
    uint8_t swapUnit;    // bytes swapped as one unit on big endian (AT: 2; 0: not swapped)
};

// The property table, one row per VR and a last row for NONE (read through Dicom_GetVRInfo).
extern const Dicom_VRInfo* const g_dicomVRInfo;
// Inline: the codec asks for the properties of every element it reads or writes.
inline const Dicom_VRInfo& Dicom_GetVRInfo(Dicom_VR vr) {
    const auto i = static_cast<unsigned>(vr);
    return g_dicomVRInfo[i <= static_cast<unsigned>(DICOM_VR_COUNT) ? i
                                                                    : static_cast<unsigned>(DICOM_VR_COUNT)];
}
inline const char* Dicom_VRName(Dicom_VR vr) { return Dicom_GetVRInfo(vr).name; }
// Parses two characters ("US") into a VR; Dicom_VR::NONE when they name none.
Dicom_VR Dicom_VRFromName(char c0, char c1);
inline Dicom_VR Dicom_VRFromName(const char* s) {
    return s && s[0] ? Dicom_VRFromName(s[0], s[1]) : Dicom_VR::NONE;
}
