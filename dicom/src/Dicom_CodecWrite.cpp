// Dicom_CodecWrite: exact encoded lengths and the writer of data sets and file images.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Dicom_Codec.h"
#include "Dicom_CodecUtil.h"

using namespace Dicom_CodecUtil;

namespace {

constexpr uint32_t kUndefined = 0xFFFFFFFFu;
constexpr uint32_t kPixelDataKey = 0x7FE00010u;
constexpr uint64_t kMaxDefined = 0xFFFFFFFEull;

struct Enc {
    bool explicitVR = true;
    bool big = false;
    bool encapsulated = false;
};

Enc EncOf(const Dicom_TransferSyntax& ts) {
    Enc e;
    e.explicitVR = ts.IsExplicitVR();
    e.big = ts.IsBigEndian();
    e.encapsulated = ts.IsEncapsulated();
    return e;
}

inline bool SetError(std::string* error, const char* what) {
    if (error && error->empty()) *error = what;
    return false;
}

// The VR written for a value in explicit VR (unknown: UN).
inline Dicom_VR WrittenVR(const Dicom_Type* v) {
    if (!v) return Dicom_VR::UN;
    const Dicom_VR vr = v->GetVR();
    return vr == Dicom_VR::NONE ? Dicom_VR::UN : vr;
}

// A group length element whose value the writer recomputes.
inline bool IsGroupLength(const Dicom_ME& me) {
    const Dicom_Type* v = me.GetData();
    return me.GetTag().GetElement() == 0x0000 && v && v->GetRawLen() == 4 &&
           (v->GetVR() == Dicom_VR::UL || v->GetVR() == Dicom_VR::UN);
}

bool DataSetLen(const Dicom_Msg& msg, const Enc& enc, bool top, uint64_t* out, std::string* error);

// Content of a sequence value: items (with their delimiters) and the sequence delimiter.
bool SequenceLen(const Dicom_SQ* sq, const Enc& enc, uint64_t* out, std::string* error) {
    const Dicom_Sequence& items = SequenceItems(sq);
    uint64_t total = 0;
    for (int i = 0; i < items.GetNItems(); ++i) {
        const Dicom_Msg* item = items.Get(i);
        if (!item) continue;
        uint64_t n;
        if (!DataSetLen(*item, enc, false, &n, error)) return false;
        const bool defined = ItemDefinedLength(sq, i);
        if (defined && n > kMaxDefined) return SetError(error, "item too long for a defined length");
        total += 8 + n + (defined ? 0 : 8);
    }
    if (SequenceUndefinedLength(sq))
        total += 8;
    else if (total > kMaxDefined)
        return SetError(error, "sequence too long for a defined length");
    *out = total;
    return true;
}

bool ElemLen(const Dicom_ME& me, const Enc& enc, bool top, uint64_t* out, std::string* error) {
    const Dicom_Type* v = me.GetData();
    const Dicom_VR vr = WrittenVR(v);
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    if (vr == Dicom_VR::SQ) {
        uint64_t content;
        if (!SequenceLen(static_cast<const Dicom_SQ*>(v), enc, &content, error)) return false;
        *out = (enc.explicitVR ? 12 : 8) + content;
        return true;
    }
    if (IsEncapsulatedValue(v)) {
        if (top && me.GetTag().GetTag() == kPixelDataKey && !enc.encapsulated)
            return SetError(error, "encapsulated pixel data in a native transfer syntax");
        *out = (enc.explicitVR ? 12 : 8) + uint64_t(v->GetRawLen()) + 8;
        return true;
    }
    if (top && me.GetTag().GetTag() == kPixelDataKey && enc.encapsulated)
        return SetError(error, "native pixel data in an encapsulated transfer syntax");
    const uint64_t raw = v ? v->GetRawLen() : 0;
    const uint64_t padded = raw + (raw & 1);
    if (padded > kMaxDefined) return SetError(error, "value too long");
    if (enc.explicitVR && !info.longLength && padded > 0xFFFF)
        return SetError(error, "value too long for the 16-bit length field of its VR");
    *out = (enc.explicitVR ? (info.longLength ? 12 : 8) : 8) + padded;
    return true;
}

bool DataSetLen(const Dicom_Msg& msg, const Enc& enc, bool top, uint64_t* out, std::string* error) {
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    uint64_t total = 0;
    const size_t n = elems.entries();
    for (size_t i = 0; i < n; ++i) {
        const Dicom_ME* me = elems.at(i);
        if (top && me->GetTag().GetGroup() == 0x0002) continue;
        uint64_t l;
        if (!ElemLen(*me, enc, top, &l, error)) return false;
        total += l;
    }
    *out = total;
    return true;
}

// ---------------------------------------------------------------------------------------------

struct Writer {
    unsigned char* p;
    unsigned char* end;
    Enc enc;
    std::string* error;

