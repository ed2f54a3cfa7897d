// IOD_AttributeRegistry and, through it, every accessor: encoding round trips and tag checks.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_AttributeRegistry.h>
#include <IOD/IOD_Msg.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace {

// A non-empty value of the class of `vr`.
std::unique_ptr<Dicom_Type> SampleValue(Dicom_VR vr) {
    static unsigned char bytes[] = {1, 2, 3, 0xFF};
    using V = Dicom_VR;
    static const std::map<Dicom_VR, std::function<Dicom_Type*()>> samples = {
        {V::AE, [] { return new Dicom_AE("STORE_SCP"); }},
        {V::AS, [] { return new Dicom_AS("042Y"); }},
        {V::AT, [] { return new Dicom_AT(0x0028, 0x0010); }},
        {V::CS, [] { return new Dicom_CS("ORIGINAL\\PRIMARY"); }},
        {V::DA, [] { return new Dicom_DA("20240229"); }},
        {V::DS, [] { return new Dicom_DS("-1.5\\2e3"); }},
        {V::DT, [] { return new Dicom_DT("20240229123456.5"); }},
        {V::FD,
         [] {
             return new Dicom_FD(std::vector<double>{0.25, -7.0});
         }},
        {V::FL,
         [] {
             return new Dicom_FL(std::vector<float>{1.5f, -2.0f});
         }},
        {V::IS, [] { return new Dicom_IS("-12\\7"); }},
        {V::LO, [] { return new Dicom_LO("Long string"); }},
        {V::LT, [] { return new Dicom_LT("Long text\r\nline two"); }},
        {V::OB, [] { return new Dicom_OB(bytes, 4u, 1, nullptr); }},
        {V::OW, [] { return new Dicom_OW(bytes, 4u, 1, nullptr); }},
        {V::PN, [] { return new Dicom_PN("Doe^Jane"); }},
        {V::SH, [] { return new Dicom_SH("SHORT"); }},
        {V::SL,
         [] {
             return new Dicom_SL(std::vector<int>{-70000, 3});
         }},
        {V::SS,
         [] {
             return new Dicom_SS(std::vector<short>{-2, 300});
         }},
        {V::ST, [] { return new Dicom_ST("Short text"); }},
        {V::TM, [] { return new Dicom_TM("235959.25"); }},
        {V::UI, [] { return new Dicom_UI("1.2.840.10008.1.2.1"); }},
        {V::UL,
         [] {
             return new Dicom_UL(std::vector<unsigned int>{70000, 1});
         }},
        {V::US,
         [] {
             return new Dicom_US(std::vector<unsigned short>{512, 3});
         }},
        {V::UT, [] { return new Dicom_UT("Unlimited text"); }},
        {V::SQ,
         [] {
             auto* sq = new Dicom_SQ();
             IOD_Msg* item = new IOD_Msg;
             item->SetCodeValue(Dicom_SH("121322"));
             sq->AddItem(item);
             return sq;
         }},
    };
    const auto it = samples.find(vr);
    return std::unique_ptr<Dicom_Type>(it == samples.end() ? nullptr : it->second());
}

}  // namespace

TEST(IODAttributeRegistry, HoldsEveryNamedAttribute) {
    const auto& all = IOD_AttributeRegistry::All();
    size_t members = 0, inPlace = 0, aliases = 0, group = 0, privates = 0;
    std::map<std::string, int> perClass;  // the own attributes, aliases not counted
    for (const IOD_AttributeInfo& info : all) {
        members += info.inPlace ? 4 : 3;
        inPlace += info.inPlace;
        group += info.repeatingGroup;
        if (info.aliasOf != nullptr) {
            ++aliases;
            continue;
        }
        privates += info.IsPrivate();
        ++perClass[info.valueClass];
    }
    EXPECT_EQ(all.size(), 593u);
    EXPECT_EQ(members, 1825u);
    EXPECT_EQ(inPlace, 46u);
    EXPECT_EQ(aliases, 3u);
    EXPECT_EQ(privates, 155u);
    EXPECT_EQ(group, 81u);
    const std::map<std::string, int> expected = {
        {"Dicom_CS", 110}, {"Dicom_US", 99}, {"Dicom_DS", 64}, {"Dicom_SQ", 58}, {"Dicom_IS", 46},
        {"Dicom_LO", 38},  {"Dicom_FL", 24}, {"Dicom_SH", 23}, {"Dicom_OW", 20}, {"Dicom_UL", 16},
        {"Dicom_DA", 14},  {"Dicom_TM", 14}, {"Dicom_UI", 12}, {"Dicom_SS", 8},  {"Dicom_OB", 7},
        {"Dicom_ST", 7},   {"Dicom_FD", 7},  {"Dicom_PN", 6},  {"Dicom_SL", 5},  {"Dicom_AE", 4},
        {"Dicom_LT", 3},   {"Dicom_DT", 2},  {"Dicom_AT", 1},  {"Dicom_AS", 1},  {"Dicom_UT", 1}};
    EXPECT_EQ(perClass, expected);
}

TEST(IODAttributeRegistry, ParsesNamesWithAndWithoutGroup) {
    int group = -1;
    std::string error;
    const IOD_AttributeInfo* rows = IOD_AttributeRegistry::ParseName("Rows_i:2", &group, &error);
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(IOD_AttributeRegistry::TagOf(*rows, group).GetTag(), 0x60040010u);
    EXPECT_EQ(
        IOD_AttributeRegistry::TagOf(*IOD_AttributeRegistry::ParseName("Rows", &group, &error)).GetTag(),
        0x00280010u);
    for (const char* bad : {"Rows_i", "Rows:1", "Rows_i:", "Rows_i:2x", "NoSuchName", "rows"}) {
        EXPECT_EQ(IOD_AttributeRegistry::ParseName(bad, &group, &error), nullptr) << bad;
    }
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
        const Dicom_ME* element = msg.GetElement(msg.GetNElements() - 1);
        if (info.aliasOf == nullptr) {
            writers[{element->GetTag().GetTag(), element->GetTag().GetImplementorID()}].insert(info.name);
        }
        EXPECT_EQ(element->GetTag().HasImplementor(), info.IsPrivate());
        if (info.repeatingGroup) {
            EXPECT_EQ(element->GetTag().GetGroup() & 0xFF, info.IsPrivate() ? 3 : 2);
        }

        // The meta information group is written only in a file image.
        const bool fileImage = element->GetTag().GetGroup() == 0x0002;
        // Implicit VR carries no class: a value reads back as the dictionary's VR for the tag.
        const bool implicitKeepsClass = Dicom_Dictionary::FindVR(element->GetTag()) == info.vr;
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
        if (names.size() > 1) {
            EXPECT_TRUE(sharedTags.count(names)) << Dicom_Tag(tag.first).ToString();
        }
    }
}
