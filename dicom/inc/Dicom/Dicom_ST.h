// Dicom_ST: Short Text (at most 1024 characters; one value).
// Kind: free text (kind 2).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_ST : public Dicom_StringValue<Dicom_ST, Dicom_VR::ST> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_ST ST_NULL;
