// Dicom_SS: Signed Short: binary numbers of type short (converts to short: the first number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_SS : public Dicom_NumberValue<Dicom_SS, Dicom_VR::SS, short> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_SS SS_NULL;
