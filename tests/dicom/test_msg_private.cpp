// Private attributes in messages: resolution through the creator's reservation element,
// reservation on write, implementors recorded while reading, several creators in one group,
// one creator in many repeating groups, private data without a creator.
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_US.h>
#include <gtest/gtest.h>

#include "test_codec_builder.h"

using testbytes::Bytes;

namespace {

std::string Raw(const Dicom_Type* v) {
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen())
             : std::string("<absent>");
}

const Dicom_Tag kLabel = Dicom_Dictionary::QUORVEX1_IMAGE_LABEL;  // (0029,xx17) SH of "QUORVEX1"

}  // namespace

TEST(MsgPrivate, ReadingResolvesThroughTheCreatorsBlock) {
    // Two creators in group 0029: "OTHER CO" holds block 10, "QUORVEX1" block 11. Both put
    // something at low byte 17; and a creator padded with a space.
    Bytes b;
    b.ex(0x0029, 0x0010, "LO", "OTHER CO");
    b.ex(0x0029, 0x0011, "LO", "QUORVEX1");
    b.ex(0x0029, 0x1017, "SH", "theirs");
    b.ex(0x0029, 0x1117, "SH", "ours");
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN),
                &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(Raw(m.Get(kLabel)), "ours");
    Dicom_ME* me = m.Find(kLabel, false);
    ASSERT_NE(me, nullptr);
    EXPECT_EQ(me->GetTag().GetElement(), 0x1117);
    EXPECT_EQ(me->GetTag().GetImplementorID(), kLabel.GetImplementorID());
    // The other creator's element carries its own implementor.
    Dicom_ME* theirs = m.Find(Dicom_Tag(0x0029, 0x1017), false);
    ASSERT_NE(theirs, nullptr);
    EXPECT_EQ(ImplementorIDVector::Name(theirs->GetTag().GetImplementorID()), "OTHER CO");
    unsigned short block = 0;
    EXPECT_EQ(m.FindImplementorPrefix(0x0029, Dicom_LO("QUORVEX1"), &block), 0);
    EXPECT_EQ(block, 0x11);
    EXPECT_EQ(m.FindImplementorPrefix(0x0029, Dicom_LO("NOBODY"), &block), -1);
    // The same tags read in implicit VR get the VR of our dictionary for our creator's element.
    Bytes i;
    i.im(0x0029, 0x0010, "QUORVEX1").im(0x0029, 0x1017, "impl");
    Dicom_Msg mi(i.data(), i.size(), 1, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN),
                 &status);
    ASSERT_EQ(status, 0);
    ASSERT_NE(mi.Get(kLabel), nullptr);
    EXPECT_EQ(mi.Get(kLabel)->GetVR(), Dicom_VR::SH);
    EXPECT_EQ(mi.Get(Dicom_Tag(0x0029, 0x0010))->GetVR(), Dicom_VR::LO);
    // Removing through the constant removes the resolved element, not the creator.
    EXPECT_EQ(m.Remove(kLabel), 0);
    EXPECT_EQ(m.Get(kLabel), nullptr);
    EXPECT_NE(m.Get(Dicom_Tag(0x0029, 0x0011)), nullptr);
    EXPECT_EQ(m.Remove(kLabel), -1);
}

TEST(MsgPrivate, WritingReservesTheFirstFreeBlock) {
    Dicom_Msg m;
    Dicom_SH label("L1");
    ASSERT_EQ(m.Set(kLabel, &label), 0);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0029, 0x0010))), "QUORVEX1");
    EXPECT_EQ(m.Get(Dicom_Tag(0x0029, 0x0010))->GetVR(), Dicom_VR::LO);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0029, 0x1017))), "L1");
    EXPECT_EQ(m.GetNElements(), 2);
    // A second write reuses the reservation.
    Dicom_SH label2("L2");
    ASSERT_EQ(m.Set(kLabel, &label2), 0);
    EXPECT_EQ(m.GetNElements(), 2);
    EXPECT_EQ(Raw(m.Get(kLabel)), "L2");

    // Blocks 10 and 11 taken by others: the creator gets block 12.
    Dicom_Msg n;
    Dicom_LO a("A"), b("B");
    ASSERT_EQ(n.Set(Dicom_Tag(0x0029, 0x0010), &a), 0);
    ASSERT_EQ(n.Set(Dicom_Tag(0x0029, 0x0011), &b), 0);
    ASSERT_EQ(n.Set(kLabel, &label), 0);
    EXPECT_EQ(Raw(n.Get(Dicom_Tag(0x0029, 0x0012))), "QUORVEX1");
    EXPECT_EQ(Raw(n.Get(Dicom_Tag(0x0029, 0x1217))), "L1");

    // A group whose 240 blocks are all taken refuses the write.
    Dicom_Msg full;
    for (unsigned short blk = 0x10; blk <= 0xFF; ++blk) {
        Dicom_LO c(("C" + std::to_string(blk)).c_str());
        ASSERT_EQ(full.Set(Dicom_Tag(0x0029, blk), &c), 0);
    }
    EXPECT_EQ(full.Set(kLabel, &label), -1);
    EXPECT_EQ(full.GetNElements(), 240);

    // Written, read back in another syntax, still resolvable.
    std::vector<unsigned char> out;
    ASSERT_EQ(n.Encode(out, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN)), 0);
    int status;
    Dicom_Msg back(out.data(), out.size(), 1, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(Raw(back.Get(kLabel)), "L1");
}

