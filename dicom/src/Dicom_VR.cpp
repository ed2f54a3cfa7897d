// The value-representation property table.
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_VR.h>

#include <array>

namespace {

constexpr uint8_t M = DICOM_KIND_MULTI_VALUED;
constexpr uint8_t T = DICOM_KIND_TEXT;
constexpr uint8_t O = DICOM_KIND_OTHER;
constexpr uint8_t S = DICOM_KIND_SEQUENCE;

// name, padding, width, longLength, text, charsetText, binary, maxLength, kind, swapUnit
constexpr Dicom_VRInfo kTable[DICOM_VR_COUNT + 1] = {
    {"AE", ' ', 0, false, true, false, false, 16, M, 0},
    {"AS", ' ', 0, false, true, false, false, 4, M, 0},
    {"AT", 0, 4, false, false, false, true, 4, M, 2},
    {"CS", ' ', 0, false, true, false, false, 16, M, 0},
    {"DA", ' ', 0, false, true, false, false, 8, M, 0},
    {"DS", ' ', 0, false, true, false, false, 16, M, 0},
    {"DT", ' ', 0, false, true, false, false, 26, M, 0},
    {"FD", 0, 8, false, false, false, true, 8, M, 8},
    {"FL", 0, 4, false, false, false, true, 4, M, 4},
    {"IS", ' ', 0, false, true, false, false, 12, M, 0},
    {"LO", ' ', 0, false, true, true, false, 64, M, 0},
    {"LT", ' ', 0, false, true, true, false, 10240, T, 0},
    {"OB", 0, 1, true, false, false, false, 0, O, 0},
    {"OD", 0, 8, true, false, false, true, 0, O, 8},
    {"OF", 0, 4, true, false, false, true, 0, O, 4},
    {"OL", 0, 4, true, false, false, true, 0, O, 4},
    {"OV", 0, 8, true, false, false, true, 0, O, 8},
    {"OW", 0, 2, true, false, false, true, 0, O, 2},
    {"PN", ' ', 0, false, true, true, false, 64, M, 0},
    {"SH", ' ', 0, false, true, true, false, 16, M, 0},
    {"SL", 0, 4, false, false, false, true, 4, M, 4},
    {"SQ", 0, 0, true, false, false, false, 0, S, 0},
    {"SS", 0, 2, false, false, false, true, 2, M, 2},
    {"ST", ' ', 0, false, true, true, false, 1024, T, 0},
    {"SV", 0, 8, true, false, false, true, 8, M, 8},
    {"TM", ' ', 0, false, true, false, false, 14, M, 0},
    {"UC", ' ', 0, true, true, true, false, 0, M, 0},
    {"UI", '\0', 0, false, true, false, false, 64, M, 0},
    {"UL", 0, 4, false, false, false, true, 4, M, 4},
    {"UN", 0, 1, true, false, false, false, 0, O, 0},
    {"UR", ' ', 0, true, true, false, false, 0, T, 0},
    {"US", 0, 2, false, false, false, true, 2, M, 2},
    {"UT", ' ', 0, true, true, true, false, 0, T, 0},
    {"UV", 0, 8, true, false, false, true, 8, M, 8},
    // NONE: a value whose VR is unknown is kept and written as UN.
    {"UN", 0, 1, true, false, false, false, 0, O, 0},
};

// Two letters -> VR, indexed by (c0 - 'A') * 26 + (c1 - 'A').
constexpr std::array<Dicom_VR, 26 * 26> kByName = [] {
    std::array<Dicom_VR, 26 * 26> a{};
    for (auto& v : a) v = Dicom_VR::NONE;
    for (int i = 0; i < DICOM_VR_COUNT; ++i) {
        a[static_cast<size_t>((kTable[i].name[0] - 'A') * 26 + (kTable[i].name[1] - 'A'))] =
            static_cast<Dicom_VR>(i);
    }
    return a;
}();

}  // namespace

const Dicom_VRInfo* const g_dicomVRInfo = kTable;

Dicom_VR Dicom_VRFromName(char c0, char c1) {
    if (c0 < 'A' || c0 > 'Z' || c1 < 'A' || c1 > 'Z') return Dicom_VR::NONE;
    return kByName[static_cast<size_t>((c0 - 'A') * 26 + (c1 - 'A'))];
}
