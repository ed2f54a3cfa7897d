// IOD_Image: constructors, the defined-term constants and the image module validators.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_Image.h>

#include "IOD_ClassSupport.h"
#include "IOD_ValidatorSupport.h"

#define IOD_SOURCE "src/IOD/IOD_Image"

// --- constructors ---

IOD_DEFINE_CONSTRUCTORS(IOD_Image, IOD_IOD)
IOD_DEFINE_SYNTAX_CONSTRUCTOR(IOD_Image, IOD_IOD)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_Image, IOD_IOD)
IOD_DEFINE_ASSIGNMENT(IOD_Image)

// --- defined terms ---
// Built ahead of the default order of static initialisation (the DICOM layer's UID constants are
// initialised at compile time), so that static objects of any user may read them; see
// IOD_Image.h. No constant depends on another. The constructors' status is not consulted: every
// text is kept as it stands, also the two code strings longer than 16 characters.
namespace {
int g_termStatus = 0;

// The texts side by side in one block of read-only data, in the order of the table: the
// constructors read them one after the other from a few pages, where string literals would be
// scattered over all of the program's constant data (and each new page costs a fault at load).
struct TermTexts {
#define IOD_TERM_CS(NAME, TEXT) char NAME[sizeof(TEXT)];
#define IOD_TERM_AT(NAME, GROUP, ELEMENT)
#define IOD_TERM_SH(NAME, TEXT) char NAME[sizeof(TEXT)];
#define IOD_TERM_LO(NAME, TEXT) char NAME[sizeof(TEXT)];
#include <IOD/tables/IOD_DefinedTerms.def>
#undef IOD_TERM_CS
#undef IOD_TERM_AT
#undef IOD_TERM_SH
#undef IOD_TERM_LO
};
constexpr TermTexts kTermTexts = {
#define IOD_TERM_CS(NAME, TEXT) TEXT,
#define IOD_TERM_AT(NAME, GROUP, ELEMENT)
#define IOD_TERM_SH(NAME, TEXT) TEXT,
#define IOD_TERM_LO(NAME, TEXT) TEXT,
#include <IOD/tables/IOD_DefinedTerms.def>
#undef IOD_TERM_CS
#undef IOD_TERM_AT
#undef IOD_TERM_SH
#undef IOD_TERM_LO
};
}  // namespace

#define IOD_TERM_PRIORITY [[gnu::init_priority(1100)]]
#define IOD_TERM_CS(NAME, TEXT) \
    IOD_TERM_PRIORITY const Dicom_CS IOD_Image::NAME(kTermTexts.NAME, &g_termStatus);
#define IOD_TERM_AT(NAME, GROUP, ELEMENT) IOD_TERM_PRIORITY const Dicom_AT IOD_Image::NAME(GROUP, ELEMENT);
#define IOD_TERM_SH(NAME, TEXT) \
    IOD_TERM_PRIORITY const Dicom_SH IOD_Image::NAME(kTermTexts.NAME, 1, &g_termStatus);
#define IOD_TERM_LO(NAME, TEXT) \
    IOD_TERM_PRIORITY const Dicom_LO IOD_Image::NAME(kTermTexts.NAME, 1, &g_termStatus);
#include <IOD/tables/IOD_DefinedTerms.def>
#undef IOD_TERM_CS
#undef IOD_TERM_AT
#undef IOD_TERM_SH
#undef IOD_TERM_LO
#undef IOD_TERM_PRIORITY

int IOD_ProjectionImageIsValid(const IOD_Image& image) {
    return IOD_AllChecksPassed({image.IsPatientModuleValid(), image.IsGeneralStudyModuleValid(),
                                image.IsGeneralSeriesModuleValid(), image.IsGeneralEquipmentModuleValid(),
                                image.IsGeneralImageModuleValid(), image.IsImagePixelModuleValid()});
}

// --- sequence helpers ---

int IOD_Image::CheckNItemsInSequence(Dicom_ME* element, int count) const {
    if (element == nullptr) return 0;
    const Dicom_Type* value = element->GetData();
    if (value == nullptr || value->GetVR() != Dicom_VR::SQ) return 0;
    return static_cast<const Dicom_SQ*>(value)->GetNItems() == count ? 1 : 0;
}

// --- general modules ---
// Common frame: result 1; every check that fails logs its defect and sets it to 0; the verdict
// is 1 when the process is tolerant, else the result.

namespace {

// SOP Class UID (0008,0016) is CT Image Storage or MR Image Storage.
bool is_ct_or_mr(const Dicom_Msg& msg) {
    Dicom_UI scratch;
    const Dicom_UI& sopClass = IOD_ReadAs<Dicom_UI>(msg, Dicom_Dictionary::SOP_CLASS_UID, scratch);
    return sopClass == Dicom_UIDic::CT_IMAGE_STORAGE || sopClass == Dicom_UIDic::MR_IMAGE_STORAGE;
}

// The encoded length of the value of Pixel Data; invalid when it cannot be told (no value, or a
// sequence where pixel data should be). Native pixel data counts its bytes without the padding
// byte that an odd length is written with: that byte holds no pixel.
Dicom_DumpLen pixel_data_length(const Dicom_Type* value, const Dicom_TransferSyntax& syntax) {
    if (value == nullptr) return Dicom_DumpLen(false);
    switch (value->GetVR()) {
        case Dicom_VR::OB:
        case Dicom_VR::OW:
        case Dicom_VR::OD:
        case Dicom_VR::OF:
        case Dicom_VR::OL:
        case Dicom_VR::OV:
        case Dicom_VR::UN: {
            const auto* other = static_cast<const Dicom_OtherType*>(value);
            return other->IsEncapsulated() ? other->GetDumpLen() : Dicom_DumpLen(other->GetRawLen());
        }
        case Dicom_VR::SQ:
            return Dicom_DumpLen(false);
        default:
            return Dicom_DumpLen(value->GetValueLength(syntax));
    }
}

}  // namespace

