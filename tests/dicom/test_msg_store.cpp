// The element store of a message: emptiness, unlinking without copying, deep copies (copy,
// assignment, Clone, trusted buffers), the services that change a message, and private data
// (resolution through the creator's block, reservation on write, repeating groups).
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "test_codec_builder.h"

using namespace testbytes;

namespace {

const Dicom_Tag kLabel = Dicom_Dictionary::QUORVEX1_IMAGE_LABEL;  // (0029,xx17) SH of "QUORVEX1"

std::vector<unsigned char> Encoded(const Dicom_Msg& m, Dicom_TransferSyntax ts = Dicom_TransferSyntax()) {
    std::vector<unsigned char> out;
    EXPECT_EQ(m.Encode(out, ts), 0);
    return out;
}

class OpenMsg : public Dicom_Msg {
public:
    using Dicom_Msg::Dicom_Msg;
    using Dicom_Msg::getElements;
    using Dicom_Msg::suppress_identification;
};

// A sequence (defined-length item, undefined-length sequence), a creator, an odd Latin-1 value,
// a binary value and encapsulated pixel data.
std::vector<unsigned char> RichFile() {
    Bytes item;
    item.ex(0x0008, 0x0100, "SH", "CODE").ex(0x0008, 0x1150, "UI", std::string("1.2.3.4\0", 8));
    Bytes f = FileHeader("1.2.840.10008.1.2.4.50");
    f.ex(0x0008, 0x0005, "CS", "ISO_IR 100").ex(0x0008, 0x0008, "CS", "ORIGINAL\\PRIMARY\\MULTI_FORMAT");
    f.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item(static_cast<uint32_t>(item.size())).raw(item.b).seqEnd();
    f.ex(0x0010, 0x0010, "PN", "M\xFCller^J\xF6rg");
    f.ex(0x0028, 0x0010, "US", U16(0x1234));
    f.ex(0x0029, 0x0010, "LO", "QUORVEX1").ex(0x0029, 0x1017, "SH", "LBL ");
    f.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0).item(4).raw("\xFF\xD8\xFF\xD9").seqEnd();
    return f.b;
}

}  // namespace

TEST(MsgStore, EmptinessAndWhatSetKeeps) {
    Dicom_Msg m;
    EXPECT_EQ(m.IsEmptyMsg(), 1);
    // Group lengths, private creators and empty values do not make a message logically non-empty.
    Dicom_UL gl(0u);
    Dicom_LO creator("QUORVEX1");
    Dicom_US empty, one(static_cast<unsigned short>(1));
    ASSERT_EQ(m.Set(Dicom_Tag(uint16_t{0x0028}, uint16_t{0x0000}), &gl), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0029, 0x0010), &creator), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0028, 0x0010), &empty), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x1115), &SQ_NULL), 0);
    EXPECT_EQ(m.IsEmptyMsg(), 0);
    EXPECT_EQ(m.IsLogicallyEmptyMsg(), 1);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0028, 0x0010), &one), 0);
    EXPECT_EQ(m.IsLogicallyEmptyMsg(), 0);
    // SetWithoutDataCopy takes over; the illegal tag and a null value are refused.
    Dicom_SH* given = new Dicom_SH("GIVEN");
    ASSERT_EQ(m.SetWithoutDataCopy(Dicom_Tag(0x0008, 0x0050), given), 0);
    EXPECT_EQ(m.Get(Dicom_Tag(0x0008, 0x0050)), given);
    EXPECT_EQ(m.Set(Dicom_Tag::ILLEGAL_TAG, &one), -1);
    EXPECT_EQ(m.Set(Dicom_Tag(0x0008, 0x0051), nullptr), -1);
    // SetInPlace keeps the element object, refuses another class or an absent tag.
    Dicom_ME* before = m.Find(Dicom_Tag(0x0008, 0x0050));
    Dicom_SH b("BB");
    EXPECT_EQ(m.SetInPlace(Dicom_Tag(0x0008, 0x0050), &b), 0);
    EXPECT_EQ(m.Find(Dicom_Tag(0x0008, 0x0050)), before);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0008, 0x0050))), "BB");
    EXPECT_EQ(m.SetInPlace(Dicom_Tag(0x0008, 0x0050), &creator), -1);
    EXPECT_EQ(m.SetInPlace(Dicom_Tag(0x0008, 0x0052), &b), -1);
}

