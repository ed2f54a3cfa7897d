// Hostile input: lying lengths, undefined lengths where none is allowed, deep nesting,
// truncation at every byte, random damage and decompression bombs. Inputs are placed right
// before a page that cannot be read, so that any read past their end crashes the test.
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <random>

#include "Dicom_Codec.h"
#include "test_codec_builder.h"

using testbytes::Bytes;

namespace {

// Bytes that end exactly where an unreadable page begins.
class Guarded {
public:
    explicit Guarded(const std::vector<unsigned char>& bytes) : m_size(bytes.size()) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        m_mapped = ((m_size + page - 1) / page + 1) * page;
        void* p = mmap(nullptr, m_mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) std::abort();
        m_base = static_cast<unsigned char*>(p);
        if (mprotect(m_base + m_mapped - page, page, PROT_NONE) != 0) std::abort();
        m_data = m_base + m_mapped - page - m_size;
        if (m_size) std::memcpy(m_data, bytes.data(), m_size);
    }
    ~Guarded() { munmap(m_base, m_mapped); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;
    unsigned char* data() { return m_data; }
    size_t size() const { return m_size; }

private:
    unsigned char* m_base = nullptr;
    unsigned char* m_data = nullptr;
    size_t m_size;
    size_t m_mapped = 0;
};

// Parses with copy 0 (values point into the guarded bytes) and uses the result.
int ParseGuarded(const std::vector<unsigned char>& bytes, int* elements = nullptr,
                 const Dicom_TransferSyntax& ts = Dicom_TransferSyntax()) {
    Guarded g(bytes);
    int status = 7;
    Dicom_Msg m(g.data(), g.size(), 0, ts, &status);
    if (elements) *elements = m.GetNElements();
    // Whatever was read is a complete message: measure it, write it, copy it.
    std::vector<unsigned char> out;
    const Dicom_DumpLen len =
        m.GetDumpLen(Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN));
    if (m.Encode(out, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN)) == 0) {
        EXPECT_TRUE(len.IsValid());
        EXPECT_EQ(len.GetDumpLen(), out.size());
    }
    Dicom_Msg copy(m);
    EXPECT_EQ(copy.GetNElements(), m.GetNElements());
    return status;
}

