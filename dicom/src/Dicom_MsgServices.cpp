// Dicom_Msg services: character sets of new values, de-identification, overlays and curves,
// annotation geometry and message updates.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SQ.h>

#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

#include "Dicom_Charset.h"
#include "Dicom_Codec.h"

namespace {

constexpr Dicom_Tag kSpecificCharacterSet{0x0008, 0x0005};

// Charset index of a message's Specific Character Set.
unsigned short MessageCharset(const Dicom_Msg& msg) {
    const Dicom_Type* v = msg.Get(kSpecificCharacterSet);
    if (!v || v->GetRawLen() == 0) return 0;
    return Dicom_Charset::IndexOf(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen());
}

// True when a value holds text (itself or in the items of a sequence) not yet in `index`.
bool HasTextToTranscode(const Dicom_Type* v, unsigned short index) {
    if (!v) return false;
    if (v->GetVR() != Dicom_VR::SQ) return v->IsI18nStringType() && v->GetCharset() != index;
    const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
    for (int j = 0; j < sq->GetNItems(); ++j) {
        const Dicom_Msg* item = sq->GetItem(j);
        if (!item) continue;
        const Dicom_SortedVector& elems = Dicom_Codec::Elements(*item);
        for (size_t i = 0; i < elems.entries(); ++i)
            if (HasTextToTranscode(elems.at(i)->GetData(), index)) return true;
    }
    return false;
}

// Re-encodes every text value of a data set's own store (and of its items) in `index`.
void TranscodeAll(Dicom_Msg& msg, unsigned short index) {
    Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    for (size_t i = 0; i < elems.entries(); ++i) {
        Dicom_ME* me = elems.at(i);
        Dicom_Type* v = me ? me->GetChangeableData() : nullptr;
        if (!v) continue;
        if (v->GetVR() == Dicom_VR::SQ) {
            Dicom_SQ* sq = static_cast<Dicom_SQ*>(v);
            for (int j = 0; j < sq->GetNItems(); ++j)
                if (Dicom_Msg* item = sq->GetItem(j)) TranscodeAll(*item, index);
        } else if (v->IsI18nStringType() && v->GetCharset() != index) {
            Dicom_Charset::Transcode(*v, index);
        }
    }
}

}  // namespace

void Dicom_Msg::fix_charset_for_new_item(Dicom_Type* value) {
    if (!value || !value->IsI18nStringType()) return;
    const unsigned short mine = MessageCharset(*this);
    if (value->GetCharset() == mine) return;
    const char* d = reinterpret_cast<const char*>(value->GetData());
    if (Dicom_Charset::IsPlainASCII(d, value->GetRawLen())) {
        value->SetCharset(mine);
        return;
    }
    if (Dicom_Charset::CanEncode(mine, *value) && Dicom_Charset::Transcode(*value, mine) == 0) return;
    // The message's repertoire cannot hold the value: the message moves to UTF-8, its text
    // values with it, and the value is written in UTF-8 too.
    const unsigned short utf8 = Dicom_Charset::UTF8Index();
    // Elements that this message presents without owning them are copied into its own store
    // first: the message they belong to keeps its text.
    const Dicom_SortedVector& shown = getElements();
    if (&shown != &m_elements) {
        std::vector<Dicom_Tag> borrowed;
        for (size_t i = 0; i < shown.entries(); ++i) {
            const Dicom_ME* me = shown.at(i);
            if (m_elements.Find(me->GetTag().GetTag()) != me && HasTextToTranscode(me->GetData(), utf8))
                borrowed.push_back(me->GetTag());
        }
        for (const Dicom_Tag& t : borrowed) FindChangeable(t);
    }
    TranscodeAll(*this, utf8);
    Dicom_Type* cs = Dicom_CreateValue(Dicom_VR::CS);
    cs->SetRaw("ISO_IR 192", 10);
    SetWithoutDataCopy(kSpecificCharacterSet, cs);
    Dicom_Charset::Transcode(*value, utf8);
}

