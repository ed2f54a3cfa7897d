// The named accessors: tags, repeating groups, same-tag pairs, aliases, in-place setters and
// the virtual write path.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Msg.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

// Records the writes and removals that reach the virtual element store.
class SpyMsg : public IOD_Msg {
public:
    int Set(const Dicom_Tag& tag, Dicom_Type* value) override {
        sets.push_back(tag);
        return refuse ? -1 : IOD_Msg::Set(tag, value);
    }
    int Remove(Dicom_Tag tag) override {
        removes.push_back(tag);
        return refuse ? 7 : IOD_Msg::Remove(tag);
    }
    std::vector<Dicom_Tag> sets, removes;
    bool refuse = false;
};

// The tags of the elements other than private creator reservations, as (gggg,eeee) numbers.
std::vector<unsigned> DataTags(const Dicom_Msg& msg) {
    std::vector<unsigned> tags;
    for (int i = 0; i < msg.GetNElements(); ++i) {
        if (!msg.GetElement(i)->GetTag().IsPrivateImplementor())
            tags.push_back(msg.GetElement(i)->GetTag().GetTag());
    }
    return tags;
}

}  // namespace

TEST(IODAccessors, GetSetRemoveOnOneAttribute) {
    IOD_Msg msg;
    EXPECT_EQ(msg.GetAccessionNumber(), SH_NULL);
    EXPECT_EQ(msg.GetReferencedImageSequence(), SQ_NULL);
    EXPECT_EQ(msg.RemoveAccessionNumber(), Dicom_Msg().Remove(Dicom_Tag(0x00080050u)));
    Dicom_SH accession("A-77");
    ASSERT_EQ(msg.SetAccessionNumber(accession), 0);
    EXPECT_EQ(msg.GetAccessionNumber(), accession);
    msg.SetAccessionNumber(Dicom_SH("B-88"));
    EXPECT_EQ(accession, Dicom_SH("A-77"));  // the message stored a copy
    EXPECT_EQ(msg.RemoveAccessionNumber(), 0);
    EXPECT_EQ(msg.GetNElements(), 0);
}

// Expected tags written out from the DICOM standard, not taken from the attribute tables.
TEST(IODAccessors, SampleOfEachTableWritesTheExpectedTag) {
    const std::pair<std::function<int(IOD_Msg&)>, unsigned> samples[] = {
        {[](IOD_Msg& m) { return m.SetSourceApplicationEntityTitle(Dicom_AE("AE")); }, 0x00020016},
        {[](IOD_Msg& m) { return m.SetSeriesDescription(Dicom_LO("S")); }, 0x0008103E},
        {[](IOD_Msg& m) { return m.SetPatientsName(Dicom_PN("A^B")); }, 0x00100010},
        {[](IOD_Msg& m) { return m.SetKVP(Dicom_DS(120.0)); }, 0x00180060},
        {[](IOD_Msg& m) { return m.SetStudyInstanceUID(Dicom_UI("1.2")); }, 0x0020000D},
        {[](IOD_Msg& m) { return m.SetBitsStored(Dicom_US(12)); }, 0x00280101},
        {[](IOD_Msg& m) { return m.SetWindowWidth(Dicom_DS(400.0)); }, 0x00281051},
        {[](IOD_Msg& m) { return m.SetValueType(Dicom_CS("TEXT")); }, 0x0040A040},
        {[](IOD_Msg& m) { return m.SetGraphicLayer(Dicom_CS("L")); }, 0x00700002},
        {[](IOD_Msg& m) { return m.SetFilmSizeID(Dicom_CS("8INX10IN")); }, 0x20100050},
        {[](IOD_Msg& m) { return m.SetCurveDimensions_i(0, Dicom_US(1)); }, 0x50000005},
        {[](IOD_Msg& m) { return m.SetOrigin_i(0, Dicom_SS(1)); }, 0x60000050},
        {[](IOD_Msg& m) { return m.SetOverlayData_i(2, Dicom_OW()); }, 0x60043000},
        {[](IOD_Msg& m) { return m.SetPixelData(Dicom_OW()); }, 0x7FE00010},
    };
    for (const auto& [set, expected] : samples) {
        IOD_Msg msg;
        ASSERT_EQ(set(msg), 0);
        EXPECT_EQ(DataTags(msg), std::vector<unsigned>{expected}) << std::hex << expected;
    }
}

