// Reading data sets: syntaxes (meta group, caller, detection), sequences, encapsulated pixel
// data, deflate, copy semantics and the handle constructor. Inputs are assembled by hand.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "test_codec_builder.h"

using namespace testbytes;

namespace {

// The same small data set in the three native encodings: Specific Character Set, Rows (US),
// Patient's Name with an odd length, and a UL pair.
Bytes SmallDataSet(int encoding /* 0 implicit LE, 1 explicit LE, 2 explicit BE */) {
    Bytes b;
    const bool big = b.big = encoding == 2;
    auto el = [&](unsigned g, unsigned e, const char* vr, const std::string& v) {
        encoding == 0 ? b.im(g, e, v) : b.ex(g, e, vr, v);
    };
    el(0x0008, 0x0005, "CS", "ISO_IR 100");
    el(0x0010, 0x0010, "PN", "DOE^JOHN^Q");  // even
    el(0x0010, 0x0020, "LO", "ID7");         // odd length kept as read
    el(0x0028, 0x0010, "US", U16(0x0102, big));
    el(0x0028, 0x0030, "DS", "0.5\\0.25");
    el(0x0018, 0x9219, "SS", U16(0xFFFE, big));  // -2
    el(0x0040, 0xA132, "UL", U32(0x01020304u, big) + U32(7, big));
    return b;
}

}  // namespace

TEST(CodecRead, NativeSyntaxesAreDetectedAndValuesComeOutInHostOrder) {
    const Dicom_TransferSyntax::Kind kinds[] = {Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN,
                                                Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN,
                                                Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN};
    for (int enc = 0; enc < 3; ++enc) {
        SCOPED_TRACE(enc);
        Bytes b = SmallDataSet(enc);
        int status = 1;
        Dicom_Msg m(b.data(), b.size(), 1, &status);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(m.GetTransferSyntax().GetKind(), kinds[enc]);
        EXPECT_EQ(m.GetNElements(), 7);
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0020))), "ID7");
        EXPECT_EQ(m.Get(Dicom_Tag(0x0028, 0x0010))->GetVR(), Dicom_VR::US);
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0028, 0x0010))), U16(0x0102));
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0040, 0xA132))), U32(0x01020304u) + U32(7));
        EXPECT_EQ(m.Get(Dicom_Tag(0x0018, 0x9219))->GetVR(), Dicom_VR::SS);
    }
}

TEST(CodecRead, SyntaxComesFromMetaGroupThenCallerThenDetection) {
    // The meta group (with or without preamble) wins over the caller; it is held but not written.
    Bytes f = FileHeader(Dicom_TransferSyntax::IMPLICIT_LITTLE_UID);
    f.raw(SmallDataSet(0).b);
    for (size_t skip : {0, 132}) {
        int status = 1;
        Dicom_Msg m(f.data() + skip, f.size() - skip, 1, kExplicit, &status);
        ASSERT_EQ(status, 0);
        EXPECT_EQ(m.GetTransferSyntax().GetKind(), Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN);
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0028, 0x0010))), U16(0x0102));
        EXPECT_NE(m.Get(Dicom_Tag(0x0002, 0x0010)), nullptr);
        EXPECT_EQ(m.GetDumpLen(kImplicit).GetDumpLen(), SmallDataSet(0).size() + 1);  // + padding
    }
    Bytes be = SmallDataSet(2);  // a bare data set in a syntax given by UID
    int status;
    Dicom_Msg m3(be.data(), be.size(), 0, Dicom_UI(Dicom_TransferSyntax::EXPLICIT_BIG_UID), &status,
                 Dicom_SwapInfo::FROM_MEMORY, false, false);
    EXPECT_TRUE(m3.GetTransferSyntax().IsBigEndian());
    EXPECT_EQ(Raw(m3.Get(Dicom_Tag(0x0028, 0x0010))), U16(0x0102));
    Bytes unk = FileHeader("1.2.3.4.5.6.7");  // unknown syntax: -1, only the meta group is held
    unk.raw(SmallDataSet(1).b);
    Dicom_Msg m4(unk.data(), unk.size(), 1, &status);
    EXPECT_EQ(status, -1);
    EXPECT_NE(m4.Get(Dicom_Tag(0x0002, 0x0010)), nullptr);
    EXPECT_EQ(m4.Get(Dicom_Tag(0x0010, 0x0010)), nullptr);
}

