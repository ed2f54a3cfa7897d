// Tags, repeating groups, the private creator registry, the data dictionary and the UID dictionary.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UIDic.h>
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

// Copied while this file's static objects are built: the UID constants must be usable then.
const Dicom_UI g_ctStorageAtStaticInit = Dicom_UIDic::CT_IMAGE_STORAGE;
const Dicom_Tag g_kovelIsMgAtStaticInit = Dicom_Dictionary::KOVEL_IS_MG;
const unsigned short g_kovelIndexAtStaticInit = ImplementorIDVector::Index("KOVEL", 5);

// --- Dicom_Tag ---

TEST(TagRepeatingGroup, PublicAttributesTakeEvenGroupsOfTheirFamily) {
    for (unsigned base : {0x5000u, 0x6000u}) {
        for (int i : {0, 1, 15, 16, 64, 127}) {
            Dicom_Tag t(static_cast<unsigned short>(base), 0x0010);
            t.SetRepeatingGroup(i);
            EXPECT_EQ(t.GetGroup(), base + 2 * unsigned(i)) << std::hex << base << " index " << std::dec << i;
            EXPECT_EQ(t.GetElement(), 0x0010);
            EXPECT_FALSE(t.HasImplementor());
        }
    }
    // From any group of the family, not only the first.
    Dicom_Tag t(0x60FEu << 16 | 0x3000);
    EXPECT_EQ(t.SetRepeatingGroup(2).GetGroup(), 0x6004);
    EXPECT_EQ(t.SetRepeatingGroup(0).GetGroup(), 0x6000);
}

TEST(TagRepeatingGroup, PrivateAttributesTakeTheOddGroupAfterTheirPublicGroup) {
    Dicom_Tag text = D::QUORVEX1_TEXT_OVERLAY_STRING;
    const Dicom_Tag original = text;
    text.SetRepeatingGroup(3);
    EXPECT_EQ(text.GetGroup(), 0x6007);
    EXPECT_EQ(text.GetElement(), original.GetElement());
    EXPECT_EQ(text.GetImplementorID(), original.GetImplementorID());
    EXPECT_EQ(Dicom_Tag(D::KOVEL_CURVE_COLOR).SetRepeatingGroup(127).GetGroup(), 0x50FF);
    EXPECT_EQ(Dicom_Tag(D::KOVEL_CURVE_COLOR).SetRepeatingGroup(0).GetGroup(), 0x5001);
    // A private creator element of a repeating group moves with its data.
    EXPECT_EQ(Dicom_Tag(0x60010010u).SetRepeatingGroup(5).GetTag(), 0x600B0010u);
}

TEST(TagRepeatingGroup, OutOfRangeIndexOrForeignGroupGivesIllegalTag) {
    for (int i : {-1, 128, 255, 256, -128, 1 << 20}) {
        EXPECT_EQ(Dicom_Tag(0x60000010u).SetRepeatingGroup(i), Dicom_Tag::ILLEGAL_TAG) << i;
        EXPECT_EQ(Dicom_Tag(D::KOVEL_OVERLAY_COLOR).SetRepeatingGroup(i), Dicom_Tag::ILLEGAL_TAG) << i;
    }
    for (unsigned tag : {0x00280010u, 0x7FE00010u, 0x4FFE0010u, 0x70000010u, 0x00290010u}) {
        EXPECT_EQ(Dicom_Tag(tag).SetRepeatingGroup(0), Dicom_Tag::ILLEGAL_TAG) << std::hex << tag;
    }
    EXPECT_FALSE(Dicom_Tag::ILLEGAL_TAG.HasImplementor());
}

TEST(TagPrivate, UnresolveDropsTheBlockOfPrivateDataOnly) {
    Dicom_Tag resolved(0x0029, 0x1234, 7);
    resolved.Unresolve();
    EXPECT_EQ(resolved, Dicom_Tag(0x0029, 0x0034, 7));
    EXPECT_TRUE(resolved.IsUnresolvedPrivate());

    Dicom_Tag publicTag(0x00281050u);
    EXPECT_EQ(publicTag.Unresolve(), Dicom_Tag(0x00281050u));
    Dicom_Tag creator(0x00290011u);
    EXPECT_EQ(creator.Unresolve(), Dicom_Tag(0x00290011u));
    EXPECT_TRUE(creator.IsPrivateImplementor());
    Dicom_Tag noCreator(0x00291010u);  // private data whose creator is unknown keeps its block
    EXPECT_EQ(noCreator.Unresolve().GetElement(), 0x1010);
    EXPECT_FALSE(noCreator.IsPrivateImplementor());
}

TEST(TagIdentity, EqualityAndHashCoverGroupElementAndImplementor) {
    const Dicom_Tag a(0x0029, 0x1010, 3), b(0x0029, 0x1010, 3), c(0x0029, 0x1010, 4), d(0x0029, 0x1010);
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.hash(), b.hash());
    EXPECT_NE(a, c);
    EXPECT_NE(a, d);
    EXPECT_FALSE(a < c || c < a);  // the store orders by group and element only
}