    bool Room(uint64_t n) {
        if (static_cast<uint64_t>(end - p) < n) return SetError(error, "output buffer too small");
        return true;
    }
    void Put16(uint16_t v) {
        enc.big ? Store16BE(p, v) : Store16LE(p, v);
        p += 2;
    }
    void Put32(uint32_t v) {
        enc.big ? Store32BE(p, v) : Store32LE(p, v);
        p += 4;
    }
    bool Header(uint16_t group, uint16_t element, Dicom_VR vr, uint32_t length) {
        const bool longForm = Dicom_GetVRInfo(vr).longLength || vr == Dicom_VR::SQ;
        if (!Room(enc.explicitVR && longForm ? 12 : 8)) return false;
        Put16(group);
        Put16(element);
        if (enc.explicitVR) {
            const char* name = Dicom_VRName(vr);
            *p++ = static_cast<unsigned char>(name[0]);
            *p++ = static_cast<unsigned char>(name[1]);
            if (longForm) {
                *p++ = 0;
                *p++ = 0;
                Put32(length);
            } else {
                Put16(static_cast<uint16_t>(length));
            }
        } else {
            Put32(length);
        }
        return true;
    }
    bool Delimiter(uint16_t element) {
        if (!Room(8)) return false;
        Put16(0xFFFE);
        Put16(element);
        Put32(0);
        return true;
    }

