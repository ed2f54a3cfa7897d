// Hostile input: lying lengths, misplaced undefined lengths and delimiters, deep nesting,
// truncation and inflation bombs (random damage is the fuzzers' job). Inputs end where an
// unreadable page begins, so that any read past their end crashes the test.
#include <Dicom/Dicom.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "Dicom_Codec.h"
#include "test_codec_builder.h"

using namespace testbytes;

namespace {

// Bytes that end exactly where an unreadable page begins.
struct Guarded {
    size_t mapped;
    unsigned char *base, *data;
    explicit Guarded(const std::vector<unsigned char>& bytes) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE)), n = bytes.size();
        mapped = ((n + page - 1) / page + 1) * page;
        void* p = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base = static_cast<unsigned char*>(p);
        if (p == MAP_FAILED || mprotect(base + mapped - page, page, PROT_NONE) != 0) std::abort();
        data = base + mapped - page - n;
        if (n) std::memcpy(data, bytes.data(), n);
    }
    ~Guarded() { munmap(base, mapped); }
};

// Parses with copy 0 (values point into the guarded bytes) and uses the result.
int ParseGuarded(const std::vector<unsigned char>& bytes, int* elements = nullptr,
                 const Dicom_TransferSyntax& ts = Dicom_TransferSyntax()) {
    Guarded g(bytes);
    int status = 7;
    Dicom_Msg m(g.data, bytes.size(), 0, ts, &status);
    if (elements) *elements = m.GetNElements();
    // Whatever was read is a complete message: measure it, write it, copy it.
    std::vector<unsigned char> out;
    const Dicom_DumpLen len = m.GetDumpLen(kImplicit);
    if (m.Encode(out, kImplicit) == 0) {
        EXPECT_TRUE(len.IsValid());
        EXPECT_EQ(len.GetDumpLen(), out.size());
    }
    Dicom_Msg copy(m);
    EXPECT_EQ(copy.GetNElements(), m.GetNElements());
    return status;
}

// Sequences nested `depth` levels deep, each of undefined length with one undefined item.
std::vector<unsigned char> Nested(int depth) {
    Bytes b;
    b.ex(0x0008, 0x0060, "CS", "CT");
    for (int i = 0; i < depth; ++i) b.exh(0x0040, 0xA730, "SQ", 0xFFFFFFFFu).item();
    b.ex(0x0040, 0xA160, "UT", "deep");
    for (int i = 0; i < depth; ++i) b.itemEnd().seqEnd();
    return b.b;
}

}  // namespace

TEST(Hostile, LyingLengthsAndMisplacedDelimitersFailWithoutReadingPastTheEnd) {
    const Dicom_TransferSyntax jpeg("1.2.840.10008.1.2.4.50");
    auto ct = [] { return Bytes().ex(0x0008, 0x0060, "CS", "CT"); };
    auto sq = [](uint32_t length) { return Bytes().exh(0x0008, 0x1115, "SQ", length); };
    auto px = [] { return Bytes().exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0); };
    const struct {
        int status, elements;  // elements read before the fault; -1: not checked
        const Dicom_TransferSyntax& ts;
        Bytes b;
    } cases[] = {
        {-1, 1, kExplicit, ct().exh(0x0010, 0x0010, "PN", 200).raw("SHORT")},  // value longer than the rest
        {-1, 1, kExplicit, ct().exh(0x7FE0, 0x0010, "OW", 0xFFFFFFF0u).raw("ab")},
        {-1, 1, kImplicit, Bytes().im(0x0008, 0x0060, "CT").imh(0x0010, 0x0010, 0x7FFFFFFFu).raw("x")},
        {-1, -1, kExplicit,
         sq(16).item(100).ex(0x0008, 0x1150, "UI", "1.2.")},  // item longer than its sequence
        {0, 1, kExplicit,
         sq(1000).item(8).ex(0x0008, 0x1150, "UI", "")},  // repaired: items end with the input
        {-1, -1, kExplicit, sq(1000).item(8).ex(0x0008, 0x1150, "UI", "").ex(0x0008, 0x1150, "UI", "")},
        {-1, 1, kExplicit, ct().tag(0x0010, 0x0010).raw("P")},  // header cut
        {-1, 0, kExplicit, Bytes().exh(0x0028, 0x0010, "UL", 0xFFFFFFFFu).raw(std::string(16, '\0'))},
        {-1, 0, kImplicit, Bytes().imh(0x0028, 0x0010, 0xFFFFFFFFu).raw(std::string(16, '\0'))},  // US
        {-1, -1, kExplicit, sq(0xFFFFFFFFu).item().ex(0x0008, 0x1150, "UI", "1.2.")},             // open item
        {-1, -1, kExplicit, sq(0xFFFFFFFFu).item(0)},     // open sequence
        {-1, 0, jpeg, px().item(4).raw("abcd")},          // open fragments
        {-1, 0, jpeg, px().item().raw("abcd").seqEnd()},  // fragment of undefined length
        {-1, 1, kExplicit, ct().itemEnd()},               // item delimiter in a data set
        {-1, -1, kExplicit,
         sq(0xFFFFFFFFu).ex(0x0008, 0x1150, "UI", "1.2.").seqEnd()},  // element for an item
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        int n = -1;
        EXPECT_EQ(ParseGuarded(cases[i].b.b, &n, cases[i].ts), cases[i].status) << "case " << i;
        EXPECT_TRUE(cases[i].elements < 0 || n == cases[i].elements) << "case " << i;
    }
}