TEST(TagText, ToStringAndThe32BitConstructor) {
    EXPECT_EQ(Dicom_Tag(0x7FE00010u).ToString(), "(7FE0,0010)");
    EXPECT_EQ(Dicom_Tag(0x0009, 0x00AB, 2).ToString(), "(0009,00AB)");
    EXPECT_EQ(Dicom_Tag(0x00280010u, nullptr), Dicom_Tag(0x0028, 0x0010));
}

// --- the standard dictionary ---

TEST(DictionaryLookup, SingleTagsGiveTheirAttribute) {
    struct Case {
        unsigned tag;
        Dicom_VR vr;
        const char* keyword;
        const char* name;
        const char* vm;
        bool retired;
    } cases[] = {
        {0x00280010, Dicom_VR::US, "Rows", "ROWS", "1", false},
        {0x00100010, Dicom_VR::PN, "PatientName", "PATIENT_NAME", "1", false},
        {0x00080018, Dicom_VR::UI, "SOPInstanceUID", "SOP_INSTANCE_UID", "1", false},
        {0x00200020, Dicom_VR::CS, "PatientOrientation", "PATIENT_ORIENTATION", "2", false},
        {0x00080005, Dicom_VR::CS, "SpecificCharacterSet", "SPECIFIC_CHARACTER_SET", "1-n", false},
        {0x00081155, Dicom_VR::UI, "ReferencedSOPInstanceUID", "REFERENCED_SOP_INSTANCE_UID", "1", false},
        {0x00101000, Dicom_VR::LO, "OtherPatientIDs", "OTHER_PATIENT_IDS", "1-n", true},
        {0x00020010, Dicom_VR::UI, "TransferSyntaxUID", "TRANSFER_SYNTAX_UID", "1", false},
        {0x00400275, Dicom_VR::SQ, "RequestAttributesSequence", "REQUEST_ATTRIBUTES_SEQUENCE", "1", false},
    };
    for (const Case& c : cases) {
        const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(c.tag));
        ASSERT_NE(e, nullptr) << std::hex << c.tag;
        EXPECT_EQ(e->vr, c.vr) << c.keyword;
        EXPECT_STREQ(e->keyword, c.keyword);
        EXPECT_STREQ(e->name, c.name);
        EXPECT_STREQ(e->vm, c.vm) << c.keyword;
        EXPECT_EQ(e->retired, c.retired) << c.keyword;
        EXPECT_FALSE(e->IsPrivate());
        EXPECT_EQ(D::FindVR(Dicom_Tag(c.tag)), c.vr) << c.keyword;
        EXPECT_EQ(e->GetTag(), Dicom_Tag(c.tag));
    }
    EXPECT_EQ(D::ROWS, Dicom_Tag(0x00280010u));
    EXPECT_EQ(D::PIXEL_DATA, Dicom_Tag(0x7FE00010u));
    EXPECT_EQ(D::PATIENT_ORIENTATION, Dicom_Tag(0x00200020u));
}

TEST(DictionaryLookup, RangesCoverRepeatingGroupsAndElementBlocks) {
    for (unsigned g = 0x6000; g <= 0x60FE; g += 2) {
        const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(g << 16 | 0x3000));
        ASSERT_NE(e, nullptr) << std::hex << g;
        EXPECT_STREQ(e->keyword, "OverlayData");
        EXPECT_TRUE(e->IsRange());
        EXPECT_EQ(D::FindVR(Dicom_Tag(g << 16 | 0x0010)), Dicom_VR::US);
    }
    EXPECT_EQ(D::OVERLAY_DATA, Dicom_Tag(0x60003000u));
    // Odd groups of the family are private: their data has no entry without its creator.
    EXPECT_EQ(D::Lookup(Dicom_Tag(0x60033000u)), nullptr);
    EXPECT_EQ(D::FindVR(Dicom_Tag(0x60033000u)), Dicom_VR::NONE);

    const Dicom_DictEntry* curve = D::Lookup(Dicom_Tag(0x50123000u));
    ASSERT_NE(curve, nullptr);
    EXPECT_STREQ(curve->keyword, "CurveData");
    EXPECT_TRUE(curve->retired);
    EXPECT_STREQ(D::Lookup(Dicom_Tag(0x50FE0005u))->keyword, "CurveDimensions");

    const Dicom_DictEntry* source = D::Lookup(Dicom_Tag(0x00203100u));
    ASSERT_NE(source, nullptr);
    EXPECT_STREQ(source->keyword, "SourceImageIDs");
    EXPECT_EQ(D::Lookup(Dicom_Tag(0x002031FEu)), source);
    EXPECT_STREQ(D::Lookup(Dicom_Tag(0x7F020010u))->keyword, "VariablePixelData");
    // The single tag wins over a range that would also match.
    EXPECT_STREQ(D::Lookup(Dicom_Tag(0x7FE00010u))->keyword, "PixelData");
}

