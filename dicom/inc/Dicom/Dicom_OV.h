// Dicom_OV: Other Very long: 64-bit words.
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_OV : public Dicom_OtherValue<Dicom_OV, Dicom_VR::OV> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_OV OV_NULL;
