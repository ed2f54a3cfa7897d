// Dicom_UN: Unknown: bytes of a value whose VR is not known, as they are.
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_UN : public Dicom_OtherValue<Dicom_UN, Dicom_VR::UN> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_UN UN_NULL;
