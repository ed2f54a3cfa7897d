// Dicom_Type: bytes, text forms, equality and the value factory.
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
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_SS.h>
#include <Dicom/Dicom_ST.h>
#include <Dicom/Dicom_SV.h>
#include <Dicom/Dicom_TM.h>
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_UC.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UL.h>
#include <Dicom/Dicom_UN.h>
#include <Dicom/Dicom_UR.h>
#include <Dicom/Dicom_US.h>
#include <Dicom/Dicom_UT.h>
#include <Dicom/Dicom_UV.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Dicom_Charset.h"
#include "Dicom_ValuesUtil.h"

using Dicom_ValuesUtil::LeadingSpacesInsignificant;
using Dicom_ValuesUtil::TrimPadding;

namespace {

constexpr uint32_t kMaxValueLength = 0xFFFFFFFEu;  // 0xFFFFFFFF means "undefined" on the wire

std::string_view Bytes(const unsigned char* p, uint32_t n) {
    return n ? std::string_view(reinterpret_cast<const char*>(p), n) : std::string_view();
}

// Positions of the values of a text: calls f(value) for each value in turn; stops when f
// returns false. Free text is one value. Delimiters inside multi-byte characters are skipped.
template <class F>
void ForEachTextValue(const Dicom_Type& v, F&& f) {
    const std::string_view all = Bytes(v.GetData(), v.GetRawLen());
    if (all.empty()) return;
    if (v.GetKind() != DICOM_KIND_MULTI_VALUED) {
        f(all);
        return;
    }
    size_t start = 0;
    for (;;) {
        const size_t d = Dicom_Charset::FindDelimiter(v.GetCharset(), all.data(), all.size(), start, false);
        if (!f(all.substr(start, d - start))) return;
        if (d >= all.size()) return;
        start = d + 1;
    }
}

void AppendHex(std::string& out, const unsigned char* p, unsigned width) {
    static const char kHex[] = "0123456789abcdef";
    for (unsigned b = width; b-- > 0;) {  // host order is little endian: most significant last
        out += kHex[p[b] >> 4];
        out += kHex[p[b] & 15];
    }
}

}  // namespace

// --- lifetime and bytes ---

Dicom_Type& Dicom_Type::operator=(const Dicom_Type& other) {
    if (this == &other) return *this;
    m_vr = other.m_vr;
    m_charset = other.m_charset;
    m_flags = static_cast<uint8_t>((m_flags & kOwned) | (other.m_flags & (kEncapsulated | kUndefinedLength)));
    AssignCopy(other.m_data, other.m_len);
    return *this;
}

void Dicom_Type::InvalidateText() {
    if (m_text) {
        std::free(m_text);
        m_text = nullptr;
    }
}

void Dicom_Type::ReleaseOwned() {
    InvalidateText();
    if (m_flags & kOwned) std::free(const_cast<unsigned char*>(m_data));
    m_flags = static_cast<uint8_t>(m_flags & ~kOwned);
    m_data = nullptr;
    m_len = 0;
}

void Dicom_Type::AssignCopy(const void* data, uint32_t length) {
    if (length == 0 || !data) {
        ReleaseOwned();
        return;
    }
    if (data == m_data && length == m_len) return;
    if (length <= sizeof(m_inline)) {
        unsigned char tmp[sizeof(m_inline)];
        std::memcpy(tmp, data, length);  // `data` may lie in the bytes released below
        ReleaseOwned();
        std::memcpy(m_inline, tmp, length);
        m_data = m_inline;
        m_len = length;
        return;
    }
    auto* block = static_cast<unsigned char*>(std::malloc(length));
    if (!block) throw std::bad_alloc();
    std::memcpy(block, data, length);
    AdoptBuffer(block, length);
}

void Dicom_Type::AdoptBuffer(unsigned char* block, uint32_t length) {
    ReleaseOwned();
    if (!block) return;
    m_data = block;
    m_len = length;
    m_flags = static_cast<uint8_t>(m_flags | kOwned);
}

void Dicom_Type::DumpRawData(void* out) const {
    if (out && m_len) std::memcpy(out, m_data, m_len);
}