int IOD_Image::IsPatientModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsPatientModuleValid";
    int result = 1;
    IOD_CHECK_PRESENT(Dicom_Dictionary::PATIENT_NAME, "IsPatientModuleValid: Patients Name is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::PATIENT_ID, "IsPatientModuleValid: Patient ID is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::PATIENT_BIRTH_DATE,
                      "IsPatientModuleValid: Patients Birth Date is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::PATIENT_SEX, "IsPatientModuleValid: Patients Sex is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsGeneralStudyModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsGeneralStudyModuleValid";
    int result = 1;
    IOD_CHECK_VALUE(Dicom_UI, Dicom_Dictionary::STUDY_INSTANCE_UID,
                    "IsGeneralStudyModuleValid: Study Instance UID is not valid\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::STUDY_DATE, "IsGeneralStudyModuleValid: Study Date is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::STUDY_TIME, "IsGeneralStudyModuleValid: Study Time is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::REFERRING_PHYSICIAN_NAME,
                      "IsGeneralStudyModuleValid: Referring Physicians Name is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::STUDY_ID, "IsGeneralStudyModuleValid: Study ID is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::ACCESSION_NUMBER,
                      "IsGeneralStudyModuleValid: Accession Number is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsGeneralSeriesModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsGeneralSeriesModuleValid";
    int result = 1;
    // The modality is not compared with the defined terms.
    IOD_CHECK_VALUE(Dicom_CS, Dicom_Dictionary::MODALITY,
                    "IsGeneralSeriesModuleValid: Modality is not valid\n");
    IOD_CHECK_VALUE(Dicom_UI, Dicom_Dictionary::SERIES_INSTANCE_UID,
                    "IsGeneralSeriesModuleValid: Series Instance UID is not valid\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::SERIES_NUMBER,
                      "IsGeneralSeriesModuleValid: Series Number is not found\n");
    if (is_ct_or_mr(*this)) {
        IOD_CHECK_PRESENT(Dicom_Dictionary::PATIENT_POSITION,
                          "IsGeneralSeriesModuleValid: Patient Position is not found\n");
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsFrameModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsFrameModuleValid";
    int result = 1;
    IOD_CHECK_VALUE(Dicom_UI, Dicom_Dictionary::FRAME_OF_REFERENCE_UID,
                    "IsFrameModuleValid: Frame of Reference UID is not valid\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::POSITION_REFERENCE_INDICATOR,
                      "IsFrameModuleValid: Position Reference Indicator is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsGeneralEquipmentModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsGeneralEquipmentModuleValid";
    int result = 1;
    IOD_CHECK_PRESENT(Dicom_Dictionary::MANUFACTURER,
                      "IsGeneralEquipmentModuleValid: Manufacturer is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsSCEquipmentModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsSCEquipmentModuleValid";
    int result = 1;
    // The conversion type is not compared with the defined terms.
    IOD_CHECK_VALUE(Dicom_CS, Dicom_Dictionary::CONVERSION_TYPE,
                    "IsSCEquipmentModuleValid: Conversion Type is not valid\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsGeneralImageModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsGeneralImageModuleValid";
    int result = 1;
    IOD_CHECK_PRESENT(Dicom_Dictionary::INSTANCE_NUMBER,
                      "IsGeneralImageModuleValid: Image Number is not found\n");
    // Patient Orientation is demanded of CT and MR images only, and only when they lack the
    // orientation vector.
    if (is_ct_or_mr(*this) && !IOD_IsPresent(*this, Dicom_Dictionary::IMAGE_ORIENTATION_PATIENT)) {
        IOD_CHECK_PRESENT(Dicom_Dictionary::PATIENT_ORIENTATION,
                          "IsGeneralImageModuleValid: Patient Orientation is not found\n");
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsImagePixelModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsImagePixelModuleValid";
    int result = 1;
    Dicom_US s1, s3, s4, s5, s8;
    const Dicom_US& samples = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::SAMPLES_PER_PIXEL, s1);
    if (samples == US_NULL) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Samples per Pixel is not valid\n");
        result = 0;
    }
    IOD_CHECK_VALUE(Dicom_CS, Dicom_Dictionary::PHOTOMETRIC_INTERPRETATION,
                    "IsImagePixelModuleValid: Photometric Interpretation is not valid\n");
    const Dicom_US& rows = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::ROWS, s3);
    if (rows == US_NULL) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Rows is not valid\n");
        result = 0;
    }
    const Dicom_US& columns = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::COLUMNS, s4);
    if (columns == US_NULL) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Columns is not valid\n");
        result = 0;
    }
    const Dicom_US& bitsAllocated = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::BITS_ALLOCATED, s5);
    if (bitsAllocated == US_NULL) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Bits Allocated is not valid\n");
        result = 0;
    }
    IOD_CHECK_VALUE(Dicom_US, Dicom_Dictionary::BITS_STORED,
                    "IsImagePixelModuleValid: Bits Stored is not valid\n");
    IOD_CHECK_VALUE(Dicom_US, Dicom_Dictionary::HIGH_BIT, "IsImagePixelModuleValid: High Bit is not valid\n");

    // An unknown pixel representation is a warning, not a defect.
    const Dicom_US& representation = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::PIXEL_REPRESENTATION, s8);
    if (representation == US_NULL) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Pixel Representation is not valid\n");
        result = 0;
    } else if (static_cast<unsigned short>(representation) >= 2) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Pixel Representation is unknown\n");
    }

    const Dicom_ME* pixelData = Find(Dicom_Dictionary::PIXEL_DATA, false);
    if (pixelData == nullptr) {
        IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Pixel Data is not found\n");
        result = 0;
    } else {
        const Dicom_DumpLen length = pixel_data_length(pixelData->GetData(), GetTransferSyntax());
        if (!length.IsValid()) {
            IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Pixel Data is not valid\n");
            result = 0;
        } else if (static_cast<unsigned short>(bitsAllocated) == 16) {
            // Only 16-bit data is measured, against one single-sample frame: Rows x Columns as a
            // 32-bit product, twice that in bytes, both wrapping as 32-bit numbers do.
            const auto pixels = static_cast<uint32_t>(static_cast<unsigned short>(rows)) *
                                static_cast<uint32_t>(static_cast<unsigned short>(columns));
            if (2u * pixels > length.GetDumpLen()) {
                IOD_DEFECT(kFunction, "IsImagePixelModuleValid: Length of Pixel Data is not valid\n");
                result = 0;
            }
        }
    }

    if (static_cast<unsigned short>(samples) > 1) {
        IOD_CHECK_VALUE(Dicom_US, Dicom_Dictionary::PLANAR_CONFIGURATION,
                        "IsImagePixelModuleValid: Planar Configuration is not valid\n");
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsImagePlaneModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsImagePlaneModuleValid";
    int result = 1;
    Dicom_DS s1, s2, s3;
    const Dicom_DS& spacing = IOD_ReadAs<Dicom_DS>(*this, Dicom_Dictionary::PIXEL_SPACING, s1);
    if (spacing == DS_NULL) {
        IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Pixel Spacing is not valid\n");
        result = 0;
    } else if (spacing.GetVM() < 2) {
        IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Pixel Spacing has wrong VM\n");
        result = 0;
    }

    const Dicom_DS& orientation =
        IOD_ReadAs<Dicom_DS>(*this, Dicom_Dictionary::IMAGE_ORIENTATION_PATIENT, s2);
    if (orientation == DS_NULL) {
        IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Image Orientation is not valid\n");
        result = 0;
    } else if (orientation.GetVM() < 6) {
        IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Image Orientation has wrong VM\n");
        result = 0;
    } else {
        // Both direction cosines must be unit vectors (within 1e-6); values beyond the sixth and
        // orthogonality are not looked at. A value that is not a number counts as 0.
        static constexpr const char* kDirection[2] = {"row", "column"};
        for (int v = 0; v < 2; ++v) {
            double sum = 0;
            for (int k = 0; k < 3; ++k) {
                double d = 0;
                if (orientation.GetValue(3 * v + k, &d) != 0) d = 0;
                sum += d * d;
            }
            if (sum < 0.999999 || sum > 1.000001) {
                IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Unnormalized %s direction\n", kDirection[v]);
                result = 0;
            }
        }
    }

    const Dicom_DS& position = IOD_ReadAs<Dicom_DS>(*this, Dicom_Dictionary::IMAGE_POSITION_PATIENT, s3);
    if (position == DS_NULL) {
        IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Image Position is not valid\n");
        result = 0;
    } else if (position.GetVM() < 3) {
        IOD_DEFECT(kFunction, "IsImagePlaneModuleValid: Image Position has wrong VM\n");
        result = 0;
    }
    IOD_CHECK_PRESENT(Dicom_Dictionary::SLICE_THICKNESS,
                      "IsImagePlaneModuleValid: Slice Thickness is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsMultiFrameModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsMultiFrameModuleValid";
    int result = 1;
    // Neither the number of frames nor the attribute the pointer names is checked further.
    if (IOD_IsNullValue<Dicom_IS>(*this, Dicom_Dictionary::NUMBER_OF_FRAMES)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "NUMBER_OF_FRAMES");
        result = 0;
    }
    if (IOD_IsNullValue<Dicom_AT>(*this, Dicom_Dictionary::FRAME_INCREMENT_POINTER)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "FRAME_INCREMENT_POINTER");
        result = 0;
    }
    return IOD_Verdict(result);
}

