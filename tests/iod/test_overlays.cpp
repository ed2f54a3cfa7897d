// Overlay and curve repeating-group indexes (free-index searches, removal and renumbering element
// by element, existence tests, text-overlay removal) and the scaling of shutters and curves; the
// display areas, annotations and text overlays are scaled end to end by the iodtool scale tests.
#include <Dicom/Dicom_Dictionary.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "IodTestSupport.h"

namespace {

using Floats = std::vector<float>;

// Overlay index i: Overlay Type, Rows (100 + i) and, for a text overlay, the private text string
// ("text i") and position (10, 20).
void AddOverlay(IOD_Msg& m, int i, const char* type, bool text = false) {
    ASSERT_EQ(m.SetOverlayType_i(i, Dicom_CS(type)), 0);
    ASSERT_EQ(m.SetRows_i(i, Dicom_US(static_cast<unsigned short>(100 + i))), 0);
    if (!text) return;
    ASSERT_EQ(m.SetTextOverlayString_i(i, Dicom_LO(("text " + std::to_string(i)).c_str())), 0);
    ASSERT_EQ(m.SetTextOverlayPosition_i(i, Dicom_FL(Floats{10, 20})), 0);
}

// A curve at index i of `m`: dimensions, points, type, Data Value Representation and data.
void AddCurve(Dicom_Msg& m, int i, int dvr = 0, unsigned short dims = 2, unsigned short points = 1,
              const std::string& data = std::string("\1\0\2\0", 4)) {
    auto set = [&](unsigned short element, Dicom_Type&& v) {
        EXPECT_EQ(m.Set(Dicom_Tag(0x5000, element).SetRepeatingGroup(i), &v), 0);
    };
    set(0x0005, Dicom_US(dims));
    set(0x0010, Dicom_US(points));
    set(0x0020, Dicom_CS("POLY"));
    set(0x0103, Dicom_US(static_cast<unsigned short>(dvr)));
    set(0x3000, Dicom_OB(const_cast<char*>(data.data()), static_cast<unsigned int>(data.size()), 1, nullptr));
}

std::string CurveData(const Dicom_Msg& m, int i) {
    const Dicom_Type* v = m.Get(Dicom_Tag(0x5000, 0x3000).SetRepeatingGroup(i));
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen()) : "(absent)";
}

// The additional-curves sequence of `m` with `items` new items; returns the last one.
Dicom_Msg* AddNested(Dicom_Msg& m, int items = 1) {
    Dicom_SQ sq;
    for (int k = 0; k < items; ++k) sq.AddItem(new Dicom_Msg());
    EXPECT_EQ(m.Set(Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE, &sq), 0);
    return static_cast<const Dicom_SQ*>(m.Get(Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE))
        ->GetItem(items - 1);
}

// Every element as "(gggg,eeee)" -> value text.
std::map<std::string, std::string> Elements(const IOD_Msg& m) {
    std::map<std::string, std::string> out;
    for (int i = 0; i < m.GetNElements(); ++i)
        out[m.GetElement(i)->GetTag().ToString()] = m.GetElement(i)->GetData()->ToString();
    return out;
}

// A record of the library with this level, function and format (records keep no newline).
bool Logged(const LogRecorder& log, int level, const std::string& function, std::string text) {
    if (!text.empty() && text.back() == '\n') text.pop_back();
    for (const Kvl_LogRecord& r : log.records)
        if (r.level == level && r.category == 19 && r.file == "src/IOD/IOD_Msg" && r.function == function &&
            r.text == text)
            return true;
    return false;
}

}  // namespace

