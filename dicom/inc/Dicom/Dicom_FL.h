// Dicom_FL: Floating point single: binary numbers of type float (converts to float: the first number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_FL : public Dicom_NumberValue<Dicom_FL, Dicom_VR::FL, float> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_FL FL_NULL;
