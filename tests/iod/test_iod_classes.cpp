// The IOD class tree: constructors and their traces, deep copies, the secondary capture defaults,
// the defined-term constants and the message on the session heap.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_CRImage.h>
#include <IOD/IOD_CTImage.h>
#include <IOD/IOD_IOImage.h>
#include <IOD/IOD_MFImage.h>
#include <IOD/IOD_MGImage.h>
#include <IOD/IOD_SessionHeapMsg.h>
#include <IOD/IOD_StructuredReporting.h>
#include <IOD/IOD_Tissue.h>
#include <Kvl/Kvl_SingletonHeap.h>
#include <Kvl/Kvl_Version.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "IodTestSupport.h"

namespace {

// A static object that reads the constants while it is built: they must already be there.
struct StaticUser {
    std::string photometric = IOD_Image::MONOCHROME2.ToString();
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

// Each constructor form (the classes share theirs) builds one message with the sample's attributes (or none)
// and writes one constructor and one destructor record (category 719, level 7, through the virtual
// destructor).
TEST(IODClasses, EveryConstructorBuildsOneMessageAndTracesItsLifeOnce) {
    std::vector<unsigned char> bytes = EncodedSample();
    void* buf = bytes.data();
    const auto len = static_cast<unsigned int>(bytes.size());
    FILE* file = std::tmpfile();
    std::fwrite(buf, 1, len, file);
    const Dicom_UI uid(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    const Dicom_TransferSyntax syntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN), detect;
    const auto mem = Dicom_SwapInfo::FROM_MEMORY;
    int status = 0;
    unsigned int used = 0;
    IOD_Msg other(buf, len, 1, &status);
    IOD_CTImage ct(buf, len, 1, &status);
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
        {[&] { return new IOD_IOImage(buf, len, 0, &status); }, true, -1},
        {[&] { return new IOD_MGImage(); }, false, -1},
        {[&] { return new IOD_StructuredReporting(buf, len, 1, uid, &status); }, true, -1},
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
        std::vector<Kvl_LogRecord> traces;
        for (const Kvl_LogRecord& r : log.records)
            if (r.category == 719 && r.level == 7 && r.file == "inc/IOD/IOD_Msg") traces.push_back(r);
        ASSERT_EQ(traces.size(), 2u);
        const int copy = cases[i].copyTraced;
        EXPECT_EQ(traces[0].function, "IOD_Msg::IOD_Msg");
        EXPECT_EQ(traces[0].text, copy < 0 ? "constructor 0x" + Hex(self)
                                           : "constructor " + std::to_string(static_cast<int>(Low32(self))) +
                                                 " buff " + Hex(buf) + " copy=" + std::to_string(copy));
        EXPECT_EQ(traces[1].function, "IOD_Msg::~IOD_Msg");
        EXPECT_EQ(traces[1].text, "destructor 0x" + Hex(self));
    }
    std::rewind(file);
    EXPECT_EQ(IOD_Msg(fileno(file), len, &used, detect, &status).GetSource(), 1);
    std::fclose(file);
    EXPECT_EQ(IOD_Msg(buf, len, 1, &status).GetSource(), 0);
    EXPECT_EQ(IOD_Msg(buf, len, 1, Dicom_SwapInfo::FROM_FILE, &status).GetSource(),
              Dicom_SwapInfo::FROM_FILE);
}

// Copies, assignment (which writes no trace) and Clone are deep, in IOD_Msg and in the classes.
TEST(IODClasses, CopiesAssignmentAndCloneAreDeep) {
    std::vector<unsigned char> bytes = EncodedSample();
    int status = 0;
    IOD_Msg source(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
    Dicom_SQ items;
    IOD_Msg* item = new IOD_Msg;
    item->SetCodeValue(Dicom_SH("T-04000"));
    items.AddItem(item);
    source.SetReferencedImageSequence(items);
    IOD_Msg copy(source), assigned;
    IOD_Tissue tissue, tissueSource(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    {
        LogRecorder log(7);
        assigned = source;
        tissue = tissueSource;
        EXPECT_TRUE(log.records.empty());
    }
    EXPECT_EQ(Encoded(tissue), Encoded(tissueSource));  // the capture defaults are replaced too
    std::unique_ptr<Dicom_Msg> cloned(source.Clone());
    ASSERT_NE(dynamic_cast<IOD_Msg*>(cloned.get()), nullptr);
    for (IOD_Msg* m : {&copy, &assigned, static_cast<IOD_Msg*>(cloned.get())}) {
        EXPECT_EQ(Encoded(*m), Encoded(source));
        m->RemovePatientsName();
        static_cast<Dicom_SQ*>(m->Find(Dicom_Dictionary::REFERENCED_IMAGE_SEQUENCE)->GetChangeableData())
            ->GetItem(0)
            ->Remove(Dicom_Dictionary::CODE_VALUE);
    }
    EXPECT_EQ(source.GetPatientsName(), Dicom_PN("Doe^Jane"));
    EXPECT_EQ(source.GetReferencedImageSequence(), items);
}

// Secondary capture images (and only they) start with the capture device attributes.
TEST(IODClasses, SecondaryCaptureDefaultsOnlyWhenDefaultConstructed) {
    const std::string defaults = std::string("PR|Orvane|Orvane|") + Kvl_Version::GetVersionString() + "|";
    const IOD_SCImage sc;
    const IOD_MFImage mf;
    const IOD_Tissue tissue;
    for (const IOD_Msg* msg : std::initializer_list<const IOD_Msg*>{&sc, &mf, &tissue}) {
        std::string text;
        for (const Dicom_Tag& t :
             {Dicom_Dictionary::CONVERSION_TYPE, Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_MANUFACTURER,
              Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_MANUFACTURER_MODEL_NAME,
              Dicom_Dictionary::SECONDARY_CAPTURE_DEVICE_SOFTWARE_VERSIONS})
            text += Text(msg->Get(t)) + "|";
        EXPECT_EQ(text, defaults);
        EXPECT_EQ(msg->GetNElements(), 4);
    }
    EXPECT_EQ(IOD_CTImage().GetNElements(), 0);
    std::vector<unsigned char> bytes = EncodedSample();
    int status = 0;
    EXPECT_EQ(IOD_MFImage(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status).GetNElements(),
              3);
}

// Values written out here, not taken from the table the constants are made from.
TEST(DefinedTerms, ConstantsHoldTheirWholeTextAndVR) {
    EXPECT_EQ(IOD_Image::WSD, Dicom_CS("PR", nullptr));
    EXPECT_EQ(IOD_Image::CM2S, IOD_Image::CMS2);
    EXPECT_EQ(IOD_Image::BASE_MAMMO_ELLLIPSE.ToString().size(), 16u);
    EXPECT_EQ(IOD_Image::PERSISTENT_ELLIPSE.ToString(), "PERSISTENT_ELLIPSE");
    EXPECT_EQ(IOD_Image::ENERGY_WINDOW_VECTOR.GetTag(0), Dicom_Tag(0x0054, 0x0010));
    EXPECT_EQ(IOD_Image::UNKNOWN.GetVR(), Dicom_VR::LO);
    EXPECT_EQ(IOD_Image::UNKNOWN.ToString(), "Unknown");
    EXPECT_EQ(IOD_Image::NM_99SDM.GetVR(), Dicom_VR::SH);
    EXPECT_EQ(IOD_Image::NM_99SDM.ToString(), "99SDM");
    EXPECT_EQ(g_staticUser.photometric, "MONOCHROME2");
    EXPECT_EQ(g_staticUser.vector.GetTag(0), Dicom_Tag(0x0054, 0x0100));
}

// Allocated on the session heap and freed there through the base; bad input leaves a usable message.
TEST(IODSessionHeapMsg, LivesOnThePrivateHeapAndDetectsTheSyntax) {
    Kvl_PrivateHeap* heap = Kvl_SingletonHeap::GetInstance(Kvl_SessionHeap);
    const Kvl_PrivateHeap::Stats before = heap->GetStats();
    std::vector<unsigned char> bytes = EncodedSample(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN);
    int status = -5;
    IOD_Msg* msg = new IOD_SessionHeapMsg(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status,
                                          Dicom_SwapInfo::FROM_MEMORY);
    EXPECT_EQ(heap->GetStats().allocations, before.allocations + 1);
    EXPECT_EQ(msg->GetTransferSyntax().GetKind(), Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN);
    EXPECT_EQ(msg->GetPatientsName(), Dicom_PN("Doe^Jane"));
    delete msg;
    EXPECT_EQ(heap->GetStats().bytesInUse, before.bytesInUse);

    unsigned char junk[] = {0x10, 0x00, 0x10, 0x00, 'P', 'N', 0x7F, 0x00, 'D', 'o', 'e'};
    IOD_SessionHeapMsg bad(junk, sizeof junk, 1, &status, Dicom_SwapInfo::FROM_MEMORY);
    EXPECT_NE(status, 0);
    EXPECT_EQ(bad.SetRows(Dicom_US(2)), 0);
    EXPECT_EQ(static_cast<unsigned short>(bad.GetRows()), 2);
}