TEST(OverlayIndexes, FirstFreeIndexAndTheFullList) {
    IOD_Msg m;
    AddOverlay(m, 0, "G");
    AddOverlay(m, 2, "G", true);  // beyond a gap: never looked at
    EXPECT_EQ(m.GetOverlayIndex(), 1);
    EXPECT_EQ(m.CheckOverlayTextExistence(), 0);
    EXPECT_EQ(m.GetCurveIndex(), 0);

    IOD_Msg full;
    for (int i = 0; i < 128; ++i) {
        ASSERT_EQ(full.SetOverlayType_i(i, Dicom_CS("G")), 0);
        ASSERT_EQ(full.SetTypeOfData_i(i, Dicom_CS("POLY")), 0);
    }
    EXPECT_NE(full.Find(Dicom_Tag(0x60FE, 0x0040)), nullptr);
    LogRecorder log(7);
    EXPECT_EQ(full.GetOverlayIndex(), -1);
    EXPECT_EQ(full.GetCurveIndex(), -1);
    EXPECT_TRUE(Logged(log, 4, "IOD_Msg::GetOverlayIndex", "GetOverlayIndex(): List is full\n"));
    EXPECT_TRUE(Logged(log, 4, "IOD_Msg::GetCurveIndex", "GetCurveIndex():List is full\n"));
}

TEST(OverlayIndexes, RemovalRenumbersTheGroupsAboveElementByElement) {
    IOD_Msg m;
    m.SetModality(Dicom_CS("CT"));
    for (int i = 0; i < 5; ++i) AddOverlay(m, i, "G", i % 2 == 1);
    // A second private creator in the private group of index 3, with an element of its own.
    Dicom_LO other("OTHER");
    Dicom_SH own("x");
    ASSERT_EQ(m.Set(Dicom_Tag(0x6007, 0x0011), &other), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x6007, 0x1101, ImplementorIDVector::Index(std::string("OTHER"))), &own), 0);
    ASSERT_EQ(m.SetTypeOfData_i(0, Dicom_CS("POLY")), 0);
    const auto before = Elements(m);
    // Expected: nothing of 6002 and 6003; groups 6004 and above two lower; the rest as it was.
    std::map<std::string, std::string> removed, renumbered;
    for (const auto& [tag, value] : before) {
        const auto group = static_cast<unsigned short>(std::stoul(tag.substr(1, 4), nullptr, 16));
        if (group == 0x6002 || group == 0x6003) continue;
        removed[tag] = value;
        const bool moves = (group & 0xFF00) == 0x6000 && (group & 0xFF) > 2;
        renumbered[moves ? Dicom_Tag(static_cast<unsigned short>(group - 2), 0).ToString().substr(0, 5) +
                               tag.substr(5)
                         : tag] = value;
    }

    LogRecorder log(7);
    m.RemoveGroupIndex(1, 0x6000);
    EXPECT_EQ(Elements(m), removed);
    m.UpdateGroupIndex(1, 0x6000);
    EXPECT_EQ(Elements(m), renumbered);
    EXPECT_EQ(std::string(m.GetTextOverlayString_i(2).ToString()), "text 3");  // through the moved creator
    EXPECT_EQ(m.GetOverlayIndex(), 4);
    EXPECT_TRUE(
        Logged(log, 7, "IOD_Msg::RemoveGroupIndex", "Start RemoveGroupIndex: missing_index is:<1>\n"));
    EXPECT_TRUE(
        Logged(log, 7, "IOD_Msg::UpdateGroupIndex", "Start UpdateOverlaysIndex: missing_index is:<1>\n"));

    // Curves renumber alike; indexes or families out of range change nothing.
    ASSERT_EQ(m.SetTypeOfData_i(1, Dicom_CS("ROI")), 0);
    m.RemoveGroupIndex(0, 0x5000);
    m.UpdateGroupIndex(0, 0x5000);
    EXPECT_EQ(std::string(m.GetTypeOfData_i(0).ToString()), "ROI");
    const auto settled = Elements(m);
    for (auto [index, group] : {std::pair{-1, 0x6000}, {128, 0x6000}, {0, 0x0000}, {4, 0x0800}}) {
        m.RemoveGroupIndex(index, static_cast<unsigned short>(group));
        m.UpdateGroupIndex(index, static_cast<unsigned short>(group));
    }
    EXPECT_EQ(Elements(m), settled);
}

