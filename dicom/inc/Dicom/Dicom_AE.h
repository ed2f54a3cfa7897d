// Dicom_AE: Application Entity title (at most 16 characters, no control characters).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_AE : public Dicom_StringValue<Dicom_AE, Dicom_VR::AE> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_AE AE_NULL;