TEST(DictionaryLookup, GroupLengthsAndPrivateCreatorsHaveFixedVRs) {
    EXPECT_STREQ(D::Lookup(Dicom_Tag(0x00020000u))->keyword, "FileMetaInformationGroupLength");
    for (unsigned g : {0x0008u, 0x0028u, 0x0029u, 0x6002u, 0x7FE0u, 0x0009u}) {
        EXPECT_EQ(D::FindVR(Dicom_Tag(g << 16)), Dicom_VR::UL) << std::hex << g;
        const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(g << 16));
        ASSERT_NE(e, nullptr) << std::hex << g;
        EXPECT_EQ(e->vr, Dicom_VR::UL);
    }
    for (unsigned tag : {0x00090010u, 0x002900FFu, 0x60030011u, 0x7FE10010u}) {
        EXPECT_EQ(D::FindVR(Dicom_Tag(tag)), Dicom_VR::LO) << std::hex << tag;
        ASSERT_NE(D::Lookup(Dicom_Tag(tag)), nullptr);
        EXPECT_EQ(D::Lookup(Dicom_Tag(tag))->vr, Dicom_VR::LO);
    }
    // Private data without a creator, and elements 0001-000F of a private group, are unknown.
    for (unsigned tag : {0x00291010u, 0x00290005u, 0x00290100u, 0x0029FFFFu}) {
        EXPECT_EQ(D::FindVR(Dicom_Tag(tag)), Dicom_VR::NONE) << std::hex << tag;
        EXPECT_EQ(D::Lookup(Dicom_Tag(tag)), nullptr) << std::hex << tag;
    }
    EXPECT_EQ(D::Lookup(Dicom_Tag(0x00080003u)), nullptr);  // not in the standard
    EXPECT_EQ(D::FindVR(Dicom_Tag(0x00180001u)), Dicom_VR::NONE);
    EXPECT_EQ(D::FindVR(Dicom_Tag(0xFFFEE000u)), Dicom_VR::NONE);  // items have no VR
    EXPECT_EQ(D::FindVR(Dicom_Tag::ILLEGAL_TAG), Dicom_VR::NONE);
}

TEST(DictionaryLookup, AmbiguousAttributesOfferBothVRs) {
    struct Case {
        unsigned tag;
        Dicom_VR first, second;
    } cases[] = {
        {0x00280106, Dicom_VR::US, Dicom_VR::SS},  // Smallest Image Pixel Value
        {0x00280120, Dicom_VR::US, Dicom_VR::SS},  // Pixel Padding Value
        {0x7FE00010, Dicom_VR::OW, Dicom_VR::OB},  // Pixel Data
        {0x60043000, Dicom_VR::OW, Dicom_VR::OB},  // Overlay Data
        {0x00283006, Dicom_VR::OW, Dicom_VR::US},  // LUT Data
    };
    for (const Case& c : cases) {
        const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(c.tag));
        ASSERT_NE(e, nullptr) << std::hex << c.tag;
        EXPECT_TRUE(e->IsAmbiguous()) << e->keyword;
        EXPECT_EQ(e->vr, c.first) << e->keyword;
        EXPECT_EQ(e->vr2, c.second) << e->keyword;
        EXPECT_EQ(D::FindVR(Dicom_Tag(c.tag)), c.first) << e->keyword;
    }
    EXPECT_EQ(D::FindVR(Dicom_Tag(0x00041400u)), Dicom_VR::UL);  // offsets in a directory
    EXPECT_FALSE(D::Lookup(Dicom_Tag(0x00041400u))->IsAmbiguous());
}

