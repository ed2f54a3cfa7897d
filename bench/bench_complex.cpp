// complex_bench: IOD_Complex against the message it stands for, in one run.
//
//   complex_bench [--data-dir=<pydicom test_files>] [Google Benchmark flags]
//
// Every composite lies over an original parsed once with copy 0, and carries the same edit:
// 50 sets (25 replacing text attributes of the original, 25 new ones) and 10 removals.
//  - edit/<input>:          building the composite and making the edit; counters: allocations,
//                           heap growth in bytes while the composite lives (mallinfo2, mmapped
//                           blocks included), and
//                           whether the composite shows the original's pixel data element
//                           itself (1: not copied);
//  - find/<input>/{original,composite}: Find of Rows (0028,0010);
//  - real/<input>/{clone_original,construct_real_msg}: Clone() of the original against
//                           ConstructRealMsg() of the composite;
//  - encode/<input>/{real,composite}: Encode of the real message the composite stands for (its
//                           ConstructRealMsg) against Encode of the composite, into a vector of
//                           the right size.
#include <Dicom/Dicom_LO.h>
#include <IOD/IOD_Complex.h>
#include <benchmark/benchmark.h>
#include <malloc.h>

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

constexpr int kSets = 50;
constexpr int kReplaced = 25;
constexpr int kRemovals = 10;

// The original of one input and the tags of its edit.
struct Fixture {
    Kvl_AutoPtr<IOD_Msg> original;
    std::vector<Dicom_Tag> replaced, removed;
};

bool IsText(Dicom_VR vr) {
    return vr == Dicom_VR::LO || vr == Dicom_VR::SH || vr == Dicom_VR::CS || vr == Dicom_VR::DS ||
           vr == Dicom_VR::IS || vr == Dicom_VR::PN || vr == Dicom_VR::UI;
}

std::unique_ptr<Fixture> MakeFixture(const BenchInput& in) {
    auto f = std::make_unique<Fixture>();
    int status = -1;
    f->original.reset(new IOD_Msg(const_cast<unsigned char*>(in.data.data()),
                                  static_cast<unsigned int>(in.data.size()), 0, &status));
    if (status != 0) return nullptr;
    // Text attributes of the data set are replaced; the next other ones are removed.
    for (int i = 0; i < f->original->GetNElements(); ++i) {
        const Dicom_ME* me = f->original->GetElement(i);
        const Dicom_Tag& t = me->GetTag();
        if (t.GetGroup() <= 0x0008 || t.GetTag() == 0x00280010u || t.IsPrivate()) continue;
        if (t.GetTag() == 0x7FE00010u) continue;
        if (IsText(me->GetVR()) && f->replaced.size() < static_cast<size_t>(kReplaced))
            f->replaced.push_back(t);
        else if (!IsText(me->GetVR()) && f->removed.size() < static_cast<size_t>(kRemovals))
            f->removed.push_back(t);
    }
    return f;
}

// The edit: 50 sets, 10 removals.
void Edit(IOD_Complex& c, const Fixture& f) {
    Dicom_LO value("EDITED");
    int n = 0;
    for (const Dicom_Tag& t : f.replaced) {
        Dicom_Type* v = Dicom_CreateValue(c.Find(t)->GetVR());
        v->SetRaw("1", 1);
        c.Set(t, v);
        delete v;
        ++n;
    }
    for (unsigned short e = 0x1000; n < kSets; ++e, ++n) c.Set(Dicom_Tag(0x0043, e), &value);
    for (const Dicom_Tag& t : f.removed) c.Remove(t);
}

std::unique_ptr<IOD_Complex> Edited(const Fixture& f) {
    auto c = std::make_unique<IOD_Complex>(f.original);
    Edit(*c, f);
    return c;
}

