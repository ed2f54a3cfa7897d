// Dicom_Charset: Specific Character Set registry and conversions (see Dicom_Charset.h).
#include "Dicom_Charset.h"

#include <Dicom/Dicom_Type.h>
#include <iconv.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string_view>

static_assert(sizeof(wchar_t) == 4, "wchar_t holds UTF-32 on the supported platforms");

namespace {

// --- character sets named by (0008,0005) terms ---

enum Term : uint8_t {
    T_DEFAULT,  // "", ISO_IR 6, ISO 2022 IR 6
    // single-byte sets: ASCII in the lower half, the set's letters in the upper half
    T_LATIN1,
    T_LATIN2,
    T_LATIN3,
    T_LATIN4,
    T_CYRILLIC,
    T_ARABIC,
    T_GREEK,
    T_HEBREW,
    T_LATIN5,
    T_LATIN9,
    T_THAI,
    T_JIS_X0201,  // IR 13: romaji (G0), half-width katakana (G1)
    T_JIS_X0208,  // IR 87 (G0, two bytes)
    T_JIS_X0212,  // IR 159 (G0, two bytes)
    T_KSC,        // IR 149 (G1, two bytes)
    T_GB2312,     // IR 58 (G1, two bytes)
    T_UTF8,
    T_GB18030,
    T_GBK,
    T_UNKNOWN,
    T_COUNT
};

constexpr int kSingleByteCount = T_THAI - T_LATIN1 + 1;

struct SingleByteSet {
    const char* iconvName;
    char escapeFinal;  // ESC - <final> designates its upper half to G1
};
constexpr SingleByteSet kSingleByte[kSingleByteCount] = {
    {"ISO-8859-1", 'A'}, {"ISO-8859-2", 'B'},  {"ISO-8859-3", 'C'}, {"ISO-8859-4", 'D'},
    {"ISO-8859-5", 'L'}, {"ISO-8859-6", 'G'},  {"ISO-8859-7", 'F'}, {"ISO-8859-8", 'H'},
    {"ISO-8859-9", 'M'}, {"ISO-8859-15", 'b'}, {"TIS-620", 'T'},
};

struct TermName {
    const char* name;
    Term term;
};
constexpr TermName kTermNames[] = {
    {"ISO_IR 6", T_DEFAULT},          {"ISO 2022 IR 6", T_DEFAULT},    {"ISO_IR 100", T_LATIN1},
    {"ISO 2022 IR 100", T_LATIN1},    {"ISO_IR 101", T_LATIN2},        {"ISO 2022 IR 101", T_LATIN2},
    {"ISO_IR 109", T_LATIN3},         {"ISO 2022 IR 109", T_LATIN3},   {"ISO_IR 110", T_LATIN4},
    {"ISO 2022 IR 110", T_LATIN4},    {"ISO_IR 144", T_CYRILLIC},      {"ISO 2022 IR 144", T_CYRILLIC},
    {"ISO_IR 127", T_ARABIC},         {"ISO 2022 IR 127", T_ARABIC},   {"ISO_IR 126", T_GREEK},
    {"ISO 2022 IR 126", T_GREEK},     {"ISO_IR 138", T_HEBREW},        {"ISO 2022 IR 138", T_HEBREW},
    {"ISO_IR 148", T_LATIN5},         {"ISO 2022 IR 148", T_LATIN5},   {"ISO_IR 203", T_LATIN9},
    {"ISO 2022 IR 203", T_LATIN9},    {"ISO_IR 166", T_THAI},          {"ISO 2022 IR 166", T_THAI},
    {"ISO_IR 13", T_JIS_X0201},       {"ISO 2022 IR 13", T_JIS_X0201}, {"ISO 2022 IR 87", T_JIS_X0208},
    {"ISO 2022 IR 159", T_JIS_X0212}, {"ISO 2022 IR 149", T_KSC},      {"ISO 2022 IR 58", T_GB2312},
    {"ISO_IR 192", T_UTF8},           {"GB18030", T_GB18030},          {"GBK", T_GBK},
};

// Graphic sets that can be in G0 / G1 of an ISO 2022 text.
enum G0Set : uint8_t { G0_ASCII, G0_ROMAJI, G0_JIS0208, G0_JIS0212 };
enum G1Kind : uint8_t { G1_NONE, G1_SINGLE, G1_KATAKANA, G1_KSC, G1_GB2312 };
struct G1Set {
    G1Kind kind = G1_NONE;
    uint8_t single = 0;  // index into kSingleByte for G1_SINGLE
    bool operator==(const G1Set&) const = default;
};

constexpr size_t kMaxTerms = 8;

struct Entry {
    std::string name;
    std::array<Term, kMaxTerms> terms{};
    uint8_t n = 0;
    bool iso2022 = false;
    bool supported = true;
    bool scan = false;  // delimiters may hide inside multi-byte characters
    G0Set initG0 = G0_ASCII;
    G1Set initG1;
};

bool IsSingle(Term t) { return t >= T_LATIN1 && t <= T_THAI; }

Term TermOf(std::string_view s) {
    if (s.empty()) return T_DEFAULT;
    for (const TermName& tn : kTermNames) {
        if (s == tn.name) return tn.term;
    }
    return T_UNKNOWN;
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    return s;
}

void Describe(Entry& e) {
    // several values, or any "ISO 2022" term: code extensions
    e.iso2022 = e.n > 1 || e.name.find("ISO 2022") != std::string::npos;
    for (size_t i = 0; i < e.n; ++i) {
        const Term t = e.terms[i];
        if (t == T_UNKNOWN) e.supported = false;
        if (t == T_JIS_X0208 || t == T_JIS_X0212) e.scan = true;
        if (e.iso2022 && (t == T_UTF8 || t == T_GB18030 || t == T_GBK)) e.supported = false;
    }
    if (!e.iso2022 && e.n == 1 && (e.terms[0] == T_GB18030 || e.terms[0] == T_GBK)) e.scan = true;
    if (!e.iso2022 && e.n == 1 &&
        (e.terms[0] == T_JIS_X0208 || e.terms[0] == T_JIS_X0212 || e.terms[0] == T_KSC ||
         e.terms[0] == T_GB2312))
        e.iso2022 = true;  // a multi-byte set is only reachable through escapes
    const Term first = e.n ? e.terms[0] : T_DEFAULT;
    if (IsSingle(first)) e.initG1 = G1Set{G1_SINGLE, static_cast<uint8_t>(first - T_LATIN1)};
    if (first == T_JIS_X0201) {
        e.initG0 = G0_ROMAJI;
        e.initG1 = G1Set{G1_KATAKANA, 0};
    }
    if (first == T_KSC) e.initG1 = G1Set{G1_KSC, 0};
    if (first == T_GB2312) e.initG1 = G1Set{G1_GB2312, 0};
}

// --- the registry ---

constexpr size_t kMaxEntries = 1024;

class Registry {
public:
    Registry() {
        auto* e = new Entry();  // index 0: the default repertoire
        Describe(*e);
        m_entries[0] = e;
        m_count.store(1, std::memory_order_release);
    }
    ~Registry() {
        for (size_t i = 0; i < m_count.load(); ++i) delete m_entries[i];
    }
    const Entry& Get(unsigned short i) const {
        return i < m_count.load(std::memory_order_acquire) ? *m_entries[i] : *m_entries[0];
    }
    // Lookups of known values (every parsed message with (0008,0005)) take no lock and
    // allocate nothing for values of up to 256 bytes; new values are added under the lock.
    unsigned short Intern(std::string_view raw) {
        char local[256];
        std::string heap;
        char* buf = local;
        if (raw.size() > sizeof local) {
            heap.resize(raw.size());
            buf = heap.data();
        }
        // canonical form: each value trimmed, trailing empty values dropped, '\\' between
        size_t len = 0, keep = 0;
        size_t start = 0;
        for (bool first = true;; first = false) {
            const size_t d = raw.find('\\', start);
            const std::string_view part = Trim(raw.substr(start, d == raw.npos ? raw.npos : d - start));
            if (!first) buf[len++] = '\\';
            std::memcpy(buf + len, part.data(), part.size());
            len += part.size();
            if (!part.empty() || first) keep = len;
            if (d == raw.npos) break;
            start = d + 1;
        }
        const std::string_view canonical(buf, keep);
        if (canonical.empty()) return 0;
        const int found = Find(canonical);
        if (found >= 0) return static_cast<unsigned short>(found);

        std::lock_guard<std::mutex> lock(m_mutex);
        const int again = Find(canonical);
        if (again >= 0) return static_cast<unsigned short>(again);
        Entry parsed;
        parsed.name.assign(canonical);
        for (size_t from = 0;;) {
            const size_t d = canonical.find('\\', from);
            if (parsed.n < kMaxTerms)
                parsed.terms[parsed.n++] =
                    TermOf(canonical.substr(from, d == canonical.npos ? canonical.npos : d - from));
            if (d == canonical.npos) break;
            from = d + 1;
        }
        const size_t n = m_count.load(std::memory_order_relaxed);
        if (n >= kMaxEntries) {
            for (size_t i = 0; i < n; ++i) {
                if (m_entries[i]->n == parsed.n && m_entries[i]->terms == parsed.terms)
                    return static_cast<unsigned short>(i);
            }
            return 0;
        }
        Describe(parsed);
        m_entries[n] = new Entry(std::move(parsed));
        m_count.store(n + 1, std::memory_order_release);
        return static_cast<unsigned short>(n);
    }

private:
    int Find(std::string_view name) const {
        const size_t n = m_count.load(std::memory_order_acquire);
        for (size_t i = 1; i < n; ++i) {
            if (m_entries[i]->name == name) return static_cast<int>(i);
        }
        return -1;
    }

