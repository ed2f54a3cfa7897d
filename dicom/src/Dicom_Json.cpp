// DICOM JSON export of a message (see Dicom_Msg::DumpToJson):
//
//   {"00080060":{"vr":"CS","Value":["CT"]},
//    "00100010":{"vr":"PN","Value":[{"Alphabetic":"DOE^JOHN"}]},
//    "00280010":{"vr":"US","Value":[512]},
//    "00081110":{"vr":"SQ","Value":[{...},{...}]},
//    "7FE00010":{"vr":"OW","InlineBinary":"AAEC..."}}
//
// Written as the message is walked: nothing is built in memory beyond one value's text.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>

#include <cstdio>
#include <string>

#include "Dicom_Codec.h"
#include "Dicom_Model.h"

using Dicom_Model::Sink;

namespace {

void Quoted(Sink& out, std::string_view text) {
    out.Put('"');
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\') continue;
        out.Put(text.substr(start, i - start));
        char buf[8];
        if (c == '"' || c == '\\') {
            buf[0] = '\\';
            buf[1] = static_cast<char>(c);
            out.Put(std::string_view(buf, 2));
        } else {
            std::snprintf(buf, sizeof buf, "\\u%04X", c);
            out.Put(std::string_view(buf, 6));
        }
        start = i + 1;
    }
    out.Put(text.substr(start));
    out.Put('"');
}

// A number of IS or DS as JSON: its own text when that is a JSON number, else the number
// reformatted; a value that is no number stays a string.
void TextNumber(Sink& out, Dicom_VR vr, std::string_view text) {
    if (vr == Dicom_VR::IS) {
        long long n;
        if (Dicom_ValuesUtil::ParseInt(text, &n)) {
            out.Put(std::to_string(n));
            return;
        }
    } else {
        double d;
        if (Dicom_ValuesUtil::ParseDouble(text, &d) && d == d && d - d == 0) {
            out.Put(Dicom_ValuesUtil::FormatDouble(d));
            return;
        }
    }
    Quoted(out, text);
}

void Number(Sink& out, Dicom_VR vr, const unsigned char* p) {
    const std::string text = Dicom_Model::BinaryNumber(vr, p);
    if (!text.empty() && (text[0] == 'N' || text[0] == 'I' || text[1] == 'I'))
        Quoted(out, text);  // not a JSON number
    else
        out.Put(text);
}

void PersonName(Sink& out, std::string_view name) {
    static const char* const kGroups[3] = {"Alphabetic", "Ideographic", "Phonetic"};
    std::string_view groups[3];
    const int n = Dicom_Model::SplitGroups(name, groups);
    out.Put('{');
    bool first = true;
    for (int g = 0; g < n; ++g) {
        if (groups[g].empty() && g > 0) continue;
        if (!first) out.Put(',');
        first = false;
        Quoted(out, kGroups[g]);
        out.Put(':');
        Quoted(out, groups[g]);
    }
    out.Put('}');
}

void DataSet(Sink& out, const Dicom_Msg& msg, unsigned long long bulkLimit, bool top);

void Attribute(Sink& out, const Dicom_ME& me, unsigned long long bulkLimit) {
    const Dicom_Type* v = me.GetData();
    const Dicom_VR vr = v ? v->GetVR() : Dicom_VR::NONE;
    out.Put("{\"vr\":\"");
    out.Put(Dicom_Model::VRName(v));
    out.Put('"');
    if (vr == Dicom_VR::SQ) {
        const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
        out.Put(",\"Value\":[");
        for (int j = 0; j < sq->GetNItems(); ++j) {
            if (j) out.Put(',');
            if (const Dicom_Msg* item = sq->GetItem(j))
                DataSet(out, *item, bulkLimit, false);
            else
                out.Put("{}");
        }
        out.Put(']');
    } else if (v && v->GetRawLen() > 0) {
        if (Dicom_Model::IsBulkVR(vr)) {
            if (v->GetRawLen() <= bulkLimit) {
                out.Put(",\"InlineBinary\":\"");
                Dicom_Model::Base64(out, v->GetData(), v->GetRawLen());
                out.Put('"');
            }
        } else if (vr == Dicom_VR::AT) {
            out.Put(",\"Value\":[");
            char buf[9];
            for (uint32_t off = 0; off + 4 <= v->GetRawLen(); off += 4) {
                uint16_t ge[2];
                std::memcpy(ge, v->GetData() + off, 4);
                if (off) out.Put(',');
                Quoted(out, Dicom_Model::TagText(buf, ge[0], ge[1]));
            }
            out.Put(']');
        } else if (Dicom_Model::IsBinaryNumberVR(vr)) {
            const unsigned width = Dicom_GetVRInfo(vr).width;
            out.Put(",\"Value\":[");
            for (uint32_t off = 0; width && off + width <= v->GetRawLen(); off += width) {
                if (off) out.Put(',');
                Number(out, vr, v->GetData() + off);
            }
            out.Put(']');
        } else {
            // Text: a value whose values are all empty has none.
            std::string scratch;
            if (Dicom_Model::HasText(*v)) {
                out.Put(",\"Value\":[");
                bool first = true;
                Dicom_Model::ForEachText(*v, scratch, [&](std::string_view text) {
                    if (!first) out.Put(',');
                    first = false;
                    if (text.empty())
                        out.Put("null");
                    else if (vr == Dicom_VR::PN)
                        PersonName(out, text);
                    else if (vr == Dicom_VR::IS || vr == Dicom_VR::DS)
                        TextNumber(out, vr, text);
                    else
                        Quoted(out, text);
                });
                out.Put(']');
            }
        }
    }
    out.Put('}');
}

void DataSet(Sink& out, const Dicom_Msg& msg, unsigned long long bulkLimit, bool top) {
    const Dicom_SortedVector& elems = Dicom_Codec::Elements(msg);
    out.Put('{');
    bool first = true;
    char buf[9];
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if (!me || (top && me->GetTag().GetGroup() == 0x0002)) continue;
        if (!first) out.Put(',');
        first = false;
        out.Put('"');
        out.Put(Dicom_Model::TagText(buf, me->GetTag().GetGroup(), me->GetTag().GetElement()));
        out.Put("\":");
        Attribute(out, *me, bulkLimit);
    }
    out.Put('}');
}

}  // namespace

int Dicom_Msg::DumpToJson(std::string* out, unsigned long long bulkLimit) const {
    if (!out) return -1;
    Sink sink(out);
    DataSet(sink, *this, bulkLimit, true);
    return 0;
}

int Dicom_Msg::ExportToJson(FILE* out, unsigned long long bulkLimit) const {
    if (!out) return -1;
    Sink sink(out);
    DataSet(sink, *this, bulkLimit, true);
    sink.Put('\n');
    return sink.Finish() ? 0 : -1;
}