    bool DataSet(const Dicom_Msg& msg, bool top);
    bool Element(const Dicom_ME& me, bool top, const Dicom_SortedVector& elems, size_t index);
};

bool Writer::DataSet(const Dicom_Msg& msg, bool top) {
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    const size_t n = elems.entries();
    for (size_t i = 0; i < n; ++i) {
        const Dicom_ME* me = elems.at(i);
        if (top && me->GetTag().GetGroup() == 0x0002) continue;
        if (!Element(*me, top, elems, i)) return false;
    }
    return true;
}

bool Writer::Element(const Dicom_ME& me, bool top, const Dicom_SortedVector& elems, size_t index) {
    const Dicom_Tag& tag = me.GetTag();
    const Dicom_Type* v = me.GetData();
    const Dicom_VR vr = WrittenVR(v);

    if (vr == Dicom_VR::SQ) {
        const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
        const bool undefined = SequenceUndefinedLength(sq);
        uint32_t length = kUndefined;
        if (!undefined) {
            uint64_t content;
            if (!SequenceLen(sq, enc, &content, error)) return false;
            length = static_cast<uint32_t>(content);
        }
        if (!Header(tag.GetGroup(), tag.GetElement(), Dicom_VR::SQ, length)) return false;
        const Dicom_Sequence& items = SequenceItems(sq);
        for (int i = 0; i < items.GetNItems(); ++i) {
            const Dicom_Msg* item = items.Get(i);
            if (!item) continue;
            const bool defined = ItemDefinedLength(sq, i);
            uint32_t itemLength = kUndefined;
            if (defined) {
                uint64_t n;
                if (!DataSetLen(*item, enc, false, &n, error)) return false;
                if (n > kMaxDefined) return SetError(error, "item too long for a defined length");
                itemLength = static_cast<uint32_t>(n);
            }
            if (!Room(8)) return false;
            Put16(0xFFFE);
            Put16(0xE000);
            Put32(itemLength);
            if (!DataSet(*item, false)) return false;
            if (!defined && !Delimiter(0xE00D)) return false;
        }
        return !undefined || Delimiter(0xE0DD);
    }

    if (IsEncapsulatedValue(v)) {
        if (top && tag.GetTag() == kPixelDataKey && !enc.encapsulated)
            return SetError(error, "encapsulated pixel data in a native transfer syntax");
        if (!Header(tag.GetGroup(), tag.GetElement(), vr, kUndefined)) return false;
        const uint32_t n = v->GetRawLen();
        if (!Room(n)) return false;
        if (!enc.big) {
            if (n) std::memcpy(p, v->GetData(), n);
            p += n;
        } else {
            // Item headers in the byte order of the syntax.
            const unsigned char* s = v->GetData();
            std::memcpy(p, s, n);
            for (uint32_t off = 0; off + 8 <= n;) {
                const uint32_t l = Load32LE(s + off + 4);
                Store16BE(p + off, Load16LE(s + off));
                Store16BE(p + off + 2, Load16LE(s + off + 2));
                Store32BE(p + off + 4, l);
                if (l > n - off - 8) break;
                off += 8 + l;
            }
            p += n;
        }
        return Delimiter(0xE0DD);
    }

    if (top && tag.GetTag() == kPixelDataKey && enc.encapsulated)
        return SetError(error, "native pixel data in an encapsulated transfer syntax");

    const uint32_t raw = v ? v->GetRawLen() : 0;
    const uint64_t padded = uint64_t(raw) + (raw & 1);
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    if (padded > kMaxDefined) return SetError(error, "value too long");
    if (enc.explicitVR && !info.longLength && padded > 0xFFFF)
        return SetError(error, "value too long for the 16-bit length field of its VR");
    if (!Header(tag.GetGroup(), tag.GetElement(), vr, static_cast<uint32_t>(padded))) return false;
    if (!Room(padded)) return false;

    if (IsGroupLength(me)) {
        // Recomputed: the bytes of the rest of the group in this syntax.
        uint64_t sum = 0;
        for (size_t j = index + 1; j < elems.entries(); ++j) {
            const Dicom_ME* o = elems.at(j);
            if (o->GetTag().GetGroup() != tag.GetGroup()) break;
            uint64_t l;
            if (!ElemLen(*o, enc, top, &l, error)) return false;
            sum += l;
        }
        if (sum > 0xFFFFFFFFull) return SetError(error, "group too long for its group length");
        Put32(static_cast<uint32_t>(sum));
        return true;
    }

    if (raw) {
        // Pad first, then swap: an odd-length binary value is swapped as the even value that a
        // reader sees, so that big endian reads back as little endian does.
        const unsigned unit = enc.big ? SwapUnit(vr) : 0;
        std::memcpy(p, v->GetData(), raw);
        if (raw & 1) p[raw] = info.padding;
        if (unit >= 2) SwapUnits(p, static_cast<size_t>(padded), unit);
        p += padded;
    }
    return true;
}

// Length and bytes of a deflated data set.
bool DeflatedDataSet(const Dicom_Msg& msg, std::vector<unsigned char>& out, std::string* error) {
    const Dicom_TransferSyntax explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    uint64_t n;
    if (!Dicom_Codec::DataSetLength(msg, explicitLE, &n, error)) return false;
    std::vector<unsigned char> plain(static_cast<size_t>(n));
    if (Dicom_Codec::WriteDataSet(msg, explicitLE, plain.data(), plain.size(), error) < 0) return false;
    if (!Dicom_Codec::Deflate(plain.data(), plain.size(), out)) return SetError(error, "deflate failed");
    return true;
}

}  // namespace

Dicom_TransferSyntax Dicom_Msg::GetWriteTransferSyntax() const {
    const Dicom_TransferSyntax ts = Dicom_Codec::Resolve(*this, Dicom_TransferSyntax());
    return ts.IsKnown() && !GetTransferSyntax().IsKnown() ? GetTransferSyntax() : ts;
}

Dicom_TransferSyntax Dicom_Codec::Resolve(const Dicom_Msg& msg, const Dicom_TransferSyntax& requested) {
    const Dicom_TransferSyntax& read = msg.GetTransferSyntax();
    // Encapsulated pixel data read under a contradicted meta group: "as read" means the
    // encapsulated syntax the meta group named (the syntax read cannot hold it).
    const Dicom_TransferSyntax& named = msg.GetNamedTransferSyntax();
    if (named.IsEncapsulated() && !read.IsEncapsulated() && !requested.IsSpecified()) {
        const Dicom_ME* pixels = msg.Find(Dicom_Tag(0x7FE0, 0x0010), false);
        if (pixels && IsEncapsulatedValue(pixels->GetData())) return named;
    }
    if (requested.IsSpecified()) return requested;
    if (read.IsKnown()) return read;
    return Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
}

bool Dicom_Codec::DataSetLength(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax, uint64_t* length,
                                std::string* error) {
    if (!syntax.IsKnown()) return SetError(error, "unknown transfer syntax");
    if (syntax.IsDeflated()) {
        std::vector<unsigned char> out;
        if (!DeflatedDataSet(msg, out, error)) return false;
        *length = out.size();
        return true;
    }
    return DataSetLen(msg, EncOf(syntax), true, length, error);
}