int Dicom_Type::SetRaw(const void* data, uint32_t length) {
    const unsigned width = Dicom_GetVRInfo(m_vr).width;
    if (length > kMaxValueLength || m_vr == Dicom_VR::SQ) return -1;
    if (Dicom_GetVRInfo(m_vr).binary && width > 1 && length % width != 0) return -1;
    if (length && !data) return -1;
    AssignCopy(data, length);
    return 0;
}

uint32_t Dicom_Type::GetValueLength(const Dicom_TransferSyntax& /*syntax*/) const {
    if (m_flags & kEncapsulated) return m_len + 8;  // items and the sequence delimiter
    return m_len + (m_len & 1u);
}

// --- kinds and counts ---

int Dicom_Type::GetKind() const { return Dicom_GetVRInfo(m_vr).kind; }

int Dicom_Type::GetVM() const {
    if (m_len == 0) return 0;
    const Dicom_VRInfo& info = Dicom_GetVRInfo(m_vr);
    if (info.text) {
        if (info.kind != DICOM_KIND_MULTI_VALUED) return 1;
        int n = 0;
        ForEachTextValue(*this, [&](std::string_view) {
            ++n;
            return true;
        });
        return n;
    }
    if (info.kind == DICOM_KIND_MULTI_VALUED && info.width) return static_cast<int>(m_len / info.width);
    return 1;
}

std::string_view Dicom_Type::GetTextValue(int i) const {
    std::string_view found;
    if (i < 0 || !Dicom_GetVRInfo(m_vr).text) return found;
    const bool leading = LeadingSpacesInsignificant(m_vr);
    int n = 0;
    ForEachTextValue(*this, [&](std::string_view v) {
        if (n++ == i) {
            found = TrimPadding(v, leading);
            return false;
        }
        return true;
    });
    return found;
}

// --- text forms ---

std::string Dicom_Type::ToString() const {
    const Dicom_VRInfo& info = Dicom_GetVRInfo(m_vr);
    if (info.text) return std::string(TrimPadding(Bytes(m_data, m_len), false));
    std::string out;
    if (m_len == 0) return out;
    if (m_vr == Dicom_VR::AT) {
        char buf[16];
        for (uint32_t off = 0; off + 4 <= m_len; off += 4) {
            uint16_t g, e;
            std::memcpy(&g, m_data + off, 2);
            std::memcpy(&e, m_data + off + 2, 2);
            std::snprintf(buf, sizeof buf, "(%04X,%04X)", g, e);
            if (off) out += '\\';
            out += buf;
        }
        return out;
    }
    if (info.binary && info.kind == DICOM_KIND_MULTI_VALUED) {
        const unsigned w = info.width;
        char buf[40];
        for (uint32_t off = 0; off + w <= m_len; off += w) {
            if (off) out += '\\';
            const unsigned char* p = m_data + off;
            switch (m_vr) {
                case Dicom_VR::FD: {
                    double d;
                    std::memcpy(&d, p, 8);
                    out += Dicom_ValuesUtil::FormatDouble(d);
                    continue;
                }
                case Dicom_VR::FL: {
                    float f;
                    std::memcpy(&f, p, 4);
                    // shortest text that reads back as the same float
                    for (int prec = 6; prec <= 9; ++prec) {
                        std::snprintf(buf, sizeof buf, "%.*g", prec, static_cast<double>(f));
                        if (std::strtof(buf, nullptr) == f) break;
                    }
                    break;
                }
                case Dicom_VR::SS: {
                    int16_t v;
                    std::memcpy(&v, p, 2);
                    std::snprintf(buf, sizeof buf, "%d", v);
                    break;
                }
                case Dicom_VR::US: {
                    uint16_t v;
                    std::memcpy(&v, p, 2);
                    std::snprintf(buf, sizeof buf, "%u", v);
                    break;
                }
                case Dicom_VR::SL: {
                    int32_t v;
                    std::memcpy(&v, p, 4);
                    std::snprintf(buf, sizeof buf, "%d", v);
                    break;
                }
                case Dicom_VR::UL: {
                    uint32_t v;
                    std::memcpy(&v, p, 4);
                    std::snprintf(buf, sizeof buf, "%u", v);
                    break;
                }
                case Dicom_VR::SV: {
                    long long v;
                    std::memcpy(&v, p, 8);
                    std::snprintf(buf, sizeof buf, "%lld", v);
                    break;
                }
                default: {  // UV
                    unsigned long long v;
                    std::memcpy(&v, p, 8);
                    std::snprintf(buf, sizeof buf, "%llu", v);
                    break;
                }
            }
            out += buf;
        }
        return out;
    }
    // Byte strings: hex of the first 16 units of their width (OB, UN: bytes), "..." after.
    const unsigned w = info.width ? info.width : 1;
    const uint32_t units = m_len / w;
    const uint32_t shown = units < 16 ? units : 16;
    for (uint32_t i = 0; i < shown; ++i) {
        if (i) out += '\\';
        AppendHex(out, m_data + i * w, w);
    }
    if (shown < units || m_len % w) out += "...";
    return out;
}