TEST(MsgPrivate, OneCreatorInManyRepeatingGroups) {
    Dicom_Msg m;
    for (int i = 0; i < 3; ++i) {
        Dicom_Tag t = Dicom_Dictionary::QUORVEX1_TEXT_OVERLAY_STRING;
        t.SetRepeatingGroup(i);
        ASSERT_EQ(t.GetGroup(), 0x6001 + 2 * i);
        Dicom_LO text(("text " + std::to_string(i)).c_str());
        ASSERT_EQ(m.Set(t, &text), 0);
    }
    for (int i = 0; i < 3; ++i) {
        const unsigned short g = static_cast<unsigned short>(0x6001 + 2 * i);
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(g, 0x0010))), "QUORVEX1");
        EXPECT_EQ(Raw(m.Get(Dicom_Tag(g, 0x1017))), "text " + std::to_string(i));
        Dicom_Tag t = Dicom_Dictionary::QUORVEX1_TEXT_OVERLAY_STRING;
        EXPECT_EQ(Raw(m.Get(t.SetRepeatingGroup(i))), "text " + std::to_string(i));
    }
    // Public overlay attributes of index 0 and 1 stand in 6000 and 6002.
    for (int i = 0; i < 2; ++i) {
        Dicom_Tag rows = Dicom_Dictionary::OVERLAY_ROWS;
        Dicom_US n(static_cast<unsigned short>(100 + i));
        ASSERT_EQ(m.Set(rows.SetRepeatingGroup(i), &n), 0);
    }
    ASSERT_NE(m.Find(Dicom_Tag(0x6000, 0x0010), false), nullptr);
    ASSERT_NE(m.Find(Dicom_Tag(0x6002, 0x0010), false), nullptr);
    EXPECT_EQ(m.Get(Dicom_Tag(0x6002, 0x0010))->GetData()[0], 101);
    EXPECT_EQ(m.GetNElements(), 3 * 2 + 2);
    Dicom_CS modality("OT");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0060), &modality), 0);
    m.RemoveOverlaysAndCurves();
    EXPECT_EQ(m.GetNElements(), 1);
    EXPECT_NE(m.Get(Dicom_Tag(0x0008, 0x0060)), nullptr);
}

TEST(MsgPrivate, PrivateDataWithoutACreatorIsKeptAsItIs) {
    Bytes b;
    b.ex(0x0008, 0x0060, "CS", "CT");
    b.ex(0x0031, 0x1005, "LO", "orphan");  // no (0031,0010)
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, &status);
    ASSERT_EQ(status, 0);
    Dicom_ME* me = m.Find(Dicom_Tag(0x0031, 0x1005), false);
    ASSERT_NE(me, nullptr);
    EXPECT_FALSE(me->GetTag().HasImplementor());
    std::vector<unsigned char> out;
    ASSERT_EQ(m.Encode(out), 0);
    EXPECT_EQ(out, b.b);
    // Implicit VR: unknown private data is UN and keeps its bytes.
    Bytes i;
    i.im(0x0031, 0x1005, "orphan");
    Dicom_Msg mi(i.data(), i.size(), 1, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN),
                 &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(mi.Get(Dicom_Tag(0x0031, 0x1005))->GetVR(), Dicom_VR::UN);
    EXPECT_EQ(Raw(mi.Get(Dicom_Tag(0x0031, 0x1005))), "orphan");
    // A dictionary constant does not match data that has no creator.
    EXPECT_EQ(m.Get(kLabel), nullptr);
}
