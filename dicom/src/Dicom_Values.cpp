// The value classes: validation, construction, numbers, null constants.
#include <Dicom/Dicom_AE.h>
#include <Dicom/Dicom_AS.h>
#include <Dicom/Dicom_AT.h>
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_DA.h>
#include <Dicom/Dicom_DS.h>
#include <Dicom/Dicom_DT.h>
#include <Dicom/Dicom_FD.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_IS.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_LT.h>
#include <Dicom/Dicom_OB.h>
#include <Dicom/Dicom_OD.h>
#include <Dicom/Dicom_OF.h>
#include <Dicom/Dicom_OL.h>
#include <Dicom/Dicom_OV.h>
#include <Dicom/Dicom_OW.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SL.h>
#include <Dicom/Dicom_SS.h>
#include <Dicom/Dicom_ST.h>
#include <Dicom/Dicom_SV.h>
#include <Dicom/Dicom_TM.h>
#include <Dicom/Dicom_UC.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UL.h>
#include <Dicom/Dicom_UN.h>
#include <Dicom/Dicom_UR.h>
#include <Dicom/Dicom_US.h>
#include <Dicom/Dicom_UT.h>
#include <Dicom/Dicom_UV.h>
#include <zlib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include "Dicom_Charset.h"
#include "Dicom_ValuesUtil.h"

namespace U = Dicom_ValuesUtil;

// --- null constants: constant-initialised, usable from any static initialiser ---

constinit const Dicom_AE AE_NULL;
constinit const Dicom_AS AS_NULL;
constinit const Dicom_AT At_NULL;
constinit const Dicom_CS CS_NULL;
constinit const Dicom_DA DA_NULL;
constinit const Dicom_DS DS_NULL;
constinit const Dicom_DT DT_NULL;
constinit const Dicom_FD FD_NULL;
constinit const Dicom_FL FL_NULL;
constinit const Dicom_IS IS_NULL;
constinit const Dicom_LO LO_NULL;
constinit const Dicom_LT LT_NULL;
constinit const Dicom_OB OB_NULL;
constinit const Dicom_OD OD_NULL;
constinit const Dicom_OF OF_NULL;
constinit const Dicom_OL OL_NULL;
constinit const Dicom_OV OV_NULL;
constinit const Dicom_OW OW_NULL;
constinit const Dicom_PN PN_NULL;
constinit const Dicom_SH SH_NULL;
constinit const Dicom_SL SL_NULL;
constinit const Dicom_SS SS_NULL;
constinit const Dicom_ST ST_NULL;
constinit const Dicom_SV SV_NULL;
constinit const Dicom_TM TM_NULL;
constinit const Dicom_UC UC_NULL;
constinit const Dicom_UI UI_NULL;
constinit const Dicom_UL UL_NULL;
constinit const Dicom_UN UN_NULL;
constinit const Dicom_UR UR_NULL;
constinit const Dicom_US US_NULL;
constinit const Dicom_UT UT_NULL;
constinit const Dicom_UV UV_NULL;

// --- helpers ---

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AllDigits(std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return IsDigit(c); });
}

int Num(std::string_view s) {
    int v = 0;
    for (char c : s) v = v * 10 + (c - '0');
    return v;
}

bool ValidDate(std::string_view s) {
    if (s.size() != 8 || !AllDigits(s)) return false;
    const int y = Num(s.substr(0, 4)), m = Num(s.substr(4, 2)), d = Num(s.substr(6, 2));
    static const int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (m < 1 || m > 12 || d < 1 || d > kDays[m - 1]) return false;
    if (m == 2 && d == 29 && !((y % 4 == 0 && y % 100 != 0) || y % 400 == 0)) return false;
    return true;
}