Dicom_Type::operator char*() {
    if (m_text && !(m_flags & kTextIsWide)) return m_text;
    InvalidateText();
    const std::string s = ToString();
    m_text = static_cast<char*>(std::malloc(s.size() + 1));
    if (!m_text) throw std::bad_alloc();
    std::memcpy(m_text, s.data(), s.size());
    m_text[s.size()] = '\0';
    m_flags = static_cast<uint8_t>(m_flags & ~kTextIsWide);
    return m_text;
}

Dicom_Type::operator wchar_t*() {
    if (m_text && (m_flags & kTextIsWide)) return reinterpret_cast<wchar_t*>(m_text);
    InvalidateText();
    std::wstring w;
    if (Dicom_GetVRInfo(m_vr).text) {
        const std::string_view t = TrimPadding(Bytes(m_data, m_len), false);
        Dicom_Charset::ToWide(m_charset, t.data(), t.size(), w, m_vr == Dicom_VR::PN);
    } else {
        const std::string s = ToString();
        w.assign(s.begin(), s.end());
    }
    m_text = static_cast<char*>(std::malloc((w.size() + 1) * sizeof(wchar_t)));
    if (!m_text) throw std::bad_alloc();
    std::memcpy(m_text, w.c_str(), (w.size() + 1) * sizeof(wchar_t));
    m_flags = static_cast<uint8_t>(m_flags | kTextIsWide);
    return reinterpret_cast<wchar_t*>(m_text);
}

void Dicom_Type::PrintToStr(std::string& out, size_t maxLength) const {
    const std::string s = ToString();
    if (s.size() <= maxLength) {
        out += s;
    } else {
        out.append(s, 0, maxLength);
        out += "...";
    }
}

int Dicom_Type::WriteToBuffer(char* buffer, size_t size) const {
    if (!buffer || size == 0) return -1;
    const std::string s = ToString();
    const size_t n = s.size() < size ? s.size() : size - 1;
    std::memcpy(buffer, s.data(), n);
    buffer[n] = '\0';
    return n == s.size() ? static_cast<int>(n) : -1;
}

// --- equality ---

namespace {

bool TextIsEmpty(const Dicom_Type& v) { return TrimPadding(Bytes(v.GetData(), v.GetRawLen()), true).empty(); }

bool ValueIsEmpty(const Dicom_Type& v) {
    if (v.GetVR() == Dicom_VR::SQ) return v.IsEmpty();
    return Dicom_GetVRInfo(v.GetVR()).text ? TextIsEmpty(v) : v.GetRawLen() == 0;
}

// Compares two values of text, decoding them when their character sets differ.
bool TextValuesEqual(const Dicom_Type& a, std::string_view va, const Dicom_Type& b, std::string_view vb) {
    if (va == vb) return true;
    if (a.GetCharset() == b.GetCharset()) return false;
    if (Dicom_Charset::IsPlainASCII(va.data(), va.size()) &&
        Dicom_Charset::IsPlainASCII(vb.data(), vb.size()))
        return false;
    std::string ua, ub;
    const bool pn = a.GetVR() == Dicom_VR::PN;
    Dicom_Charset::ToUTF8(a.GetCharset(), va.data(), va.size(), ua, pn);
    Dicom_Charset::ToUTF8(b.GetCharset(), vb.data(), vb.size(), ub, pn);
    return ua == ub;
}

}  // namespace

