// Dicom_SV: Signed 64-bit Very long: binary numbers of type long long (converts to long long: the first
// number). Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_OtherType.h>

class Dicom_SV : public Dicom_NumberValue<Dicom_SV, Dicom_VR::SV, long long> {
public:
    using Dicom_NumberValue::Dicom_NumberValue;
};

extern const Dicom_SV SV_NULL;