TEST(MsgStore, AddReplaceRemoveAndUnlinkKeepElementObjects) {
    OpenMsg m;
    Dicom_ME* a = new Dicom_ME(Dicom_Tag(0x0010, 0x0020), new Dicom_LO("ID1"));
    Dicom_ME* b = new Dicom_ME(Dicom_Tag(0x0008, 0x0060), new Dicom_CS("CT"));
    ASSERT_EQ(m.Add(a), 0);
    ASSERT_EQ(m.Add(b), 0);
    Dicom_ME dup(Dicom_Tag(0x0010, 0x0020), new Dicom_LO("ID2"));
    EXPECT_EQ(m.Add(&dup), -1);     // the tag is there; the caller keeps its element
    EXPECT_EQ(m.GetElement(0), b);  // sorted by tag
    Dicom_ME* d = new Dicom_ME(Dicom_Tag(0x0010, 0x0030), new Dicom_CS("X"));
    EXPECT_EQ(m.Replace(d), -1);
    EXPECT_EQ(m.AddOrReplace(d), 0);

    Dicom_SortedVector& v = m.getElements();
    Dicom_ME* taken = v.RemoveAt(0);
    EXPECT_EQ(taken, b);
    EXPECT_EQ(v.Insert(taken), taken);
    EXPECT_EQ(v.Insert(taken), nullptr);  // already there
    EXPECT_EQ(m.GetElement(0), b);
    Dicom_ME* byTag = v.Remove(Dicom_Tag(0x0010, 0x0020));
    EXPECT_EQ(byTag, a);
    EXPECT_EQ(v.Append(byTag), byTag);
    EXPECT_EQ(m.Remove(Dicom_Tag(0x0010, 0x0020)), 0);
    EXPECT_EQ(m.Remove(Dicom_Tag(0x0010, 0x0020)), -1);
}

TEST(MsgStore, DeepCopiesAreIndependentAndEqual) {
    std::vector<unsigned char> file = RichFile();
    int status;
    Dicom_Msg original(file.data(), file.size(), 0, &status);
    ASSERT_EQ(status, 0);
    const std::vector<unsigned char> reference = Encoded(original);
    Dicom_Msg copied(original);
    std::unique_ptr<Dicom_Msg> cloned(original.Clone());
    Dicom_Msg assigned;
    Dicom_SH junk("JUNK");
    assigned.Set(Dicom_Tag(0x0008, 0x0050), &junk);
    assigned = original;
    assigned = assigned;  // self-assignment
    for (const Dicom_Msg* m : {&copied, cloned.get(), &assigned}) EXPECT_EQ(Encoded(*m), reference);

    // The copies own their bytes, and implementors, character sets and length forms survive.
    std::fill(file.begin(), file.end(), 0);
    Dicom_SH changed("NEW");
    ASSERT_EQ(cloned->Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &changed), 0);
    EXPECT_EQ(Raw(copied.Get(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL)), "LBL ");
    EXPECT_TRUE(
        static_cast<const Dicom_OtherType*>(copied.Get(Dicom_Dictionary::PIXEL_DATA))->IsEncapsulated());
    EXPECT_NE(copied.Get(Dicom_Tag(0x0010, 0x0010))->GetCharset(), 0);
    const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(copied.Get(Dicom_Tag(0x0008, 0x1115)));
    EXPECT_TRUE(sq->HasUndefinedLength() && !sq->ItemHasUndefinedLength(0));

    // Without pixel data: the source keeps its very element.
    Dicom_ME* pixel = copied.Find(Dicom_Dictionary::PIXEL_DATA);
    std::unique_ptr<Dicom_Msg> header(copied.CloneWithoutData());
    EXPECT_EQ(header->Get(Dicom_Dictionary::PIXEL_DATA), nullptr);
    EXPECT_EQ(header->GetNElements(), copied.GetNElements() - 1);
    EXPECT_EQ(copied.Find(Dicom_Dictionary::PIXEL_DATA), pixel);
}

