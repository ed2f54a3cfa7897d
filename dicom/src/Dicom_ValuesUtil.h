// Helpers shared by the value classes (internal).
#pragma once

#include <Dicom/Dicom_Type.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace Dicom_ValuesUtil {

// Leading spaces do not count in these VRs (free text and UC keep them).
inline bool LeadingSpacesInsignificant(Dicom_VR vr) {
    switch (vr) {
        case Dicom_VR::LT:
        case Dicom_VR::ST:
        case Dicom_VR::UT:
        case Dicom_VR::UR:
        case Dicom_VR::UC:
            return false;
        default:
            return true;
    }
}

// Strips trailing spaces and NULs (and leading spaces when `leading`).
inline std::string_view TrimPadding(std::string_view s, bool leading) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
    if (leading) {
        while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    }
    return s;
}

// Does the text of one value satisfy the rules of `vr`? (length limit included)
bool ValidateTextValue(Dicom_VR vr, std::string_view value);
// Validates every value of a text (multi-valued VRs are split at '\\').
bool ValidateText(Dicom_VR vr, unsigned short charset, std::string_view text);

// Parses an integer / a decimal of one text value (padding ignored). False when not a number.
bool ParseInt(std::string_view s, long long* out);
bool ParseDouble(std::string_view s, double* out);
// Shortest decimal text of a double that reads back as the same number ("0.5", "1e-07").
std::string FormatDouble(double d, int maxLength = 0);

// Byte order of a host value.
inline void SwapUnits(unsigned char* p, size_t length, unsigned unit) {
    if (unit < 2) return;
    for (size_t i = 0; i + unit <= length; i += unit) {
        for (unsigned a = 0, b = unit - 1; a < b; ++a, --b) {
            const unsigned char t = p[i + a];
            p[i + a] = p[i + b];
            p[i + b] = t;
        }
    }
}

// "*" and "?" wildcard match of one value.
bool WildcardMatch(std::string_view pattern, std::string_view text);

}  // namespace Dicom_ValuesUtil
