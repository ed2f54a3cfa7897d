// Dicom_IS: Integer String: decimal integers as text (at most 12 characters each, in the range
// of a 32-bit signed number). Converts to int (the first value; 0 when empty or not a number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_Endianity.h>
#include <Dicom/Dicom_StringType.h>

class Dicom_IS : public Dicom_StringValue<Dicom_IS, Dicom_VR::IS> {
public:
    using Dicom_StringValue::Dicom_StringValue;
    Dicom_IS(int value);  // NOLINT: implicit
    // The value field as read: IS is text, so the bytes are its text in any byte order.
    Dicom_IS(void* data, unsigned int length, int copy, const Dicom_Endianity& order, int* status);

    // Value i as a number: 0 and *out set, or -1 when absent or not an integer.
    int GetValue(int i, int* out) const;
    operator int() const;  // NOLINT: implicit by design
    // Concatenation of values: {1} | {2} -> {1, 2}.
    Dicom_IS operator|(const Dicom_IS& other) const;
};

extern const Dicom_IS IS_NULL;
