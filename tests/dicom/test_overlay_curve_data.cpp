// Overlay data (60xx,3000) and curve data (50xx,3000) in every transfer syntax: the VR inferred
// in implicit VR (OW for overlays, OB for curves), big-endian byte order (OW swapped as 16-bit
// words, OB kept as it is, whatever type Data Value Representation gives the curve points),
// odd lengths; and the scaling of annotation items.
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "test_codec_builder.h"

using testbytes::Bytes;

namespace {

const Dicom_TransferSyntax kImplicit(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN);
const Dicom_TransferSyntax kExplicit(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
const Dicom_TransferSyntax kBig(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN);
const Dicom_TransferSyntax kDeflated(Dicom_TransferSyntax::DEFLATED_EXPLICIT_LITTLE_ENDIAN);

struct DataCase {
    const char* name;
    unsigned group;
    int dvr;           // Data Value Representation written before the data; -1: none
    const char* vr;    // VR of the data element in the big-endian input
    std::string host;  // value bytes in host (little-endian) order, as the layer keeps them
};

std::string Bytes8(std::initializer_list<int> v) {
    std::string s;
    for (int b : v) s.push_back(static_cast<char>(b));
    return s;
}

std::string Floats(std::initializer_list<float> v) {
    std::string s;
    for (float f : v) s += testbytes::F32(f);
    return s;
}

std::string Doubles(std::initializer_list<double> v) {
    std::string s;
    for (double d : v) {
        char b[8];
        std::memcpy(b, &d, 8);
        s.append(b, 8);
    }
    return s;
}

// `host` padded to even length, each complete unit reversed.
std::string BigEndianValue(std::string host, unsigned unit) {
    if (host.size() & 1) host.push_back('\0');
    if (unit >= 2)
        for (size_t i = 0; i + unit <= host.size(); i += unit)
            std::reverse(host.begin() + i, host.begin() + i + unit);
    return host;
}

const DataCase kCases[] = {
    {"overlay OW", 0x6000, -1, "OW", Bytes8({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08})},
    {"overlay OB, odd", 0x6002, -1, "OB", Bytes8({0x11, 0x12, 0x13, 0x14, 0x15})},
    {"overlay OW, odd, index 127", 0x60FE, -1, "OW", Bytes8({0x21, 0x22, 0x23})},
    {"curve US in OW", 0x5000, 0, "OW", Bytes8({0x34, 0x12, 0xFF, 0x00, 0x02, 0x80})},
    {"curve SS in OB, odd", 0x5002, 1, "OB", Bytes8({0xFE, 0xFF, 0x10, 0x00, 0x7F})},
    {"curve FL in OB", 0x5004, 2, "OB", Floats({1.5f, -2.25f, 1e-3f})},
    {"curve FD in OB", 0x5006, 3, "OB", Doubles({3.141592653589793, -1e300})},
    {"curve SL in OW", 0x5008, 4, "OW", Bytes8({0x01, 0x00, 0x00, 0x80, 0xFF, 0xFF, 0xFF, 0x7F})},
    {"curve FL in OB, odd", 0x500A, 2, "OB", Floats({0.5f}) + Bytes8({0x41, 0x42, 0x43})},
    {"curve without DVR in OW", 0x500C, -1, "OW", Bytes8({0x01, 0x02, 0x03, 0x04})},
    {"curve without DVR in OB", 0x500E, -1, "OB", Bytes8({0x01, 0x02, 0x03, 0x04})},
    {"curve with an unknown DVR", 0x5010, 7, "OB", Bytes8({0x01, 0x02, 0x03, 0x04})},
};

// Hand-assembled explicit VR big endian data set holding one case.
std::vector<unsigned char> BigEndianInput(const DataCase& c) {
    Bytes b;
    b.big = true;
    if (c.dvr >= 0) b.ex(c.group, 0x0103, "US", testbytes::U16(static_cast<unsigned>(c.dvr), true));
    b.ex(c.group, 0x3000, c.vr, BigEndianValue(c.host, std::string(c.vr) == "OW" ? 2 : 0));
    return b.b;
}

std::string HostBytes(const Dicom_Msg& m, unsigned group) {
    const Dicom_Type* v = m.Get(Dicom_Tag(static_cast<unsigned short>(group), 0x3000));
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen()) : "(absent)";
}

std::string Padded(std::string s) {
    if (s.size() & 1) s.push_back('\0');
    return s;
}

}  // namespace

