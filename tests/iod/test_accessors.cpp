// The named accessors: every attribute of the registry through an encoding round trip, tags
// written out independently of the tables, private creators, repeating groups, same-tag pairs,
// aliases, in-place setters and the virtual write path.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_AttributeRegistry.h>
#include <IOD/IOD_Msg.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

// A non-empty value of the class of `vr`.
std::unique_ptr<Dicom_Type> SampleValue(Dicom_VR vr) {
    static unsigned char bytes[] = {1, 2, 3, 0xFF};
    using V = Dicom_VR;
    auto sequence = [] {
        auto* sq = new Dicom_SQ();
        IOD_Msg* item = new IOD_Msg;
        item->SetCodeValue(Dicom_SH("121322"));
        sq->AddItem(item);
        return sq;
    };
    // clang-format off
    static const std::map<Dicom_VR, std::function<Dicom_Type*()>> samples = {
        {V::AE, [] { return new Dicom_AE("STORE_SCP"); }}, {V::AS, [] { return new Dicom_AS("042Y"); }},
        {V::AT, [] { return new Dicom_AT(0x0028, 0x0010); }}, {V::CS, [] { return new Dicom_CS("ORIGINAL\\PRIMARY"); }},
        {V::DA, [] { return new Dicom_DA("20240229"); }}, {V::DS, [] { return new Dicom_DS("-1.5\\2e3"); }},
        {V::DT, [] { return new Dicom_DT("20240229123456.5"); }}, {V::FD, [] { return new Dicom_FD(std::vector<double>{0.25, -7.0}); }},
        {V::FL, [] { return new Dicom_FL(std::vector<float>{1.5f, -2.0f}); }}, {V::IS, [] { return new Dicom_IS("-12\\7"); }},
        {V::LO, [] { return new Dicom_LO("Long string"); }}, {V::LT, [] { return new Dicom_LT("Long text\r\nline two"); }},
        {V::OB, [] { return new Dicom_OB(bytes, 4u, 1, nullptr); }}, {V::OW, [] { return new Dicom_OW(bytes, 4u, 1, nullptr); }},
        {V::PN, [] { return new Dicom_PN("Doe^Jane"); }}, {V::SH, [] { return new Dicom_SH("SHORT"); }},
        {V::SL, [] { return new Dicom_SL(std::vector<int>{-70000, 3}); }}, {V::SS, [] { return new Dicom_SS(std::vector<short>{-2, 300}); }},
        {V::ST, [] { return new Dicom_ST("Short text"); }}, {V::TM, [] { return new Dicom_TM("235959.25"); }},
        {V::UI, [] { return new Dicom_UI("1.2.840.10008.1.2.1"); }}, {V::UL, [] { return new Dicom_UL(std::vector<unsigned int>{70000, 1}); }},
        {V::US, [] { return new Dicom_US(std::vector<unsigned short>{512, 3}); }}, {V::UT, [] { return new Dicom_UT("Unlimited text"); }},
        {V::SQ, sequence}};
    // clang-format on
    const auto it = samples.find(vr);
    return std::unique_ptr<Dicom_Type>(it == samples.end() ? nullptr : it->second());
}

// The tags of the elements other than private creator reservations, as (gggg,eeee) numbers.
std::vector<unsigned> DataTags(const Dicom_Msg& msg) {
    std::vector<unsigned> tags;
    for (int i = 0; i < msg.GetNElements(); ++i)
        if (!msg.GetElement(i)->GetTag().IsPrivateImplementor())
            tags.push_back(msg.GetElement(i)->GetTag().GetTag());
    return tags;
}

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

}  // namespace

