// The benchmark inputs. The multi-frame CT is written here byte by byte, without the library,
// so that every implementation under test reads the same independent encoding.
#include "bench_inputs.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

bool ReadFile(const std::string& path, std::vector<unsigned char>& out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !out.empty();
}

namespace {

// A minimal Explicit VR Little Endian writer.
class Writer {
public:
    explicit Writer(std::vector<unsigned char>& out) : m_out(out) {}

    void U16(uint16_t v) {
        m_out.push_back(static_cast<unsigned char>(v));
        m_out.push_back(static_cast<unsigned char>(v >> 8));
    }
    void U32(uint32_t v) {
        U16(static_cast<uint16_t>(v));
        U16(static_cast<uint16_t>(v >> 16));
    }
    void Header(uint16_t group, uint16_t element, const char* vr, uint32_t length) {
        U16(group);
        U16(element);
        m_out.push_back(static_cast<unsigned char>(vr[0]));
        m_out.push_back(static_cast<unsigned char>(vr[1]));
        if (IsLong(vr)) {
            U16(0);
            U32(length);
        } else {
            U16(static_cast<uint16_t>(length));
        }
    }
    // A text value, padded to even length (UI with NUL, the others with a space).
    void Text(uint16_t group, uint16_t element, const char* vr, const char* text) {
        size_t n = std::strlen(text);
        size_t padded = n + (n & 1);
        Header(group, element, vr, static_cast<uint32_t>(padded));
        m_out.insert(m_out.end(), text, text + n);
        if (padded != n) m_out.push_back(std::strcmp(vr, "UI") == 0 ? '\0' : ' ');
    }
    void US(uint16_t group, uint16_t element, uint16_t v) {
        Header(group, element, "US", 2);
        U16(v);
    }
    void UL(uint16_t group, uint16_t element, uint32_t v) {
        Header(group, element, "UL", 4);
        U32(v);
    }
    void AT(uint16_t group, uint16_t element, uint16_t g, uint16_t e) {
        Header(group, element, "AT", 4);
        U16(g);
        U16(e);
    }
    void Item(uint16_t element, uint32_t length) {
        U16(0xFFFE);
        U16(element);
        U32(length);
    }
    size_t Size() const { return m_out.size(); }
    void PatchU32(size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i)
            m_out[at + static_cast<size_t>(i)] = static_cast<unsigned char>(v >> (8 * i));
    }

private:
    static bool IsLong(const char* vr) {
        static const char* const kLong[] = {"OB", "OD", "OF", "OL", "OV", "OW",
                                            "SQ", "UC", "UN", "UR", "UT", "UV"};
        for (const char* l : kLong) {
            if (vr[0] == l[0] && vr[1] == l[1]) return true;
        }
        return false;
    }
    std::vector<unsigned char>& m_out;
};

constexpr const char* kCTStorage = "1.2.840.10008.5.1.4.1.1.2";
constexpr const char* kInstance = "1.2.826.0.1.3680043.2.1125.1.20240101.120000.1";

}  // namespace

