// XML export of a message and of one element in the Native DICOM Model:
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <NativeDicomModel xml:space="preserve">
//   <DicomAttribute tag="00100010" vr="PN" keyword="PatientName">
//   <PersonName number="1">
//   <Alphabetic>
//   <FamilyName>DOE</FamilyName>
//   <GivenName>JOHN</GivenName>
//   </Alphabetic>
//   </PersonName>
//   </DicomAttribute>
//   <DicomAttribute tag="00091001" vr="LO" privateCreator="ACME 1.0"> (written as tag="00090001")
//   <DicomAttribute tag="00081110" vr="SQ" keyword="ReferencedStudySequence">
//   <Item number="1"> ... </Item>
//   </DicomAttribute>
//   <DicomAttribute tag="7FE00010" vr="OW" keyword="PixelData">
//   <InlineBinary>AAEC...</InlineBinary>
//   </DicomAttribute>
//   </NativeDicomModel>
//
// Text is decoded to UTF-8 through the value's character set, one <Value number="n"> per value;
// binary numbers in decimal; attribute tags as "ggggeeee"; byte strings (OB, OW, OF, OD, OL, OV,
// UN, encapsulated pixel data as its fragment items) as base64 in DICOM_XML_PRINT_VALUES mode and
// left out in DICOM_XML_PRINT_TAGS_ONLY mode; a text value whose values are all empty has no
// <Value>. Private data elements name their creator (when known) and carry the element number
// without its block (gggg,10ee -> gggg00ee). A tag list restricts the top-level
// attributes; the items of a listed sequence are written whole.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>

#include <cstdio>
#include <string>

#include "Dicom_Codec.h"
#include "Dicom_Model.h"

using Dicom_Model::Sink;

namespace {

// Text content or attribute value escaped for XML 1.0; characters that XML cannot carry (C0
// controls other than tab, LF, CR) become U+FFFD.
void Escaped(Sink& out, std::string_view text) {
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const char* rep = nullptr;
        switch (c) {
            case '<':
                rep = "&lt;";
                break;
            case '>':
                rep = "&gt;";
                break;
            case '&':
                rep = "&amp;";
                break;
            case '"':
                rep = "&quot;";
                break;
            case '\r':
                rep = "&#13;";  // a literal CR would be read back as LF
                break;
            default:
                if (c < 0x20 && c != '\t' && c != '\n') rep = "\xEF\xBF\xBD";
        }
        if (!rep) continue;
        out.Put(text.substr(start, i - start));
        out.Put(rep);
        start = i + 1;
    }
    out.Put(text.substr(start));
}

void ValueElement(Sink& out, int number, std::string_view text) {
    out.Put("<Value number=\"");
    out.Put(std::to_string(number));
    out.Put("\">");
    Escaped(out, text);
    out.Put("</Value>\n");
}

void PersonName(Sink& out, int number, std::string_view name) {
    static const char* const kGroups[3] = {"Alphabetic", "Ideographic", "Phonetic"};
    static const char* const kParts[5] = {"FamilyName", "GivenName", "MiddleName", "NamePrefix",
                                          "NameSuffix"};
    out.Put("<PersonName number=\"");
    out.Put(std::to_string(number));
    out.Put("\">\n");
    std::string_view groups[3];
    const int n = Dicom_Model::SplitGroups(name, groups);
    for (int g = 0; g < n; ++g) {
        if (groups[g].empty()) continue;
        out.Put("<");
        out.Put(kGroups[g]);
        out.Put(">\n");
        std::string_view rest = groups[g];
        for (int p = 0; p < 5; ++p) {
            const size_t cut = rest.find('^');
            const std::string_view part = rest.substr(0, cut);
            if (!part.empty()) {
                out.Put("<");
                out.Put(kParts[p]);
                out.Put(">");
                Escaped(out, part);
                out.Put("</");
                out.Put(kParts[p]);
                out.Put(">\n");
            }
            if (cut == std::string_view::npos) break;
            rest.remove_prefix(cut + 1);
        }
        out.Put("</");
        out.Put(kGroups[g]);
        out.Put(">\n");
    }
    out.Put("</PersonName>\n");
}

void DataSet(Sink& out, const Dicom_Msg& msg, DicomXmlPrintMode mode,
             const RWTPtrOrderedVector<Dicom_Tag>* tags);

