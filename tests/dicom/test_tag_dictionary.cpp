// Tags, repeating groups, the private creator registry, the data dictionary (checked against
// DCMTK's dictionary file) and the UID dictionary.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using D = Dicom_Dictionary;

std::string Text(const Dicom_Type& value) {
    std::string s(reinterpret_cast<const char*>(value.GetData()), value.GetRawLen());
    while (!s.empty() && (s.back() == '\0' || s.back() == ' ')) s.pop_back();
    return s;
}

// Copied while this file's static objects are built: the constants must be usable then.
const Dicom_UI g_ctStorageAtStaticInit = Dicom_UIDic::CT_IMAGE_STORAGE;
const Dicom_Tag g_kovelIsMgAtStaticInit = Dicom_Dictionary::KOVEL_IS_MG;
const unsigned short g_kovelIndexAtStaticInit = ImplementorIDVector::Index("KOVEL", 5);

TEST(TagRepeatingGroup, IndexSelectsTheGroupOfItsFamily) {
    // (tag, index, group): from any group of the family; a private creator moves with its data.
    const std::tuple<uint32_t, int, unsigned> cases[] = {{0x50000010, 0, 0x5000},
                                                         {0x50000010, 15, 0x501E},
                                                         {0x60000010, 64, 0x6080},
                                                         {0x60000010, 127, 0x60FE},
                                                         {0x60FE3000, 2, 0x6004},
                                                         {0x60010010, 5, 0x600B},
                                                         {D::KOVEL_CURVE_COLOR.GetTag(), 0, 0x5001},
                                                         {D::KOVEL_CURVE_COLOR.GetTag(), 127, 0x50FF}};
    for (const auto& [tag, index, group] : cases) {
        const Dicom_Tag t = Dicom_Tag(tag).SetRepeatingGroup(index);
        EXPECT_EQ(t.GetGroup(), group) << std::hex << tag << " " << std::dec << index;
        EXPECT_EQ(t.GetElement(), Dicom_Tag(tag).GetElement());
    }
    Dicom_Tag text = D::QUORVEX1_TEXT_OVERLAY_STRING;
    EXPECT_EQ(text.SetRepeatingGroup(3).GetImplementorID(),
              D::QUORVEX1_TEXT_OVERLAY_STRING.GetImplementorID());
}

TEST(TagRepeatingGroup, OutOfRangeIndexOrForeignGroupGivesIllegalTag) {
    for (int i : {-1, 128, 255, 256, 1 << 20}) {
        EXPECT_EQ(Dicom_Tag(0x60000010u).SetRepeatingGroup(i), Dicom_Tag::ILLEGAL_TAG) << i;
        EXPECT_EQ(Dicom_Tag(D::KOVEL_OVERLAY_COLOR).SetRepeatingGroup(i), Dicom_Tag::ILLEGAL_TAG) << i;
    }
    for (unsigned tag : {0x00280010u, 0x4FFE0010u, 0x70000010u, 0x00290010u})
        EXPECT_EQ(Dicom_Tag(tag).SetRepeatingGroup(0), Dicom_Tag::ILLEGAL_TAG) << std::hex << tag;
}

TEST(TagIdentity, UnresolveEqualityAndText) {
    Dicom_Tag resolved(0x0029, 0x1234, 7);
    EXPECT_EQ(resolved.Unresolve(), Dicom_Tag(0x0029, 0x0034, 7));  // drops the block only
    EXPECT_TRUE(resolved.IsUnresolvedPrivate());
    EXPECT_EQ(Dicom_Tag(0x00281050u).Unresolve(), Dicom_Tag(0x00281050u));
    EXPECT_EQ(Dicom_Tag(0x00291010u).Unresolve().GetElement(), 0x1010);  // no creator: keeps its block
    const Dicom_Tag a(0x0029, 0x1010, 3), b(0x0029, 0x1010, 3), c(0x0029, 0x1010, 4);
    EXPECT_TRUE(a == b && a.hash() == b.hash());
    EXPECT_NE(a, c);
    EXPECT_FALSE(a < c || c < a);  // the store orders by group and element only
    EXPECT_EQ(Dicom_Tag(0x7FE00010u).ToString(), "(7FE0,0010)");
}

