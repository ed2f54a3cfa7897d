// dicom_bench: the DICOM layer against DCMTK and GDCM on the same inputs, in one run.
//
//   dicom_bench [--data-dir=<pydicom test_files>] [Google Benchmark flags]
//
// scripts/bench.sh runs it and turns its JSON output into the ratio table of the README.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "bench_benchmarks.h"

#ifndef IOD_BENCH_TEST_FILES
#define IOD_BENCH_TEST_FILES "/usr/lib/python3/dist-packages/pydicom/data/test_files"
#endif

int main(int argc, char** argv) {
    std::string dataDir = IOD_BENCH_TEST_FILES;
    if (!InitBenchmarks(argc, argv, dataDir)) return 1;

    // Registered benchmarks keep pointers to the inputs: they live until the end of main.
    static const std::vector<BenchInput> inputs = LoadBenchInputs(dataDir);
    benchmark::AddCustomContext("inputs", dataDir);
    RegisterIodBenchmarks(inputs);
#ifdef IOD_BENCH_WITH_DCMTK
    RegisterDcmtkBenchmarks(inputs);
#endif
#ifdef IOD_BENCH_WITH_GDCM
    RegisterGdcmBenchmarks(inputs);
#endif
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
