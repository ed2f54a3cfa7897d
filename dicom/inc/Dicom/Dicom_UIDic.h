// Dicom_UIDic: the standard UIDs by name.
//
// Every UID of the standard's registry (SOP classes, transfer syntaxes, well-known instances ...)
// is a named constant, Dicom_UIDic::CT_IMAGE_STORAGE, Dicom_UIDic::EXPLICIT_VR_LITTLE_ENDIAN, and an
// entry of a table sorted by UID, through which dumps find a UID's name.
//
// The constants are Dicom_UI values over the table's constant bytes, initialised at compile time:
// they are usable by any static object of any library, whatever the order of initialisation, and
// cost nothing when the library loads. The table is constant data without pointers.
#pragma once

#include <Dicom/Dicom_DictText.h>

#include <cstddef>

class Dicom_UI;

struct Dicom_UIDEntry {
    Dicom_DictText uid;       // "1.2.840.10008.5.1.4.1.1.2"
    Dicom_DictText keyword;   // "CTImageStorage"
    Dicom_DictText constant;  // "CT_IMAGE_STORAGE"; "" when the UID has no constant of its own
    Dicom_DictText name;      // "CT Image Storage"
    Dicom_DictText type;      // "SOP Class", "Transfer Syntax", "Well-known SOP Instance", ...
    bool retired;
    bool storage;  // a storage SOP class
};

class Dicom_UIDic {
public:
#include <Dicom/Dicom_UIDicNames.inl>

    // The name of a standard UID ("CT Image Storage"), or nullptr for any other UID. The
    // (text, length) forms take a UI value as stored: trailing NUL and space padding is ignored.
    static const char* Name(const char* uid);
    static const char* Name(const char* uid, size_t length);
    // The entry of a standard UID, or nullptr.
    static const Dicom_UIDEntry* Find(const char* uid);
    static const Dicom_UIDEntry* Find(const char* uid, size_t length);
    // The entry of a keyword ("CTImageStorage") or constant name ("CT_IMAGE_STORAGE"), or nullptr.
    static const Dicom_UIDEntry* FindByName(const char* keywordOrConstant);
    // True for a storage SOP class ("... Storage" of type "SOP Class").
    static bool IsStorageSOPClass(const char* uid, size_t length);

    static size_t Count();
    static const Dicom_UIDEntry& Entry(size_t index);  // in UID order
};
