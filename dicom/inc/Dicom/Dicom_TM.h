// Dicom_TM: Time ("HH[MM[SS[.F{1,6}]]]"; a query may hold a range "a-b").
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_TM : public Dicom_StringValue<Dicom_TM, Dicom_VR::TM> {
public:
    using Dicom_StringValue::Dicom_StringValue;
    // The current local time, "HHMMSS.FFFFFF" (microseconds).
    static Dicom_TM GetTickCount();
};

extern const Dicom_TM TM_NULL;