TEST(DictionaryLookup, GroupLengthsCreatorsAndUnknownTags) {
    // Odd groups of the repeating families are private: (6003,3000) is unknown without a creator.
    const std::pair<uint32_t, Dicom_VR> cases[] = {
        {0x00080000, Dicom_VR::UL},   {0x00290000, Dicom_VR::UL},   {0x60020000, Dicom_VR::UL},
        {0x00090010, Dicom_VR::LO},   {0x002900FF, Dicom_VR::LO},   {0x60030011, Dicom_VR::LO},
        {0x00291010, Dicom_VR::NONE}, {0x00290005, Dicom_VR::NONE}, {0x0029FFFF, Dicom_VR::NONE},
        {0x60033000, Dicom_VR::NONE}, {0x00080003, Dicom_VR::NONE}, {0xFFFEE000, Dicom_VR::NONE}};
    for (const auto& [tag, vr] : cases) {
        const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(tag));
        EXPECT_EQ(D::FindVR(Dicom_Tag(tag)), vr) << std::hex << tag;
        EXPECT_EQ(e ? e->vr : Dicom_VR::NONE, vr) << std::hex << tag;
    }
    const std::tuple<uint32_t, Dicom_VR, Dicom_VR> ambiguous[] = {{0x00280106, Dicom_VR::US, Dicom_VR::SS},
                                                                  {0x7FE00010, Dicom_VR::OW, Dicom_VR::OB},
                                                                  {0x60043000, Dicom_VR::OW, Dicom_VR::OB},
                                                                  {0x00283006, Dicom_VR::OW, Dicom_VR::US}};
    for (const auto& [tag, first, second] : ambiguous) {
        const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(tag));
        ASSERT_NE(e, nullptr) << std::hex << tag;
        EXPECT_TRUE(e->IsAmbiguous() && e->vr == first && e->vr2 == second) << e->keyword;
    }
}

// Every attribute of DCMTK's data dictionary file must be found with its keyword, VR and
// retirement; ranges are probed at their ends and just outside.
TEST(DictionaryLookup, AgreesWithTheDataDictionaryFile) {
    std::ifstream in("/usr/share/libdcmtk17/dicom.dic");
    if (!in) GTEST_SKIP() << "DCMTK's dicom.dic is not installed";
    std::string line;
    size_t checked = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::string tag, vr, keyword, vm, version;  // tag: (gggg,eeee), (gggg-gggg,eeee) or (gggg,eeee-eeee)
        ASSERT_TRUE(std::istringstream(line) >> tag >> vr >> keyword >> vm >> version) << line;
        if (version.rfind("DICOM", 0) != 0) continue;
        if (keyword.rfind("RETIRED_", 0) == 0) keyword = keyword.substr(8);
        const unsigned group = std::stoul(tag.substr(1, 4), nullptr, 16);
        const size_t comma = tag.find(',');
        const unsigned element = std::stoul(tag.substr(comma + 1, 4), nullptr, 16);
        std::vector<unsigned> inside{group << 16 | element}, outside;
        if (tag[5] == '-') {
            inside.push_back((std::stoul(tag.substr(6, 4), nullptr, 16) - 1) << 16 | element);
            outside.push_back((group + 1) << 16 | element);
        }
        if (tag[comma + 5] == '-')
            inside.push_back(group << 16 | (std::stoul(tag.substr(comma + 6, 4), nullptr, 16) - 1));
        for (unsigned t : inside) {
            const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(t));
            ASSERT_NE(e, nullptr) << line;
            EXPECT_EQ(e->keyword.c_str(), keyword) << line;
            EXPECT_EQ(D::FindVR(Dicom_Tag(t)), e->vr) << line;
            const bool vrAgrees = vr == "na"   ? e->vr == Dicom_VR::NONE
                                  : vr == "up" ? e->vr == Dicom_VR::UL
                                  : std::islower(static_cast<unsigned char>(vr[0]))  // xs, ox, px, lt
                                      ? e->IsAmbiguous()
                                      : Dicom_VRFromName(vr.c_str()) == e->vr && !e->IsAmbiguous();
            EXPECT_TRUE(vrAgrees) << line;
            EXPECT_EQ(e->retired, version == "DICOM/retired") << line;
            ++checked;
        }
        for (unsigned t : outside)
            EXPECT_TRUE(!D::Lookup(Dicom_Tag(t)) || D::Lookup(Dicom_Tag(t))->keyword.c_str() != keyword)
                << line;
    }
    EXPECT_GT(checked, 4900u);
}