const Dicom_TransferSyntax kExplicit(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
const Dicom_TransferSyntax kImplicit(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN);

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

TEST(Hostile, LyingLengthsFailWithoutReadingPastTheEnd) {
    int n = 0;
    // A value longer than what remains, in each length form.
    Bytes a;
    a.ex(0x0008, 0x0060, "CS", "CT").exh(0x0010, 0x0010, "PN", 200).raw("SHORT");
    EXPECT_EQ(ParseGuarded(a.b, &n, kExplicit), -1);
    EXPECT_EQ(n, 1);  // what came before the fault is kept
    Bytes b;
    b.ex(0x0008, 0x0060, "CS", "CT").exh(0x7FE0, 0x0010, "OW", 0xFFFFFFF0u).raw("ab");
    EXPECT_EQ(ParseGuarded(b.b, &n, kExplicit), -1);
    Bytes c;
    c.im(0x0008, 0x0060, "CT").imh(0x0010, 0x0010, 0x7FFFFFFFu).raw("x");
    EXPECT_EQ(ParseGuarded(c.b, &n, kImplicit), -1);
    EXPECT_EQ(n, 1);
    // An item longer than its sequence, a sequence longer than the input.
    Bytes d;
    d.exh(0x0008, 0x1115, "SQ", 16).item(100).ex(0x0008, 0x1150, "UI", "1.2.");
    EXPECT_EQ(ParseGuarded(d.b, &n, kExplicit), -1);
    Bytes e;  // its items end with the input: read up to there (test_tolerance.cpp)
    e.exh(0x0008, 0x1115, "SQ", 1000).item(8).ex(0x0008, 0x1150, "UI", "");
    EXPECT_EQ(ParseGuarded(e.b, &n, kExplicit), 0);
    e.ex(0x0008, 0x1150, "UI", "");  // they no longer do
    EXPECT_EQ(ParseGuarded(e.b, &n, kExplicit), -1);
    // A header cut in the middle.
    Bytes f;
    f.ex(0x0008, 0x0060, "CS", "CT").tag(0x0010, 0x0010).raw("P");
    EXPECT_EQ(ParseGuarded(f.b, &n, kExplicit), -1);
}

TEST(Hostile, UndefinedLengthOnlyWhereItIsAllowed) {
    int n = 0;
    Bytes a;
    a.ex(0x0008, 0x0060, "CS", "CT").exh(0x0028, 0x0010, "UL", 0xFFFFFFFFu).raw(std::string(16, '\0'));
    EXPECT_EQ(ParseGuarded(a.b, &n, kExplicit), -1);
    Bytes b;  // implicit: Rows is US in the dictionary
    b.imh(0x0028, 0x0010, 0xFFFFFFFFu).raw(std::string(16, '\0'));
    EXPECT_EQ(ParseGuarded(b.b, &n, kImplicit), -1);
    // Sequences, items and fragments left open at the end of the input.
    Bytes c;
    c.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item().ex(0x0008, 0x1150, "UI", "1.2.");
    EXPECT_EQ(ParseGuarded(c.b, &n, kExplicit), -1);
    Bytes d;
    d.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item(0);
    EXPECT_EQ(ParseGuarded(d.b, &n, kExplicit), -1);
    Bytes e;
    e.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0).item(4).raw("abcd");
    EXPECT_EQ(ParseGuarded(e.b, &n, Dicom_TransferSyntax("1.2.840.10008.1.2.4.50")), -1);
    Bytes f;  // a fragment of undefined length
    f.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0).item().raw("abcd").seqEnd();
    EXPECT_EQ(ParseGuarded(f.b, &n, Dicom_TransferSyntax("1.2.840.10008.1.2.4.50")), -1);
    // Delimiters where they do not belong.
    Bytes g;
    g.ex(0x0008, 0x0060, "CS", "CT").itemEnd();
    EXPECT_EQ(ParseGuarded(g.b, &n, kExplicit), -1);
    Bytes h;
    h.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).ex(0x0008, 0x1150, "UI", "1.2.").seqEnd();
    EXPECT_EQ(ParseGuarded(h.b, &n, kExplicit), -1);
}

TEST(Hostile, NestingIsBoundedAt64Levels) {
    int n = 0;
    EXPECT_EQ(ParseGuarded(Nested(64), &n, kExplicit), 0);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(ParseGuarded(Nested(65), &n, kExplicit), -1);
    EXPECT_EQ(ParseGuarded(Nested(5000), &n, kExplicit), -1);  // no stack exhaustion
    // Also inside UN of undefined length, which is read as an implicit sequence.
    Bytes u;
    u.exh(0x0009, 0x1001, "UN", 0xFFFFFFFFu);
    for (int i = 0; i < 100; ++i) u.item().imh(0x0040, 0xA730, 0xFFFFFFFFu);
    EXPECT_EQ(ParseGuarded(u.b, &n, kExplicit), -1);
}