// --- sequence helpers ---

int IOD_Image::IsCodingValueOfSequenceValid(Dicom_ME* element, int check) const {
    static constexpr const char* kFunction = "IOD_Image::IsCodingValueOfSequenceValid";
    if (element == nullptr) {
        IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: null input\n");
        return 0;
    }
    Dicom_Type* value = element->GetChangeableData();
    if (value == nullptr) return 0;
    // A value of another class holds no sequence.
    Dicom_Sequence* sequence =
        value->GetVR() == Dicom_VR::SQ ? &static_cast<Dicom_SQ*>(value)->GetSequence() : nullptr;
    if (sequence == nullptr) {
        IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: sequence is NULL\n");
        return 0;
    }
    return IsCodingValueOfSequenceValid(sequence, check);
}

int IOD_Image::IsCodingValueOfSequenceValid(Dicom_Sequence* sequence, int check) const {
    static constexpr const char* kFunction = "IOD_Image::IsCodingValueOfSequenceValid";
    if (sequence == nullptr) {
        IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: null input\n");
        return 0;
    }
    const int items = sequence->GetNItems();
    if (items < 1) return 1;
    int result = 1;
    for (int i = 0; i < items; ++i) {
        const Dicom_Msg* item = sequence->Get(i);
        if (item == nullptr) {
            IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: Dicom_Msg of sequence %d is NULL\n", i);
            result = 0;
            continue;
        }
        const Dicom_Type* code = item->Get(Dicom_Dictionary::CODE_VALUE);
        if (code == nullptr) {
            IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: Code Value (seq # %d) was not found\n", i);
            result = 0;
        } else if (code->GetVM() < 1 || *code == SH_NULL) {
            IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: invalid Code Value (for seq # %d)\n", i);
            result = 0;
        }
        const Dicom_Type* scheme = item->Get(Dicom_Dictionary::CODING_SCHEME_DESIGNATOR);
        if (scheme == nullptr) {
            IOD_DEFECT(kFunction,
                       "IsCodingValueOfSequenceValid: Coding Scheme Designator (seq # %d)was not found\n", i);
            result = 0;
        } else if (scheme->GetVM() < 1 || *scheme == SH_NULL) {
            IOD_DEFECT(kFunction,
                       "IsCodingValueOfSequenceValid: invalid Coding Scheme (seq # %d) Designator\n", i);
            result = 0;
        }
        // With the check flag, a sequence whose items pass so far is judged invalid: no
        // designator value is compared (reported once).
        if (check != 0 && result == 1) {
            IOD_DEFECT(kFunction, "IsCodingValueOfSequenceValid: invalid Coding Scheme Designator\n");
            result = 0;
        }
    }
    return result;
}

int IOD_Image::IsReferenceSOPOfSequenceValid(Dicom_Sequence* sequence) const {
    static constexpr const char* kFunction = "IOD_Image::IsReferenceSOPOfSequenceValid";
    if (sequence == nullptr) {
        IOD_DEFECT(kFunction, "IsReferenceSOPOfSequenceValid: null input\n");
        return 0;
    }
    const int items = sequence->GetNItems();
    if (items < 1) return 1;
    int result = 1;
    for (int i = 0; i < items; ++i) {
        const Dicom_Msg* item = sequence->Get(i);
        if (item == nullptr) {
            IOD_DEFECT(kFunction, "IsReferenceSOPOfSequenceValid: Dicom_Msg of %d sequence is NULL\n", i);
            result = 0;
            continue;
        }
        Dicom_UI scratch;
        const Dicom_Type* sopClass = item->Get(Dicom_Dictionary::REFERENCED_SOP_CLASS_UID);
        if (sopClass == nullptr) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCE_SOP_CLASS_UID");
            result = 0;
        } else if (IOD_ViewAs<Dicom_UI>(sopClass, scratch) == UI_NULL) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCE_SOP_CLASS_UID");
            result = 0;
        }
        Dicom_UI scratch2;
        const Dicom_Type* sopInstance = item->Get(Dicom_Dictionary::REFERENCED_SOP_INSTANCE_UID);
        if (sopInstance == nullptr) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCE_SOP_INSTANCE_UID");
            result = 0;
        } else if (IOD_ViewAs<Dicom_UI>(sopInstance, scratch2) == UI_NULL) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "REFERENCE_SOP_INSTANCE_UID");
            result = 0;
        }
    }
    return result;
}

int IOD_Image::IsTemplateIdentMacroValid(Dicom_Msg* item) const {
    static constexpr const char* kFunction = "IOD_Image::IsTemplateIdentMacroValid";
    if (IOD_IOD::IsTolerant == 1) return 1;
    // Stops at the first defect. A missing item has no template identifier.
    Dicom_CS scratch;
    if (item == nullptr ||
        IOD_ViewAs<Dicom_CS>(item->Get(Dicom_Dictionary::TEMPLATE_IDENTIFIER), scratch) == CS_NULL) {
        IOD_DEFECT(kFunction, "IsTemplateIdentMacroValid: template identifier is not valid\n");
        return 0;
    }
    Dicom_CS scratch2;
    if (IOD_ViewAs<Dicom_CS>(item->Get(Dicom_Dictionary::MAPPING_RESOURCE), scratch2) == CS_NULL) {
        IOD_DEFECT(kFunction, "IsTemplateIdentMacroValid: mapping resource is not valid\n");
        return 0;
    }
    return 1;
}

