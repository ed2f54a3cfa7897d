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

#include <functional>
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
Dicom_SQ OneItemSequence() {
    Dicom_SQ sq;
    Dicom_Msg* item = new Dicom_Msg();
    Dicom_SH code("T-1", nullptr);
    item->Set(D::CODE_VALUE, &code);
    sq.AddItem(item);
    return sq;
}
const Change kSlide =
    All({With(D::X_OFFSET_IN_SLIDE_COORDINATE_SYSTEM, Dicom_DS(1.0)),
         With(D::Y_OFFSET_IN_SLIDE_COORDINATE_SYSTEM, Dicom_DS(2.0)),
         [](IOD_Msg& m) { Put(m, D::COORDINATE_SYSTEM_AXIS_CODE_SEQUENCE, OneItemSequence()); },
         With(D::NUMERIC_VALUE, Dicom_DS(3.0)),
         [](IOD_Msg& m) { Put(m, D::MEASUREMENT_UNITS_CODE_SEQUENCE, OneItemSequence()); },
         Empty<Dicom_SQ>(D::IMAGE_CENTER_POINT_COORDINATES_SEQUENCE),
         Empty<Dicom_DS>(D::Z_OFFSET_IN_SLIDE_COORDINATE_SYSTEM)});

struct Case {
    const char* what;
    Change change;  // applied to a complete CT image
    Check check;
    const char* module;  // the validator's name
    int valid;
    Lines defects;  // see Expected
};

const Change kMR = All({Text(D::SCANNING_SEQUENCE, "SE"), Text(D::SEQUENCE_VARIANT, "NONE"),
                        Empty<Dicom_CS>(D::SCAN_OPTIONS), Text(D::MR_ACQUISITION_TYPE, "2D"),
                        With(D::ECHO_TIME, Dicom_DS(20.0)), With(D::ECHO_TRAIN_LENGTH, Dicom_IS(1))});