    std::mutex m_mutex;
    std::atomic<size_t> m_count{0};
    std::array<Entry*, kMaxEntries> m_entries{};
};

Registry& TheRegistry() {
    static Registry r;
    return r;
}

// --- single-byte tables (built once with iconv) ---

struct SingleTable {
    char32_t upper[128];  // code points of 0x80..0xFF; 0xFFFD where the set has none
};

const SingleTable& TableOf(int set) {
    static SingleTable tables[kSingleByteCount];
    static std::once_flag once[kSingleByteCount];
    std::call_once(once[set], [set] {
        SingleTable& t = tables[set];
        iconv_t cd = iconv_open("WCHAR_T", kSingleByte[set].iconvName);
        for (int b = 0x80; b <= 0xFF; ++b) {
            t.upper[b - 0x80] = 0xFFFD;
            if (cd == reinterpret_cast<iconv_t>(-1)) continue;
            char in = static_cast<char>(b);
            wchar_t outc = 0;
            char* ip = &in;
            char* op = reinterpret_cast<char*>(&outc);
            size_t il = 1, ol = sizeof outc;
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
            if (iconv(cd, &ip, &il, &op, &ol) != static_cast<size_t>(-1) && ol == 0)
                t.upper[b - 0x80] = static_cast<char32_t>(outc);
        }
        if (cd != reinterpret_cast<iconv_t>(-1)) iconv_close(cd);
    });
    return tables[set];
}

int SingleByteCode(int set, char32_t c) {
    const SingleTable& t = TableOf(set);
    for (int i = 0; i < 128; ++i) {
        if (t.upper[i] == c) return 0x80 + i;
    }
    return -1;
}

// --- multi-byte conversions through iconv (one converter per thread and direction) ---

enum MultiByte { MB_EUCJP, MB_EUCKR, MB_GB2312, MB_GB18030, MB_GBK, MB_COUNT };
constexpr const char* kMultiByteNames[MB_COUNT] = {"EUC-JP", "EUC-KR", "GB2312", "GB18030", "GBK"};

struct Converters {
    iconv_t decode[MB_COUNT];
    iconv_t encode[MB_COUNT];
    Converters() {
        for (int i = 0; i < MB_COUNT; ++i) decode[i] = encode[i] = reinterpret_cast<iconv_t>(-1);
    }
    ~Converters() {
        for (int i = 0; i < MB_COUNT; ++i) {
            if (decode[i] != reinterpret_cast<iconv_t>(-1)) iconv_close(decode[i]);
            if (encode[i] != reinterpret_cast<iconv_t>(-1)) iconv_close(encode[i]);
        }
    }
    Converters(const Converters&) = delete;
    Converters& operator=(const Converters&) = delete;
};

iconv_t Converter(MultiByte mb, bool decode) {
    thread_local Converters conv;
    iconv_t& cd = decode ? conv.decode[mb] : conv.encode[mb];
    if (cd == reinterpret_cast<iconv_t>(-1))
        cd = decode ? iconv_open("WCHAR_T", kMultiByteNames[mb]) : iconv_open(kMultiByteNames[mb], "WCHAR_T");
    if (cd != reinterpret_cast<iconv_t>(-1)) iconv(cd, nullptr, nullptr, nullptr, nullptr);
    return cd;
}

// Decodes bytes of a multi-byte set; undecodable units become U+FFFD (a unit is `unit` bytes,
// or one byte for the variable-length sets).
bool DecodeMulti(MultiByte mb, const char* p, size_t n, std::u32string& out, size_t unit) {
    iconv_t cd = Converter(mb, true);
    bool ok = true;
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        out.append(n / (unit ? unit : 1), U'\uFFFD');
        return false;
    }
    char* ip = const_cast<char*>(p);
    size_t il = n;
    wchar_t buf[256];
    while (il > 0) {
        char* op = reinterpret_cast<char*>(buf);
        size_t ol = sizeof buf;
        const size_t r = iconv(cd, &ip, &il, &op, &ol);
        const size_t produced = static_cast<size_t>(reinterpret_cast<wchar_t*>(op) - buf);
        for (size_t i = 0; i < produced; ++i) out += static_cast<char32_t>(buf[i]);
        if (r != static_cast<size_t>(-1)) break;
        if (errno == E2BIG) continue;
        // EILSEQ or EINVAL (incomplete at the end): replace one unit and go on
        ok = false;
        out += U'\uFFFD';
        const size_t skip = unit && il >= unit ? unit : 1;
        ip += skip;
        il -= skip;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
    }
    return ok;
}