TEST(MsgStore, TrustedBuffersRoundTripInBothByteOrdersAndRejectTruncation) {
    std::vector<unsigned char> file = RichFile();
    int status;
    Dicom_Msg original(file.data(), file.size(), 1, &status);
    ASSERT_EQ(status, 0);
    const std::vector<unsigned char> reference = Encoded(original);
    for (Dicom_Endianity e : {DICOM_LITTLE_ENDIAN, DICOM_BIG_ENDIAN}) {
        unsigned int length = 0;
        char* buffer = original.CreateTrustedBuffer(e, &length);
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(  // owns 0: the message copies the buffer
            new Dicom_TrustedBufferReader(buffer, length, &status, 0));
        EXPECT_EQ(reader->IsBigEndian(), e == DICOM_BIG_ENDIAN);
        Dicom_Msg copy;
        ASSERT_EQ(copy.ConstructFromTrustedBuffer(reader), 0);
        reader.reset();
        std::memset(buffer, 0x55, length);
        std::free(buffer);
        EXPECT_EQ(Encoded(copy), reference);
    }
    char junk[32] = "DICM and more";
    Dicom_TrustedBufferReader bad(junk, sizeof junk, &status, 0);
    EXPECT_EQ(status, -1);
    // Every truncation fails (byte damage is the trusted-reader fuzzer's job).
    unsigned int length = 0;
    char* buffer = original.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    for (unsigned int cut = 20; cut < length; ++cut) {
        char* part = static_cast<char*>(std::malloc(cut));
        std::memcpy(part, buffer, cut);
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(new Dicom_TrustedBufferReader(part, cut, &status, 1));
        Dicom_Msg m;
        EXPECT_NE(m.ConstructFromTrustedBuffer(reader), 0) << "cut at " << cut;
    }
    std::free(buffer);
}

TEST(MsgStore, QueriesAndDeIdentification) {
    std::vector<unsigned char> file = RichFile();
    int status;
    OpenMsg m(file.data(), file.size(), 1, &status);
    ASSERT_EQ(status, 0);
    EXPECT_TRUE(m.IsMultiFormat());
    EXPECT_TRUE(m.hasGroup(0x0029) && m.hasGroup(0x7F00, 0xFF00));
    EXPECT_FALSE(m.hasGroup(0x0040) || m.hasGroup(0x0108));
    EXPECT_TRUE(m.hasGroup(0x0008, 0xFFFF, true));
    Dicom_CS notMulti("ORIGINAL\\PRIMARY\\AXIAL\\MULTI_FORMAT");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0008), &notMulti), 0);
    EXPECT_FALSE(m.IsMultiFormat());  // only the third value counts

    setenv("IOD_DEID_KEY", "site-key-for-tests", 1);  // the key the other tests use
    Dicom_LO id("PID-1");
    Dicom_CS birth("19700101");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0010, 0x0020), &id), 0);
    ASSERT_EQ(m.Set(Dicom_Tag(0x0010, 0x0030), &birth), 0);
    ASSERT_EQ(m.suppress_identification(), 0);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0010))).substr(0, 3), "M^J");
    const Dicom_LO encoded = id.GetEncoded();
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0010, 0x0020))), Raw(&encoded));
    EXPECT_EQ(m.Get(Dicom_Tag(0x0010, 0x0030)), nullptr);
}