// clang-format off
const Case kCases[] = {
    // patient: presence only, an empty value passes
    {"no patient name", Drop(D::PATIENT_NAME), CHECK(IsPatientModuleValid), 0, {"Patients Name is not found"}},
    {"empty patient name", Empty<Dicom_PN>(D::PATIENT_NAME), CHECK(IsPatientModuleValid), 1, {}},
    {"no patient data", Drops({D::PATIENT_ID, D::PATIENT_BIRTH_DATE, D::PATIENT_SEX}), CHECK(IsPatientModuleValid), 0,
     {"Patient ID is not found", "Patients Birth Date is not found", "Patients Sex is not found"}},
    // general study
    {"empty study uid", Empty<Dicom_UI>(D::STUDY_INSTANCE_UID), CHECK(IsGeneralStudyModuleValid), 0, {"Study Instance UID is not valid"}},
    {"no study attributes", Drops({D::STUDY_INSTANCE_UID, D::STUDY_DATE, D::STUDY_TIME, D::REFERRING_PHYSICIAN_NAME, D::STUDY_ID, D::ACCESSION_NUMBER}),
     CHECK(IsGeneralStudyModuleValid), 0, {"Study Instance UID is not valid", "Study Date is not found", "Study Time is not found",
     "Referring Physicians Name is not found", "Study ID is not found", "Accession Number is not found"}},
    // general series: Patient Position only for CT and MR
    {"no series attributes", All({Empty<Dicom_CS>(D::MODALITY), Drops({D::SERIES_INSTANCE_UID, D::SERIES_NUMBER, D::PATIENT_POSITION})}),
     CHECK(IsGeneralSeriesModuleValid), 0, {"Modality is not valid", "Series Instance UID is not valid", "Series Number is not found", "Patient Position is not found"}},
    {"MR without patient position", All({Drop(D::PATIENT_POSITION), With(D::SOP_CLASS_UID, Dicom_UIDic::MR_IMAGE_STORAGE)}), CHECK(IsGeneralSeriesModuleValid), 0, {"Patient Position is not found"}},
    {"SC without patient position", All({Drop(D::PATIENT_POSITION), With(D::SOP_CLASS_UID, Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE)}), CHECK(IsGeneralSeriesModuleValid), 1, {}},
    // frame of reference, equipment
    {"no frame of reference", Drops({D::FRAME_OF_REFERENCE_UID, D::POSITION_REFERENCE_INDICATOR}), CHECK(IsFrameModuleValid), 0,
     {"Frame of Reference UID is not valid", "Position Reference Indicator is not found"}},
    {"no manufacturer", Drop(D::MANUFACTURER), CHECK(IsGeneralEquipmentModuleValid), 0, {"Manufacturer is not found"}},
    {"no conversion type", Drop(D::CONVERSION_TYPE), CHECK(IsSCEquipmentModuleValid), 0, {"Conversion Type is not valid"}},
    {"any conversion type", Text(D::CONVERSION_TYPE, "XYZ"), CHECK(IsSCEquipmentModuleValid), 1, {}},
    // general image: Patient Orientation only for CT and MR without the orientation vector
    {"no instance number", Drop(D::INSTANCE_NUMBER), CHECK(IsGeneralImageModuleValid), 0, {"Image Number is not found"}},
    {"CT without any orientation", Drop(D::IMAGE_ORIENTATION_PATIENT), CHECK(IsGeneralImageModuleValid), 0, {"Patient Orientation is not found"}},
    {"CT with patient orientation only", All({Drop(D::IMAGE_ORIENTATION_PATIENT), Text(D::PATIENT_ORIENTATION, "L\\P")}), CHECK(IsGeneralImageModuleValid), 1, {}},
    {"SC without any orientation", All({Drop(D::IMAGE_ORIENTATION_PATIENT), With(D::SOP_CLASS_UID, Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE)}), CHECK(IsGeneralImageModuleValid), 1, {}},
    // image pixel
    {"every pixel description empty", All({Empty<Dicom_US>(D::SAMPLES_PER_PIXEL), Empty<Dicom_CS>(D::PHOTOMETRIC_INTERPRETATION), Empty<Dicom_US>(D::ROWS),
     Empty<Dicom_US>(D::COLUMNS), Empty<Dicom_US>(D::BITS_ALLOCATED), Empty<Dicom_US>(D::BITS_STORED), Empty<Dicom_US>(D::HIGH_BIT),
     Empty<Dicom_US>(D::PIXEL_REPRESENTATION), Drop(D::PIXEL_DATA)}), CHECK(IsImagePixelModuleValid), 0,
     {"Samples per Pixel is not valid", "Photometric Interpretation is not valid", "Rows is not valid", "Columns is not valid", "Bits Allocated is not valid",
      "Bits Stored is not valid", "High Bit is not valid", "Pixel Representation is not valid", "Pixel Data is not found"}},
    {"pixel representation 2 is only a warning", Shorts({{D::PIXEL_REPRESENTATION, 2}}), CHECK(IsImagePixelModuleValid), 1, {"Pixel Representation is unknown"}},
    {"512 x 512 x 16 bits, one byte short", All({Shorts({{D::ROWS, 512}, {D::COLUMNS, 512}}), With(D::PIXEL_DATA, PixelBytes(524287))}), CHECK(IsImagePixelModuleValid), 0, {"Length of Pixel Data is not valid"}},
    {"512 x 512 x 16 bits, whole", All({Shorts({{D::ROWS, 512}, {D::COLUMNS, 512}}), With(D::PIXEL_DATA, PixelBytes(524288))}), CHECK(IsImagePixelModuleValid), 1, {}},
    {"8-bit pixel data is not measured", All({Shorts({{D::ROWS, 512}, {D::BITS_ALLOCATED, 8}}), With(D::PIXEL_DATA, PixelBytes(2))}), CHECK(IsImagePixelModuleValid), 1, {}},
    {"rows x columns beyond 32 bits wraps", Shorts({{D::ROWS, 65535}, {D::COLUMNS, 65535}}), CHECK(IsImagePixelModuleValid), 0, {"Length of Pixel Data is not valid"}},
    {"a sequence as pixel data", With(D::PIXEL_DATA, Dicom_SQ()), CHECK(IsImagePixelModuleValid), 0, {"Pixel Data is not valid"}},
    {"three samples without planar configuration", Shorts({{D::SAMPLES_PER_PIXEL, 3}}), CHECK(IsImagePixelModuleValid), 0, {"Planar Configuration is not valid"}},
    {"three samples with planar configuration", Shorts({{D::SAMPLES_PER_PIXEL, 3}, {D::PLANAR_CONFIGURATION, 0}}), CHECK(IsImagePixelModuleValid), 1, {}},
    // image plane
    {"every plane attribute empty", All({Empty<Dicom_DS>(D::PIXEL_SPACING), Empty<Dicom_DS>(D::IMAGE_ORIENTATION_PATIENT), Empty<Dicom_DS>(D::IMAGE_POSITION_PATIENT),
     Empty<Dicom_DS>(D::SLICE_THICKNESS)}), CHECK(IsImagePlaneModuleValid), 0, {"Pixel Spacing is not valid", "Image Orientation is not valid", "Image Position is not valid"}},
    {"short vectors", All({Text(D::PIXEL_SPACING, "0.5"), Text(D::IMAGE_ORIENTATION_PATIENT, "1\\0\\0\\0\\1"), Text(D::IMAGE_POSITION_PATIENT, "1\\2"), Drop(D::SLICE_THICKNESS)}),
     CHECK(IsImagePlaneModuleValid), 0, {"Pixel Spacing has wrong VM", "Image Orientation has wrong VM", "Image Position has wrong VM", "Slice Thickness is not found"}},
    {"column cosine short of unit", Text(D::IMAGE_ORIENTATION_PATIENT, "1\\0\\0\\0\\0.999\\0"), CHECK(IsImagePlaneModuleValid), 0, {"Unnormalized column direction"}},
    {"both cosines short of unit", Text(D::IMAGE_ORIENTATION_PATIENT, "0.5\\0\\0\\0.5\\0\\0"), CHECK(IsImagePlaneModuleValid), 0, {"Unnormalized row direction", "Unnormalized column direction"}},
    {"unit within a millionth, oblique, extra values ignored", Text(D::IMAGE_ORIENTATION_PATIENT, "0.6\\0.8\\0\\0\\0.0\\1.0000004\\7"), CHECK(IsImagePlaneModuleValid), 1, {}},
    {"a cosine that is no number counts as 0", Text(D::IMAGE_ORIENTATION_PATIENT, "1\\0\\0\\0\\x\\0"), CHECK(IsImagePlaneModuleValid), 0, {"Unnormalized column direction"}},
    // multi-frame: a CT image has neither attribute
    {"no multi-frame attributes", Drop(D::NUMBER_OF_FRAMES), CHECK(IsMultiFrameModuleValid), 0, {"@NUMBER_OF_FRAMES", "@FRAME_INCREMENT_POINTER"}},
    {"multi-frame attributes", All({With(D::NUMBER_OF_FRAMES, Dicom_IS(3)), With(D::FRAME_INCREMENT_POINTER, Dicom_AT(0x0018, 0x1063))}), CHECK(IsMultiFrameModuleValid), 1, {}},
    // SOP common (a member of IOD_IOD)
    {"no SOP UIDs", All({Empty<Dicom_UI>(D::SOP_CLASS_UID), Drop(D::SOP_INSTANCE_UID)}), CHECK_IOD(IsSOPCommonModuleValid), 0, {"SOP Class UID is not valid", "SOP Instance UID is not valid"}},
    // CT image
    {"derived secondary CT", Text(D::IMAGE_TYPE, "DERIVED\\SECONDARY\\AXIAL"), CHECK(IsCTImageModuleValid), 0, {"Image Type value is not valid"}},
    {"original secondary CT", Text(D::IMAGE_TYPE, "ORIGINAL\\SECONDARY\\AXIAL"), CHECK(IsCTImageModuleValid), 0, {"Image Type value is not valid"}},
    {"two image type values", Text(D::IMAGE_TYPE, "ORIGINAL\\PRIMARY"), CHECK(IsCTImageModuleValid), 0, {"the Value 3 of Image Type is not found"}},
    {"CT with every value empty", All({Empty<Dicom_CS>(D::IMAGE_TYPE), Empty<Dicom_US>(D::SAMPLES_PER_PIXEL), Empty<Dicom_CS>(D::PHOTOMETRIC_INTERPRETATION),
     Empty<Dicom_US>(D::BITS_ALLOCATED), Empty<Dicom_US>(D::BITS_STORED), Empty<Dicom_US>(D::HIGH_BIT), Empty<Dicom_DS>(D::RESCALE_INTERCEPT), Empty<Dicom_DS>(D::KVP),
     Empty<Dicom_IS>(D::ACQUISITION_NUMBER)}), CHECK(IsCTImageModuleValid), 0, {"Image Type is not valid", "Samples per Pixel is not valid",
     "Photometric Interpretation is not valid", "Bits Allocated is not valid", "Bits Stored is not valid", "High Bit is not valid", "Rescale Intercept is not valid",
     "Rescale Intercept is not valid"}},
    {"RGB CT", All({Text(D::PHOTOMETRIC_INTERPRETATION, "RGB"), Shorts({{D::SAMPLES_PER_PIXEL, 3}})}), CHECK(IsCTImageModuleValid), 0,
     {"Samples per Pixel is not one", "Photometric Interpretation is not MONOCHROME"}},
    {"MONOCHROME1 CT", Text(D::PHOTOMETRIC_INTERPRETATION, "MONOCHROME1"), CHECK(IsCTImageModuleValid), 1, {}},
    {"8-bit CT", Shorts({{D::BITS_ALLOCATED, 8}}), CHECK(IsCTImageModuleValid), 0, {"Bits Allocated is not 16"}},
    {"high bit 15 of 12 stored", Shorts({{D::HIGH_BIT, 15}}), CHECK(IsCTImageModuleValid), 0, {"HigH Bit is incorrect"}},
    // the last invalid value; 12 bits stored (the complete image) is the first valid one
    {"11 bits stored", Shorts({{D::BITS_STORED, 11}, {D::HIGH_BIT, 10}}), CHECK(IsCTImageModuleValid), 0, {"Bits Allocated is less 12"}},
    {"0 bits stored, high bit 65535", Shorts({{D::BITS_STORED, 0}, {D::HIGH_BIT, 65535}}), CHECK(IsCTImageModuleValid), 0, {"Bits Allocated is less 12", "HigH Bit is incorrect"}},
    {"no rescale intercept", Drop(D::RESCALE_INTERCEPT), CHECK(IsCTImageModuleValid), 0, {"Rescale Intercept is not valid", "Rescale Intercept is not valid"}},
    {"no rescale slope", Drop(D::RESCALE_SLOPE), CHECK(IsCTImageModuleValid), 1, {}},
    {"no KVP nor acquisition number", Drops({D::KVP, D::ACQUISITION_NUMBER}), CHECK(IsCTImageModuleValid), 0, {"KVP is not found", "Acquisition Number is not found"}},
    // MR image (the complete CT lacks the MR attributes)
    {"CT as MR", Text(D::IMAGE_TYPE, "DERIVED\\PRIMARY"), CHECK(IsMRImageModuleValid), 0, {"the Image Type value is not valid", "Scanning Sequence is not valid",
     "Sequence Variant is not valid", "Scan Options is not found", "MR Acquisition Type is not found", "Echo Time is not found", "Echo Train Length is not found"}},
    {"MR image, 8 bits stored, high bit 3", All({kMR, Shorts({{D::BITS_STORED, 8}, {D::HIGH_BIT, 3}})}), CHECK(IsMRImageModuleValid), 1, {}},
    {"MR photometric and samples", All({kMR, Text(D::IMAGE_TYPE, "ORIGINAL\\PRIMARY"), Text(D::PHOTOMETRIC_INTERPRETATION, "RGB"), Empty<Dicom_US>(D::SAMPLES_PER_PIXEL),
     Shorts({{D::BITS_ALLOCATED, 8}})}), CHECK(IsMRImageModuleValid), 0, {"the Value 3 of Image Type is not found", "Samples per Pixel is not valid",
     "Photometric Interpretation is not MONOCHROM", "Bits Allocated is not 16"}},
    // CR series
    {"no CR series attributes", Drop(D::BODY_PART_EXAMINED), CHECK(IsCRSeriesModuleValid), 0, {"@BODY_PART_EXAMINED", "@VIEW_POSITION"}},
    {"CR series attributes, empty", All({Empty<Dicom_CS>(D::BODY_PART_EXAMINED), Empty<Dicom_CS>(D::VIEW_POSITION)}), CHECK(IsCRSeriesModuleValid), 1, {}},
    // XRF tomography acquisition: only for TOMO scan options
    {"no scan options", Drop(D::SCAN_OPTIONS), CHECK(IsXRFTomoAcquisitionModuleValid), 0, {"@SCAN_OPTIONS", "@TOMO_LAYER_HEIGHT"}},
    {"no tomography", Text(D::SCAN_OPTIONS, "FLUORO"), CHECK(IsXRFTomoAcquisitionModuleValid), 1, {}},
    {"tomography without layer height", Text(D::SCAN_OPTIONS, "TOMO"), CHECK(IsXRFTomoAcquisitionModuleValid), 0, {"@TOMO_LAYER_HEIGHT"}},
    {"tomography among the scan options", All({Text(D::SCAN_OPTIONS, "GATED\\TOMO"), With(D::TOMO_LAYER_HEIGHT, Dicom_DS(2.5))}), CHECK(IsXRFTomoAcquisitionModuleValid), 1, {}},
    // slide coordinates: also judged invalid when the process is tolerant; an empty code sequence is as good as none
    {"no slide coordinates", Drop(D::NUMERIC_VALUE), CHECK(IsSlideCoordinatesModuleValid), 0, {"X_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not valid",
     "Y_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not valid", "COORDINATE_SYSTEM_AXIS_CODE_SEQUENCE is not valid", "NUMERIC_VALUE is not valid",
     "MEASURMENT_UNITS_CODE_SEQUENCE is not valid", "IMAGE_CENTER_POINT_COORDINATES_SEQUENCE is not found", "Z_OFFSET_IN_SLIDE_COORDINATE_SYSTEM is not found"}},
    {"slide coordinates", kSlide, CHECK(IsSlideCoordinatesModuleValid), 1, {}},
    {"slide coordinates, empty units", All({kSlide, Empty<Dicom_SQ>(D::MEASUREMENT_UNITS_CODE_SEQUENCE)}), CHECK(IsSlideCoordinatesModuleValid), 0,
     {"MEASURMENT_UNITS_CODE_SEQUENCE is not valid"}},
};
// clang-format on

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
            const bool slide = c.check == &IOD_Image::IsSlideCoordinatesModuleValid;
            EXPECT_EQ((ct.*c.check)(), tolerant && !slide ? 1 : c.valid) << "tolerant " << tolerant;
            EXPECT_EQ(log.Defects(), Expected(c.module, c.defects)) << "tolerant " << tolerant;
            EXPECT_TRUE(log.AllFrom(c.check == &IOD_IOD::IsSOPCommonModuleValid ? "src/IOD/IOD_IOD"
                                                                                : "src/IOD/IOD_Image"));
        }
    }
}

