// Writing: exact lengths in every syntax (computed here from the encoding rules), padding,
// byte order, group lengths, limits of the 16-bit length field, the file meta group, and
// conversions between syntaxes.
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OB.h>
#include <Dicom/Dicom_OW.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UL.h>
#include <Dicom/Dicom_US.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "test_codec_builder.h"

namespace {

const Dicom_TransferSyntax kImplicit(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN);
const Dicom_TransferSyntax kExplicit(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
const Dicom_TransferSyntax kBig(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN);
const Dicom_TransferSyntax kDeflated(Dicom_TransferSyntax::DEFLATED_EXPLICIT_LITTLE_ENDIAN);

// CS "ISO_IR 100" (10), PN "ODD" (3, padded to 4), US 512, a new sequence with one item holding
// UI "1.2" (3, padded to 4), OW of 6 bytes.
void BuildSample(Dicom_Msg& m) {
    Dicom_CS cs("ISO_IR 100");
    Dicom_PN pn("ODD");
    Dicom_US us(static_cast<unsigned short>(512));
    unsigned char px[6] = {1, 2, 3, 4, 5, 6};
    Dicom_OW ow(px, 6, 1, nullptr);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0005), &cs), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0010, 0x0010), &pn), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0028, 0x0010), &us), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x7FE0, 0x0010), &ow), 0);
    Dicom_SQ sq;
    Dicom_Msg* item = new Dicom_Msg();
    Dicom_UI ui("1.2");
    ASSERT_EQ(item->Set(Dicom_Tag(0x0008, 0x1150), &ui), 0);
    sq.AddItem(item);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x1115), &sq), 0);
}

}  // namespace

TEST(CodecWrite, LengthsFollowTheEncodingRulesInEverySyntax) {
    Dicom_Msg m;
    BuildSample(m);
    // explicit: CS 8+10, PN 8+4, US 8+2, SQ 12 + item (8 + UI 8+4 + delimiter 8) + delimiter 8,
    // OW 12+6. Implicit: every header is 8 bytes.
    const unsigned explicitLength = 18 + 12 + 10 + (12 + 28 + 8) + 18;
    const unsigned implicitLength = 18 + 12 + 10 + (8 + 28 + 8) + 14;
    struct Case {
        const Dicom_TransferSyntax* ts;
        unsigned expected;
    } cases[] = {{&kExplicit, explicitLength}, {&kImplicit, implicitLength}, {&kBig, explicitLength}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.ts->GetUID());
        const Dicom_DumpLen len = m.GetDumpLen(*c.ts);
        ASSERT_TRUE(len.IsValid());
        EXPECT_EQ(len.GetDumpLen(), c.expected);
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, *c.ts), 0);
        EXPECT_EQ(out.size(), c.expected);
        // The element's own length agrees with its share.
        EXPECT_EQ(m.Find(Dicom_Tag(0x0010, 0x0010))->GetDumpLen(*c.ts).GetDumpLen(),
                  c.ts->IsExplicitVR() ? 12u : 12u);
        EXPECT_EQ(m.Find(Dicom_Tag(0x7FE0, 0x0010))->GetDumpLen(*c.ts).GetDumpLen(),
                  c.ts->IsExplicitVR() ? 18u : 14u);
    }
    // The deflated length is that of the stream written.
    std::vector<unsigned char> out;
    ASSERT_EQ(m.Encode(out, kDeflated), 0);
    EXPECT_EQ(m.GetDumpLen(kDeflated).GetDumpLen(), out.size());
    // A new message defaults to explicit VR little endian.
    ASSERT_EQ(m.Encode(out), 0);
    EXPECT_EQ(out.size(), explicitLength);
}