// HH[MM[SS[.F{1,6}]]]
bool ValidTime(std::string_view s) {
    const size_t dot = s.find('.');
    const std::string_view hms = s.substr(0, dot);
    if (hms.size() < 2 || hms.size() > 6 || hms.size() % 2 || !AllDigits(hms)) return false;
    if (Num(hms.substr(0, 2)) > 23) return false;
    if (hms.size() >= 4 && Num(hms.substr(2, 2)) > 59) return false;
    if (hms.size() == 6 && Num(hms.substr(4, 2)) > 60) return false;  // 60: leap second
    if (dot != std::string_view::npos) {
        const std::string_view f = s.substr(dot + 1);
        if (hms.size() != 6 || f.empty() || f.size() > 6 || !AllDigits(f)) return false;
    }
    return true;
}

// YYYY[MM[DD[HH[MM[SS[.F{1,6}]]]]]][&ZZXX]
bool ValidDateTime(std::string_view s) {
    const size_t z = s.find_first_of("+-");
    if (z != std::string_view::npos) {
        const std::string_view off = s.substr(z + 1);
        if (off.size() != 4 || !AllDigits(off) || Num(off.substr(2, 2)) > 59) return false;
        s = s.substr(0, z);
    }
    const std::string_view date = s.substr(0, std::min<size_t>(8, s.size()));
    if (date.size() < 4 || date.size() % 2 || !AllDigits(date)) return false;
    if (date.size() >= 6) {
        const int m = Num(date.substr(4, 2));
        if (m < 1 || m > 12) return false;
    }
    if (date.size() == 8 && !ValidDate(date)) return false;
    if (s.size() > 8) return date.size() == 8 && ValidTime(s.substr(8));
    return s.find('.') == std::string_view::npos;
}

// "a-b" query ranges of DA, DT, TM: either end may be open, not both.
template <class F>
bool ValidMaybeRange(std::string_view s, F valid) {
    const size_t dash = s.find('-');
    if (dash == std::string_view::npos) return valid(s);
    const std::string_view a = s.substr(0, dash), b = s.substr(dash + 1);
    if (a.empty() && b.empty()) return false;
    return (a.empty() || valid(a)) && (b.empty() || valid(b));
}

bool ValidDecimal(std::string_view s) {
    double d;
    return U::ParseDouble(s, &d);
}

bool ValidUID(std::string_view s) {
    if (s.empty() || s.size() > 64) return false;
    size_t start = 0;
    for (;;) {
        const size_t dot = s.find('.', start);
        const std::string_view c =
            s.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start);
        if (c.empty() || !AllDigits(c) || (c.size() > 1 && c[0] == '0')) return false;
        if (dot == std::string_view::npos) return true;
        start = dot + 1;
    }
}

// No control characters but ESC (and, in free text, CR LF FF TAB).
bool NoControls(std::string_view s, bool freeText) {
    for (char ch : s) {
        const auto c = static_cast<unsigned char>(ch);
        if (c >= 0x20 || c == 0x1B) continue;
        if (freeText && (c == '\r' || c == '\n' || c == '\f' || c == '\t')) continue;
        return false;
    }
    return true;
}