TEST(CodecRead, CopyZeroPointsIntoCallerBufferCopyOneOwnsItsBytes) {
    for (int enc : {1, 2}) {  // big endian with copy 0: binary values are swapped in the message's memory
        Bytes b = SmallDataSet(enc);
        const std::vector<unsigned char> before = b.b;
        int status;
        Dicom_Msg shared(b.data(), b.size(), 0, &status), owned(b.data(), b.size(), 1, &status);
        const unsigned char* p = shared.Get(Dicom_Tag(0x0010, 0x0010))->GetData();
        EXPECT_TRUE(p >= b.data() && p < b.data() + b.size());
        EXPECT_EQ(Raw(shared.Get(Dicom_Tag(0x0028, 0x0010))), U16(0x0102));
        Dicom_PN other("ROE^JANE^Q");  // changed in place, the caller's buffer is left alone
        EXPECT_EQ(shared.SetInPlace(Dicom_Tag(0x0010, 0x0010), &other), 0);
        EXPECT_EQ(b.b, before);
        std::fill(b.b.begin(), b.b.end(), 0);
        EXPECT_EQ(Raw(owned.Get(Dicom_Tag(0x0010, 0x0010))), "DOE^JOHN^Q");
    }
}

TEST(CodecRead, SequencesOfBothLengthFormsRoundTripByteForByte) {
    // Undefined-length sequence: item 1 undefined with a nested defined-length sequence and item,
    // item 2 defined and empty.
    Bytes inner, nested, b;
    inner.ex(0x0008, 0x1150, "UI", std::string("1.2.3.4\0", 8));
    nested.item(static_cast<uint32_t>(inner.size())).raw(inner.b);
    b.ex(0x0008, 0x0060, "CS", "CT").exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item();
    b.exh(0x0008, 0x1199, "SQ", static_cast<uint32_t>(nested.size())).raw(nested.b);
    b.ex(0x0020, 0x000E, "UI", std::string("1.2.3\0", 6)).itemEnd().item(0).seqEnd();
    b.ex(0x0010, 0x0010, "PN", "X^Y ");
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, kExplicit, &status);
    ASSERT_EQ(status, 0);
    const Dicom_SQ* sq = dynamic_cast<const Dicom_SQ*>(m.Get(Dicom_Tag(0x0008, 0x1115)));
    ASSERT_NE(sq, nullptr);
    ASSERT_EQ(sq->GetNItems(), 2);
    EXPECT_TRUE(sq->HasUndefinedLength() && sq->ItemHasUndefinedLength(0) && !sq->ItemHasUndefinedLength(1));
    EXPECT_EQ(Raw(Dicom_Helper(m).GetSequenceMsgTag(Dicom_Tag(0x0008, 0x1115), Dicom_Tag(0x0020, 0x000E), 0)),
              std::string("1.2.3\0", 6));
    EXPECT_NE(m.Find(Dicom_Tag(0x0008, 0x1150), true), nullptr);  // recursive search only
    EXPECT_EQ(m.Find(Dicom_Tag(0x0008, 0x1150), false), nullptr);
    std::vector<unsigned char> out;
    ASSERT_EQ(m.Encode(out), 0);
    EXPECT_EQ(out, b.b);
    EXPECT_EQ(m.GetDumpLen().GetDumpLen(), b.size());
}