TEST(CodecWrite, BytesMatchAHandAssembledEncoding) {
    Dicom_Msg m;
    BuildSample(m);
    for (bool big : {false, true}) {
        testbytes::Bytes e;
        e.big = big;
        e.ex(0x0008, 0x0005, "CS", "ISO_IR 100");
        e.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item();
        e.ex(0x0008, 0x1150, "UI", std::string("1.2\0", 4));
        e.itemEnd().seqEnd();
        e.ex(0x0010, 0x0010, "PN", "ODD ");
        e.ex(0x0028, 0x0010, "US", testbytes::U16(512, big));
        // OW: 16-bit words swapped in big endian.
        e.ex(0x7FE0, 0x0010, "OW", big ? std::string("\2\1\4\3\6\5", 6) : std::string("\1\2\3\4\5\6", 6));
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, big ? kBig : kExplicit), 0);
        EXPECT_EQ(out, e.b) << (big ? "big endian" : "little endian");
    }
    testbytes::Bytes i;
    i.im(0x0008, 0x0005, "ISO_IR 100");
    i.imh(0x0008, 0x1115, 0xFFFFFFFFu).item().im(0x0008, 0x1150, std::string("1.2\0", 4)).itemEnd().seqEnd();
    i.im(0x0010, 0x0010, "ODD ").im(0x0028, 0x0010, testbytes::U16(512)).im(0x7FE0, 0x0010, "\1\2\3\4\5\6");
    std::vector<unsigned char> out;
    ASSERT_EQ(m.Encode(out, kImplicit), 0);
    EXPECT_EQ(out, i.b);
}

// Every VR written alone, compared with bytes assembled from the encoding rules as listed here
// (independently of the layer's VR table): the length field form, the padding byte of an odd
// value and the unit in which big endian reverses the bytes; and read back from those bytes.
TEST(CodecWrite, EveryVRHasItsLengthFormPaddingAndSwapUnit) {
    struct Case {
        const char* vr;
        bool longLength;  // reserved 2 bytes and a 32-bit length in explicit VR
        char pad;         // padding of an odd value (text and byte VRs)
        int unit;         // bytes reversed together in big endian (0: text, 1: bytes)
    } cases[] = {
        {"AE", false, ' ', 0}, {"AS", false, ' ', 0}, {"AT", false, 0, 2},    {"CS", false, ' ', 0},
        {"DA", false, ' ', 0}, {"DS", false, ' ', 0}, {"DT", false, ' ', 0},  {"FD", false, 0, 8},
        {"FL", false, 0, 4},   {"IS", false, ' ', 0}, {"LO", false, ' ', 0},  {"LT", false, ' ', 0},
        {"OB", true, '\0', 1}, {"OD", true, 0, 8},    {"OF", true, 0, 4},     {"OL", true, 0, 4},
        {"OV", true, 0, 8},    {"OW", true, 0, 2},    {"PN", false, ' ', 0},  {"SH", false, ' ', 0},
        {"SL", false, 0, 4},   {"SS", false, 0, 2},   {"ST", false, ' ', 0},  {"SV", true, 0, 8},
        {"TM", false, ' ', 0}, {"UC", true, ' ', 0},  {"UI", false, '\0', 0}, {"UL", false, 0, 4},
        {"UN", true, '\0', 1}, {"UR", true, ' ', 0},  {"US", false, 0, 2},    {"UT", true, ' ', 0},
        {"UV", true, 0, 8},
    };
    const std::string binary("\1\2\3\4\5\6\7\x08", 8);  // host (little endian) order
    for (const Case& c : cases) {
        SCOPED_TRACE(c.vr);
        const std::string value = c.unit > 1 ? binary : c.unit == 1 ? std::string("\1\2\3", 3) : "1.2";
        std::unique_ptr<Dicom_Type> v(Dicom_CreateValue(Dicom_VRFromName(c.vr)));
        ASSERT_EQ(v->SetRaw(value.data(), static_cast<uint32_t>(value.size())), 0);
        Dicom_Msg m;
        ASSERT_EQ(m.Set(Dicom_Tag(0x0011, 0x1010), v.get()), 0);
        std::string padded = value;
        if (padded.size() % 2) padded += c.pad;
        for (bool big : {false, true}) {
            std::string swapped = padded;
            for (size_t k = 0; big && c.unit > 1 && k < swapped.size(); k += c.unit)
                std::reverse(swapped.begin() + k, swapped.begin() + k + c.unit);
            testbytes::Bytes e;
            e.big = big;
            e.tag(0x0011, 0x1010).raw(c.vr);
            c.longLength ? e.u16(0).u32(uint32_t(swapped.size())) : e.u16(unsigned(swapped.size()));
            e.raw(swapped);
            std::vector<unsigned char> out;
            ASSERT_EQ(m.Encode(out, big ? kBig : kExplicit), 0);
            EXPECT_EQ(out, e.b) << (big ? "big endian" : "little endian");
            EXPECT_EQ(m.GetDumpLen(big ? kBig : kExplicit).GetDumpLen(), e.size());
            // Read back from the assembled bytes: the value in host order again.
            int status = -1;
            Dicom_Msg back(e.data(), e.size(), 1, big ? kBig : kExplicit, &status);
            ASSERT_EQ(status, 0);
            const Dicom_Type* read = back.Get(Dicom_Tag(0x0011, 0x1010));
            ASSERT_NE(read, nullptr);
            EXPECT_EQ(read->GetVR(), Dicom_VRFromName(c.vr));
            ASSERT_GE(read->GetRawLen(), value.size());
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(read->GetData()), value.size()), value);
        }
        testbytes::Bytes i;
        i.im(0x0011, 0x1010, padded);
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, kImplicit), 0);
        EXPECT_EQ(out, i.b) << "implicit";
    }
}