TEST(OverlayCurveData, RoundTripInEverySyntax) {
    for (const DataCase& c : kCases) {
        SCOPED_TRACE(c.name);
        std::vector<unsigned char> input = BigEndianInput(c);
        int status = -1;
        Dicom_Msg fromBig(input.data(), input.size(), 0, kBig, &status);
        ASSERT_EQ(status, 0);
        // As read: OW in host order, the odd value as stored (its padding byte included).
        EXPECT_EQ(HostBytes(fromBig, c.group), Padded(c.host));
        std::vector<unsigned char> again;
        ASSERT_EQ(fromBig.Encode(again, kBig), 0);
        EXPECT_EQ(again, input);

        for (const Dicom_TransferSyntax* ts : {&kExplicit, &kImplicit, &kDeflated}) {
            SCOPED_TRACE(ts->GetUID());
            std::vector<unsigned char> out, back;
            ASSERT_EQ(fromBig.Encode(out, *ts), 0);
            Dicom_Msg m(out.data(), out.size(), 1, *ts, &status);
            ASSERT_EQ(status, 0);
            EXPECT_EQ(HostBytes(m, c.group), Padded(c.host));
            const Dicom_Type* v = m.Get(Dicom_Tag(static_cast<unsigned short>(c.group), 0x3000));
            ASSERT_NE(v, nullptr);
            // Implicit VR: overlay data is OW, curve data a string of points (OB).
            const std::string expectedVR = ts != &kImplicit               ? c.vr
                                           : (c.group & 0xFF00) == 0x6000 ? "OW"
                                                                          : "OB";
            EXPECT_EQ(v->GetVRName(), expectedVR);
            // Back to big endian: the same bytes as the input.
            ASSERT_EQ(m.Encode(back, kBig), 0);
            if (ts != &kImplicit || expectedVR == c.vr) {
                EXPECT_EQ(back, input);
            }
            Dicom_Msg m2(back.data(), back.size(), 1, kBig, &status);
            ASSERT_EQ(status, 0);
            EXPECT_EQ(HostBytes(m2, c.group), Padded(c.host));
        }
    }
}

TEST(OverlayCurveData, ImplicitLittleEndianInputKeepsItsBytes) {
    // Odd-length curve and overlay data as a careless writer leaves them, read with copy 0 and 1.
    Bytes b;
    b.im(0x5000, 0x0103, testbytes::U16(2));
    b.im(0x5000, 0x3000, Floats({2.0f}) + "xyz");
    b.im(0x6000, 0x3000, Bytes8({0xAA, 0xBB, 0xCC}));
    for (int copy : {0, 1}) {
        std::vector<unsigned char> input = b.b;
        int status = -1;
        Dicom_Msg m(input.data(), input.size(), copy, kImplicit, &status);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(HostBytes(m, 0x5000), Floats({2.0f}) + "xyz");
        EXPECT_EQ(HostBytes(m, 0x6000), Bytes8({0xAA, 0xBB, 0xCC}));
        std::vector<unsigned char> big;
        ASSERT_EQ(m.Encode(big, kBig), 0);
        Dicom_Msg fromBig(big.data(), big.size(), 0, kBig, &status);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(HostBytes(fromBig, 0x5000), Floats({2.0f}) + "xyz" + std::string(1, '\0'));
        EXPECT_EQ(HostBytes(fromBig, 0x6000), Bytes8({0xAA, 0xBB, 0xCC, 0x00}));
    }
}