void Attribute(Sink& out, const Dicom_ME& me, DicomXmlPrintMode mode) {
    const Dicom_Tag& t = me.GetTag();
    const Dicom_Type* v = me.GetData();
    const bool privateData = t.IsPrivate() && t.GetElement() >= 0x1000;
    char buf[9];
    out.Put("<DicomAttribute tag=\"");
    out.Put(Dicom_Model::TagText(buf, t.GetGroup(), privateData ? t.GetElement() & 0xFF : t.GetElement()));
    out.Put("\" vr=\"");
    out.Put(Dicom_Model::VRName(v));
    out.Put("\"");
    if (const char* keyword = Dicom_Model::Keyword(t)) {
        out.Put(" keyword=\"");
        out.Put(keyword);
        out.Put("\"");
    }
    if (privateData && t.HasImplementor()) {
        out.Put(" privateCreator=\"");
        Escaped(out, ImplementorIDVector::NameView(t.GetImplementorID()));
        out.Put("\"");
    }
    out.Put(">\n");
    const Dicom_VR vr = v ? v->GetVR() : Dicom_VR::NONE;
    if (vr == Dicom_VR::SQ) {
        const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
        for (int j = 0; j < sq->GetNItems(); ++j) {
            out.Put("<Item number=\"");
            out.Put(std::to_string(j + 1));
            out.Put("\">\n");
            if (const Dicom_Msg* item = sq->GetItem(j)) DataSet(out, *item, mode, nullptr);
            out.Put("</Item>\n");
        }
    } else if (v && v->GetRawLen() > 0) {
        if (Dicom_Model::IsBulkVR(vr)) {
            if (mode != DICOM_XML_PRINT_TAGS_ONLY) {
                out.Put("<InlineBinary>");
                Dicom_Model::Base64(out, v->GetData(), v->GetRawLen());
                out.Put("</InlineBinary>\n");
            }
        } else if (vr == Dicom_VR::AT) {
            for (uint32_t off = 0, n = 1; off + 4 <= v->GetRawLen(); off += 4, ++n) {
                uint16_t ge[2];
                std::memcpy(ge, v->GetData() + off, 4);
                ValueElement(out, static_cast<int>(n), Dicom_Model::TagText(buf, ge[0], ge[1]));
            }
        } else if (Dicom_Model::IsBinaryNumberVR(vr)) {
            const unsigned width = Dicom_GetVRInfo(vr).width;
            for (uint32_t off = 0, n = 1; width && off + width <= v->GetRawLen(); off += width, ++n)
                ValueElement(out, static_cast<int>(n), Dicom_Model::BinaryNumber(vr, v->GetData() + off));
        } else if (Dicom_Model::HasText(*v)) {
            std::string scratch;
            int n = 0;
            Dicom_Model::ForEachText(*v, scratch, [&](std::string_view text) {
                ++n;
                if (vr == Dicom_VR::PN)
                    PersonName(out, n, text);
                else
                    ValueElement(out, n, text);
            });
        }
    }
    out.Put("</DicomAttribute>\n");
}

bool Listed(const Dicom_Tag& tag, const RWTPtrOrderedVector<Dicom_Tag>* tags) {
    if (!tags) return true;
    Dicom_Tag unresolved = tag;
    if (unresolved.HasImplementor()) unresolved.Unresolve();
    for (size_t i = 0; i < tags->entries(); ++i) {
        const Dicom_Tag* t = (*tags)[i];
        if (!t) continue;
        if (t->GetTag() == tag.GetTag() || *t == unresolved) return true;
    }
    return false;
}

void DataSet(Sink& out, const Dicom_Msg& msg, DicomXmlPrintMode mode,
             const RWTPtrOrderedVector<Dicom_Tag>* tags) {
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if (me && Listed(me->GetTag(), tags)) Attribute(out, *me, mode);
    }
}

void Document(Sink& out, const Dicom_Msg& msg, DicomXmlPrintMode mode,
              const RWTPtrOrderedVector<Dicom_Tag>* tags) {
    out.Put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<NativeDicomModel xml:space=\"preserve\">\n");
    DataSet(out, msg, mode, tags);
    out.Put("</NativeDicomModel>\n");
}

}  // namespace

int Dicom_Msg::DumpToXml(DicomXmlPrintMode mode, std::string* out,
                         const RWTPtrOrderedVector<Dicom_Tag>* tags) const {
    if (!out) return -1;
    Sink sink(out);
    Document(sink, *this, mode, tags);
    return 0;
}

int Dicom_Msg::ExportToXml(DicomXmlPrintMode mode, FILE* out,
                           const RWTPtrOrderedVector<Dicom_Tag>* tags) const {
    if (!out) return -1;
    Sink sink(out);
    Document(sink, *this, mode, tags);
    return sink.Finish() ? 0 : -1;
}

int Dicom_ME::DumpToXml(DicomXmlPrintMode mode, std::string* out) const {
    if (!out) return -1;
    Sink sink(out);
    Attribute(sink, *this, mode);
    return 0;
}

int Dicom_ME::ExportToXml(DicomXmlPrintMode mode, FILE* out) const {
    if (!out) return -1;
    Sink sink(out);
    Attribute(sink, *this, mode);
    return sink.Finish() ? 0 : -1;
}
