// Dicom_DA: Date ("YYYYMMDD"; a query may hold a range "YYYYMMDD-YYYYMMDD" with either end open).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_DA : public Dicom_StringValue<Dicom_DA, Dicom_VR::DA> {
public:
    using Dicom_StringValue::Dicom_StringValue;
    // Today's local date, "YYYYMMDD".
    static Dicom_DA GetCurrentDate();
};

extern const Dicom_DA DA_NULL;
