// IOD_Image: an image IOD: the validators of the image modules and the defined terms.
//
// Module validators take no argument, only read the message and return 1 (valid) or 0
// (invalid). Each logs one record per defect at level 4, category 19, source file
// "src/IOD/IOD_Image", with its qualified name as the function, and goes on with the next check
// (log and continue). When IOD_IOD::IsTolerant is 1 they return 1 after logging; the slide
// coordinates validator alone always returns its own verdict. Three kinds of test:
//  - presence ("... is not found"): the element exists (Find); an empty value passes;
//  - value ("... is not valid"): the value, read as the attribute's class, differs from that
//    class's null constant: an absent and an empty attribute fail alike;
//  - multiplicity ("... has wrong VM"): the number of values of a value that passed.
// The checks of each validator are listed in docs/validation.md.
//
// The defined terms: 319 public static constants (IOD_Image::MONOCHROME2, IOD_Image::ORIGINAL,
// IOD_Image::TIME_SLICE_VECTOR ...), listed with their texts in inc/IOD/tables/IOD_DefinedTerms.def.
// Initialisation order: the constants are built while the library loads, ahead of the default
// order of static initialisation (GCC/Clang init_priority 1100, after the DICOM layer's own
// constants at 1000), whether the library is linked as a shared or a static library. Static
// objects of a program or library using IOD (default priority) may therefore read and copy
// them in their constructors; they are destroyed after those objects when the program exits.
// They never change and may be read from any thread without locking.
#pragma once

#include <IOD/IOD_IOD.h>

class Dicom_ME;
class Dicom_Sequence;

class IOD_Image : public IOD_IOD {
public:
    IOD_Image();
    IOD_Image(const IOD_Image& other);
    IOD_Image(void* buffer, unsigned int length, int copy, int* status);
    IOD_Image(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_Image(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_Image() override;
    IOD_Image& operator=(const IOD_Image& other);

    // --- general modules ---
    int IsPatientModuleValid() const;
    int IsGeneralStudyModuleValid() const;
    int IsGeneralSeriesModuleValid() const;
    int IsFrameModuleValid() const;  // frame of reference
    int IsGeneralEquipmentModuleValid() const;
    int IsSCEquipmentModuleValid() const;
    int IsGeneralImageModuleValid() const;
    int IsImagePixelModuleValid() const;
    int IsImagePlaneModuleValid() const;
    int IsMultiFrameModuleValid() const;

    // --- modality modules ---
    int IsCTImageModuleValid() const;
    int IsMRImageModuleValid() const;
    int IsCRSeriesModuleValid() const;
    int IsXRFTomoAcquisitionModuleValid() const;
    // Offered to callers; no IsValid runs it. Ignores IOD_IOD::IsTolerant.
    int IsSlideCoordinatesModuleValid() const;

    // --- nuclear medicine modules ---
    int IsNMSeriesModuleValid() const;
    int IsNMImagePixelModuleValid() const;
    int IsNMMultiFrameModuleValid() const;
    int IsNMImageModuleValid() const;
    int IsNMIsotopeModuleValid() const;
    int IsNMDetectorModuleValid() const;
    int IsNMTOMOAcquisitionModuleValid() const;
    int IsNMMultigatedAcqusitionModuleValid() const;
    int IsNMPhaseModuleValid() const;
    int IsNMReconstructionModuleValid() const;

    // --- modules whose check accepts every message (they read nothing and return 1) ---
    int IsCRImageModuleValid() const { return 1; }
    int IsCineModuleValid() const { return 1; }
    int IsCurveIdentificationModuleValid() const { return 1; }
    int IsCurveModuleValid() const { return 1; }
    int IsMaskModuleValid() const { return 1; }
    int IsModalityLUTModuleValid() const { return 1; }
    int IsMultiFrameOverlayModuleValid() const { return 1; }
    int IsSCImageModuleValid() const { return 1; }
    // Not IOD_IOD::IsSOPCommonModuleValid, which does check.
    int IsSopCommonModuleValid() const { return 1; }
    int IsSpecimenIdentModuleValid() const { return 1; }
    int IsUSFrameOfReferenceModuleValid() const { return 1; }
    int IsUSImageModuleValid() const { return 1; }
    int IsVLImageModuleValid() const { return 1; }
    int IsXAPositionerModuleValid() const { return 1; }
    int IsXRayAcquisitionModuleValid() const { return 1; }
    int IsXRayImageModuleValid() const { return 1; }
    int IsXRayTableModuleValid() const { return 1; }

    // --- helpers for sequence items (they do not consult IOD_IOD::IsTolerant) ---
    // The code sequence held by `element`: 0 without logging when it has no value; see below.
    int IsCodingValueOfSequenceValid(Dicom_ME* element, int check) const;
    // Every item holds a non-empty Code Value (0008,0100) and Coding Scheme Designator
    // (0008,0102); an empty sequence is valid. With `check` non-zero a sequence whose items all
    // pass is reported once ("invalid Coding Scheme Designator") and judged invalid.
    int IsCodingValueOfSequenceValid(Dicom_Sequence* sequence, int check) const;
    // Template Identifier (0040,DB00) and Mapping Resource (0008,0105) of an item; stops at the
    // first defect; 1 at once when IOD_IOD::IsTolerant is 1.
    int IsTemplateIdentMacroValid(Dicom_Msg* item) const;
    // 1 when `element` holds a sequence of exactly `count` items, else 0 (null element too).
    // Logs nothing.
    int CheckNItemsInSequence(Dicom_ME* element, int count) const;

    // --- defined terms (see inc/IOD/tables/IOD_DefinedTerms.def) ---
#define IOD_TERM_CS(NAME, TEXT) static const Dicom_CS NAME;
#define IOD_TERM_AT(NAME, GROUP, ELEMENT) static const Dicom_AT NAME;
#define IOD_TERM_SH(NAME, TEXT) static const Dicom_SH NAME;
#define IOD_TERM_LO(NAME, TEXT) static const Dicom_LO NAME;
#include <IOD/tables/IOD_DefinedTerms.def>
#undef IOD_TERM_CS
#undef IOD_TERM_AT
#undef IOD_TERM_SH
#undef IOD_TERM_LO

private:
    // Referenced SOP Class UID (0008,1150) and Instance UID (0008,1155) of every item.
    int IsReferenceSOPOfSequenceValid(Dicom_Sequence* sequence) const;
};