// Encodes one code point in a multi-byte set; returns the bytes (empty when it has no code).
std::string EncodeMulti(MultiByte mb, char32_t c) {
    iconv_t cd = Converter(mb, false);
    if (cd == reinterpret_cast<iconv_t>(-1)) return {};
    wchar_t in = static_cast<wchar_t>(c);
    char* ip = reinterpret_cast<char*>(&in);
    size_t il = sizeof in;
    char buf[8];
    char* op = buf;
    size_t ol = sizeof buf;
    if (iconv(cd, &ip, &il, &op, &ol) == static_cast<size_t>(-1)) return {};
    return std::string(buf, static_cast<size_t>(op - buf));
}

// --- UTF-8 ---

bool DecodeUTF8(const char* s, size_t n, std::u32string& out) {
    bool ok = true;
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    size_t i = 0;
    while (i < n) {
        const unsigned char b = p[i];
        if (b < 0x80) {
            out += b;
            ++i;
            continue;
        }
        int len = b >= 0xF0 && b <= 0xF4 ? 4 : b >= 0xE0 ? 3 : b >= 0xC2 && b < 0xE0 ? 2 : 0;
        char32_t c = len == 4 ? b & 0x07u : len == 3 ? b & 0x0Fu : b & 0x1Fu;
        bool good = len > 0 && i + static_cast<size_t>(len) <= n;
        for (int k = 1; good && k < len; ++k) {
            if ((p[i + static_cast<size_t>(k)] & 0xC0) != 0x80) good = false;
            c = (c << 6) | (p[i + static_cast<size_t>(k)] & 0x3Fu);
        }
        if (good && ((len == 3 && (c < 0x800 || (c >= 0xD800 && c <= 0xDFFF))) ||
                     (len == 4 && (c < 0x10000 || c > 0x10FFFF))))
            good = false;
        if (!good) {
            out += U'\uFFFD';
            ok = false;
            ++i;
            continue;
        }
        out += c;
        i += static_cast<size_t>(len);
    }
    return ok;
}