bool Ascii(std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Characters (not bytes) of a text in `charset`.
size_t CharCount(unsigned short charset, std::string_view s, bool pn) {
    if (charset == 0 || Dicom_Charset::IsPlainASCII(s.data(), s.size())) return s.size();
    std::string u;
    Dicom_Charset::ToUTF8(charset, s.data(), s.size(), u, pn);
    return static_cast<size_t>(std::count_if(
        u.begin(), u.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

bool ValidValue(Dicom_VR vr, unsigned short charset, std::string_view raw) {
    const std::string_view v = U::TrimPadding(raw, false);
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    // PN limits each component group; a DA, DT or TM range each of its ends (by their formats)
    const bool range =
        (vr == Dicom_VR::DA || vr == Dicom_VR::DT || vr == Dicom_VR::TM) && v.find('-') != v.npos;
    if (info.maxLength && vr != Dicom_VR::PN && !range && CharCount(charset, v, false) > info.maxLength)
        return false;
    const std::string_view t = U::TrimPadding(v, true);
    switch (vr) {
        case Dicom_VR::AE:
            return Ascii(v) && NoControls(v, false) && (v.empty() || !t.empty());
        case Dicom_VR::AS:
            return v.empty() || (v.size() == 4 && AllDigits(v.substr(0, 3)) && std::strchr("DWMY", v[3]));
        case Dicom_VR::CS:
            return std::all_of(v.begin(), v.end(), [](char c) {
                return (c >= 'A' && c <= 'Z') || IsDigit(c) || c == ' ' || c == '_';
            });
        case Dicom_VR::DA:
            return t.empty() || ValidMaybeRange(t, ValidDate);
        case Dicom_VR::TM:
            return t.empty() || ValidMaybeRange(t, ValidTime);
        case Dicom_VR::DT:
            // a range holds a '-' that is not a UTC offset: try the value as one first
            return t.empty() || ValidDateTime(t) || ValidMaybeRange(t, ValidDateTime);
        case Dicom_VR::DS:
            return t.empty() || ValidDecimal(t);
        case Dicom_VR::IS: {
            long long n;
            return t.empty() || (U::ParseInt(t, &n) && n >= -2147483648LL && n <= 2147483647LL);
        }
        case Dicom_VR::UI:
            return v.empty() || ValidUID(v);
        case Dicom_VR::PN: {
            if (!NoControls(v, false)) return false;
            int groups = 0;
            size_t start = 0;
            for (;;) {
                const size_t eq = Dicom_Charset::FindDelimiter(charset, v.data(), v.size(), start, "=");
                const std::string_view g = v.substr(start, eq - start);
                if (++groups > 3 || CharCount(charset, g, true) > 64) return false;
                int comps = 1;
                for (size_t p = Dicom_Charset::FindDelimiter(charset, g.data(), g.size(), 0, "^");
                     p < g.size(); p = Dicom_Charset::FindDelimiter(charset, g.data(), g.size(), p + 1, "^"))
                    ++comps;
                if (comps > 5) return false;
                if (eq >= v.size()) return true;
                start = eq + 1;
            }
        }
        case Dicom_VR::LT:
        case Dicom_VR::ST:
        case Dicom_VR::UT:
            return NoControls(v, true);
        case Dicom_VR::UR:
            return Ascii(v) && NoControls(v, false) && v.find(' ') == std::string_view::npos;
        default:  // LO, SH, UC
            return NoControls(v, false);
    }
}

}  // namespace

bool U::ValidateTextValue(Dicom_VR vr, std::string_view value) { return ValidValue(vr, 0, value); }

bool U::ValidateText(Dicom_VR vr, unsigned short charset, std::string_view text) {
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    if (!info.text) return false;
    if (info.kind != DICOM_KIND_MULTI_VALUED) {
        const uint32_t limit = info.maxLength;
        return (!limit || CharCount(charset, U::TrimPadding(text, false), false) <= limit) &&
               ValidValue(vr, charset, text);
    }
    size_t start = 0;
    for (;;) {
        const size_t d = Dicom_Charset::FindDelimiter(charset, text.data(), text.size(), start, "\\");
        if (!ValidValue(vr, charset, text.substr(start, d - start))) return false;
        if (d >= text.size()) return true;
        start = d + 1;
    }
}

bool U::ParseInt(std::string_view s, long long* out) {
    s = TrimPadding(s, true);
    if (!s.empty() && s[0] == '+') s.remove_prefix(1);
    if (s.empty() || s[0] == '+') return false;
    long long v = 0;
    const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
    if (r.ec != std::errc() || r.ptr != s.data() + s.size()) return false;
    *out = v;
    return true;
}

bool U::ParseDouble(std::string_view s, double* out) {
    s = TrimPadding(s, true);
    if (!s.empty() && s[0] == '+') s.remove_prefix(1);
    if (s.empty() || s[0] == '+') return false;
    // digits, an optional fraction and exponent; no "inf", "nan" or hex forms
    for (char c : s) {
        if (!IsDigit(c) && c != '.' && c != '-' && c != 'e' && c != 'E' && c != '+') return false;
    }
    double v = 0;
    const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
    if (r.ec != std::errc() || r.ptr != s.data() + s.size()) return false;
    *out = v;
    return true;
}

std::string U::FormatDouble(double d, int maxLength) {
    char buf[64];
    auto r = std::to_chars(buf, buf + sizeof buf, d);
    std::string s(buf, r.ptr);
    for (int prec = 16; maxLength > 0 && static_cast<int>(s.size()) > maxLength && prec > 0; --prec) {
        r = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::general, prec);
        s.assign(buf, r.ptr);
    }
    return s;
}

bool U::WildcardMatch(std::string_view p, std::string_view t) {
    // iterative glob match with backtracking to the last '*'
    size_t pi = 0, ti = 0, star = std::string_view::npos, mark = 0;
    while (ti < t.size()) {
        if (pi < p.size() && (p[pi] == '?' || p[pi] == t[ti])) {
            ++pi;
            ++ti;
        } else if (pi < p.size() && p[pi] == '*') {
            star = pi++;
            mark = ti;
        } else if (star != std::string_view::npos) {
            pi = star + 1;
            ti = ++mark;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == '*') ++pi;
    return pi == p.size();
}

// --- Dicom_StringType ---

namespace {
constexpr size_t kMaxBytes = 0xFFFFFFFEu;

// wchar_t text (UTF-32 here) as UTF-8; false when it holds an invalid code point.
bool WideToUTF8(const wchar_t* w, std::string& out) {
    bool ok = true;
    for (; *w; ++w) {
        auto c = static_cast<uint32_t>(*w);
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            c = 0xFFFD;
            ok = false;
        }
        Dicom_Charset::AppendUTF8(static_cast<char32_t>(c), out);
    }
    return ok;
}
}  // namespace

bool Dicom_StringType::IsValid() const {
    return U::ValidateText(
        m_vr, m_charset,
        m_len ? std::string_view(reinterpret_cast<const char*>(m_data), m_len) : std::string_view());
}

void Dicom_StringType::InitText(const char* text, size_t length, int* status) {
    bool ok = true;
    if (length > kMaxBytes) {
        length = kMaxBytes;
        ok = false;
    }
    AssignCopy(text, static_cast<uint32_t>(length));
    if (status) *status = ok && IsValid() ? 0 : -1;
}

void Dicom_StringType::InitWide(const wchar_t* text, int* status) {
    std::string utf8;
    bool ok = !text || WideToUTF8(text, utf8);
    if (!Dicom_Charset::IsPlainASCII(utf8.data(), utf8.size())) {
        if (IsI18nStringType()) {
            m_charset = Dicom_Charset::UTF8Index();
        } else {
            ok = false;  // this VR allows the default repertoire only
        }
    }
    InitText(utf8.data(), utf8.size(), status);
    if (status && !ok) *status = -1;
}

void Dicom_StringType::InitBytes(void* data, unsigned int length, int copy, int* status) {
    if (!data || length == 0) {
        ReleaseOwned();
    } else if (copy) {
        AssignCopy(data, length);
    } else {
        AttachRaw(static_cast<const unsigned char*>(data), length);
    }
    if (status) *status = IsValid() ? 0 : -1;
}

void Dicom_StringType::InitValueOf(const Dicom_StringType& source, int i) {
    const std::string_view v = source.GetTextValue(i);
    AssignCopy(v.data(), static_cast<uint32_t>(v.size()));
    m_charset = source.m_charset;
}

// --- text numbers ---

Dicom_IS::Dicom_IS(int value) : Dicom_StringValue() {
    char buf[16];
    const auto r = std::to_chars(buf, buf + sizeof buf, value);
    AssignCopy(buf, static_cast<uint32_t>(r.ptr - buf));
}

Dicom_IS::Dicom_IS(void* data, unsigned int length, int copy, const Dicom_Endianity& /*order*/, int* status)
    : Dicom_StringValue(data, length, copy, status) {}

int Dicom_IS::GetValue(int i, int* out) const {
    long long v;
    if (!out || !U::ParseInt(GetTextValue(i), &v) || v < -2147483648LL || v > 2147483647LL) return -1;
    *out = static_cast<int>(v);
    return 0;
}

Dicom_IS::operator int() const {
    int v = 0;
    return GetValue(0, &v) == 0 ? v : 0;
}

Dicom_IS Dicom_IS::operator|(const Dicom_IS& other) const {
    Dicom_IS r(*this);
    r.AppendValue(other);
    return r;
}

Dicom_DS::Dicom_DS(double value) : Dicom_StringValue() {
    const std::string s = U::FormatDouble(value, 16);
    AssignCopy(s.data(), static_cast<uint32_t>(s.size()));
}

Dicom_DS::Dicom_DS(const std::vector<double>& values) : Dicom_StringValue() {
    std::string s;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i) s += '\\';
        s += U::FormatDouble(values[i], 16);
    }
    AssignCopy(s.data(), static_cast<uint32_t>(s.size()));
}