TEST(DictionaryByName, EveryEntryIsFoundByKeywordAndUpperName) {
    EXPECT_STREQ(D::LookupByName("SOPInstanceUID")->name, "SOP_INSTANCE_UID");
    for (const char* unknown : {"", "PatientNam", "PATIENT_NAME_", "patientname", "KOVEL_IS"})
        EXPECT_EQ(D::LookupByName(unknown), nullptr) << unknown;
    EXPECT_EQ(D::LookupByName(nullptr), nullptr);
    std::set<std::string> names;
    for (size_t i = 0; i < D::StandardEntryCount(); ++i) {
        const Dicom_DictEntry& e = D::StandardEntry(i);
        EXPECT_EQ(D::LookupByName(e.keyword), &e) << e.keyword;
        EXPECT_EQ(D::LookupByName(e.name), &e) << e.name;
        EXPECT_TRUE(names.insert(e.name.c_str()).second) << "duplicate " << e.name;
    }
    for (size_t i = 0; i < D::PrivateEntryCount(); ++i)
        EXPECT_TRUE(names.insert(D::PrivateEntry(i).name.c_str()).second) << D::PrivateEntry(i).name;
}

TEST(DictionaryConstructTag, NamesHexTextAndPrivateCreators) {
    const std::tuple<const char*, const char*, Dicom_Tag> cases[] = {
        {"PatientName", nullptr, Dicom_Tag(0x00100010u)},
        {" PATIENT_ORIENTATION ", nullptr, D::PATIENT_ORIENTATION},
        {"KOVEL_PATIENT_ORIENTATION", nullptr, D::KOVEL_PATIENT_ORIENTATION},
        {"KOVEL_IS_MG", "KOVEL", D::KOVEL_IS_MG},
        {"KOVEL_IS_MG", "QUORVEX1", Dicom_Tag::ILLEGAL_TAG},
        {"(0028,0010) ", nullptr, Dicom_Tag(0x00280010u)},
        {"00280010", nullptr, Dicom_Tag(0x00280010u)},
        {"0029,39", "KOVEL", D::KOVEL_IS_MG},
        {"(0019,1042)", "TEST VENDOR CT ",
         Dicom_Tag(0x0019, 0x0042, ImplementorIDVector::Index("TEST VENDOR CT", 14))},
        {"0028,10", "TEST VENDOR CT", Dicom_Tag::ILLEGAL_TAG},
        {"PatientName", "TEST VENDOR CT", Dicom_Tag::ILLEGAL_TAG},
        {nullptr, nullptr, Dicom_Tag::ILLEGAL_TAG}};
    for (const auto& [text, creator, tag] : cases)
        EXPECT_EQ(Dicom_Tag::Construct_Tag(text, creator), tag) << text;
    for (const char* bad : {"", "Rows2", "0028,001", "(0028,0010", "0028,00G0", "0028;0010", "280010"})
        EXPECT_EQ(Dicom_Tag::Construct_Tag(bad, nullptr), Dicom_Tag::ILLEGAL_TAG) << bad;
}