TEST(SequenceHelpers, CodeSequenceItemsNeedACodeValueAndADesignator) {
    const std::string f = "IOD_Image::IsCodingValueOfSequenceValid: IsCodingValueOfSequenceValid: ";
    IOD_Image image;
    DefectRecorder log;
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(static_cast<Dicom_Sequence*>(nullptr), 0), 0);
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(static_cast<Dicom_ME*>(nullptr), 0), 0);
    Dicom_Sequence empty, items;
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&empty, 1), 1);  // even with the flag
    auto item = [](const char* code, const char* scheme) {
        Dicom_Msg* m = new Dicom_Msg();
        if (code) Put(*m, D::CODE_VALUE, Dicom_SH(code, nullptr));
        if (scheme) Put(*m, D::CODING_SCHEME_DESIGNATOR, Dicom_SH(scheme, nullptr));
        return m;
    };
    items.Append(item("T-D1100", "SRT"));
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&items, 0), 1);
    // item 1 without code value and with an empty designator, item 2 the other way round
    items.Append(item(nullptr, ""));
    items.Append(item("", nullptr));
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(&items, 1), 0);
    // the element form: the sequence held by an element; a value of another class holds none
    Put(image, D::CONCEPT_NAME_CODE_SEQUENCE, Dicom_SQ(Dicom_Sequence(items)));
    Put(image, D::CODE_VALUE, Dicom_SH("X", nullptr));
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(image.Find(D::CODE_VALUE), 0), 0);
    EXPECT_EQ(log.Defects(),
              (Lines{f + "null input", f + "null input", f + "invalid Coding Scheme Designator",
                     f + "Code Value (seq # 1) was not found",
                     f + "invalid Coding Scheme (seq # 1) Designator", f + "invalid Code Value (for seq # 2)",
                     f + "Coding Scheme Designator (seq # 2)was not found", f + "sequence is NULL"}));
    Tolerant tolerant(1);  // the helpers do not consult the tolerance
    EXPECT_EQ(image.IsCodingValueOfSequenceValid(image.Find(D::CONCEPT_NAME_CODE_SEQUENCE), 0), 0);
}

