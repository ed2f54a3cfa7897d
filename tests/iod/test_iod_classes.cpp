// The IOD class tree: constructors, assignment, the secondary capture defaults, the defined-term
// constants and the tissue volume accessors.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_CRImage.h>
#include <IOD/IOD_CTImage.h>
#include <IOD/IOD_DXImage.h>
#include <IOD/IOD_IOImage.h>
#include <IOD/IOD_MFImage.h>
#include <IOD/IOD_MGImage.h>
#include <IOD/IOD_MRImage.h>
#include <IOD/IOD_NMImage.h>
#include <IOD/IOD_RFImage.h>
#include <IOD/IOD_RTImage.h>
#include <IOD/IOD_SCImage.h>
#include <IOD/IOD_StructuredReporting.h>
#include <IOD/IOD_Tissue.h>
#include <IOD/IOD_USImage.h>
#include <IOD/IOD_VLImage.h>
#include <IOD/IOD_XAImage.h>
#include <Kvl/Kvl_Version.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <type_traits>

#include "IodTestSupport.h"

namespace {

using Ts = const Dicom_TransferSyntax&;
using Uid = const Dicom_UI&;

// The constructor overloads and assignment each class offers: (class, syntax ctor, UID ctor,
// assignable). Default, copy and (buffer, length, copy, status) are offered by all.
template <class C, bool Syntax, bool UidCtor, bool Assignable>
constexpr bool Offers() {
    return std::is_default_constructible_v<C> && std::is_copy_constructible_v<C> &&
           std::is_constructible_v<C, void*, unsigned int, int, int*> &&
           std::is_constructible_v<C, void*, unsigned int, int, Ts, int*> == Syntax &&
           std::is_constructible_v<C, void*, unsigned int, int, Uid, int*> == UidCtor &&
           std::is_copy_assignable_v<C> == Assignable && std::has_virtual_destructor_v<C> &&
           std::is_base_of_v<IOD_Msg, C>;
}
static_assert(Offers<IOD_IOD, true, true, true>());
static_assert(Offers<IOD_Image, true, true, true>());
static_assert(Offers<IOD_CRImage, true, true, false>());
static_assert(Offers<IOD_CTImage, true, true, true>());
static_assert(Offers<IOD_DXImage, false, true, false>());
static_assert(Offers<IOD_IOImage, false, true, false>());
static_assert(Offers<IOD_MGImage, false, true, false>());
static_assert(Offers<IOD_MRImage, true, true, true>());
static_assert(Offers<IOD_NMImage, true, true, false>());
static_assert(Offers<IOD_RFImage, true, true, false>());
static_assert(Offers<IOD_RTImage, false, true, false>());
static_assert(Offers<IOD_SCImage, true, true, true>());
static_assert(Offers<IOD_USImage, true, true, false>());
static_assert(Offers<IOD_VLImage, false, true, false>());
static_assert(Offers<IOD_XAImage, true, true, false>());
static_assert(Offers<IOD_StructuredReporting, true, true, false>());
static_assert(Offers<IOD_MFImage, false, false, true>());
static_assert(Offers<IOD_Tissue, false, false, true>());
static_assert(std::is_base_of_v<IOD_SCImage, IOD_MFImage> && std::is_base_of_v<IOD_SCImage, IOD_Tissue>);

// A static object of a user that reads the constants while it is built (default initialisation
// order): the constants must already be there.
struct StaticUser {
    std::string photometric = IOD_Image::MONOCHROME2.ToString();
    Dicom_LO unknown{IOD_Image::UNKNOWN};
    Dicom_AT vector{IOD_Image::TIME_SLICE_VECTOR};
};
const StaticUser g_staticUser;

std::string Text(const Dicom_Type* v) { return v ? v->ToString() : "<absent>"; }

std::vector<unsigned char> Encoded(const IOD_Msg& msg) {
    std::vector<unsigned char> out;
    msg.Encode(out, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN), false);
    return out;
}

