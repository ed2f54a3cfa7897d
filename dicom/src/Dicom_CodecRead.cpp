// Dicom_CodecRead: the reader of file images and data sets.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OB.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_Sequence.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "Dicom_Charset.h"
#include "Dicom_Codec.h"
#include "Dicom_CodecUtil.h"

using namespace Dicom_CodecUtil;

namespace {

constexpr uint32_t kUndefined = 0xFFFFFFFFu;
constexpr uint32_t kPixelDataKey = 0x7FE00010u;

// VR of an element read in implicit VR: from the dictionary (private elements through their
// creator); group lengths UL, private creators LO, unknown UN. Ambiguous dictionary entries:
// US/SS by the pixel representation seen so far (SS when 1), any pair with OW gives OW, except
// Curve Data (50xx,3000): OB, a string of points whose type its group names (Data Value
// Representation), as the implicit VR syntax defines it and as common toolkits read it. Overlay
// Data (60xx,3000) is OW.
Dicom_VR ImplicitVR(const Dicom_Tag& tag, int pixelRepresentation) {
    if (tag.GetElement() == 0x0000) return Dicom_VR::UL;
    if ((tag.GetGroup() & 0xFF01) == 0x5000 && tag.GetElement() == 0x3000) return Dicom_VR::OB;
    if (tag.IsPrivate() && !tag.HasImplementor() && tag.GetElement() >= 0x0010 && tag.GetElement() <= 0x00FF)
        return Dicom_VR::LO;
    if (tag.IsPrivate() && !tag.HasImplementor()) return Dicom_VR::UN;  // private data without a creator
    Dicom_Tag key = tag;
    if (key.HasImplementor()) key.Unresolve();
    const Dicom_DictEntry* e = LookupEntry(key);
    if (!e) return Dicom_VR::UN;
    Dicom_VR vr = e->vr;
    const Dicom_VR vr2 = e->vr2;
    if (vr2 != Dicom_VR::NONE && vr2 != vr) {
        if (vr == Dicom_VR::OW || vr2 == Dicom_VR::OW) return Dicom_VR::OW;
        if ((vr == Dicom_VR::US && vr2 == Dicom_VR::SS) || (vr == Dicom_VR::SS && vr2 == Dicom_VR::US))
            return pixelRepresentation == 1 ? Dicom_VR::SS : Dicom_VR::US;
    }
    return vr == Dicom_VR::NONE ? Dicom_VR::UN : vr;
}

inline bool IsUpper(unsigned char c) { return c >= 'A' && c <= 'Z'; }

struct Reader {
    const unsigned char* bufferEnd = nullptr;
    Dicom_Arena* arena = nullptr;
    Dicom_TransferSyntax syntax;
    bool explicitVR = true;
    bool big = false;
    bool ownsBuffer = false;  // the bytes are the message's own: big-endian values are swapped in place
    bool strict = false;
    bool stopBeforePixelData = false;
    bool metaOnly = false;  // reading the meta group: stop at the first element of another group
    bool stopped = false;
    int pixelRepresentation = -1;
    std::string error;
    bool failed = false;
    const unsigned char* lastTop = nullptr;  // end of the last complete top-level element
    // Tentative readings left for length repairs (each repair may read a region twice); bounds
    // the work a crafted input can cause.
    int repairBudget = 64;

    const unsigned char* Fail(const char* what) {
        if (!failed) {
            failed = true;
            error = what;
        }
        return nullptr;
    }

    uint16_t R16(const unsigned char* p) const { return big ? Load16BE(p) : Load16LE(p); }
    uint32_t R32(const unsigned char* p) const { return big ? Load32BE(p) : Load32LE(p); }

    // Bytes of a binary value in host order: swapped in place in our own buffer, else in a copy.
    const unsigned char* HostOrder(const unsigned char* p, uint32_t len, Dicom_VR vr) {
        const unsigned unit = SwapUnit(vr);
        if (!big || unit < 2 || len == 0) return p;
        unsigned char* q = ownsBuffer ? const_cast<unsigned char*>(p) : arena->Copy(p, len);
        SwapUnits(q, len, unit);
        return q;
    }