void EncodeUTF8(const std::u32string& s, std::string& out) {
    for (char32_t c : s) Dicom_Charset::AppendUTF8(c, out);
}

// --- decoding ---

char32_t Romaji(unsigned char b) { return b == 0x5C ? U'\u00A5' : b == 0x7E ? U'\u203E' : b; }

bool IsDelimiter(unsigned char b, bool pn) {
    return b == '\\' || b == '\r' || b == '\n' || b == '\t' || b == '\f' || (pn && (b == '^' || b == '='));
}

// Length of an escape sequence at p[0] == ESC (intermediates 0x20-0x2F, then a final byte); 0
// when truncated.
size_t EscapeLength(const unsigned char* p, size_t n) {
    size_t i = 1;
    while (i < n && p[i] >= 0x20 && p[i] <= 0x2F) ++i;
    return i < n && p[i] >= 0x30 && p[i] <= 0x7E ? i + 1 : 0;
}

// Applies a designation; false when the sequence designates nothing this module knows.
bool Designate(std::string_view esc, G0Set& g0, G1Set& g1) {
    if (esc == "\x1b(B")
        g0 = G0_ASCII;
    else if (esc == "\x1b(J")
        g0 = G0_ROMAJI;
    else if (esc == "\x1b$B" || esc == "\x1b$@" || esc == "\x1b$(B")
        g0 = G0_JIS0208;
    else if (esc == "\x1b$(D")
        g0 = G0_JIS0212;
    else if (esc == "\x1b)I")
        g1 = G1Set{G1_KATAKANA, 0};
    else if (esc == "\x1b$)C")
        g1 = G1Set{G1_KSC, 0};
    else if (esc == "\x1b$)A")
        g1 = G1Set{G1_GB2312, 0};
    else if (esc.size() == 3 && esc[1] == '-') {
        for (int i = 0; i < kSingleByteCount; ++i) {
            if (kSingleByte[i].escapeFinal == esc[2]) {
                g1 = G1Set{G1_SINGLE, static_cast<uint8_t>(i)};
                return true;
            }
        }
        return false;
    } else {
        return false;
    }
    return true;
}

