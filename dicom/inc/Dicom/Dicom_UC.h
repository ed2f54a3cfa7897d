// Dicom_UC: Unlimited Characters (no length limit of its own).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_UC : public Dicom_StringValue<Dicom_UC, Dicom_VR::UC> {
public:
    using Dicom_StringValue::Dicom_StringValue;
};

extern const Dicom_UC UC_NULL;
