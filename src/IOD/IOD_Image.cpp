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
// Built ahead of the default order of static initialisation (after the DICOM layer's constants,
// priority 1000), so that static objects of any user may read them; see IOD_Image.h. No constant
// depends on another. The constructors' status is not consulted: every text is kept as it
// stands, also the two code strings longer than 16 characters.
namespace {
int g_termStatus = 0;
}  // namespace

#define IOD_TERM_PRIORITY [[gnu::init_priority(1100)]]
#define IOD_TERM_CS(NAME, TEXT) IOD_TERM_PRIORITY const Dicom_CS IOD_Image::NAME(TEXT, &g_termStatus);
#define IOD_TERM_AT(NAME, GROUP, ELEMENT) IOD_TERM_PRIORITY const Dicom_AT IOD_Image::NAME(GROUP, ELEMENT);
#define IOD_TERM_SH(NAME, TEXT) IOD_TERM_PRIORITY const Dicom_SH IOD_Image::NAME(TEXT, 1, &g_termStatus);
#define IOD_TERM_LO(NAME, TEXT) IOD_TERM_PRIORITY const Dicom_LO IOD_Image::NAME(TEXT, 1, &g_termStatus);
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