TEST(OverlayIndexes, ExistenceTestsAndTextRemoval) {
    struct Case {
        std::vector<std::pair<const char*, bool>> overlays;  // type, text
        int graphic, text, typeG, typeR;
    };
    const Case cases[] = {
        {{}, 0, 0, 0, 0},
        {{{"G", false}}, 1, 0, 1, 0},
        {{{"R", true}}, 0, 1, 0, 0},  // a text overlay is not a graphic one of its type
        {{{"G", true}, {"R", false}}, 1, 1, 0, 1},
    };
    for (const Case& c : cases) {
        IOD_Msg m;
        for (size_t i = 0; i < c.overlays.size(); ++i)
            AddOverlay(m, static_cast<int>(i), c.overlays[i].first, c.overlays[i].second);
        const Dicom_CS g("G"), r("R");
        EXPECT_EQ(m.CheckOverlayGraphicExistence(), c.graphic);
        EXPECT_EQ(m.CheckOverlayTextExistence(), c.text);
        EXPECT_EQ(m.CheckOverlayExistence(&g), c.typeG);
        EXPECT_EQ(m.CheckOverlayExistence(&r), c.typeR);
    }

    // Texts at 0, 1 and 3 go; 2 and 4 become 0 and 1; the text at 6, after a gap, moves down
    // with every removal but stays.
    IOD_Msg m;
    for (int i : {0, 1, 2, 3, 4, 6}) AddOverlay(m, i, "G", i != 2 && i != 4);
    m.RemoveOverlayTexts();
    EXPECT_EQ(m.GetRows_i(0), Dicom_US(102));
    EXPECT_EQ(m.GetRows_i(1), Dicom_US(104));
    EXPECT_EQ(m.GetOverlayIndex(), 2);
    EXPECT_EQ(m.CheckOverlayTextExistence(), 0);
    EXPECT_EQ(std::string(m.GetTextOverlayString_i(3).ToString()), "text 6");
    const bool present[] = {true, false, true, false, false, false, true, true, false};
    for (int g = 0; g < 9; ++g)
        EXPECT_EQ(m.hasGroup(static_cast<unsigned short>(0x6000 + g)), present[g]) << g;
}

TEST(CurveIndexes, ExistenceLooksAtIndexZeroAndTheFirstNestedItems) {
    IOD_Msg m[6];  // complete, no DVR, empty data, two levels down, in the second item, no curve
    AddCurve(m[0], 0);
    AddCurve(m[1], 0);
    m[1].RemoveDataValueRepresentation_i(0);
    AddCurve(m[1], 1);  // index 1 is never looked at
    AddCurve(m[2], 0, 0, 2, 1, "");
    AddCurve(*AddNested(*AddNested(m[3])), 0);
    AddCurve(*AddNested(m[4], 2), 0);
    AddNested(m[5], 1);
    for (int k = 0; k < 6; ++k) EXPECT_EQ(m[k].CheckCurveExistence(), k == 0 || k == 3 ? 1 : 0) << k;
}

// --- scaling with the image ---

