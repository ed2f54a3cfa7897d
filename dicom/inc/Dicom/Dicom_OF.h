// Dicom_OF: Other Float: 32-bit floats.
// Kind: other (kind 0).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_OF : public Dicom_OtherValue<Dicom_OF, Dicom_VR::OF> {
public:
    using Dicom_OtherValue::Dicom_OtherValue;
};

extern const Dicom_OF OF_NULL;
