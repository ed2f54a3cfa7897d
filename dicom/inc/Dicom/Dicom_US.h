// Dicom_US: Unsigned Short: binary numbers of type unsigned short (converts to unsigned short: the first
// number). Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_US : public Dicom_NumberValue<Dicom_US, Dicom_VR::US, unsigned short> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_US US_NULL;
