// Dicom_AS: Age String ("nnnD", "nnnW", "nnnM" or "nnnY").
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_AS : public Dicom_StringValue<Dicom_AS, Dicom_VR::AS> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_AS AS_NULL;