std::vector<unsigned char> MakeMultiFrameCT(uint16_t rows, uint16_t columns, uint32_t frames,
                                            bool withPixelData) {
    std::vector<unsigned char> out(132, 0);  // preamble and magic
    std::memcpy(out.data() + 128, "DICM", 4);
    Writer w(out);

    // Meta information group; its group length is patched in once the group is written.
    w.UL(0x0002, 0x0000, 0);
    size_t groupLengthAt = w.Size() - 4;
    size_t groupStart = w.Size();
    w.Header(0x0002, 0x0001, "OB", 2);
    w.U16(0x0100);
    w.Text(0x0002, 0x0002, "UI", kCTStorage);
    w.Text(0x0002, 0x0003, "UI", kInstance);
    w.Text(0x0002, 0x0010, "UI", "1.2.840.10008.1.2.1");
    w.Text(0x0002, 0x0012, "UI", "1.2.826.0.1.3680043.2.1125.99");
    w.Text(0x0002, 0x0013, "SH", "BENCHGEN");
    w.PatchU32(groupLengthAt, static_cast<uint32_t>(w.Size() - groupStart));

    w.Text(0x0008, 0x0005, "CS", "ISO_IR 100");
    w.Text(0x0008, 0x0008, "CS", "ORIGINAL\\PRIMARY\\AXIAL");
    w.Text(0x0008, 0x0012, "DA", "20240101");
    w.Text(0x0008, 0x0013, "TM", "120000.000000");
    w.Text(0x0008, 0x0016, "UI", kCTStorage);
    w.Text(0x0008, 0x0018, "UI", kInstance);
    w.Text(0x0008, 0x0020, "DA", "20240101");
    w.Text(0x0008, 0x0021, "DA", "20240101");
    w.Text(0x0008, 0x0022, "DA", "20240101");
    w.Text(0x0008, 0x0023, "DA", "20240101");
    w.Text(0x0008, 0x0030, "TM", "115500");
    w.Text(0x0008, 0x0031, "TM", "115800");
    w.Text(0x0008, 0x0032, "TM", "115912.250000");
    w.Text(0x0008, 0x0033, "TM", "115912.750000");
    w.Text(0x0008, 0x0050, "SH", "ACC0001234");
    w.Text(0x0008, 0x0060, "CS", "CT");
    w.Text(0x0008, 0x0070, "LO", "BENCH MEDICAL SYSTEMS");
    w.Text(0x0008, 0x0080, "LO", "GENERAL HOSPITAL");
    w.Text(0x0008, 0x0090, "PN", "REFERRER^ANNA");
    w.Text(0x0008, 0x1010, "SH", "CT01");
    w.Text(0x0008, 0x1030, "LO", "CHEST ABDOMEN PELVIS");
    w.Text(0x0008, 0x103E, "LO", "AXIAL 1.25MM");
    w.Text(0x0008, 0x1090, "LO", "BENCHSCANNER 128");
    // Referenced Image Sequence: one item, both of undefined length.
    w.Header(0x0008, 0x1140, "SQ", 0xFFFFFFFF);
    w.Item(0xE000, 0xFFFFFFFF);
    w.Text(0x0008, 0x1150, "UI", kCTStorage);
    w.Text(0x0008, 0x1155, "UI", "1.2.826.0.1.3680043.2.1125.1.20240101.115500.7");
    w.Item(0xE00D, 0);
    w.Item(0xE0DD, 0);
    w.Text(0x0010, 0x0010, "PN", "DOE^JOHN^Q");
    w.Text(0x0010, 0x0020, "LO", "PID-000042");
    w.Text(0x0010, 0x0030, "DA", "19600229");
    w.Text(0x0010, 0x0040, "CS", "M");
    w.Text(0x0010, 0x1010, "AS", "063Y");
    w.Text(0x0018, 0x0015, "CS", "CHEST");
    w.Text(0x0018, 0x0050, "DS", "1.25");
    w.Text(0x0018, 0x0060, "DS", "120");
    w.Text(0x0018, 0x0088, "DS", "1.25");
    w.Text(0x0018, 0x1020, "LO", "BENCH 4.2.1");
    w.Text(0x0018, 0x1063, "DS", "100");
    w.Text(0x0018, 0x1100, "DS", "360");
    w.Text(0x0018, 0x1120, "DS", "0");
    w.Text(0x0018, 0x1150, "IS", "1000");
    w.Text(0x0018, 0x1151, "IS", "250");
    w.Text(0x0018, 0x1152, "IS", "250");
    w.Text(0x0018, 0x1210, "SH", "STANDARD");
    w.Text(0x0018, 0x5100, "CS", "HFS");
    w.Text(0x0020, 0x000D, "UI", "1.2.826.0.1.3680043.2.1125.1.20240101.1");
    w.Text(0x0020, 0x000E, "UI", "1.2.826.0.1.3680043.2.1125.1.20240101.1.2");
    w.Text(0x0020, 0x0010, "SH", "STUDY1");
    w.Text(0x0020, 0x0011, "IS", "2");
    w.Text(0x0020, 0x0013, "IS", "1");
    w.Text(0x0020, 0x0032, "DS", "-180.000\\-180.000\\-12.500");
    w.Text(0x0020, 0x0037, "DS", "1\\0\\0\\0\\1\\0");
    w.Text(0x0020, 0x0052, "UI", "1.2.826.0.1.3680043.2.1125.1.20240101.1.9");
    w.Text(0x0020, 0x1041, "DS", "-12.500");
    w.US(0x0028, 0x0002, 1);
    w.Text(0x0028, 0x0004, "CS", "MONOCHROME2");
    w.Text(0x0028, 0x0008, "IS", std::to_string(frames).c_str());
    w.AT(0x0028, 0x0009, 0x0018, 0x1063);
    w.US(0x0028, 0x0010, rows);
    w.US(0x0028, 0x0011, columns);
    w.Text(0x0028, 0x0030, "DS", "0.703125\\0.703125");
    w.US(0x0028, 0x0100, 16);
    w.US(0x0028, 0x0101, 12);
    w.US(0x0028, 0x0102, 11);
    w.US(0x0028, 0x0103, 0);
    w.Text(0x0028, 0x1050, "DS", "40");
    w.Text(0x0028, 0x1051, "DS", "400");
    w.Text(0x0028, 0x1052, "DS", "-1024");
    w.Text(0x0028, 0x1053, "DS", "1");
    if (!withPixelData) return out;

    uint64_t pixels = uint64_t{rows} * columns * frames;
    w.Header(0x7FE0, 0x0010, "OW", static_cast<uint32_t>(pixels * 2));
    size_t at = out.size();
    out.resize(at + pixels * 2);
    // Deterministic 12-bit noise: the content does not matter to a parser, only its size.
    uint32_t state = 12345;
    for (uint64_t i = 0; i < pixels; ++i) {
        state = state * 1664525u + 1013904223u;
        uint16_t v = static_cast<uint16_t>((state >> 16) & 0x0FFF);
        out[at + 2 * i] = static_cast<unsigned char>(v);
        out[at + 2 * i + 1] = static_cast<unsigned char>(v >> 8);
    }
    return out;
}

