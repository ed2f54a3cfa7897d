// The general and modality module validators and the IsValid of every class: each defect is one
// level-4 record with its exact text, and IOD_IOD::IsTolerant only changes the verdict.
#include <Dicom/Dicom_UN.h>
#include <IOD/IOD_CRImage.h>
#include <IOD/IOD_CTImage.h>
#include <IOD/IOD_DXImage.h>
#include <IOD/IOD_IOImage.h>
#include <IOD/IOD_MFImage.h>
#include <IOD/IOD_MGImage.h>
#include <IOD/IOD_MRImage.h>
#include <IOD/IOD_NMImage.h>
#include <IOD/IOD_RFImage.h>
#include <IOD/IOD_RTImage.h>
#include <IOD/IOD_SCImage.h>
#include <IOD/IOD_StructuredReporting.h>
#include <IOD/IOD_Tissue.h>
#include <IOD/IOD_USImage.h>
#include <IOD/IOD_VLImage.h>
#include <IOD/IOD_XAImage.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "ValidatorTestSupport.h"

namespace {

using D = Dicom_Dictionary;
using Check = int (IOD_Image::*)() const;
using Lines = std::vector<std::string>;

Change Text(const Dicom_Tag& tag, const char* text) {  // code strings and decimal strings by VR
    return [tag, text](IOD_Msg& m) {
        const Dicom_Type* old = m.Get(tag);
        if (old != nullptr && old->GetVR() == Dicom_VR::DS) {
            Put(m, tag, Dicom_DS(text, nullptr));
        } else {
            Put(m, tag, Dicom_CS(text, nullptr));
        }
    };
}
struct Case {
    const char* what;
    Change change;  // applied to a complete CT image
    Check check;
    const char* module;  // the validator's name
    int valid;
    Lines defects;  // see Expected
};

std::string F(const char* function, const std::string& text) {
    return std::string("IOD_Image::") + function + ": " + text;
}

const Case kCases[] = {
    // patient: presence only, an empty value passes
    {"no patient name", Drop(D::PATIENT_NAME), CHECK(IsPatientModuleValid), 0,
     Lines{"Patients Name is not found"}},
    {"empty patient name", Empty<Dicom_PN>(D::PATIENT_NAME), CHECK(IsPatientModuleValid), 1, Lines{}},
    {"no patient data", All({Drop(D::PATIENT_ID), Drop(D::PATIENT_BIRTH_DATE), Drop(D::PATIENT_SEX)}),
     CHECK(IsPatientModuleValid), 0,
     Lines{"Patient ID is not found", "Patients Birth Date is not found", "Patients Sex is not found"}},
    // general study
    {"empty study uid", Empty<Dicom_UI>(D::STUDY_INSTANCE_UID), CHECK(IsGeneralStudyModuleValid), 0,
     Lines{"Study Instance UID is not valid"}},
    {"no study attributes",
     All({Drop(D::STUDY_INSTANCE_UID), Drop(D::STUDY_DATE), Drop(D::STUDY_TIME),
          Drop(D::REFERRING_PHYSICIAN_NAME), Drop(D::STUDY_ID), Drop(D::ACCESSION_NUMBER)}),
     CHECK(IsGeneralStudyModuleValid), 0,
     Lines{"Study Instance UID is not valid", "Study Date is not found", "Study Time is not found",
           "Referring Physicians Name is not found", "Study ID is not found",
           "Accession Number is not found"}},
    // general series: Patient Position only for CT and MR
    {"no series attributes",
     All({Empty<Dicom_CS>(D::MODALITY), Drop(D::SERIES_INSTANCE_UID), Drop(D::SERIES_NUMBER),
          Drop(D::PATIENT_POSITION)}),
     CHECK(IsGeneralSeriesModuleValid), 0,
     Lines{"Modality is not valid", "Series Instance UID is not valid", "Series Number is not found",
           "Patient Position is not found"}},
    {"MR without patient position",
     All({Drop(D::PATIENT_POSITION), With(D::SOP_CLASS_UID, Dicom_UIDic::MR_IMAGE_STORAGE)}),
     CHECK(IsGeneralSeriesModuleValid), 0, Lines{"Patient Position is not found"}},
    {"SC without patient position",
     All({Drop(D::PATIENT_POSITION), With(D::SOP_CLASS_UID, Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE)}),
     CHECK(IsGeneralSeriesModuleValid), 1, Lines{}},
    // frame of reference, equipment
    {"no frame of reference", All({Drop(D::FRAME_OF_REFERENCE_UID), Drop(D::POSITION_REFERENCE_INDICATOR)}),
     CHECK(IsFrameModuleValid), 0,
     Lines{"Frame of Reference UID is not valid", "Position Reference Indicator is not found"}},
    {"no manufacturer", Drop(D::MANUFACTURER), CHECK(IsGeneralEquipmentModuleValid), 0,
     Lines{"Manufacturer is not found"}},
    {"no conversion type", Drop(D::CONVERSION_TYPE), CHECK(IsSCEquipmentModuleValid), 0,
     Lines{"Conversion Type is not valid"}},
    {"any conversion type", Text(D::CONVERSION_TYPE, "XYZ"), CHECK(IsSCEquipmentModuleValid), 1, Lines{}},
    // general image: Patient Orientation only for CT and MR without the orientation vector
    {"no instance number", Drop(D::INSTANCE_NUMBER), CHECK(IsGeneralImageModuleValid), 0,
     Lines{"Image Number is not found"}},
    {"CT without any orientation", Drop(D::IMAGE_ORIENTATION_PATIENT), CHECK(IsGeneralImageModuleValid), 0,
     Lines{"Patient Orientation is not found"}},
    {"CT with patient orientation only",
     All({Drop(D::IMAGE_ORIENTATION_PATIENT), Text(D::PATIENT_ORIENTATION, "L\\P")}),
     CHECK(IsGeneralImageModuleValid), 1, Lines{}},
    {"SC without any orientation",
     All({Drop(D::IMAGE_ORIENTATION_PATIENT),
          With(D::SOP_CLASS_UID, Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE)}),
     CHECK(IsGeneralImageModuleValid), 1, Lines{}},
    // image pixel
    {"every pixel description empty",
     All({Empty<Dicom_US>(D::SAMPLES_PER_PIXEL), Empty<Dicom_CS>(D::PHOTOMETRIC_INTERPRETATION),
          Empty<Dicom_US>(D::ROWS), Empty<Dicom_US>(D::COLUMNS), Empty<Dicom_US>(D::BITS_ALLOCATED),
          Empty<Dicom_US>(D::BITS_STORED), Empty<Dicom_US>(D::HIGH_BIT),
          Empty<Dicom_US>(D::PIXEL_REPRESENTATION), Drop(D::PIXEL_DATA)}),
     CHECK(IsImagePixelModuleValid), 0,
     Lines{"Samples per Pixel is not valid", "Photometric Interpretation is not valid", "Rows is not valid",
           "Columns is not valid", "Bits Allocated is not valid", "Bits Stored is not valid",
           "High Bit is not valid", "Pixel Representation is not valid", "Pixel Data is not found"}},
    {"pixel representation 2 is only a warning", With(D::PIXEL_REPRESENTATION, Dicom_US(2)),
     CHECK(IsImagePixelModuleValid), 1, Lines{"Pixel Representation is unknown"}},
    {"512 x 512 x 16 bits, one byte short",
     All({With(D::ROWS, Dicom_US(512)), With(D::COLUMNS, Dicom_US(512)),
          With(D::PIXEL_DATA, PixelBytes(524287))}),
     CHECK(IsImagePixelModuleValid), 0, Lines{"Length of Pixel Data is not valid"}},
    {"512 x 512 x 16 bits, whole",
     All({With(D::ROWS, Dicom_US(512)), With(D::COLUMNS, Dicom_US(512)),
          With(D::PIXEL_DATA, PixelBytes(524288))}),
     CHECK(IsImagePixelModuleValid), 1, Lines{}},
    {"8-bit pixel data is not measured",
     All({With(D::ROWS, Dicom_US(512)), With(D::BITS_ALLOCATED, Dicom_US(8)),
          With(D::PIXEL_DATA, PixelBytes(2))}),
     CHECK(IsImagePixelModuleValid), 1, Lines{}},
    {"rows x columns beyond 32 bits wraps",
     All({With(D::ROWS, Dicom_US(65535)), With(D::COLUMNS, Dicom_US(65535))}), CHECK(IsImagePixelModuleValid),
     0, Lines{"Length of Pixel Data is not valid"}},
    {"a sequence as pixel data", With(D::PIXEL_DATA, Dicom_SQ()), CHECK(IsImagePixelModuleValid), 0,
     Lines{"Pixel Data is not valid"}},
    {"three samples without planar configuration", With(D::SAMPLES_PER_PIXEL, Dicom_US(3)),
     CHECK(IsImagePixelModuleValid), 0, Lines{"Planar Configuration is not valid"}},
    {"three samples with planar configuration",
     All({With(D::SAMPLES_PER_PIXEL, Dicom_US(3)), With(D::PLANAR_CONFIGURATION, Dicom_US(0))}),
     CHECK(IsImagePixelModuleValid), 1, Lines{}},
    // image plane
    {"every plane attribute empty",
     All({Empty<Dicom_DS>(D::PIXEL_SPACING), Empty<Dicom_DS>(D::IMAGE_ORIENTATION_PATIENT),
          Empty<Dicom_DS>(D::IMAGE_POSITION_PATIENT), Empty<Dicom_DS>(D::SLICE_THICKNESS)}),
     CHECK(IsImagePlaneModuleValid), 0,
     Lines{"Pixel Spacing is not valid", "Image Orientation is not valid", "Image Position is not valid"}},
    {"short vectors",
     All({Text(D::PIXEL_SPACING, "0.5"), Text(D::IMAGE_ORIENTATION_PATIENT, "1\\0\\0\\0\\1"),
          Text(D::IMAGE_POSITION_PATIENT, "1\\2"), Drop(D::SLICE_THICKNESS)}),
     CHECK(IsImagePlaneModuleValid), 0,
     Lines{"Pixel Spacing has wrong VM", "Image Orientation has wrong VM", "Image Position has wrong VM",
           "Slice Thickness is not found"}},
    {"column cosine short of unit", Text(D::IMAGE_ORIENTATION_PATIENT, "1\\0\\0\\0\\0.999\\0"),
     CHECK(IsImagePlaneModuleValid), 0, Lines{"Unnormalized column direction"}},
    {"both cosines short of unit", Text(D::IMAGE_ORIENTATION_PATIENT, "0.5\\0\\0\\0.5\\0\\0"),
     CHECK(IsImagePlaneModuleValid), 0, Lines{"Unnormalized row direction", "Unnormalized column direction"}},
    {"unit within a millionth, oblique, extra values ignored",
     Text(D::IMAGE_ORIENTATION_PATIENT, "0.6\\0.8\\0\\0\\0.0\\1.0000004\\7"), CHECK(IsImagePlaneModuleValid),
     1, Lines{}},
    {"a cosine that is no number counts as 0", Text(D::IMAGE_ORIENTATION_PATIENT, "1\\0\\0\\0\\x\\0"),
     CHECK(IsImagePlaneModuleValid), 0, Lines{"Unnormalized column direction"}},
    // multi-frame: a CT image has neither attribute
    {"no multi-frame attributes", Drop(D::NUMBER_OF_FRAMES), CHECK(IsMultiFrameModuleValid), 0,
     Lines{"@NUMBER_OF_FRAMES", "@FRAME_INCREMENT_POINTER"}},
    {"multi-frame attributes",
     All({With(D::NUMBER_OF_FRAMES, Dicom_IS(3)),
          With(D::FRAME_INCREMENT_POINTER, Dicom_AT(0x0018, 0x1063))}),
     CHECK(IsMultiFrameModuleValid), 1, Lines{}},
    // SOP common (a member of IOD_IOD)
    {"no SOP UIDs", All({Empty<Dicom_UI>(D::SOP_CLASS_UID), Drop(D::SOP_INSTANCE_UID)}),
     CHECK_IOD(IsSOPCommonModuleValid), 0,
     Lines{"SOP Class UID is not valid", "SOP Instance UID is not valid"}},

    // CT image
    {"derived secondary CT", Text(D::IMAGE_TYPE, "DERIVED\\SECONDARY\\AXIAL"), CHECK(IsCTImageModuleValid), 0,
     Lines{"Image Type value is not valid"}},
    {"original secondary CT", Text(D::IMAGE_TYPE, "ORIGINAL\\SECONDARY\\AXIAL"), CHECK(IsCTImageModuleValid),
     0, Lines{"Image Type value is not valid"}},
    {"two image type values", Text(D::IMAGE_TYPE, "ORIGINAL\\PRIMARY"), CHECK(IsCTImageModuleValid), 0,
     Lines{"the Value 3 of Image Type is not found"}},
    {"CT with every value empty",
     All({Empty<Dicom_CS>(D::IMAGE_TYPE), Empty<Dicom_US>(D::SAMPLES_PER_PIXEL),
          Empty<Dicom_CS>(D::PHOTOMETRIC_INTERPRETATION), Empty<Dicom_US>(D::BITS_ALLOCATED),
          Empty<Dicom_US>(D::BITS_STORED), Empty<Dicom_US>(D::HIGH_BIT),
          Empty<Dicom_DS>(D::RESCALE_INTERCEPT), Empty<Dicom_DS>(D::KVP),
          Empty<Dicom_IS>(D::ACQUISITION_NUMBER)}),
     CHECK(IsCTImageModuleValid), 0,
     Lines{"Image Type is not valid", "Samples per Pixel is not valid",
           "Photometric Interpretation is not valid", "Bits Allocated is not valid",
           "Bits Stored is not valid", "High Bit is not valid", "Rescale Intercept is not valid",
           "Rescale Intercept is not valid"}},
    {"RGB CT", All({Text(D::PHOTOMETRIC_INTERPRETATION, "RGB"), With(D::SAMPLES_PER_PIXEL, Dicom_US(3))}),
     CHECK(IsCTImageModuleValid), 0,
     Lines{"Samples per Pixel is not one", "Photometric Interpretation is not MONOCHROME"}},
    {"MONOCHROME1 CT", Text(D::PHOTOMETRIC_INTERPRETATION, "MONOCHROME1"), CHECK(IsCTImageModuleValid), 1,
     Lines{}},
    {"8-bit CT", All({With(D::BITS_ALLOCATED, Dicom_US(8))}), CHECK(IsCTImageModuleValid), 0,
     Lines{"Bits Allocated is not 16"}},
    {"high bit 15 of 12 stored", With(D::HIGH_BIT, Dicom_US(15)), CHECK(IsCTImageModuleValid), 0,
     Lines{"HigH Bit is incorrect"}},
    // the last invalid value; 12 bits stored (the complete image) is the first valid one
    {"11 bits stored", All({With(D::BITS_STORED, Dicom_US(11)), With(D::HIGH_BIT, Dicom_US(10))}),
     CHECK(IsCTImageModuleValid), 0, Lines{"Bits Allocated is less 12"}},
    {"0 bits stored, high bit 65535",
     All({With(D::BITS_STORED, Dicom_US(0)), With(D::HIGH_BIT, Dicom_US(65535))}),
     CHECK(IsCTImageModuleValid), 0, Lines{"Bits Allocated is less 12", "HigH Bit is incorrect"}},
    {"no rescale intercept", Drop(D::RESCALE_INTERCEPT), CHECK(IsCTImageModuleValid), 0,
     Lines{"Rescale Intercept is not valid", "Rescale Intercept is not valid"}},
    {"no rescale slope", Drop(D::RESCALE_SLOPE), CHECK(IsCTImageModuleValid), 1, Lines{}},
    {"no KVP nor acquisition number", All({Drop(D::KVP), Drop(D::ACQUISITION_NUMBER)}),
     CHECK(IsCTImageModuleValid), 0, Lines{"KVP is not found", "Acquisition Number is not found"}},
    // MR image (the complete CT lacks the MR attributes)
    {"CT as MR", Text(D::IMAGE_TYPE, "DERIVED\\PRIMARY"), CHECK(IsMRImageModuleValid), 0,
     Lines{"the Image Type value is not valid", "Scanning Sequence is not valid",
           "Sequence Variant is not valid", "Scan Options is not found", "MR Acquisition Type is not found",
           "Echo Time is not found", "Echo Train Length is not found"}},
    {"MR image, 8 bits stored, high bit 3",
     All({Text(D::SCANNING_SEQUENCE, "SE"), Text(D::SEQUENCE_VARIANT, "NONE"),
          Empty<Dicom_CS>(D::SCAN_OPTIONS), Text(D::MR_ACQUISITION_TYPE, "2D"),
          With(D::ECHO_TIME, Dicom_DS(20.0)), With(D::ECHO_TRAIN_LENGTH, Dicom_IS(1)),
          With(D::BITS_STORED, Dicom_US(8)), With(D::HIGH_BIT, Dicom_US(3))}),
     CHECK(IsMRImageModuleValid), 1, Lines{}},
    {"MR photometric and samples",
     All({Text(D::IMAGE_TYPE, "ORIGINAL\\PRIMARY"), Text(D::PHOTOMETRIC_INTERPRETATION, "RGB"),
          Empty<Dicom_US>(D::SAMPLES_PER_PIXEL), With(D::BITS_ALLOCATED, Dicom_US(8)),
          Text(D::SCANNING_SEQUENCE, "SE"), Text(D::SEQUENCE_VARIANT, "NONE"),
          Empty<Dicom_CS>(D::SCAN_OPTIONS), Text(D::MR_ACQUISITION_TYPE, "2D"),
          With(D::ECHO_TIME, Dicom_DS(20.0)), With(D::ECHO_TRAIN_LENGTH, Dicom_IS(1))}),
     CHECK(IsMRImageModuleValid), 0,
     Lines{"the Value 3 of Image Type is not found", "Samples per Pixel is not valid",
           "Photometric Interpretation is not MONOCHROM", "Bits Allocated is not 16"}},
    // CR series
    {"no CR series attributes", Drop(D::BODY_PART_EXAMINED), CHECK(IsCRSeriesModuleValid), 0,
     Lines{"@BODY_PART_EXAMINED", "@VIEW_POSITION"}},
    {"CR series attributes, empty",
     All({Empty<Dicom_CS>(D::BODY_PART_EXAMINED), Empty<Dicom_CS>(D::VIEW_POSITION)}),
     CHECK(IsCRSeriesModuleValid), 1, Lines{}},
    // XRF tomography acquisition: only for TOMO scan options
    {"no scan options", Drop(D::SCAN_OPTIONS), CHECK(IsXRFTomoAcquisitionModuleValid), 0,
     Lines{"@SCAN_OPTIONS", "@TOMO_LAYER_HEIGHT"}},
    {"no tomography", Text(D::SCAN_OPTIONS, "FLUORO"), CHECK(IsXRFTomoAcquisitionModuleValid), 1, Lines{}},
    {"tomography without layer height", Text(D::SCAN_OPTIONS, "TOMO"), CHECK(IsXRFTomoAcquisitionModuleValid),
     0, Lines{"@TOMO_LAYER_HEIGHT"}},
    {"tomography among the scan options",
     All({Text(D::SCAN_OPTIONS, "GATED\\TOMO"), With(D::TOMO_LAYER_HEIGHT, Dicom_DS(2.5))}),
     CHECK(IsXRFTomoAcquisitionModuleValid), 1, Lines{}},
    // slide coordinates: also judged invalid when the process is tolerant
    {"no slide coordinates", Drop(D::NUMERIC_VALUE), CHECK(IsSlideCoordinatesModuleValid), 0,
     Lines{"X_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not valid",
           "Y_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not valid",
           "COORDINATE_SYSTEM_AXIS_CODE_SEQUENCE is not valid", "NUMERIC_VALUE is not valid",
           "MEASURMENT_UNITS_CODE_SEQUENCE is not valid",
           "IMAGE_CENTER_POINT_COORDINATES_SEQUENCE is not found",
           "Z_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not found"}},
};

Dicom_SQ OneItemSequence() {
    Dicom_SQ sq;
    Dicom_Msg* item = new Dicom_Msg();
    Dicom_SH code("T-1", nullptr);
    item->Set(D::CODE_VALUE, &code);
    sq.AddItem(item);
    return sq;
}

}  // namespace

