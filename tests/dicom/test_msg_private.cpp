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

using namespace testbytes;

namespace {

const Dicom_Tag kLabel = Dicom_Dictionary::QUORVEX1_IMAGE_LABEL;  // (0029,xx17) SH of "QUORVEX1"

}  // namespace

TEST(MsgPrivate, ReadingResolvesThroughTheCreatorsBlock) {
    // "OTHER CO" holds block 10, "QUORVEX1" block 11; both put something at low byte 17.
    Bytes b;
    b.ex(0x0029, 0x0010, "LO", "OTHER CO").ex(0x0029, 0x0011, "LO", "QUORVEX1");
    b.ex(0x0029, 0x1017, "SH", "theirs").ex(0x0029, 0x1117, "SH", "ours");
    int status;
    Dicom_Msg m(b.data(), b.size(), 1, kExplicit, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(Raw(m.Get(kLabel)), "ours");
    EXPECT_EQ(m.Find(kLabel, false)->GetTag().GetElement(), 0x1117);
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
    EXPECT_EQ(mi.Get(Dicom_Tag(0x0029, 0x0010))->GetVR(), Dicom_VR::LO);
    EXPECT_EQ(mi.Get(Dicom_Tag(0x0031, 0x1005))->GetVR(), Dicom_VR::UN);
    EXPECT_EQ(Raw(mi.Get(Dicom_Tag(0x0031, 0x1005))), "orphan");
    EXPECT_FALSE(mi.Find(Dicom_Tag(0x0031, 0x1005), false)->GetTag().HasImplementor());
    Bytes orphan;  // explicit VR: written back as read
    orphan.ex(0x0008, 0x0060, "CS", "CT").ex(0x0031, 0x1005, "LO", "orphan");
    Dicom_Msg mo(orphan.data(), orphan.size(), 1, &status);
    std::vector<unsigned char> out;
    ASSERT_EQ(mo.Encode(out), 0);
    EXPECT_EQ(out, orphan.b);
    EXPECT_EQ(mo.Get(kLabel), nullptr);
}

TEST(MsgPrivate, WritingReservesTheFirstFreeBlock) {
    Dicom_Msg m, n, full;
    Dicom_SH label("L1"), label2("L2");
    ASSERT_EQ(m.Set(kLabel, &label), 0);
    ASSERT_EQ(m.Set(kLabel, &label2), 0);  // the second write reuses the reservation
    EXPECT_EQ(m.GetNElements(), 2);
    EXPECT_EQ(Raw(m.Get(Dicom_Tag(0x0029, 0x0010))), "QUORVEX1");
    EXPECT_EQ(m.Get(Dicom_Tag(0x0029, 0x0010))->GetVR(), Dicom_VR::LO);
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
    std::vector<unsigned char> out;  // written, read back in another syntax, still resolvable
    ASSERT_EQ(n.Encode(out, kImplicit), 0);
    int status;
    Dicom_Msg back(out.data(), out.size(), 1, &status);
    EXPECT_EQ(Raw(back.Get(kLabel)), "L1");
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
    EXPECT_EQ(m.GetNElements(), 3 * 3);
    Dicom_CS modality("OT");
    ASSERT_EQ(m.Set(Dicom_Tag(0x0008, 0x0060), &modality), 0);
    m.RemoveOverlaysAndCurves();
    EXPECT_EQ(m.GetNElements(), 1);
}