TEST(CodecRead, UnknownVRsAreReadAsUNOrImplicitSequence) {
    Bytes content;  // implicit VR little endian inside UN of undefined length
    content.item().im(0x0008, 0x0100, "CODE01").itemEnd().seqEnd();
    Bytes b;
    b.ex(0x0008, 0x0060, "CS", "MR").ex(0x0009, 0x0010, "LO", "ACME 1.1");
    b.exh(0x0009, 0x1001, "UN", 0xFFFFFFFFu).raw(content.b);
    b.tag(0x0011, 0x0010).raw("ZZ").u16(0).u32(4).raw("abcd");  // two upper-case letters: long form
    b.tag(0x0011, 0x0011).raw("??").u16(2).raw("ef");           // anything else: short form
    b.ex(0x0020, 0x0013, "IS", "1 ");
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, kExplicit, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(m.Get(Dicom_Tag(0x0011, 0x0010))->GetVR(), Dicom_VR::UN);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0011, 0x0010))) + Raw(m.Get(Dicom_Tag(0x0011, 0x0011))), "abcdef");
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0020, 0x0013))), "1 ");
    Dicom_ME* me = m.Find(Dicom_Tag(0x0009, 0x1001), false);
    ASSERT_TRUE(me && me->GetVR() == Dicom_VR::SQ);
    EXPECT_EQ(ImplementorIDVector::Name(me->GetTag().GetImplementorID()), "ACME 1.1");
    const Dicom_Type* code =
        static_cast<const Dicom_SQ*>(me->GetData())->GetItem(0)->Get(Dicom_Tag(0x0008, 0x0100));
    ASSERT_NE(code, nullptr);
    EXPECT_EQ(code->GetVR(), Dicom_VR::SH);  // from the dictionary
    EXPECT_EQ(Raw(code), "CODE01");
}

TEST(CodecRead, EncapsulatedPixelDataIsKeptExactly) {
    Bytes frags;
    frags.item(4).u32(0);                                           // basic offset table with one entry
    frags.item(6).raw(std::string("\xFF\xD8\xFE\xFF\xDD\xE0", 6));  // a delimiter pattern inside a fragment
    frags.item(2).raw("\xFF\xD9");
    Bytes f = FileHeader("1.2.840.10008.1.2.4.50");
    f.ex(0x0028, 0x0010, "US", U16(1));
    f.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).raw(frags.b).seqEnd();
    int status;
    Dicom_Msg m(f.data(), f.size(), 1, &status);
    ASSERT_EQ(status, 0);
    const Dicom_Type* pd = m.Get(Dicom_Dictionary::PIXEL_DATA);
    ASSERT_TRUE(pd && static_cast<const Dicom_OtherType*>(pd)->IsEncapsulated());
    EXPECT_EQ(Raw(pd), std::string(frags.b.begin(), frags.b.end()));
    std::vector<unsigned char> out;
    ASSERT_EQ(m.Encode(out, Dicom_TransferSyntax(), false), 0);
    EXPECT_EQ(out, std::vector<unsigned char>(f.b.begin() + 132 + 12 + 14 + 8 + 22, f.b.end()));
    // A native syntax cannot carry it without a codec.
    EXPECT_EQ(m.Encode(out, kExplicit, false), -1);
    EXPECT_FALSE(m.GetDumpLen(kImplicit).IsValid());
}

TEST(CodecRead, DeflatedDataSetIsInflatedIntoOwnedMemory) {
    // SmallDataSet(1) compressed with Python's zlib (raw deflate, level 9).
    static const char kDeflated[] =
        "\xe3\x60\x60\x65\x70\x0e\xe6\x62\xf0\x0c\xf6\x8f\xf7\x0c\x52\x30\x34\x30\x10\x60\x10\x60\x08"
        "\xf0\xe3\x62\x70\xf1\x77\x8d\xf3\xf2\xf7\xf0\x8b\x0b\x14\x60\x50\x60\xf0\xf1\x67\x66\xf0\x74"
        "\x31\xd7\x00\x4a\x86\x06\x33\x31\x30\x31\x6a\x30\x18\x30\xb8\x04\x73\x30\x18\xe8\x99\xc6\x18"
        "\xe8\x19\x99\x4a\x30\x48\x4e\x0a\x06\xca\xfc\xfb\xef\xc0\x60\xb4\x30\xd4\x87\x83\x81\x85\x99"
        "\x89\x91\x9d\x81\x81\x01\x00";
    Bytes f = FileHeader(Dicom_TransferSyntax::DEFLATED_UID);
    f.raw(std::string(kDeflated, sizeof kDeflated - 1));
    int status;
    Dicom_Msg m(f.data(), f.size(), 0, &status);
    ASSERT_EQ(status, 0);
    std::fill(f.b.begin(), f.b.end(), 0);  // copy 0, but inflated data is the message's own
    EXPECT_TRUE(m.GetTransferSyntax().IsDeflated());
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0010))), "DOE^JOHN^Q");
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0028, 0x0010))), U16(0x0102));
    EXPECT_EQ(m.GetDumpLen(kExplicit).GetDumpLen(), SmallDataSet(1).size() + 1);  // + padding
    Bytes bad = FileHeader(Dicom_TransferSyntax::DEFLATED_UID);                   // a damaged stream
    bad.raw(std::string(40, '\x7F'));
    Dicom_Msg m2(bad.data(), bad.size(), 1, &status);
    EXPECT_EQ(status, -1);
}