// Every attribute of DCMTK's data dictionary file, where installed, must be found with its keyword
// and VR; ranges are probed at their ends and just outside.
TEST(DictionaryLookup, AgreesWithTheDataDictionaryFile) {
    std::ifstream in("/usr/share/libdcmtk17/dicom.dic");
    if (!in) GTEST_SKIP() << "DCMTK's dicom.dic is not installed";
    std::string line;
    size_t checked = 0;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> f;
        std::stringstream ss(line);
        for (std::string x; std::getline(ss, x, '\t');)
            if (!x.empty()) f.push_back(x);
        ASSERT_GE(f.size(), 5u) << line;
        if (f[4].rfind("DICOM", 0) != 0) continue;
        std::string keyword = f[2];
        if (keyword.rfind("RETIRED_", 0) == 0) keyword = keyword.substr(8);
        const std::string& tag = f[0];  // (gggg,eeee) or (gggg-gggg,eeee) or (gggg,eeee-eeee)
        const unsigned group = std::stoul(tag.substr(1, 4), nullptr, 16);
        const bool groupRange = tag[5] == '-';
        const size_t comma = tag.find(',');
        const unsigned element = std::stoul(tag.substr(comma + 1, 4), nullptr, 16);
        const bool elementRange = tag[comma + 5] == '-';
        std::vector<unsigned> inside{group << 16 | element}, outside;
        if (groupRange) {
            const unsigned last = std::stoul(tag.substr(6, 4), nullptr, 16) - 1;
            inside.push_back(last << 16 | element);
            outside.push_back((group + 1) << 16 | element);
        }
        if (elementRange)
            inside.push_back(group << 16 | (std::stoul(tag.substr(comma + 6, 4), nullptr, 16) - 1));
        for (unsigned t : inside) {
            const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(t));
            ASSERT_NE(e, nullptr) << line;
            EXPECT_EQ(e->keyword.c_str(), keyword) << line;
            EXPECT_EQ(D::FindVR(Dicom_Tag(t)), e->vr) << line;
            if (f[1] == "na") {
                EXPECT_EQ(e->vr, Dicom_VR::NONE) << line;
            } else if (f[1] == "up") {
                EXPECT_EQ(e->vr, Dicom_VR::UL) << line;
            } else if (std::islower(static_cast<unsigned char>(f[1][0]))) {  // xs, ox, px, lt
                EXPECT_TRUE(e->IsAmbiguous()) << line;
            } else {
                EXPECT_EQ(Dicom_VRFromName(f[1].c_str()), e->vr) << line;
                EXPECT_FALSE(e->IsAmbiguous()) << line;
            }
            EXPECT_EQ(e->retired, f[4] == "DICOM/retired") << line;
            ++checked;
        }
        for (unsigned t : outside) {
            const Dicom_DictEntry* e = D::Lookup(Dicom_Tag(t));
            EXPECT_TRUE(e == nullptr || e->keyword.c_str() != keyword) << line;
        }
    }
    EXPECT_GT(checked, 4900u);
}

TEST(DictionaryByName, KeywordsAndUpperNamesFindTheSameEntry) {
    const std::pair<const char*, const char*> pairs[] = {
        {"PatientOrientation", "PATIENT_ORIENTATION"},
        {"SOPInstanceUID", "SOP_INSTANCE_UID"},
        {"PixelData", "PIXEL_DATA"},
        {"NumberOfFrames", "NUMBER_OF_FRAMES"},
        {"OverlayData", "OVERLAY_DATA"},
    };
    for (const auto& [keyword, name] : pairs) {
        const Dicom_DictEntry* byKeyword = D::LookupByName(keyword);
        ASSERT_NE(byKeyword, nullptr) << keyword;
        EXPECT_EQ(byKeyword, D::LookupByName(name)) << name;
        EXPECT_STREQ(byKeyword->name, name);
    }
    EXPECT_EQ(D::LookupByName("KOVEL_IS_MG")->GetTag(), D::KOVEL_IS_MG);
    for (const char* unknown : {"", "PatientNam", "PATIENT_NAME_", "patientname", "KOVEL_IS"})
        EXPECT_EQ(D::LookupByName(unknown), nullptr) << unknown;
    EXPECT_EQ(D::LookupByName(nullptr), nullptr);
}

TEST(DictionaryByName, EveryEntryIsFoundByBothItsNames) {
    std::set<std::string> names;
    for (size_t i = 0; i < D::StandardEntryCount(); ++i) {
        const Dicom_DictEntry& e = D::StandardEntry(i);
        EXPECT_EQ(D::LookupByName(e.keyword), &e) << e.keyword;
        EXPECT_EQ(D::LookupByName(e.name), &e) << e.name;
        EXPECT_TRUE(names.insert(e.name.c_str()).second) << "duplicate name " << e.name;
        EXPECT_NE(e.name[0], '\0');
    }
    for (size_t i = 0; i < D::PrivateEntryCount(); ++i)
        EXPECT_TRUE(names.insert(D::PrivateEntry(i).name.c_str()).second) << D::PrivateEntry(i).name;
}

TEST(DictionaryConstructTag, NamesAndHexTextGiveTags) {
    EXPECT_EQ(Dicom_Tag::Construct_Tag("PatientName", nullptr), Dicom_Tag(0x00100010u));
    EXPECT_EQ(Dicom_Tag::Construct_Tag("PATIENT_NAME", nullptr), Dicom_Tag(0x00100010u));
    EXPECT_EQ(Dicom_Tag::Construct_Tag(" PATIENT_ORIENTATION ", nullptr), D::PATIENT_ORIENTATION);
    EXPECT_EQ(Dicom_Tag::Construct_Tag("KOVEL_PATIENT_ORIENTATION", nullptr), D::KOVEL_PATIENT_ORIENTATION);
    EXPECT_EQ(Dicom_Tag::Construct_Tag("KOVEL_IS_MG", "KOVEL"), D::KOVEL_IS_MG);
    EXPECT_EQ(Dicom_Tag::Construct_Tag("KOVEL_IS_MG", "QUORVEX1"), Dicom_Tag::ILLEGAL_TAG);
    for (const char* hex : {"0028,0010", "(0028,0010)", "00280010", "(0028,0010) "})
        EXPECT_EQ(Dicom_Tag::Construct_Tag(hex, nullptr), Dicom_Tag(0x00280010u)) << hex;
    for (const char* bad : {"", "Rows2", "0028,001", "(0028,0010", "0028,00G0", "0028;0010", "280010"})
        EXPECT_EQ(Dicom_Tag::Construct_Tag(bad, nullptr), Dicom_Tag::ILLEGAL_TAG) << bad;
    EXPECT_EQ(Dicom_Tag::Construct_Tag(nullptr, nullptr), Dicom_Tag::ILLEGAL_TAG);
}

