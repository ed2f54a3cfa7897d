// Dicom_FD: Floating point Double: binary numbers of type double (converts to double: the first number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_FD : public Dicom_NumberValue<Dicom_FD, Dicom_VR::FD, double> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_FD FD_NULL;
