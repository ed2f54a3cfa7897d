// View labels from the View Code Sequence, View Position, modifiers and laterality.
#include <IOD/IOD_TomosynthesisHelper.h>
#include <gtest/gtest.h>

#include "MammoTestSupport.h"

namespace {

void PutCode(Dicom_Msg& item, const char* value) {
    Put<Dicom_SH>(item, Dicom_Dictionary::CODE_VALUE, value);
    Put<Dicom_SH>(item, Dicom_Dictionary::CODING_SCHEME_DESIGNATOR, "SCT");
}

TEST(MammoViewLabels, LabelAndDescription) {
    const char* const no = nullptr;
    struct Case {
        const char *laterality, *viewCode, *viewPosition;
        std::vector<const char*> modifiers;  // inside the view item
        const char *topModifier, *label, *description;
    };
    // clang-format off
    for (const Case& c : std::vector<Case>{
             {"R", "399368009", no, {}, no, "R MLO", "Right mediolateral oblique"},
             {"L", "R-10242", "MLO", {}, no, "L CC", "Left craniocaudal"},  // the code wins
             {"L", "399162004", no, {"399209000"}, no, "L CC ID", "Left craniocaudal, implant displaced"},
             {"R", "R-10242", no, {"R-102D6", "123", "399055006"}, no, "R CC M S", "Right craniocaudal, magnification, spot compression"},
             {"R", no, "XCCL", {}, no, "R XCCL", "Right craniocaudal exaggerated laterally"},
             {no, "999999", "MLO", {}, no, "MLO", "Mediolateral oblique"},
             {"L", no, "RMLO", {}, no, "L RMLO", "Left RMLO"},
             {"U", no, "FB", {}, no, "FB", "Caudocranial (from below)"},
             {"B", "R-10242", no, {}, no, "B CC", "Bilateral craniocaudal"},
             {"L", no, "CC", {}, "399163009", "L CC M", "Left craniocaudal, magnification"},
             {"R", "999999", no, {"399209000"}, no, "R ID", "Right, implant displaced"},
             {no, no, no, {}, no, "", ""},
         }) {
        // clang-format on
        IOD_Msg msg;
        Put<Dicom_CS>(msg, Dicom_Dictionary::IMAGE_LATERALITY, c.laterality);
        Put<Dicom_CS>(msg, Dicom_Dictionary::VIEW_POSITION, c.viewPosition);
        if (c.viewCode) {
            Dicom_Msg& view = PutItem(msg, Dicom_Dictionary::VIEW_CODE_SEQUENCE);
            PutCode(view, c.viewCode);
            Dicom_SQ modifiers;
            for (const char* code : c.modifiers) {
                modifiers.AddItem(new Dicom_Msg);
                PutCode(*modifiers.GetItem(modifiers.GetNItems() - 1), code);
            }
            if (!c.modifiers.empty()) view.Set(Dicom_Dictionary::VIEW_MODIFIER_CODE_SEQUENCE, &modifiers);
        }
        if (c.topModifier)
            PutCode(PutItem(msg, Dicom_Dictionary::VIEW_MODIFIER_CODE_SEQUENCE), c.topModifier);
        EXPECT_EQ(IOD_TomosynthesisHelper::GetViewPosition(&msg), c.label) << c.description;
        EXPECT_EQ(IOD_TomosynthesisHelper::GetFullDescription(&msg), c.description) << c.label;
    }
    EXPECT_EQ(IOD_TomosynthesisHelper::GetViewPosition(nullptr), "");
}

}  // namespace
