// Corpus: the DICOM files of the independent corpus (the test files, character-set files,
// palettes and DICOMDIR trees that the python3-pydicom package ships), which of its files are
// not DICOM and why, and what is expected of each file that is broken by design.
#pragma once

#include <string>
#include <vector>

struct CorpusFile {
    std::string relative;  // path below the corpus root, e.g. "test_files/CT_small.dcm"
    std::string path;      // absolute path; empty for the placeholder of a missing corpus
    std::string testName;  // the relative path as a test name (letters, digits, '_')
};

// Root of the corpus: $IOD_PYDICOM_DATA, else the package's data directory.
std::string CorpusRoot();

// Every file below the root that is not skipped (sorted). When the root is missing or holds no
// DICOM file, one placeholder entry with an empty path, so that the test fails visibly.
std::vector<CorpusFile> ListCorpus();

// Why a file of the corpus is not a DICOM file (and so not tested), or null when it is one.
const char* SkipReason(const std::string& relative);

enum class Expect {
    kAgree,      // sound: both readers agree, and so do our re-encodings
    kMalformed,  // truncated or malformed by design: our reader reports -1 without crashing
    kRecovered,  // malformed, but its content can be recovered, as our reader does: the oracle
                 // then reads the data set alone (the bytes after the meta group) with
                 // `oracleArgs`, and must agree with us; re-encodings must agree too
};

struct Expectation {
    const char* file;  // relative path
    Expect expect;
    bool oracleRejects;      // the oracle refuses the file as it is (else it tolerates the fault)
    const char* oracleArgs;  // kRecovered: how the oracle must read the data set alone
    const char* reason;      // what is wrong with the file, as found by inspection
};

// The entry of the table for a file; files not in the table are expected to be sound (kAgree).
const Expectation* FindExpectation(const std::string& relative);
const std::vector<Expectation>& Expectations();