TEST(MsgStore, UpdateAndCopyAttributes) {
    Dicom_Msg target, source;
    Dicom_SH a("A"), b("B"), empty;
    Dicom_LO other("OTHER");
    ASSERT_EQ(target.Set(Dicom_Tag(0x0008, 0x0050), &a), 0);
    ASSERT_EQ(target.Set(Dicom_Tag(0x0008, 0x0080), &a), 0);
    ASSERT_EQ(target.Set(Dicom_Tag(0x0029, 0x0010), &other), 0);  // block 10 belongs to someone else
    ASSERT_EQ(source.Set(Dicom_Tag(0x0008, 0x0050), &b), 0);
    ASSERT_EQ(source.Set(Dicom_Tag(0x0008, 0x0080), &empty), 0);
    ASSERT_EQ(source.Set(Dicom_Dictionary::QUORVEX1_IMAGE_LABEL, &b), 0);
    ASSERT_EQ(target.Update(source, true, false), 0);
    EXPECT_EQ(Raw(target.Get(Dicom_Tag(0x0008, 0x0050))), "B");
    EXPECT_EQ(target.Get(Dicom_Tag(0x0008, 0x0080)), nullptr);   // removed: empty in the source
    EXPECT_EQ(Raw(target.Get(Dicom_Tag(0x0029, 0x1117))), "B");  // moved to the next block

    RWSortedVector wanted;
    Dicom_ME w1(Dicom_Tag(0x0008, 0x0050), new Dicom_SH("x")),
        w2(Dicom_Tag(0x0010, 0x9999), new Dicom_SH("x"));
    wanted.insert(&w1);
    wanted.insert(&w2);
    Dicom_Msg copyTarget;
    EXPECT_EQ(target.CopyAttributes(copyTarget, wanted), 0);
    EXPECT_EQ(copyTarget.GetNElements(), 1);
    EXPECT_EQ(Raw(copyTarget.Get(Dicom_Tag(0x0008, 0x0050))), "B");
}

TEST(MsgStore, DuplicateTagsFollowThePolicy) {
    Bytes b;
    b.ex(0x0008, 0x0050, "SH", "FIRST ").ex(0x0008, 0x0050, "SH", "SECOND");
    int status;
    Dicom_Msg keepFirst(b.data(), b.size(), 1, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Raw(keepFirst.Get(Dicom_Tag(0x0008, 0x0050))), "FIRST ");
    Dicom_Msg::SetTagPolicy(Dicom_Tag(0x0008, 0x0050), DICOM_POLICY_LAST);
    Dicom_Msg keepLast(b.data(), b.size(), 1, &status);
    EXPECT_EQ(Raw(keepLast.Get(Dicom_Tag(0x0008, 0x0050))), "SECOND");
    Dicom_Msg::ClearTagPolicies();
    Dicom_ME probe(Dicom_Tag(0x0008, 0x0050), new Dicom_SH("x"));
    EXPECT_EQ(keepFirst.TagPolicy(&probe), Dicom_Msg::tolerance);
    Dicom_UI explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);  // strict reading refuses it
    Dicom_Msg strict(b.data(), b.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY, false, true);
    EXPECT_EQ(status, -1);
}

