// Dicom_OB: Other Byte string: bytes as they are; also encapsulated pixel data (IsEncapsulated).
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_OB : public Dicom_OtherValue<Dicom_OB, Dicom_VR::OB> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_OB OB_NULL;
