// Trusted buffers: the layer's own compact serialisation of a message, for fast deep copies
// inside one process.
//
// Layout (numbers in the byte order named by the header; values in that order too):
//   header (20 bytes): "IDTB", version 1, endianity (0 little, 1 big), u16 length of the
//     transfer syntax UID, u32 message flags, u32 parser flags, u8 syntax kind, 3 reserved;
//   the transfer syntax UID;
//   data set: u32 element count, then per element a 16-byte record
//     u16 group, u16 element, u16 implementor index, u8 VR, u8 flags, u16 charset index,
//     u16 reserved, u32 length
//   followed by `length` value bytes, or for a sequence (`length` = item count) per item a u32
//   (1: the item has a defined length) and the item's data set.
// Element flags: 1 encapsulated value, 2 sequence of undefined length, 4 element without value.
// Implementor and charset indexes are process-wide numbers: a buffer is only meaningful inside
// the process that made it.
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_TrustedBufferReader.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "Dicom_Codec.h"
#include "Dicom_CodecUtil.h"

using namespace Dicom_CodecUtil;

namespace {

constexpr size_t kHeader = 20;
constexpr size_t kRecord = 16;
constexpr unsigned char kVersion = 1;
constexpr uint8_t kFlagEncapsulated = 1, kFlagUndefinedSQ = 2, kFlagNoValue = 4;
// Deepest nesting the reader accepts (messages built in memory may nest deeper than parsed ones).
constexpr int kMaxDepth = 256;

uint64_t DataSetSize(const Dicom_Msg& msg) {
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    uint64_t n = 4;
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_Type* v = elems.at(i)->GetData();
        n += kRecord;
        if (!v) continue;
        if (v->GetVR() == Dicom_VR::SQ) {
            const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
            for (int j = 0; j < sq->GetNItems(); ++j) {
                n += 4;
                if (const Dicom_Msg* item = sq->GetItem(j))
                    n += DataSetSize(*item);
                else
                    n += 4;
            }
        } else {
            n += v->GetRawLen();
        }
    }
    return n;
}

struct Out {
    unsigned char* p;
    bool big;
    void U16(uint16_t v) {
        big ? Store16BE(p, v) : Store16LE(p, v);
        p += 2;
    }
    void U32(uint32_t v) {
        big ? Store32BE(p, v) : Store32LE(p, v);
        p += 4;
    }
    void DataSet(const Dicom_Msg& msg) {
        const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
        U32(static_cast<uint32_t>(elems.entries()));
        for (size_t i = 0; i < elems.entries(); ++i) {
            const Dicom_ME* me = elems.at(i);
            const Dicom_Type* v = me->GetData();
            const Dicom_Tag& t = me->GetTag();
            U16(t.GetGroup());
            U16(t.GetElement());
            U16(t.GetImplementorID());
            uint8_t flags = 0;
            if (!v) flags |= kFlagNoValue;
            if (IsEncapsulatedValue(v)) flags |= kFlagEncapsulated;
            const bool isSQ = v && v->GetVR() == Dicom_VR::SQ;
            if (isSQ && static_cast<const Dicom_SQ*>(v)->HasUndefinedLength()) flags |= kFlagUndefinedSQ;
            *p++ = static_cast<unsigned char>(v ? v->GetVR() : Dicom_VR::NONE);
            *p++ = flags;
            U16(v ? v->GetCharset() : 0);
            U16(0);
            if (!v) {
                U32(0);
            } else if (isSQ) {
                const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
                U32(static_cast<uint32_t>(sq->GetNItems()));
                for (int j = 0; j < sq->GetNItems(); ++j) {
                    U32(sq->ItemHasUndefinedLength(j) ? 0 : 1);
                    if (const Dicom_Msg* item = sq->GetItem(j))
                        DataSet(*item);
                    else
                        U32(0);
                }
            } else {
                const uint32_t n = v->GetRawLen();
                U32(n);
                CopySwapped(p, v->GetData(), n, big ? SwapUnit(v->GetVR()) : 0);
                p += n;
            }
        }
    }
};

struct In {
    unsigned char* p;
    unsigned char* end;
    bool big;
    Dicom_Arena* arena;
    Dicom_TransferSyntax syntax;

    bool Need(uint64_t n) const { return static_cast<uint64_t>(end - p) >= n; }
    uint16_t U16() {
        const uint16_t v = big ? Load16BE(p) : Load16LE(p);
        p += 2;
        return v;
    }
    uint32_t U32() {
        const uint32_t v = big ? Load32BE(p) : Load32LE(p);
        p += 4;
        return v;
    }