    const unsigned char* ParseDataSet(Dicom_Msg& msg, const unsigned char* p, const unsigned char* limit,
                                      bool untilItemDelimiter, int depth, unsigned short charset, bool top);
    const unsigned char* ParseSequence(Dicom_SQ* sq, const unsigned char* p, const unsigned char* limit,
                                       bool undefinedLength, int depth, unsigned short charset,
                                       const unsigned char* outerLimit, const Dicom_Tag& tag);
    Dicom_Msg* TryItem(const unsigned char* p, const unsigned char* end, int depth, unsigned short charset);
    const unsigned char* TrySequence(Dicom_SQ* sq, const unsigned char* p, const unsigned char* end,
                                     int depth, unsigned short charset, const Dicom_Tag& tag);
    const unsigned char* ParseFragments(const unsigned char* p, const unsigned char* limit,
                                        const unsigned char** content, uint32_t* contentLength);
};

// Adds a parsed element to a data set. Duplicates (a tag seen twice in one data set) keep the
// first element unless the tag's policy says "last".
bool AddParsed(Dicom_Msg& msg, Dicom_SortedVector& elems, Dicom_ME* me, Reader& rd) {
    if (elems.Append(me)) return true;
    if (rd.strict) {
        delete me;
        rd.Fail("element found twice in one data set");
        return false;
    }
    // Tolerated, but never silently: the dropped element is named in the log.
    const bool keepLast = msg.TagPolicy(me) == DICOM_POLICY_LAST;
    KVL_LOG("dicom/src/Dicom_CodecRead", "Dicom_Msg::ConstructFromBuffer", 4, 20,
            "element %s found twice in one data set; the %s one is kept\n", me->GetTag().ToString().c_str(),
            keepLast ? "last" : "first");
    if (keepLast) {
        Dicom_ME* old = elems.Remove(me->GetTag());
        delete old;
        elems.Insert(me);
        return true;
    }
    delete me;
    return true;
}

const unsigned char* Reader::ParseDataSet(Dicom_Msg& msg, const unsigned char* p, const unsigned char* limit,
                                          bool untilItemDelimiter, int depth, unsigned short charset,
                                          bool top) {
    Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    // Private creators of the current odd group: block -> implementor index.
    uint16_t creators[256];
    uint16_t creatorGroup = 0;

    for (;;) {
        if (top) lastTop = p;
        if (p == limit) {
            if (untilItemDelimiter) return Fail("item without its delimiter at the end of the input");
            return p;
        }
        if (limit - p < 8) return Fail("truncated element header");
        const uint16_t group = R16(p);
        const uint16_t element = R16(p + 2);
        if (metaOnly && group != 0x0002) return p;
        if (group == 0xFFFE) {
            if (element == 0xE00D) {
                if (untilItemDelimiter) return p + 8;
                return Fail("item delimitation outside an item");
            }
            if (element == 0xE0DD && untilItemDelimiter) return p;  // item left open: the sequence ends it
            return Fail("item tag inside a data set");
        }
        const uint32_t key = (uint32_t(group) << 16) | element;
        if (top && stopBeforePixelData && key >= kPixelDataKey) {
            stopped = true;
            return p;
        }

        Dicom_VR vr;
        uint32_t len;
        size_t header;
        bool unknownVR = false;
        Dicom_Tag tag(group, element);

        // Private data elements carry the implementor of the creator that reserved their block.
        if ((group & 1) && group > 8 && group != 0xFFFF) {
            if (creatorGroup != group) {
                creatorGroup = group;
                std::memset(creators, 0xFF, sizeof(creators));
            }
            if (element >= 0x1000) tag.SetImplementorID(creators[element >> 8]);
        }

        if (explicitVR) {
            vr = Dicom_VRFromName(static_cast<char>(p[4]), static_cast<char>(p[5]));
            bool longForm;
            if (vr != Dicom_VR::NONE) {
                longForm = Dicom_GetVRInfo(vr).longLength;
            } else {
                // An unknown VR: two upper-case letters are read with the long length form,
                // anything else with the short one; the value is kept as UN.
                unknownVR = true;
                longForm = IsUpper(p[4]) && IsUpper(p[5]);
                vr = Dicom_VR::UN;
                if (strict) return Fail("unknown VR");
            }
            if (longForm) {
                if (limit - p < 12) return Fail("truncated element header");
                len = R32(p + 8);
                header = 12;
            } else {
                len = R16(p + 6);
                header = 8;
            }
            if (strict && !unknownVR && vr != Dicom_VR::UN && element != 0x0000) {
                Dicom_Tag key2 = tag;
                if (key2.HasImplementor()) key2.Unresolve();
                const Dicom_DictEntry* e = LookupEntry(key2);
                if (e && e->vr != Dicom_VR::NONE && e->vr != Dicom_VR::UN && e->vr != vr && e->vr2 != vr)
                    return Fail("VR contradicts the dictionary");
            }
        } else {
            len = R32(p + 4);
            header = 8;
            vr = ImplicitVR(tag, pixelRepresentation);
        }
        p += header;

        if (len == kUndefined) {
            bool asSequence = vr == Dicom_VR::SQ || vr == Dicom_VR::UN;
            if (asSequence) {
                Dicom_SQ* sq = static_cast<Dicom_SQ*>(Dicom_CreateValue(Dicom_VR::SQ, arena));
                SetSequenceUndefinedLength(sq, true);
                // UN of undefined length holds an implicit VR little endian sequence.
                const bool saveExplicit = explicitVR, saveBig = big;
                if (vr == Dicom_VR::UN && explicitVR) {
                    explicitVR = false;
                    big = false;
                }
                p = ParseSequence(sq, p, limit, true, depth + 1, charset, limit, tag);
                explicitVR = saveExplicit;
                big = saveBig;
                // The element joins the data set only once its items are read: a duplicate may be
                // dropped (and destroyed) by AddParsed. Items read before a fault are kept.
                Dicom_ME* me = new (arena) Dicom_ME(tag, sq);
                if (!AddParsed(msg, elems, me, *this)) return nullptr;
                if (!p) return nullptr;
                continue;
            }
            if (vr == Dicom_VR::OB || vr == Dicom_VR::OW || key == kPixelDataKey) {
                const unsigned char* content;
                uint32_t contentLength;
                p = ParseFragments(p, limit, &content, &contentLength);
                if (!p) return nullptr;
                Dicom_VR fvr = (vr == Dicom_VR::OW && explicitVR) ? Dicom_VR::OW : Dicom_VR::OB;
                Dicom_Type* v = Dicom_CreateValue(fvr, arena);
                v->AttachRaw(content, contentLength);
                SetEncapsulatedFlag(v, true);
                Dicom_ME* me = new (arena) Dicom_ME(tag, v);
                if (!AddParsed(msg, elems, me, *this)) return nullptr;
                continue;
            }
            return Fail("undefined length on a value that cannot have one");
        }

        if (len > static_cast<uint64_t>(limit - p)) {
            // A sequence whose length runs past the end of what encloses it, while its items end
            // exactly there, is read up to that end.
            if (vr != Dicom_VR::SQ || strict || repairBudget <= 0)
                return Fail("value extends past the end of the input");
            Dicom_SQ* sq = static_cast<Dicom_SQ*>(Dicom_CreateValue(Dicom_VR::SQ, arena));
            SetSequenceUndefinedLength(sq, false);
            if (!TrySequence(sq, p, limit, depth + 1, charset, tag)) {
                Dicom_ME* me = new (arena) Dicom_ME(tag, sq);  // owns the items read before the fault
                if (AddParsed(msg, elems, me, *this)) Fail("value extends past the end of the input");
                return nullptr;
            }
            KVL_LOG(
                "dicom/src/Dicom_CodecRead", "Dicom_Msg::ConstructFromBuffer", 4, 20,
                "sequence %s of %u bytes runs %llu bytes past the end of its data set; read up to that end\n",
                tag.ToString().c_str(), len, static_cast<unsigned long long>(len - (limit - p)));
            Dicom_ME* me = new (arena) Dicom_ME(tag, sq);
            if (!AddParsed(msg, elems, me, *this)) return nullptr;
            p = limit;
            continue;
        }
        if ((len & 1) && strict) return Fail("odd value length");

        if (vr == Dicom_VR::SQ) {
            Dicom_SQ* sq = static_cast<Dicom_SQ*>(Dicom_CreateValue(Dicom_VR::SQ, arena));
            SetSequenceUndefinedLength(sq, false);
            // The end may lie past p + len when the last item outlasts the sequence's length.
            const unsigned char* end = ParseSequence(sq, p, p + len, false, depth + 1, charset, limit, tag);
            Dicom_ME* me = new (arena) Dicom_ME(tag, sq);  // after its items: see above
            if (!AddParsed(msg, elems, me, *this)) return nullptr;
            if (!end) return nullptr;
            p = end;
            continue;
        }

        const unsigned char* data = p;
        if (Dicom_GetVRInfo(vr).binary || vr == Dicom_VR::AT) data = HostOrder(p, len, vr);
        Dicom_Type* v = Dicom_CreateValue(vr, arena);
        v->AttachRaw(data, len);

        if (tag.IsPrivate() && !tag.HasImplementor() && element >= 0x0010 && element <= 0x00FF) {
            // A private creator: later elements of the block (gggg,ee00-eeff) belong to it.
            size_t n = len;
            while (n > 0 && (p[n - 1] == ' ' || p[n - 1] == '\0')) --n;
            size_t s = 0;
            while (s < n && p[s] == ' ') ++s;
            if (n > s)
                creators[element] = ImplementorIDVector::Index(reinterpret_cast<const char*>(p + s), n - s);
        } else if (key == 0x00080005u) {
            charset = Dicom_Charset::IndexOf(reinterpret_cast<const char*>(p), len);
        } else if (top && key == 0x00280103u && len >= 2 && vr == Dicom_VR::US) {
            pixelRepresentation = Load16LE(data);
        }
        if (charset != 0 && Dicom_GetVRInfo(vr).charsetText) v->SetCharset(charset);

        Dicom_ME* me = new (arena) Dicom_ME(tag, v);
        if (!AddParsed(msg, elems, me, *this)) return nullptr;
        p += len;
    }
}

// Reads one item of defined length over [p, end) without leaving a trace when it fails: values
// are copied rather than swapped in place, the fault is forgotten. Null when it does not read.
Dicom_Msg* Reader::TryItem(const unsigned char* p, const unsigned char* end, int depth,
                           unsigned short charset) {
    --repairBudget;
    const bool saveOwns = ownsBuffer;
    ownsBuffer = false;
    Dicom_Msg* item = new Dicom_Msg();
    Dicom_Codec::AdoptArena(*item, arena, syntax);
    const bool ok = ParseDataSet(*item, p, end, false, depth, charset, false) != nullptr;
    ownsBuffer = saveOwns;
    if (ok) return item;
    delete item;
    failed = false;
    error.clear();
    return nullptr;
}

// The same for a whole sequence of defined length read over [p, end).
const unsigned char* Reader::TrySequence(Dicom_SQ* sq, const unsigned char* p, const unsigned char* end,
                                         int depth, unsigned short charset, const Dicom_Tag& tag) {
    --repairBudget;
    const bool saveOwns = ownsBuffer;
    ownsBuffer = false;
    const unsigned char* r = ParseSequence(sq, p, end, false, depth, charset, end, tag);
    ownsBuffer = saveOwns;
    if (r == end) return r;
    failed = false;
    error.clear();
    return nullptr;
}

const unsigned char* Reader::ParseSequence(Dicom_SQ* sq, const unsigned char* p, const unsigned char* limit,
                                           bool undefinedLength, int depth, unsigned short charset,
                                           const unsigned char* outerLimit, const Dicom_Tag& tag) {
    if (depth > DICOM_MAX_SEQUENCE_DEPTH) return Fail("sequences nested too deeply");
    Dicom_Sequence& items = SequenceItems(sq);
    for (;;) {
        if (p == limit) {
            if (undefinedLength) return Fail("sequence without its delimiter at the end of the input");
            return p;
        }
        if (limit - p < 8) return Fail("truncated item header");
        const uint16_t group = R16(p);
        const uint16_t element = R16(p + 2);
        const uint32_t len = R32(p + 4);
        if (group != 0xFFFE) return Fail("element where an item was expected");
        if (element == 0xE0DD) {
            if (undefinedLength) return p + 8;
            return Fail("sequence delimitation inside a sequence of defined length");
        }
        if (element != 0xE000) return Fail("unexpected delimiter inside a sequence");
        p += 8;
        if (len != kUndefined && len > static_cast<uint64_t>(limit - p)) {
            if (strict || undefinedLength || repairBudget <= 0)
                return Fail("item extends past the end of its sequence");
            // The item's length disagrees with its sequence's. When the item's elements end
            // exactly where the sequence ends, the item length is wrong (a record shortened without
            // its length being updated): the item ends with its sequence. When they end exactly
            // where the item length says, inside what encloses the sequence, the sequence length is
            // wrong: the sequence ends with its last item.
            const unsigned long long over = len - static_cast<unsigned long long>(limit - p);
            Dicom_Msg* item = TryItem(p, limit, depth, charset);
            const unsigned char* end = limit;
            const char* repaired = "the item ends with its sequence";
            if (!item && len <= static_cast<uint64_t>(outerLimit - p)) {
                item = TryItem(p, p + len, depth, charset);
                end = p + len;
                repaired = "the sequence ends with the item";
            }
            if (!item) return Fail("item extends past the end of its sequence");
            items.Append(item);
            sq->SetItemUndefinedLength(items.GetNItems() - 1, false);
            KVL_LOG(
                "dicom/src/Dicom_CodecRead", "Dicom_Msg::ConstructFromBuffer", 4, 20,
                "item %d of sequence %s: its length %u runs %llu bytes past the end of the sequence; %s\n",
                items.GetNItems(), tag.ToString().c_str(), len, over, repaired);
            return end;
        }
        Dicom_Msg* item = new Dicom_Msg();
        Dicom_Codec::AdoptArena(*item, arena, syntax);
        items.Append(item);
        sq->SetItemUndefinedLength(items.GetNItems() - 1, len == kUndefined);
        if (len == kUndefined) {
            p = ParseDataSet(*item, p, limit, true, depth, charset, false);
            if (!p) return nullptr;
        } else {
            if (!ParseDataSet(*item, p, p + len, false, depth, charset, false)) return nullptr;
            p += len;
        }
    }
}

const unsigned char* Reader::ParseFragments(const unsigned char* p, const unsigned char* limit,
                                            const unsigned char** content, uint32_t* contentLength) {
    const unsigned char* start = p;
    for (;;) {
        if (limit - p < 8) return Fail("encapsulated pixel data without its delimiter");
        const uint16_t group = R16(p);
        const uint16_t element = R16(p + 2);
        const uint32_t len = R32(p + 4);
        if (group != 0xFFFE) return Fail("element inside encapsulated pixel data");
        if (element == 0xE0DD) {
            const size_t n = static_cast<size_t>(p - start);
            if (n > 0xFFFFFFFEu) return Fail("encapsulated pixel data too long");
            *contentLength = static_cast<uint32_t>(n);
            if (big && n) {
                // Item headers are kept in little endian order.
                unsigned char* q = ownsBuffer ? const_cast<unsigned char*>(start) : arena->Copy(start, n);
                for (size_t off = 0; off + 8 <= n;) {
                    const uint32_t l = Load32BE(q + off + 4);
                    Store16LE(q + off, Load16BE(q + off));
                    Store16LE(q + off + 2, Load16BE(q + off + 2));
                    Store32LE(q + off + 4, l);
                    off += 8 + static_cast<size_t>(l);
                }
                *content = q;
            } else {
                *content = start;
            }
            return p + 8;
        }
        if (element != 0xE000 || len == kUndefined) return Fail("bad item inside encapsulated pixel data");
        if (len > static_cast<uint64_t>(limit - p - 8))
            return Fail("fragment extends past the end of the input");
        p += 8 + len;
    }
}

// Detects the encoding of a data set from its first element: explicit VR when the two bytes
// after the tag name a VR; big endian when the tag reads as a smaller group byte-swapped.
Dicom_TransferSyntax::Kind Detect(const unsigned char* p, size_t n) {
    if (n < 8) return Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN;
    const bool explicitVR =
        Dicom_VRFromName(static_cast<char>(p[4]), static_cast<char>(p[5])) != Dicom_VR::NONE;
    const uint16_t gLE = Load16LE(p), gBE = Load16BE(p);
    if (!explicitVR) return Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN;
    return gBE < gLE ? Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN
                     : Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN;
}

}  // namespace