// --- modality modules ---

namespace {

// Image Type (0008,0008) must be ORIGINAL\PRIMARY with a third value; `which` is 0 for a null
// value, 1 for other first two values, 2 for a missing third value, -1 when it passes.
int image_type_defect(const Dicom_Msg& msg) {
    Dicom_CS scratch;
    const Dicom_CS& type = IOD_ReadAs<Dicom_CS>(msg, Dicom_Dictionary::IMAGE_TYPE, scratch);
    if (type == CS_NULL) return 0;
    // value 2 is compared only when value 1 matched
    if (!IOD_ValueIs(type, 0, IOD_Image::ORIGINAL) || !IOD_ValueIs(type, 1, IOD_Image::PRIMARY)) return 1;
    if (type.GetVM() < 3) return 2;  // value 3 itself is not compared
    return -1;
}

// Photometric Interpretation (0028,0004) is MONOCHROME1 or MONOCHROME2.
bool is_monochrome(const Dicom_CS& photometric) {
    return photometric == IOD_Image::MONOCHROME1 || photometric == IOD_Image::MONOCHROME2;
}

}  // namespace

int IOD_Image::IsCTImageModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsCTImageModuleValid";
    int result = 1;
    switch (image_type_defect(*this)) {
        case 0:
            IOD_DEFECT(kFunction, "IsCTImageModuleValid: Image Type is not valid\n");
            result = 0;
            break;
        case 1:
            IOD_DEFECT(kFunction, "IsCTImageModuleValid: Image Type value is not valid\n");
            result = 0;
            break;
        case 2:
            IOD_DEFECT(kFunction, "IsCTImageModuleValid: the Value 3 of Image Type is not found\n");
            result = 0;
            break;
        default:
            break;
    }

    Dicom_US s2, s4, s5, s6;
    const Dicom_US& samples = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::SAMPLES_PER_PIXEL, s2);
    if (samples == US_NULL) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Samples per Pixel is not valid\n");
        result = 0;
    } else if (static_cast<unsigned short>(samples) != 1) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Samples per Pixel is not one\n");
        result = 0;
    }

    Dicom_CS s3;
    const Dicom_CS& photometric =
        IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::PHOTOMETRIC_INTERPRETATION, s3);
    if (photometric == CS_NULL) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Photometric Interpretation is not valid\n");
        result = 0;
    } else if (!is_monochrome(photometric)) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Photometric Interpretation is not MONOCHROME\n");
        result = 0;
    }

    const Dicom_US& bitsAllocated = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::BITS_ALLOCATED, s4);
    if (bitsAllocated == US_NULL) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Bits Allocated is not valid\n");
        result = 0;
    } else if (static_cast<unsigned short>(bitsAllocated) != 16) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Bits Allocated is not 16\n");
        result = 0;
    }

    const Dicom_US& bitsStored = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::BITS_STORED, s5);
    if (bitsStored == US_NULL) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Bits Stored is not valid\n");
        result = 0;
    } else if (static_cast<unsigned short>(bitsStored) < 12) {
        // The text names Bits Allocated; it is the archive's wording for this check.
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Bits Allocated is less 12\n");
        result = 0;
    }

    const Dicom_US& highBit = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::HIGH_BIT, s6);
    if (highBit == US_NULL) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: High Bit is not valid\n");
        result = 0;
    } else if (static_cast<int>(static_cast<unsigned short>(highBit)) !=
               static_cast<int>(static_cast<unsigned short>(bitsStored)) - 1) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: HigH Bit is incorrect\n");
        result = 0;
    }

    // Rescale Intercept is tested twice, the second time in place of Rescale Slope: the slope
    // never matters and a missing intercept is reported twice, as the archive always did.
    const bool interceptNull = IOD_IsNullValue<Dicom_DS>(*this, Dicom_Dictionary::RESCALE_INTERCEPT);
    if (interceptNull) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Rescale Intercept is not valid\n");
        result = 0;
    }
    if (interceptNull) {
        IOD_DEFECT(kFunction, "IsCTImageModuleValid: Rescale Intercept is not valid\n");
        result = 0;
    }

    IOD_CHECK_PRESENT(Dicom_Dictionary::KVP, "IsCTImageModuleValid: KVP is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::ACQUISITION_NUMBER,
                      "IsCTImageModuleValid: Acquisition Number is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsMRImageModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsMRImageModuleValid";
    int result = 1;
    switch (image_type_defect(*this)) {
        case 0:
            IOD_DEFECT(kFunction, "IsMRImageModuleValid: Image Type is not valid\n");
            result = 0;
            break;
        case 1:
            IOD_DEFECT(kFunction, "IsMRImageModuleValid: the Image Type value is not valid\n");
            result = 0;
            break;
        case 2:
            IOD_DEFECT(kFunction, "IsMRImageModuleValid: the Value 3 of Image Type is not found\n");
            result = 0;
            break;
        default:
            break;
    }

    Dicom_US s2, s4;
    const Dicom_US& samples = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::SAMPLES_PER_PIXEL, s2);
    if (samples == US_NULL) {
        IOD_DEFECT(kFunction, "IsMRImageModuleValid: Samples per Pixel is not valid\n");
        result = 0;
    } else if (static_cast<unsigned short>(samples) != 1) {
        IOD_DEFECT(kFunction, "IsMRImageModuleValid: Samples per Pixel is not one\n");
        result = 0;
    }

    Dicom_CS s3;
    const Dicom_CS& photometric =
        IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::PHOTOMETRIC_INTERPRETATION, s3);
    if (photometric == CS_NULL) {
        IOD_DEFECT(kFunction, "IsMRImageModuleValid: Photometric Interpretation is not valid\n");
        result = 0;
    } else if (!is_monochrome(photometric)) {
        IOD_DEFECT(kFunction, "IsMRImageModuleValid: Photometric Interpretation is not MONOCHROM\n");
        result = 0;
    }

    // Bits Stored and High Bit are not checked for MR.
    const Dicom_US& bitsAllocated = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::BITS_ALLOCATED, s4);
    if (bitsAllocated == US_NULL) {
        IOD_DEFECT(kFunction, "IsMRImageModuleValid: Bits Allocated is not valid\n");
        result = 0;
    } else if (static_cast<unsigned short>(bitsAllocated) != 16) {
        IOD_DEFECT(kFunction, "IsMRImageModuleValid: Bits Allocated is not 16\n");
        result = 0;
    }

    // The scanning sequence and variant are not compared with the defined terms.
    IOD_CHECK_VALUE(Dicom_CS, Dicom_Dictionary::SCANNING_SEQUENCE,
                    "IsMRImageModuleValid: Scanning Sequence is not valid\n");
    IOD_CHECK_VALUE(Dicom_CS, Dicom_Dictionary::SEQUENCE_VARIANT,
                    "IsMRImageModuleValid: Sequence Variant is not valid\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::SCAN_OPTIONS, "IsMRImageModuleValid: Scan Options is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::MR_ACQUISITION_TYPE,
                      "IsMRImageModuleValid: MR Acquisition Type is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::ECHO_TIME, "IsMRImageModuleValid: Echo Time is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::ECHO_TRAIN_LENGTH,
                      "IsMRImageModuleValid: Echo Train Length is not found\n");
    return IOD_Verdict(result);
}

