// Dicom_UT: Unlimited Text (one value, no length limit of its own).
// Kind: free text (kind 2).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_UT : public Dicom_StringValue<Dicom_UT, Dicom_VR::UT> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_UT UT_NULL;
