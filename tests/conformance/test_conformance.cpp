// Conformance of the DICOM layer over an independent corpus: every DICOM file that the
// python3-pydicom package ships is read by us and by an independent toolkit (dcm2xml from
// DCMTK); both readings must agree element by element. Then our reading is written again, in
// the transfer syntax it was read in and, for native data, in the other native syntaxes; each
// output must read back to the same elements, carry a correct meta header, and read cleanly in
// the other toolkit too. Files that are broken by design (see Corpus.cpp) must be reported as
// such, without a crash.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_Type.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Compare.h"
#include "Corpus.h"
#include "Oracle.h"

namespace {

std::vector<unsigned char> ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

bool WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

// A directory of its own for the files one test writes; removed afterwards.
class ScratchDir {
public:
    ScratchDir() {
        char name[] = "/tmp/iod-conformance-XXXXXX";
        if (::mkdtemp(name) != nullptr) m_path = name;
    }
    ~ScratchDir() {
        std::error_code ec;
        if (!m_path.empty()) std::filesystem::remove_all(m_path, ec);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

// The text of a top-level value without trailing padding, or "" when absent.
std::string TextOf(const Dicom_Msg& msg, uint32_t tag) {
    const Dicom_ME* element = msg.Find(Dicom_Tag(tag));
    if (element == nullptr || element->GetData() == nullptr || element->GetData()->GetData() == nullptr)
        return {};
    const Dicom_Type& value = *element->GetData();
    std::string text(reinterpret_cast<const char*>(value.GetData()), value.GetRawLen());
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.pop_back();
    return text;
}

bool HasEncapsulatedData(const Dicom_Msg& msg) {
    for (int i = 0; i < msg.GetNElements(); ++i) {
        const Dicom_ME* element = msg.GetElement(i);
        const auto* value =
            element != nullptr ? dynamic_cast<const Dicom_OtherType*>(element->GetData()) : nullptr;
        if (value != nullptr && value->IsEncapsulated()) return true;
    }
    return false;
}

VRRule RuleFor(const std::string& syntaxUid) {
    return syntaxUid == Dicom_TransferSyntax::IMPLICIT_LITTLE_UID ? VRRule::kImplicit : VRRule::kExact;
}

// The toolkit's warnings and errors, without the file names (which differ between an input and
// our rewrite of it).
std::set<std::string> DiagnosticLines(const OracleFile& oracle, const std::string& path) {
    std::set<std::string> lines;
    std::istringstream in(oracle.diagnostics);
    std::string line;
    while (std::getline(in, line)) {
        for (size_t at = line.find(path); at != std::string::npos; at = line.find(path))
            line.erase(at, path.size());
        if (!line.empty()) lines.insert(line);
    }
    return lines;
}

std::string Join(const std::vector<std::string>& lines, size_t max = 10) {
    std::string out;
    for (size_t i = 0; i < lines.size() && i < max; ++i) out += "  " + lines[i] + "\n";
    if (lines.size() > max) out += "  ... and " + std::to_string(lines.size() - max) + " more\n";
    return out;
}

struct Target {
    std::string name;
    Dicom_TransferSyntax syntax;  // unspecified: as read
};

}  // namespace

// Test parameters print as their path in failure messages.
void PrintTo(const CorpusFile& file, std::ostream* out) { *out << file.relative; }

namespace {

class Conformance : public ::testing::TestWithParam<CorpusFile> {};

TEST_P(Conformance, ReadWriteReadAgainstOracle) {
    const CorpusFile& file = GetParam();
    ASSERT_FALSE(file.path.empty()) << "no DICOM file found under " << CorpusRoot()
                                    << ": install the test dependencies (Debian packages python3-pydicom and "
                                       "dcmtk) or point IOD_PYDICOM_DATA at the corpus";
    ASSERT_FALSE(OracleConverterPath().empty()) << "dcm2xml not found: install the Debian package dcmtk";

    std::vector<unsigned char> bytes = ReadBytes(file.path);
    ASSERT_FALSE(bytes.empty()) << file.path;
    const Expectation* expectation = FindExpectation(file.relative);
    const Expect expect = expectation != nullptr ? expectation->expect : Expect::kAgree;
    OracleFile oracle = RunOracle(file.path);

    int status = 0;
    Dicom_Msg msg(bytes.data(), bytes.size(), 1, &status);

    if (expectation != nullptr) {
        EXPECT_EQ(oracle.exitCode != 0, expectation->oracleRejects)
            << "the oracle " << (oracle.exitCode != 0 ? "rejects " : "reads ") << file.relative
            << ", unlike the table says; is its reason stale? " << expectation->reason << "\n"
            << oracle.diagnostics;
    }
    if (expect == Expect::kMalformed) {
        EXPECT_NE(status, 0) << file.relative << " is broken by design (" << expectation->reason
                             << ") but our reader reports success with " << msg.GetNElements() << " elements";
        // What was read must still be usable: measuring and writing it must not crash.
        std::vector<unsigned char> out;
        (void)msg.GetDumpLen();
        (void)msg.Encode(out, Dicom_TransferSyntax(), true);
        return;
    }
    ScratchDir scratch;
    ASSERT_FALSE(scratch.Path().empty());
    if (expect == Expect::kRecovered) {
        // The oracle reads the data set alone: the bytes after the preamble and the meta group.
        ASSERT_TRUE(bytes.size() > 144 && std::memcmp(bytes.data() + 128, "DICM", 4) == 0);
        uint32_t metaLength = 0;
        std::memcpy(&metaLength, bytes.data() + 140, 4);
        ASSERT_LT(144u + metaLength, bytes.size());
        const std::string dataSet = scratch.Path() + "/dataset.dcm";
        ASSERT_TRUE(
            WriteBytes(dataSet, std::vector<unsigned char>(bytes.begin() + 144 + metaLength, bytes.end())));
        std::vector<std::string> args;
        std::istringstream words(expectation->oracleArgs);
        for (std::string word; words >> word;) args.push_back(word);
        oracle = RunOracle(dataSet, args);
    }

    ASSERT_EQ(oracle.exitCode, 0) << "the oracle rejects " << file.relative
                                  << "; add it to the table in Corpus.cpp if it is broken by design:\n"
                                  << oracle.diagnostics;
    ASSERT_TRUE(oracle.parseError.empty()) << "cannot parse the oracle's output: " << oracle.parseError;
    ASSERT_EQ(status, 0) << "our reader rejects " << file.relative << " after " << msg.GetNElements()
                         << " elements; the oracle reads it "
                         << (expectation ? "as the table says" : "cleanly");

    // 1. Our reading against the oracle's.
    const std::string readUid = msg.GetTransferSyntax().GetUID();
    const VRRule readRule = RuleFor(oracle.dataSetSyntax);
    if (expect == Expect::kAgree) {
        EXPECT_EQ(readUid, oracle.dataSetSyntax) << "transfer syntax as read";
    }
    {
        Differences differences;
        CompareWithOracle(msg, oracle, expect == Expect::kAgree, readRule, true, differences);
        EXPECT_TRUE(differences.Empty()) << differences.list.size() << " differences from the oracle:\n"
                                         << differences.Describe();
        if (!differences.tolerated.empty()) {
            std::printf("%s: VRs taken from different dictionaries (tolerated):\n%s", file.relative.c_str(),
                        Join(differences.tolerated, 5).c_str());
        }
    }

    // 2. Reading without a copy (values point into the caller's buffer) gives the same message.
    {
        int status0 = 0;
        Dicom_Msg view(bytes.data(), bytes.size(), 0, &status0);
        EXPECT_EQ(status0, 0) << "reading without a copy";
        Differences differences;
        CompareMessages(msg, view, VRRule::kExact, differences);
        EXPECT_TRUE(differences.Empty()) << "copy=0 differs from copy=1:\n" << differences.Describe();
    }

    // 3. Write, read again, compare; and let the oracle read what we wrote.
    std::vector<Target> targets = {{"as read", Dicom_TransferSyntax()}};
    if (!msg.GetTransferSyntax().IsEncapsulated() && !HasEncapsulatedData(msg)) {
        const char* native[] = {Dicom_TransferSyntax::EXPLICIT_LITTLE_UID,
                                Dicom_TransferSyntax::IMPLICIT_LITTLE_UID,
                                Dicom_TransferSyntax::EXPLICIT_BIG_UID, Dicom_TransferSyntax::DEFLATED_UID};
        for (const char* uid : native) {
            if (uid != readUid) targets.push_back({uid, Dicom_TransferSyntax(uid)});
        }
    }
    const std::set<std::string> inputDiagnostics = DiagnosticLines(oracle, file.path);
    int n = 0;
    for (const Target& target : targets) {
        SCOPED_TRACE("written in " + target.name);
        // "As read" writes encapsulated pixel data in the syntax a contradicted meta group named.
        const std::string expectedUid =
            target.syntax.IsSpecified() ? target.syntax.GetUID() : msg.GetWriteTransferSyntax().GetUID();
        const bool implicitOut = expectedUid == Dicom_TransferSyntax::IMPLICIT_LITTLE_UID;
        std::vector<unsigned char> out;
        ASSERT_EQ(msg.Encode(out, target.syntax, true), 0) << "Encode failed";
        if (!Dicom_TransferSyntax(expectedUid).IsDeflated()) {
            // GetDumpLen counts the data set; the file adds the preamble and the meta group.
            const Dicom_DumpLen length = msg.GetDumpLen(Dicom_TransferSyntax(expectedUid));
            EXPECT_TRUE(length.IsValid());
            EXPECT_LT(length.GetDumpLen(), out.size()) << "GetDumpLen exceeds the whole file";
        }

        int again = 0;
        Dicom_Msg reread(out.data(), out.size(), 1, &again);
        ASSERT_EQ(again, 0) << "our own output does not read back";
        EXPECT_EQ(reread.GetTransferSyntax().GetUID(), expectedUid);
        EXPECT_EQ(TextOf(reread, 0x00020010), expectedUid) << "TransferSyntaxUID of the written meta group";
        const std::string sopClass = TextOf(msg, 0x00080016);
        if (!sopClass.empty()) {
            EXPECT_EQ(TextOf(reread, 0x00020002), sopClass) << "MediaStorageSOPClassUID";
        }
        const std::string sopInstance = TextOf(msg, 0x00080018);
        if (!sopInstance.empty()) {
            EXPECT_EQ(TextOf(reread, 0x00020003), sopInstance) << "MediaStorageSOPInstanceUID";
        }

        // A data set written in implicit VR reads back with our dictionary's VRs.
        const VRRule rule = implicitOut || readRule == VRRule::kImplicit ? VRRule::kImplicit : VRRule::kExact;
        Differences differences;
        CompareMessages(msg, reread, rule, differences);
        EXPECT_TRUE(differences.Empty()) << "read back differs:\n" << differences.Describe();

        const std::string written = scratch.Path() + "/out" + std::to_string(n++) + ".dcm";
        ASSERT_TRUE(WriteBytes(written, out));
        const OracleFile check = RunOracle(written);
        ASSERT_EQ(check.exitCode, 0) << "the oracle rejects our output:\n" << check.diagnostics;
        ASSERT_TRUE(check.parseError.empty()) << check.parseError;
        std::vector<std::string> newDiagnostics;
        for (const std::string& line : DiagnosticLines(check, written)) {
            // In implicit VR an undefined-length value of a tag the oracle's dictionary lacks can
            // only be guessed to be a sequence; it says so, rightly.
            if (implicitOut && line.find("CP-246") != std::string::npos) continue;
            if (inputDiagnostics.count(line) == 0) newDiagnostics.push_back(line);
        }
        EXPECT_TRUE(newDiagnostics.empty())
            << "the oracle complains about our output (not about the input):\n"
            << Join(newDiagnostics);
        Differences theirs;
        CompareWithOracle(msg, check, false, rule, false, theirs);
        EXPECT_TRUE(theirs.Empty()) << "the oracle reads our output differently:\n" << theirs.Describe();
        Differences lengths;
        CheckGroupLengths(check, expectedUid, lengths);
        EXPECT_TRUE(lengths.Empty()) << "group lengths of our output:\n" << lengths.Describe();
    }
}

std::string NameOf(const ::testing::TestParamInfo<CorpusFile>& info) { return info.param.testName; }

INSTANTIATE_TEST_SUITE_P(Pydicom, Conformance, ::testing::ValuesIn(ListCorpus()), NameOf);

// The corpus must be whole: each of its parts present, and every file that the table of broken
// files names still there (a stale table would silently stop testing the reader's error paths).
TEST(ConformanceCorpus, AllPartsPresentAndTableCurrent) {
    const std::vector<CorpusFile> files = ListCorpus();
    ASSERT_FALSE(files.front().path.empty()) << "corpus missing under " << CorpusRoot();
    for (const char* part : {"test_files/", "charset_files/", "palettes/", "test_files/dicomdirtests/"}) {
        bool found = false;
        for (const CorpusFile& file : files) found = found || file.relative.rfind(part, 0) == 0;
        EXPECT_TRUE(found) << "no file under " << part;
    }
    for (const Expectation& entry : Expectations()) {
        bool found = false;
        for (const CorpusFile& file : files) found = found || file.relative == entry.file;
        EXPECT_TRUE(found) << "the table names " << entry.file << ", which the corpus lacks";
    }
}

}  // namespace
