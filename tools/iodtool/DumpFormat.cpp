// DumpFormat: see DumpFormat.h.
#include "DumpFormat.h"

#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_UIDic.h>
#include <Dicom/Dicom_VR.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

// Width of the value column: the comment starts one space after it (or after a longer value).
constexpr size_t kValueColumn = 40;
// Piece of the text written at a time when the dump goes to a stream.
constexpr size_t kStreamChunk = 16384;

void AppendHex(std::string& out, uint64_t value, int digits) {
    static const char kDigits[] = "0123456789abcdef";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) out.push_back(kDigits[(value >> shift) & 0xF]);
}

void AppendTag(std::string& out, unsigned short group, unsigned short element) {
    out.push_back('(');
    AppendHex(out, group, 4);
    out.push_back(',');
    AppendHex(out, element, 4);
    out.push_back(')');
}

template <class T>
T Load(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

template <class T>
void AppendNumber(std::string& out, T value) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    out.append(buffer, result.ptr);
}

// True once `out` holds more than `limit` characters (limit 0: never).
bool Full(const std::string& out, size_t limit) { return limit != 0 && out.size() > limit; }

// Binary numbers of `width` bytes, '\\'-separated.
template <class T>
void AppendNumbers(std::string& out, const unsigned char* data, uint32_t length, size_t limit) {
    for (uint32_t at = 0; at + sizeof(T) <= length && !Full(out, limit); at += sizeof(T)) {
        if (at != 0) out.push_back('\\');
        AppendNumber(out, Load<T>(data + at));
    }
    if (length % sizeof(T) != 0) out.append(out.empty() ? "(odd length)" : "\\(odd length)");
}

// Byte strings as hexadecimal units of `width` bytes (host order), '\\'-separated; a trailing
// part shorter than a unit is printed byte by byte.
void AppendHexUnits(std::string& out, const unsigned char* data, uint32_t length, unsigned width,
                    size_t limit) {
    uint32_t at = 0;
    for (; at + width <= length && !Full(out, limit); at += width) {
        if (at != 0) out.push_back('\\');
        uint64_t unit = 0;
        std::memcpy(&unit, data + at, width);  // little-endian host
        AppendHex(out, unit, static_cast<int>(width * 2));
    }
    for (; at < length && !Full(out, limit); ++at) {
        if (at != 0) out.push_back('\\');
        AppendHex(out, data[at], 2);
    }
}