bool DecodeISO2022(const Entry& e, const unsigned char* p, size_t n, bool pn, std::u32string& out) {
    bool ok = true;
    G0Set g0 = e.initG0;
    G1Set g1 = e.initG1;
    std::string run;
    size_t i = 0;
    while (i < n) {
        const unsigned char b = p[i];
        if (b == 0x1B) {
            const size_t len = EscapeLength(p + i, n - i);
            if (len == 0 || !Designate(std::string_view(reinterpret_cast<const char*>(p + i), len), g0, g1)) {
                out += U'\uFFFD';
                ok = false;
                i += len ? len : 1;
            } else {
                i += len;
            }
            continue;
        }
        if (b < 0x21 || ((g0 == G0_ASCII || g0 == G0_ROMAJI) && IsDelimiter(b, pn))) {
            if (b < 0x20 || IsDelimiter(b, pn)) g0 = e.initG0;
            out += b;
            ++i;
            continue;
        }
        if (b < 0x80) {
            if (g0 == G0_ASCII) {
                out += b;
                ++i;
            } else if (g0 == G0_ROMAJI) {
                out += Romaji(b);
                ++i;
            } else {
                // two-byte G0 characters: as EUC-JP with the high bits set
                run.clear();
                while (i + 1 < n && p[i] >= 0x21 && p[i] < 0x7F && p[i + 1] >= 0x21 && p[i + 1] < 0x7F) {
                    if (g0 == G0_JIS0212) run += static_cast<char>(0x8F);
                    run += static_cast<char>(p[i] | 0x80);
                    run += static_cast<char>(p[i + 1] | 0x80);
                    i += 2;
                }
                if (run.empty()) {  // a lone byte
                    out += U'\uFFFD';
                    ok = false;
                    ++i;
                } else {
                    ok &= DecodeMulti(MB_EUCJP, run.data(), run.size(), out, g0 == G0_JIS0212 ? 3 : 2);
                }
            }
            continue;
        }
        switch (g1.kind) {
            case G1_SINGLE: {
                const char32_t c = TableOf(g1.single).upper[b - 0x80];
                ok &= c != 0xFFFD;
                out += c;
                ++i;
                break;
            }
            case G1_KATAKANA:
                if (b >= 0xA1 && b <= 0xDF) {
                    out += static_cast<char32_t>(0xFF61 + (b - 0xA1));
                } else {
                    out += U'\uFFFD';
                    ok = false;
                }
                ++i;
                break;
            case G1_KSC:
            case G1_GB2312: {
                run.clear();
                while (i + 1 < n && p[i] >= 0xA1 && p[i] < 0xFF && p[i + 1] >= 0xA1 && p[i + 1] < 0xFF) {
                    run += static_cast<char>(p[i]);
                    run += static_cast<char>(p[i + 1]);
                    i += 2;
                }
                if (run.empty()) {
                    out += U'\uFFFD';
                    ok = false;
                    ++i;
                } else {
                    ok &=
                        DecodeMulti(g1.kind == G1_KSC ? MB_EUCKR : MB_GB2312, run.data(), run.size(), out, 2);
                }
                break;
            }
            case G1_NONE:
                out += U'\uFFFD';
                ok = false;
                ++i;
                break;
        }
    }
    return ok;
}

