// Dicom_UV: Unsigned 64-bit Very long: binary numbers of type unsigned long long (converts to unsigned long
// long: the first number). Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_UV : public Dicom_NumberValue<Dicom_UV, Dicom_VR::UV, unsigned long long> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_UV UV_NULL;
