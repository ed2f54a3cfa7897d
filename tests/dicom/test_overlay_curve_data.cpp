// Overlay (60xx,3000) and curve data (50xx,3000) in every syntax: the VR inferred in implicit VR,
// big-endian order (OW swapped as words, OB kept, whatever Data Value Representation says), odd
// lengths; and the scaling of annotation items.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_codec_builder.h"

using namespace testbytes;
using namespace std::string_literals;

namespace {

struct DataCase {
    const char* name;
    unsigned group;
    int dvr;           // Data Value Representation written before the data; -1: none
    const char* vr;    // VR of the data element in the big-endian input
    std::string host;  // value bytes as the layer keeps them (OW in host order)
};

const DataCase kCases[] = {
    {"overlay OW", 0x6000, -1, "OW", "\x01\x02\x03\x04\x05\x06"s},
    {"overlay OB, odd", 0x6002, -1, "OB", "\x11\x12\x13\x14\x15"s},
    {"overlay OW, odd, index 127", 0x60FE, -1, "OW", "\x21\x22\x23"s},
    {"curve US in OW", 0x5000, 0, "OW", "\x34\x12\xFF\x00"s},
    {"curve FL in OB (points not swapped)", 0x5004, 2, "OB", F32(1.5f) + F32(-2.25f)},
    {"curve SL in OW, odd", 0x5008, 4, "OW", "\x01\x00\x00\x80\x7F"s},
    {"curve without DVR in OB", 0x500E, -1, "OB", "\x01\x02\x03\x04"s},
};

// Explicit VR big endian input for one case: the value padded to even length, OW swapped as words.
std::vector<unsigned char> BigEndianInput(const DataCase& c) {
    std::string value = c.host + std::string(c.host.size() & 1, '\0');
    for (size_t i = 0; std::string(c.vr) == "OW" && i + 2 <= value.size(); i += 2)
        std::swap(value[i], value[i + 1]);
    Bytes b;
    b.big = true;
    if (c.dvr >= 0) b.ex(c.group, 0x0103, "US", U16(static_cast<unsigned>(c.dvr), true));
    return b.ex(c.group, 0x3000, c.vr, value).b;
}

// The value as held: OW in host order, an odd value with the padding byte it was stored with.
void ExpectHeld(const Dicom_Msg& m, const DataCase& c) {
    const Dicom_Type* v = m.Get(Dicom_Tag(static_cast<unsigned short>(c.group), 0x3000));
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(Raw(v), c.host + std::string(c.host.size() & 1, '\0'));
}

}  // namespace

TEST(OverlayCurveData, RoundTripInEverySyntax) {
    for (const DataCase& c : kCases) {
        SCOPED_TRACE(c.name);
        std::vector<unsigned char> input = BigEndianInput(c), again;
        int status = -1;
        Dicom_Msg fromBig(input.data(), input.size(), 0, kBig, &status);
        ASSERT_EQ(status, 0);
        ExpectHeld(fromBig, c);
        ASSERT_EQ(fromBig.Encode(again, kBig), 0);
        EXPECT_EQ(again, input);
        for (const Dicom_TransferSyntax* ts : {&kExplicit, &kImplicit, &kDeflated}) {
            SCOPED_TRACE(ts->GetUID());
            std::vector<unsigned char> out, back;
            ASSERT_EQ(fromBig.Encode(out, *ts), 0);
            Dicom_Msg m(out.data(), out.size(), 1, *ts, &status);
            ASSERT_EQ(status, 0);
            ExpectHeld(m, c);
            // Implicit VR: overlay data is OW, curve data a string of points (OB).
            const std::string vr = ts != &kImplicit ? c.vr : (c.group & 0xFF00) == 0x6000 ? "OW" : "OB";
            EXPECT_EQ(m.Get(Dicom_Tag(static_cast<unsigned short>(c.group), 0x3000))->GetVRName(), vr);
            ASSERT_EQ(m.Encode(back, kBig), 0);  // back to big endian: the input again
            EXPECT_TRUE(back == input || vr != c.vr);
            Dicom_Msg m2(back.data(), back.size(), 1, kBig, &status);
            ExpectHeld(m2, c);
        }
    }
}
namespace {

std::vector<float> PointsOf(const Dicom_Msg& msg, unsigned short sequence, int item, unsigned short element) {
    const Dicom_Type* sq = msg.Get(Dicom_Tag(0x0070, sequence));
    const Dicom_Msg* o = sq ? static_cast<const Dicom_SQ*>(sq)->GetItem(item) : nullptr;
    const Dicom_Type* v = o ? o->Get(Dicom_Tag(0x0070, element)) : nullptr;
    return v ? static_cast<const Dicom_FL*>(v)->GetValues() : std::vector<float>{};
}

}  // namespace

TEST(AnnotationItem, ScalesTextAndGraphicObjectsInTheirUnits) {
    struct Case {
        unsigned short sequence, element, unitsElement;  // text (0008) or graphic (0009) objects
        const char* units;                               // null: none
        std::vector<float> in, out;
    };
    const Case cases[] = {
        {0x0008, 0x0010, 0x0003, "PIXEL", {10, 20}, {20, 10}},
        {0x0008, 0x0011, 0x0003, "MATRIX", {30, 40}, {60, 20}},
        {0x0008, 0x0014, 0x0004, "DISPLAY", {0.5f, 0.25f}, {0.5f, 0.25f}},
        {0x0008, 0x0014, 0x0004, nullptr, {5, 6}, {10, 3}},
        {0x0009, 0x0022, 0x0005, "PIXEL", {1, 2, 3, 4, 5}, {2, 1, 6, 2, 5}},  // odd count: last kept
        {0x0009, 0x0022, 0x0005, "DISPLAY", {0.5f, 0.25f}, {0.5f, 0.25f}},
    };
    Dicom_Msg annotation;  // one item of a Graphic Annotation Sequence
    Dicom_SQ objects[2];
    for (const Case& c : cases) {
        Dicom_Msg* o = new Dicom_Msg();
        Dicom_FL points(c.in);
        Dicom_CS units(c.units);
        o->Set(Dicom_Tag(0x0070, c.element), &points);
        if (c.units) o->Set(Dicom_Tag(0x0070, c.unitsElement), &units);
        objects[c.sequence - 0x0008].AddItem(o);
    }
    ASSERT_EQ(annotation.Set(Dicom_Tag(0x0070, 0x0008), &objects[0]), 0);
    ASSERT_EQ(annotation.Set(Dicom_Tag(0x0070, 0x0009), &objects[1]), 0);
    Dicom_Msg state;  // the presentation state: it holds no text or graphic objects of its own
    Dicom_SQ annotations;
    annotations.AddItem(new Dicom_Msg(annotation));
    ASSERT_EQ(state.Set(Dicom_Tag(0x0070, 0x0001), &annotations), 0);

    ASSERT_EQ(annotation.MoveTextObjectSeqBy(2.0, 0.5), 0);
    ASSERT_EQ(state.MoveTextObjectSeqBy(2.0, 0.5), 0);
    int n[2] = {0, 0};
    const Dicom_Msg& kept = *static_cast<const Dicom_SQ*>(state.Get(Dicom_Tag(0x0070, 0x0001)))->GetItem(0);
    for (const Case& c : cases) {
        const int k = n[c.sequence - 0x0008]++;
        EXPECT_EQ(PointsOf(annotation, c.sequence, k, c.element), c.out) << c.element << " " << k;
        EXPECT_EQ(PointsOf(kept, c.sequence, k, c.element), c.in);
    }
}