int Dicom_DS::GetValue(int i, double* out) const {
    double v;
    if (!out || !U::ParseDouble(GetTextValue(i), &v)) return -1;
    *out = v;
    return 0;
}

Dicom_DS::operator double() const {
    double v = 0;
    return GetValue(0, &v) == 0 ? v : 0.0;
}

Dicom_DS Dicom_DS::operator|(const Dicom_DS& other) const {
    Dicom_DS r(*this);
    r.AppendValue(other);
    return r;
}

// --- PN, DA, TM ---

Dicom_PN Dicom_PN::GetInitials() const {
    std::string utf8;
    const int n = GetVM();
    for (int i = 0; i < n; ++i) {
        if (i) utf8 += '\\';
        const std::string_view v = GetTextValue(i);
        const size_t eq = Dicom_Charset::FindDelimiter(m_charset, v.data(), v.size(), 0, "=");
        const std::string_view group = v.substr(0, eq);
        std::string initials;
        size_t kept = 0;  // length of `initials` up to its last non-empty component
        size_t start = 0;
        for (int comp = 0;; ++comp) {
            const size_t caret =
                Dicom_Charset::FindDelimiter(m_charset, group.data(), group.size(), start, "^");
            std::string text;
            const std::string_view c = group.substr(start, caret - start);
            Dicom_Charset::ToUTF8(m_charset, c.data(), c.size(), text, true);
            size_t p = text.find_first_not_of(' ');
            if (comp) initials += '^';
            if (p != std::string::npos) {
                size_t q = p + 1;  // whole UTF-8 sequence of the first character
                while (q < text.size() && (static_cast<unsigned char>(text[q]) & 0xC0) == 0x80) ++q;
                initials.append(text, p, q - p);
                kept = initials.size();
            }
            if (caret >= group.size()) break;
            start = caret + 1;
        }
        initials.resize(kept);
        utf8 += initials;
    }
    Dicom_PN result;
    std::string bytes;
    unsigned short cs = m_charset;
    if (Dicom_Charset::IsPlainASCII(utf8.data(), utf8.size())) {
        bytes = utf8;
    } else if (!Dicom_Charset::FromUTF8(m_charset, utf8.data(), utf8.size(), bytes, true)) {
        bytes = utf8;
        cs = Dicom_Charset::UTF8Index();
    }
    result.AssignCopy(bytes.data(), static_cast<uint32_t>(bytes.size()));
    result.m_charset = cs;
    return result;
}