bool Dicom_Type::Match(const Dicom_Type& other) const {
    if (this == &other) return true;
    const bool emptyA = ValueIsEmpty(*this), emptyB = ValueIsEmpty(other);
    if (emptyA || emptyB) return emptyA && emptyB;
    if (other.GetVR() == Dicom_VR::SQ) return other.Match(*this);
    const Dicom_VRInfo& ia = Dicom_GetVRInfo(m_vr);
    const Dicom_VRInfo& ib = Dicom_GetVRInfo(other.m_vr);
    if (ia.text != ib.text) return false;
    if (!ia.text) {
        // binary numbers need the same VR; byte strings (OB, OW, UN ...) compare as bytes
        if ((ia.kind == DICOM_KIND_MULTI_VALUED || ib.kind == DICOM_KIND_MULTI_VALUED) && m_vr != other.m_vr)
            return false;
        return m_len == other.m_len && std::memcmp(m_data, other.m_data, m_len) == 0;
    }
    if (ia.kind != DICOM_KIND_MULTI_VALUED || ib.kind != DICOM_KIND_MULTI_VALUED) {
        const bool lead = LeadingSpacesInsignificant(m_vr);
        return TextValuesEqual(*this, TrimPadding(Bytes(m_data, m_len), lead), other,
                               TrimPadding(Bytes(other.m_data, other.m_len), lead));
    }
    const int n = GetVM();
    if (n != other.GetVM()) return false;
    for (int i = 0; i < n; ++i) {
        if (!TextValuesEqual(*this, GetTextValue(i), other, other.GetTextValue(i))) return false;
    }
    return true;
}

bool Dicom_Type::MatchAndRetrieve(const Dicom_Type& key) const {
    if (ValueIsEmpty(key)) return true;  // universal match
    if (!Dicom_GetVRInfo(key.m_vr).text || !Dicom_GetVRInfo(m_vr).text) return Match(key);
    const std::string_view k =
        key.GetKind() == DICOM_KIND_MULTI_VALUED
            ? key.GetTextValue(0)
            : TrimPadding(Bytes(key.m_data, key.m_len), LeadingSpacesInsignificant(key.m_vr));
    const bool range = (m_vr == Dicom_VR::DA || m_vr == Dicom_VR::TM || m_vr == Dicom_VR::DT) &&
                       k.find('-') != std::string_view::npos;
    const bool wild = k.find_first_of("*?") != std::string_view::npos;
    auto one = [&](std::string_view v) {
        if (range) {
            const size_t dash = k.find('-');
            const std::string_view lo = k.substr(0, dash), hi = k.substr(dash + 1);
            if (v.empty()) return false;
            // Dates and times compare as text; a shorter upper bound covers its whole span.
            return (lo.empty() || v >= lo) && (hi.empty() || v.substr(0, hi.size()) <= hi);
        }
        return wild ? Dicom_ValuesUtil::WildcardMatch(k, v) : v == k;
    };
    if (GetKind() != DICOM_KIND_MULTI_VALUED)
        return one(TrimPadding(Bytes(m_data, m_len), LeadingSpacesInsignificant(m_vr)));
    const int n = GetVM();
    for (int i = 0; i < n; ++i) {
        if (one(GetTextValue(i))) return true;
    }
    return false;
}