bool Decode(const Entry& e, const char* data, size_t n, bool pn, std::u32string& out) {
    const auto* p = reinterpret_cast<const unsigned char*>(data);
    if (e.iso2022) return DecodeISO2022(e, p, n, pn, out);
    const Term t = e.n ? e.terms[0] : T_DEFAULT;
    switch (t) {
        case T_UTF8:
            return DecodeUTF8(data, n, out);
        case T_GB18030:
            return DecodeMulti(MB_GB18030, data, n, out, 0);
        case T_GBK:
            return DecodeMulti(MB_GBK, data, n, out, 0);
        case T_JIS_X0201: {
            bool ok = true;
            for (size_t i = 0; i < n; ++i) {
                if (p[i] < 0x80) {
                    out += Romaji(p[i]);
                } else if (p[i] >= 0xA1 && p[i] <= 0xDF) {
                    out += static_cast<char32_t>(0xFF61 + (p[i] - 0xA1));
                } else {
                    out += U'\uFFFD';
                    ok = false;
                }
            }
            return ok;
        }
        default:
            break;
    }
    if (IsSingle(t)) {
        const SingleTable& table = TableOf(t - T_LATIN1);
        bool ok = true;
        for (size_t i = 0; i < n; ++i) {
            const char32_t c = p[i] < 0x80 ? p[i] : table.upper[p[i] - 0x80];
            ok &= c != 0xFFFD;
            out += c;
        }
        return ok;
    }
    // the default repertoire (and unknown sets): bytes above 0x7F read as ISO 8859-1
    for (size_t i = 0; i < n; ++i) out += p[i];
    return t != T_UNKNOWN;
}

// --- encoding ---

const char* G0Escape(G0Set g) {
    switch (g) {
        case G0_ASCII:
            return "\x1b(B";
        case G0_ROMAJI:
            return "\x1b(J";
        case G0_JIS0208:
            return "\x1b$B";
        case G0_JIS0212:
            return "\x1b$(D";
    }
    return "";
}

std::string G1Escape(G1Set g) {
    switch (g.kind) {
        case G1_SINGLE:
            return std::string("\x1b-") + kSingleByte[g.single].escapeFinal;
        case G1_KATAKANA:
            return "\x1b)I";
        case G1_KSC:
            return "\x1b$)C";
        case G1_GB2312:
            return "\x1b$)A";
        case G1_NONE:
            break;
    }
    return {};
}

bool EncodeISO2022(const Entry& e, const std::u32string& text, bool pn, std::string& out) {
    G0Set g0 = e.initG0;
    G1Set g1 = e.initG1;
    auto setG0 = [&](G0Set want) {
        if (g0 != want) {
            out += G0Escape(want);
            g0 = want;
        }
    };
    auto setG1 = [&](G1Set want) {
        if (!(g1 == want)) {
            out += G1Escape(want);
            g1 = want;
        }
    };
    for (char32_t c : text) {
        if (c < 0x80) {
            if (c == 0x1B) return false;
            if (c < 0x20 || IsDelimiter(static_cast<unsigned char>(c), pn)) {
                setG0(e.initG0);
                out += static_cast<char>(c);
                g1 = e.initG1;  // designations are repeated after delimiters
                continue;
            }
            if (g0 != G0_ASCII && !(g0 == G0_ROMAJI && c != 0x5C && c != 0x7E)) setG0(G0_ASCII);
            out += static_cast<char>(c);
            continue;
        }
        bool done = false;
        for (size_t k = 0; k < e.n && !done; ++k) {
            const Term t = e.terms[k];
            if (IsSingle(t)) {
                const int code = SingleByteCode(t - T_LATIN1, c);
                if (code >= 0xA0) {
                    setG1(G1Set{G1_SINGLE, static_cast<uint8_t>(t - T_LATIN1)});
                    out += static_cast<char>(code);
                    done = true;
                }
            } else if (t == T_JIS_X0201) {
                if (c >= 0xFF61 && c <= 0xFF9F) {
                    setG1(G1Set{G1_KATAKANA, 0});
                    out += static_cast<char>(0xA1 + (c - 0xFF61));
                    done = true;
                } else if (c == 0xA5 || c == 0x203E) {
                    setG0(G0_ROMAJI);
                    out += c == 0xA5 ? '\x5C' : '\x7E';
                    done = true;
                }
            } else if (t == T_JIS_X0208 || t == T_JIS_X0212) {
                const std::string b = EncodeMulti(MB_EUCJP, c);
                const auto u = [&](size_t i) { return static_cast<unsigned char>(b[i]); };
                if (t == T_JIS_X0208 && b.size() == 2 && u(0) >= 0xA1 && u(1) >= 0xA1) {
                    setG0(G0_JIS0208);
                    out += static_cast<char>(u(0) & 0x7F);
                    out += static_cast<char>(u(1) & 0x7F);
                    done = true;
                } else if (t == T_JIS_X0212 && b.size() == 3 && u(0) == 0x8F) {
                    setG0(G0_JIS0212);
                    out += static_cast<char>(u(1) & 0x7F);
                    out += static_cast<char>(u(2) & 0x7F);
                    done = true;
                }
            } else if (t == T_KSC || t == T_GB2312) {
                const std::string b = EncodeMulti(t == T_KSC ? MB_EUCKR : MB_GB2312, c);
                if (b.size() == 2 && static_cast<unsigned char>(b[0]) >= 0xA1) {
                    setG1(G1Set{t == T_KSC ? G1_KSC : G1_GB2312, 0});
                    out += b;
                    done = true;
                }
            }
        }
        if (!done) return false;
    }
    setG0(e.initG0);
    return true;
}

