// Dicom_UR: Universal Resource Identifier (one value, no length limit of its own).
// Kind: free text (kind 2).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_UR : public Dicom_StringValue<Dicom_UR, Dicom_VR::UR> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_UR UR_NULL;