int Dicom_Type::AppendValue(const Dicom_Type& other) {
    if (other.m_vr != m_vr || m_vr == Dicom_VR::SQ) return -1;
    const Dicom_VRInfo& info = Dicom_GetVRInfo(m_vr);
    if (other.m_len == 0) return 0;
    if (m_len == 0) {
        AssignCopy(other.m_data, other.m_len);
        m_charset = other.m_charset;
        return 0;
    }
    std::string joined;
    if (info.text) {
        if (info.kind != DICOM_KIND_MULTI_VALUED) return -1;
        std::string_view add = Bytes(other.m_data, other.m_len);
        std::string converted;
        if (other.m_charset != m_charset && !Dicom_Charset::IsPlainASCII(add.data(), add.size())) {
            std::string utf8;
            Dicom_Charset::ToUTF8(other.m_charset, add.data(), add.size(), utf8, m_vr == Dicom_VR::PN);
            if (!Dicom_Charset::FromUTF8(m_charset, utf8.data(), utf8.size(), converted,
                                         m_vr == Dicom_VR::PN))
                return -1;
            add = converted;
        }
        joined.assign(TrimPadding(Bytes(m_data, m_len), false));
        joined += '\\';
        joined.append(add);
    } else {
        joined.assign(Bytes(m_data, m_len));
        joined.append(Bytes(other.m_data, other.m_len));
    }
    if (joined.size() > kMaxValueLength) return -1;
    AssignCopy(joined.data(), static_cast<uint32_t>(joined.size()));
    return 0;
}

// --- factory ---

namespace {
template <class T>
Dicom_Type* Make(Dicom_Arena* arena) {
    return new (arena) T();
}
}  // namespace

Dicom_Type* Dicom_CreateValue(Dicom_VR vr, Dicom_Arena* arena) {
    switch (vr) {
        case Dicom_VR::AE:
            return Make<Dicom_AE>(arena);
        case Dicom_VR::AS:
            return Make<Dicom_AS>(arena);
        case Dicom_VR::AT:
            return Make<Dicom_AT>(arena);
        case Dicom_VR::CS:
            return Make<Dicom_CS>(arena);
        case Dicom_VR::DA:
            return Make<Dicom_DA>(arena);
        case Dicom_VR::DS:
            return Make<Dicom_DS>(arena);
        case Dicom_VR::DT:
            return Make<Dicom_DT>(arena);
        case Dicom_VR::FD:
            return Make<Dicom_FD>(arena);
        case Dicom_VR::FL:
            return Make<Dicom_FL>(arena);
        case Dicom_VR::IS:
            return Make<Dicom_IS>(arena);
        case Dicom_VR::LO:
            return Make<Dicom_LO>(arena);
        case Dicom_VR::LT:
            return Make<Dicom_LT>(arena);
        case Dicom_VR::OB:
            return Make<Dicom_OB>(arena);
        case Dicom_VR::OD:
            return Make<Dicom_OD>(arena);
        case Dicom_VR::OF:
            return Make<Dicom_OF>(arena);
        case Dicom_VR::OL:
            return Make<Dicom_OL>(arena);
        case Dicom_VR::OV:
            return Make<Dicom_OV>(arena);
        case Dicom_VR::OW:
            return Make<Dicom_OW>(arena);
        case Dicom_VR::PN:
            return Make<Dicom_PN>(arena);
        case Dicom_VR::SH:
            return Make<Dicom_SH>(arena);
        case Dicom_VR::SL:
            return Make<Dicom_SL>(arena);
        case Dicom_VR::SQ:
            return Make<Dicom_SQ>(arena);
        case Dicom_VR::SS:
            return Make<Dicom_SS>(arena);
        case Dicom_VR::ST:
            return Make<Dicom_ST>(arena);
        case Dicom_VR::SV:
            return Make<Dicom_SV>(arena);
        case Dicom_VR::TM:
            return Make<Dicom_TM>(arena);
        case Dicom_VR::UC:
            return Make<Dicom_UC>(arena);
        case Dicom_VR::UI:
            return Make<Dicom_UI>(arena);
        case Dicom_VR::UL:
            return Make<Dicom_UL>(arena);
        case Dicom_VR::UR:
            return Make<Dicom_UR>(arena);
        case Dicom_VR::US:
            return Make<Dicom_US>(arena);
        case Dicom_VR::UT:
            return Make<Dicom_UT>(arena);
        case Dicom_VR::UV:
            return Make<Dicom_UV>(arena);
        case Dicom_VR::UN:
        case Dicom_VR::NONE:
            break;
    }
    return Make<Dicom_UN>(arena);
}