Dicom_DA Dicom_DA::GetCurrentDate() {
    const time_t now = time(nullptr);
    struct tm t {};
    localtime_r(&now, &t);
    char buf[48];
    std::snprintf(buf, sizeof buf, "%04d%02d%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday);
    return Dicom_DA(buf);
}

Dicom_TM Dicom_TM::GetTickCount() {
    struct timespec ts {};
    clock_gettime(CLOCK_REALTIME, &ts);
    struct tm t {};
    localtime_r(&ts.tv_sec, &t);
    char buf[64];
    std::snprintf(buf, sizeof buf, "%02d%02d%02d.%06ld", t.tm_hour, t.tm_min, t.tm_sec, ts.tv_nsec / 1000);
    return Dicom_TM(buf);
}

// --- binary numbers ---

void Dicom_NumberType::InitBytes(void* data, unsigned int length, int copy, Dicom_Endianity order,
                                 int* status) {
    const Dicom_VRInfo& info = Dicom_GetVRInfo(m_vr);
    if (status) *status = info.width && length % info.width ? -1 : 0;
    if (!data || length == 0) {
        ReleaseOwned();
    } else if (order == DICOM_BIG_ENDIAN && info.swapUnit >= 2) {
        AssignCopy(data, length);
        U::SwapUnits(const_cast<unsigned char*>(m_data), m_len, info.swapUnit);  // our own copy
    } else if (copy) {
        AssignCopy(data, length);
    } else {
        AttachRaw(static_cast<const unsigned char*>(data), length);
    }
}

void Dicom_NumberType::InitValueOf(const Dicom_NumberType& source, int i) {
    const unsigned w = Dicom_GetVRInfo(m_vr).width;
    if (i >= 0 && static_cast<uint64_t>(i + 1) * w <= source.m_len)
        AssignCopy(source.m_data + static_cast<size_t>(i) * w, w);
}

void Dicom_NumberType::InitConcat(const Dicom_NumberType& a, const Dicom_NumberType& b) {
    const uint64_t total = uint64_t(a.m_len) + b.m_len;
    if (total > kMaxBytes) return;
    if (total <= sizeof(m_inline)) {
        unsigned char buf[sizeof(m_inline)];
        if (a.m_len) std::memcpy(buf, a.m_data, a.m_len);
        if (b.m_len) std::memcpy(buf + a.m_len, b.m_data, b.m_len);
        AssignCopy(buf, static_cast<uint32_t>(total));
        return;
    }
    auto* block = static_cast<unsigned char*>(std::malloc(total));
    if (!block) throw std::bad_alloc();
    if (a.m_len) std::memcpy(block, a.m_data, a.m_len);
    if (b.m_len) std::memcpy(block + a.m_len, b.m_data, b.m_len);
    AdoptBuffer(block, static_cast<uint32_t>(total));
}

Dicom_AT::Dicom_AT(unsigned short group, unsigned short element) : Dicom_NumberType(Dicom_VR::AT) {
    const unsigned short pair[2] = {group, element};
    AssignCopy(pair, 4);
}

Dicom_AT::Dicom_AT(void* data, unsigned int length, int copy, const Dicom_Endianity& order, int* status)
    : Dicom_NumberType(Dicom_VR::AT) {
    InitBytes(data, length, copy, order, status);
}

int Dicom_AT::GetGroupNumber(unsigned short* out) const {
    if (!out || m_len < 4) return -1;
    std::memcpy(out, m_data, 2);
    return 0;
}

int Dicom_AT::GetElementNumber(unsigned short* out) const {
    if (!out || m_len < 4) return -1;
    std::memcpy(out, m_data + 2, 2);
    return 0;
}

Dicom_Tag Dicom_AT::GetTag(int i) const {
    if (i < 0 || i >= Count()) return Dicom_Tag::ILLEGAL_TAG;
    unsigned short pair[2];
    std::memcpy(pair, m_data + static_cast<size_t>(i) * 4, 4);
    return Dicom_Tag(pair[0], pair[1]);
}

Dicom_AT Dicom_AT::operator[](int i) const {
    Dicom_AT r;
    r.InitValueOf(*this, i);
    return r;
}

Dicom_AT Dicom_AT::operator|(const Dicom_AT& other) const {
    Dicom_AT r;
    r.InitConcat(*this, other);
    return r;
}

// --- byte strings ---

void Dicom_OtherType::InitBytes(void* data, unsigned int length, int copy, Dicom_Endianity order,
                                int* status) {
    const Dicom_VRInfo& info = Dicom_GetVRInfo(m_vr);
    if (status) *status = info.width > 1 && length % info.width ? -1 : 0;
    if (!data || length == 0) {
        ReleaseOwned();
    } else if (order == DICOM_BIG_ENDIAN && info.swapUnit >= 2) {
        AssignCopy(data, length);
        U::SwapUnits(const_cast<unsigned char*>(m_data), m_len, info.swapUnit);
    } else if (copy) {
        AssignCopy(data, length);
    } else {
        AttachRaw(static_cast<const unsigned char*>(data), length);
    }
}

Dicom_DumpLen Dicom_OtherType::GetDumpLen() const {
    if (IsEncapsulated()) {
        if (m_len > 0xFFFFFFFFu - 8) return Dicom_DumpLen(false);
        return Dicom_DumpLen(m_len + 8u);
    }
    return Dicom_DumpLen(m_len + (m_len & 1u));
}

int Dicom_OtherType::Dump(void* out, unsigned int size, Dicom_Endianity order) const {
    const Dicom_DumpLen len = GetDumpLen();
    if (!len.IsValid() || !out || size < len.GetDumpLen()) return -1;
    auto* p = static_cast<unsigned char*>(out);
    if (m_len) std::memcpy(p, m_data, m_len);
    if (IsEncapsulated()) {
        static const unsigned char kDelimiter[8] = {0xFE, 0xFF, 0xDD, 0xE0, 0, 0, 0, 0};
        std::memcpy(p + m_len, kDelimiter, 8);
    } else {
        if (order == DICOM_BIG_ENDIAN) U::SwapUnits(p, m_len, Dicom_GetVRInfo(m_vr).swapUnit);
        if (m_len & 1u) p[m_len] = 0;
    }
    return static_cast<int>(len.GetDumpLen());
}

int Dicom_OtherType::DumpToTrustedBuffer(void* out, unsigned int size) const {
    if (!out || size < GetTrustedDumpLen()) return -1;
    auto* p = static_cast<unsigned char*>(out);
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(m_len >> (8 * i));
    p[4] = IsEncapsulated() ? 1 : 0;
    if (m_len) std::memcpy(p + 5, m_data, m_len);
    return static_cast<int>(GetTrustedDumpLen());
}

int Dicom_OtherType::LoadFromTrustedBuffer(const void* in, size_t available, size_t* consumed) {
    const auto* p = static_cast<const unsigned char*>(in);
    if (!p || available < 5) return -1;
    const uint32_t len = uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
    if (len > available - 5 || p[4] > 1) return -1;
    AssignCopy(p + 5, len);
    SetEncapsulated(p[4] == 1);
    if (consumed) *consumed = 5 + size_t(len);
    return 0;
}

int Dicom_OtherType::Copy(const Dicom_OtherType& source) {
    if (source.m_vr != m_vr) return -1;
    if (&source != this) *this = source;
    return 0;
}

unsigned int Dicom_OtherType::CheckSum() const {
    uLong crc = crc32(0L, Z_NULL, 0);
    if (m_len) crc = crc32(crc, m_data, m_len);
    return static_cast<unsigned int>(crc);
}

Dicom_EncapsulatedData Dicom_OtherType::GetEncapsulatedData() const {
    Dicom_EncapsulatedData r;
    if (!IsEncapsulated()) return r;
    uint32_t pos = 0;
    bool first = true;
    while (pos < m_len) {
        if (m_len - pos < 8) return Dicom_EncapsulatedData{};
        const unsigned char* h = m_data + pos;
        const uint16_t g = uint16_t(h[0] | h[1] << 8), e = uint16_t(h[2] | h[3] << 8);
        const uint32_t len =
            uint32_t(h[4]) | uint32_t(h[5]) << 8 | uint32_t(h[6]) << 16 | uint32_t(h[7]) << 24;
        if (g == 0xFFFE && e == 0xE0DD) break;  // a delimiter kept with the items ends them
        if (g != 0xFFFE || e != 0xE000 || len > m_len - pos - 8) return Dicom_EncapsulatedData{};
        const Dicom_Fragment f{pos + 8, len};
        if (first) {
            r.offsetTable = f;
            first = false;
        } else {
            r.fragments.push_back(f);
        }
        pos += 8 + len;
    }
    r.valid = !first;
    return r;
}

void Dicom_OtherType::Print(FILE* out) const {
    if (out) std::fprintf(out, "%s\n", ToString().c_str());
}
