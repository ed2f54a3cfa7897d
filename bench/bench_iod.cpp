// Benchmarks of the DICOM layer itself. Names are "<operation>/<input>/iod" so that the table
// script can line them up with the peers' "<operation>/<input>/<peer>".
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "alloc_counter.h"
#include "bench_benchmarks.h"

namespace {

void* Mutable(const BenchInput& in) { return const_cast<unsigned char*>(in.data.data()); }

// A parsed message kept for the benchmarks that work on a message (encode, length, clone, get).
std::unique_ptr<Dicom_Msg> ParseOnce(const BenchInput& in, benchmark::State& state) {
    int status = -1;
    auto msg = std::make_unique<Dicom_Msg>(Mutable(in), in.data.size(), 1, &status);
    if (status != 0) {
        state.SkipWithError(("parse of " + in.name + " failed").c_str());
        return nullptr;
    }
    return msg;
}

void Parse(benchmark::State& state, const BenchInput* in, int copy) {
    long allocs = 0;
    for (auto _ : state) {
        AllocCountScope count;
        int status = -1;
        Dicom_Msg msg(Mutable(*in), in->data.size(), copy, &status);
        benchmark::DoNotOptimize(status);
        benchmark::DoNotOptimize(&msg);
        if (status != 0) {
            state.SkipWithError(("parse of " + in->name + " failed").c_str());
            break;
        }
        allocs += count.Count();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->data.size()));
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
}

void Encode(benchmark::State& state, const BenchInput* in) {
    auto msg = ParseOnce(*in, state);
    if (!msg) return;
    std::vector<unsigned char> out;
    if (msg->Encode(out) != 0) {
        state.SkipWithError(("encode of " + in->name + " failed").c_str());
        return;
    }
    // Encode sizes `out` to the encoding and writes it from the start: a vector that already has
    // that size is written in place, as the peers write into a buffer that is already there.
    for (auto _ : state) {
        int rc = msg->Encode(out);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}

// The same into a new vector each time: allocation and zero-filling included.
void EncodeFresh(benchmark::State& state, const BenchInput* in) {
    auto msg = ParseOnce(*in, state);
    if (!msg) return;
    size_t size = 0;
    for (auto _ : state) {
        std::vector<unsigned char> out;
        int rc = msg->Encode(out);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(out.data());
        size = out.size();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void GetDumpLen(benchmark::State& state, const BenchInput* in) {
    auto msg = ParseOnce(*in, state);
    if (!msg) return;
    long allocs = 0;
    for (auto _ : state) {
        AllocCountScope count;
        Dicom_DumpLen len = msg->GetDumpLen();
        benchmark::DoNotOptimize(len);
        allocs += count.Count();
    }
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
}

void Clone(benchmark::State& state, const BenchInput* in) {
    auto msg = ParseOnce(*in, state);
    if (!msg) return;
    for (auto _ : state) {
        Dicom_Msg* copy = msg->Clone();
        benchmark::DoNotOptimize(copy);
        delete copy;
    }
}

// Rows (0028,0010): a public attribute in the middle of the data set.
void Get(benchmark::State& state, const BenchInput* in) {
    auto msg = ParseOnce(*in, state);
    if (!msg) return;
    const Dicom_Tag rows(0x0028, 0x0010);
    if (msg->Get(rows) == nullptr) {
        state.SkipWithError("Rows missing");
        return;
    }
    long allocs = 0;
    for (auto _ : state) {
        AllocCountScope count;
        const Dicom_Type* v = msg->Get(rows);
        benchmark::DoNotOptimize(v);
        allocs += count.Count();
    }
    state.counters["elements"] = static_cast<double>(msg->GetNElements());
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
}

// The floor for a copying parse: one copy of the input into memory that is already mapped.
void Memcpy(benchmark::State& state, const BenchInput* in) {
    std::vector<unsigned char> target(in->data.size());
    for (auto _ : state) {
        std::memcpy(target.data(), in->data.data(), in->data.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->data.size()));
}

// The same copy into fresh memory (allocated and freed each time), for reference.
void MallocMemcpy(benchmark::State& state, const BenchInput* in) {
    for (auto _ : state) {
        auto* target = static_cast<unsigned char*>(std::malloc(in->data.size()));
        std::memcpy(target, in->data.data(), in->data.size());
        benchmark::DoNotOptimize(target);
        benchmark::ClobberMemory();
        std::free(target);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->data.size()));
}

std::string Name(const char* op, const BenchInput& in, const char* impl) {
    return std::string(op) + "/" + in.name + "/" + impl;
}

}  // namespace

void RegisterIodBenchmarks(const std::vector<BenchInput>& inputs) {
    for (const BenchInput& in : inputs) {
        const bool big = in.data.size() > (1u << 20);
        auto unit = big ? benchmark::kMicrosecond : benchmark::kNanosecond;
        benchmark::RegisterBenchmark(Name("parse_copy1", in, "iod").c_str(), Parse, &in, 1)->Unit(unit);
        benchmark::RegisterBenchmark(Name("parse_copy0", in, "iod").c_str(), Parse, &in, 0)->Unit(unit);
        if (in.headerOnly) continue;
        benchmark::RegisterBenchmark(Name("encode", in, "iod").c_str(), Encode, &in)->Unit(unit);
        benchmark::RegisterBenchmark(Name("encode_new_vector", in, "iod").c_str(), EncodeFresh, &in)
            ->Unit(unit);
        benchmark::RegisterBenchmark(Name("get_dump_len", in, "iod").c_str(), GetDumpLen, &in);
        benchmark::RegisterBenchmark(Name("clone", in, "iod").c_str(), Clone, &in)->Unit(unit);
        benchmark::RegisterBenchmark(Name("get", in, "iod").c_str(), Get, &in);
        if (big) {
            benchmark::RegisterBenchmark(Name("memcpy", in, "baseline").c_str(), Memcpy, &in)->Unit(unit);
            benchmark::RegisterBenchmark(Name("malloc_memcpy", in, "baseline").c_str(), MallocMemcpy, &in)
                ->Unit(unit);
        }
    }
}
