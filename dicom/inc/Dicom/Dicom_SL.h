// Dicom_SL: Signed Long: binary numbers of type int (converts to int: the first number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_SL : public Dicom_NumberValue<Dicom_SL, Dicom_VR::SL, int> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_SL SL_NULL;
