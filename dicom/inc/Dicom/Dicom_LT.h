// Dicom_LT: Long Text (at most 10240 characters; one value, "\\" is a character).
// Kind: free text (kind 2).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_LT : public Dicom_StringValue<Dicom_LT, Dicom_VR::LT> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_LT LT_NULL;
