// msg_ops_bench: the message operations of IOD_Msg against their baselines and DCMTK, in one run.
//
//   msg_ops_bench [--data-dir=<pydicom test_files>] [Google Benchmark flags]
//
// Measured (CPU time, medians when repeated):
//  - CloneWithoutPD of the 10 MB multi-frame CT, against Clone() of the same message whose pixel
//    data was removed beforehand (the pixel bytes must cost nothing: at most 1.5x) and against
//    DCMTK's equivalent, a copy of the DcmDataset followed by deleting its pixel data (at least
//    20x slower than ours);
//  - Clone(tags) keeping 10 tags of CT_small against Clone() of the whole message (faster);
//  - CalcMsgLength of CT_small and of the 10 MB CT, with heap allocations per call (the 10 MB
//    image at most 2x CT_small: no pass over the pixel bytes).
// Each benchmark runs 5 times, interleaved at random with the others, and medians are compared.
// After the run a table prints the ratios and whether each target is met; the exit status is 1
// when a measured target is missed.
#include <Dicom/Dicom_UI.h>
#include <IOD/IOD_Msg.h>
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "alloc_counter.h"
#include "bench_inputs.h"

#ifdef IOD_BENCH_WITH_DCMTK
#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/oflog/oflog.h"
#endif

#ifndef IOD_BENCH_TEST_FILES
#define IOD_BENCH_TEST_FILES "/usr/lib/python3/dist-packages/pydicom/data/test_files"
#endif

namespace {

std::unique_ptr<IOD_Msg> Parse(const BenchInput& in, benchmark::State& state) {
    int status = -1;
    auto msg = std::make_unique<IOD_Msg>(const_cast<unsigned char*>(in.data.data()),
                                         static_cast<unsigned int>(in.data.size()), 1, &status);
    if (status != 0) {
        state.SkipWithError(("parse of " + in.name + " failed").c_str());
        return nullptr;
    }
    return msg;
}

void CloneWithoutPD(benchmark::State& state, const BenchInput* in) {
    auto msg = Parse(*in, state);
    if (!msg) return;
    for (auto _ : state) {
        std::unique_ptr<IOD_Msg> copy(msg->CloneWithoutPD());
        benchmark::DoNotOptimize(copy.get());
    }
}

// The baseline: Clone() of the same message after its pixel data was removed.
void CloneOfHeader(benchmark::State& state, const BenchInput* in) {
    auto msg = Parse(*in, state);
    if (!msg) return;
    msg->RemovePixelData();
    for (auto _ : state) {
        std::unique_ptr<Dicom_Msg> copy(msg->Clone());
        benchmark::DoNotOptimize(copy.get());
    }
}

void CloneWhole(benchmark::State& state, const BenchInput* in) {
    auto msg = Parse(*in, state);
    if (!msg) return;
    for (auto _ : state) {
        std::unique_ptr<Dicom_Msg> copy(msg->Clone());
        benchmark::DoNotOptimize(copy.get());
    }
}

// Clone(tags) keeping ten attributes a header copy typically needs.
void CloneTags(benchmark::State& state, const BenchInput* in) {
    auto msg = Parse(*in, state);
    if (!msg) return;
    static Dicom_Tag tags[] = {Dicom_Tag(0x00080016u), Dicom_Tag(0x00080018u), Dicom_Tag(0x00080060u),
                               Dicom_Tag(0x00100010u), Dicom_Tag(0x00100020u), Dicom_Tag(0x0020000Du),
                               Dicom_Tag(0x0020000Eu), Dicom_Tag(0x00280010u), Dicom_Tag(0x00280011u),
                               Dicom_Tag(0x00280100u)};
    RWTPtrSlist<Dicom_Tag> list;
    for (Dicom_Tag& tag : tags) list.append(&tag);
    for (auto _ : state) {
        std::unique_ptr<IOD_Msg> copy(msg->Clone(list));
        benchmark::DoNotOptimize(copy.get());
    }
}

void CalcMsgLength(benchmark::State& state, const BenchInput* in) {
    auto msg = Parse(*in, state);
    if (!msg) return;
    const Dicom_UI syntax("1.2.840.10008.1.2.1");
    long allocs = 0;
    for (auto _ : state) {
        AllocCountScope count;
        const Dicom_DumpLen length = msg->CalcMsgLength(syntax);
        benchmark::DoNotOptimize(length);
        allocs += count.Count();
    }
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
}

#ifdef IOD_BENCH_WITH_DCMTK
// DCMTK's header copy: copy the data set (pixel data included, as DcmDataset copies it), then
// delete the pixel data from the copy.
void DcmtkCopyWithoutPixelData(benchmark::State& state, const BenchInput* in) {
    DcmFileFormat file;
    DcmInputBufferStream stream;
    stream.setBuffer(in->data.data(), static_cast<offile_off_t>(in->data.size()));
    stream.setEos();
    file.transferInit();
    const OFCondition rc = file.read(stream, EXS_Unknown, EGL_noChange, DCM_MaxReadLength);
    file.transferEnd();
    if (rc.bad()) {
        state.SkipWithError(("DCMTK cannot parse " + in->name).c_str());
        return;
    }
    for (auto _ : state) {
        DcmDataset copy(*file.getDataset());
        copy.findAndDeleteElement(DCM_PixelData);
        benchmark::DoNotOptimize(&copy);
    }
}
#endif

// Keeps the CPU time (ns) and the allocation counter of every benchmark for the table.
class Collector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            const double ns =
                run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
            times[run.run_name.str()] = ns;
            auto it = run.counters.find("allocs");
            if (it != run.counters.end()) allocs[run.run_name.str()] = it->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times, allocs;
};