bool Encode(const Entry& e, const std::u32string& text, bool pn, std::string& out) {
    if (e.iso2022) return EncodeISO2022(e, text, pn, out);
    const Term t = e.n ? e.terms[0] : T_DEFAULT;
    if (t == T_UTF8) {
        EncodeUTF8(text, out);
        return true;
    }
    for (char32_t c : text) {
        if (c < 0x80 && !(t == T_JIS_X0201 && (c == 0x5C || c == 0x7E))) {
            out += static_cast<char>(c);
            continue;
        }
        if (IsSingle(t)) {
            const int code = SingleByteCode(t - T_LATIN1, c);
            if (code < 0) return false;
            out += static_cast<char>(code);
        } else if (t == T_JIS_X0201) {
            if (c >= 0xFF61 && c <= 0xFF9F)
                out += static_cast<char>(0xA1 + (c - 0xFF61));
            else if (c == 0xA5)
                out += '\x5C';
            else if (c == 0x203E)
                out += '\x7E';
            else
                return false;
        } else if (t == T_GB18030 || t == T_GBK) {
            const std::string b = EncodeMulti(t == T_GB18030 ? MB_GB18030 : MB_GBK, c);
            if (b.empty()) return false;
            out += b;
        } else {
            return false;  // the default repertoire has ASCII only
        }
    }
    return true;
}

}  // namespace

// --- public functions ---

unsigned short Dicom_Charset::IndexOf(const char* s, size_t length) {
    if (!s || length == 0) return 0;
    return TheRegistry().Intern(std::string_view(s, length));
}

std::string Dicom_Charset::Name(unsigned short index) {
    const Entry& e = TheRegistry().Get(index);
    return &e == &TheRegistry().Get(0) ? std::string() : e.name;
}

unsigned short Dicom_Charset::UTF8Index() {
    static const unsigned short index = IndexOf("ISO_IR 192", 10);
    return index;
}

bool Dicom_Charset::IsSupported(unsigned short index) { return TheRegistry().Get(index).supported; }

bool Dicom_Charset::IsPlainASCII(const char* data, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        const auto b = static_cast<unsigned char>(data[i]);
        if (b >= 0x80 || b == 0x1B) return false;
    }
    return true;
}

bool Dicom_Charset::ToUTF8(unsigned short index, const char* data, size_t length, std::string& out, bool pn) {
    if (IsPlainASCII(data, length)) {
        const Entry& e = TheRegistry().Get(index);
        if (e.initG0 == G0_ASCII) {
            out.append(data, length);
            return true;
        }
    }
    std::u32string u;
    const bool ok = Decode(TheRegistry().Get(index), data, length, pn, u);
    EncodeUTF8(u, out);
    return ok;
}

bool Dicom_Charset::ToWide(unsigned short index, const char* data, size_t length, std::wstring& out,
                           bool pn) {
    std::u32string u;
    const bool ok = Decode(TheRegistry().Get(index), data, length, pn, u);
    out.reserve(out.size() + u.size());
    for (char32_t c : u) out += static_cast<wchar_t>(c);
    return ok;
}

bool Dicom_Charset::FromUTF8(unsigned short index, const char* utf8, size_t length, std::string& out,
                             bool pn) {
    std::u32string u;
    if (!DecodeUTF8(utf8, length, u)) return false;
    return Encode(TheRegistry().Get(index), u, pn, out);
}