TEST(ModuleValidators, EachDefectIsOneLevel4RecordAndToleranceOnlyChangesTheVerdict) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        IOD_CTImage ct;
        FillCompleteCT(ct);
        c.change(ct);
        for (int tolerant : {0, 1}) {
            Tolerant mode(tolerant);
            DefectRecorder log;
            const int expected =
                tolerant && c.check != &IOD_Image::IsSlideCoordinatesModuleValid ? 1 : c.valid;
            EXPECT_EQ((ct.*c.check)(), expected) << "tolerant " << tolerant;
            EXPECT_EQ(log.Defects(), Expected(c.module, c.defects)) << "tolerant " << tolerant;
            EXPECT_TRUE(log.AllFrom(c.check == &IOD_IOD::IsSOPCommonModuleValid ? "src/IOD/IOD_IOD"
                                                                                : "src/IOD/IOD_Image"));
        }
    }
}

TEST(ModuleValidators, SlideCoordinatesPassWithTheirAttributes) {
    IOD_Image image;
    Put(image, D::X_OFFSET_IN_SLIDE_COORDINATE_SYSTEM, Dicom_DS(1.0));
    Put(image, D::Y_OFFSET_IN_SLIDE_COORDINATE_SYSTEM, Dicom_DS(2.0));
    Put(image, D::COORDINATE_SYSTEM_AXIS_CODE_SEQUENCE, OneItemSequence());
    Put(image, D::NUMERIC_VALUE, Dicom_DS(3.0));
    Put(image, D::MEASUREMENT_UNITS_CODE_SEQUENCE, OneItemSequence());
    Put(image, D::IMAGE_CENTER_POINT_COORDINATES_SEQUENCE, Dicom_SQ());
    Put(image, D::Z_OFFSET_IN_SLIDE_COORDINATE_SYSTEM, Dicom_DS());
    DefectRecorder log;
    EXPECT_EQ(image.IsSlideCoordinatesModuleValid(), 1);
    // an empty code sequence is as good as none
    Put(image, D::MEASUREMENT_UNITS_CODE_SEQUENCE, Dicom_SQ());
    EXPECT_EQ(image.IsSlideCoordinatesModuleValid(), 0);
    EXPECT_EQ(log.Defects(),
              Lines{F("IsSlideCoordinatesModuleValid",
                      "IsSlideCoordinatesModuleValid: MEASURMENT_UNITS_CODE_SEQUENCE is not valid")});
}