    bool DataSet(Dicom_Msg& msg, int depth) {
        if (depth > kMaxDepth || !Need(4)) return false;
        const uint32_t count = U32();
        if (count > static_cast<uint64_t>(end - p) / kRecord) return false;
        Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
        elems.DetermineStrategy(count);
        for (uint32_t i = 0; i < count; ++i) {
            if (!Need(kRecord)) return false;
            const uint16_t group = U16(), element = U16(), implementor = U16();
            const uint8_t vrCode = *p++;
            const uint8_t flags = *p++;
            const uint16_t charset = U16();
            p += 2;
            const uint32_t length = U32();
            const Dicom_Tag tag(group, element, implementor);
            if (flags & kFlagNoValue) {
                Dicom_ME* me = new (arena) Dicom_ME(tag, nullptr);
                if (!elems.Append(me)) {
                    delete me;
                    return false;
                }
                continue;
            }
            if (vrCode >= DICOM_VR_COUNT) return false;
            const Dicom_VR vr = static_cast<Dicom_VR>(vrCode);
            Dicom_Type* v = Dicom_CreateValue(vr, arena);
            Dicom_ME* me = new (arena) Dicom_ME(tag, v);
            if (!elems.Append(me)) {
                delete me;
                return false;
            }
            if (vr == Dicom_VR::SQ) {
                Dicom_SQ* sq = static_cast<Dicom_SQ*>(v);
                sq->SetUndefinedLength((flags & kFlagUndefinedSQ) != 0);
                if (length > static_cast<uint64_t>(end - p) / 8) return false;
                for (uint32_t j = 0; j < length; ++j) {
                    if (!Need(4)) return false;
                    const uint32_t itemFlags = U32();
                    Dicom_Msg* item = new Dicom_Msg();
                    Dicom_Codec::AdoptArena(*item, arena, syntax);
                    sq->GetSequence().Append(item);
                    sq->SetItemUndefinedLength(sq->GetNItems() - 1, (itemFlags & 1) == 0);
                    if (!DataSet(*item, depth + 1)) return false;
                }
                continue;
            }
            if (!Need(length)) return false;
            if (big) SwapUnits(p, length, SwapUnit(vr));
            v->AttachRaw(p, length);
            v->SetCharset(charset);
            if (flags & kFlagEncapsulated) SetEncapsulatedFlag(v, true);
            p += length;
        }
        return true;
    }
};

}  // namespace

char* Dicom_Msg::CreateTrustedBuffer(Dicom_Endianity endianity, unsigned int* length) const {
    if (length) *length = 0;
    const std::string& uid = m_syntax.GetUID();
    const uint64_t total = kHeader + uid.size() + DataSetSize(*this);
    if (total > 0xFFFFFFFFull || uid.size() > 0xFFFF) return nullptr;
    unsigned char* buffer = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(total)));
    if (!buffer) return nullptr;
    Out out{buffer, endianity == DICOM_BIG_ENDIAN};
    std::memcpy(out.p, "IDTB", 4);
    out.p += 4;
    *out.p++ = kVersion;
    *out.p++ = out.big ? 1 : 0;
    out.U16(static_cast<uint16_t>(uid.size()));
    out.U32(m_msgFlags);
    out.U32(m_parseFlags);
    *out.p++ = static_cast<unsigned char>(m_syntax.GetKind());
    *out.p++ = 0;
    *out.p++ = 0;
    *out.p++ = 0;
    if (!uid.empty()) std::memcpy(out.p, uid.data(), uid.size());
    out.p += uid.size();
    out.DataSet(*this);
    if (length) *length = static_cast<unsigned int>(total);
    return reinterpret_cast<char*>(buffer);
}

int Dicom_Msg::ConstructFromTrustedBuffer(Kvl_AutoPtr<Dicom_TrustedBufferReader>& reader, bool reserved1,
                                          const char* name, bool reserved2,
                                          const Dicom_TransferSyntax* syntax, bool reserved3) {
    (void)reserved1;
    (void)name;
    (void)reserved2;
    (void)reserved3;
    if (!reader.get() || !reader->Data() || reader->Length() < kHeader) return -1;
    DestroyElements();
    Dicom_Arena* arena = Dicom_Codec::EnsureArena(*this);
    const size_t n = reader->Length();
    unsigned char* data = reinterpret_cast<unsigned char*>(reader->ReleaseBuffer());
    if (data) {
        arena->Adopt(data);  // the values point into the buffer: no copy
    } else {
        data = arena->Copy(reader->Data(), n);
    }
    In in{data + kHeader, data + n, data[5] == 1, arena, Dicom_TransferSyntax()};
    const uint16_t uidLength = in.big ? Load16BE(data + 6) : Load16LE(data + 6);
    const uint32_t msgFlags = in.big ? Load32BE(data + 8) : Load32LE(data + 8);
    const uint32_t parseFlags = in.big ? Load32BE(data + 12) : Load32LE(data + 12);
    if (!in.Need(uidLength)) return -1;
    const char* uid = reinterpret_cast<const char*>(in.p);
    in.p += uidLength;
    in.syntax = syntax ? *syntax : Dicom_TransferSyntax(uid, uidLength);
    m_syntax = in.syntax;
    m_msgFlags = msgFlags;
    m_parseFlags = parseFlags;
    if (!in.DataSet(*this, 0)) return -1;
    return in.p == in.end ? 0 : -1;
}

// ---------------------------------------------------------------------------------------------

Dicom_TrustedBufferReader::Dicom_TrustedBufferReader(char* buffer, unsigned int length, int* status,
                                                     int ownsBuffer)
    : m_data(reinterpret_cast<const unsigned char*>(buffer)), m_length(length), m_owns(ownsBuffer != 0) {
    const bool ok = buffer && length >= kHeader && std::memcmp(buffer, "IDTB", 4) == 0 &&
                    static_cast<unsigned char>(buffer[4]) == kVersion &&
                    static_cast<unsigned char>(buffer[5]) <= 1;
    if (ok) m_bigEndian = buffer[5] == 1;
    if (status) *status = ok ? 0 : -1;
}

Dicom_TrustedBufferReader::~Dicom_TrustedBufferReader() {
    if (m_owns) std::free(const_cast<unsigned char*>(m_data));
}

char* Dicom_TrustedBufferReader::ReleaseBuffer() {
    if (!m_owns) return nullptr;
    m_owns = false;
    return reinterpret_cast<char*>(const_cast<unsigned char*>(m_data));
}
