// Dicom_OD: Other Double: 64-bit floats.
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_OD : public Dicom_OtherValue<Dicom_OD, Dicom_VR::OD> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_OD OD_NULL;
