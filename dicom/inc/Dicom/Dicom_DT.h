// Dicom_DT: Date Time ("YYYY[MM[DD[HH[MM[SS[.F{1,6}]]]]]][&ZZXX]", at most 26 characters).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_DT : public Dicom_StringValue<Dicom_DT, Dicom_VR::DT> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_DT DT_NULL;