size_t Dicom_Charset::FindDelimiter(unsigned short index, const char* data, size_t length, size_t from,
                                    const char* delimiters) {
    const Entry& e = TheRegistry().Get(index);
    const auto* p = reinterpret_cast<const unsigned char*>(data);
    if (from >= length) return length;
    if (!e.scan && delimiters[0] && !delimiters[1]) {
        const void* q = std::memchr(p + from, delimiters[0], length - from);
        return q ? static_cast<size_t>(static_cast<const unsigned char*>(q) - p) : length;
    }
    uint64_t set[2] = {0, 0};  // the delimiters are ASCII
    for (const char* d = delimiters; *d; ++d) {
        const auto b = static_cast<unsigned char>(*d);
        if (b < 128) set[b >> 6] |= uint64_t(1) << (b & 63);
    }
    auto isDelim = [&set](unsigned char b) { return b < 128 && (set[b >> 6] >> (b & 63) & 1) != 0; };
    if (!e.scan) {
        for (size_t i = from; i < length; ++i) {
            if (isDelim(p[i])) return i;
        }
        return length;
    }
    if (!e.iso2022) {  // GB18030 / GBK: skip the trail bytes of multi-byte characters
        for (size_t i = from; i < length;) {
            const unsigned char b = p[i];
            if (b < 0x80) {
                if (isDelim(b)) return i;
                ++i;
            } else if (b >= 0x81 && b <= 0xFE && i + 1 < length) {
                const unsigned char b2 = p[i + 1];
                i += (b2 >= 0x30 && b2 <= 0x39 && i + 3 < length) ? 4 : 2;
            } else {
                ++i;
            }
        }
        return length;
    }
    bool multi = false;  // a two-byte set is in G0
    for (size_t i = from; i < length;) {
        const unsigned char b = p[i];
        if (b == 0x1B) {
            const size_t len = EscapeLength(p + i, length - i);
            if (len) {
                const std::string_view esc(data + i, len);
                if (esc == "\x1b(B" || esc == "\x1b(J") multi = false;
                if (esc == "\x1b$B" || esc == "\x1b$@" || esc == "\x1b$(B" || esc == "\x1b$(D") multi = true;
            }
            i += len ? len : 1;
            continue;
        }
        if (b < 0x21) multi = false;
        if (!multi && isDelim(b)) return i;
        ++i;
    }
    return length;
}

bool Dicom_Charset::CanEncode(unsigned short index, const Dicom_Type& value) {
    if (!value.IsI18nStringType() || value.GetCharset() == index) return true;
    const char* data = reinterpret_cast<const char*>(value.GetData());
    const size_t n = value.GetRawLen();
    if (IsPlainASCII(data, n)) return true;
    std::string utf8, encoded;
    const bool pn = value.GetVR() == Dicom_VR::PN;
    if (!ToUTF8(value.GetCharset(), data, n, utf8, pn)) return false;
    return FromUTF8(index, utf8.data(), utf8.size(), encoded, pn);
}

unsigned short Dicom_Charset::Decide(unsigned short messageCharset, const char* utf8, size_t length) {
    if (IsPlainASCII(utf8, length)) return messageCharset;
    std::string encoded;
    if (FromUTF8(messageCharset, utf8, length, encoded)) return messageCharset;
    return UTF8Index();
}

int Dicom_Charset::Transcode(Dicom_Type& value, unsigned short index) {
    if (!Dicom_GetVRInfo(value.GetVR()).text) return -1;
    if (value.GetCharset() == index) return 0;
    const char* data = reinterpret_cast<const char*>(value.GetData());
    const size_t n = value.GetRawLen();
    if (IsPlainASCII(data, n) && TheRegistry().Get(index).initG0 == G0_ASCII) {
        value.SetCharset(index);
        return 0;
    }
    std::string utf8, encoded;
    const bool pn = value.GetVR() == Dicom_VR::PN;
    if (!ToUTF8(value.GetCharset(), data, n, utf8, pn)) return -1;
    if (!FromUTF8(index, utf8.data(), utf8.size(), encoded, pn)) return -1;
    if (value.SetRaw(encoded.data(), static_cast<uint32_t>(encoded.size())) != 0) return -1;
    value.SetCharset(index);
    return 0;
}

void Dicom_Charset::AppendUTF8(char32_t c, std::string& out) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}
