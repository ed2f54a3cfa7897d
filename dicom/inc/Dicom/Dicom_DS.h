// Dicom_DS: Decimal String: decimal numbers as text (at most 16 characters each). Converts to
// double (the first value; 0 when empty or not a number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

#include <vector>

class Dicom_DS : public Dicom_StringValue<Dicom_DS, Dicom_VR::DS> {
public:
    using Dicom_StringValue::Dicom_StringValue;
    // The shortest text (within 16 characters) that reads back as the number, where one exists.
    Dicom_DS(double value);  // NOLINT: implicit
    explicit Dicom_DS(const std::vector<double>& values);

    // Value i as a number: 0 and *out set, or -1 when absent or not a number.
    int GetValue(int i, double* out) const;
    operator double() const;  // NOLINT: implicit by design
    Dicom_DS operator|(const Dicom_DS& other) const;
};

extern const Dicom_DS DS_NULL;