int IOD_Image::IsCRSeriesModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsCRSeriesModuleValid";
    int result = 1;
    if (!IOD_IsPresent(*this, Dicom_Dictionary::BODY_PART_EXAMINED)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "BODY_PART_EXAMINED");
        result = 0;
    }
    if (!IOD_IsPresent(*this, Dicom_Dictionary::VIEW_POSITION)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "VIEW_POSITION");
        result = 0;
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsXRFTomoAcquisitionModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsXRFTomoAcquisitionModuleValid";
    int result = 1;
    Dicom_CS scratch;
    const Dicom_CS& scanOptions = IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::SCAN_OPTIONS, scratch);
    if (scanOptions == CS_NULL) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "SCAN_OPTIONS");
        result = 0;
    } else if (!scanOptions.MatchAndRetrieve(IOD_Image::TOMO)) {
        return 1;  // not a tomography acquisition: the module does not apply
    }
    if (IOD_IsNullValue<Dicom_DS>(*this, Dicom_Dictionary::TOMO_LAYER_HEIGHT)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "TOMO_LAYER_HEIGHT");
        result = 0;
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsSlideCoordinatesModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsSlideCoordinatesModuleValid";
    int result = 1;
    // The code sequences are read from the top level of the message; their items are not
    // examined. This validator's verdict does not depend on IOD_IOD::IsTolerant.
    IOD_CHECK_VALUE(Dicom_DS, Dicom_Dictionary::X_OFFSET_IN_SLIDE_COORDINATE_SYSTEM,
                    "IsSlideCoordinatesModuleValid: X_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not valid\n");
    IOD_CHECK_VALUE(Dicom_DS, Dicom_Dictionary::Y_OFFSET_IN_SLIDE_COORDINATE_SYSTEM,
                    "IsSlideCoordinatesModuleValid: Y_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not valid\n");
    IOD_CHECK_VALUE(Dicom_SQ, Dicom_Dictionary::COORDINATE_SYSTEM_AXIS_CODE_SEQUENCE,
                    "IsSlideCoordinatesModuleValid: COORDINATE_SYSTEM_AXIS_CODE_SEQUENCE is not valid\n");
    IOD_CHECK_VALUE(Dicom_DS, Dicom_Dictionary::NUMERIC_VALUE,
                    "IsSlideCoordinatesModuleValid: NUMERIC_VALUE is not valid\n");
    IOD_CHECK_VALUE(Dicom_SQ, Dicom_Dictionary::MEASUREMENT_UNITS_CODE_SEQUENCE,
                    "IsSlideCoordinatesModuleValid: MEASURMENT_UNITS_CODE_SEQUENCE is not valid\n");
    IOD_CHECK_PRESENT(
        Dicom_Dictionary::IMAGE_CENTER_POINT_COORDINATES_SEQUENCE,
        "IsSlideCoordinatesModuleValid: IMAGE_CENTER_POINT_COORDINATES_SEQUENCE is not found\n");
    IOD_CHECK_PRESENT(Dicom_Dictionary::Z_OFFSET_IN_SLIDE_COORDINATE_SYSTEM,
                      "IsSlideCoordinatesModuleValid: Z_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not found\n");
    return result;
}

// --- nuclear medicine modules ---
// Each checks the type 1 and type 2 attributes of its module, the enumerated values and the
// conditions that the data set itself decides (mostly value 3 of Image Type, the kind of NM
// image); docs/validation.md lists them. Defects use the "File: ... Attribute:NAME not valid"
// form; a code sequence that the helper rejects is reported by its short name. Attributes of
// sequence items are read from the items; every loop is bounded by the data set.

// One check of an NM module validator in the "File: ... Attribute:NAME not valid" form, one log
// site each: the value under Dicom_Dictionary::TAG of MSG (the message or one of its items) read
// as class V is not null / the element is present. They expect the locals `kFunction` and
// `result`.
#define IOD_REQUIRE_VALUE(MSG, V, TAG, NAME)                    \
    do {                                                        \
        if (IOD_IsNullValue<V>((MSG), Dicom_Dictionary::TAG)) { \
            IOD_ATTRIBUTE_DEFECT(kFunction, NAME);              \
            result = 0;                                         \
        }                                                       \
    } while (0)
#define IOD_REQUIRE_PRESENT(MSG, TAG, NAME)                 \
    do {                                                    \
        if (!IOD_IsPresent((MSG), Dicom_Dictionary::TAG)) { \
            IOD_ATTRIBUTE_DEFECT(kFunction, NAME);          \
            result = 0;                                     \
        }                                                   \
    } while (0)

