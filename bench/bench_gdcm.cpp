// GDCM on the same inputs: parse a file image from memory (a stream over the buffer, without a
// copy into a string stream), encode the data set into memory.
#include <benchmark/benchmark.h>

#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "bench_benchmarks.h"
#include "gdcmFile.h"
#include "gdcmReader.h"
#include "gdcmVersion.h"
#include "gdcmWriter.h"

namespace {

// A seekable read-only stream buffer over caller memory.
class MemoryInBuf : public std::streambuf {
public:
    MemoryInBuf(const unsigned char* data, size_t size) {
        char* p = reinterpret_cast<char*>(const_cast<unsigned char*>(data));
        setg(p, p, p + size);
    }

protected:
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
        if (!(which & std::ios_base::in)) return pos_type(off_type(-1));
        off_type base = dir == std::ios_base::beg   ? 0
                        : dir == std::ios_base::cur ? gptr() - eback()
                                                    : egptr() - eback();
        off_type to = base + off;
        if (to < 0 || to > egptr() - eback()) return pos_type(off_type(-1));
        setg(eback(), eback() + to, egptr());
        return pos_type(to);
    }
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
        return seekoff(off_type(pos), std::ios_base::beg, which);
    }
};

// A write-only stream buffer over a fixed block of memory.
class MemoryOutBuf : public std::streambuf {
public:
    explicit MemoryOutBuf(std::vector<char>& block) { setp(block.data(), block.data() + block.size()); }
    size_t Written() const { return static_cast<size_t>(pptr() - pbase()); }

protected:
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
        if (off == 0 && dir == std::ios_base::cur && (which & std::ios_base::out))
            return pos_type(pptr() - pbase());
        return pos_type(off_type(-1));
    }
};

// gdcm::Writer that writes the data set alone (no preamble, no meta header), like the layer's
// Encode without file meta.
class DataSetWriter : public gdcm::Writer {
public:
    DataSetWriter() { SetWriteDataSetOnly(true); }
};

bool ReadGdcm(const BenchInput& in, gdcm::Reader& reader) {
    MemoryInBuf buf(in.data.data(), in.data.size());
    std::istream is(&buf);
    reader.SetStream(is);
    return reader.Read();
}

void Parse(benchmark::State& state, const BenchInput* in) {
    for (auto _ : state) {
        gdcm::Reader reader;
        if (!ReadGdcm(*in, reader)) {
            state.SkipWithError(("GDCM cannot parse " + in->name).c_str());
            break;
        }
        benchmark::DoNotOptimize(&reader.GetFile());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in->data.size()));
}

// Writes the data set only, in the syntax it was read in.
void Encode(benchmark::State& state, const BenchInput* in) {
    gdcm::Reader reader;
    if (!ReadGdcm(*in, reader)) {
        state.SkipWithError(("GDCM cannot parse " + in->name).c_str());
        return;
    }
    std::vector<char> block(in->data.size() * 2 + 65536);
    size_t written = 0;
    for (auto _ : state) {
        MemoryOutBuf buf(block);
        std::ostream os(&buf);
        DataSetWriter writer;
        writer.SetStream(os);
        writer.SetFile(reader.GetFile());
        if (!writer.Write()) {
            state.SkipWithError(("GDCM cannot encode " + in->name).c_str());
            break;
        }
        written = buf.Written();
        benchmark::DoNotOptimize(block.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * written));
}

}  // namespace

void RegisterGdcmBenchmarks(const std::vector<BenchInput>& inputs) {
    benchmark::AddCustomContext("gdcm", gdcm::Version::GetVersion());
    for (const BenchInput& in : inputs) {
        if (in.headerOnly) continue;
        auto unit = in.data.size() > (1u << 20) ? benchmark::kMicrosecond : benchmark::kNanosecond;
        benchmark::RegisterBenchmark(("parse/" + in.name + "/gdcm").c_str(), Parse, &in)->Unit(unit);
        benchmark::RegisterBenchmark(("encode/" + in.name + "/gdcm").c_str(), Encode, &in)->Unit(unit);
    }
}
