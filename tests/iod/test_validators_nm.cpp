// The nuclear medicine module validators: a complete NM image of every kind passes; each
// defect is one record naming its attribute; the conditional modules apply only to their kinds.
#include <IOD/IOD_NMImage.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ValidatorTestSupport.h"

namespace {

using D = Dicom_Dictionary;
using Check = int (IOD_Image::*)() const;
using Lines = std::vector<std::string>;

Dicom_Msg* Item(std::vector<std::pair<Dicom_Tag, Dicom_Type*>> values) {
    Dicom_Msg* item = new Dicom_Msg();
    for (auto& [tag, value] : values) {
        item->Set(tag, value);
        delete value;
    }
    return item;
}
Dicom_SQ Sequence(std::vector<Dicom_Msg*> items) {
    Dicom_SQ sq;
    for (Dicom_Msg* item : items) sq.AddItem(item);
    return sq;
}
Dicom_Msg* CodeItem() {
    return Item({{D::CODE_VALUE, new Dicom_SH("F-10450", nullptr)},
                 {D::CODING_SCHEME_DESIGNATOR, new Dicom_SH("99SDM", nullptr)}});
}

// An NM image of the kind `kind` (value 3 of Image Type) that passes every NM check: besides
// what the kind needs it holds the attributes of every conditional module.
void FillCompleteNM(IOD_Msg& nm, const char* kind) {
    FillCompleteCT(nm);
    Put(nm, D::SOP_CLASS_UID, Dicom_UI(Dicom_UIDic::NUCLEAR_MEDICINE_IMAGE_STORAGE));
    Put(nm, D::MODALITY, Dicom_CS("NM", nullptr));
    Put(nm, D::IMAGE_TYPE,
        Dicom_CS((std::string("ORIGINAL\\PRIMARY\\") + kind + "\\EMISSION").c_str(), nullptr));
    Put(nm, D::BITS_STORED, Dicom_US(16));
    Put(nm, D::HIGH_BIT, Dicom_US(15));
    Put(nm, D::PIXEL_SPACING, Dicom_DS("2\\2", nullptr));
    Put(nm, D::PATIENT_ORIENTATION_CODE_SEQUENCE, Dicom_SQ());
    Put(nm, D::PATIENT_GANTRY_RELATIONSHIP_CODE_SEQUENCE, Dicom_SQ());
    Put(nm, D::NUMBER_OF_FRAMES, Dicom_IS(2));
    Put(nm, D::FRAME_INCREMENT_POINTER,
        Dicom_AT(IOD_Image::ENERGY_WINDOW_VECTOR) | IOD_Image::DETECTOR_VECTOR);
    Put(nm, D::ENERGY_WINDOW_VECTOR, Dicom_US(std::vector<unsigned short>{1, 1}));
    Put(nm, D::DETECTOR_VECTOR, Dicom_US(std::vector<unsigned short>{1, 2}));
    Put(nm, D::NUMBER_OF_ENERGY_WINDOWS, Dicom_US(1));
    Put(nm, D::NUMBER_OF_DETECTORS, Dicom_US(2));
    Put(nm, D::COUNTS_ACCUMULATED, Dicom_IS(123456));
    Put(nm, D::ACTUAL_FRAME_DURATION, Dicom_IS(30000));
    Put(nm, D::SCAN_VELOCITY, Dicom_DS(1.5));
    Put(nm, D::SCAN_LENGTH, Dicom_IS(1900));
    Put(nm, D::ENERGY_WINDOW_INFORMATION_SEQUENCE, Sequence({Item({})}));
    Put(nm, D::RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE,
        Sequence({Item({{D::RADIONUCLIDE_CODE_SEQUENCE, new Dicom_SQ()}})}));
    auto detector = [] {
        return Item(
            {{D::COLLIMATOR_TYPE, new Dicom_CS("PARA", nullptr)}, {D::FOCAL_DISTANCE, new Dicom_IS()}});
    };
    Put(nm, D::DETECTOR_INFORMATION_SEQUENCE, Sequence({detector(), detector()}));
    Put(nm, D::NUMBER_OF_ROTATIONS, Dicom_US(1));
    Put(nm, D::ROTATION_INFORMATION_SEQUENCE,
        Sequence({Item({{D::START_ANGLE, new Dicom_DS(0.0)},
                        {D::ANGULAR_STEP, new Dicom_DS(3.0)},
                        {D::ROTATION_DIRECTION, new Dicom_CS("CW", nullptr)},
                        {D::SCAN_ARC, new Dicom_DS(360.0)},
                        {D::ACTUAL_FRAME_DURATION, new Dicom_IS(20000)},
                        {D::NUMBER_OF_FRAMES_IN_ROTATION, new Dicom_US(120)}})}));
    Put(nm, D::BEAT_REJECTION_FLAG, Dicom_CS("N", nullptr));
    Put(nm, D::NUMBER_OF_RR_INTERVALS, Dicom_US(1));
    Put(nm, D::NUMBER_OF_TIME_SLOTS, Dicom_US(8));
    Put(nm, D::GATED_INFORMATION_SEQUENCE,
        Sequence({Item({{D::DATA_INFORMATION_SEQUENCE,
                         new Dicom_SQ(Sequence({Item({{D::FRAME_TIME, new Dicom_DS(50.0)}})}))}})}));
    Put(nm, D::NUMBER_OF_PHASES, Dicom_US(1));
    Put(nm, D::PHASE_INFORMATION_SEQUENCE,
        Sequence({Item({{D::PHASE_DELAY, new Dicom_IS(0)},
                        {D::ACTUAL_FRAME_DURATION, new Dicom_IS(1000)},
                        {D::PAUSE_BETWEEN_FRAMES, new Dicom_IS(0)},
                        {D::NUMBER_OF_FRAMES_IN_PHASE, new Dicom_US(2)}})}));
    Put(nm, D::NUMBER_OF_SLICES, Dicom_US(64));
    Put(nm, D::SPACING_BETWEEN_SLICES, Dicom_DS(4.0));
}

const char* const kKinds[] = {"STATIC", "DYNAMIC",    "GATED",      "WHOLE BODY",
                              "TOMO",   "GATED TOMO", "RECON TOMO", "RECON GATED TOMO"};

Change Code(const Dicom_Tag& tag, const char* text) {
    return [tag, text](IOD_Msg& m) { Put(m, tag, Dicom_CS(text, nullptr)); };
}
// Replaces the first item of the sequence under `tag` by `item`.
Change FirstItem(const Dicom_Tag& tag, std::function<Dicom_Msg*()> item) {
    return [tag, item](IOD_Msg& m) { Put(m, tag, Sequence({item()})); };
}
struct Case {
    const char* what;
    const char* kind;
    Change change;
    Check check;
    const char* module;  // the validator's name
    int valid;
    Lines defects;  // see Expected
};

const std::string kFlag =
    "IOD_Image::IsCodingValueOfSequenceValid: IsCodingValueOfSequenceValid: invalid Coding "
    "Scheme Designator";

// clang-format off
const Case kCases[] = {
    // NM series: the orientation code sequences are type 2; coded items are checked with the
    // designator flag, which judges every non-empty sequence invalid
    {"no orientation sequences", "STATIC", Drops({D::PATIENT_ORIENTATION_CODE_SEQUENCE, D::PATIENT_GANTRY_RELATIONSHIP_CODE_SEQUENCE}),
     CHECK(IsNMSeriesModuleValid), 0, {"@PATIENT_ORIENTATION_CODE_SEQUENCE", "@PATIENT_GANTRY_RELATIONSHIP_CODE_SEQUENCE"}},
    {"coded patient orientation", "STATIC", FirstItem(D::PATIENT_ORIENTATION_CODE_SEQUENCE, CodeItem), CHECK(IsNMSeriesModuleValid), 0, {kFlag, "!PATIENT_ORIENTATION"}},
    // NM image pixel
    {"palette color", "STATIC", Code(D::PHOTOMETRIC_INTERPRETATION, "PALETTE COLOR"), CHECK(IsNMImagePixelModuleValid), 1, {}},
    {"colour, 12 of 16 bits, one spacing", "STATIC", All({With(D::SAMPLES_PER_PIXEL, Dicom_US(3)), Code(D::PHOTOMETRIC_INTERPRETATION, "RGB"), With(D::BITS_STORED, Dicom_US(12)), With(D::PIXEL_SPACING, Dicom_DS(2.0))}),
     CHECK(IsNMImagePixelModuleValid), 0, {"@SAMPLES_PER_PIXEL", "@PHOTOMETRIC_INTERPRETATION", "@BITS_STORED", "@HIGH_BIT", "@PIXEL_SPACING"}},
    {"12 bits allocated, empty spacing", "STATIC", All({With(D::BITS_ALLOCATED, Dicom_US(12)), With(D::PIXEL_SPACING, Dicom_DS())}),
     CHECK(IsNMImagePixelModuleValid), 0, {"@BITS_ALLOCATED", "@BITS_STORED"}},
    {"no pixel spacing", "STATIC", Drop(D::PIXEL_SPACING), CHECK(IsNMImagePixelModuleValid), 0, {"@PIXEL_SPACING"}},
    // NM multi-frame
    {"a pointer to no vector, a short vector", "STATIC", All({With(D::FRAME_INCREMENT_POINTER, Dicom_AT(0x0018, 0x1063) | IOD_Image::ENERGY_WINDOW_VECTOR), With(D::ENERGY_WINDOW_VECTOR, Dicom_US(1))}),
     CHECK(IsNMMultiFrameModuleValid), 0, {"@ENERGY_WINDOW_VECTOR", "@FRAME_INCREMENT_POINTER"}},
    {"no pointer, no counts", "STATIC", Drops({D::FRAME_INCREMENT_POINTER, D::NUMBER_OF_ENERGY_WINDOWS, D::NUMBER_OF_DETECTORS}),
     CHECK(IsNMMultiFrameModuleValid), 0, {"@FRAME_INCREMENT_POINTER", "@NUMBER_OF_ENERGY_WINDOWS", "@NUMBER_OF_DETECTORS"}},
    {"a pointed vector missing", "STATIC", Drop(D::DETECTOR_VECTOR), CHECK(IsNMMultiFrameModuleValid), 0, {"@DETECTOR_VECTOR"}},
    {"gated tomography without its counts", "RECON GATED TOMO", Drops({D::NUMBER_OF_ROTATIONS, D::NUMBER_OF_RR_INTERVALS, D::NUMBER_OF_TIME_SLOTS, D::NUMBER_OF_SLICES, D::NUMBER_OF_PHASES}),
     CHECK(IsNMMultiFrameModuleValid), 0, {"@NUMBER_OF_ROTATIONS", "@NUMBER_OF_R_R_INTERVALS", "@NUMBER_OF_TIME_SLOTS", "@NUMBER_OF_SLICES"}},
    {"dynamic without phases", "DYNAMIC", Drop(D::NUMBER_OF_PHASES), CHECK(IsNMMultiFrameModuleValid), 0, {"@NUMBER_OF_PHASES"}},
    // NM image
    {"secondary NM image", "STATIC", Code(D::IMAGE_TYPE, "ORIGINAL\\SECONDARY\\STATIC\\EMISSION"), CHECK(IsNMImageModuleValid), 0, {"@IMAGE_TYPE"}},
    {"three image type values", "STATIC", Code(D::IMAGE_TYPE, "DERIVED\\PRIMARY\\STATIC"), CHECK(IsNMImageModuleValid), 0, {"@IMAGE_TYPE"}},
    {"an unknown kind", "STATIC", Code(D::IMAGE_TYPE, "DERIVED\\PRIMARY\\AXIAL\\TRANSMISSION"), CHECK(IsNMImageModuleValid), 0, {"@IMAGE_TYPE"}},
    {"static without counts nor duration", "STATIC", Drops({D::COUNTS_ACCUMULATED, D::ACTUAL_FRAME_DURATION}), CHECK(IsNMImageModuleValid), 0, {"@COUNTS_ACCUMULATED", "@ACTUAL_FRAME_DURATION"}},
    {"whole body without its scan", "WHOLE BODY", Drops({D::ACTUAL_FRAME_DURATION, D::SCAN_VELOCITY, D::SCAN_LENGTH}),
     CHECK(IsNMImageModuleValid), 0, {"@ACTUAL_FRAME_DURATION", "@SCAN_VELOCITY", "@SCAN_LENGTH"}},
    {"tomography needs no frame duration", "TOMO", Drops({D::ACTUAL_FRAME_DURATION, D::SCAN_VELOCITY, D::SCAN_LENGTH}), CHECK(IsNMImageModuleValid), 1, {}},
    // NM isotope
    {"no isotope sequences", "STATIC", Drops({D::ENERGY_WINDOW_INFORMATION_SEQUENCE, D::RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE}),
     CHECK(IsNMIsotopeModuleValid), 0, {"@ENERGY_WINDOW_INFORMATION_SEQUENCE", "@RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE"}},
    {"two windows, one item", "STATIC", With(D::NUMBER_OF_ENERGY_WINDOWS, Dicom_US(2)), CHECK(IsNMIsotopeModuleValid), 0, {"@ENERGY_WINDOW_INFORMATION_SEQUENCE"}},
    {"empty isotope sequences", "STATIC", All({With(D::ENERGY_WINDOW_INFORMATION_SEQUENCE, Dicom_SQ()), With(D::RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE, Dicom_SQ())}),
     CHECK(IsNMIsotopeModuleValid), 1, {}},
    {"a radiopharmaceutical without radionuclide", "STATIC", FirstItem(D::RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE, [] { return Item({}); }),
     CHECK(IsNMIsotopeModuleValid), 0, {"@RADIONUCLIDE_CODE_SEQUENCE"}},
    {"a coded radionuclide", "STATIC", FirstItem(D::RADIOPHARMACEUTICAL_INFORMATION_SEQUENCE, [] { return Item({{D::RADIONUCLIDE_CODE_SEQUENCE, new Dicom_SQ(Sequence({CodeItem()}))}}); }),
     CHECK(IsNMIsotopeModuleValid), 0, {kFlag, "!RADIONUCLIDE"}},
    // NM detector
    {"no detector sequence", "STATIC", Drop(D::DETECTOR_INFORMATION_SEQUENCE), CHECK(IsNMDetectorModuleValid), 0, {"@DETECTOR_INFORMATION_SEQUENCE"}},
    {"one detector of two, an unknown collimator, no focal distance", "STATIC", FirstItem(D::DETECTOR_INFORMATION_SEQUENCE, [] { return Item({{D::COLLIMATOR_TYPE, new Dicom_CS("XYZ", nullptr)}}); }),
     CHECK(IsNMDetectorModuleValid), 0, {"@DETECTOR_INFORMATION_SEQUENCE", "@COLLIMATOR_TYPE", "@FOCAL_DISTANCE"}},
    {"a detector without collimator type", "STATIC", All({With(D::NUMBER_OF_DETECTORS, Dicom_US(1)), FirstItem(D::DETECTOR_INFORMATION_SEQUENCE, [] { return Item({{D::FOCAL_DISTANCE, new Dicom_IS(250)}}); })}),
     CHECK(IsNMDetectorModuleValid), 0, {"@COLLIMATOR_TYPE"}},
    // NM TOMO acquisition: tomographic kinds only
    {"static needs no rotation", "STATIC", Drop(D::ROTATION_INFORMATION_SEQUENCE), CHECK(IsNMTOMOAcquisitionModuleValid), 1, {}},
    {"tomography without rotations", "GATED TOMO", Drop(D::ROTATION_INFORMATION_SEQUENCE), CHECK(IsNMTOMOAcquisitionModuleValid), 0, {"@ROTATION_INFORMATION_SEQUENCE"}},
    {"an empty rotation", "TOMO", FirstItem(D::ROTATION_INFORMATION_SEQUENCE, [] { return Item({{D::ROTATION_DIRECTION, new Dicom_CS("UP", nullptr)}}); }),
     CHECK(IsNMTOMOAcquisitionModuleValid), 0, {"@START_ANGLE", "@ANGULAR_STEP", "@ROTATION_DIRECTION", "@SCAN_ARC", "@ACTUAL_FRAME_DURATION", "@NUMBER_OF_FRAMES_IN_ROTATION"}},
    // NM multi-gated acquisition: gated kinds only
    {"tomography is not gated", "TOMO", Drop(D::BEAT_REJECTION_FLAG), CHECK(IsNMMultigatedAcqusitionModuleValid), 1, {}},
    {"gated, no beat rejection flag", "GATED", Drop(D::BEAT_REJECTION_FLAG), CHECK(IsNMMultigatedAcqusitionModuleValid), 0, {"@BEAT_REJECTION_FLAG"}},
    {"gated by R-R interval, no gated information", "GATED", All({Code(D::BEAT_REJECTION_FLAG, "MAYBE"), Drop(D::GATED_INFORMATION_SEQUENCE), With(D::FRAME_INCREMENT_POINTER, Dicom_AT(IOD_Image::R_R_INTERVAL_VECTOR)), With(D::RR_INTERVAL_VECTOR, Dicom_US(std::vector<unsigned short>{1, 1}))}),
     CHECK(IsNMMultigatedAcqusitionModuleValid), 0, {"@BEAT_REJECTION_FLAG", "@GATED_INFORMATION_SEQUENCE"}},
    {"gated intervals without data or frame time", "GATED TOMO", With(D::GATED_INFORMATION_SEQUENCE, Sequence({Item({}), Item({{D::DATA_INFORMATION_SEQUENCE, new Dicom_SQ(Sequence({Item({})}))}})})),
     CHECK(IsNMMultigatedAcqusitionModuleValid), 0, {"@GATED_INFORMATION_SEQUENCE", "@DATA_INFORMATION_SEQUENCE", "@FRAME_TIME"}},
    // NM phase: dynamic images only
    {"dynamic without phases", "DYNAMIC", Drop(D::PHASE_INFORMATION_SEQUENCE), CHECK(IsNMPhaseModuleValid), 0, {"@PHASE_INFORMATION_SEQUENCE"}},
    {"an empty phase", "DYNAMIC", FirstItem(D::PHASE_INFORMATION_SEQUENCE, [] { return Item({}); }),
     CHECK(IsNMPhaseModuleValid), 0, {"@PHASE_DELAY", "@ACTUAL_FRAME_DURATION", "@PAUSE_BETWEEN_FRAMES", "@NUMBER_OF_FRAMES_IN_PHASE"}},
    {"gated is not dynamic", "GATED", Drop(D::PHASE_INFORMATION_SEQUENCE), CHECK(IsNMPhaseModuleValid), 1, {}},
    // NM reconstruction: reconstructed tomography only
    {"reconstruction without slices", "RECON TOMO", Drops({D::SPACING_BETWEEN_SLICES, D::SLICE_THICKNESS}), CHECK(IsNMReconstructionModuleValid), 0, {"@SPACING_BETWEEN_SLICES", "@SLICE_THICKNESS"}},
    {"projections are not reconstructed", "TOMO", Drops({D::SPACING_BETWEEN_SLICES, D::SLICE_THICKNESS}), CHECK(IsNMReconstructionModuleValid), 1, {}},
};
// clang-format on

}  // namespace

TEST(NMValidators, ACompleteImageOfEveryKindPasses) {
    for (const char* kind : kKinds) {
        SCOPED_TRACE(kind);
        IOD_NMImage nm;
        FillCompleteNM(nm, kind);
        DefectRecorder log;
        EXPECT_EQ(nm.IsValid(), 1);
        EXPECT_EQ(log.Defects(), Lines{});
    }
}

TEST(NMValidators, EachDefectNamesItsAttribute) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        IOD_NMImage nm;
        FillCompleteNM(nm, c.kind);
        c.change(nm);
        for (int tolerant : {0, 1}) {
            Tolerant mode(tolerant);
            DefectRecorder log;
            EXPECT_EQ((nm.*c.check)(), tolerant ? 1 : c.valid) << "tolerant " << tolerant;
            EXPECT_EQ(log.Defects(), Expected(c.module, c.defects)) << "tolerant " << tolerant;
            EXPECT_TRUE(log.AllFrom("src/IOD/IOD_Image"));
        }
    }
}