TEST(SequenceHelpers, CodeSequenceItemsNeedACodeValueAndADesignator) {
    const std::string f = "IOD_Image::IsCodingValueOfSequenceValid: IsCodingValueOfSequenceValid: ";
    IOD_Image image;
    DefectRecorder log;

    EXPECT_EQ(image.IsCodingValueOfSequenceValid(static_cast<Dicom_Sequence*>(nullptr), 0), 0);
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(static_cast<Dicom_ME*>(nullptr), 0), 0);
    Dicom_Sequence empty;
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&empty, 1), 1);  // even with the flag
    EXPECT_EQ(log.Defects(), (Lines{f + "null input", f + "null input"}));
    log.Clear();

    // item 0 complete, item 1 without code value and with an empty designator, item 2 with an
    // empty code value and no designator
    Dicom_Sequence items;
    auto item = [](const char* code, const char* scheme) {
        Dicom_Msg* m = new Dicom_Msg();
        if (code) {
            Dicom_SH v(code, nullptr);
            m->Set(D::CODE_VALUE, &v);
        }
        if (scheme) {
            Dicom_SH v(scheme, nullptr);
            m->Set(D::CODING_SCHEME_DESIGNATOR, &v);
        }
        return m;
    };
    items.Append(item("T-D1100", "SRT"));
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&items, 0), 1);
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&items, 1), 0);
    EXPECT_EQ(log.Defects(), Lines{f + "invalid Coding Scheme Designator"});
    log.Clear();

    items.Append(item(nullptr, ""));
    items.Append(item("", nullptr));
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&items, 1), 0);
    EXPECT_EQ(log.Defects(),
              (Lines{f + "invalid Coding Scheme Designator",  // item 0 with the flag
                     f + "Code Value (seq # 1) was not found",
                     f + "invalid Coding Scheme (seq # 1) Designator", f + "invalid Code Value (for seq # 2)",
                     f + "Coding Scheme Designator (seq # 2)was not found"}));
    log.Clear();

    // the element form: the sequence held by an element; a value of another class holds none
    Put(image, D::CONCEPT_NAME_CODE_SEQUENCE, Dicom_SQ(Dicom_Sequence(items)));
    Put(image, D::CODE_VALUE, Dicom_SH("X", nullptr));
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(image.Find(D::CONCEPT_NAME_CODE_SEQUENCE), 0), 0);
    EXPECT_EQ(log.Defects().size(), 4u);
    log.Clear();
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(image.Find(D::CODE_VALUE), 0), 0);
    EXPECT_EQ(log.Defects(), Lines{f + "sequence is NULL"});
    log.Clear();

    // the helpers do not consult the tolerance
    Tolerant tolerant(1);
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&items, 0), 0);
}

