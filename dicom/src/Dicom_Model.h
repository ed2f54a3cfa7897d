// Helpers shared by the XML and JSON writers of a message (internal): an output that is either
// a string or a buffered FILE*, base64, and the values of an element in the forms both models use.
#pragma once

#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_VR.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "Dicom_Charset.h"
#include "Dicom_CodecUtil.h"
#include "Dicom_ValuesUtil.h"

namespace Dicom_Model {

// Appends to a string, or writes to a FILE* through a 64 KiB buffer: large messages are written
// as they are walked, never held whole in memory.
class Sink {
public:
    explicit Sink(std::string* out) : m_string(out) {}
    explicit Sink(FILE* out) : m_file(out) { m_buffer.reserve(kChunk); }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    void Put(std::string_view s) {
        if (m_string) {
            m_string->append(s);
            return;
        }
        if (m_buffer.size() + s.size() > kChunk) Drain();
        if (s.size() >= kChunk) {
            Write(s.data(), s.size());
            return;
        }
        m_buffer.append(s);
    }
    void Put(char c) { Put(std::string_view(&c, 1)); }
    // Writes what is buffered; false when a write failed.
    bool Finish() {
        Drain();
        return m_ok;
    }

private:
    static constexpr size_t kChunk = 64 * 1024;
    void Drain() {
        if (!m_buffer.empty()) Write(m_buffer.data(), m_buffer.size());
        m_buffer.clear();
    }
    void Write(const char* p, size_t n) {
        if (m_ok && std::fwrite(p, 1, n, m_file) != n) m_ok = false;
    }
    std::string* m_string = nullptr;
    FILE* m_file = nullptr;
    std::string m_buffer;
    bool m_ok = true;
};

// Base64 (RFC 4648, padded), written in pieces of at most 4 KiB.
inline void Base64(Sink& out, const unsigned char* p, size_t n) {
    static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    char chunk[4096];
    size_t used = 0;
    for (size_t i = 0; i < n; i += 3) {
        const uint32_t b0 = p[i], b1 = i + 1 < n ? p[i + 1] : 0, b2 = i + 2 < n ? p[i + 2] : 0;
        const uint32_t w = (b0 << 16) | (b1 << 8) | b2;
        chunk[used++] = kDigits[(w >> 18) & 63];
        chunk[used++] = kDigits[(w >> 12) & 63];
        chunk[used++] = i + 1 < n ? kDigits[(w >> 6) & 63] : '=';
        chunk[used++] = i + 2 < n ? kDigits[w & 63] : '=';
        if (used == sizeof chunk) {
            out.Put(std::string_view(chunk, used));
            used = 0;
        }
    }
    out.Put(std::string_view(chunk, used));
}

// "ggggeeee" in upper-case hexadecimal.
inline std::string_view TagText(char (&buf)[9], unsigned group, unsigned element) {
    std::snprintf(buf, sizeof buf, "%04X%04X", group & 0xFFFFu, element & 0xFFFFu);
    return std::string_view(buf, 8);
}

// The keyword of a standard attribute; null for private and unknown ones.
inline const char* Keyword(const Dicom_Tag& tag) {
    if (tag.IsPrivate()) return nullptr;
    const Dicom_DictEntry* e = Dicom_Dictionary::Lookup(tag);
    return e && e->keyword && *e->keyword ? e->keyword.c_str() : nullptr;
}

// The VR name written for a value (UN for none).
inline const char* VRName(const Dicom_Type* v) {
    return v && v->GetVR() != Dicom_VR::NONE ? Dicom_VRName(v->GetVR()) : "UN";
}

// Byte strings: written as base64 (or left out), never as values.
inline bool IsBulkVR(Dicom_VR vr) { return vr == Dicom_VR::NONE || Dicom_CodecUtil::IsOtherVR(vr); }

// Binary numbers written as numbers (AT is written as "ggggeeee").
inline bool IsBinaryNumberVR(Dicom_VR vr) {
    switch (vr) {
        case Dicom_VR::US:
        case Dicom_VR::SS:
        case Dicom_VR::UL:
        case Dicom_VR::SL:
        case Dicom_VR::UV:
        case Dicom_VR::SV:
        case Dicom_VR::FL:
        case Dicom_VR::FD:
            return true;
        default:
            return false;
    }
}

// Value i of a binary number value (host order) as decimal text; floats in their shortest
// round-trip form. Not-a-number and infinities give "NaN", "Infinity", "-Infinity".
inline std::string BinaryNumber(Dicom_VR vr, const unsigned char* p) {
    auto load = [p](auto v) {
        std::memcpy(&v, p, sizeof v);
        return v;
    };
    switch (vr) {
        case Dicom_VR::US:
            return std::to_string(load(uint16_t()));
        case Dicom_VR::SS:
            return std::to_string(load(int16_t()));
        case Dicom_VR::UL:
            return std::to_string(load(uint32_t()));
        case Dicom_VR::SL:
            return std::to_string(load(int32_t()));
        case Dicom_VR::UV:
            return std::to_string(load(uint64_t()));
        case Dicom_VR::SV:
            return std::to_string(load(int64_t()));
        case Dicom_VR::FL:
        case Dicom_VR::FD: {
            const double d = vr == Dicom_VR::FL ? static_cast<double>(load(float())) : load(double());
            if (d != d) return "NaN";
            if (d > 1.7976931348623157e308) return "Infinity";
            if (d < -1.7976931348623157e308) return "-Infinity";
            return Dicom_ValuesUtil::FormatDouble(d);
        }
        default:
            return {};
    }
}

// Calls f(value) for each value of a text value, decoded to UTF-8 (through the value's
// character set), padding trimmed; free text is one value, the others are split at '\'.
// A value of no bytes has no values.
template <class F>
void ForEachText(const Dicom_Type& v, std::string& scratch, F f) {
    const Dicom_VR vr = v.GetVR();
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    std::string_view all(reinterpret_cast<const char*>(v.GetData()), v.GetRawLen());
    if (all.empty()) return;
    bool plain = true;
    for (unsigned char c : all) plain = plain && c < 0x80 && c != 0x1B;
    if (!plain) {
        scratch.clear();
        Dicom_Charset::ToUTF8(info.charsetText ? v.GetCharset() : 0, all.data(), all.size(), scratch,
                              vr == Dicom_VR::PN);
        all = scratch;
    }
    const bool leading = Dicom_ValuesUtil::LeadingSpacesInsignificant(vr);
    if (v.GetKind() != DICOM_KIND_MULTI_VALUED) {
        f(Dicom_ValuesUtil::TrimPadding(all, leading));
        return;
    }
    for (;;) {
        const size_t cut = all.find('\\');
        f(Dicom_ValuesUtil::TrimPadding(all.substr(0, cut), leading));
        if (cut == std::string_view::npos) return;
        all.remove_prefix(cut + 1);
    }
}

// True when a text value has a value that is not empty once trimmed.
inline bool HasText(const Dicom_Type& v) {
    const std::string_view all(reinterpret_cast<const char*>(v.GetData()), v.GetRawLen());
    for (char c : all)
        if (c != ' ' && c != '\0' && c != '\\' && (c != '=' || v.GetVR() != Dicom_VR::PN) &&
            (c != '^' || v.GetVR() != Dicom_VR::PN))
            return true;
    return false;
}

// The three component groups of a person name ("Alphabetic=Ideographic=Phonetic").
inline int SplitGroups(std::string_view name, std::string_view (&groups)[3]) {
    int n = 0;
    for (; n < 3; ++n) {
        const size_t cut = name.find('=');
        groups[n] = name.substr(0, cut);
        if (cut == std::string_view::npos) return n + 1;
        name.remove_prefix(cut + 1);
    }
    return n;
}

}  // namespace Dicom_Model