bool Dicom_Codec::ElementLength(const Dicom_ME& element, const Dicom_TransferSyntax& syntax,
                                uint64_t* length) {
    if (!syntax.IsKnown()) return false;
    Enc enc = EncOf(syntax);
    return ElemLen(element, enc, false, length, nullptr);
}

bool Dicom_Codec::SequenceValueLength(const Dicom_SQ& sequence, const Dicom_TransferSyntax& syntax,
                                      uint64_t* length) {
    if (!syntax.IsKnown()) return false;
    return SequenceLen(&sequence, EncOf(syntax), length, nullptr);
}

long long Dicom_Codec::WriteDataSet(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax,
                                    unsigned char* out, size_t capacity, std::string* error) {
    if (!syntax.IsKnown()) {
        SetError(error, "unknown transfer syntax");
        return -1;
    }
    if (syntax.IsDeflated()) {
        std::vector<unsigned char> d;
        if (!DeflatedDataSet(msg, d, error)) return -1;
        if (d.size() > capacity) {
            SetError(error, "output buffer too small");
            return -1;
        }
        if (!d.empty()) std::memcpy(out, d.data(), d.size());
        return static_cast<long long>(d.size());
    }
    Writer w{out, out + capacity, EncOf(syntax), error};
    if (!w.DataSet(msg, true)) return -1;
    return static_cast<long long>(w.p - out);
}

int Dicom_Codec::FileMetaHeader(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax,
                                std::vector<unsigned char>& out, std::string* error) {
    if (syntax.GetUID().empty()) return SetError(error, "no transfer syntax UID for the meta group"), -1;
    // The meta group: our own elements, and the others that the message holds.
    struct MetaElement {
        uint16_t element;
        Dicom_VR vr;
        std::string bytes;
        const Dicom_ME* kept;
    };
    std::vector<MetaElement> meta;
    const Dicom_SortedVector& elems = Elements(msg);
    auto text = [&](uint32_t key) -> std::string {
        const Dicom_ME* me = elems.Find(key);
        if (!me || !me->GetData()) return std::string();
        const Dicom_Type* v = me->GetData();
        std::string s(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen());
        while (!s.empty() && (s.back() == '\0' || s.back() == ' ')) s.pop_back();
        return s;
    };
    auto ui = [](std::string s) {
        if (s.size() & 1) s.push_back('\0');
        return s;
    };
    std::string sopClass = text(0x00080016u);
    if (sopClass.empty()) sopClass = text(0x00020002u);
    std::string sopInstance = text(0x00080018u);
    if (sopInstance.empty()) sopInstance = text(0x00020003u);
    meta.push_back({0x0000, Dicom_VR::UL, std::string(4, '\0'), nullptr});
    meta.push_back({0x0001, Dicom_VR::OB, std::string("\0\1", 2), nullptr});
    if (!sopClass.empty()) meta.push_back({0x0002, Dicom_VR::UI, ui(sopClass), nullptr});
    if (!sopInstance.empty()) meta.push_back({0x0003, Dicom_VR::UI, ui(sopInstance), nullptr});
    meta.push_back({0x0010, Dicom_VR::UI, ui(syntax.GetUID()), nullptr});
    meta.push_back({0x0012, Dicom_VR::UI, ui(IMPLEMENTATION_CLASS_UID), nullptr});
    std::string version = IMPLEMENTATION_VERSION_NAME;
    if (version.size() & 1) version.push_back(' ');
    meta.push_back({0x0013, Dicom_VR::SH, version, nullptr});
    for (size_t i = elems.LowerBound(0x00020000u); i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if (me->GetTag().GetGroup() != 0x0002) break;
        const uint16_t e = me->GetTag().GetElement();
        if (e == 0x0000 || e == 0x0001 || e == 0x0002 || e == 0x0003 || e == 0x0010 || e == 0x0012 ||
            e == 0x0013)
            continue;
        meta.push_back({e, WrittenVR(me->GetData()), std::string(), me});
    }
    std::sort(meta.begin(), meta.end(),
              [](const MetaElement& a, const MetaElement& b) { return a.element < b.element; });

    const Enc metaEnc{true, false, false};
    uint64_t metaLength = 0;  // after the group length element
    for (const MetaElement& m : meta) {
        if (m.element == 0x0000) continue;
        if (m.kept) {
            uint64_t l;
            if (!ElemLen(*m.kept, metaEnc, false, &l, error)) return -1;
            metaLength += l;
        } else {
            metaLength += (Dicom_GetVRInfo(m.vr).longLength ? 12 : 8) + m.bytes.size();
        }
    }
    if (metaLength > 0xFFFFFFFFull) return SetError(error, "meta group too long"), -1;
    const size_t headerLength = static_cast<size_t>(128 + 4 + 12 + metaLength);
    out.assign(headerLength, 0);
    std::memcpy(out.data() + 128, "DICM", 4);
    Writer w{out.data() + 132, out.data() + headerLength, metaEnc, error};
    Dicom_SortedVector none;
    for (const MetaElement& m : meta) {
        if (m.kept) {
            if (!w.Element(*m.kept, false, none, 0)) return -1;
            continue;
        }
        if (!w.Header(0x0002, m.element, m.vr,
                      m.element == 0x0000 ? 4u : static_cast<uint32_t>(m.bytes.size())))
            return -1;
        if (m.element == 0x0000) {
            w.Put32(static_cast<uint32_t>(metaLength));
        } else {
            std::memcpy(w.p, m.bytes.data(), m.bytes.size());
            w.p += m.bytes.size();
        }
    }
    if (w.p != out.data() + headerLength) return SetError(error, "meta group length mismatch"), -1;
    return 0;
}

