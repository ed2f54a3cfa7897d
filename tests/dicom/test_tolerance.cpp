// Length irregularities that the reader repairs with a level-4 record (and strict mode refuses),
// and the syntax a message reports when its meta group names one the data set contradicts.
#include <Dicom/Dicom.h>
#include <KvlLog/Kvl_LogFile.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "test_codec_builder.h"

using namespace testbytes;

namespace {

// Collects the level-4 records of the DICOM layer while it lives.
struct LogCapture {
    std::vector<std::string> texts;
    const int handle = KvlGLog.AddSink([this](const Kvl_LogRecord& r) {
        if (r.level == 4 && r.category == 20) texts.push_back(r.text);
    });
    ~LogCapture() { KvlGLog.RemoveSink(handle); }
};

// (0008,1032) with two items whose lengths are the true ones plus itemDelta[i], the sequence
// length the true one plus seqDelta; Patient Name after it unless `last`.
Bytes DataSet(int delta0, int delta1, int seqDelta, bool last) {
    const Bytes i1 = Bytes().ex(0x0008, 0x0100, "SH", "CODE1 ").ex(0x0008, 0x0104, "LO", "first ");
    const Bytes i2 = Bytes().ex(0x0008, 0x0100, "SH", "CODE2 ").ex(0x0008, 0x0104, "LO", "second");
    Bytes seq;
    seq.item(static_cast<uint32_t>(static_cast<int>(i1.size()) + delta0)).raw(i1.b);
    seq.item(static_cast<uint32_t>(static_cast<int>(i2.size()) + delta1)).raw(i2.b);
    Bytes b;
    b.ex(0x0008, 0x0060, "CS", "OT");
    b.exh(0x0008, 0x1032, "SQ", static_cast<uint32_t>(static_cast<int>(seq.size()) + seqDelta)).raw(seq.b);
    if (!last) b.ex(0x0010, 0x0010, "PN", "Doe^John");
    return b;
}

TEST(Tolerance, LengthsThatDisagreeWithTheirContent) {
    const struct {
        const char* name;
        int delta0, delta1, seqDelta;
        bool last, read;       // read: tolerated (and refused in strict mode)
        const char* repaired;  // part of the level-4 record
    } cases[] = {
        {"last item longer than its sequence", 0, 8, 0, false, true,
         "runs 8 bytes past the end of the sequence; the item ends with its sequence"},
        {"same, the sequence ends the input", 0, 8, 0, true, true, "the item ends with its sequence"},
        {"sequence ends inside its last item", 0, 0, -4, false, true,
         "runs 4 bytes past the end of the sequence; the sequence ends with the item"},
        {"sequence runs past the end of the input", 0, 0, 8, true, true,
         "of 80 bytes runs 8 bytes past the end of its data set"},
        {"first item overlaps the second", 8, 0, 0, false, false, nullptr},
        {"item ends inside an element", -4, 0, 0, false, false, nullptr},
        {"sequence runs into the next element", 0, 0, 8, false, false, nullptr},
        {"last item shorter by a whole element", 0, -14, 0, false, false, nullptr},
    };
    const Dicom_UI explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_UID);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes b = DataSet(c.delta0, c.delta1, c.seqDelta, c.last);
        LogCapture log;
        int status = 0;
        Dicom_Msg msg(b.data(), b.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY, false, false);
        EXPECT_EQ(status == 0, c.read);
        if (c.read) {
            const auto* sq = dynamic_cast<const Dicom_SQ*>(msg.Get(Dicom_Tag(0x0008, 0x1032)));
            ASSERT_TRUE(sq && sq->GetNItems() == 2);
            EXPECT_EQ(sq->GetSequence().Get(1)->GetNElements(), 2);
            EXPECT_EQ(msg.Get(Dicom_Tag(0x0010, 0x0010)) != nullptr, !c.last);
            ASSERT_EQ(log.texts.size(), 1u);
            EXPECT_NE(log.texts[0].find(c.repaired), std::string::npos) << log.texts[0];
            // Written back out, the lengths agree with the content and read without repair.
            std::vector<unsigned char> out;
            ASSERT_EQ(msg.Encode(out, kExplicit), 0);
            Dicom_Msg again(out.data(), out.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY,
                            false, true);
            EXPECT_EQ(status, 0);
        }
        Dicom_Msg strict(b.data(), b.size(), 1, explicitLE, &status, Dicom_SwapInfo::FROM_MEMORY, false,
                         true);
        EXPECT_EQ(status, -1);
    }
}

TEST(Tolerance, DirectoryWithAShortenedLastRecord) {
    const std::string path = PydicomFile("dicomdirtests/DICOMDIR-nooffset");
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "pydicom's test files are not installed";
    std::vector<unsigned char> bytes = ReadFile(path);
    LogCapture log;
    int status = 0;
    Dicom_Msg msg(bytes.data(), bytes.size(), 0, &status);
    ASSERT_EQ(status, 0);
    const auto* records = dynamic_cast<const Dicom_SQ*>(msg.Get(Dicom_Tag(0x0004, 0x1220)));
    ASSERT_TRUE(records && records->GetNItems() == 52);
    ASSERT_EQ(log.texts.size(), 1u);
    EXPECT_NE(log.texts[0].find("item 52 of sequence (0004,1220): its length 248 runs 24 bytes"),
              std::string::npos);
}

TEST(Tolerance, ContradictedMetaGroupReportsTheSyntaxRead) {
    const std::string path = PydicomFile("SC_rgb_jpeg.dcm");
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "pydicom's test files are not installed";
    std::vector<unsigned char> bytes = ReadFile(path);
    int status = 0;
    Dicom_Msg msg(bytes.data(), bytes.size(), 0, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(msg.GetTransferSyntax().GetUID(), Dicom_TransferSyntax::IMPLICIT_LITTLE_UID);
    EXPECT_EQ(msg.GetNamedTransferSyntax().GetUID(), "1.2.840.10008.1.2.4.50");
    // Written as read, the encapsulated pixel data goes out in the syntax the meta group named,
    // and the result reads back without correction.
    std::vector<unsigned char> out;
    ASSERT_EQ(msg.Encode(out, Dicom_TransferSyntax(), true), 0);
    Dicom_Msg again(out.data(), out.size(), 0, &status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(again.GetTransferSyntax().GetUID(), "1.2.840.10008.1.2.4.50");
    EXPECT_FALSE(again.GetNamedTransferSyntax().IsSpecified());
}

}  // namespace
