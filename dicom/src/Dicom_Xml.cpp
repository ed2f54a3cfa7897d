// XML export of a message: one <element> per element, sequences as nested <item>s.
//
//   <message>
//     <element tag="00100010" vr="PN" keyword="PatientName">DOE^JOHN</element>
//     <element tag="00081110" vr="SQ" keyword="ReferencedStudySequence">
//       <item number="1"> ... </item>
//     </element>
//   </message>
//
// Values are the text form of Dicom_Type::ToString (binary byte strings abbreviated), escaped
// for XML. DICOM_XML_PRINT_TAGS_ONLY leaves the values out. A tag list limits the export to
// those tags (at the top level; items of an exported sequence are written whole).
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>

#include <cstdio>
#include <string>

#include "Dicom_Codec.h"

namespace {

void Escape(std::string& out, const std::string& text) {
    for (char c : text) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\0':
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "&#%d;", c);
                    out += buf;
                } else {
                    out += c;
                }
        }
    }
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

void DataSet(std::string& out, const Dicom_Msg& msg, DicomXmlPrintMode mode,
             const RWTPtrOrderedVector<Dicom_Tag>* tags, int depth) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if (!me || !Listed(me->GetTag(), tags)) continue;
        const Dicom_Tag& t = me->GetTag();
        const Dicom_Type* v = me->GetData();
        char tagText[16];
        std::snprintf(tagText, sizeof tagText, "%04X%04X", t.GetGroup(), t.GetElement());
        const Dicom_DictEntry* entry = Dicom_Dictionary::Lookup(t);
        out +=
            indent + "<element tag=\"" + tagText + "\" vr=\"" + (v ? Dicom_VRName(v->GetVR()) : "UN") + "\"";
        if (entry && entry->keyword) {
            out += " keyword=\"";
            Escape(out, entry->keyword.c_str());
            out += "\"";
        }
        if (v && v->GetVR() == Dicom_VR::SQ) {
            const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
            out += ">\n";
            for (int j = 0; j < sq->GetNItems(); ++j) {
                out += indent + "  <item number=\"" + std::to_string(j + 1) + "\">\n";
                if (const Dicom_Msg* item = sq->GetItem(j)) DataSet(out, *item, mode, nullptr, depth + 2);
                out += indent + "  </item>\n";
            }
            out += indent + "</element>\n";
        } else if (mode == DICOM_XML_PRINT_TAGS_ONLY || !v) {
            out += "/>\n";
        } else {
            out += ">";
            std::string text;
            v->PrintToStr(text, 1024);
            Escape(out, text);
            out += "</element>\n";
        }
    }
}

}  // namespace

int Dicom_Msg::DumpToXml(DicomXmlPrintMode mode, std::string* out,
                         const RWTPtrOrderedVector<Dicom_Tag>* tags) const {
    if (!out) return -1;
    out->append("<message>\n");
    DataSet(*out, *this, mode, tags, 1);
    out->append("</message>\n");
    return 0;
}

int Dicom_Msg::ExportToXml(DicomXmlPrintMode mode, FILE* out,
                           const RWTPtrOrderedVector<Dicom_Tag>* tags) const {
    if (!out) return -1;
    std::string text;
    if (DumpToXml(mode, &text, tags) != 0) return -1;
    return std::fwrite(text.data(), 1, text.size(), out) == text.size() ? 0 : -1;
}