TEST(CodecWrite, GroupLengthsAreRecomputedForTheTargetSyntax) {
    Dicom_Msg m;
    BuildSample(m);
    Dicom_UL bogus(999u);
    ASSERT_EQ(m.Set(Dicom_Tag(uint16_t{0x0008}, uint16_t{0x0000}), &bogus), 0);
    for (const Dicom_TransferSyntax* ts : {&kExplicit, &kImplicit, &kBig}) {
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, *ts), 0);
        int status;
        Dicom_Msg back(out.data(), out.size(), 1, *ts, &status);
        ASSERT_EQ(status, 0);
        const Dicom_Type* gl = back.Get(Dicom_Tag(uint16_t{0x0008}, uint16_t{0x0000}));
        ASSERT_TRUE(gl && gl->GetRawLen() == 4);
        uint32_t v;
        std::memcpy(&v, gl->GetData(), 4);
        // The rest of group 0008: CS and SQ (see the length test).
        EXPECT_EQ(v, ts->IsExplicitVR() ? 18u + 48u : 18u + 44u);
    }
}

TEST(CodecWrite, ValuesThatDoNotFitTheirLengthFieldFailOnlyWhereTheyDoNotFit) {
    Dicom_Msg m;
    std::string big(70000, 'A');
    Dicom_LO lo(big);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x103E), &lo), 0);
    std::vector<unsigned char> out;
    EXPECT_EQ(m.Encode(out, kExplicit), -1);
    EXPECT_FALSE(m.GetDumpLen(kExplicit).IsValid());
    ASSERT_EQ(m.Encode(out, kImplicit), 0);
    EXPECT_EQ(out.size(), 8u + 70000u);
    // A message read with a syntax the layer does not know cannot be written in it.
    EXPECT_EQ(m.Encode(out, Dicom_TransferSyntax("1.2.3.4")), -1);
    // Native pixel data cannot be written in an encapsulated syntax.
    Dicom_Msg n;
    BuildSample(n);
    EXPECT_EQ(n.Encode(out, Dicom_TransferSyntax("1.2.840.10008.1.2.4.50")), -1);
    n.Remove(Dicom_Dictionary::PIXEL_DATA);
    EXPECT_EQ(n.Encode(out, Dicom_TransferSyntax("1.2.840.10008.1.2.4.50")), 0);
}