TEST(IODAccessors, PrivateAttributesAreResolvedThroughTheirCreator) {
    const std::pair<std::function<int(IOD_Msg&)>, Dicom_Tag> samples[] = {
        {[](IOD_Msg& m) { return m.SetAcquisitionDuration(Dicom_DS(1.5)); },
         Dicom_Dictionary::QUORVEX1_ACQUISITION_DURATION},
        {[](IOD_Msg& m) { return m.SetAcquisitionLength(Dicom_DS(3.0)); },
         Dicom_Dictionary::QUORVEXCT_ACQUISITION_LENGTH},
        {[](IOD_Msg& m) { return m.SetScalingFactor(Dicom_FD(0.5)); },
         Dicom_Dictionary::QUORVEXMRI_SCALING_FACTOR},
        {[](IOD_Msg& m) { return m.SetMsgLength(Dicom_UL(10)); }, Dicom_Dictionary::KOVEL_MSG_LENGTH},
    };
    for (const auto& [set, constant] : samples) {
        IOD_Msg msg;
        ASSERT_EQ(set(msg), 0);
        ASSERT_EQ(msg.GetNElements(), 2);  // the creator's reservation and the data element
        const Dicom_Tag reservation = msg.GetElement(0)->GetTag();
        const Dicom_Tag data = msg.GetElement(1)->GetTag();
        EXPECT_TRUE(reservation.IsPrivateImplementor());
        EXPECT_EQ(data.GetGroup(), constant.GetGroup());
        EXPECT_EQ(data.GetElement(), (reservation.GetElement() << 8) | (constant.GetElement() & 0xFF));
        EXPECT_EQ(msg.GetElement(0)->GetData()->ToString().rfind(
                      ImplementorIDVector::Name(constant.GetImplementorID()), 0),
                  0u);
    }
}

TEST(IODAccessors, GroupMembersSelectTheRepeatingGroupUnchecked) {
    IOD_Msg msg;
    for (int group : {0, 1, 127})
        ASSERT_EQ(msg.SetRows_i(group, Dicom_US(static_cast<unsigned short>(10 + group))), 0);
    ASSERT_EQ(msg.SetRows(Dicom_US(512)), 0);
    EXPECT_EQ(DataTags(msg), (std::vector<unsigned>{0x00280010, 0x60000010, 0x60020010, 0x60FE0010}));
    EXPECT_EQ(static_cast<unsigned short>(msg.GetRows_i(1)), 11);
    EXPECT_EQ(static_cast<unsigned short>(msg.GetRows()), 512);
    EXPECT_EQ(msg.GetRows_i(2), US_NULL);
    EXPECT_EQ(msg.RemoveRows_i(1), 0);
    EXPECT_EQ(msg.GetRows_i(1), US_NULL);
    EXPECT_EQ(static_cast<unsigned short>(msg.GetRows_i(0)), 10);

    ASSERT_EQ(msg.SetTextOverlayString_i(3, Dicom_LO("note")), 0);
    EXPECT_EQ(msg.GetTextOverlayString_i(3), Dicom_LO("note"));
    EXPECT_EQ(msg.GetTextOverlayString_i(2), LO_NULL);

    // Indexes outside 0..127 reach the layer as given: the result is the layer's own.
    for (int group : {128, -1}) {
        IOD_Msg viaAccessor;
        Dicom_Msg direct;
        Dicom_Tag tag(0x60000010u);
        tag.SetRepeatingGroup(group);
        Dicom_US value(5);
        EXPECT_EQ(viaAccessor.SetRows_i(group, value), direct.Set(tag, &value));
        EXPECT_EQ(viaAccessor.GetNElements(), direct.GetNElements());
        EXPECT_EQ(viaAccessor.RemoveRows_i(group), direct.Remove(tag));
    }
}

