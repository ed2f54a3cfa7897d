// Dicom_CS: Code String (at most 16 characters of A-Z, 0-9, space and "_").
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_CS : public Dicom_StringValue<Dicom_CS, Dicom_VR::CS> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_CS CS_NULL;