Dicom_Codec::ParseResult Dicom_Codec::Parse(Dicom_Msg& msg, const unsigned char* data,
                                            unsigned long long length, int copy,
                                            const Dicom_TransferSyntax& requested, bool stopBeforePixelData,
                                            bool strict) {
    ParseResult res;
    Reader rd;
    rd.arena = EnsureArena(msg);
    rd.strict = strict;
    rd.stopBeforePixelData = stopBeforePixelData;
    if (!data && length) {
        res.status = -1;
        res.error = "no input";
        return res;
    }
    if (length > (1ull << 40)) {
        res.status = -1;
        res.error = "input too large";
        return res;
    }
    const size_t n = static_cast<size_t>(length);
    const unsigned char* buf = data;
    if (copy && n) {
        buf = rd.arena->Copy(data, n);
        rd.ownsBuffer = true;
    }
    rd.bufferEnd = buf + n;
    Dicom_SortedVector& elems = Elements(msg);
    elems.DetermineStrategy(n / 48 > 1024 ? 1024 : n / 48 + 8);

    // File image: a preamble and "DICM", "DICM" alone, or a meta group at the very start.
    size_t pos = 0;
    bool meta = false;
    if (n >= 132 && std::memcmp(buf + 128, "DICM", 4) == 0) {
        pos = 132;
        meta = true;
    } else if (n >= 4 && std::memcmp(buf, "DICM", 4) == 0) {
        pos = 4;
        meta = true;
    } else if (n >= 8 && Load16LE(buf) == 0x0002) {
        meta = true;
    }

    Dicom_TransferSyntax ts;
    if (meta) {
        rd.metaOnly = true;
        rd.explicitVR =
            Dicom_VRFromName(static_cast<char>(n >= pos + 6 ? buf[pos + 4] : 0),
                             static_cast<char>(n >= pos + 6 ? buf[pos + 5] : 0)) != Dicom_VR::NONE;
        rd.big = false;
        rd.syntax = Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
        const unsigned char* end = rd.ParseDataSet(msg, buf + pos, rd.bufferEnd, false, 0, 0, true);
        rd.metaOnly = false;
        if (!end) {
            res.status = -1;
            res.error = rd.error;
            res.consumed = pos;
            return res;
        }
        pos = static_cast<size_t>(end - buf);
        if (Dicom_ME* tsme = elems.Find(0x00020010u); tsme && tsme->GetData()) {
            const Dicom_Type* v = tsme->GetData();
            ts = Dicom_TransferSyntax(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen());
        }
    }
    if (!ts.IsSpecified()) ts = requested;
    const size_t rest = n - pos;
    bool readExplicit;
    if (!ts.IsSpecified()) {
        ts = Dicom_TransferSyntax(Detect(buf + pos, rest));
        readExplicit = ts.IsExplicitVR();
    } else {
        readExplicit = ts.IsExplicitVR();
        // A syntax that contradicts the data (explicit VR announced, implicit VR written, or the
        // reverse) is corrected from the first element: the message reports the syntax read and
        // keeps the one a meta group named (for the encapsulated pixel data it announces).
        if (rest >= 8 && !ts.IsBigEndian() && !ts.IsDeflated() && ts.IsKnown()) {
            const auto k = Detect(buf + pos, rest);
            const bool detectedExplicit = k != Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN;
            if (k != Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN && detectedExplicit != ts.IsExplicitVR()) {
                KVL_LOG("dicom/src/Dicom_CodecRead", "Dicom_Msg::ConstructFromBuffer", 6, 20,
                        "the data set contradicts its syntax %s; read as %s\n", ts.GetUID().c_str(),
                        Dicom_TransferSyntax(k).GetUID().c_str());
                if (meta) NamedSyntaxOf(msg) = ts;
                ts = Dicom_TransferSyntax(k);
                readExplicit = detectedExplicit;
            }
        }
    }
    SyntaxOf(msg) = ts;
    rd.syntax = ts;
    if (!ts.IsKnown()) {
        res.status = -1;
        res.error = "unknown transfer syntax";
        res.consumed = pos;
        return res;
    }
    rd.explicitVR = readExplicit;
    rd.big = ts.IsBigEndian();

    if (ts.IsDeflated()) {
        unsigned char* inflated = nullptr;
        size_t inflatedLength = 0;
        const uint64_t cap64 = static_cast<uint64_t>(rest) * 1024 + 65536;
        const size_t cap = cap64 > 0xFFFFFFFFull ? 0xFFFFFFFFu : static_cast<size_t>(cap64);
        if (!Inflate(buf + pos, rest, cap, &inflated, &inflatedLength)) {
            std::free(inflated);
            res.status = -1;
            res.error = "deflated data set cannot be inflated";
            res.consumed = pos;
            return res;
        }
        rd.arena->Adopt(inflated);
        rd.ownsBuffer = true;
        rd.bufferEnd = inflated + inflatedLength;
        const unsigned char* end = rd.ParseDataSet(msg, inflated, rd.bufferEnd, false, 0, 0, true);
        res.status = end ? 0 : -1;
        res.error = rd.error;
        res.consumed = end ? n : pos;
        return res;
    }

    const unsigned char* end = rd.ParseDataSet(msg, buf + pos, rd.bufferEnd, false, 0, 0, true);
    if (!end) {
        res.status = -1;
        res.error = rd.error;
        res.consumed = rd.lastTop ? static_cast<unsigned long long>(rd.lastTop - buf) : pos;
        return res;
    }
    res.consumed = static_cast<unsigned long long>(end - buf);
    return res;
}
