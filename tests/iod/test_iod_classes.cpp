// The IOD class tree: constructors, assignment, the secondary capture defaults, the defined-term
// constants, the tissue volume accessors and the message on the session heap.
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
#include <IOD/IOD_SessionHeapMsg.h>
#include <IOD/IOD_StructuredReporting.h>
#include <IOD/IOD_Tissue.h>
#include <IOD/IOD_USImage.h>
#include <IOD/IOD_VLImage.h>
#include <IOD/IOD_XAImage.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <Kvl/Kvl_Version.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
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

unsigned Low32(const void* p) { return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(p)); }
std::string Hex(const void* p) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", Low32(p));
    return text;
}

}  // namespace

// Every constructor of IOD_Msg and of the classes: one message with the sample's attributes (or
// none), one constructor and one destructor record (category 719, level 7, through the virtual
// destructor), the buffer forms with their own text.
TEST(IODClasses, EveryConstructorBuildsOneMessageAndTracesItsLifeOnce) {
    std::vector<unsigned char> bytes = EncodedSample();
    void* buf = bytes.data();
    const unsigned int len = static_cast<unsigned int>(bytes.size());
    FILE* file = std::tmpfile();
    std::fwrite(buf, 1, len, file);
    const Dicom_UI uid(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    const Dicom_TransferSyntax syntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN), detect;
    const auto mem = Dicom_SwapInfo::FROM_MEMORY;
    int status = 0;
    unsigned int used = 0;
    IOD_Msg other(buf, len, 1, &status);
    IOD_CTImage ct(buf, len, 1, &status);
    IOD_MFImage mf;
    IOD_Tissue tissue(buf, len, 0, &status);
    struct Case {
        std::function<IOD_Msg*()> make;
        bool holdsSample;
        int copyTraced;  // -1: "constructor 0x%x"; else "constructor %d buff %x copy=%d" with this copy
    };
    const Case cases[] = {
        {[&] { return new IOD_Msg(); }, false, -1},
        {[&] { return new IOD_Msg(buf, len, 1, &status); }, true, -1},
        {[&] { return new IOD_Msg(buf, len, 1, uid, &status, false, false); }, true, -1},
        {[&] { return new IOD_Msg(buf, len, 1, detect, &status); }, true, -1},
        {[&] { return new IOD_Msg(fileno(file), len, &used, detect, &status); }, true, -1},
        {[&] { return new IOD_Msg(other); }, true, -1},
        {[&] { return new IOD_Msg(buf, len, 0, mem, &status); }, true, 0},
        {[&] { return new IOD_Msg(buf, 0ULL + len, 1, uid, mem, &status, false); }, true, 1},
        {[&] { return new IOD_Msg(buf, len, 0, detect, mem, &status); }, true, 0},
        {[&] { return new IOD_IOD(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_Image(buf, len, 1, syntax, &status); }, true, -1},
        {[&] { return new IOD_CRImage(buf, len, 1, &status); }, true, -1},
        {[&] { return new IOD_CTImage(ct); }, true, -1},
        {[&] { return new IOD_DXImage(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_IOImage(buf, len, 0, &status); }, true, -1},
        {[&] { return new IOD_MGImage(); }, false, -1},
        {[&] { return new IOD_MRImage(buf, len, 1, syntax, &status); }, true, -1},
        {[&] { return new IOD_NMImage(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_RFImage(buf, len, 1, syntax, &status); }, true, -1},
        {[&] { return new IOD_RTImage(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_SCImage(buf, len, 1, syntax, &status); }, true, -1},
        {[&] { return new IOD_USImage(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_VLImage(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_XAImage(buf, len, 1, syntax, &status); }, true, -1},
        {[&] { return new IOD_StructuredReporting(buf, len, 1, uid, &status); }, true, -1},
        {[&] { return new IOD_MFImage(mf); }, false, -1},
        {[&] { return new IOD_Tissue(tissue); }, true, -1},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        std::rewind(file);
        LogRecorder log(7);
        status = -5;
        IOD_Msg* msg = cases[i].make();
        const void* self = msg;
        EXPECT_NE(status, -1);
        EXPECT_EQ(Text(msg->Get(Dicom_Dictionary::ACCESSION_NUMBER)),
                  cases[i].holdsSample ? "ACC-1" : "<absent>");
        delete msg;  // through the virtual base
        std::vector<const Kvl_LogRecord*> traces;
        for (const Kvl_LogRecord& r : log.records)
            if (r.category == 719) traces.push_back(&r);
        ASSERT_EQ(traces.size(), 2u);
        for (const Kvl_LogRecord* r : traces) {
            EXPECT_EQ(r->file, "inc/IOD/IOD_Msg");
            EXPECT_EQ(r->level, 7);
        }
        EXPECT_EQ(traces[0]->function, "IOD_Msg::IOD_Msg");
        const int copy = cases[i].copyTraced;
        EXPECT_EQ(traces[0]->text, copy < 0 ? "constructor 0x" + Hex(self)
                                            : "constructor " + std::to_string(static_cast<int>(Low32(self))) +
                                                  " buff " + Hex(buf) + " copy=" + std::to_string(copy));
        EXPECT_EQ(traces[1]->function, "IOD_Msg::~IOD_Msg");
        EXPECT_EQ(traces[1]->text, "destructor 0x" + Hex(self));
    }
    std::rewind(file);
    IOD_Msg fromHandle(fileno(file), len, &used, detect, &status);
    EXPECT_EQ(fromHandle.GetSource(), 1);
    EXPECT_EQ(fromHandle.GetAccessionNumber(), Dicom_SH("ACC-1"));
    std::fclose(file);
    EXPECT_EQ(IOD_Msg(buf, len, 1, &status).GetSource(), 0);
    EXPECT_EQ(IOD_Msg(buf, len, 1, Dicom_SwapInfo::FROM_FILE, &status).GetSource(),
              Dicom_SwapInfo::FROM_FILE);
    LogRecorder quiet(6);
    { IOD_Msg msg(buf, len, 1, &status); }
    EXPECT_TRUE(quiet.records.empty());
}

// Copies, assignment (which writes no trace) and Clone are deep, in IOD_Msg and in the classes.
TEST(IODClasses, CopiesAssignmentAndCloneAreDeep) {
    std::vector<unsigned char> bytes = EncodedSample();
    const auto len = static_cast<unsigned int>(bytes.size());
    int status = 0;
    IOD_Msg source(bytes.data(), len, 0, &status);
    source.SetRows_i(1, Dicom_US(64));
    source.SetMsgLength(Dicom_UL(1234));
    Dicom_SQ items;
    IOD_Msg* item = new IOD_Msg;
    item->SetCodeValue(Dicom_SH("T-04000"));
    items.AddItem(item);
    source.SetReferencedImageSequence(items);

    IOD_Msg copy(source), assigned;
    IOD_CTImage ct, ctSource(bytes.data(), len, 1, &status);
    IOD_Tissue tissue, tissueSource(bytes.data(), len, 1, &status);
    ct.SetRows(Dicom_US(7));
    {
        LogRecorder log(7);
        assigned = source;
        ct = ctSource;
        tissue = tissueSource;
        EXPECT_TRUE(log.records.empty());
    }
    EXPECT_EQ(Encoded(ct), Encoded(ctSource));
    EXPECT_EQ(Encoded(tissue), Encoded(tissueSource));  // the capture defaults are replaced too
    const IOD_CTImage& same = ct;
    ct = same;  // self-assignment keeps the data set
    EXPECT_EQ(Encoded(ct), Encoded(ctSource));
    std::unique_ptr<Dicom_Msg> cloned(source.Clone());
    IOD_Msg* clone = dynamic_cast<IOD_Msg*>(cloned.get());
    ASSERT_NE(clone, nullptr);
    IOD_NMImage nm(bytes.data(), len, 1, &status), nmCopy(nm);
    nm.RemoveAccessionNumber();
    EXPECT_EQ(nmCopy.GetAccessionNumber(), Dicom_SH("ACC-1"));
    for (IOD_Msg* m : {&copy, &assigned, clone}) {
        EXPECT_EQ(m->GetNElements(), source.GetNElements());
        EXPECT_EQ(m->GetPatientsName(), Dicom_PN("Doe^Jane"));
        EXPECT_EQ(static_cast<unsigned short>(m->GetRows_i(1)), 64);
        EXPECT_EQ(static_cast<unsigned int>(m->GetMsgLength()), 1234u);
        EXPECT_EQ(m->GetReferencedImageSequence(), items);
        m->RemovePatientsName();
        m->SetAccessionNumber(Dicom_SH("CHANGED"));
    }
    EXPECT_EQ(source.GetPatientsName(), Dicom_PN("Doe^Jane"));
    EXPECT_EQ(source.GetAccessionNumber(), Dicom_SH("ACC-1"));
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

// Values written out here, not taken from the table the constants are made from.
TEST(DefinedTerms, ConstantsHoldTheirWholeTextAndVR) {
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

TEST(IODSessionHeapMsg, LivesOnThePrivateHeapAndDetectsTheSyntax) {
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    for (auto kind :
         {Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN, Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN}) {
        const Kvl_PrivateHeap::Stats before = heap->GetStats();
        std::vector<unsigned char> bytes = EncodedSample(kind);
        int status = -5;
        LogRecorder log(7);
        IOD_Msg* msg = new IOD_SessionHeapMsg(bytes.data(), static_cast<unsigned int>(bytes.size()), 0,
                                              &status, Dicom_SwapInfo::FROM_MEMORY);
        EXPECT_EQ(heap->GetStats().allocations, before.allocations + 1);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(msg->GetTransferSyntax().GetKind(), kind);
        EXPECT_EQ(msg->GetPatientsName(), Dicom_PN("Doe^Jane"));
        ASSERT_FALSE(log.records.empty());
        EXPECT_EQ(log.records[0].text.rfind("constructor 0x", 0), 0u);
        delete msg;  // through the base: the class's operator delete still applies
        EXPECT_EQ(heap->GetStats().frees, before.frees + 1);
        EXPECT_EQ(heap->GetStats().bytesInUse, before.bytesInUse);
    }
    const Kvl_PrivateHeap::Stats before = heap->GetStats();
    void* block = IOD_SessionHeapMsg::operator new[](3 * sizeof(IOD_SessionHeapMsg));
    IOD_SessionHeapMsg::operator delete[](block);
    EXPECT_EQ(heap->GetStats().arrayAllocations, before.arrayAllocations + 1);
    EXPECT_EQ(heap->GetStats().arrayFrees, before.arrayFrees + 1);
}

TEST(IODSessionHeapMsg, MalformedBufferLeavesAUsableMessageAndAFailedStatus) {
    unsigned char junk[] = {0x10, 0x00, 0x10, 0x00, 'P', 'N', 0x7F, 0x00, 'D', 'o', 'e'};
    int status = 0;
    IOD_SessionHeapMsg msg(junk, sizeof junk, 1, &status, Dicom_SwapInfo::FROM_MEMORY);
    EXPECT_NE(status, 0);
    EXPECT_EQ(msg.SetRows(Dicom_US(2)), 0);
    EXPECT_EQ(static_cast<unsigned short>(msg.GetRows()), 2);
}