// Bytes allocated from the heap, large (mmapped) blocks included.
size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void EditBench(benchmark::State& state, const Fixture* f) {
    long allocs = 0;
    double growth = 0;
    bool shared = false;
    const Dicom_Tag pixelData(0x7FE0, 0x0010);
    for (auto _ : state) {
        const size_t before = HeapInUse();
        AllocCountScope count;
        IOD_Complex c(f->original);
        Edit(c, *f);
        allocs += count.Count();
        growth += static_cast<double>(HeapInUse() - before);
        shared = c.Find(pixelData) != nullptr && c.Find(pixelData) == f->original->Find(pixelData);
        benchmark::DoNotOptimize(&c);
    }
    const double perIteration = growth / static_cast<double>(state.iterations());
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(allocs), benchmark::Counter::kAvgIterations);
    state.counters["heap_bytes"] = perIteration;
    state.counters["pixel_shared"] = shared ? 1 : 0;
}

void Find(benchmark::State& state, const Fixture* f, bool composite) {
    auto c = Edited(*f);
    const Dicom_Msg& m = composite ? static_cast<const Dicom_Msg&>(*c) : *f->original;
    const Dicom_Tag rows(0x0028, 0x0010);
    for (auto _ : state) benchmark::DoNotOptimize(m.Find(rows, false));
}

void Real(benchmark::State& state, const Fixture* f, bool composite) {
    auto c = Edited(*f);
    for (auto _ : state) {
        if (composite) {
            Kvl_AutoPtr<Dicom_Msg> real = c->ConstructRealMsg();
            benchmark::DoNotOptimize(real.get());
        } else {
            std::unique_ptr<Dicom_Msg> copy(f->original->Clone());
            benchmark::DoNotOptimize(copy.get());
        }
    }
}

void Encode(benchmark::State& state, const Fixture* f, bool composite) {
    auto c = Edited(*f);
    Kvl_AutoPtr<Dicom_Msg> real = c->ConstructRealMsg();
    const Dicom_Msg& m = composite ? static_cast<const Dicom_Msg&>(*c) : *real;
    std::vector<unsigned char> out;
    if (m.Encode(out) != 0) {
        state.SkipWithError("encode failed");
        return;
    }
    for (auto _ : state) {
        int rc = m.Encode(out);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * out.size()));
}

}  // namespace

int main(int argc, char** argv) {
    std::string dataDir = IOD_BENCH_TEST_FILES;
    if (!InitBenchmarks(argc, argv, dataDir)) return 1;

    // Benchmarks keep pointers to the inputs and fixtures: they live until the end of main.
    static const std::vector<BenchInput> inputs = LoadBenchInputs(dataDir);
    static std::vector<std::unique_ptr<Fixture>> fixtures;
    benchmark::AddCustomContext("alloc_counter", AllocCounterWorks() ? "on" : "off");
    for (const BenchInput& in : inputs) {
        if (in.headerOnly) continue;
        std::unique_ptr<Fixture> f = MakeFixture(in);
        if (!f) continue;
        const Fixture* p = f.get();
        fixtures.push_back(std::move(f));
        const auto unit = in.data.size() > (1u << 20) ? benchmark::kMicrosecond : benchmark::kNanosecond;
        const std::string& name = in.name;
        benchmark::RegisterBenchmark(("edit/" + name).c_str(), EditBench, p)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("find/" + name + "/original").c_str(), Find, p, false);
        benchmark::RegisterBenchmark(("find/" + name + "/composite").c_str(), Find, p, true);
        benchmark::RegisterBenchmark(("real/" + name + "/clone_original").c_str(), Real, p, false)
            ->Unit(unit);
        benchmark::RegisterBenchmark(("real/" + name + "/construct_real_msg").c_str(), Real, p, true)
            ->Unit(unit);
        benchmark::RegisterBenchmark(("encode/" + name + "/real").c_str(), Encode, p, false)->Unit(unit);
        benchmark::RegisterBenchmark(("encode/" + name + "/composite").c_str(), Encode, p, true)->Unit(unit);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
