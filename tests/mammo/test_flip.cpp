// CalculateMammoFlip over combinations of laterality and orientation, with the log records of
// each decision.
#include <IOD/IOD_TomosynthesisHelper.h>
#include <gtest/gtest.h>

#include "MammoTestSupport.h"

namespace {

using Side = IOD_TomosynthesisHelper::Mammo_Side;

// The expected records, as MammoLog::Text writes them.
std::string Orientation(const std::string& o) { return "7 Patient orientation='" + o + "'\n"; }
std::string ByLaterality(const std::string& side) {
    return "7 The side was set to " + side + " by the laterality tag\n";
}
const std::string kFound = "7 An orientation tag was found\n";
std::string Guess(const std::string& side, const std::string& o) {
    return "7 Laterality tag not found - trying to decide butting side by patient orientation\n" +
           (side == "UNKNOWN" ? "4 Orientation contains no L or R\n" : "7 Setting to " + side + "\n") +
           "7 The side was set to " + side + " by the orientation tag '" + o + "'\n";
}
std::string Flip(const std::string& side, const std::string& o, const std::string& which) {
    return "6 The side is " + side + " and orientation is '" + o + "' - an implicit " + which +
           " flip is needed\n";
}
std::string Reversed(const std::string& o) {
    return "7 Patient orientation dicom tag is '" + o +
           "', flip is not applied when orientation values are reversed.\n";
}

struct FlipCase {
    const char *image, *laterality, *frame, *orientation, *kovel;  // null: absent, "": empty
    Side side;
    bool horizontal, vertical;
    std::string log;
};

TEST(MammoFlip, SideAndFlipsOverLateralityAndOrientation) {
    const char* const no = nullptr;
    const std::vector<FlipCase> cases = {
        {"R", no, no, "A\\FR", no, Side::RIGHT, true, false,
         Orientation("A\\FR") + ByLaterality("RIGHT") + kFound + Flip("RIGHT", "A\\FR", "HORIZONTAL")},
        {"L", no, no, "P\\L", no, Side::LEFT, true, true,  // vertical by 'L', and again by P-and-L
         Orientation("P\\L") + ByLaterality("LEFT") + kFound + Flip("LEFT", "P\\L", "HORIZONTAL") +
             Flip("LEFT", "P\\L", "VERTICAL") + Flip("LEFT", "P\\L", "VERTICAL")},
        {"L", no, no, "P\\FL", no, Side::LEFT, true, true,  // P-and-L after the 'F' rule declined
         Orientation("P\\FL") + ByLaterality("LEFT") + kFound + Flip("LEFT", "P\\FL", "HORIZONTAL") +
             Flip("LEFT", "P\\FL", "VERTICAL")},
        {"L", no, no, "A\\FL", no, Side::LEFT, false, false,
         Orientation("A\\FL") + ByLaterality("LEFT") + kFound},
        {no, no, no, "A\\R", no, Side::LEFT, false, false,  // 'A' is found before 'R' is considered
         Orientation("A\\R") + kFound + Guess("LEFT", "A\\R")},
        {no, no, no, "P\\H", no, Side::RIGHT, false, true,
         Orientation("P\\H") + kFound + Guess("RIGHT", "P\\H") + Flip("RIGHT", "P\\H", "VERTICAL")},
        {no, no, no, "R\\A", no, Side::LEFT, false, false,
         Orientation("R\\A") + kFound + Guess("LEFT", "R\\A") + Reversed("R\\A")},
        {no, no, no, "F\\H", no, Side::UNKNOWN, false, false,
         Orientation("F\\H") + kFound + Guess("UNKNOWN", "F\\H") + Reversed("F\\H")},
        {"R", no, no, "P\\L", "A\\H", Side::RIGHT, true, true,
         "7 Using KOVEL_PATIENT_ORIENTATION content\n" + Orientation("A\\H") + ByLaterality("RIGHT") +
             kFound + Flip("RIGHT", "A\\H", "HORIZONTAL") + Flip("RIGHT", "A\\H", "VERTICAL")},
        {"L", no, no, "P\\F", "", Side::LEFT, true, false,  // empty KOVEL_PATIENT_ORIENTATION: (0020,0020)
         Orientation("P\\F") + ByLaterality("LEFT") + kFound + Flip("LEFT", "P\\F", "HORIZONTAL")},
        {"B", no, no, "A\\H", no, Side::LEFT, false, true,
         Orientation("A\\H") + "7 Laterality is not L or R. it is B\n" + ByLaterality("UNKNOWN") + kFound +
             Guess("LEFT", "A\\H") + Flip("LEFT", "A\\H", "VERTICAL")},
        {no, "L", no, "P\\F", no, Side::LEFT, true, false,  // (0020,0060) when (0020,0062) is absent
         Orientation("P\\F") + ByLaterality("LEFT") + kFound + Flip("LEFT", "P\\F", "HORIZONTAL")},
        {"", "L", no, "P\\F", no, Side::RIGHT, false, false,  // an empty (0020,0062) hides (0020,0060)
         Orientation("P\\F") + kFound + Guess("RIGHT", "P\\F")},
        {no, no, "R", "A\\R", no, Side::RIGHT, true, true,
         Orientation("A\\R") + kFound + Flip("RIGHT", "A\\R", "HORIZONTAL") +
             Flip("RIGHT", "A\\R", "VERTICAL")},
        {no, no, "B", no, no, Side::UNKNOWN, false, false, ""},
        {"L", no, no, no, no, Side::LEFT, false, false, ByLaterality("LEFT")},
        {"R", no, no, "", no, Side::RIGHT, false, false, ByLaterality("RIGHT") + kFound + Reversed("")},
        {no, no, no, no, no, Side::UNKNOWN, false, false, ""},
    };
    for (const FlipCase& c : cases) {
        IOD_Msg msg;
        Put<Dicom_CS>(msg, Dicom_Dictionary::IMAGE_LATERALITY, c.image);
        Put<Dicom_CS>(msg, Dicom_Dictionary::LATERALITY, c.laterality);
        Put<Dicom_CS>(msg, Dicom_Dictionary::PATIENT_ORIENTATION, c.orientation);
        Put<Dicom_CS>(msg, Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION, c.kovel);
        if (c.frame != nullptr) {
            Dicom_Msg& shared = PutItem(msg, Dicom_Dictionary::SHARED_FUNCTIONAL_GROUPS_SEQUENCE);
            Put<Dicom_CS>(PutItem(shared, Dicom_Dictionary::FRAME_ANATOMY_SEQUENCE),
                          Dicom_Dictionary::FRAME_LATERALITY, c.frame);
        }
        bool horizontal = !c.horizontal, vertical = !c.vertical;
        Side side = Side::RIGHT;
        MammoLog log;
        IOD_TomosynthesisHelper::CalculateMammoFlip(&msg, &horizontal, &vertical, &side);
        EXPECT_EQ(log.Text("CalculateMammoFlip"), c.log) << c.log;
        EXPECT_EQ(log.Text(), c.log) << "records outside CalculateMammoFlip or category 19";
        EXPECT_EQ(std::make_tuple(side, horizontal, vertical),
                  std::make_tuple(c.side, c.horizontal, c.vertical))
            << c.log;
        IOD_TomosynthesisHelper::CalculateMammoFlip(&msg, &horizontal, &vertical, nullptr);  // side optional
        for (const Kvl_LogRecord& r : log.records) EXPECT_EQ(r.file, "src/IOD/IOD_TomosynthesisHelper");
    }
    // Null arguments write nothing.
    IOD_Msg msg;
    for (const bool nullMsg : {true, false}) {
        bool flag = true;
        Side side = Side::LEFT;
        MammoLog log;
        IOD_TomosynthesisHelper::CalculateMammoFlip(nullMsg ? nullptr : &msg, &flag, nullptr, &side);
        EXPECT_EQ(log.Text(),
                  nullMsg ? "4 msg is NULL\n" : "4 Error, as least one output arguments for flip is NULL\n");
        EXPECT_TRUE(flag);
        EXPECT_EQ(side, Side::LEFT);
    }
    EXPECT_STREQ(IOD_TomosynthesisHelper::GetMammoSideText(Side::RIGHT), "RIGHT");
}

}  // namespace
