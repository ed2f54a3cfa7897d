// Compare: see Compare.h.
#include "Compare.h"

#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_VR.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

std::string TagText(uint32_t tag) {
    char buffer[16];
    std::snprintf(buffer, sizeof(buffer), "(%04x,%04x)", tag >> 16, tag & 0xFFFF);
    return buffer;
}

std::string Quote(std::string_view bytes, size_t max = 48) {
    std::string out = "\"";
    for (size_t i = 0; i < bytes.size() && i < max; ++i) {
        const unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (c < 0x20 || c >= 0x7F || c == '"') {
            char hex[8];
            std::snprintf(hex, sizeof(hex), "\\x%02x", c);
            out += hex;
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    if (bytes.size() > max) out += "...";
    out += "\" (" + std::to_string(bytes.size()) + " bytes)";
    return out;
}

// The elements of a message in store order; at the top level either the meta group alone or
// everything else.
enum class Part { kAll, kMetaOnly, kDataSetOnly };

std::vector<const Dicom_ME*> Elements(const Dicom_Msg& msg, Part part) {
    std::vector<const Dicom_ME*> out;
    const int count = msg.GetNElements();
    for (int i = 0; i < count; ++i) {
        const Dicom_ME* element = msg.GetElement(i);
        if (element == nullptr) continue;
        const bool meta = element->GetTag().GetGroup() == 0x0002;
        if ((part == Part::kMetaOnly && !meta) || (part == Part::kDataSetOnly && meta)) continue;
        out.push_back(element);
    }
    return out;
}

std::string_view Bytes(const Dicom_Type& value) {
    if (value.GetData() == nullptr) return {};
    return {reinterpret_cast<const char*>(value.GetData()), value.GetRawLen()};
}

std::string_view TrimTrailing(std::string_view s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
    return s;
}

std::string_view TrimBoth(std::string_view s) {
    s = TrimTrailing(s);
    while (!s.empty() && (s.front() == ' ' || s.front() == '\0')) s.remove_prefix(1);
    return s;
}

bool IsTextVR(const std::string& vr) {
    const Dicom_VR v = Dicom_VRFromName(vr.c_str());
    return v != Dicom_VR::NONE && Dicom_GetVRInfo(v).text;
}

bool IsFreeText(const std::string& vr) { return vr == "LT" || vr == "ST" || vr == "UT" || vr == "UR"; }

// Byte strings equal, or equal but for one trailing NUL that pads an odd length to even.
bool SameBytes(std::string_view a, std::string_view b) {
    if (a == b) return true;
    if (a.size() + 1 == b.size() && b.back() == '\0') return a == b.substr(0, a.size());
    if (b.size() + 1 == a.size() && a.back() == '\0') return b == a.substr(0, b.size());
    return false;
}

// VR pairs that two readers of implicit-VR data may legitimately disagree on:
//  - UN on either side: one reader's dictionary lacks the tag (private dictionaries differ);
//  - US/SS, OB/OW, and US or SS against OW: attributes whose VR depends on other attributes
//    (Pixel Representation, Bits Allocated) or on the syntax, resolved differently.
bool ToleratedVRPair(const std::string& a, const std::string& b) {
    if (a == "UN" || b == "UN") return true;
    auto pair = [&](const char* x, const char* y) { return (a == x && b == y) || (a == y && b == x); };
    return pair("US", "SS") || pair("OB", "OW") || pair("US", "OW") || pair("SS", "OW");
}

std::vector<std::string_view> SplitValues(std::string_view text, bool single) {
    std::vector<std::string_view> out;
    if (text.empty()) return out;
    if (single) {
        out.push_back(text);
        return out;
    }
    size_t start = 0;
    for (;;) {
        const size_t bs = text.find('\\', start);
        out.push_back(text.substr(start, bs == std::string_view::npos ? std::string_view::npos : bs - start));
        if (bs == std::string_view::npos) break;
        start = bs + 1;
    }
    return out;
}

// --- our value against the oracle's printed value, read with the oracle's VR ---

template <class T>
T Load(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

// Numbers: the oracle's decimal text against our little-endian bytes.
template <class T>
bool CompareNumbers(std::string_view ours, const std::string& text, std::string* why) {
    const std::vector<std::string_view> values = SplitValues(text, false);
    if (ours.size() % sizeof(T) != 0) {
        *why = "length " + std::to_string(ours.size()) + " is not a multiple of " + std::to_string(sizeof(T));
        return false;
    }
    const size_t count = ours.size() / sizeof(T);
    if (count != values.size()) {
        *why = "oracle has " + std::to_string(values.size()) + " values, ours " + std::to_string(count);
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        const T mine = Load<T>(ours.data() + i * sizeof(T));
        const std::string theirs(values[i]);
        char* end = nullptr;
        bool same = false;
        if constexpr (std::is_same_v<T, float>) {
            const float v = std::strtof(theirs.c_str(), &end);
            same = (v == mine) || (std::isnan(v) && std::isnan(mine));
        } else if constexpr (std::is_same_v<T, double>) {
            const double v = std::strtod(theirs.c_str(), &end);
            same = (v == mine) || (std::isnan(v) && std::isnan(mine)) ||
                   std::fabs(v - mine) <= 1e-15 * std::fabs(v);  // printed with 16 or 17 digits
        } else if constexpr (std::is_signed_v<T>) {
            same = static_cast<long long>(mine) == std::strtoll(theirs.c_str(), &end, 10);
        } else {
            same = static_cast<unsigned long long>(mine) == std::strtoull(theirs.c_str(), &end, 10);
        }
        if (!same || end == theirs.c_str()) {
            *why = "value " + std::to_string(i) + ": oracle " + theirs + ", ours " + std::to_string(mine);
            return false;
        }
    }
    return true;
}

bool CompareTags(std::string_view ours, const std::string& text, std::string* why) {
    const std::vector<std::string_view> values = SplitValues(text, false);
    if (ours.size() % 4 != 0 || ours.size() / 4 != values.size()) {
        *why = "oracle has " + std::to_string(values.size()) + " tags, ours " + std::to_string(ours.size()) +
               " bytes";
        return false;
    }
    for (size_t i = 0; i < values.size(); ++i) {
        char mine[16];
        std::snprintf(mine, sizeof(mine), "(%04x,%04x)", Load<uint16_t>(ours.data() + 4 * i),
                      Load<uint16_t>(ours.data() + 4 * i + 2));
        if (values[i] != mine) {
            *why = "tag " + std::to_string(i) + ": oracle " + std::string(values[i]) + ", ours " + mine;
            return false;
        }
    }
    return true;
}

bool CompareScalarWithOracle(std::string_view ours, const OracleElement& theirs, std::string* why) {
    const std::string& vr = theirs.vr;
    if (theirs.binary) {
        std::string bytes;
        if (!DecodeOracleHex(theirs.text, bytes)) {
            *why = "oracle value is not hexadecimal: " + Quote(theirs.text);
            return false;
        }
        if (!SameBytes(ours, bytes)) {
            *why = "bytes differ: oracle " + Quote(bytes, 24) + ", ours " + Quote(ours, 24);
            return false;
        }
        return true;
    }
    if (vr == "US") return CompareNumbers<uint16_t>(ours, theirs.text, why);
    if (vr == "SS") return CompareNumbers<int16_t>(ours, theirs.text, why);
    if (vr == "UL" || vr == "OL") return CompareNumbers<uint32_t>(ours, theirs.text, why);
    if (vr == "SL") return CompareNumbers<int32_t>(ours, theirs.text, why);
    if (vr == "UV" || vr == "OV") return CompareNumbers<uint64_t>(ours, theirs.text, why);
    if (vr == "SV") return CompareNumbers<int64_t>(ours, theirs.text, why);
    if (vr == "FL" || vr == "OF") return CompareNumbers<float>(ours, theirs.text, why);
    if (vr == "FD" || vr == "OD") return CompareNumbers<double>(ours, theirs.text, why);
    if (vr == "AT") return CompareTags(ours, theirs.text, why);
    if (!IsTextVR(vr)) {
        *why = "oracle VR " + vr + " printed without bytes: " + Quote(theirs.text);
        return false;
    }
    // Text: value by value without padding (free text keeps leading spaces).
    const bool single = IsFreeText(vr);
    std::vector<std::string_view> mine = SplitValues(TrimTrailing(ours), single);
    std::vector<std::string_view> other = SplitValues(TrimTrailing(theirs.text), single);
    bool same = mine.size() == other.size();
    for (size_t i = 0; same && i < mine.size(); ++i) {
        same = single ? TrimTrailing(mine[i]) == TrimTrailing(other[i])
                      : TrimBoth(mine[i]) == TrimBoth(other[i]);
    }
    if (!same) {
        *why = "text differs: oracle " + Quote(theirs.text) + ", ours " + Quote(ours);
        return false;
    }
    return true;
}

void CompareListWithOracle(const std::string& path, const std::vector<const Dicom_ME*>& ours,
                           const std::vector<OracleElement>& theirs, VRRule rule, bool groupLengthValues,
                           Differences& out);

void CompareItemsWithOracle(const std::string& path, const Dicom_SQ& sq, const OracleElement& theirs,
                            VRRule rule, Differences& out) {
    if (sq.GetNItems() != static_cast<int>(theirs.items.size())) {
        out.Add(path, "oracle has " + std::to_string(theirs.items.size()) + " items, ours " +
                          std::to_string(sq.GetNItems()));
        return;
    }
    for (int i = 0; i < sq.GetNItems(); ++i) {
        const Dicom_Msg* item = sq.GetItem(i);
        if (item == nullptr) {
            out.Add(path, "item " + std::to_string(i) + " is null");
            continue;
        }
        CompareListWithOracle(path + "[" + std::to_string(i) + "]", Elements(*item, Part::kAll),
                              theirs.items[static_cast<size_t>(i)].elements, rule, true, out);
    }
}

void CompareFragmentsWithOracle(const std::string& path, const Dicom_OtherType& value,
                                const OracleElement& theirs, Differences& out) {
    const Dicom_EncapsulatedData data = value.GetEncapsulatedData();
    if (!data.valid) {
        out.Add(path, "our encapsulated value has no valid item structure");
        return;
    }
    if (theirs.fragments.empty()) {
        out.Add(path, "oracle shows no offset table item");
        return;
    }
    if (data.fragments.size() + 1 != theirs.fragments.size()) {
        out.Add(path, "oracle has " + std::to_string(theirs.fragments.size() - 1) + " fragments, ours " +
                          std::to_string(data.fragments.size()));
        return;
    }
    const std::string_view all = Bytes(value);
    for (size_t i = 0; i < theirs.fragments.size(); ++i) {
        const Dicom_Fragment& fragment = i == 0 ? data.offsetTable : data.fragments[i - 1];
        if (static_cast<size_t>(fragment.offset) + fragment.length > all.size()) {
            out.Add(path, "fragment " + std::to_string(i) + " lies outside the value");
            continue;
        }
        std::string bytes;
        if (!DecodeOracleHex(theirs.fragments[i], bytes)) {
            out.Add(path, "oracle fragment " + std::to_string(i) + " is not hexadecimal");
            continue;
        }
        if (!SameBytes(all.substr(fragment.offset, fragment.length), bytes)) {
            out.Add(path, (i == 0 ? std::string("offset table") : "fragment " + std::to_string(i)) +
                              " differs: oracle " + Quote(bytes, 16) + ", ours " +
                              Quote(all.substr(fragment.offset, fragment.length), 16));
        }
    }
}

void CompareElementWithOracle(const std::string& path, const Dicom_ME& mine, const OracleElement& theirs,
                              VRRule rule, bool groupLengthValues, Differences& out) {
    const Dicom_Type* value = mine.GetData();
    if (value == nullptr) {
        out.Add(path, "our element has no value");
        return;
    }
    const std::string ourVR = value->GetVRName();
    const auto* other = dynamic_cast<const Dicom_OtherType*>(value);
    const bool encapsulated = other != nullptr && other->IsEncapsulated();
    if (ourVR != theirs.vr) {
        if (encapsulated && theirs.isEncapsulated && ourVR == "OW" && theirs.vr == "OB") {
            // The oracle shows every encapsulated pixel data element as OB; we keep the VR the
            // file gave (OW appears in the corpus).
        } else if (rule == VRRule::kImplicit && ToleratedVRPair(ourVR, theirs.vr)) {
            out.tolerated.push_back(path + ": VR oracle " + theirs.vr + ", ours " + ourVR);
        } else {
            out.Add(path, "VR: oracle " + theirs.vr + ", ours " + ourVR);
            return;
        }
    }
    if (theirs.isSequence) {
        if (value->GetVR() != Dicom_VR::SQ) {
            out.Add(path, "oracle reads a sequence of " + std::to_string(theirs.items.size()) +
                              " items, ours a " + ourVR + " value of " + std::to_string(value->GetRawLen()) +
                              " bytes");
            return;
        }
        CompareItemsWithOracle(path, static_cast<const Dicom_SQ&>(*value), theirs, rule, out);
        return;
    }
    if (value->GetVR() == Dicom_VR::SQ) {
        out.Add(path, "ours is a sequence, the oracle's a " + theirs.vr + " value");
        return;
    }
    if (theirs.isEncapsulated != encapsulated) {
        out.Add(path, std::string("encapsulated: oracle ") + (theirs.isEncapsulated ? "yes" : "no") +
                          ", ours " + (encapsulated ? "yes" : "no"));
        return;
    }
    if (encapsulated) {
        CompareFragmentsWithOracle(path, *other, theirs, out);
        return;
    }
    if (!groupLengthValues && (mine.GetTag().GetTag() & 0xFFFF) == 0) return;
    std::string why;
    if (!CompareScalarWithOracle(Bytes(*value), theirs, &why)) out.Add(path, why);
}

void CompareListWithOracle(const std::string& path, const std::vector<const Dicom_ME*>& ours,
                           const std::vector<OracleElement>& theirs, VRRule rule, bool groupLengthValues,
                           Differences& out) {
    size_t i = 0;
    size_t j = 0;
    while (i < ours.size() || j < theirs.size()) {
        const uint32_t mine = i < ours.size() ? ours[i]->GetTag().GetTag() : 0xFFFFFFFFu;
        const uint32_t other = j < theirs.size() ? theirs[j].tag : 0xFFFFFFFFu;
        if (i < ours.size() && (j >= theirs.size() || mine < other)) {
            out.Add(path + TagText(mine), "only in ours");
            ++i;
        } else if (j < theirs.size() && (i >= ours.size() || other < mine)) {
            out.Add(path + TagText(other), "only in the oracle (VR " + theirs[j].vr + ")");
            ++j;
        } else {
            CompareElementWithOracle(path + TagText(mine), *ours[i], theirs[j], rule, groupLengthValues, out);
            ++i;
            ++j;
        }
    }
}

// --- two of our messages ---

void CompareList(const std::string& path, const std::vector<const Dicom_ME*>& expected,
                 const std::vector<const Dicom_ME*>& actual, VRRule rule, Differences& out);

void CompareValues(const std::string& path, const Dicom_Type& expected, const Dicom_Type& actual,
                   bool groupLength, VRRule rule, Differences& out) {
    const std::string expectedVR = expected.GetVRName();
    const std::string actualVR = actual.GetVRName();
    if (expectedVR != actualVR) {
        if (rule == VRRule::kImplicit && ToleratedVRPair(expectedVR, actualVR)) {
            out.tolerated.push_back(path + ": VR " + expectedVR + " read back as " + actualVR);
        } else {
            out.Add(path, "VR " + expectedVR + " read back as " + actualVR);
            return;
        }
    }
    const bool expectedSQ = expected.GetVR() == Dicom_VR::SQ;
    const bool actualSQ = actual.GetVR() == Dicom_VR::SQ;
    if (expectedSQ != actualSQ) {
        out.Add(path, std::string(expectedSQ ? "sequence" : "value") + " read back as " +
                          (actualSQ ? "a sequence" : "a " + actualVR + " value"));
        return;
    }
    if (expectedSQ) {
        const auto& a = static_cast<const Dicom_SQ&>(expected);
        const auto& b = static_cast<const Dicom_SQ&>(actual);
        if (a.GetNItems() != b.GetNItems()) {
            out.Add(path,
                    std::to_string(a.GetNItems()) + " items read back as " + std::to_string(b.GetNItems()));
            return;
        }
        for (int i = 0; i < a.GetNItems(); ++i) {
            const Dicom_Msg* x = a.GetItem(i);
            const Dicom_Msg* y = b.GetItem(i);
            if (x == nullptr || y == nullptr) {
                out.Add(path, "item " + std::to_string(i) + " is null");
                continue;
            }
            CompareList(path + "[" + std::to_string(i) + "]", Elements(*x, Part::kAll),
                        Elements(*y, Part::kAll), rule, out);
        }
        return;
    }
    const auto* x = dynamic_cast<const Dicom_OtherType*>(&expected);
    const auto* y = dynamic_cast<const Dicom_OtherType*>(&actual);
    const bool xEncapsulated = x != nullptr && x->IsEncapsulated();
    const bool yEncapsulated = y != nullptr && y->IsEncapsulated();
    if (xEncapsulated != yEncapsulated) {
        out.Add(path, std::string("encapsulated ") + (xEncapsulated ? "yes" : "no") + " read back as " +
                          (yEncapsulated ? "yes" : "no"));
        return;
    }
    if (groupLength) return;  // recomputed by the writer
    const std::string_view a = Bytes(expected);
    const std::string_view b = Bytes(actual);
    const bool text = IsTextVR(expectedVR) || IsTextVR(actualVR);
    const bool same = xEncapsulated ? a == b : text ? TrimTrailing(a) == TrimTrailing(b) : SameBytes(a, b);
    if (!same) out.Add(path, "value " + Quote(a) + " read back as " + Quote(b));
}

void CompareList(const std::string& path, const std::vector<const Dicom_ME*>& expected,
                 const std::vector<const Dicom_ME*>& actual, VRRule rule, Differences& out) {
    size_t i = 0;
    size_t j = 0;
    while (i < expected.size() || j < actual.size()) {
        const uint32_t a = i < expected.size() ? expected[i]->GetTag().GetTag() : 0xFFFFFFFFu;
        const uint32_t b = j < actual.size() ? actual[j]->GetTag().GetTag() : 0xFFFFFFFFu;
        if (i < expected.size() && (j >= actual.size() || a < b)) {
            out.Add(path + TagText(a), "lost");
            ++i;
        } else if (j < actual.size() && (i >= expected.size() || b < a)) {
            out.Add(path + TagText(b), "appeared");
            ++j;
        } else {
            const Dicom_Type* x = expected[i]->GetData();
            const Dicom_Type* y = actual[j]->GetData();
            if (x == nullptr || y == nullptr) {
                if (x != y) out.Add(path + TagText(a), "value object missing on one side");
            } else {
                CompareValues(path + TagText(a), *x, *y, (a & 0xFFFF) == 0, rule, out);
            }
            ++i;
            ++j;
        }
    }
}

}  // namespace

std::string Differences::Describe(size_t max) const {
    std::string text;
    for (size_t i = 0; i < list.size() && i < max; ++i) text += "  " + list[i] + "\n";
    if (list.size() > max) text += "  ... and " + std::to_string(list.size() - max) + " more\n";
    return text;
}

void CompareWithOracle(const Dicom_Msg& ours, const OracleFile& oracle, bool meta, VRRule rule,
                       bool groupLengthValues, Differences& out) {
    if (meta) {
        // The meta group is always explicit VR little endian.
        CompareListWithOracle("meta", Elements(ours, Part::kMetaOnly), oracle.meta, VRRule::kExact,
                              groupLengthValues, out);
    }
    CompareListWithOracle("", Elements(ours, Part::kDataSetOnly), oracle.dataSet, rule, groupLengthValues,
                          out);
}

namespace {

int CheckGroupLengthsOf(const std::vector<OracleElement>& elements, bool implicit, Differences& out) {
    int checked = 0;
    for (size_t i = 0; i < elements.size(); ++i) {
        const OracleElement& head = elements[i];
        if ((head.tag & 0xFFFF) != 0) continue;
        uint64_t sum = 0;
        bool measurable = true;
        size_t j = i + 1;
        for (; j < elements.size() && (elements[j].tag >> 16) == (head.tag >> 16); ++j) {
            const OracleElement& element = elements[j];
            if (!element.hasLength || element.isEncapsulated) {
                measurable = false;
                continue;
            }
            const Dicom_VR vr = Dicom_VRFromName(element.vr.c_str());
            const bool longHeader = vr == Dicom_VR::NONE || Dicom_GetVRInfo(vr).longLength;
            sum += (implicit ? 8u : longHeader ? 12u : 8u) + element.length + (element.length & 1u);
        }
        if (!measurable) continue;
        ++checked;
        const uint64_t stated = std::strtoull(head.text.c_str(), nullptr, 10);
        if (stated != sum) {
            out.Add(TagText(head.tag), "group length " + std::to_string(stated) +
                                           ", the group's elements take " + std::to_string(sum) + " bytes");
        }
    }
    return checked;
}

}  // namespace

int CheckGroupLengths(const OracleFile& oracle, const std::string& syntaxUid, Differences& out) {
    // The meta group is always explicit VR.
    return CheckGroupLengthsOf(oracle.meta, false, out) +
           CheckGroupLengthsOf(oracle.dataSet, syntaxUid == "1.2.840.10008.1.2", out);
}

void CompareMessages(const Dicom_Msg& expected, const Dicom_Msg& actual, VRRule rule, Differences& out) {
    CompareList("", Elements(expected, Part::kDataSetOnly), Elements(actual, Part::kDataSetOnly), rule, out);
}
