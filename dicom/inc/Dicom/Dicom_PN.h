// Dicom_PN: Person Name: up to three component groups (alphabetic, ideographic, phonetic)
// separated by '=', each of up to five components separated by '^' and at most 64 characters.
// Kind: multi-valued (kind 10).
#pragma once

#include <Dicom/Dicom_StringType.h>

class Dicom_PN : public Dicom_StringValue<Dicom_PN, Dicom_VR::PN> {
public:
    using Dicom_StringValue::Dicom_StringValue;

    // The initials of the name: the first character of each component of the alphabetic group,
    // components still separated by '^' and empty trailing components dropped; the other groups
    // are left out. "DOE^JOHN" -> "D^J", "DOE^JOHN^^DR" -> "D^J^^D", "Buc^Jérôme" -> "B^J".
    // Several values give their initials in turn ("A^B\\C^D" -> "A^B\\C^D" ...). The result
    // keeps this value's character set when it can hold the initials, else it is UTF-8.
    Dicom_PN GetInitials() const;
};

extern const Dicom_PN PN_NULL;