TEST(ImplementorRegistry, OwnCreatorsFirstPaddingIgnoredOtherBytesCount) {
    for (size_t i = 0; i < D::PrivateCreatorCount(); ++i) {
        const char* creator = D::PrivateCreator(i);
        EXPECT_EQ(ImplementorIDVector::Index(creator, std::strlen(creator)), i) << creator;
    }
    EXPECT_EQ(D::PrivateCreator(D::PrivateCreatorCount()), nullptr);
    EXPECT_EQ(g_kovelIndexAtStaticInit, D::KOVEL_IS_MG.GetImplementorID());
    EXPECT_EQ(g_kovelIsMgAtStaticInit, D::KOVEL_IS_MG);

    const unsigned short acme = ImplementorIDVector::Index("ACME MEDICAL", 12);
    for (const std::string& same : {std::string("ACME MEDICAL "), std::string("ACME MEDICAL \0 ", 15)})
        EXPECT_EQ(ImplementorIDVector::Index(same), acme) << same;
    for (const char* other : {" ACME MEDICAL", "acme medical", "ACME MEDICA"})
        EXPECT_NE(ImplementorIDVector::Index(std::string(other)), acme) << other;
    EXPECT_EQ(ImplementorIDVector::Index(Dicom_LO("ACME MEDICAL ", nullptr)), acme);
    EXPECT_EQ(ImplementorIDVector::Name(acme), "ACME MEDICAL");
    const size_t before = ImplementorIDVector::Size();  // far beyond any LO: not registered
    EXPECT_EQ(ImplementorIDVector::Index(std::string(5000, 'X')), Dicom_Tag::NO_IMPLEMENTOR);
    EXPECT_EQ(ImplementorIDVector::Size(), before);
}

TEST(PrivateDictionary, EveryEntryIsFoundInDictionaryAndMessageForm) {
    size_t shared = 0;
    for (size_t i = 0; i < D::PrivateEntryCount(); ++i) {
        const Dicom_DictEntry& e = D::PrivateEntry(i);
        const Dicom_Tag tag = e.GetTag();
        EXPECT_EQ(e.creator.c_str(), std::string(ImplementorIDVector::Name(e.implementor))) << e.name;
        EXPECT_EQ(D::Lookup(tag), &e) << e.name;
        EXPECT_EQ(Dicom_Tag::Construct_Tag(e.name, e.creator), tag) << e.name;
        for (unsigned block : {0x10u, 0xFFu}) {  // resolved: any block the creator reserved
            const Dicom_Tag resolved(tag.GetGroup(),
                                     static_cast<unsigned short>(block << 8 | tag.GetElement()),
                                     tag.GetImplementorID());
            EXPECT_EQ(D::Lookup(resolved), &e) << e.name;
            EXPECT_EQ(D::FindVR(resolved), e.vr) << e.name;
        }
        const unsigned short other =
            static_cast<unsigned short>((e.implementor + 1) % D::PrivateCreatorCount());
        EXPECT_NE(D::Lookup(Dicom_Tag(tag.GetGroup(), tag.GetElement(), other)), &e) << e.name;
        const unsigned group = e.tag >> 16;  // the _i attributes live in the private group of index 0
        EXPECT_TRUE(!Dicom_Tag::IsRepeatingGroupFamily(static_cast<unsigned short>(group)) ||
                    group == 0x5001 || group == 0x6001)
            << e.name;
        for (size_t j = 0; j < i; ++j) shared += D::PrivateEntry(j).tag == e.tag;
    }
    EXPECT_GT(shared, 0u);  // two creators share a group and element without mixing up
    Dicom_Tag moved = D::QUORVEX1_TEXT_OVERLAY_STRING;
    moved.SetRepeatingGroup(9);
    moved.SetElement(static_cast<unsigned short>(0x1200 | moved.GetElement()));
    EXPECT_EQ(D::FindVR(moved), Dicom_VR::LO);
    moved.SetGroup(0x6012);  // an even group holds public attributes only
    EXPECT_EQ(D::Lookup(moved), nullptr);
}

