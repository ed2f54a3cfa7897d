// validate_bench: IOD_CTImage::IsValid, and what iodtool validate spends per file.
//
//   validate_bench [--data-dir=<pydicom test_files>] [Google Benchmark flags]
//
//  - is_valid/<input>:        IsValid of an IOD_CTImage parsed once (copy 0), with the log level at
//                             3 so that the validators' level-4 records are filtered out; counter
//                             allocs: heap allocations per call (target: under 20 us on CT_small);
//  - is_valid_logged/<input>: the same with the level at 4 and a sink collecting the records, on
//                             the input with its Patient's Name and Rows removed (two defects);
//  - parse_and_validate/<input>: the constructor over the encoded file (copy 0) and IsValid, as
//                             iodtool validate does per file after mapping it.
// Inputs: CT_small.dcm of the test files and the generated 10 MB multi-frame CT.
#include <Dicom/Dicom_Tag.h>
#include <IOD/IOD_CTImage.h>
#include <KvlLog/Kvl_LogFile.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "alloc_counter.h"
#include "bench_inputs.h"

#ifndef IOD_BENCH_TEST_FILES
#define IOD_BENCH_TEST_FILES "/usr/lib/python3/dist-packages/pydicom/data/test_files"
#endif

namespace {

std::unique_ptr<IOD_CTImage> Parse(const BenchInput& in) {
    int status = -1;
    auto msg = std::make_unique<IOD_CTImage>(const_cast<unsigned char*>(in.data.data()),
                                             static_cast<unsigned int>(in.data.size()), 0, &status);
    return status == 0 ? std::move(msg) : nullptr;
}

void IsValid(benchmark::State& state, const IOD_CTImage* msg) {
    KvlGLog.SetLevel(3);
    int result = 0;
    for (auto _ : state) {
        result = msg->IsValid();
        benchmark::DoNotOptimize(result);
    }
    AllocCountScope scope;
    benchmark::DoNotOptimize(msg->IsValid());
    state.counters["allocs"] = static_cast<double>(scope.Count());
    state.counters["valid"] = result;
    KvlGLog.SetLevel(4);
}

void IsValidLogged(benchmark::State& state, const IOD_CTImage* msg) {
    size_t records = 0;
    KvlGLog.SetDefaultSink(false);
    KvlGLog.SetLevel(4);
    const int sink = KvlGLog.AddSink([&records](const Kvl_LogRecord& record) {
        if (record.level == 4) ++records;
    });
    for (auto _ : state) benchmark::DoNotOptimize(msg->IsValid());
    records = 0;
    AllocCountScope scope;
    benchmark::DoNotOptimize(msg->IsValid());
    state.counters["allocs"] = static_cast<double>(scope.Count());
    state.counters["defects"] = static_cast<double>(records);
    KvlGLog.RemoveSink(sink);
    KvlGLog.SetDefaultSink(true);
}

void ParseAndValidate(benchmark::State& state, const BenchInput* in) {
    KvlGLog.SetLevel(3);
    for (auto _ : state) {
        int status = -1;
        const IOD_CTImage msg(const_cast<unsigned char*>(in->data.data()),
                              static_cast<unsigned int>(in->data.size()), 0, &status);
        benchmark::DoNotOptimize(msg.IsValid());
    }
    KvlGLog.SetLevel(4);
}

}  // namespace

int main(int argc, char** argv) {
    std::string dataDir = IOD_BENCH_TEST_FILES;
    if (!InitBenchmarks(argc, argv, dataDir)) return 1;

    // Benchmarks keep pointers to the inputs and messages: they live until the end of main.
    static const std::vector<BenchInput> inputs = LoadBenchInputs(dataDir);
    static std::vector<std::unique_ptr<IOD_CTImage>> messages;
    benchmark::AddCustomContext("alloc_counter", AllocCounterWorks() ? "on" : "off");
    for (const BenchInput& in : inputs) {
        if (in.headerOnly || in.name.rfind("CT", 0) != 0) continue;
        std::unique_ptr<IOD_CTImage> msg = Parse(in);
        std::unique_ptr<IOD_CTImage> broken = Parse(in);
        if (!msg || !broken) continue;
        broken->Remove(Dicom_Tag(0x0010, 0x0010));
        broken->Remove(Dicom_Tag(0x0028, 0x0010));
        benchmark::RegisterBenchmark(("is_valid/" + in.name).c_str(), IsValid, msg.get());
        benchmark::RegisterBenchmark(("is_valid_logged/" + in.name).c_str(), IsValidLogged, broken.get());
        benchmark::RegisterBenchmark(("parse_and_validate/" + in.name).c_str(), ParseAndValidate, &in)
            ->Unit(benchmark::kMicrosecond);
        messages.push_back(std::move(msg));
        messages.push_back(std::move(broken));
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