// The attributes that identify the patient:
//  - Patient's Name (0010,0010) is replaced by its initials;
//  - Patient ID (0010,0020) by its keyed one-way encoding (Dicom_LO::GetEncoded);
//  - removed: Patient's Birth Date (0010,0030), Birth Time (0010,0032), Other Patient IDs
//    (0010,1000), Other Patient Names (0010,1001), Other Patient IDs Sequence (0010,1002),
//    Patient's Birth Name (0010,1005), Patient's Address (0010,1040), Patient's Mother's Birth
//    Name (0010,1060), Medical Record Locator (0010,1090), Patient's Telephone Numbers
//    (0010,2154), Military Rank (0010,1080), Branch of Service (0010,1081), Country and Region
//    of Residence (0010,2150, 0010,2152), Patient Comments (0010,4000).
int Dicom_Msg::suppress_identification() {
    int result = 0;
    if (const Dicom_Type* name = Get(Dicom_Tag(0x0010, 0x0010)); name && name->GetVR() == Dicom_VR::PN) {
        Dicom_PN initials = static_cast<const Dicom_PN*>(name)->GetInitials();
        if (Set(Dicom_Tag(0x0010, 0x0010), &initials) != 0) result = -1;
    }
    if (const Dicom_Type* id = Get(Dicom_Tag(0x0010, 0x0020)); id && id->GetVR() == Dicom_VR::LO) {
        Dicom_LO encoded = static_cast<const Dicom_LO*>(id)->GetEncoded();
        if (Set(Dicom_Tag(0x0010, 0x0020), &encoded) != 0) result = -1;
    }
    static const uint16_t removed[] = {0x0030, 0x0032, 0x1000, 0x1001, 0x1002, 0x1005, 0x1040, 0x1060,
                                       0x1080, 0x1081, 0x1090, 0x2150, 0x2152, 0x2154, 0x4000};
    for (uint16_t e : removed) Remove(Dicom_Tag(0x0010, e));
    return result;
}

void Dicom_Msg::RemoveOverlaysAndCurves() {
    const Dicom_SortedVector& elems = getElements();
    std::vector<Dicom_Tag> doomed;
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_Tag& t = elems.at(i)->GetTag();
        if (Dicom_Tag::IsRepeatingGroupFamily(t.GetGroup()))
            doomed.push_back(Dicom_Tag(t.GetGroup(), t.GetElement()));
    }
    for (auto it = doomed.rbegin(); it != doomed.rend(); ++it) Remove(*it);
}

