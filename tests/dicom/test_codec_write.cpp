// Writing: bytes and lengths in every syntax against encodings assembled here from the rules,
// group lengths, limits of the 16-bit length field, file images (meta group, size, DCMTK reads them).
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <tuple>

#include "test_codec_builder.h"

using namespace testbytes;

namespace {

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

TEST(CodecWrite, BytesMatchAHandAssembledEncoding) {
    Dicom_Msg m;
    BuildSample(m);
    for (const Dicom_TransferSyntax* ts : {&kImplicit, &kExplicit, &kBig}) {
        SCOPED_TRACE(ts->GetUID());
        Bytes e;
        e.big = ts->IsBigEndian();
        auto el = [&](unsigned g, unsigned n, const char* vr, const std::string& v) {
            ts->IsExplicitVR() ? e.ex(g, n, vr, v) : e.im(g, n, v);
        };
        el(0x0008, 0x0005, "CS", "ISO_IR 100");
        ts->IsExplicitVR() ? e.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu) : e.imh(0x0008, 0x1115, 0xFFFFFFFFu);
        e.item();
        el(0x0008, 0x1150, "UI", std::string("1.2\0", 4));
        e.itemEnd().seqEnd();
        el(0x0010, 0x0010, "PN", "ODD ");
        el(0x0028, 0x0010, "US", U16(512, e.big));
        el(0x7FE0, 0x0010, "OW", std::string(e.big ? "\2\1\4\3\6\5" : "\1\2\3\4\5\6", 6));  // words swapped
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, *ts), 0);
        EXPECT_EQ(out, e.b);
        EXPECT_EQ(m.GetDumpLen(*ts).GetDumpLen(), e.size());
        EXPECT_EQ(m.Find(Dicom_Tag(0x0010, 0x0010))->GetDumpLen(*ts).GetDumpLen(), 12u);
        if (ts == &kExplicit) {
            std::vector<unsigned char> byDefault;  // a new message defaults to explicit VR little endian
            ASSERT_EQ(m.Encode(byDefault), 0);
            EXPECT_EQ(byDefault, e.b);
        }
    }
    std::vector<unsigned char> out;  // the deflated length is that of the stream written
    ASSERT_EQ(m.Encode(out, kDeflated), 0);
    EXPECT_EQ(m.GetDumpLen(kDeflated).GetDumpLen(), out.size());
}

// Every VR written alone, compared with bytes assembled from the encoding rules as listed here
// (independently of the layer's VR table): the length field form, the padding byte of an odd
// value and the unit in which big endian reverses the bytes; and read back from those bytes.
TEST(CodecWrite, EveryVRHasItsLengthFormPaddingAndSwapUnit) {
    // VR, long length form (2 reserved bytes and 32 bits in explicit VR), padding byte of an odd
    // value, bytes reversed together in big endian (0: text, 1: bytes).
    const std::tuple<const char*, bool, char, int> cases[] = {
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
    for (const auto& [vr, longLength, pad, unit] : cases) {
        SCOPED_TRACE(vr);
        const std::string value = unit > 1    ? "\1\2\3\4\5\6\7\x08"
                                  : unit == 1 ? "\1\2\3"
                                              : "1.2";  // host order
        std::unique_ptr<Dicom_Type> v(Dicom_CreateValue(Dicom_VRFromName(vr)));
        ASSERT_EQ(v->SetRaw(value.data(), static_cast<uint32_t>(value.size())), 0);
        Dicom_Msg m;
        ASSERT_EQ(m.Set(Dicom_Tag(0x0011, 0x1010), v.get()), 0);
        for (const Dicom_TransferSyntax* ts : {&kImplicit, &kExplicit, &kBig}) {
            SCOPED_TRACE(ts->GetUID());
            std::string bytes = value + std::string(value.size() % 2, pad);
            for (size_t k = 0; ts->IsBigEndian() && unit > 1 && k < bytes.size(); k += unit)
                std::reverse(bytes.begin() + k, bytes.begin() + k + unit);
            Bytes e;
            e.big = ts->IsBigEndian();
            const uint32_t n = static_cast<uint32_t>(bytes.size());
            e.tag(0x0011, 0x1010);
            !ts->IsExplicitVR() ? e.u32(n) : longLength ? e.raw(vr).u16(0).u32(n) : e.raw(vr).u16(n);
            e.raw(bytes);
            std::vector<unsigned char> out;
            ASSERT_EQ(m.Encode(out, *ts), 0);
            EXPECT_EQ(out, e.b);
            EXPECT_EQ(m.GetDumpLen(*ts).GetDumpLen(), e.size());
            int status = -1;  // read back from the assembled bytes: the value in host order again
            Dicom_Msg back(e.data(), e.size(), 1, *ts, &status);
            const Dicom_Type* read = back.Get(Dicom_Tag(0x0011, 0x1010));
            ASSERT_TRUE(status == 0 && read);
            EXPECT_TRUE(!ts->IsExplicitVR() || read->GetVR() == Dicom_VRFromName(vr));
            EXPECT_EQ(Raw(read).substr(0, value.size()), value);
        }
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
        const Dicom_Type* gl = back.Get(Dicom_Tag(uint16_t{0x0008}, uint16_t{0x0000}));
        ASSERT_TRUE(gl && gl->GetRawLen() == 4);
        // The rest of group 0008: CS 8 + 10 and the sequence (12 or 8) + 28 + 8.
        EXPECT_EQ(Raw(gl), U32(ts->IsExplicitVR() ? 18u + 48u : 18u + 44u));
    }
}

TEST(CodecWrite, ValuesThatDoNotFitTheirLengthFieldFailOnlyWhereTheyDoNotFit) {
    Dicom_Msg m;
    Dicom_LO lo(std::string(70000, 'A'));
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x103E), &lo), 0);
    std::vector<unsigned char> out;
    EXPECT_EQ(m.Encode(out, kExplicit), -1);
    EXPECT_FALSE(m.GetDumpLen(kExplicit).IsValid());
    ASSERT_EQ(m.Encode(out, kImplicit), 0);
    EXPECT_EQ(out.size(), 8u + 70000u);
    EXPECT_EQ(m.Encode(out, Dicom_TransferSyntax("1.2.3.4")), -1);  // a syntax the layer does not know
    Dicom_Msg n;  // native pixel data cannot be written in an encapsulated syntax
    BuildSample(n);
    const Dicom_TransferSyntax jpeg("1.2.840.10008.1.2.4.50");
    EXPECT_EQ(n.Encode(out, jpeg), -1);
    // The size of a file image is invalid exactly where the write fails.
    for (const Dicom_TransferSyntax& ts : {kExplicit, Dicom_TransferSyntax("1.2.3.4")})
        EXPECT_FALSE(m.GetFileDumpLen(ts).IsValid()) << ts.GetUID();
    EXPECT_FALSE(n.GetFileDumpLen(jpeg).IsValid());
    n.Remove(Dicom_Dictionary::PIXEL_DATA);
    EXPECT_EQ(n.Encode(out, jpeg), 0);
    EXPECT_EQ(n.GetFileDumpLen(jpeg).GetDumpLen(), n.Encode(out, jpeg, true) == 0 ? out.size() : 0u);
}