// Each IsValid runs its validators in order without stopping: for an empty message, the list of
// the validators that log a defect (the checks that accept every message log nothing).
TEST(IsValid, EveryClassRunsItsChecksInOrderWithoutStopping) {
    const Lines general = {"IsPatientModuleValid", "IsGeneralStudyModuleValid", "IsGeneralSeriesModuleValid"};
    const Lines tail = {"IsGeneralEquipmentModuleValid", "IsGeneralImageModuleValid",
                        "IsImagePixelModuleValid"};
    auto join = [](Lines a, const Lines& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    const Lines projection = join(general, tail);
    const Lines sectional =
        join(general, {"IsFrameModuleValid", "IsGeneralEquipmentModuleValid", "IsGeneralImageModuleValid",
                       "IsImagePlaneModuleValid", "IsImagePixelModuleValid"});
    const std::pair<std::function<IOD_IOD*()>, Lines> rows[] = {
        {[] { return new IOD_IOD; }, {}},
        {[] { return new IOD_Image; }, {}},
        {[] { return new IOD_SCImage; }, {}},
        {[] { return new IOD_MFImage; }, {}},
        {[] { return new IOD_Tissue; }, {}},
        {[] { return new IOD_StructuredReporting; }, {}},
        {[] { return new IOD_CRImage; },
         join(join(general, {"IsCRSeriesModuleValid"}), join(tail, {"IsSOPCommonModuleValid"}))},
        {[] { return new IOD_CTImage; }, join(sectional, {"IsCTImageModuleValid", "IsSOPCommonModuleValid"})},
        {[] { return new IOD_MRImage; }, join(sectional, {"IsMRImageModuleValid", "IsSOPCommonModuleValid"})},
        {[] { return new IOD_DXImage; }, projection},
        {[] { return new IOD_IOImage; }, projection},
        {[] { return new IOD_MGImage; }, projection},
        {[] { return new IOD_RTImage; }, projection},
        {[] { return new IOD_VLImage; }, projection},
        {[] { return new IOD_RFImage; },
         join(projection,
              {"IsMultiFrameModuleValid", "IsXRFTomoAcquisitionModuleValid", "IsSOPCommonModuleValid"})},
        {[] { return new IOD_XAImage; },
         join(projection, {"IsMultiFrameModuleValid", "IsSOPCommonModuleValid"})},
        {[] { return new IOD_USImage; }, join(projection, {"IsSOPCommonModuleValid"})},
        {[] { return new IOD_NMImage; },  // the conditional modules do not apply to an image of no kind
         join(join(general, {"IsNMSeriesModuleValid"}),
              join(tail, {"IsNMImagePixelModuleValid", "IsMultiFrameModuleValid", "IsNMMultiFrameModuleValid",
                          "IsNMImageModuleValid", "IsNMIsotopeModuleValid", "IsNMDetectorModuleValid",
                          "IsSOPCommonModuleValid"}))},
    };
    for (const auto& [make, modules] : rows) {
        std::unique_ptr<IOD_IOD> msg(make());
        msg->RemoveConversionType();  // the capture defaults are irrelevant here
        SCOPED_TRACE(modules.empty() ? "no checks" : modules.back());
        DefectRecorder log;
        EXPECT_EQ(msg->IsValid(), modules.empty() ? 1 : 0);
        Lines functions;
        for (const std::string& d : log.Defects()) {
            const size_t from = d.find("::") + 2;
            const std::string name = d.substr(from, d.find(':', from) - from);
            if (functions.empty() || functions.back() != name) functions.push_back(name);
        }
        EXPECT_EQ(functions, modules);
        Tolerant tolerant(1);
        EXPECT_EQ(msg->IsValid(), 1);
    }
    IOD_CTImage ct;
    FillCompleteCT(ct);
    DefectRecorder log;
    EXPECT_EQ(ct.IsValid(), 1);
    EXPECT_EQ(log.Defects(), Lines{});
}

// Every attribute of a complete CT image replaced by a value of another class (a sequence, odd
// bytes, or text where numbers belong): the validators judge, never crash.
TEST(IsValid, ValuesOfUnexpectedClassesAreReadSafely) {
    IOD_CTImage complete;
    FillCompleteCT(complete);
    for (int variant = 0; variant < 3; ++variant) {
        SCOPED_TRACE(variant);
        IOD_CTImage ct(complete);
        unsigned char odd[3] = {0xFF, 0x00, 0x7F};
        for (int i = 0; i < complete.GetNElements(); ++i) {
            const Dicom_Tag tag = complete.GetElement(i)->GetTag();
            if (variant == 0) Put(ct, tag, OneItemSequence());
            if (variant == 1) Put(ct, tag, Dicom_UN(odd, 3, 1, nullptr));
            if (variant == 2) Put(ct, tag, Dicom_LT("1\\2\\3", nullptr));
        }
        DefectRecorder log;
        EXPECT_EQ(ct.IsValid(), 0);
        EXPECT_FALSE(log.Defects().empty());
        std::vector<unsigned char> bytes;
        ASSERT_EQ(ct.Encode(bytes), 0);
        int status = -1;
        EXPECT_EQ(IOD_RFImage(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status).IsValid(),
                  0);
        EXPECT_EQ(ct.IsSlideCoordinatesModuleValid(), 0);
        EXPECT_EQ(ct.IsCodingValueOfSequenceValid(ct.Find(D::PIXEL_DATA), 1), 0);
    }
}