TEST(CodecWrite, FileImageCarriesACorrectMetaGroup) {
    Dicom_Msg m;
    BuildSample(m);
    Dicom_UI sopClass("1.2.840.10008.5.1.4.1.1.7");
    Dicom_UI sopInstance("1.2.3.4.5.6.7.8.9");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0016), &sopClass), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0018), &sopInstance), 0);
    Dicom_CS ae("STATION1");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0002, 0x0016), &ae), 0);  // kept: other meta elements
    for (const Dicom_TransferSyntax* ts : {&kExplicit, &kImplicit, &kBig, &kDeflated}) {
        SCOPED_TRACE(ts->GetUID());
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, *ts, true), 0);
        ASSERT_GT(out.size(), 132u);
        EXPECT_EQ(std::string(out.begin() + 128, out.begin() + 132), "DICM");
        // (0002,0000) counts the bytes from the end of its own element to the first data set element.
        uint32_t groupLength;
        std::memcpy(&groupLength, &out[132 + 8], 4);
        size_t p = 132 + 12 + groupLength;
        const unsigned firstGroup =
            ts->IsBigEndian() ? (out[p] << 8 | out[p + 1]) : (out[p] | out[p + 1] << 8);
        if (!ts->IsDeflated()) {
            EXPECT_EQ(firstGroup, 0x0008u);
            EXPECT_EQ(out.size() - p, m.GetDumpLen(*ts).GetDumpLen());
        }
        int status;
        Dicom_Msg back(out.data(), out.size(), 1, &status);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(back.GetTransferSyntax(), *ts);
        auto text = [&](unsigned e) {
            const Dicom_Type* v = back.Get(Dicom_Tag(0x0002, static_cast<unsigned short>(e)));
            return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen())
                     : std::string("-");
        };
        EXPECT_EQ(text(0x0001), std::string("\0\1", 2));
        EXPECT_EQ(text(0x0002), std::string("1.2.840.10008.5.1.4.1.1.7\0", 26));
        EXPECT_EQ(text(0x0003), std::string("1.2.3.4.5.6.7.8.9\0", 18));
        std::string tsText = ts->GetUID();
        if (tsText.size() & 1) tsText.push_back('\0');
        EXPECT_EQ(text(0x0010), tsText);
        EXPECT_EQ(text(0x0016), "STATION1");
        EXPECT_NE(text(0x0012), "-");
        EXPECT_NE(back.Get(Dicom_Tag(0x0028, 0x0010)), nullptr);
    }
}

TEST(CodecWrite, DcmtkReadsOurFiles) {
    if (std::system("command -v dcmdump >/dev/null 2>&1") != 0) GTEST_SKIP() << "dcmdump not installed";
    Dicom_Msg m;
    BuildSample(m);
    Dicom_UI sopInstance("1.2.3.4.5.6.7.8.9.77");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0018), &sopInstance), 0);
    for (const Dicom_TransferSyntax* ts : {&kExplicit, &kImplicit, &kBig, &kDeflated}) {
        SCOPED_TRACE(ts->GetUID());
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, *ts, true), 0);
        char path[] = "/tmp/iod_msg_write_XXXXXX";
        int fd = mkstemp(path);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(write(fd, out.data(), out.size()), static_cast<ssize_t>(out.size()));
        close(fd);
        const std::string cmd = std::string("dcmdump -q ") + path + " 2>&1";
        FILE* pipe = popen(cmd.c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string dump;
        char buf[512];
        while (size_t n = fread(buf, 1, sizeof buf, pipe)) dump.append(buf, n);
        const int rc = pclose(pipe);
        unlink(path);
        EXPECT_EQ(rc, 0) << dump;
        EXPECT_NE(dump.find("[1.2.3.4.5.6.7.8.9.77]"), std::string::npos) << dump;
        EXPECT_NE(dump.find("(0028,0010) US 512"), std::string::npos) << dump;
        EXPECT_NE(dump.find("(0010,0010) PN [ODD]"), std::string::npos) << dump;
        EXPECT_EQ(dump.find("E:"), std::string::npos) << dump;
    }
}

TEST(CodecWrite, ConversionsBetweenSyntaxesAreLossless) {
    auto bytes = testbytes::ReadFile(testbytes::PydicomFile("MR_small.dcm"));
    if (bytes.empty()) GTEST_SKIP() << "pydicom test files not installed";
    int status;
    Dicom_Msg original(bytes.data(), bytes.size(), 0, &status);
    ASSERT_EQ(status, 0);
    std::vector<unsigned char> reference;
    ASSERT_EQ(original.Encode(reference, kExplicit), 0);
    // As read, the data set is written back byte for byte.
    EXPECT_EQ(std::vector<unsigned char>(bytes.end() - static_cast<long>(reference.size()), bytes.end()),
              reference);

    // explicit LE -> big endian -> implicit -> explicit LE.
    std::vector<unsigned char> be, im, back;
    ASSERT_EQ(original.Encode(be, kBig), 0);
    Dicom_Msg fromBig(be.data(), be.size(), 1, kBig, &status);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(fromBig.Encode(im, kImplicit), 0);
    Dicom_Msg fromImplicit(im.data(), im.size(), 1, kImplicit, &status);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(fromImplicit.Encode(back, kExplicit), 0);
    EXPECT_EQ(back, reference);
}