TEST(PresentationScaling, ShuttersRoundHalfUpAndKeepTheRadius) {
    IOD_Msg m;
    m.SetShutterLeftVerticalEdge(Dicom_IS("10"));
    m.SetShutterRightVerticalEdge(Dicom_IS("11"));
    m.SetShutterUpperHorizontalEdge(Dicom_IS("10"));
    m.SetShutterLowerHorizontalEdge(Dicom_IS("7"));
    m.SetCenterOfCircularShutter(Dicom_IS("5\\7"));
    m.SetRadiusOfCircularShutter(Dicom_IS("9"));
    m.SetVerticesOfThePlygonalShutter(Dicom_IS("1\\2\\3\\4"));
    m.MoveShutterBy(2, 3);
    EXPECT_EQ(m.GetShutterLeftVerticalEdge(), Dicom_IS("20"));
    EXPECT_EQ(m.GetShutterRightVerticalEdge(), Dicom_IS("22"));
    EXPECT_EQ(m.GetShutterUpperHorizontalEdge(), Dicom_IS("30"));
    EXPECT_EQ(m.GetShutterLowerHorizontalEdge(), Dicom_IS("21"));
    EXPECT_EQ(m.GetCenterOfCircularShutter(), Dicom_IS("15\\14"));
    EXPECT_EQ(m.GetRadiusOfCircularShutter(), Dicom_IS("9"));
    EXPECT_EQ(m.GetVerticesOfThePlygonalShutter(), Dicom_IS("3\\4\\9\\8"));

    // value, factor, result: + 0.5 then truncated toward zero, saturating.
    // clang-format off
    for (auto [value, factor, result] : {std::tuple{"10", 0.25, "3"}, {"3", 0.5, "2"}, {"-3", 0.5, "-1"}, {"-5", 0.5, "-2"}, {"2000000000", 4.0, "2147483647"}}) {
        // clang-format on
        IOD_Msg one;
        one.SetShutterLeftVerticalEdge(Dicom_IS(value));
        one.MoveShutterBy(factor, 1);
        EXPECT_EQ(one.GetShutterLeftVerticalEdge(), Dicom_IS(result)) << value << " x " << factor;
    }

    IOD_Msg odd;  // one vertex value, a centre that is not an integer, nothing else
    odd.SetVerticesOfThePlygonalShutter(Dicom_IS("5"));
    odd.SetCenterOfCircularShutter(Dicom_IS("5.5\\7"));
    LogRecorder log(7);
    odd.MoveShutterBy(2, 3);
    EXPECT_EQ(odd.GetVerticesOfThePlygonalShutter(), Dicom_IS("5"));
    EXPECT_EQ(odd.GetCenterOfCircularShutter(), Dicom_IS("5.5\\7"));
    EXPECT_EQ(odd.GetNElements(), 2);
    EXPECT_TRUE(Logged(log, 4, "IOD_Msg::MoveShutterBy", "Vertices do not have multiple values\n"));
}

namespace {

// Curve points of Data Value Representation `dvr` as bytes.
std::string Points(int dvr, const std::vector<double>& values) {
    std::string out;
    auto put = [&out](auto v) { out.append(reinterpret_cast<const char*>(&v), sizeof v); };
    for (double v : values) {
        if (dvr == 1) put(static_cast<int16_t>(v));
        if (dvr == 2) put(static_cast<float>(v));
        if (dvr == 3) put(v);
        if (dvr == 4) put(static_cast<int32_t>(v));
        if (dvr == 0 || dvr > 4) put(static_cast<uint16_t>(v));
    }
    return out;
}

}  // namespace