// The file image in every syntax: its meta group, read back by us and, where installed, by
// DCMTK's dcmdump without error.
TEST(CodecWrite, FileImageCarriesACorrectMetaGroupAndDcmtkReadsIt) {
    const bool dcmdump = std::system("command -v dcmdump >/dev/null 2>&1") == 0;
    Dicom_Msg m;
    BuildSample(m);
    Dicom_UI sopClass("1.2.840.10008.5.1.4.1.1.7"), sopInstance("1.2.3.4.5.6.7.8.9.77");
    Dicom_CS ae("STATION1");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0016), &sopClass), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0018), &sopInstance), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0002, 0x0016), &ae), 0);  // other meta elements are kept
    for (const Dicom_TransferSyntax* ts : {&kExplicit, &kImplicit, &kBig, &kDeflated}) {
        SCOPED_TRACE(ts->GetUID());
        std::vector<unsigned char> out;
        ASSERT_EQ(m.Encode(out, *ts, true), 0);
        ASSERT_GT(out.size(), 144u);
        EXPECT_EQ(std::string(out.begin() + 128, out.begin() + 132), "DICM");
        // (0002,0000) counts the bytes from the end of its own element to the data set.
        uint32_t groupLength;
        std::memcpy(&groupLength, &out[132 + 8], 4);
        const size_t p = 132 + 12 + groupLength;
        EXPECT_TRUE(ts->IsDeflated() || out.size() - p == m.GetDumpLen(*ts).GetDumpLen());
        EXPECT_EQ(m.GetFileDumpLen(*ts).GetDumpLen(), out.size());
        int status;
        Dicom_Msg back(out.data(), out.size(), 1, &status);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(back.GetTransferSyntax(), *ts);
        auto text = [&](unsigned short e) { return Raw(back.Get(Dicom_Tag(0x0002, e))); };
        const std::string uid = ts->GetUID();
        EXPECT_EQ(text(0x0001), std::string("\0\1", 2));
        EXPECT_EQ(text(0x0002), std::string("1.2.840.10008.5.1.4.1.1.7\0", 26));
        EXPECT_EQ(text(0x0003), "1.2.3.4.5.6.7.8.9.77");
        EXPECT_EQ(text(0x0010), uid + std::string(uid.size() & 1, '\0'));
        EXPECT_EQ(text(0x0016), "STATION1");
        EXPECT_NE(text(0x0012), "<absent>");
        if (!dcmdump) continue;
        char path[] = "/tmp/iod_msg_write_XXXXXX";
        const int fd = mkstemp(path);
        ASSERT_EQ(write(fd, out.data(), out.size()), static_cast<ssize_t>(out.size()));
        close(fd);
        FILE* pipe = popen((std::string("dcmdump -q ") + path + " 2>&1").c_str(), "r");
        std::string dump;
        char buf[512];
        while (size_t n = fread(buf, 1, sizeof buf, pipe)) dump.append(buf, n);
        EXPECT_EQ(pclose(pipe), 0) << dump;
        unlink(path);
        for (const char* line : {"[1.2.3.4.5.6.7.8.9.77]", "(0028,0010) US 512", "(0010,0010) PN [ODD]"})
            EXPECT_NE(dump.find(line), std::string::npos) << line << "\n" << dump;
        EXPECT_EQ(dump.find("E:"), std::string::npos) << dump;
    }
}