TEST(SequenceHelpers, TemplateIdentificationStopsAtTheFirstDefect) {
    const std::string f = "IOD_Image::IsTemplateIdentMacroValid: IsTemplateIdentMacroValid: ";
    IOD_Image image;
    Dicom_Msg item;
    DefectRecorder log;
    EXPECT_EQ(image.IsTemplateIdentMacroValid(&item), 0);
    Dicom_CS id("1500", nullptr), dcmr("DCMR", nullptr), none;
    item.Set(D::MAPPING_RESOURCE, &none);
    EXPECT_EQ(image.IsTemplateIdentMacroValid(&item), 0);
    item.Set(D::TEMPLATE_IDENTIFIER, &id);
    EXPECT_EQ(image.IsTemplateIdentMacroValid(&item), 0);
    item.Set(D::MAPPING_RESOURCE, &dcmr);
    EXPECT_EQ(image.IsTemplateIdentMacroValid(&item), 1);
    EXPECT_EQ(log.Defects(),
              (Lines{f + "template identifier is not valid", f + "template identifier is not valid",
                     f + "mapping resource is not valid"}));
    log.Clear();
    Tolerant tolerant(1);
    EXPECT_EQ(image.IsTemplateIdentMacroValid(nullptr), 1);  // at once, nothing checked
    EXPECT_TRUE(log.Defects().empty());
}

