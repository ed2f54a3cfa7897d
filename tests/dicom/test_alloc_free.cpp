// GetDumpLen and Get allocate nothing: both are on the hot path of every service. The counter
// sees every malloc of the process; it is inactive under sanitizers and valgrind, where these
// tests skip.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../../bench/alloc_counter.h"
#include "test_codec_builder.h"

TEST(AllocFree, GetDumpLenAndGetOfParsedMessagesAllocateNothing) {
    if (!AllocCounterWorks()) GTEST_SKIP() << "allocation counter inactive (sanitizer or valgrind)";
    const Dicom_TransferSyntax syntaxes[] = {testbytes::kImplicit, testbytes::kExplicit, testbytes::kBig};
    const Dicom_UI uids[] = {Dicom_UI(Dicom_TransferSyntax::IMPLICIT_LITTLE_UID),
                             Dicom_UI(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID),
                             Dicom_UI(Dicom_TransferSyntax::EXPLICIT_BIG_UID)};
    const SCompressionParms params{};
    // Explicit and implicit VR, big endian, nested private sequences, many sequences.
    for (const char* name : {"CT_small.dcm", "MR_small_implicit.dcm", "MR_small_bigendian.dcm",
                             "nested_priv_SQ.dcm", "rtplan.dcm"}) {
        std::vector<unsigned char> bytes = testbytes::ReadFile(testbytes::PydicomFile(name));
        ASSERT_FALSE(bytes.empty()) << name << " (python3-pydicom) missing";
        for (int copy : {0, 1}) {
            SCOPED_TRACE(std::string(name) + " copy " + std::to_string(copy));
            int status = -1;
            Dicom_Msg msg(bytes.data(), bytes.size(), copy, &status);
            ASSERT_EQ(status, 0);
            const Dicom_Tag tags[] = {Dicom_Tag(0x0028, 0x0010), Dicom_Tag(0x0029, 0x10FF),
                                      Dicom_Dictionary::KOVEL_MSG_LENGTH,
                                      msg.GetElement(msg.GetNElements() - 1)->GetTag()};
            Dicom_DumpLen bySyntax[3], byUid[3];
            const Dicom_Type* found[4] = {};
            long allocations = 0;
            for (int round = 0; round < 2; ++round) {  // the first may set up process-wide tables
                AllocCountScope count;
                for (int i = 0; i < 3; ++i) bySyntax[i] = msg.GetDumpLen(syntaxes[i]);
                for (int i = 0; i < 3; ++i) byUid[i] = msg.GetDumpLen(uids[i], 0, params, nullptr);
                for (int i = 0; i < 4; ++i) found[i] = msg.Get(tags[i]);
                allocations = count.Count();
            }
            EXPECT_EQ(allocations, 0);     // only now: a failing expectation allocates its message
            for (int i = 0; i < 3; ++i) {  // a GetDumpLen that merely gave up would not pass
                std::vector<unsigned char> out;
                ASSERT_EQ(msg.Encode(out, syntaxes[i]), 0);
                EXPECT_EQ(bySyntax[i].GetDumpLen(), out.size());
                EXPECT_EQ(byUid[i], bySyntax[i]);
            }
            for (int i = 0; i < 4; ++i) {  // and Get found what the element store holds
                const Dicom_ME* me = msg.Find(tags[i], false);
                EXPECT_EQ(found[i], me ? me->GetData() : nullptr) << tags[i].ToString();
            }
        }
    }
}
