// Display groups and their predicates, and the laterality text.
#include <IOD/IOD_TomosynthesisHelper.h>
#include <gtest/gtest.h>

#include "MammoTestSupport.h"

namespace {

constexpr const char* kTomo = "1.2.840.10008.5.1.4.1.1.13.1.3";

TEST(MammoDisplayGroups, GroupFromMarkerClassModalityFramesAndThickness) {
    const char* const no = nullptr;
    const char* const mammo = "1.2.840.10008.5.1.4.1.1.1.2";
    struct Case {
        const char *isMg, *sopClass, *modality, *frames, *thickness, *volumetric;  // "": present, empty
        const char* text;
    };
    for (const Case& c : std::vector<Case>{
             {no, kTomo, "MG", "1", no, no, ""},
             {"N", kTomo, "MG", "1", no, no, ""},
             {"Y", mammo, "MG", no, no, no, "D2"},
             {"Y", mammo, "MG", "1", "2.0", "SAMPLED", "D2"},
             {"Y", kTomo, "MG", no, no, no, "SYNTHETIC"},
             {"Y", kTomo, "MG", "", no, no, "SYNTHETIC"},
             {"Y", kTomo, "CT", "1", no, no, "SYNTHETIC"},
             {"Y", kTomo, "MG", "1", no, no, "DBT"},
             {"Y", kTomo, "MG", "1", "1.0", no, "DBT"},
             {"Y", kTomo, "MG", "1", "1.0", "SAMPLED", "SLABBING"},
             {"Y", kTomo, "MG", "1", "1.0", "DISTORTED", "DBT"},
             {"Y", kTomo, "MG", "1", "1.5", no, "SLABBING"},
             {"Y", kTomo, "MG", "1", "1.00000001", no, "DBT"},  // 1.0 as a float
         }) {
        IOD_Msg msg;
        Put<Dicom_CS>(msg, Dicom_Dictionary::KOVEL_IS_MG, c.isMg);
        Put<Dicom_UI>(msg, Dicom_Dictionary::SOP_CLASS_UID, c.sopClass);
        Put<Dicom_CS>(msg, Dicom_Dictionary::MODALITY, c.modality);
        Put<Dicom_IS>(msg, Dicom_Dictionary::KOVEL_FRAME_NUMBER, c.frames);
        Put<Dicom_CS>(msg, Dicom_Dictionary::VOLUMETRIC_PROPERTIES, c.volumetric);
        if (c.thickness)
            Put<Dicom_DS>(PutItem(msg, Dicom_Dictionary::PIXEL_MEASURES_SEQUENCE),
                          Dicom_Dictionary::SLICE_THICKNESS, c.thickness);
        SCOPED_TRACE(std::string(c.text) + " " + c.modality + " " + (c.frames ? c.frames : "-") + " " +
                     (c.thickness ? c.thickness : "-") + " " + (c.volumetric ? c.volumetric : "-"));
        const IOD_MG_Grouptype group = IOD_TomosynthesisHelper::GetMammoDisplayInfo(&msg);
        EXPECT_EQ(IOD_TomosynthesisHelper::GetMammoDisplayInfoText(&msg), c.text);
        EXPECT_STREQ(IOD_TomosynthesisHelper::GetMammoGroupText(group), c.text);
        const bool is3D = c.sopClass == kTomo && std::string(c.modality) == "MG" && c.frames && *c.frames;
        EXPECT_EQ(IOD_TomosynthesisHelper::Is3DTomosynthesisImage(&msg), is3D);
        EXPECT_EQ(IOD_TomosynthesisHelper::Is2DTomosynthesisImage(&msg), !is3D);
        EXPECT_EQ(IOD_TomosynthesisHelper::IsTomosynthesisStudy(&msg), c.sopClass == kTomo);
    }
}

TEST(MammoDisplayGroups, SlabTestReadsOnlyTheTopLevelPixelMeasures) {
    IOD_Msg msg;
    Put<Dicom_UI>(msg, Dicom_Dictionary::SOP_CLASS_UID, kTomo);
    Put<Dicom_CS>(msg, Dicom_Dictionary::MODALITY, "MG");
    Put<Dicom_IS>(msg, Dicom_Dictionary::KOVEL_FRAME_NUMBER, "3");
    Dicom_Msg& shared = PutItem(msg, Dicom_Dictionary::SHARED_FUNCTIONAL_GROUPS_SEQUENCE);
    Put<Dicom_DS>(PutItem(shared, Dicom_Dictionary::PIXEL_MEASURES_SEQUENCE),
                  Dicom_Dictionary::SLICE_THICKNESS, "10");
    EXPECT_FALSE(IOD_TomosynthesisHelper::Is3DTomosynthesisSlabbingImage(&msg));
    Put<Dicom_DS>(PutItem(msg, Dicom_Dictionary::PIXEL_MEASURES_SEQUENCE), Dicom_Dictionary::SLICE_THICKNESS,
                  "10");
    EXPECT_TRUE(IOD_TomosynthesisHelper::Is3DTomosynthesisSlabbingImage(&msg));
    EXPECT_EQ(IOD_TomosynthesisHelper::GetMammoDisplayInfo(nullptr), IOD_MG_NOT_MG);
    EXPECT_FALSE(IOD_TomosynthesisHelper::Is3DTomosynthesisSlabbingImage(nullptr));
    EXPECT_STREQ(IOD_TomosynthesisHelper::GetMammoGroupText(IOD_MG_SPECIAL), "SPECIAL");  // never derived
}

TEST(MammoLaterality, ImageLateralityThenLateralityThenFrameLaterality) {
    const char* const no = nullptr;
    const std::string longValue(200, 'R');
    struct Case {
        const char *image, *laterality, *frame;  // "": present without a value
        std::string text;
    };
    for (const Case& c : std::vector<Case>{{"R", "L", "L", "R"},
                                           {"R\\L", no, no, "R\\L"},
                                           {"", "L", "R", "L"},
                                           {no, "", "R", ""},  // (0020,0060) is chosen although empty
                                           {"", no, "R", "R"},
                                           {no, no, "", ""},
                                           {no, no, no, ""},
                                           {longValue.c_str(), no, no, longValue.substr(0, 128)}}) {
        IOD_Msg msg;
        Put<Dicom_CS>(msg, Dicom_Dictionary::IMAGE_LATERALITY, c.image);
        Put<Dicom_CS>(msg, Dicom_Dictionary::LATERALITY, c.laterality);
        if (c.frame)
            Put<Dicom_CS>(PutItem(PutItem(msg, Dicom_Dictionary::SHARED_FUNCTIONAL_GROUPS_SEQUENCE),
                                  Dicom_Dictionary::FRAME_ANATOMY_SEQUENCE),
                          Dicom_Dictionary::FRAME_LATERALITY, c.frame);
        EXPECT_EQ(IOD_TomosynthesisHelper::GetLaterality(&msg), c.text) << c.text;
    }
    EXPECT_EQ(IOD_TomosynthesisHelper::GetLaterality(nullptr), "");
}

}  // namespace