std::vector<BenchInput> LoadBenchInputs(const std::string& testFilesDir) {
    std::vector<BenchInput> inputs;
    for (const char* name : {"CT_small", "MR_small"}) {
        BenchInput in;
        in.name = name;
        std::string path = testFilesDir + "/" + name + ".dcm";
        if (!ReadFile(path, in.data)) {
            std::fprintf(stderr, "dicom_bench: %s not found; its benchmarks are left out\n", path.c_str());
            continue;
        }
        inputs.push_back(std::move(in));
    }
    BenchInput big;
    big.name = "CT_10MB";
    big.data = MakeMultiFrameCT(512, 512, 20, true);
    inputs.push_back(std::move(big));
    BenchInput header;
    header.name = "CT_10MB_header";
    header.data = MakeMultiFrameCT(512, 512, 20, false);
    header.headerOnly = true;
    inputs.push_back(std::move(header));
    return inputs;
}

bool InitBenchmarks(int argc, char** argv, std::string& dataDir, std::vector<const char*> defaults) {
    std::vector<char*> args{argv[0]};
    for (const char* flag : defaults) args.push_back(const_cast<char*>(flag));
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--data-dir=", 11) == 0) {
            dataDir = argv[i] + 11;
        } else {
            args.push_back(argv[i]);
        }
    }
    int n = static_cast<int>(args.size());
    benchmark::Initialize(&n, args.data());
    return !benchmark::ReportUnrecognizedArguments(n, args.data());
}