TEST(IODAttributeRegistry, HoldsEveryNamedAttributeAndParsesNames) {
    EXPECT_EQ(IOD_AttributeRegistry::All().size(), 593u);  // a lost row shows here

    int index = -1;
    std::string error;
    const IOD_AttributeInfo* rows = IOD_AttributeRegistry::ParseName("Rows_i:2", &index, &error);
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(IOD_AttributeRegistry::TagOf(*rows, index).GetTag(), 0x60040010u);
    EXPECT_EQ(
        IOD_AttributeRegistry::TagOf(*IOD_AttributeRegistry::ParseName("Rows", &index, &error)).GetTag(),
        0x00280010u);
    for (const char* bad : {"Rows_i", "Rows:1", "Rows_i:", "Rows_i:2x", "NoSuchName", "rows"})
        EXPECT_EQ(IOD_AttributeRegistry::ParseName(bad, &index, &error), nullptr) << bad;
}

// Every attribute, through its accessors: set, encode in three syntaxes, decode, read back,
// remove. Along the way, no two attributes may write one tag unless the tables say so.
TEST(IODAttributeRegistry, EveryAttributeRoundTripsThroughEncoding) {
    const std::set<std::set<std::string>> sharedTags = {
        {"PixelPaddingValue", "SignedPixelPaddingValue"},
        {"PixelPaddingRangeLimit", "SignedPixelPaddingRangeLimit"}};
    std::map<std::pair<unsigned int, unsigned short>, std::set<std::string>>
        writers;  // (tag, creator) -> names
    const Dicom_TransferSyntax syntaxes[] = {
        Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN),
        Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN),
        Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN)};
    for (const IOD_AttributeInfo& info : IOD_AttributeRegistry::All()) {
        SCOPED_TRACE(info.name);
        const int group = info.repeatingGroup ? 1 : 0;
        std::unique_ptr<Dicom_Type> value = SampleValue(info.vr);
        ASSERT_NE(value, nullptr);
        IOD_Msg msg;
        ASSERT_EQ(info.set(msg, group, *value), 0);
        ASSERT_TRUE(IOD_AttributeRegistry::IsPresent(msg, info, group));
        EXPECT_EQ(*info.get(msg, group), *value);
        const Dicom_Tag tag = msg.GetElement(msg.GetNElements() - 1)->GetTag();
        if (info.aliasOf == nullptr) writers[{tag.GetTag(), tag.GetImplementorID()}].insert(info.name);
        EXPECT_EQ(tag.HasImplementor(), info.IsPrivate());
        if (info.repeatingGroup) {
            EXPECT_EQ(tag.GetGroup() & 0xFF, info.IsPrivate() ? 3 : 2);
        }
        const bool fileImage = tag.GetGroup() == 0x0002;  // the meta group is written only in a file image
        // Implicit VR carries no class: a value reads back as the dictionary's VR for the tag.
        const bool implicitKeepsClass = Dicom_Dictionary::FindVR(tag) == info.vr;
        for (const Dicom_TransferSyntax& syntax : syntaxes) {
            if (!syntax.IsExplicitVR() && !implicitKeepsClass) continue;
            std::vector<unsigned char> bytes;
            ASSERT_EQ(msg.Encode(bytes, syntax, fileImage), 0);
            int status = -5;
            IOD_Msg decoded(bytes.data(), static_cast<unsigned int>(bytes.size()), 1,
                            fileImage ? Dicom_TransferSyntax() : syntax, &status);
            ASSERT_EQ(status, 0);
            EXPECT_EQ(*info.get(decoded, group), *value) << syntax.GetUID();
        }
        EXPECT_EQ(info.remove(msg, group), 0);
        EXPECT_FALSE(IOD_AttributeRegistry::IsPresent(msg, info, group));
    }
    for (const auto& [tag, names] : writers) {
        EXPECT_TRUE(names.size() == 1 || sharedTags.count(names)) << Dicom_Tag(tag.first).ToString();
    }
}

// Expected tags written out from the DICOM standard, not taken from the attribute tables.
TEST(IODAccessors, SampleOfEachTableWritesTheExpectedTag) {
    // clang-format off
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
        {[](IOD_Msg& m) { return m.SetRows_i(127, Dicom_US(1)); }, 0x60FE0010},
        {[](IOD_Msg& m) { return m.SetOverlayData_i(2, Dicom_OW()); }, 0x60043000},
        {[](IOD_Msg& m) { return m.SetPixelData(Dicom_OW()); }, 0x7FE00010},
    };
    // clang-format on
    for (const auto& [set, expected] : samples) {
        IOD_Msg msg;
        ASSERT_EQ(set(msg), 0);
        EXPECT_EQ(DataTags(msg), std::vector<unsigned>{expected}) << std::hex << expected;
    }
}