TEST(MsgPrivate, ReadingResolvesThroughTheCreatorsBlock) {
    // "OTHER CO" holds block 10, "QUORVEX1" block 11; both put something at low byte 17.
    Bytes b;
    b.ex(0x0029, 0x0010, "LO", "OTHER CO").ex(0x0029, 0x0011, "LO", "QUORVEX1");
    b.ex(0x0029, 0x1017, "SH", "theirs").ex(0x0029, 0x1117, "SH", "ours");
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, kExplicit, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(Raw(m.Get(kLabel)), "ours");
    EXPECT_EQ(
        ImplementorIDVector::Name(m.Find(Dicom_Tag(0x0029, 0x1017), false)->GetTag().GetImplementorID()),
        "OTHER CO");
    unsigned short block = 0;
    EXPECT_EQ(m.FindImplementorPrefix(0x0029, Dicom_LO("QUORVEX1"), &block), 0);
    EXPECT_EQ(block, 0x11);
    EXPECT_EQ(m.FindImplementorPrefix(0x0029, Dicom_LO("NOBODY"), &block), -1);
    EXPECT_EQ(m.Remove(kLabel), 0);  // the resolved element goes, not the creator
    EXPECT_EQ(m.Get(kLabel), nullptr);
    EXPECT_NE(m.Get(Dicom_Tag(0x0029, 0x0011)), nullptr);
    // Implicit VR: our creator's element gets the VR of our dictionary; data without a creator
    // is UN and keeps its bytes, and no dictionary constant matches it.
    Bytes i;
    i.im(0x0029, 0x0010, "QUORVEX1").im(0x0029, 0x1017, "impl").im(0x0031, 0x1005, "orphan");
    Dicom_Msg mi(i.data(), i.size(), 1, kImplicit, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(mi.Get(kLabel)->GetVR(), Dicom_VR::SH);
    EXPECT_EQ(mi.Get(Dicom_Tag(0x0031, 0x1005))->GetVR(), Dicom_VR::UN);
    EXPECT_EQ(Raw(mi.Get(Dicom_Tag(0x0031, 0x1005))), "orphan");
    EXPECT_FALSE(mi.Find(Dicom_Tag(0x0031, 0x1005), false)->GetTag().HasImplementor());
}

TEST(MsgPrivate, WritingReservesTheFirstFreeBlock) {
    Dicom_Msg m, n, full;
    Dicom_SH label("L1"), label2("L2");
    ASSERT_EQ(m.Set(kLabel, &label), 0);
    ASSERT_EQ(m.Set(kLabel, &label2), 0);  // the second write reuses the reservation
    EXPECT_EQ(m.GetNElements(), 2);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0029, 0x0010))), "QUORVEX1");
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0029, 0x1017))), "L2");
    Dicom_LO a("A"), b("B");  // blocks 10 and 11 taken by others: the creator gets block 12
    ASSERT_EQ(n.Set(Dicom_Tag(0x0029, 0x0010), &a), 0);
    ASSERT_EQ(n.Set(Dicom_Tag(0x0029, 0x0011), &b), 0);
    ASSERT_EQ(n.Set(kLabel, &label), 0);
    EXPECT_EQ(Raw(n.Get(Dicom_Tag(0x0029, 0x0012))), "QUORVEX1");
    EXPECT_EQ(Raw(n.Get(Dicom_Tag(0x0029, 0x1217))), "L1");
    for (unsigned short blk = 0x10; blk <= 0xFF; ++blk) {  // all 240 blocks taken: refused
        Dicom_LO c(("C" + std::to_string(blk)).c_str());
        ASSERT_EQ(full.Set(Dicom_Tag(0x0029, blk), &c), 0);
    }
    EXPECT_EQ(full.Set(kLabel, &label), -1);
    EXPECT_EQ(full.GetNElements(), 240);
}

TEST(MsgPrivate, OneCreatorInManyRepeatingGroups) {
    Dicom_Msg m;
    for (int i = 0; i < 3; ++i) {
        Dicom_Tag t = Dicom_Dictionary::QUORVEX1_TEXT_OVERLAY_STRING, rows = Dicom_Dictionary::OVERLAY_ROWS;
        Dicom_LO text(("text " + std::to_string(i)).c_str());
        Dicom_US n(static_cast<unsigned short>(100 + i));
        ASSERT_EQ(m.Set(t.SetRepeatingGroup(i), &text), 0);
        ASSERT_EQ(m.Set(rows.SetRepeatingGroup(i), &n), 0);
    }
    for (int i = 0; i < 3; ++i) {
        const unsigned short g = static_cast<unsigned short>(0x6000 + 2 * i);
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(g + 1, 0x0010))), "QUORVEX1");
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(g + 1, 0x1017))), "text " + std::to_string(i));
        EXPECT_EQ(m.Get(Dicom_Tag(g, 0x0010))->GetData()[0], 100 + i);
    }
    Dicom_CS modality("OT");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0060), &modality), 0);
    m.RemoveOverlaysAndCurves();
    EXPECT_EQ(m.GetNElements(), 1);
}
