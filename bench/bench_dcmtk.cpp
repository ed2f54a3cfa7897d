// DCMTK (dcmdata) on the same inputs: parse a file image from memory, encode the data set into
// memory. Both load every value (buffer streams have no deferred loading), like a copying parse.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_benchmarks.h"
#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dcostrmb.h"
#include "dcmtk/oflog/oflog.h"

namespace {

bool ReadDcmtk(const BenchInput& in, DcmFileFormat& file) {
    DcmInputBufferStream stream;
    stream.setBuffer(in.data.data(), static_cast<offile_off_t>(in.data.size()));
    stream.setEos();
    file.transferInit();
    OFCondition rc = file.read(stream, EXS_Unknown, EGL_noChange, DCM_MaxReadLength);
    file.transferEnd();
    return rc.good();
}

void Parse(benchmark::State& state, const BenchInput* in) {
    for (auto _ : state) {
        DcmFileFormat file;
        if (!ReadDcmtk(*in, file)) {
            state.SkipWithError(("DCMTK cannot parse " + in->name).c_str());
            break;
        }
        benchmark::DoNotOptimize(&file);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->data.size()));
}

// Writes the data set (no meta header) in the syntax it was read in, into a buffer that is
// large enough, as the layer's Encode writes into a vector that keeps its capacity.
void Encode(benchmark::State& state, const BenchInput* in) {
    DcmFileFormat file;
    if (!ReadDcmtk(*in, file)) {
        state.SkipWithError(("DCMTK cannot parse " + in->name).c_str());
        return;
    }
    DcmDataset* ds = file.getDataset();
    const E_TransferSyntax xfer = ds->getOriginalXfer();
    std::vector<unsigned char> buffer(ds->calcElementLength(xfer, EET_ExplicitLength) + 4096);
    offile_off_t written = 0;
    for (auto _ : state) {
        DcmOutputBufferStream stream(buffer.data(), static_cast<offile_off_t>(buffer.size()));
        ds->transferInit();
        OFCondition rc = ds->write(stream, xfer, EET_ExplicitLength, nullptr, EGL_noChange, EPD_noChange);
        ds->transferEnd();
        void* out = nullptr;
        stream.flushBuffer(out, written);
        if (rc.bad()) {
            state.SkipWithError(("DCMTK cannot encode " + in->name + ": " + rc.text()).c_str());
            break;
        }
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(written));
}

}  // namespace

void RegisterDcmtkBenchmarks(const std::vector<BenchInput>& inputs) {
    OFLog::configure(OFLogger::ERROR_LOG_LEVEL);
    benchmark::AddCustomContext("dcmtk", PACKAGE_VERSION);
    for (const BenchInput& in : inputs) {
        if (in.headerOnly) continue;
        auto unit = in.data.size() > (1u << 20) ? benchmark::kMicrosecond : benchmark::kNanosecond;
        benchmark::RegisterBenchmark(("parse/" + in.name + "/dcmtk").c_str(), Parse, &in)->Unit(unit);
        benchmark::RegisterBenchmark(("encode/" + in.name + "/dcmtk").c_str(), Encode, &in)->Unit(unit);
    }
}