TEST(CodecRead, HandleConstructorReadsExactlyTheGivenLength) {
    Bytes b = SmallDataSet(1);
    char path[] = "/tmp/iod_msg_handle_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_EQ(write(fd, b.data(), b.size()), static_cast<ssize_t>(b.size()));
    ASSERT_EQ(write(fd, "TRAILING", 8), 8);  // bytes after the message are not read
    lseek(fd, 0, SEEK_SET);
    int status = 1;
    unsigned int used = 0;
    Dicom_Msg m(fd, b.size(), &used, Dicom_TransferSyntax(), &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(used, b.size());
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0010))), "DOE^JOHN^Q");
    // More than the file holds (a short read), a lying length far beyond it, a bad handle.
    for (const auto& [handle, length] :
         {std::pair{fd, b.size() + 1000}, {fd, size_t{0xFFFFFFF0u}}, {-1, size_t{10}}}) {
        lseek(fd, 0, SEEK_SET);
        Dicom_Msg failed(handle, length, &used, Dicom_TransferSyntax(), &status);
        EXPECT_EQ(status, -1) << length;
        EXPECT_EQ(failed.GetNElements(), 0);
    }
    close(fd);
    unlink(path);
}

TEST(CodecRead, StopBeforePixelDataAndStrictMode) {
    Bytes b = SmallDataSet(1);
    b.ex(0x7FE0, 0x0010, "OW", std::string(8, '\x11'));
    b.ex(0xFFFC, 0xFFFC, "OB", std::string(4, '\0'));
    int status;
    Dicom_Msg header(b.data(), b.size(), 1, Dicom_TransferSyntax(), &status, Dicom_SwapInfo::FROM_MEMORY,
                     true);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(header.Get(Dicom_Dictionary::PIXEL_DATA), nullptr);
    EXPECT_EQ(header.GetNElements(), 7);

    // The odd Patient ID is tolerated by default, refused in strict mode; so is a VR that
    // contradicts the dictionary.
    Dicom_UI explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    Dicom_Msg strict(b.data(), b.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY, false, true);
    EXPECT_EQ(status, -1);
    Bytes wrongVR;
    wrongVR.ex(0x0028, 0x0010, "SL", U32(5));
    Dicom_Msg tolerant(wrongVR.data(), wrongVR.size(), 1, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(tolerant.Get(Dicom_Tag(0x0028, 0x0010))->GetVR(), Dicom_VR::SL);
    Dicom_Msg strict2(wrongVR.data(), wrongVR.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY,
                      false, true);
    EXPECT_EQ(status, -1);
}

// Implicit VR: the VR comes from rules and the dictionary; each rule at the edges of its range.
TEST(CodecRead, ImplicitVRFollowsTheRulesAtTheirEdges) {
    // Group length; below, at the first and at the last private creator; private data of a block
    // without a creator; from the dictionary; curve data; overlay data.
    const std::pair<uint32_t, Dicom_VR> cases[] = {{0x00080000, Dicom_VR::UL}, {0x0009000F, Dicom_VR::UN},
                                                   {0x00090010, Dicom_VR::LO}, {0x000900FF, Dicom_VR::LO},
                                                   {0x00090100, Dicom_VR::UN}, {0x00280010, Dicom_VR::US},
                                                   {0x50003000, Dicom_VR::OB}, {0x60003000, Dicom_VR::OW}};
    Bytes b;
    for (const auto& [tag, vr] : cases) b.im(tag >> 16, tag & 0xFFFF, "ABCD");
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, kImplicit, &status);
    ASSERT_EQ(status, 0);
    for (const auto& [tag, vr] : cases) {
        const Dicom_ME* me = m.Find(Dicom_Tag(tag), false);
        ASSERT_NE(me, nullptr) << std::hex << tag;
        EXPECT_EQ(me->GetVR(), vr) << std::hex << tag;
    }
}