std::string Time(double ns) {
    char text[32];
    if (ns >= 1e6) {
        std::snprintf(text, sizeof text, "%.3g ms", ns / 1e6);
    } else if (ns >= 1e3) {
        std::snprintf(text, sizeof text, "%.3g us", ns / 1e3);
    } else {
        std::snprintf(text, sizeof text, "%.3g ns", ns);
    }
    return text;
}

// Prints one target: `ratio` = a / b against `limit` (at most when `atMost`, else at least).
bool Target(const Collector& c, const char* what, const std::string& a, const std::string& b, double limit,
            bool atMost) {
    const auto ia = c.times.find(a), ib = c.times.find(b);
    if (ia == c.times.end() || ib == c.times.end() || ib->second <= 0) {
        std::printf("| %s | not measured | | |\n", what);
        return true;
    }
    const double ratio = ia->second / ib->second;
    const bool met = atMost ? ratio <= limit : ratio >= limit;
    std::printf("| %s | %s / %s = %.2fx | %s %.1fx | %s |\n", what, Time(ia->second).c_str(),
                Time(ib->second).c_str(), ratio, atMost ? "<=" : ">=", limit, met ? "met" : "MISSED");
    return met;
}

}  // namespace

int main(int argc, char** argv) {
    std::string dataDir = IOD_BENCH_TEST_FILES;
    // Repeated, interleaved runs by default: on a shared machine a single run of each benchmark
    // in turn measures the neighbours' load as much as our code. Flags given later win.
    if (!InitBenchmarks(argc, argv, dataDir,
                        {"--benchmark_repetitions=5", "--benchmark_enable_random_interleaving=true",
                         "--benchmark_report_aggregates_only=true"}))
        return 1;
    KvlGLog.SetLevel(2);  // the operations' own lines (missing attributes ...) stay out of the timing

    static const std::vector<BenchInput> inputs = LoadBenchInputs(dataDir);
    const BenchInput* small = nullptr;
    const BenchInput* big = nullptr;
    const BenchInput* header = nullptr;
    for (const BenchInput& in : inputs) {
        if (in.name == "CT_small") small = &in;
        if (in.name == "CT_10MB") big = &in;
        if (in.name == "CT_10MB_header") header = &in;
    }
    if (header != nullptr)  // for reference: the same header, parsed from a file that ends before the pixels
        benchmark::RegisterBenchmark("clone/CT_10MB_header/iod", CloneWhole, header)
            ->Unit(benchmark::kMicrosecond);
    if (big != nullptr) {
        benchmark::RegisterBenchmark("clone_without_pd/CT_10MB/iod", CloneWithoutPD, big)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("clone_of_header/CT_10MB/iod", CloneOfHeader, big)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("calc_msg_length/CT_10MB/iod", CalcMsgLength, big);
#ifdef IOD_BENCH_WITH_DCMTK
        OFLog::configure(OFLogger::ERROR_LOG_LEVEL);
        benchmark::RegisterBenchmark("clone_without_pd/CT_10MB/dcmtk", DcmtkCopyWithoutPixelData, big)
            ->Unit(benchmark::kMicrosecond);
#endif
    }
    if (small != nullptr) {
        benchmark::RegisterBenchmark("clone_tags/CT_small/iod", CloneTags, small)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("clone/CT_small/iod", CloneWhole, small)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("calc_msg_length/CT_small/iod", CalcMsgLength, small);
    }

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::Shutdown();

    std::printf("\n| target | measured | limit | outcome |\n|---|---|---|---|\n");
    bool met = true;
    met &= Target(collector, "CloneWithoutPD (10 MB CT) / Clone() without pixel data",
                  "clone_without_pd/CT_10MB/iod", "clone_of_header/CT_10MB/iod", 1.5, true);
    met &= Target(collector, "DCMTK copy and delete / CloneWithoutPD (10 MB CT)",
                  "clone_without_pd/CT_10MB/dcmtk", "clone_without_pd/CT_10MB/iod", 20.0, false);
    met &= Target(collector, "Clone(10 tags) / Clone() (CT_small)", "clone_tags/CT_small/iod",
                  "clone/CT_small/iod", 1.0, true);
    met &= Target(collector, "CalcMsgLength: 10 MB CT / CT_small", "calc_msg_length/CT_10MB/iod",
                  "calc_msg_length/CT_small/iod", 2.0, true);
    for (const auto& [name, count] : collector.allocs)
        std::printf("| %s: heap allocations per call | %.1f | | |\n", name.c_str(), count);
    return met ? 0 : 1;
}
