// GetDumpLen and Get allocate nothing: sizing a message before it is written and reading a
// value are on the hot path of every service, and both must stay off the heap. The counter
// sees every malloc of the process (operator new included); it is inactive under sanitizers
// and valgrind, where these tests skip.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_UI.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../../bench/alloc_counter.h"
#include "test_codec_builder.h"

namespace {

std::vector<unsigned char> ReadTestFile(const char* name) {
    return testbytes::ReadFile(testbytes::PydicomFile(name));
}

class AllocFree : public ::testing::Test {
protected:
    void SetUp() override {
        if (!AllocCounterWorks()) GTEST_SKIP() << "allocation counter inactive (sanitizer or valgrind)";
    }

    // Sizes `msg` in every native syntax through both overloads, counting allocations, and
    // checks each valid length against what Encode writes, so that a GetDumpLen that merely
    // gave up would not pass.
    static void ExpectSizingAllocatesNothing(const Dicom_Msg& msg, const std::string& what) {
        const std::vector<Dicom_TransferSyntax> syntaxes = {
            Dicom_TransferSyntax(),
            Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN),
            Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN),
            Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN),
        };
        const std::vector<Dicom_UI> uids = {
            Dicom_UI(Dicom_TransferSyntax::IMPLICIT_LITTLE_UID),
            Dicom_UI(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID),
            Dicom_UI(Dicom_TransferSyntax::EXPLICIT_BIG_UID),
        };
        const SCompressionParms params{};
        std::vector<Dicom_DumpLen> bySyntax(syntaxes.size());
        std::vector<Dicom_DumpLen> byUid(uids.size());
        long afterSyntax = 0;
        long afterUid = 0;
        // One call each first: one-time set-up of process-wide tables may allocate once.
        for (size_t i = 0; i < syntaxes.size(); ++i) (void)msg.GetDumpLen(syntaxes[i]);
        for (size_t i = 0; i < uids.size(); ++i) (void)msg.GetDumpLen(uids[i], 0, params, nullptr);
        {
            AllocCountScope count;
            for (size_t i = 0; i < syntaxes.size(); ++i) bySyntax[i] = msg.GetDumpLen(syntaxes[i]);
            afterSyntax = count.Count();
            for (size_t i = 0; i < uids.size(); ++i) byUid[i] = msg.GetDumpLen(uids[i], 0, params, nullptr);
            afterUid = count.Count();
        }
        // Only now: a failing expectation allocates its message.
        EXPECT_EQ(afterSyntax, 0) << what << ": GetDumpLen(Dicom_TransferSyntax) allocated";
        EXPECT_EQ(afterUid - afterSyntax, 0) << what << ": GetDumpLen(Dicom_UI, ...) allocated";
        int measured = 0;
        for (size_t i = 0; i < syntaxes.size(); ++i) {
            std::vector<unsigned char> out;
            if (msg.Encode(out, syntaxes[i]) != 0) continue;
            ++measured;
            ASSERT_TRUE(bySyntax[i].IsValid()) << what << " syntax " << i;
            EXPECT_EQ(bySyntax[i].GetDumpLen(), out.size()) << what << " syntax " << i;
            if (i > 0) {
                EXPECT_EQ(byUid[i - 1], bySyntax[i]) << what << ": the UID overload measures differently";
            }
        }
        EXPECT_GT(measured, 0) << what << ": nothing could be encoded, so nothing was compared";
    }
};

TEST_F(AllocFree, GetDumpLenOfParsedMessagesInEveryNativeSyntax) {
    // Explicit and implicit VR, big endian, nested private sequences, many sequences.
    for (const char* name : {"CT_small.dcm", "MR_small.dcm", "MR_small_implicit.dcm",
                             "MR_small_bigendian.dcm", "nested_priv_SQ.dcm", "rtplan.dcm"}) {
        std::vector<unsigned char> bytes = ReadTestFile(name);
        ASSERT_FALSE(bytes.empty()) << name << " (python3-pydicom) missing";
        for (int copy : {0, 1}) {
            int status = -1;
            Dicom_Msg msg(bytes.data(), bytes.size(), copy, &status);
            ASSERT_EQ(status, 0) << name;
            ExpectSizingAllocatesNothing(msg, std::string(name) + " copy " + std::to_string(copy));
        }
    }
}

TEST_F(AllocFree, GetOfPresentAbsentAndPrivateTagsAllocatesNothing) {
    std::vector<unsigned char> bytes = ReadTestFile("CT_small.dcm");
    ASSERT_FALSE(bytes.empty());
    int status = -1;
    Dicom_Msg msg(bytes.data(), bytes.size(), 1, &status);
    ASSERT_EQ(status, 0);
    const Dicom_Tag present = Dicom_Tag(0x0028, 0x0010);
    const Dicom_Tag absent(0x0029, 0x10FF);
    const Dicom_Tag privateConstant = Dicom_Dictionary::KOVEL_MSG_LENGTH;
    const Dicom_Tag last = msg.GetElement(msg.GetNElements() - 1)->GetTag();
    (void)msg.Get(privateConstant);
    const Dicom_Type* found[4] = {};
    {
        AllocCountScope count;
        found[0] = msg.Get(present);
        found[1] = msg.Get(absent);
        found[2] = msg.Get(privateConstant);
        found[3] = msg.Get(last);
        EXPECT_EQ(count.Count(), 0);
    }
    ASSERT_NE(found[0], nullptr);
    EXPECT_EQ(found[0]->GetVR(), Dicom_VR::US);
    EXPECT_EQ(found[1], nullptr);
    EXPECT_EQ(found[3], msg.GetElement(msg.GetNElements() - 1)->GetData());
}

}  // namespace