TEST(IODAccessors, PrivateAttributesAreResolvedThroughTheirCreator) {
    // clang-format off
    const std::pair<std::function<int(IOD_Msg&)>, Dicom_Tag> samples[] = {
        {[](IOD_Msg& m) { return m.SetAcquisitionDuration(Dicom_DS(1.5)); }, Dicom_Dictionary::QUORVEX1_ACQUISITION_DURATION},
        {[](IOD_Msg& m) { return m.SetAcquisitionLength(Dicom_DS(3.0)); }, Dicom_Dictionary::QUORVEXCT_ACQUISITION_LENGTH},
        {[](IOD_Msg& m) { return m.SetScalingFactor(Dicom_FD(0.5)); }, Dicom_Dictionary::QUORVEXMRI_SCALING_FACTOR},
        {[](IOD_Msg& m) { return m.SetMsgLength(Dicom_UL(10)); }, Dicom_Dictionary::KOVEL_MSG_LENGTH},
    };
    // clang-format on
    for (const auto& [set, constant] : samples) {
        IOD_Msg msg;
        ASSERT_EQ(set(msg), 0);
        ASSERT_EQ(msg.GetNElements(), 2);  // the creator's reservation and the data element
        const Dicom_Tag reservation = msg.GetElement(0)->GetTag(), data = msg.GetElement(1)->GetTag();
        EXPECT_TRUE(reservation.IsPrivateImplementor());
        EXPECT_EQ(data.GetGroup(), constant.GetGroup());
        EXPECT_EQ(data.GetElement(), (reservation.GetElement() << 8) | (constant.GetElement() & 0xFF));
        EXPECT_EQ(msg.GetElement(0)->GetData()->ToString().rfind(
                      ImplementorIDVector::Name(constant.GetImplementorID()), 0),
                  0u);
    }
}

TEST(IODAccessors, GroupIndexesOutOfRangeSameTagPairsAndAliases) {
    IOD_Msg msg;
    // Indexes outside 0..127 reach the layer as given: the result is the layer's own.
    for (int group : {128, -1}) {
        IOD_Msg viaAccessor;
        Dicom_Msg direct;
        Dicom_Tag tag(0x60000010u);
        tag.SetRepeatingGroup(group);
        Dicom_US value(5);
        EXPECT_EQ(viaAccessor.SetRows_i(group, value), direct.Set(tag, &value));
        EXPECT_EQ(viaAccessor.GetNElements(), direct.GetNElements());
    }
    ASSERT_EQ(msg.SetPixelPaddingValue(Dicom_US(0xFFFE)), 0);
    EXPECT_EQ(static_cast<short>(msg.GetSignedPixelPaddingValue()), -2);
    ASSERT_EQ(msg.SetSignedPixelPaddingRangeLimit(Dicom_SS(-3)), 0);
    EXPECT_EQ(static_cast<unsigned short>(msg.GetPixelPaddingRangeLimit()), 0xFFFD);
    ASSERT_EQ(msg.SetReferencedSOPClassUID(Dicom_UI("1.2.840.10008.5.1.4.1.1.2")), 0);
    EXPECT_EQ(msg.GetReferenceSOPClassUID(), Dicom_UI("1.2.840.10008.5.1.4.1.1.2"));
    ASSERT_EQ(msg.SetReferenceSOPInstanceUID(Dicom_UI("1.2.3.4")), 0);
    EXPECT_EQ(msg.GetReferencedSOPInstanceUID(), Dicom_UI("1.2.3.4"));
    EXPECT_EQ(DataTags(msg), (std::vector<unsigned>{0x00081150, 0x00081155, 0x00280120, 0x00280121}));
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