// Names and value classes of the private attributes that the IOD layer uses.
TEST(PrivateDictionary, NamedAttributesHaveTheVROfTheirValueClass) {
    for (const std::string entry :
         {"QUORVEX1_ACQUISITION_DURATION DS", "QUORVEX1_CURVE_TEXT_POSITION FL",
          "QUORVEX1_HISTOGRAM_X_RANGE SL", "QUORVEX1_QUORVEX1_DICTIONARY_VERSION US",
          "QUORVEX1_MULTI_FORMAT_SEQUENCE SQ", "QUORVEX1_PIXEL_DATA_PADDING OB",
          "QUORVEX1_ROI_ACCUMULATION_SIGN SS", "QUORVEX1_TEXT_OVERLAY_GROUP_ID UL", "QUORVEXCT_HEADER_RAW OW",
          "QUORVEXCT_GRID_TYPE CS", "QUORVEXMRI_SCALING_FACTOR FD", "KOVEL_ASSIGN_TO_DOCTOR SH",
          "KOVEL_MSG_LENGTH UL", "KOVEL_FRAME_NUMBER IS", "KOVEL_FAKED_STUDY_DATE DA",
          "KOVEL_FAKED_STUDY_TIME TM", "KOVEL_INPUT_FILE_NAME ST", "KOVEL_SOURCE_AE AE",
          "QUORVEX1_TEXT_OVERLAY_STRING LO"}) {
        const Dicom_DictEntry* e = D::LookupByName(entry.substr(0, entry.size() - 3).c_str());
        ASSERT_NE(e, nullptr) << entry;
        EXPECT_EQ(D::FindVR(e->GetTag()), Dicom_VRFromName(entry.substr(entry.size() - 2).c_str())) << entry;
    }
    EXPECT_EQ(D::PrivateEntryCount(), 165u);
}

TEST(UIDDictionary, NamesEntriesAndConstants) {
    const char padded[] = "1.2.840.10008.5.1.4.1.1.4\0";  // a UI value with its NUL padding
    EXPECT_STREQ(Dicom_UIDic::Name(padded, sizeof padded - 1), "MR Image Storage");
    EXPECT_EQ(Dicom_UIDic::Name("1.2.840.10008.5.1.4.1.1"), nullptr);  // a prefix of many
    EXPECT_STREQ(Dicom_UIDic::FindByName("SecondaryCaptureImageStorage")->uid, "1.2.840.10008.5.1.4.1.1.7");
    EXPECT_TRUE(Dicom_UIDic::IsStorageSOPClass("1.2.840.10008.5.1.4.1.1.1.2.1", 29));
    EXPECT_FALSE(Dicom_UIDic::IsStorageSOPClass("1.2.840.10008.1.20.1", 20));  // storage commitment
    for (size_t i = 0; i < Dicom_UIDic::Count(); ++i) {
        const Dicom_UIDEntry& e = Dicom_UIDic::Entry(i);
        EXPECT_EQ(Dicom_UIDic::Find(e.uid), &e) << e.uid;
        int status = -1;
        const Dicom_UI value(e.uid, &status);
        EXPECT_EQ(status, 0) << e.uid;
        EXPECT_TRUE(e.constant[0] == '\0' || Dicom_UIDic::FindByName(e.constant) == &e) << e.constant;
    }
    EXPECT_GT(Dicom_UIDic::Count(), 400u);
    EXPECT_EQ(Text(Dicom_UIDic::DIGITAL_MAMMOGRAPHY_X_RAY_IMAGE_STORAGE_FOR_PRESENTATION),
              "1.2.840.10008.5.1.4.1.1.1.2");
    EXPECT_EQ(Text(g_ctStorageAtStaticInit), "1.2.840.10008.5.1.4.1.1.2");
}

}  // namespace
