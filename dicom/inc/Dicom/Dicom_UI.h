// Dicom_UI: Unique Identifier: digits and '.', components without leading zeros, at most 64
// characters, padded with NUL to even length.
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_UI : public Dicom_StringValue<Dicom_UI, Dicom_VR::UI> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_UI UI_NULL;
