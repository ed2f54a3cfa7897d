// Dicom_OL: Other Long: 32-bit words.
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_OL : public Dicom_OtherValue<Dicom_OL, Dicom_VR::OL> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_OL OL_NULL;