TEST(DictionaryConstructTag, PrivateTagsByCreatorAndGroup) {
    const unsigned short vendor = ImplementorIDVector::Index(std::string("TEST VENDOR CT"));
    EXPECT_EQ(Dicom_Tag::Construct_Tag("0019,10", "TEST VENDOR CT"), Dicom_Tag(0x0019, 0x0010, vendor));
    EXPECT_EQ(Dicom_Tag::Construct_Tag("(0019,1042)", "TEST VENDOR CT "), Dicom_Tag(0x0019, 0x0042, vendor));
    const Dicom_Tag kovel = Dicom_Tag::Construct_Tag("0029,39", "KOVEL");
    EXPECT_EQ(kovel.GetImplementorID(), D::KOVEL_IS_MG.GetImplementorID());
    EXPECT_EQ(Dicom_Tag::Construct_Tag("0028,10", "TEST VENDOR CT"), Dicom_Tag::ILLEGAL_TAG);  // even group
    EXPECT_EQ(Dicom_Tag::Construct_Tag("PatientName", "TEST VENDOR CT"), Dicom_Tag::ILLEGAL_TAG);
}

// --- the private creator registry ---

TEST(ImplementorRegistry, OwnCreatorsComeFirstInTableOrder) {
    ASSERT_GE(D::PrivateCreatorCount(), 4u);
    for (size_t i = 0; i < D::PrivateCreatorCount(); ++i) {
        const char* creator = D::PrivateCreator(i);
        EXPECT_EQ(ImplementorIDVector::Index(creator, std::strlen(creator)), i) << creator;
        EXPECT_EQ(ImplementorIDVector::Name(static_cast<unsigned short>(i)), creator);
    }
    EXPECT_EQ(D::PrivateCreator(D::PrivateCreatorCount()), nullptr);
    EXPECT_EQ(g_kovelIndexAtStaticInit, D::KOVEL_IS_MG.GetImplementorID());
    EXPECT_EQ(g_kovelIsMgAtStaticInit, D::KOVEL_IS_MG);
    EXPECT_EQ(ImplementorIDVector::Name(D::KOVEL_MSG_LENGTH.GetImplementorID()), "KOVEL");
    EXPECT_EQ(ImplementorIDVector::Name(D::QUORVEXCT_SEGMENTS.GetImplementorID()), "QUORVEXCT");
    EXPECT_EQ(ImplementorIDVector::Name(D::QUORVEXMRI_SCALING_FACTOR.GetImplementorID()), "QUORVEXMRI");
    EXPECT_EQ(ImplementorIDVector::Name(D::QUORVEX1_SEG_GRAPH.GetImplementorID()), "QUORVEX1");
}

