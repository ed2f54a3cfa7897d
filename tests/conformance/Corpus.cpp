// Corpus: see Corpus.h.
#include "Corpus.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#ifndef IOD_PYDICOM_DATA_DIR
#define IOD_PYDICOM_DATA_DIR "/usr/lib/python3/dist-packages/pydicom/data"
#endif

namespace fs = std::filesystem;

namespace {

bool EndsWith(const std::string& s, const char* suffix) {
    const std::string tail(suffix);
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

std::string TestName(const std::string& relative) {
    std::string name;
    for (const char c : relative) {
        const bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        name.push_back(alnum ? c : '_');
    }
    return name;
}

}  // namespace

std::string CorpusRoot() {
    const char* env = std::getenv("IOD_PYDICOM_DATA");
    return env != nullptr && env[0] != '\0' ? env : IOD_PYDICOM_DATA_DIR;
}

const char* SkipReason(const std::string& relative) {
    // The package's own code and metadata, and documentation beside the files.
    if (relative.find("__pycache__/") != std::string::npos) return "compiled Python";
    if (EndsWith(relative, ".py")) return "Python source of the package's data manager";
    if (EndsWith(relative, ".json")) return "JSON (download hashes and URLs, JSON-model test input)";
    if (EndsWith(relative, ".txt") || EndsWith(relative, ".md") || EndsWith(relative, "/README") ||
        relative == "README") {
        return "documentation";
    }
    // Test input of the package that is not a DICOM file itself.
    if (EndsWith(relative, ".gz") || EndsWith(relative, ".bz2") || EndsWith(relative, ".zip")) {
        return "compressed archive (a gzipped DICOM file, read through a decompressing stream)";
    }
    if (EndsWith(relative, ".dump")) return "text dump of a data set";
    if (EndsWith(relative, ".xml")) return "XML";
    return nullptr;
}

std::vector<CorpusFile> ListCorpus() {
    std::vector<CorpusFile> files;
    const fs::path root(CorpusRoot());
    std::error_code ec;
    if (fs::is_directory(root, ec)) {
        for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec)) {
            if (!it->is_regular_file(ec)) continue;
            const std::string relative = fs::relative(it->path(), root, ec).generic_string();
            if (SkipReason(relative) != nullptr) continue;
            files.push_back({relative, it->path().string(), TestName(relative)});
        }
    }
    std::sort(files.begin(), files.end(),
              [](const CorpusFile& a, const CorpusFile& b) { return a.relative < b.relative; });
    // Test names must be unique: number repeated ones.
    std::map<std::string, int> seen;
    for (CorpusFile& file : files) {
        const int n = seen[file.testName]++;
        if (n > 0) file.testName += "_" + std::to_string(n);
    }
    if (files.empty()) files.push_back({"(corpus missing)", "", "CorpusMissing"});
    return files;
}

// Found by inspecting each file that either reader rejects or that the package documents as
// broken: what is wrong with it, and so what our reader must say.
const std::vector<Expectation>& Expectations() {
    static const std::vector<Expectation> table = {
        {"test_files/MR_truncated.dcm", Expect::kMalformed, true, "",
         "Pixel Data announces 8192 bytes; the file ends before them"},
        {"test_files/rtplan_truncated.dcm", Expect::kMalformed, true, "",
         "cut inside an item: (300a,012c) announces 50 bytes, 29 remain"},
        {"test_files/no_meta.dcm", Expect::kMalformed, true, "",
         "the data set of CT_small.dcm cut one byte too early: a stray 0x20 (the last byte of the meta "
         "group) comes before the first tag, so no tag boundary is where the data says"},
        // Faults that both readers tolerate alike (listed so that a change of behaviour is seen
        // against the reason, not guessed at).
        {"test_files/dicomdirtests/DICOMDIR-nooffset", Expect::kAgree, false, "",
         "two elements were removed from the last directory record without shortening its item: the item "
         "at offset 10860 announces 248 bytes, 224 remain in its sequence; both readers read up to the "
         "sequence's end (we log the repair)"},
        {"palettes/winter.dcm", Expect::kAgree, false, "",
         "(0008,0018) appears twice in a row with the same value; both readers keep one element"},
        {"test_files/meta_missing_tsyntax.dcm", Expect::kAgree, false, "",
         "the meta group lacks TransferSyntaxUID: the data set is detected as implicit VR little endian"},
        {"test_files/no_meta_group_length.dcm", Expect::kAgree, false, "",
         "the meta group lacks its group length (0002,0000)"},
        {"test_files/UN_sequence.dcm", Expect::kAgree, false, "",
         "a private element with VR UN and undefined length, which is a sequence in implicit VR"},
        {"test_files/SC_rgb_jpeg.dcm", Expect::kRecovered, true, "-f -ti",
         "the meta group names JPEG Baseline (explicit VR) but the data set is written in implicit VR "
         "(with encapsulated pixel data); the data set itself is sound"},
    };
    return table;
}

const Expectation* FindExpectation(const std::string& relative) {
    for (const Expectation& entry : Expectations()) {
        if (relative == entry.file) return &entry;
    }
    return nullptr;
}
