// bench_inputs.h: the encoded inputs every benchmark of dicom_bench runs on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct BenchInput {
    std::string name;                 // "CT_small", "CT_10MB", ...
    std::vector<unsigned char> data;  // a file image (preamble, meta group, data set)
    bool headerOnly = false;          // parse benchmarks only (no encode, clone, ...)
};

// Reads `path` into `out`; false when it cannot be read.
bool ReadFile(const std::string& path, std::vector<unsigned char>& out);

// A multi-frame CT image in Explicit VR Little Endian: `frames` frames of `rows` x `columns`
// 16-bit pixels, behind a header of about 70 attributes (one of them a sequence). With
// `withPixelData` false the same file ends where the pixel data element would start.
std::vector<unsigned char> MakeMultiFrameCT(uint16_t rows, uint16_t columns, uint32_t frames,
                                            bool withPixelData);

// The inputs: CT_small.dcm and MR_small.dcm from `testFilesDir` (skipped with a message when
// absent), the generated 10 MB CT and its header alone.
std::vector<BenchInput> LoadBenchInputs(const std::string& testFilesDir);

// Hands the command line to Google Benchmark, after `defaults` (flags given later win), and takes
// --data-dir=<pydicom test_files> out of it into `dataDir`. False when an argument is not
// understood (Google Benchmark has said so on stderr).
bool InitBenchmarks(int argc, char** argv, std::string& dataDir, std::vector<const char*> defaults = {});