int Count(const LogRecorder& log, int category, const std::string& prefix) {
    int n = 0;
    for (const auto& r : log.records) n += r.category == category && r.text.rfind(prefix, 0) == 0;
    return n;
}

}  // namespace

TEST(IODClasses, EveryConstructorBuildsOneMessageAndTheDestructorChainRunsThroughIODMsg) {
    std::vector<unsigned char> bytes = EncodedSample();
    void* buf = bytes.data();
    const unsigned int len = static_cast<unsigned int>(bytes.size());
    const Dicom_UI uid(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    const Dicom_TransferSyntax syntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    int status = 0;
    IOD_CTImage ct(buf, len, 1, &status);
    IOD_MFImage mf;
    IOD_Tissue tissue(buf, len, 0, &status);
    // (factory, holds the sample's attributes)
    const std::pair<std::function<IOD_Msg*()>, bool> cases[] = {
        {[&] { return new IOD_IOD(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_Image(buf, len, 1, syntax, &status); }, true},
        {[&] { return new IOD_CRImage(buf, len, 1, &status); }, true},
        {[&] { return new IOD_CTImage(ct); }, true},
        {[&] { return new IOD_DXImage(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_IOImage(buf, len, 0, &status); }, true},
        {[&] { return new IOD_MGImage(); }, false},
        {[&] { return new IOD_MRImage(buf, len, 1, syntax, &status); }, true},
        {[&] { return new IOD_NMImage(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_RFImage(buf, len, 1, syntax, &status); }, true},
        {[&] { return new IOD_RTImage(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_SCImage(buf, len, 1, syntax, &status); }, true},
        {[&] { return new IOD_USImage(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_VLImage(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_XAImage(buf, len, 1, syntax, &status); }, true},
        {[&] { return new IOD_StructuredReporting(buf, len, 1, uid, &status); }, true},
        {[&] { return new IOD_MFImage(mf); }, false},
        {[&] { return new IOD_Tissue(tissue); }, true},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        LogRecorder log(7);
        status = -5;
        IOD_Msg* msg = cases[i].first();
        EXPECT_NE(status, -1);
        EXPECT_EQ(Text(msg->Get(Dicom_Dictionary::ACCESSION_NUMBER)), cases[i].second ? "ACC-1" : "<absent>");
        delete msg;  // through the virtual base
        EXPECT_EQ(Count(log, 719, "constructor"), 1);
        EXPECT_EQ(Count(log, 719, "destructor"), 1);
    }
}

TEST(IODClasses, AssignmentCopiesTheDataSetWithoutTracing) {
    std::vector<unsigned char> bytes = EncodedSample();
    int status = 0;
    IOD_CTImage source(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    IOD_CTImage ct;
    ct.SetRows(Dicom_US(7));
    IOD_Tissue tissue;
    IOD_Tissue tissueSource(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    LogRecorder log(7);
    ct = source;
    tissue = tissueSource;
    EXPECT_TRUE(log.records.empty());
    EXPECT_EQ(Encoded(ct), Encoded(source));
    EXPECT_EQ(Encoded(tissue), Encoded(tissueSource));  // the capture defaults are replaced too
    const IOD_CTImage& same = ct;
    ct = same;  // self-assignment keeps the data set
    EXPECT_EQ(Encoded(ct), Encoded(source));
    // a copy is independent of its source
    IOD_NMImage nm(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    IOD_NMImage copy(nm);
    nm.RemoveAccessionNumber();
    EXPECT_EQ(copy.GetAccessionNumber(), Dicom_SH("ACC-1"));
}

TEST(IODClasses, SecondaryCaptureDefaultsOnlyWhenDefaultConstructed) {
    const std::string version = Kvl_Version::GetVersionString();
    std::vector<std::unique_ptr<IOD_SCImage>> fresh;
    fresh.push_back(std::make_unique<IOD_SCImage>());
    fresh.push_back(std::make_unique<IOD_MFImage>());
    fresh.push_back(std::make_unique<IOD_Tissue>());
    for (const auto& msg : fresh) {
        EXPECT_EQ(Text(msg->Get(Dicom_Dictionary::CONVERSION_TYPE)), "PR");
        EXPECT_EQ(Text(msg->Get(Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_MANUFACTURER)), "Orvane");
        EXPECT_EQ(Text(msg->Get(Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_MANUFACTURER_MODEL_NAME)),
                  "Orvane");
        EXPECT_EQ(Text(msg->Get(Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_SOFTWARE_VERSIONS)), version);
        EXPECT_EQ(msg->GetNElements(), 4);
    }
    EXPECT_EQ(IOD_CTImage().GetNElements(), 0);  // other default constructors write nothing

    std::vector<unsigned char> bytes = EncodedSample();
    int status = 0;
    IOD_MFImage parsed(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    EXPECT_EQ(parsed.GetNElements(), 3);
    EXPECT_EQ(parsed.Get(Dicom_Dictionary::CONVERSION_TYPE), nullptr);
    IOD_Tissue copied(IOD_Tissue(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status));
    EXPECT_EQ(copied.GetNElements(), 3);
}

TEST(DefinedTerms, EveryConstantHoldsItsWholeText) {
    // the table expanded once more, against the constants as the library built them
    struct Term {
        const char* name;
        const Dicom_Type& value;
        std::string text;
    };
    const Term terms[] = {
#define IOD_TERM_CS(NAME, TEXT) {#NAME, IOD_Image::NAME, TEXT},
#define IOD_TERM_AT(NAME, GROUP, ELEMENT) {#NAME, IOD_Image::NAME, Dicom_AT(GROUP, ELEMENT).ToString()},
#define IOD_TERM_SH(NAME, TEXT) {#NAME, IOD_Image::NAME, TEXT},
#define IOD_TERM_LO(NAME, TEXT) {#NAME, IOD_Image::NAME, TEXT},
#include <IOD/tables/IOD_DefinedTerms.def>
#undef IOD_TERM_CS
#undef IOD_TERM_AT
#undef IOD_TERM_SH
#undef IOD_TERM_LO
    };
    EXPECT_EQ(std::size(terms), 319u);
    std::set<std::string> names;
    int differ = 0;
    for (const Term& t : terms) {
        names.insert(t.name);
        EXPECT_EQ(t.value.ToString(), t.text) << t.name;
        differ += t.value.GetVR() == Dicom_VR::CS && t.text != t.name;
    }
    EXPECT_EQ(names.size(), 319u);
    EXPECT_EQ(differ, 32);  // the named exceptions among the code strings

    EXPECT_EQ(IOD_Image::WSD, Dicom_CS("PR", nullptr));
    EXPECT_EQ(IOD_Image::WSD, IOD_Image::PR);
    EXPECT_NE(IOD_Image::WSD, Dicom_CS("WSD", nullptr));
    EXPECT_EQ(IOD_Image::CM2S, IOD_Image::CMS2);
    EXPECT_EQ(IOD_Image::BASE_MAMMO_ELLLIPSE.ToString().size(), 16u);
    EXPECT_EQ(IOD_Image::PERSISTENT_ELLIPSE.ToString(), "PERSISTENT_ELLIPSE");
    EXPECT_EQ(IOD_Image::TIME_SLICE_VECTOR.GetTag(0), Dicom_Tag(0x0054, 0x0100));
    EXPECT_EQ(IOD_Image::ENERGY_WINDOW_VECTOR.GetTag(0), Dicom_Dictionary::ENERGY_WINDOW_VECTOR);
    EXPECT_EQ(IOD_Image::UNKNOWN.GetVR(), Dicom_VR::LO);
    EXPECT_EQ(IOD_Image::UNKNOWN.ToString(), "Unknown");
    EXPECT_EQ(IOD_Image::NM_99SDM.GetVR(), Dicom_VR::SH);
    EXPECT_EQ(IOD_Image::NM_99SDM.ToString(), "99SDM");

    // read by a static object of the test program while it was built
    EXPECT_EQ(g_staticUser.photometric, "MONOCHROME2");
    EXPECT_EQ(g_staticUser.unknown.ToString(), "Unknown");
    EXPECT_EQ(g_staticUser.vector.GetTag(0), Dicom_Tag(0x0054, 0x0100));
}

TEST(Tissue, VolumeAttributesAreNamedPrivateAttributes) {
    IOD_Tissue tissue;
    EXPECT_EQ(tissue.GetTissueColor(), US_NULL);
    EXPECT_EQ(tissue.GetListVolumeData(), OW_NULL);
    EXPECT_EQ(tissue.GetBoxParameters(), DS_NULL);
    EXPECT_EQ(tissue.GetDimensionsOfListVolume(), US_NULL);

    const std::vector<unsigned short> color = {255, 128, 0};
    const std::vector<unsigned short> dims = {4, 2, 1};
    unsigned char voxels[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(tissue.SetTissueColor(Dicom_US(color)), 0);
    EXPECT_EQ(tissue.SetDimensionsOfListVolume(Dicom_US(dims)), 0);
    EXPECT_EQ(tissue.SetListVolumeData(Dicom_OW(voxels, sizeof voxels, 1, nullptr)), 0);
    EXPECT_EQ(tissue.SetBoxParameters(Dicom_DS("1.5\\-2\\3", nullptr)), 0);

    // round trip through the encoded form: the private block and its creator are written
    std::vector<unsigned char> bytes = Encoded(tissue);
    int status = 0;
    IOD_Tissue parsed(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(parsed.GetTissueColor().GetValues(), color);
    EXPECT_EQ(parsed.GetDimensionsOfListVolume().GetValues(), dims);
    EXPECT_EQ(parsed.GetListVolumeData().GetRawLen(), sizeof voxels);
    EXPECT_EQ(parsed.GetBoxParameters().GetVM(), 3);
    EXPECT_EQ(Text(parsed.Get(Dicom_Dictionary::KOVEL_TISSUE_COLOR)),
              Text(tissue.Get(Dicom_Dictionary::KOVEL_TISSUE_COLOR)));

    IOD_Tissue copy(parsed);
    EXPECT_EQ(Encoded(copy), Encoded(parsed));
    EXPECT_EQ(copy.RemoveTissueColor(), 0);
    EXPECT_EQ(copy.GetTissueColor(), US_NULL);
    EXPECT_NE(copy.RemoveTissueColor(), 0);
    EXPECT_EQ(parsed.GetTissueColor().GetValues(), color);
}

TEST(SequenceHelpers, CheckNItemsInSequenceCountsItemsOfSequencesOnly) {
    IOD_Image image;
    Dicom_SQ sq;
    sq.AddItem(new Dicom_Msg());
    sq.AddItem(new Dicom_Msg());
    image.Set(Dicom_Dictionary::CONTENT_SEQUENCE, &sq);
    image.Set(Dicom_Dictionary::REFERENCED_IMAGE_SEQUENCE, &SQ_NULL);
    image.SetRows(Dicom_US(2));
    Dicom_ME* two = image.Find(Dicom_Dictionary::CONTENT_SEQUENCE);
    EXPECT_EQ(image.CheckNItemsInSequence(two, 2), 1);
    EXPECT_EQ(image.CheckNItemsInSequence(two, 1), 0);
    EXPECT_EQ(image.CheckNItemsInSequence(image.Find(Dicom_Dictionary::REFERENCED_IMAGE_SEQUENCE), 0), 1);
    EXPECT_EQ(image.CheckNItemsInSequence(image.Find(Dicom_Dictionary::ROWS), 2), 0);  // not a sequence
    EXPECT_EQ(image.CheckNItemsInSequence(nullptr, 0), 0);
}