TEST(Hostile, NestingIsBoundedAt64Levels) {
    int n = 0;
    EXPECT_EQ(ParseGuarded(Nested(64), &n, kExplicit), 0);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(ParseGuarded(Nested(65), &n, kExplicit), -1);
    EXPECT_EQ(ParseGuarded(Nested(5000), &n, kExplicit), -1);  // no stack exhaustion
    Bytes u;  // also inside UN of undefined length, read as an implicit sequence
    u.exh(0x0009, 0x1001, "UN", 0xFFFFFFFFu);
    for (int i = 0; i < 100; ++i) u.item().imh(0x0040, 0xA730, 0xFFFFFFFFu);
    EXPECT_EQ(ParseGuarded(u.b, &n, kExplicit), -1);
}

TEST(Hostile, EveryTruncationIsHandled) {
    Bytes f = FileHeader("1.2.840.10008.1.2.4.50");
    f.ex(0x0008, 0x0060, "CS", "MR");
    f.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item(16).ex(0x0008, 0x1150, "UI", "1.2.3.4.").seqEnd();
    f.ex(0x0029, 0x0010, "LO", "QUORVEX1").ex(0x0029, 0x1017, "SH", "LBL ");
    f.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0).item(4).raw("abcd").seqEnd();
    int full = 0, failures = 0;
    ASSERT_EQ(ParseGuarded(f.b, &full), 0);
    for (size_t cut = 0; cut < f.size(); ++cut) {
        int n = 0;
        failures +=
            ParseGuarded(std::vector<unsigned char>(f.b.begin(), f.b.begin() + static_cast<long>(cut)), &n) !=
            0;
        EXPECT_LE(n, full);
    }
    // Nearly every cut falls inside an element; the few at element boundaries read as shorter data sets.
    EXPECT_GT(failures, static_cast<int>(f.size()) * 9 / 10);
}

TEST(Hostile, InflationIsBounded) {
    // 4 MiB of zeros deflate to a few KiB; inflating them into at most 1 MiB fails cleanly.
    std::vector<unsigned char> zeros(4u << 20, 0), z;
    ASSERT_TRUE(Dicom_Codec::Deflate(zeros.data(), zeros.size(), z));
    unsigned char* out = nullptr;
    size_t outLength = 0;
    EXPECT_FALSE(Dicom_Codec::Inflate(z.data(), z.size(), 1u << 20, &out, &outLength) || out);
    EXPECT_FALSE(Dicom_Codec::Inflate(z.data(), z.size() / 2, 8u << 20, &out, &outLength));  // truncated
    ASSERT_TRUE(Dicom_Codec::Inflate(z.data(), z.size(), 4u << 20, &out, &outLength));
    EXPECT_EQ(outLength, zeros.size());
    std::free(out);
}
