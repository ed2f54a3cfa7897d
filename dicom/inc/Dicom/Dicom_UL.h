// Dicom_UL: Unsigned Long: binary numbers of type unsigned int (converts to unsigned int: the first number).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_UL : public Dicom_NumberValue<Dicom_UL, Dicom_VR::UL, unsigned int> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_UL UL_NULL;
