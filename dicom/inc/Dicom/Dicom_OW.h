// Dicom_OW: Other Word: 16-bit words; also encapsulated pixel data (IsEncapsulated).
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_OW : public Dicom_OtherValue<Dicom_OW, Dicom_VR::OW> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_OW OW_NULL;