TEST(ImplementorRegistry, PaddingIsIgnoredAndOtherBytesCount) {
    const unsigned short acme = ImplementorIDVector::Index("ACME MEDICAL", 12);
    EXPECT_EQ(ImplementorIDVector::Index("ACME MEDICAL ", 13), acme);
    EXPECT_EQ(ImplementorIDVector::Index(std::string("ACME MEDICAL\0", 13)), acme);
    EXPECT_EQ(ImplementorIDVector::Index(std::string("ACME MEDICAL \0 ", 15)), acme);
    EXPECT_NE(ImplementorIDVector::Index(" ACME MEDICAL", 13), acme);
    EXPECT_NE(ImplementorIDVector::Index("acme medical", 12), acme);
    EXPECT_NE(ImplementorIDVector::Index("ACME MEDICA", 11), acme);
    EXPECT_EQ(ImplementorIDVector::Name(acme), "ACME MEDICAL");
    EXPECT_EQ(ImplementorIDVector::NameView(acme), "ACME MEDICAL");
    EXPECT_EQ(ImplementorIDVector::Name(Dicom_Tag::NO_IMPLEMENTOR), "");

    int status = -1;
    const Dicom_LO lo("ACME MEDICAL ", &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(ImplementorIDVector::Index(lo), acme);

    // A creator far beyond any valid LO is not registered.
    const size_t before = ImplementorIDVector::Size();
    EXPECT_EQ(ImplementorIDVector::Index(std::string(5000, 'X')), Dicom_Tag::NO_IMPLEMENTOR);
    EXPECT_EQ(ImplementorIDVector::Size(), before);
    EXPECT_EQ(ImplementorIDVector::Index(nullptr, 4), Dicom_Tag::NO_IMPLEMENTOR);
}

// --- the private dictionary ---

TEST(PrivateDictionary, EveryEntryIsFoundInDictionaryAndMessageForm) {
    for (size_t i = 0; i < D::PrivateEntryCount(); ++i) {
        const Dicom_DictEntry& e = D::PrivateEntry(i);
        const Dicom_Tag tag = e.GetTag();
        ASSERT_TRUE(e.IsPrivate());
        EXPECT_EQ(e.creator.c_str(), std::string(ImplementorIDVector::Name(e.implementor))) << e.name;
        EXPECT_EQ(D::Lookup(tag), &e) << e.name;
        EXPECT_EQ(D::LookupByName(e.name), &e) << e.name;
        EXPECT_EQ(Dicom_Tag::Construct_Tag(e.name, e.creator), tag) << e.name;
        for (unsigned block : {0x10u, 0x11u, 0xFFu}) {  // resolved: any block the creator reserved
            const Dicom_Tag resolved(tag.GetGroup(),
                                     static_cast<unsigned short>(block << 8 | tag.GetElement()),
                                     tag.GetImplementorID());
            EXPECT_EQ(D::Lookup(resolved), &e) << e.name;
            EXPECT_EQ(D::FindVR(resolved), e.vr) << e.name;
        }
        // The same element without its creator, or with another creator of the table, is not it.
        EXPECT_NE(
            D::Lookup(Dicom_Tag(tag.GetGroup(), static_cast<unsigned short>(0x1000 | tag.GetElement()))), &e);
        const unsigned short other =
            static_cast<unsigned short>((e.implementor + 1) % D::PrivateCreatorCount());
        EXPECT_NE(D::Lookup(Dicom_Tag(tag.GetGroup(), tag.GetElement(), other)), &e) << e.name;
    }
}

TEST(PrivateDictionary, RepeatingGroupAttributesLiveInThePrivateGroupOfTheirFamily) {
    // The _i attributes: curves and histograms in 50xx, overlays and text in 60xx.
    const Dicom_Tag curves[] = {D::QUORVEX1_CURVE_COMPUTATION,
                                D::QUORVEX1_CURVE_TEXT_POSITION,
                                D::QUORVEX1_HISTOGRAM_X_RANGE,
                                D::QUORVEX1_HISTOGRAM_Y_RANGE,
                                D::QUORVEX1_PROFILE_RANGE,
                                D::QUORVEX1_PROFILE_THICKNESS,
                                D::QUORVEX1_ROI_ACCUMULATION_SIGN,
                                D::KOVEL_CURVE_COLOR,
                                D::KOVEL_CURVE_NESTED_ELEMENTS_SEQUENCE,
                                D::KOVEL_MP_BURNT_DATA,
                                D::KOVEL_CURVE_IS_LOCKED};
    const Dicom_Tag overlays[] = {D::QUORVEX1_TEXT_OVERLAY_STRING,
                                  D::QUORVEX1_TEXT_OVERLAY_POSITION,
                                  D::QUORVEX1_TEXT_OVERLAY_TYPE,
                                  D::QUORVEX1_TEXT_OVERLAY_GROUP_ID,
                                  D::QUORVEX1_TEXT_OVERLAY_ANCHOR_POINT_VISIBILITY,
                                  D::KOVEL_OVERLAY_COLOR,
                                  D::KOVEL_OVERLAY_IS_LOCKED,
                                  D::KOVEL_DISPLAY_TEXT_ANCHOR_AS_ARROW,
                                  D::KOVEL_SPINE_LABEL};
    for (const Dicom_Tag& t : curves) EXPECT_EQ(t.GetGroup(), 0x5001) << t.ToString();
    for (const Dicom_Tag& t : overlays) EXPECT_EQ(t.GetGroup(), 0x6001) << t.ToString();
    // Attributes without a group index stay out of both families.
    for (size_t i = 0; i < D::PrivateEntryCount(); ++i) {
        const Dicom_DictEntry& e = D::PrivateEntry(i);
        const unsigned group = e.tag >> 16;
        if (Dicom_Tag::IsRepeatingGroupFamily(static_cast<unsigned short>(group))) {
            EXPECT_TRUE(group == 0x5001 || group == 0x6001) << e.name;
        }
    }
    for (const Dicom_Tag& t :
         {D::KOVEL_IS_MG, D::KOVEL_ADDITIONAL_CURVES_SEQUENCE, D::QUORVEX1_MULTI_FORMAT_SEQUENCE})
        EXPECT_FALSE(Dicom_Tag::IsRepeatingGroupFamily(t.GetGroup())) << t.ToString();

    // An attribute moved to index i is still found, in the message form too.
    Dicom_Tag moved = D::QUORVEX1_TEXT_OVERLAY_STRING;
    moved.SetRepeatingGroup(9);
    moved.SetElement(static_cast<unsigned short>(0x1200 | moved.GetElement()));
    EXPECT_EQ(D::Lookup(moved), D::LookupByName("QUORVEX1_TEXT_OVERLAY_STRING"));
    EXPECT_EQ(D::FindVR(moved), Dicom_VR::LO);
    moved.SetGroup(0x6012);  // an even group holds public attributes only
    EXPECT_EQ(D::Lookup(moved), nullptr);
}

TEST(PrivateDictionary, TwoCreatorsShareAGroupWithoutMixingUp) {
    size_t shared = 0;
    for (size_t i = 0; i < D::PrivateEntryCount(); ++i)
        for (size_t j = 0; j < D::PrivateEntryCount(); ++j) {
            const Dicom_DictEntry &a = D::PrivateEntry(i), &b = D::PrivateEntry(j);
            if (a.implementor < b.implementor && a.tag == b.tag) {
                ++shared;
                EXPECT_EQ(D::Lookup(a.GetTag()), &a);
                EXPECT_EQ(D::Lookup(b.GetTag()), &b);
            }
        }
    EXPECT_GT(shared, 0u);
}

// Names and value classes of the attributes that the IOD layer uses, as listed for its accessors.
TEST(PrivateDictionary, NamedAttributesHaveTheVROfTheirValueClass) {
    const std::pair<const char*, Dicom_VR> expected[] = {
        {"QUORVEX1_ACQUISITION_DURATION", Dicom_VR::DS},
        {"QUORVEX1_CURVE_TEXT_POSITION", Dicom_VR::FL},
        {"QUORVEX1_QUORVEX1_DICTIONARY_VERSION", Dicom_VR::US},
        {"QUORVEX1_HISTOGRAM_X_RANGE", Dicom_VR::SL},
        {"QUORVEX1_MULTI_FORMAT_SEQUENCE", Dicom_VR::SQ},
        {"QUORVEX1_PIXEL_DATA_PADDING", Dicom_VR::OB},
        {"QUORVEX1_ROI_ACCUMULATION_SIGN", Dicom_VR::SS},
        {"QUORVEX1_TEXT_OVERLAY_GROUP_ID", Dicom_VR::UL},
        {"QUORVEX1_TEXT_OVERLAY_POSITION", Dicom_VR::FL},
        {"QUORVEX1_TEXT_OVERLAY_STRING", Dicom_VR::LO},
        {"QUORVEX1_SERIES_LABEL", Dicom_VR::SH},
        {"QUORVEXCT_ES_SEQUENCE", Dicom_VR::SQ},
        {"QUORVEXCT_EDGE_ENHANCEMENT_WEIGHT", Dicom_VR::US},
        {"QUORVEXCT_ES_LINE_INDEX", Dicom_VR::SS},
        {"QUORVEXCT_HEADER_RAW", Dicom_VR::OW},
        {"QUORVEXCT_PS_GROUP_COMMENT", Dicom_VR::SH},
        {"QUORVEXCT_SEG_MULTI_POINT2", Dicom_VR::OW},
        {"QUORVEXCT_TABLE_VELOCITY", Dicom_VR::DS},
        {"QUORVEXCT_GRID_TYPE", Dicom_VR::CS},
        {"QUORVEXMRI_DOCUMENT_FILE_NAME", Dicom_VR::LO},
        {"QUORVEXMRI_FRAME_NUMBER", Dicom_VR::UL},
        {"QUORVEXMRI_SCALING_FACTOR", Dicom_VR::FD},
        {"QUORVEXMRI_NUMBER_OF_FRAMES", Dicom_VR::US},
        {"KOVEL_ASSIGN_TO_DOCTOR", Dicom_VR::SH},
        {"KOVEL_COMPRESSED_PIXEL_DATA", Dicom_VR::OB},
        {"KOVEL_ENCRYPTED_PIXEL_DATA", Dicom_VR::OB},
        {"KOVEL_MSG_LENGTH", Dicom_VR::UL},
        {"KOVEL_ADDITIONAL_CURVES_SEQUENCE", Dicom_VR::SQ},
        {"KOVEL_DISPLAYED_AREA_SELECTION_SEQUENCE", Dicom_VR::SQ},
        {"KOVEL_FRAME_NUMBER", Dicom_VR::IS},
        {"KOVEL_IS_MG", Dicom_VR::CS},
        {"KOVEL_PATIENT_ORIENTATION", Dicom_VR::CS},
        {"KOVEL_FAKED_STUDY_DATE", Dicom_VR::DA},
        {"KOVEL_FAKED_STUDY_TIME", Dicom_VR::TM},
        {"KOVEL_INPUT_FILE_NAME", Dicom_VR::ST},
        {"KOVEL_SOURCE_AE", Dicom_VR::AE},
        {"KOVEL_SOURCE_ID", Dicom_VR::IS},
        {"KOVEL_CURVE_NESTED_ELEMENTS_SEQUENCE", Dicom_VR::SQ},
        {"KOVEL_STUDY_STATUS", Dicom_VR::CS},
        {"KOVEL_UPDATE_SEQUENCE", Dicom_VR::SQ},
        {"KOVEL_BOX_PARAMETERS", Dicom_VR::DS},
        {"KOVEL_DIMENSIONS_OF_LIST_VOLUME", Dicom_VR::US},
        {"KOVEL_LIST_VOLUME_DATA", Dicom_VR::OW},
        {"KOVEL_TISSUE_COLOR", Dicom_VR::US},
    };
    for (const auto& [name, vr] : expected) {
        const Dicom_DictEntry* e = D::LookupByName(name);
        ASSERT_NE(e, nullptr) << name;
        EXPECT_EQ(e->vr, vr) << name;
        EXPECT_EQ(D::FindVR(e->GetTag()), vr) << name;
    }
    EXPECT_EQ(D::PrivateEntryCount(), 165u);
}

// --- the UID dictionary ---

TEST(UIDDictionary, NamesAndEntriesOfStandardUIDs) {
    EXPECT_STREQ(Dicom_UIDic::Name("1.2.840.10008.5.1.4.1.1.2"), "CT Image Storage");
    EXPECT_STREQ(Dicom_UIDic::Name("1.2.840.10008.1.2.1"), "Explicit VR Little Endian");
    const char padded[] = "1.2.840.10008.5.1.4.1.1.4\0";  // a UI value with its NUL padding
    EXPECT_STREQ(Dicom_UIDic::Name(padded, sizeof padded - 1), "MR Image Storage");
    EXPECT_EQ(Dicom_UIDic::Name("1.2.840.10008.5.1.4.1.1"), nullptr);  // a prefix of many
    EXPECT_EQ(Dicom_UIDic::Name("1.2.840.10008.5.1.4.1.1.22"), nullptr);
    EXPECT_EQ(Dicom_UIDic::Name(nullptr), nullptr);

    const Dicom_UIDEntry* sc = Dicom_UIDic::FindByName("SecondaryCaptureImageStorage");
    ASSERT_NE(sc, nullptr);
    EXPECT_EQ(sc, Dicom_UIDic::FindByName("SECONDARY_CAPTURE_IMAGE_STORAGE"));
    EXPECT_STREQ(sc->uid, "1.2.840.10008.5.1.4.1.1.7");
    EXPECT_EQ(Dicom_UIDic::FindByName(""), nullptr);

    EXPECT_TRUE(Dicom_UIDic::IsStorageSOPClass("1.2.840.10008.5.1.4.1.1.2", 25));
    EXPECT_TRUE(
        Dicom_UIDic::IsStorageSOPClass("1.2.840.10008.5.1.4.1.1.1.2.1", 29));  // mammography for processing
    EXPECT_FALSE(Dicom_UIDic::IsStorageSOPClass("1.2.840.10008.1.20.1", 20));  // storage commitment
    EXPECT_FALSE(Dicom_UIDic::IsStorageSOPClass("1.2.840.10008.1.2.1", 19));   // a transfer syntax

    for (size_t i = 0; i < Dicom_UIDic::Count(); ++i) {
        const Dicom_UIDEntry& e = Dicom_UIDic::Entry(i);
        EXPECT_EQ(Dicom_UIDic::Find(e.uid), &e) << e.uid;
        int status = -1;
        const Dicom_UI value(e.uid, &status);
        EXPECT_EQ(status, 0) << e.uid;
        if (e.constant[0] != '\0') {
            EXPECT_EQ(Dicom_UIDic::FindByName(e.constant), &e) << e.constant;
        }
    }
    EXPECT_GT(Dicom_UIDic::Count(), 400u);
}

TEST(UIDDictionary, ConstantsHoldTheirUIDs) {
    EXPECT_EQ(Text(Dicom_UIDic::CT_IMAGE_STORAGE), "1.2.840.10008.5.1.4.1.1.2");
    EXPECT_EQ(Text(Dicom_UIDic::MR_IMAGE_STORAGE), "1.2.840.10008.5.1.4.1.1.4");
    EXPECT_EQ(Text(Dicom_UIDic::SECONDARY_CAPTURE_IMAGE_STORAGE), "1.2.840.10008.5.1.4.1.1.7");
    EXPECT_EQ(Text(Dicom_UIDic::IMPLICIT_VR_LITTLE_ENDIAN), "1.2.840.10008.1.2");
    EXPECT_EQ(Text(Dicom_UIDic::EXPLICIT_VR_LITTLE_ENDIAN), "1.2.840.10008.1.2.1");
    EXPECT_EQ(Text(Dicom_UIDic::DEFLATED_EXPLICIT_VR_LITTLE_ENDIAN), "1.2.840.10008.1.2.1.99");
    EXPECT_EQ(Text(Dicom_UIDic::EXPLICIT_VR_BIG_ENDIAN), "1.2.840.10008.1.2.2");
    EXPECT_EQ(Text(Dicom_UIDic::RLE_LOSSLESS), "1.2.840.10008.1.2.5");
    EXPECT_EQ(Text(Dicom_UIDic::DIGITAL_MAMMOGRAPHY_X_RAY_IMAGE_STORAGE_FOR_PRESENTATION),
              "1.2.840.10008.5.1.4.1.1.1.2");
    EXPECT_EQ(Text(g_ctStorageAtStaticInit), "1.2.840.10008.5.1.4.1.1.2");
}

}  // namespace