// ---------------------------------------------------------------------------------------------
// zlib raw deflate streams.

bool Dicom_Codec::Deflate(const unsigned char* data, size_t length, std::vector<unsigned char>& out) {
    z_stream zs{};
    if (deflateInit2(&zs, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK) return false;
    out.resize(deflateBound(&zs, static_cast<uLong>(length)) + 16);
    zs.next_in = const_cast<Bytef*>(data);
    zs.avail_in = static_cast<uInt>(length);
    zs.next_out = out.data();
    zs.avail_out = static_cast<uInt>(out.size());
    const int rc = deflate(&zs, Z_FINISH);
    const size_t produced = zs.total_out;
    deflateEnd(&zs);
    if (rc != Z_STREAM_END) return false;
    // Data sets are of even length; a pad byte after the stream keeps the file even.
    out.resize(produced);
    if (out.size() & 1) out.push_back(0);
    return true;
}

bool Dicom_Codec::Inflate(const unsigned char* data, size_t length, size_t maxOutput, unsigned char** out,
                          size_t* outLength) {
    *out = nullptr;
    *outLength = 0;
    for (int windowBits : {-15, 47}) {  // raw deflate, else a zlib/gzip wrapped stream
        z_stream zs{};
        if (inflateInit2(&zs, windowBits) != Z_OK) return false;
        size_t cap = std::min<size_t>(maxOutput, std::max<size_t>(length * 4, 65536));
        unsigned char* buf = static_cast<unsigned char*>(std::malloc(cap ? cap : 1));
        if (!buf) {
            inflateEnd(&zs);
            return false;
        }
        zs.next_in = const_cast<Bytef*>(data);
        zs.avail_in = static_cast<uInt>(length);
        int rc = Z_OK;
        size_t produced = 0;
        for (;;) {
            if (produced == cap) {
                if (cap >= maxOutput) {
                    rc = Z_MEM_ERROR;  // beyond the bound: a deflate bomb or a damaged stream
                    break;
                }
                const size_t next = std::min(maxOutput, cap * 2);
                unsigned char* grown = static_cast<unsigned char*>(std::realloc(buf, next));
                if (!grown) {
                    rc = Z_MEM_ERROR;
                    break;
                }
                buf = grown;
                cap = next;
            }
            zs.next_out = buf + produced;
            const size_t room = std::min<size_t>(cap - produced, 1u << 30);
            zs.avail_out = static_cast<uInt>(room);
            rc = inflate(&zs, Z_NO_FLUSH);
            produced += room - zs.avail_out;
            if (rc == Z_STREAM_END) break;
            if (rc != Z_OK && rc != Z_BUF_ERROR) break;
            if (rc == Z_BUF_ERROR && zs.avail_in == 0) break;  // truncated stream
        }
        inflateEnd(&zs);
        if (rc == Z_STREAM_END) {
            *out = buf;
            *outLength = produced;
            return true;
        }
        std::free(buf);
    }
    return false;
}
