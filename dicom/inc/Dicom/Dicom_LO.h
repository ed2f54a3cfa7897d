// Dicom_LO: Long String (at most 64 characters per value).
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_LO : public Dicom_StringValue<Dicom_LO, Dicom_VR::LO> {
public:
    using Dicom_StringValue::Dicom_StringValue;

    // A one-way, keyed encoding of the value for de-identification: HMAC-SHA-256 of the text
    // (leading and trailing spaces removed) rendered as 64 upper-case hex digits, a valid LO.
    // The same text and key always give the same result; an empty value gives an empty value.
    // The key is the environment variable IOD_DEID_KEY, read on first use (set it per site:
    // encodings made with different keys cannot be linked). Without it a fixed built-in key is
    // used, which anyone holding this library can reproduce, and a warning is logged once.
    Dicom_LO GetEncoded() const;
};

extern const Dicom_LO LO_NULL;