namespace {

// The validators that log at least one defect for an empty message, in the order each IsValid
// runs them (the checks that accept every message log nothing).
const std::vector<std::string> kGeneral = {"IsPatientModuleValid", "IsGeneralStudyModuleValid",
                                           "IsGeneralSeriesModuleValid"};

std::vector<std::string> Functions(const DefectRecorder& log) {
    std::vector<std::string> out;
    for (const std::string& d : log.Defects()) {
        const std::string name = d.substr(d.find("::") + 2, d.find(':', d.find("::") + 2) - d.find("::") - 2);
        if (out.empty() || out.back() != name) out.push_back(name);
    }
    return out;
}

std::vector<std::string> Join(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace

TEST(IsValid, EveryClassRunsItsChecksInOrderWithoutStopping) {
    const std::vector<std::string> tail = {"IsGeneralEquipmentModuleValid", "IsGeneralImageModuleValid",
                                           "IsImagePixelModuleValid"};
    const std::vector<std::string> projection = Join(kGeneral, tail);
    struct Row {
        std::unique_ptr<IOD_IOD> msg;
        std::vector<std::string> modules;
    };
    std::vector<Row> rows;
    rows.push_back({std::make_unique<IOD_IOD>(), {}});
    rows.push_back({std::make_unique<IOD_Image>(), {}});
    rows.push_back({std::make_unique<IOD_SCImage>(), {}});
    rows.push_back({std::make_unique<IOD_MFImage>(), {}});
    rows.push_back({std::make_unique<IOD_Tissue>(), {}});
    rows.push_back({std::make_unique<IOD_StructuredReporting>(), {}});
    rows.push_back({std::make_unique<IOD_CRImage>(),
                    Join(Join(kGeneral, {"IsCRSeriesModuleValid"}), Join(tail, {"IsSOPCommonModuleValid"}))});
    const auto sectional =
        Join(kGeneral, {"IsFrameModuleValid", "IsGeneralEquipmentModuleValid", "IsGeneralImageModuleValid",
                        "IsImagePlaneModuleValid", "IsImagePixelModuleValid"});
    rows.push_back({std::make_unique<IOD_CTImage>(),
                    Join(sectional, {"IsCTImageModuleValid", "IsSOPCommonModuleValid"})});
    rows.push_back({std::make_unique<IOD_MRImage>(),
                    Join(sectional, {"IsMRImageModuleValid", "IsSOPCommonModuleValid"})});
    rows.push_back({std::make_unique<IOD_DXImage>(), projection});
    rows.push_back({std::make_unique<IOD_IOImage>(), projection});
    rows.push_back({std::make_unique<IOD_MGImage>(), projection});
    rows.push_back({std::make_unique<IOD_RTImage>(), projection});
    rows.push_back({std::make_unique<IOD_VLImage>(), projection});
    rows.push_back({std::make_unique<IOD_RFImage>(),
                    Join(projection, {"IsMultiFrameModuleValid", "IsXRFTomoAcquisitionModuleValid",
                                      "IsSOPCommonModuleValid"})});
    rows.push_back({std::make_unique<IOD_XAImage>(),
                    Join(projection, {"IsMultiFrameModuleValid", "IsSOPCommonModuleValid"})});
    rows.push_back({std::make_unique<IOD_USImage>(), Join(projection, {"IsSOPCommonModuleValid"})});
    for (const Row& row : rows) {
        row.msg->RemoveConversionType();  // the capture defaults are irrelevant here
        SCOPED_TRACE(row.modules.empty() ? "no checks" : row.modules.back());
        const IOD_IOD& msg = *row.msg;
        DefectRecorder log;
        EXPECT_EQ(msg.IsValid(), row.modules.empty() ? 1 : 0);
        EXPECT_EQ(Functions(log), row.modules);
        Tolerant tolerant(1);
        EXPECT_EQ(msg.IsValid(), 1);
    }
}

TEST(IsValid, ACompleteCTImagePassesWithoutAnyDefect) {
    IOD_CTImage ct;
    FillCompleteCT(ct);
    DefectRecorder log;
    EXPECT_EQ(ct.IsValid(), 1);
    EXPECT_TRUE(log.Defects().empty()) << log.Defects().front();

    // the same image parsed back from its encoding, with copy 0
    std::vector<unsigned char> bytes;
    ASSERT_EQ(ct.Encode(bytes, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN), true), 0);
    int status = -1;
    IOD_CTImage parsed(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(parsed.IsValid(), 1);
    EXPECT_TRUE(log.Defects().empty());
}

TEST(IsValid, SeveralBrokenModulesAreAllReported) {
    IOD_CTImage ct;
    FillCompleteCT(ct);
    ct.RemovePatientsName();
    ct.RemoveRows();
    DefectRecorder log;
    EXPECT_EQ(ct.IsValid(), 0);
    EXPECT_EQ(log.Defects(),
              (Lines{F("IsPatientModuleValid", "IsPatientModuleValid: Patients Name is not found"),
                     F("IsImagePixelModuleValid", "IsImagePixelModuleValid: Rows is not valid")}));

    // the projection classes do not check the SOP common module; CR does
    ct.SetPatientsName(Dicom_PN("Doe^Jane", nullptr));
    ct.SetRows(Dicom_US(16));
    ct.RemoveSOPInstanceUID();
    std::vector<unsigned char> bytes;
    ASSERT_EQ(ct.Encode(bytes), 0);
    int status = -1;
    IOD_DXImage dx(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    IOD_CRImage cr(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    ASSERT_EQ(status, 0);
    cr.SetBodyPartExamined(Dicom_CS("CHEST", nullptr));
    cr.SetViewPosition(Dicom_CS("PA", nullptr));
    log.Clear();
    EXPECT_EQ(dx.IsValid(), 1);
    EXPECT_EQ(cr.IsValid(), 0);
    EXPECT_EQ(log.Defects(),
              Lines{"IOD_IOD::IsSOPCommonModuleValid: IsSOPCommonModuleValid: SOP Instance UID is "
                    "not valid"});
}

TEST(IsValid, ValuesOfUnexpectedClassesAreReadSafely) {
    // every attribute of a complete CT image replaced by a value of another class: a sequence,
    // odd bytes, or text where numbers belong; the validators must judge, never crash
    IOD_CTImage complete;
    FillCompleteCT(complete);
    for (int variant = 0; variant < 3; ++variant) {
        SCOPED_TRACE(variant);
        IOD_CTImage ct(complete);
        for (int i = 0; i < complete.GetNElements(); ++i) {
            const Dicom_Tag tag = complete.GetElement(i)->GetTag();
            if (variant == 0) {
                Put(ct, tag, OneItemSequence());
            } else if (variant == 1) {
                unsigned char odd[3] = {0xFF, 0x00, 0x7F};
                Put(ct, tag, Dicom_UN(odd, 3, 1, nullptr));
            } else {
                Put(ct, tag, Dicom_LT("1\\2\\3", nullptr));
            }
        }
        DefectRecorder log;
        EXPECT_EQ(ct.IsValid(), 0);
        EXPECT_FALSE(log.Defects().empty());
        std::vector<unsigned char> bytes;
        ASSERT_EQ(ct.Encode(bytes), 0);
        int status = -1;
        IOD_RFImage rf(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
        EXPECT_EQ(rf.IsValid(), 0);
        EXPECT_EQ(ct.IsSlideCoordinatesModuleValid(), 0);
        EXPECT_EQ(ct.IsCodingValueOfSequenceValid(ct.Find(D::PIXEL_DATA), 1), 0);
    }
}

// Over the public corpus (Debian's python3-pydicom files): every class judges every file
// without a fault, and the CT image of the corpus is a valid CT image.
namespace {

const std::filesystem::path kCorpus = "/usr/lib/python3/dist-packages/pydicom/data/test_files";

std::vector<unsigned char> ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

TEST(ValidatorsOnCorpus, EveryClassJudgesEveryFile) {
    if (!std::filesystem::is_directory(kCorpus)) GTEST_SKIP() << "python3-pydicom is not installed";
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kCorpus)) {
        if (entry.path().extension() != ".dcm") continue;
        SCOPED_TRACE(entry.path().filename().string());
        std::vector<unsigned char> bytes = ReadFile(entry.path());
        void* data = bytes.data();
        const auto length = static_cast<unsigned int>(bytes.size());
        int status = 0;
        DefectRecorder log;  // keeps the defects off the console
        const int verdicts[] = {
            IOD_CTImage(data, length, 0, &status).IsValid(), IOD_MRImage(data, length, 0, &status).IsValid(),
            IOD_CRImage(data, length, 0, &status).IsValid(), IOD_DXImage(data, length, 0, &status).IsValid(),
            IOD_NMImage(data, length, 0, &status).IsValid(), IOD_RFImage(data, length, 0, &status).IsValid(),
            IOD_USImage(data, length, 0, &status).IsValid(), IOD_XAImage(data, length, 0, &status).IsValid(),
        };
        for (int v : verdicts) EXPECT_TRUE(v == 0 || v == 1);
        ++files;
    }
    EXPECT_GT(files, 50);
}

TEST(ValidatorsOnCorpus, TheCorpusCTImageIsValid) {
    const std::filesystem::path path = kCorpus / "CT_small.dcm";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "python3-pydicom is not installed";
    std::vector<unsigned char> bytes = ReadFile(path);
    int status = -1;
    IOD_CTImage ct(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
    ASSERT_EQ(status, 0);
    DefectRecorder log;
    EXPECT_EQ(ct.IsValid(), 1);
    EXPECT_EQ(log.Defects(), std::vector<std::string>{});
    // as an MR image it lacks the MR attributes (dcmdump: of those it holds Scan Options only)
    EXPECT_EQ(IOD_MRImage(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status).IsValid(), 0);
    const std::string f = "IOD_Image::IsMRImageModuleValid: IsMRImageModuleValid: ";
    EXPECT_EQ(log.Defects(), (std::vector<std::string>{
                                 f + "Scanning Sequence is not valid", f + "Sequence Variant is not valid",
                                 f + "MR Acquisition Type is not found", f + "Echo Time is not found",
                                 f + "Echo Train Length is not found"}));
}
