// Dicom_SH: Short String (at most 16 characters).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_SH : public Dicom_StringValue<Dicom_SH, Dicom_VR::SH> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_SH SH_NULL;