namespace {

Dicom_Msg* Object(std::initializer_list<std::pair<unsigned short, std::vector<float>>> points,
                  std::initializer_list<std::pair<unsigned short, const char*>> units) {
    Dicom_Msg* o = new Dicom_Msg();
    for (const auto& [element, values] : points) {
        Dicom_FL v(values);
        o->Set(Dicom_Tag(0x0070, element), &v);
    }
    for (const auto& [element, text] : units) {
        Dicom_CS u(text);
        o->Set(Dicom_Tag(0x0070, element), &u);
    }
    return o;
}

std::vector<float> PointsOf(const Dicom_Msg& annotation, unsigned short sequence, int item,
                            unsigned short element) {
    const Dicom_Type* sq = annotation.Get(Dicom_Tag(0x0070, sequence));
    const Dicom_Msg* o = sq ? static_cast<const Dicom_SQ*>(sq)->GetItem(item) : nullptr;
    const Dicom_Type* v = o ? o->Get(Dicom_Tag(0x0070, element)) : nullptr;
    return v ? static_cast<const Dicom_FL*>(v)->GetValues() : std::vector<float>{};
}

}  // namespace

TEST(AnnotationItem, ScalesTextAndGraphicObjectsInTheirUnits) {
    Dicom_Msg annotation;  // one item of a Graphic Annotation Sequence
    Dicom_SQ texts, graphics;
    texts.AddItem(Object({{0x0010, {10, 20}}, {0x0011, {30, 40}}, {0x0014, {5, 6}}},
                         {{0x0003, "PIXEL"}, {0x0004, "PIXEL"}}));
    texts.AddItem(Object({{0x0010, {0.1f, 0.2f}}, {0x0011, {0.3f, 0.4f}}, {0x0014, {7, 8}}},
                         {{0x0003, "DISPLAY"}, {0x0004, "MATRIX"}}));
    graphics.AddItem(Object({{0x0022, {1, 2, 3, 4, 5}}}, {{0x0005, "PIXEL"}}));  // odd count: last kept
    graphics.AddItem(Object({{0x0022, {0.5f, 0.25f}}}, {{0x0005, "DISPLAY"}}));
    graphics.AddItem(Object({{0x0022, {100, 200}}}, {}));  // no units: pixels
    ASSERT_EQ(annotation.Set(Dicom_Tag(0x0070, 0x0008), &texts), 0);
    ASSERT_EQ(annotation.Set(Dicom_Tag(0x0070, 0x0009), &graphics), 0);

    ASSERT_EQ(annotation.MoveTextObjectSeqBy(2.0, 0.5), 0);
    using V = std::vector<float>;
    EXPECT_EQ(PointsOf(annotation, 0x0008, 0, 0x0010), (V{20, 10}));
    EXPECT_EQ(PointsOf(annotation, 0x0008, 0, 0x0011), (V{60, 20}));
    EXPECT_EQ(PointsOf(annotation, 0x0008, 0, 0x0014), (V{10, 3}));
    EXPECT_EQ(PointsOf(annotation, 0x0008, 1, 0x0010), (V{0.1f, 0.2f}));
    EXPECT_EQ(PointsOf(annotation, 0x0008, 1, 0x0011), (V{0.3f, 0.4f}));
    EXPECT_EQ(PointsOf(annotation, 0x0008, 1, 0x0014), (V{14, 4}));
    EXPECT_EQ(PointsOf(annotation, 0x0009, 0, 0x0022), (V{2, 1, 6, 2, 5}));
    EXPECT_EQ(PointsOf(annotation, 0x0009, 1, 0x0022), (V{0.5f, 0.25f}));
    EXPECT_EQ(PointsOf(annotation, 0x0009, 2, 0x0022), (V{200, 100}));

    // Called on the presentation state instead of its item, it finds no annotations of its own.
    Dicom_Msg state;
    Dicom_SQ annotations;
    annotations.AddItem(new Dicom_Msg(annotation));
    ASSERT_EQ(state.Set(Dicom_Tag(0x0070, 0x0001), &annotations), 0);
    ASSERT_EQ(state.MoveTextObjectSeqBy(4.0, 4.0), 0);
    const Dicom_Msg* kept = static_cast<const Dicom_SQ*>(state.Get(Dicom_Tag(0x0070, 0x0001)))->GetItem(0);
    EXPECT_EQ(PointsOf(*kept, 0x0008, 0, 0x0010), (V{20, 10}));
}