namespace {

// The kinds of NM image (value 3 of Image Type) that each conditional module applies to.
bool is_kind(const Dicom_CS& imageType, std::initializer_list<const Dicom_CS*> kinds) {
    for (const Dicom_CS* kind : kinds) {
        if (IOD_ValueIs(imageType, 2, *kind)) return true;
    }
    return false;
}
bool is_tomo(const Dicom_CS& t) {
    return is_kind(
        t, {&IOD_Image::TOMO, &IOD_Image::GATED_TOMO, &IOD_Image::RECON_TOMO, &IOD_Image::RECON_GATED_TOMO});
}
bool is_gated(const Dicom_CS& t) {
    return is_kind(t, {&IOD_Image::GATED, &IOD_Image::GATED_TOMO, &IOD_Image::RECON_GATED_TOMO});
}
bool is_reconstruction(const Dicom_CS& t) {
    return is_kind(t, {&IOD_Image::RECON_TOMO, &IOD_Image::RECON_GATED_TOMO});
}
bool is_dynamic(const Dicom_CS& t) { return is_kind(t, {&IOD_Image::DYNAMIC}); }

// The sequence under `tag`, or null when it is absent or holds a value of another class.
const Dicom_SQ* sequence_of(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* value = msg.Get(tag);
    return value != nullptr && value->GetVR() == Dicom_VR::SQ ? static_cast<const Dicom_SQ*>(value) : nullptr;
}

// A sequence with items whose count differs from the number that `countTag` states (when it
// states one): the two must agree.
bool count_disagrees(const Dicom_Msg& msg, const Dicom_SQ* sequence, const Dicom_Tag& countTag) {
    if (sequence == nullptr || sequence->GetNItems() == 0) return false;
    Dicom_US scratch;
    const Dicom_US& count = IOD_ReadAs<Dicom_US>(msg, countTag, scratch);
    return count != US_NULL && static_cast<int>(static_cast<unsigned short>(count)) != sequence->GetNItems();
}

// Value i of a text value is one of `terms`.
bool is_one_of(const Dicom_Type& value, int i, std::initializer_list<const Dicom_CS*> terms) {
    for (const Dicom_CS* term : terms) {
        if (IOD_ValueIs(value, i, *term)) return true;
    }
    return false;
}

// The frame-index vectors that a Frame Increment Pointer may name, with their names.
struct NMVector {
    const Dicom_AT* pointer;
    const char* name;
};
const NMVector kNMVectors[] = {
    {&IOD_Image::ENERGY_WINDOW_VECTOR, "ENERGY_WINDOW_VECTOR"},
    {&IOD_Image::DETECTOR_VECTOR, "DETECTOR_VECTOR"},
    {&IOD_Image::PHASE_VECTOR, "PHASE_VECTOR"},
    {&IOD_Image::ROTATION_VECTOR, "ROTATION_VECTOR"},
    {&IOD_Image::R_R_INTERVAL_VECTOR, "R_R_INTERVAL_VECTOR"},
    {&IOD_Image::TIME_SLOT_VECTOR, "TIME_SLOT_VECTOR"},
    {&IOD_Image::SLICE_VECTOR, "SLICE_VECTOR"},
    {&IOD_Image::ANGULAR_VIEW_VECTOR, "ANGULAR_VIEW_VECTOR"},
    {&IOD_Image::TIME_SLICE_VECTOR, "TIME_SLICE_VECTOR"},
};

}  // namespace

