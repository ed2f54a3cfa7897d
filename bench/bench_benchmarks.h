// bench_benchmarks.h: registration of the benchmark families of dicom_bench.
#pragma once

#include <vector>

#include "bench_inputs.h"

// The DICOM layer: parse (copy 1, copy 0), encode, GetDumpLen, Clone, Get, and the memcpy floor.
void RegisterIodBenchmarks(const std::vector<BenchInput>& inputs);
// The peers, when the benchmark was built with them: parse and encode of the same inputs.
void RegisterDcmtkBenchmarks(const std::vector<BenchInput>& inputs);
void RegisterGdcmBenchmarks(const std::vector<BenchInput>& inputs);