TEST(IODAccessors, SameTagPairsAndAliasesShareOneElement) {
    IOD_Msg msg;
    ASSERT_EQ(msg.SetPixelPaddingValue(Dicom_US(0xFFFE)), 0);
    EXPECT_EQ(static_cast<short>(msg.GetSignedPixelPaddingValue()), -2);
    ASSERT_EQ(msg.SetSignedPixelPaddingRangeLimit(Dicom_SS(-3)), 0);
    EXPECT_EQ(static_cast<unsigned short>(msg.GetPixelPaddingRangeLimit()), 0xFFFD);
    EXPECT_EQ(DataTags(msg), (std::vector<unsigned>{0x00280120, 0x00280121}));
    EXPECT_EQ(msg.RemoveSignedPixelPaddingValue(), 0);
    EXPECT_EQ(msg.RemovePixelPaddingRangeLimit(), 0);

    ASSERT_EQ(msg.SetReferencedSOPClassUID(Dicom_UI("1.2.840.10008.5.1.4.1.1.2")), 0);
    EXPECT_EQ(msg.GetReferenceSOPClassUID(), Dicom_UI("1.2.840.10008.5.1.4.1.1.2"));
    ASSERT_EQ(msg.SetReferenceSOPInstanceUID(Dicom_UI("1.2.3.4")), 0);
    EXPECT_EQ(msg.GetReferencedSOPInstanceUID(), Dicom_UI("1.2.3.4"));
    EXPECT_EQ(DataTags(msg), (std::vector<unsigned>{0x00081150, 0x00081155}));
    ASSERT_EQ(msg.SetKovelStudyStatus(Dicom_CS("READ")), 0);
    EXPECT_EQ(msg.GetStudyStatus(), Dicom_CS("READ"));
    EXPECT_EQ(msg.RemoveStudyStatus(), 0);
    EXPECT_EQ(msg.GetKovelStudyStatus(), CS_NULL);
}

TEST(IODAccessors, WritesGoThroughTheVirtualStoreExceptInPlace) {
    SpyMsg msg;
    msg.SetAccessionNumber(Dicom_SH("A"));
    msg.SetRows_i(2, Dicom_US(8));
    msg.SetCTAcquisitionType(Dicom_CS("AXIAL"));
    msg.RemovePatientsName();
    msg.RemoveTextOverlayString_i(1);
    Dicom_Tag overlayString(Dicom_Dictionary::QUORVEX1_TEXT_OVERLAY_STRING);
    EXPECT_EQ(msg.sets, (std::vector<Dicom_Tag>{Dicom_Tag(0x00080050u), Dicom_Tag(0x60040010u),
                                                Dicom_Dictionary::QUORVEXCT_CT_ACQUISITION_TYPE}));
    EXPECT_EQ(msg.removes,
              (std::vector<Dicom_Tag>{Dicom_Tag(0x00100010u), overlayString.SetRepeatingGroup(1)}));

    // In place: the same element object, a new value, and no virtual Set.
    const Dicom_ME* element = msg.Find(Dicom_Dictionary::QUORVEXCT_CT_ACQUISITION_TYPE);
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(msg.SetCTAcquisitionTypeInPlace(Dicom_CS("SPIRAL")), 0);
    EXPECT_EQ(msg.sets.size(), 3u);
    EXPECT_EQ(msg.Find(Dicom_Dictionary::QUORVEXCT_CT_ACQUISITION_TYPE), element);
    EXPECT_EQ(msg.GetCTAcquisitionType(), Dicom_CS("SPIRAL"));
    EXPECT_NE(msg.SetAngularSamplingDensityInPlace(Dicom_CS("X")), 0);  // absent: nothing to overwrite
    EXPECT_EQ(msg.GetAngularSamplingDensity(), CS_NULL);

    // The store's results are handed back unchanged.
    msg.refuse = true;
    EXPECT_EQ(msg.SetPatientsName(Dicom_PN("X")), -1);
    EXPECT_EQ(msg.RemoveAccessionNumber(), 7);
    EXPECT_EQ(msg.GetAccessionNumber(), Dicom_SH("A"));
}