int IOD_Image::IsNMSeriesModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMSeriesModuleValid";
    int result = 1;
    // Patient orientation and gantry relationship (type 2); coded items are checked with the
    // designator flag set.
    Dicom_ME* orientation = Find(Dicom_Dictionary::PATIENT_ORIENTATION_CODE_SEQUENCE, false);
    if (orientation == nullptr) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "PATIENT_ORIENTATION_CODE_SEQUENCE");
        result = 0;
    } else if (IsCodingValueOfSequenceValid(orientation, 1) == 0) {
        IOD_CODE_SEQUENCE_DEFECT(kFunction, "PATIENT_ORIENTATION");
        result = 0;
    }
    Dicom_ME* gantry = Find(Dicom_Dictionary::PATIENT_GANTRY_RELATIONSHIP_CODE_SEQUENCE, false);
    if (gantry == nullptr) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "PATIENT_GANTRY_RELATIONSHIP_CODE_SEQUENCE");
        result = 0;
    } else if (IsCodingValueOfSequenceValid(gantry, 1) == 0) {
        IOD_CODE_SEQUENCE_DEFECT(kFunction, "PATIENT_GANTRY_RELATIONSHIP");
        result = 0;
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMImagePixelModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMImagePixelModuleValid";
    int result = 1;
    Dicom_US s1, s3, s4, s5;
    const Dicom_US& samples = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::SAMPLES_PER_PIXEL, s1);
    if (samples == US_NULL || static_cast<unsigned short>(samples) != 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "SAMPLES_PER_PIXEL");
        result = 0;
    }
    Dicom_CS s2;
    const Dicom_CS& photometric =
        IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::PHOTOMETRIC_INTERPRETATION, s2);
    if (photometric != MONOCHROME2 && photometric != PALETTE_COLOR) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "PHOTOMETRIC_INTERPRETATION");
        result = 0;
    }
    const Dicom_US& allocated = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::BITS_ALLOCATED, s3);
    const auto bitsAllocated = static_cast<unsigned short>(allocated);
    if (allocated == US_NULL || (bitsAllocated != 8 && bitsAllocated != 16)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "BITS_ALLOCATED");
        result = 0;
    }
    const Dicom_US& stored = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::BITS_STORED, s4);
    const auto bitsStored = static_cast<unsigned short>(stored);
    if (stored == US_NULL || bitsStored != bitsAllocated) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "BITS_STORED");
        result = 0;
    }
    const Dicom_US& highBit = IOD_ReadAs<Dicom_US>(*this, Dicom_Dictionary::HIGH_BIT, s5);
    if (highBit == US_NULL || static_cast<int>(static_cast<unsigned short>(highBit)) != bitsStored - 1) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "HIGH_BIT");
        result = 0;
    }
    // Pixel Spacing is type 2: present, and when it has a value, two of them.
    Dicom_DS s6;
    const Dicom_Type* spacingFound = Get(Dicom_Dictionary::PIXEL_SPACING);
    if (Find(Dicom_Dictionary::PIXEL_SPACING, false) == nullptr ||
        (spacingFound != nullptr && IOD_ViewAs<Dicom_DS>(spacingFound, s6) != DS_NULL &&
         IOD_ViewAs<Dicom_DS>(spacingFound, s6).GetVM() != 2)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "PIXEL_SPACING");
        result = 0;
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMMultiFrameModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMMultiFrameModuleValid";
    int result = 1;
    Dicom_IS s1;
    const Dicom_IS& frames = IOD_ReadAs<Dicom_IS>(*this, Dicom_Dictionary::NUMBER_OF_FRAMES, s1);
    int frameCount = -1;  // unknown
    if (frames != IS_NULL && frames.GetValue(0, &frameCount) != 0) frameCount = -1;

    // Every pointer names a frame-index vector, which holds one value per frame.
    Dicom_AT s2;
    const Dicom_AT& pointers = IOD_ReadAs<Dicom_AT>(*this, Dicom_Dictionary::FRAME_INCREMENT_POINTER, s2);
    if (pointers == At_NULL) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "FRAME_INCREMENT_POINTER");
        result = 0;
    }
    bool unknownPointer = false;
    for (int i = 0; i < pointers.Count(); ++i) {
        const Dicom_Tag tag = pointers.GetTag(i);
        const NMVector* vector = nullptr;
        for (const NMVector& v : kNMVectors) {
            if (v.pointer->GetTag(0) == tag) vector = &v;
        }
        if (vector == nullptr) {
            unknownPointer = true;
            continue;
        }
        Dicom_US scratch;
        const Dicom_US& values = IOD_ReadAs<Dicom_US>(*this, tag, scratch);
        if (values == US_NULL || (frameCount >= 0 && values.Count() != frameCount)) {
            IOD_ATTRIBUTE_DEFECT(kFunction, vector->name);
            result = 0;
        }
    }
    if (unknownPointer) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "FRAME_INCREMENT_POINTER");
        result = 0;
    }

    // The counts: energy windows and detectors always; the others by the kind of image.
    IOD_REQUIRE_VALUE(*this, Dicom_US, NUMBER_OF_ENERGY_WINDOWS, "NUMBER_OF_ENERGY_WINDOWS");
    IOD_REQUIRE_VALUE(*this, Dicom_US, NUMBER_OF_DETECTORS, "NUMBER_OF_DETECTORS");
    Dicom_CS s3;
    const Dicom_CS& imageType = IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::IMAGE_TYPE, s3);
    if (is_dynamic(imageType) && IOD_IsNullValue<Dicom_US>(*this, Dicom_Dictionary::NUMBER_OF_PHASES)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "NUMBER_OF_PHASES");
        result = 0;
    }
    if (is_tomo(imageType) && IOD_IsNullValue<Dicom_US>(*this, Dicom_Dictionary::NUMBER_OF_ROTATIONS)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "NUMBER_OF_ROTATIONS");
        result = 0;
    }
    if (is_gated(imageType)) {
        IOD_REQUIRE_VALUE(*this, Dicom_US, NUMBER_OF_RR_INTERVALS, "NUMBER_OF_R_R_INTERVALS");
        IOD_REQUIRE_VALUE(*this, Dicom_US, NUMBER_OF_TIME_SLOTS, "NUMBER_OF_TIME_SLOTS");
    }
    if (is_reconstruction(imageType) &&
        IOD_IsNullValue<Dicom_US>(*this, Dicom_Dictionary::NUMBER_OF_SLICES)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "NUMBER_OF_SLICES");
        result = 0;
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMImageModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMImageModuleValid";
    int result = 1;
    // Image Type: ORIGINAL or DERIVED, PRIMARY, the kind of NM image, EMISSION or TRANSMISSION.
    Dicom_CS s1;
    const Dicom_CS& imageType = IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::IMAGE_TYPE, s1);
    if (imageType.GetVM() != 4 || !is_one_of(imageType, 0, {&ORIGINAL, &DERIVED}) ||
        !IOD_ValueIs(imageType, 1, PRIMARY) ||
        !is_one_of(
            imageType, 2,
            {&STATIC, &DYNAMIC, &GATED, &WHOLE_BODY, &TOMO, &GATED_TOMO, &RECON_TOMO, &RECON_GATED_TOMO}) ||
        !is_one_of(imageType, 3, {&EMISSION, &TRANSMISSION})) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "IMAGE_TYPE");
        result = 0;
    }
    IOD_REQUIRE_PRESENT(*this, COUNTS_ACCUMULATED, "COUNTS_ACCUMULATED");
    // Static and whole-body images state their frame duration; whole-body images their scan.
    const bool wholeBody = is_kind(imageType, {&WHOLE_BODY});
    if ((wholeBody || is_kind(imageType, {&STATIC})) &&
        IOD_IsNullValue<Dicom_IS>(*this, Dicom_Dictionary::ACTUAL_FRAME_DURATION)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "ACTUAL_FRAME_DURATION");
        result = 0;
    }
    if (wholeBody) {
        IOD_REQUIRE_VALUE(*this, Dicom_DS, SCAN_VELOCITY, "SCAN_VELOCITY");
        IOD_REQUIRE_VALUE(*this, Dicom_IS, SCAN_LENGTH, "SCAN_LENGTH");
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMIsotopeModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMIsotopeModuleValid";
    int result = 1;
    // One energy window item per energy window, when the image lists them.
    if (!IOD_IsPresent(*this, Dicom_Dictionary::ENERGY_WINDOW_INFORMATION_SEQUENCE) ||
        count_disagrees(*this, sequence_of(*this, Dicom_Dictionary::ENERGY_WINDOW_INFORMATION_SEQUENCE),
                        Dicom_Dictionary::NUMBER_OF_ENERGY_WINDOWS)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "ENERGY_WINDOW_INFORMATION_SEQUENCE");
        result = 0;
    }
    IOD_REQUIRE_PRESENT(*this, RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE,
                        "RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE");
    // Each radiopharmaceutical names its radionuclide (type 2, coded).
    if (const Dicom_SQ* agents =
            sequence_of(*this, Dicom_Dictionary::RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE)) {
        for (int i = 0; i < agents->GetNItems(); ++i) {
            const Dicom_Msg* item = agents->GetItem(i);
            Dicom_ME* radionuclide =
                item != nullptr ? item->Find(Dicom_Dictionary::RADIONUCLIDE_CODE_SEQUENCE, false) : nullptr;
            if (radionuclide == nullptr) {
                IOD_ATTRIBUTE_DEFECT(kFunction, "RADIONUCLIDE_CODE_SEQUENCE");
                result = 0;
            } else if (IsCodingValueOfSequenceValid(radionuclide, 1) == 0) {
                IOD_CODE_SEQUENCE_DEFECT(kFunction, "RADIONUCLIDE");
                result = 0;
            }
        }
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMDetectorModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMDetectorModuleValid";
    int result = 1;
    const Dicom_SQ* detectors = sequence_of(*this, Dicom_Dictionary::DETECTOR_INFORMATION_SEQUENCE);
    if (!IOD_IsPresent(*this, Dicom_Dictionary::DETECTOR_INFORMATION_SEQUENCE) ||
        count_disagrees(*this, detectors, Dicom_Dictionary::NUMBER_OF_DETECTORS)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "DETECTOR_INFORMATION_SEQUENCE");
        result = 0;
    }
    // Each detector: Collimator Type (type 2, a defined term when given) and Focal Distance
    // (type 2).
    for (int i = 0; detectors != nullptr && i < detectors->GetNItems(); ++i) {
        const Dicom_Msg* item = detectors->GetItem(i);
        if (item == nullptr) continue;
        const Dicom_Type* collimator = item->Get(Dicom_Dictionary::COLLIMATOR_TYPE);
        Dicom_CS scratch;
        if (item->Find(Dicom_Dictionary::COLLIMATOR_TYPE, false) == nullptr ||
            (collimator != nullptr && IOD_ViewAs<Dicom_CS>(collimator, scratch) != CS_NULL &&
             !is_one_of(IOD_ViewAs<Dicom_CS>(collimator, scratch), 0,
                        {&PARA, &PINH, &FANB, &CONE, &SLNT, &ASTG, &DIVG, &NONE, &UNKN}))) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "COLLIMATOR_TYPE");
            result = 0;
        }
        if (item->Find(Dicom_Dictionary::FOCAL_DISTANCE, false) == nullptr) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "FOCAL_DISTANCE");
            result = 0;
        }
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMTOMOAcquisitionModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMTOMOAcquisitionModuleValid";
    Dicom_CS s1;
    if (!is_tomo(IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::IMAGE_TYPE, s1))) return 1;  // not tomographic
    int result = 1;
    const Dicom_SQ* rotations = sequence_of(*this, Dicom_Dictionary::ROTATION_INFORMATION_SEQUENCE);
    if (!IOD_IsPresent(*this, Dicom_Dictionary::ROTATION_INFORMATION_SEQUENCE) ||
        count_disagrees(*this, rotations, Dicom_Dictionary::NUMBER_OF_ROTATIONS)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "ROTATION_INFORMATION_SEQUENCE");
        result = 0;
    }
    // Each rotation: its geometry and timing (type 1), the direction CW or CC.
    for (int i = 0; rotations != nullptr && i < rotations->GetNItems(); ++i) {
        const Dicom_Msg* item = rotations->GetItem(i);
        if (item == nullptr) continue;
        IOD_REQUIRE_VALUE(*item, Dicom_DS, START_ANGLE, "START_ANGLE");
        IOD_REQUIRE_VALUE(*item, Dicom_DS, ANGULAR_STEP, "ANGULAR_STEP");
        Dicom_CS scratch;
        if (!is_one_of(IOD_ReadAs<Dicom_CS>(*item, Dicom_Dictionary::ROTATION_DIRECTION, scratch), 0,
                       {&CW, &CC})) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "ROTATION_DIRECTION");
            result = 0;
        }
        IOD_REQUIRE_VALUE(*item, Dicom_DS, SCAN_ARC, "SCAN_ARC");
        IOD_REQUIRE_VALUE(*item, Dicom_IS, ACTUAL_FRAME_DURATION, "ACTUAL_FRAME_DURATION");
        IOD_REQUIRE_VALUE(*item, Dicom_US, NUMBER_OF_FRAMES_IN_ROTATION, "NUMBER_OF_FRAMES_IN_ROTATION");
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMMultigatedAcqusitionModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMMultigatedAcqusitionModuleValid";
    Dicom_CS s1;
    if (!is_gated(IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::IMAGE_TYPE, s1))) return 1;  // not gated
    int result = 1;
    // Beat Rejection Flag: type 2, Y or N when given.
    Dicom_CS s2;
    const Dicom_CS& rejection = IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::BEAT_REJECTION_FLAG, s2);
    if (!IOD_IsPresent(*this, Dicom_Dictionary::BEAT_REJECTION_FLAG) ||
        (rejection != CS_NULL && !is_one_of(rejection, 0, {&Y, &N}))) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "BEAT_REJECTION_FLAG");
        result = 0;
    }
    // The gated information is required when the frames are indexed by R-R interval.
    Dicom_AT s3;
    const Dicom_AT& pointers = IOD_ReadAs<Dicom_AT>(*this, Dicom_Dictionary::FRAME_INCREMENT_POINTER, s3);
    bool byInterval = false;
    for (int i = 0; i < pointers.Count() && !byInterval; ++i) {
        byInterval = pointers.GetTag(i) == R_R_INTERVAL_VECTOR.GetTag(0);
    }
    const Dicom_SQ* gated = sequence_of(*this, Dicom_Dictionary::GATED_INFORMATION_SEQUENCE);
    if ((byInterval && !IOD_IsPresent(*this, Dicom_Dictionary::GATED_INFORMATION_SEQUENCE)) ||
        count_disagrees(*this, gated, Dicom_Dictionary::NUMBER_OF_RR_INTERVALS)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "GATED_INFORMATION_SEQUENCE");
        result = 0;
    }
    // Each interval lists its data (type 2), and each data item its frame time (type 1).
    for (int i = 0; gated != nullptr && i < gated->GetNItems(); ++i) {
        const Dicom_Msg* item = gated->GetItem(i);
        if (item == nullptr) continue;
        if (item->Find(Dicom_Dictionary::DATA_INFORMATION_SEQUENCE, false) == nullptr) {
            IOD_ATTRIBUTE_DEFECT(kFunction, "DATA_INFORMATION_SEQUENCE");
            result = 0;
            continue;
        }
        const Dicom_SQ* data = sequence_of(*item, Dicom_Dictionary::DATA_INFORMATION_SEQUENCE);
        for (int j = 0; data != nullptr && j < data->GetNItems(); ++j) {
            const Dicom_Msg* dataItem = data->GetItem(j);
            if (dataItem != nullptr && IOD_IsNullValue<Dicom_DS>(*dataItem, Dicom_Dictionary::FRAME_TIME)) {
                IOD_ATTRIBUTE_DEFECT(kFunction, "FRAME_TIME");
                result = 0;
            }
        }
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMPhaseModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMPhaseModuleValid";
    Dicom_CS s1;
    if (!is_dynamic(IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::IMAGE_TYPE, s1))) return 1;  // not dynamic
    int result = 1;
    const Dicom_SQ* phases = sequence_of(*this, Dicom_Dictionary::PHASE_INFORMATION_SEQUENCE);
    if (!IOD_IsPresent(*this, Dicom_Dictionary::PHASE_INFORMATION_SEQUENCE) ||
        count_disagrees(*this, phases, Dicom_Dictionary::NUMBER_OF_PHASES)) {
        IOD_ATTRIBUTE_DEFECT(kFunction, "PHASE_INFORMATION_SEQUENCE");
        result = 0;
    }
    // Each phase: its delay, frame duration, pause and number of frames (type 1).
    for (int i = 0; phases != nullptr && i < phases->GetNItems(); ++i) {
        const Dicom_Msg* item = phases->GetItem(i);
        if (item == nullptr) continue;
        IOD_REQUIRE_VALUE(*item, Dicom_IS, PHASE_DELAY, "PHASE_DELAY");
        IOD_REQUIRE_VALUE(*item, Dicom_IS, ACTUAL_FRAME_DURATION, "ACTUAL_FRAME_DURATION");
        IOD_REQUIRE_VALUE(*item, Dicom_IS, PAUSE_BETWEEN_FRAMES, "PAUSE_BETWEEN_FRAMES");
        IOD_REQUIRE_VALUE(*item, Dicom_US, NUMBER_OF_FRAMES_IN_PHASE, "NUMBER_OF_FRAMES_IN_PHASE");
    }
    return IOD_Verdict(result);
}

int IOD_Image::IsNMReconstructionModuleValid() const {
    static constexpr const char* kFunction = "IOD_Image::IsNMReconstructionModuleValid";
    Dicom_CS s1;
    if (!is_reconstruction(IOD_ReadAs<Dicom_CS>(*this, Dicom_Dictionary::IMAGE_TYPE, s1))) return 1;
    int result = 1;
    IOD_REQUIRE_PRESENT(*this, SPACING_BETWEEN_SLICES, "SPACING_BETWEEN_SLICES");
    IOD_REQUIRE_PRESENT(*this, SLICE_THICKNESS, "SLICE_THICKNESS");
    return IOD_Verdict(result);
}