TEST(Hostile, EveryTruncationOfAFileIsHandled) {
    // A file image with meta group, sequence, private and encapsulated data.
    Bytes f = testbytes::FileHeader("1.2.840.10008.1.2.4.50");
    f.ex(0x0008, 0x0060, "CS", "MR");
    f.exh(0x0008, 0x1115, "SQ", 0xFFFFFFFFu).item(16).ex(0x0008, 0x1150, "UI", "1.2.3.4.").seqEnd();
    f.ex(0x0029, 0x0010, "LO", "QUORVEX1").ex(0x0029, 0x1017, "SH", "LBL ");
    f.exh(0x7FE0, 0x0010, "OB", 0xFFFFFFFFu).item(0).item(4).raw("abcd").seqEnd();
    int full = 0;
    ASSERT_EQ(ParseGuarded(f.b, &full), 0);
    int failures = 0;
    for (size_t cut = 0; cut < f.size(); ++cut) {
        std::vector<unsigned char> part(f.b.begin(), f.b.begin() + static_cast<long>(cut));
        int n = 0;
        const int status = ParseGuarded(part, &n);
        if (status != 0) ++failures;
        EXPECT_LE(n, full);
    }
    // Nearly every cut falls inside an element; the few at element boundaries read as shorter
    // data sets.
    EXPECT_GT(failures, static_cast<int>(f.size()) * 9 / 10);

    auto ct = testbytes::ReadFile(testbytes::PydicomFile("CT_small.dcm"));
    if (ct.empty()) return;
    for (size_t cut = 0; cut < ct.size(); cut += 97) {
        std::vector<unsigned char> part(ct.begin(), ct.begin() + static_cast<long>(cut));
        (void)ParseGuarded(part);
    }
}

TEST(Hostile, RandomDamageNeverCrashes) {
    std::vector<std::vector<unsigned char>> seeds;
    seeds.push_back(Nested(3));
    for (const char* name :
         {"CT_small.dcm", "rtplan.dcm", "JPEG2000.dcm", "MR_small_bigendian.dcm", "image_dfl.dcm"}) {
        auto bytes = testbytes::ReadFile(testbytes::PydicomFile(name));
        if (!bytes.empty()) seeds.push_back(std::move(bytes));
    }
    std::mt19937 rng(20261122);
    for (const auto& seed : seeds) {
        for (int round = 0; round < 60; ++round) {
            std::vector<unsigned char> b = seed;
            const int flips = 1 + static_cast<int>(rng() % 8);
            for (int i = 0; i < flips; ++i) {
                const size_t at = rng() % b.size();
                switch (rng() % 3) {
                    case 0:
                        b[at] = static_cast<unsigned char>(rng());
                        break;
                    case 1:
                        b[at] = 0xFF;
                        break;
                    default:
                        b[at] = static_cast<unsigned char>(b[at] ^ 0x80);
                        break;
                }
            }
            (void)ParseGuarded(b);
        }
    }
}

TEST(Hostile, InflationIsBounded) {
    // 4 MiB of zeros deflate to a few KiB; inflating them into at most 1 MiB must fail cleanly.
    std::vector<unsigned char> zeros(4u << 20, 0);
    std::vector<unsigned char> z;
    ASSERT_TRUE(Dicom_Codec::Deflate(zeros.data(), zeros.size(), z));
    ASSERT_LT(z.size(), 16384u);
    unsigned char* out = nullptr;
    size_t outLength = 0;
    EXPECT_FALSE(Dicom_Codec::Inflate(z.data(), z.size(), 1u << 20, &out, &outLength));
    EXPECT_EQ(out, nullptr);
    ASSERT_TRUE(Dicom_Codec::Inflate(z.data(), z.size(), 8u << 20, &out, &outLength));
    EXPECT_EQ(outLength, zeros.size());
    std::free(out);
    // Truncated streams fail.
    EXPECT_FALSE(Dicom_Codec::Inflate(z.data(), z.size() / 2, 8u << 20, &out, &outLength));
    // In a file image, a bomb is bounded by the size of its input.
    std::vector<unsigned char> huge(64u << 20, 0);
    std::vector<unsigned char> zh;
    ASSERT_TRUE(Dicom_Codec::Deflate(huge.data(), huge.size(), zh));
    huge.clear();
    huge.shrink_to_fit();
    Bytes f = testbytes::FileHeader(Dicom_TransferSyntax::DEFLATED_UID);
    f.raw(zh);
    EXPECT_EQ(ParseGuarded(f.b), -1);
}
