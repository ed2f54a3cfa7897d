// IOD_Msg construction, tracing, copies and Clone.
#include <IOD/IOD_Msg.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "IodTestSupport.h"

namespace {

unsigned Low32(const void* p) { return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(p)); }
std::string Hex(const void* p) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", Low32(p));
    return text;
}

}  // namespace

TEST(IODMsg, EveryConstructorAndTheDestructorTraceOnceAtLevel7) {
    std::vector<unsigned char> bytes = EncodedSample();
    void* buf = bytes.data();
    const unsigned int len = static_cast<unsigned int>(bytes.size());
    FILE* file = std::tmpfile();
    std::fwrite(buf, 1, len, file);
    const Dicom_UI uid(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    const Dicom_TransferSyntax detect;
    const auto mem = Dicom_SwapInfo::FROM_MEMORY;
    IOD_Msg other;
    int status = 0;
    unsigned int used = 0;

    struct Case {
        std::function<IOD_Msg*()> make;
        int copyTraced;  // -1: "constructor 0x%x"; else "constructor %d buff %x copy=%d" with this copy
    };
    const Case cases[] = {
        {[&] { return new IOD_Msg(); }, -1},
        {[&] { return new IOD_Msg(buf, len, 1, &status); }, -1},
        {[&] { return new IOD_Msg(buf, len, 1, uid, &status, false, false); }, -1},
        {[&] { return new IOD_Msg(buf, len, 1, detect, &status); }, -1},
        {[&] { return new IOD_Msg(fileno(file), len, &used, detect, &status); }, -1},
        {[&] { return new IOD_Msg(other); }, -1},
        {[&] { return new IOD_Msg(buf, len, 0, mem, &status); }, 0},
        {[&] { return new IOD_Msg(buf, 0ULL + len, 1, uid, mem, &status, false); }, 1},
        {[&] { return new IOD_Msg(buf, len, 0, detect, mem, &status); }, 0},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        std::rewind(file);
        LogRecorder log(7);
        status = -5;
        IOD_Msg* msg = cases[i].make();
        const void* self = msg;
        EXPECT_NE(status, -1);
        delete msg;
        ASSERT_EQ(log.records.size(), 2u);
        for (const Kvl_LogRecord& r : log.records) {
            EXPECT_EQ(r.file, "inc/IOD/IOD_Msg");
            EXPECT_EQ(r.level, 7);
            EXPECT_EQ(r.category, 719);
        }
        EXPECT_EQ(log.records[0].function, "IOD_Msg::IOD_Msg");
        const int copy = cases[i].copyTraced;
        EXPECT_EQ(log.records[0].text, copy < 0
                                           ? "constructor 0x" + Hex(self)
                                           : "constructor " + std::to_string(static_cast<int>(Low32(self))) +
                                                 " buff " + Hex(buf) + " copy=" + std::to_string(copy));
        EXPECT_EQ(log.records[1].function, "IOD_Msg::~IOD_Msg");
        EXPECT_EQ(log.records[1].text, "destructor 0x" + Hex(self));
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

TEST(IODMsg, CopiesAssignmentAndCloneAreDeep) {
    std::vector<unsigned char> bytes = EncodedSample();
    int status = 0;
    IOD_Msg source(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status);
    source.SetRows_i(1, Dicom_US(64));
    source.SetMsgLength(Dicom_UL(1234));
    Dicom_SQ items;
    IOD_Msg* item = new IOD_Msg;
    item->SetCodeValue(Dicom_SH("T-04000"));
    items.AddItem(item);
    source.SetReferencedImageSequence(items);

    IOD_Msg copy(source);
    IOD_Msg assigned;
    {
        LogRecorder log(7);
        assigned = source;
        EXPECT_TRUE(log.records.empty());
    }
    Dicom_Msg* cloned = source.Clone();
    IOD_Msg* clone = dynamic_cast<IOD_Msg*>(cloned);
    ASSERT_NE(clone, nullptr);
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
    delete cloned;
}