// Text bytes without trailing padding; control characters other than ESC (which the ISO 2022
// character sets need) are written as \xHH so that every element stays on one line.
void AppendText(std::string& out, const unsigned char* data, uint32_t length, size_t limit) {
    while (length > 0 && (data[length - 1] == ' ' || data[length - 1] == '\0')) --length;
    for (uint32_t i = 0; i < length && !Full(out, limit); ++i) {
        const unsigned char c = data[i];
        if ((c < 0x20 && c != 0x1B) || c == 0x7F) {
            out.append("\\x");
            AppendHex(out, c, 2);
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
}

// The printed form of a non-sequence value, stopping soon after `limit` characters.
void AppendValue(std::string& out, const Dicom_Type& value, size_t limit) {
    const unsigned char* data = value.GetData();
    const uint32_t length = value.GetRawLen();
    if (length == 0 || data == nullptr) return;
    switch (value.GetVR()) {
        case Dicom_VR::US:
            AppendNumbers<uint16_t>(out, data, length, limit);
            break;
        case Dicom_VR::SS:
            AppendNumbers<int16_t>(out, data, length, limit);
            break;
        case Dicom_VR::UL:
            AppendNumbers<uint32_t>(out, data, length, limit);
            break;
        case Dicom_VR::SL:
            AppendNumbers<int32_t>(out, data, length, limit);
            break;
        case Dicom_VR::UV:
            AppendNumbers<uint64_t>(out, data, length, limit);
            break;
        case Dicom_VR::SV:
            AppendNumbers<int64_t>(out, data, length, limit);
            break;
        case Dicom_VR::FL:
        case Dicom_VR::OF:
            AppendNumbers<float>(out, data, length, limit);
            break;
        case Dicom_VR::FD:
        case Dicom_VR::OD:
            AppendNumbers<double>(out, data, length, limit);
            break;
        case Dicom_VR::AT:
            for (uint32_t at = 0; at + 4 <= length && !Full(out, limit); at += 4) {
                if (at != 0) out.push_back('\\');
                AppendTag(out, Load<uint16_t>(data + at), Load<uint16_t>(data + at + 2));
            }
            if (length % 4 != 0) out.append("\\(odd length)");
            break;
        case Dicom_VR::OW:
            AppendHexUnits(out, data, length, 2, limit);
            break;
        case Dicom_VR::OL:
            AppendHexUnits(out, data, length, 4, limit);
            break;
        case Dicom_VR::OV:
            AppendHexUnits(out, data, length, 8, limit);
            break;
        case Dicom_VR::OB:
        case Dicom_VR::UN:
        case Dicom_VR::NONE:
            AppendHexUnits(out, data, length, 1, limit);
            break;
        default:
            AppendText(out, data, length, limit);
            break;
    }
}

bool IsBracketed(Dicom_VR vr) {
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    return info.text;
}

std::string Keyword(const Dicom_Tag& tag) {
    if (const Dicom_DictEntry* entry = Dicom_Dictionary::Lookup(tag)) {
        if (entry->keyword != nullptr && entry->keyword[0] != '\0') return entry->keyword.c_str();
    }
    if (tag.IsPrivate()) {
        if (tag.IsPrivateImplementor()) return "PrivateCreator";
        std::string keyword = "PrivateTag";
        if (tag.HasImplementor()) keyword += " (" + ImplementorIDVector::Name(tag.GetImplementorID()) + ")";
        return keyword;
    }
    return "UnknownTag";
}

class Dumper {
public:
    Dumper(const IodDumpOptions& options, const Dicom_TransferSyntax& syntax, std::string& out,
           std::FILE* stream)
        : m_options(options), m_syntax(syntax), m_out(out), m_stream(stream) {}

    void Message(const Dicom_Msg& msg, int depth, bool topLevel) {
        const int count = msg.GetNElements();
        for (int i = 0; i < count; ++i) {
            const Dicom_ME* element = msg.GetElement(i);
            if (element == nullptr) continue;
            if (topLevel && element->GetTag().GetGroup() == 0x0002) continue;
            Element(*element, depth);
        }
    }

    // Prints the meta group; returns the number of its elements.
    int MetaGroup(const Dicom_Msg& msg) {
        int printed = 0;
        const int count = msg.GetNElements();
        for (int i = 0; i < count; ++i) {
            const Dicom_ME* element = msg.GetElement(i);
            if (element != nullptr && element->GetTag().GetGroup() == 0x0002) {
                Element(*element, 0);
                ++printed;
            }
        }
        return printed;
    }

private:
    // One line: indentation, tag, VR, value (padded to the value column), then the comment.
    void Line(int depth, unsigned short group, unsigned short element, const char* vr,
              const std::string& value, const std::string& length, int vm, const std::string& keyword) {
        m_out.append(static_cast<size_t>(depth) * 2, ' ');
        AppendTag(m_out, group, element);
        m_out.push_back(' ');
        m_out.append(vr);
        m_out.push_back(' ');
        m_out.append(value);
        if (value.size() < kValueColumn) m_out.append(kValueColumn - value.size(), ' ');
        m_out.append(" # ");
        if (length.size() < 3) m_out.append(3 - length.size(), ' ');
        m_out.append(length);
        m_out.append(", ");
        AppendNumber(m_out, vm);
        m_out.push_back(' ');
        m_out.append(keyword);
        m_out.push_back('\n');
        if (m_stream != nullptr && m_out.size() >= kStreamChunk) {
            std::fwrite(m_out.data(), 1, m_out.size(), m_stream);
            m_out.clear();
        }
    }

    std::string Limited(const std::string& text, bool brackets) const {
        std::string shown = text;
        bool cut = false;
        if (m_options.maxLength != 0 && shown.size() > m_options.maxLength) {
            shown.resize(m_options.maxLength);
            cut = true;
        }
        if (brackets) shown = "[" + shown + "]";
        if (cut) shown += "...";
        return shown;
    }

    void Element(const Dicom_ME& element, int depth) {
        const Dicom_Tag& tag = element.GetTag();
        const Dicom_Type* value = element.GetData();
        const std::string keyword = Keyword(tag);
        if (value == nullptr) {
            Line(depth, tag.GetGroup(), tag.GetElement(), "??", "(no value object)", "0", 0, keyword);
            return;
        }
        if (value->GetVR() == Dicom_VR::SQ) {
            Sequence(tag, static_cast<const Dicom_SQ&>(*value), depth, keyword);
            return;
        }
        const auto* other = dynamic_cast<const Dicom_OtherType*>(value);
        if (other != nullptr && other->IsEncapsulated()) {
            Encapsulated(tag, *other, depth, keyword);
            return;
        }
        std::string text;
        AppendValue(text, *value, m_options.maxLength);
        const bool empty = value->GetRawLen() == 0;
        std::string comment = keyword;
        if (value->GetVR() == Dicom_VR::UI && !empty) {
            // A standard UID is named after the keyword: "TransferSyntaxUID: Explicit VR Little Endian".
            const char* name =
                Dicom_UIDic::Name(reinterpret_cast<const char*>(value->GetData()), value->GetRawLen());
            if (name != nullptr) comment += std::string(": ") + name;
        }
        Line(depth, tag.GetGroup(), tag.GetElement(), value->GetVRName(),
             empty ? std::string("(no value)") : Limited(text, IsBracketed(value->GetVR())),
             std::to_string(value->GetRawLen()), value->GetVM(), comment);
    }

    void Sequence(const Dicom_Tag& tag, const Dicom_SQ& sq, int depth, const std::string& keyword) {
        const int items = sq.GetNItems();
        const bool undefined = sq.HasUndefinedLength();
        std::string head = std::string("(Sequence, ") + (undefined ? "undefined" : "explicit") + " length, " +
                           std::to_string(items) + (items == 1 ? " item)" : " items)");
        std::string length = "u/l";
        if (!undefined) {
            const uint32_t valueLength = sq.GetValueLength(m_syntax);
            length = valueLength == 0xFFFFFFFFu ? std::string("?") : std::to_string(valueLength);
        }
        Line(depth, tag.GetGroup(), tag.GetElement(), "SQ", head, length, items, keyword);
        for (int i = 0; i < items; ++i) {
            const Dicom_Msg* item = sq.GetItem(i);
            if (item == nullptr) continue;
            const bool itemUndefined = sq.ItemHasUndefinedLength(i);
            const int count = item->GetNElements();
            std::string itemHead = "(Item " + std::to_string(i + 1) + ", " +
                                   (itemUndefined ? "undefined" : "explicit") + " length, " +
                                   std::to_string(count) + (count == 1 ? " element)" : " elements)");
            std::string itemLength = "u/l";
            if (!itemUndefined) {
                const Dicom_DumpLen dumpLen = item->GetDumpLen(m_syntax);
                itemLength = dumpLen.IsValid() ? std::to_string(dumpLen.GetDumpLen()) : std::string("?");
            }
            Line(depth + 1, 0xFFFE, 0xE000, "na", itemHead, itemLength, 1, "Item");
            Message(*item, depth + 2, false);
            if (itemUndefined) {
                Line(depth + 1, 0xFFFE, 0xE00D, "na", "(ItemDelimitationItem)", "0", 0,
                     "ItemDelimitationItem");
            }
        }
        if (undefined) {
            Line(depth, 0xFFFE, 0xE0DD, "na", "(SequenceDelimitationItem)", "0", 0,
                 "SequenceDelimitationItem");
        }
    }

    void Encapsulated(const Dicom_Tag& tag, const Dicom_OtherType& value, int depth,
                      const std::string& keyword) {
        const Dicom_EncapsulatedData items = value.GetEncapsulatedData();
        if (!items.valid) {
            std::string text;
            AppendHexUnits(text, value.GetData(), value.GetRawLen(), 1, m_options.maxLength);
            Line(depth, tag.GetGroup(), tag.GetElement(), value.GetVRName(),
                 "(Encapsulated, damaged items) " + Limited(text, false), std::to_string(value.GetRawLen()),
                 1, keyword);
            return;
        }
        const size_t fragments = items.fragments.size();
        Line(depth, tag.GetGroup(), tag.GetElement(), value.GetVRName(),
             "(Encapsulated, offset table and " + std::to_string(fragments) +
                 (fragments == 1 ? " fragment)" : " fragments)"),
             "u/l", 1, keyword);
        Fragment(value, items.offsetTable, depth + 1, "OffsetTable");
        for (const Dicom_Fragment& fragment : items.fragments)
            Fragment(value, fragment, depth + 1, "Fragment");
        Line(depth, 0xFFFE, 0xE0DD, "na", "(SequenceDelimitationItem)", "0", 0, "SequenceDelimitationItem");
    }

    void Fragment(const Dicom_OtherType& value, const Dicom_Fragment& fragment, int depth,
                  const char* keyword) {
        std::string text;
        if (fragment.length == 0) {
            text = "(no value)";
        } else {
            AppendHexUnits(text, value.GetData() + fragment.offset, fragment.length, 1, m_options.maxLength);
            text = Limited(text, false);
        }
        Line(depth, 0xFFFE, 0xE000, "pi", text, std::to_string(fragment.length), 1, keyword);
    }

    const IodDumpOptions& m_options;
    Dicom_TransferSyntax m_syntax;
    std::string& m_out;
    std::FILE* m_stream;
};

std::string SyntaxName(const Dicom_TransferSyntax& syntax) {
    if (!syntax.IsSpecified()) return "transfer syntax not known";
    const char* name = Dicom_UIDic::Name(syntax.GetUID().c_str());
    return name != nullptr ? std::string(name) : syntax.GetUID();
}

}  // namespace

std::string IodFormatValue(const Dicom_Type& value) {
    std::string out;
    AppendValue(out, value, 0);
    return out;
}

void IodDumpMessage(const Dicom_Msg& msg, const IodDumpOptions& options, std::string& out,
                    std::FILE* stream) {
    if (stream != nullptr) out.reserve(out.size() + kStreamChunk + 4096);
    Dumper dumper(options, msg.GetTransferSyntax(), out, stream);
    if (options.meta) {
        out.append("# File meta information\n");
        if (dumper.MetaGroup(msg) == 0) out.append("# (none: the input is a bare data set)\n");
        out.append("\n");
    }
    out.append("# Data set (" + SyntaxName(msg.GetTransferSyntax()) + ")\n");
    if (const Dicom_TransferSyntax& named = msg.GetNamedTransferSyntax(); named.IsSpecified())
        out.append("# meta group names " + named.GetUID() + ", data set read as " +
                   msg.GetTransferSyntax().GetUID() + "\n");
    dumper.Message(msg, 0, true);
}