namespace {

// A double as single precision; out of range: infinite of its sign (not undefined behaviour).
float ToFloat(double d) {
    if (d > std::numeric_limits<float>::max()) return std::numeric_limits<float>::infinity();
    if (d < -std::numeric_limits<float>::max()) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(d);
}

// Scales (column, row) pairs of an FL value in place: columns by x, rows by y. An owned copy is
// written (the value may point into a caller's buffer); a trailing odd value is kept as it is.
int ScalePointPairs(Dicom_Type& v, double x, double y) {
    if (v.GetVR() != Dicom_VR::FL || v.GetRawLen() < 8) return 0;
    std::vector<unsigned char> bytes(v.GetData(), v.GetData() + v.GetRawLen());
    for (size_t k = 0; k + 8 <= bytes.size(); k += 8) {
        float c, r;
        std::memcpy(&c, &bytes[k], 4);
        std::memcpy(&r, &bytes[k + 4], 4);
        c = ToFloat(c * x);
        r = ToFloat(r * y);
        std::memcpy(&bytes[k], &c, 4);
        std::memcpy(&bytes[k + 4], &r, 4);
    }
    return v.SetRaw(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

// True when the units attribute `units` of `object` says DISPLAY: such coordinates are fractions
// of the displayed area, which does not change when the image is resampled.
bool InDisplayUnits(const Dicom_Msg& object, const Dicom_Tag& units) {
    const Dicom_Type* u = object.Get(units);
    return u && u->GetVR() == Dicom_VR::CS && u->GetTextValue(0) == "DISPLAY";
}

// Scales the points of `object` listed in `points` unless `units` says DISPLAY.
int ScaleObject(Dicom_Msg& object, const Dicom_Tag& units, std::initializer_list<Dicom_Tag> points, double x,
                double y) {
    if (InDisplayUnits(object, units)) return 0;
    int result = 0;
    for (const Dicom_Tag& t : points) {
        Dicom_ME* me = object.Find(t, false);
        Dicom_Type* v = me ? me->GetChangeableData() : nullptr;
        if (v && ScalePointPairs(*v, x, y) != 0) result = -1;
    }
    return result;
}

// The items of the sequence under `tag` in `msg` (none when it is absent or not a sequence).
const Dicom_SQ* ItemsOf(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_ME* me = msg.Find(tag, false);
    const Dicom_Type* v = me ? me->GetData() : nullptr;
    return v && v->GetVR() == Dicom_VR::SQ ? static_cast<const Dicom_SQ*>(v) : nullptr;
}

}  // namespace

// This message is one item of a Graphic Annotation Sequence (0070,0001). Scaled, columns by x
// and rows by y, in the units each attribute is given in: PIXEL (image pixels) and MATRIX
// (pixels of the total pixel matrix) are scaled; DISPLAY (fractions of the displayed area) is
// left as it is. A missing units attribute counts as PIXEL.
//  - Text Object Sequence (0070,0008): Bounding Box Top Left and Bottom Right Hand Corners
//    (0070,0010), (0070,0011) in Bounding Box Annotation Units (0070,0003); Anchor Point
//    (0070,0014) in Anchor Point Annotation Units (0070,0004);
//  - Graphic Object Sequence (0070,0009): Graphic Data (0070,0022) in Graphic Annotation Units
//    (0070,0005).
int Dicom_Msg::MoveTextObjectSeqBy(double x, double y) {
    int result = 0;
    if (const Dicom_SQ* texts = ItemsOf(*this, Dicom_Tag(0x0070, 0x0008))) {
        for (int j = 0; j < texts->GetNItems(); ++j) {
            Dicom_Msg* text = texts->GetItem(j);
            if (!text) continue;
            if (ScaleObject(*text, Dicom_Tag(0x0070, 0x0003),
                            {Dicom_Tag(0x0070, 0x0010), Dicom_Tag(0x0070, 0x0011)}, x, y) != 0 ||
                ScaleObject(*text, Dicom_Tag(0x0070, 0x0004), {Dicom_Tag(0x0070, 0x0014)}, x, y) != 0)
                result = -1;
        }
    }
    if (const Dicom_SQ* graphics = ItemsOf(*this, Dicom_Tag(0x0070, 0x0009))) {
        for (int j = 0; j < graphics->GetNItems(); ++j) {
            Dicom_Msg* graphic = graphics->GetItem(j);
            if (graphic &&
                ScaleObject(*graphic, Dicom_Tag(0x0070, 0x0005), {Dicom_Tag(0x0070, 0x0022)}, x, y) != 0)
                result = -1;
        }
    }
    return result;
}

int Dicom_Msg::Update(const Dicom_Msg& source, bool removeEmpty, bool recursive) {
    if (&source == this) return 0;
    int result = 0;
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(source);
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if (!me) continue;
        Dicom_Tag tag = me->GetTag();
        // Creators are not copied as such: private data elements reserve their own block here.
        if (tag.IsPrivateImplementor()) continue;
        if (tag.HasImplementor()) tag.Unresolve();
        const Dicom_Type* v = me->GetData();
        if (!v) continue;
        if (removeEmpty && v->IsEmpty()) {
            Remove(tag);
            continue;
        }
        if (recursive && v->GetVR() == Dicom_VR::SQ) {
            Dicom_ME* mine = Find(tag, false);
            if (mine && mine->GetData() && mine->GetData()->GetVR() == Dicom_VR::SQ)
                mine = FindChangeable(tag);
            if (mine && mine->GetData() && mine->GetData()->GetVR() == Dicom_VR::SQ) {
                Dicom_SQ* target = static_cast<Dicom_SQ*>(mine->GetChangeableData());
                const Dicom_SQ* from = static_cast<const Dicom_SQ*>(v);
                for (int j = 0; j < from->GetNItems(); ++j) {
                    const Dicom_Msg* item = from->GetItem(j);
                    if (!item) continue;
                    if (j < target->GetNItems() && target->GetItem(j)) {
                        if (target->GetItem(j)->Update(*item, removeEmpty, true) != 0) result = -1;
                    } else {
                        target->AddItem(new Dicom_Msg(*item));
                    }
                }
                continue;
            }
        }
        if (Set(tag, const_cast<Dicom_Type*>(v)) != 0) result = -1;
    }
    return result;
}