TEST(CurveScaling, EachDataVRWithAndWithoutADescriptor) {
    struct Case {
        const char* name;
        int dvr;
        unsigned short points;
        std::vector<double> values, scaled;
        std::vector<unsigned short> descriptor, startStep, scaledStartStep;
        int level;  // of the expected log line, 0: none
        const char* log;
    };
    // x = 0.5, y = 3; two dimensions.
    // clang-format off
    const Case cases[] = {
        {"US", 0, 2, {3, 10, 7, 30000}, {1, 30, 3, 65535}, {}, {}, {}, 0, ""},
        {"SS", 1, 2, {-3, -10, 5, 20000}, {-1, -30, 2, 32767}, {}, {}, {}, 0, ""},
        {"FL", 2, 1, {1.5, 2}, {0.75, 6}, {}, {}, {}, 0, ""},
        {"FD", 3, 1, {1, -2.5}, {0.5, -7.5}, {}, {}, {}, 0, ""},
        {"SL", 4, 1, {-7, 100}, {-3, 300}, {}, {}, {}, 0, ""},
        {"second implicit", 0, 3, {4, 8, 10}, {2, 4, 5}, {1, 0}, {10, 2}, {30, 6}, 0, ""},
        {"first implicit", 0, 3, {1, 2, 3}, {3, 6, 9}, {0}, {10, 3}, {5, 1}, 0, ""},
        {"both implicit", 0, 1, {4, 4}, {4, 4}, {0, 0}, {10, 2}, {10, 2}, 3, "IOD_Msg::move_curves_by.CurveDataDescriptor.x and y cord have value of 0.Ignoring...\n"},
        {"three descriptor values", 0, 1, {4, 4}, {4, 4}, {1, 2, 3}, {}, {}, 4, "IOD_Msg::move_curves_by.CurveDataDescriptor.vm < 1 or vm > 2.Ignoring...\n"},
        {"no start and step", 0, 1, {4, 4}, {4, 4}, {1, 0}, {}, {}, 4, "IOD_Msg::move_curves_by.CoordinateStartValue or CoordinateStepValue does not exist.Ignoring...\n"},
        {"unknown data VR", 7, 1, {4, 4}, {4, 4}, {}, {}, {}, 3, "move_curves_by: data VR is unknown\n"},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        IOD_Msg m;
        AddCurve(m, 0, c.dvr, 2, c.points, Points(c.dvr, c.values));
        AddCurve(m, 1, 0, 2, 1, Points(0, {2, 2}));
        if (!c.descriptor.empty()) m.SetCurveDataDescriptor_i(0, Dicom_US(c.descriptor));
        if (!c.startStep.empty()) {
            m.SetCoordinateStartValue_i(0, Dicom_US(c.startStep[0]));
            m.SetCoordinateStepValue_i(0, Dicom_US(c.startStep[1]));
        }
        LogRecorder log(7);
        m.move_curves_by(0.5, 3);
        EXPECT_EQ(CurveData(m, 0), Points(c.dvr, c.scaled));
        if (!c.startStep.empty()) {
            EXPECT_EQ(m.GetCoordinateStartValue_i(0), Dicom_US(c.scaledStartStep[0]));
            EXPECT_EQ(m.GetCoordinateStepValue_i(0), Dicom_US(c.scaledStartStep[1]));
        }
        // The next index is scaled, unless the level ended.
        EXPECT_EQ(CurveData(m, 1),
                  Points(0, c.dvr == 7 ? std::vector<double>{2, 2} : std::vector<double>{1, 6}));
        EXPECT_EQ(log.records.size(), c.level ? 1u : 0u);
        EXPECT_TRUE(c.level == 0 || Logged(log, c.level, "IOD_Msg::move_curves_by", c.log));
    }
}

TEST(CurveScaling, LevelsOfAdditionalCurvesAndShortOrLongData) {
    IOD_Msg m;
    AddCurve(m, 0, 0, 2, 2, Points(0, {2, 2}));         // counts 4 points, holds 2
    AddCurve(m, 1, 1, 1, 1, Points(1, {-4, 9}) + "!");  // counts 1 point, holds 2 and a byte
    AddCurve(m, 3, 0, 2, 1, Points(0, {2, 2}));         // after a gap: this level ends before it
    Dicom_Msg* first = AddNested(m, 2);                 // both items are levels of their own
    Dicom_SQ* items = static_cast<Dicom_SQ*>(
        m.Find(Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE)->GetChangeableData());
    for (int k = 0; k < 2; ++k) AddCurve(*items->GetItem(k), 0, 2, 2, 1, Points(2, {1, 1}));
    AddCurve(*AddNested(*first), 0, 2, 2, 1, Points(2, {1, 1}));  // a level further down: not scaled
    m.move_curves_by(4, 0.5);
    EXPECT_EQ(CurveData(m, 0), Points(0, {8, 1}));
    EXPECT_EQ(CurveData(m, 1), Points(1, {-16, 9}) + "!");
    EXPECT_EQ(CurveData(m, 3), Points(0, {2, 2}));
    for (int k = 0; k < 2; ++k) EXPECT_EQ(CurveData(*items->GetItem(k), 0), Points(2, {4, 0.5}));
    const Dicom_Type* deeper = first->Get(Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE);
    EXPECT_EQ(CurveData(*static_cast<const Dicom_SQ*>(deeper)->GetItem(0), 0), Points(2, {1, 1}));
}
