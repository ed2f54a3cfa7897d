// IOD_AttributeRegistry: the attribute tables as run-time data, calling the named accessors.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_ME.h>
#include <IOD/IOD_AttributeRegistry.h>
#include <IOD/IOD_Msg.h>

#include <algorithm>
#include <charconv>
#include <vector>

namespace {

// "Dicom_US" -> Dicom_VR::US
Dicom_VR vr_of_class(const char* valueClass) { return Dicom_VRFromName(valueClass + 6); }

template <class V>
int set_checked(IOD_Msg& msg, const Dicom_Type& value, int (IOD_Msg::*setter)(const V&)) {
    const V* typed = dynamic_cast<const V*>(&value);
    return typed != nullptr ? (msg.*setter)(*typed) : -1;
}

template <class V>
int set_checked_i(IOD_Msg& msg, int group, const Dicom_Type& value, int (IOD_Msg::*setter)(int, const V&)) {
    const V* typed = dynamic_cast<const V*>(&value);
    return typed != nullptr ? (msg.*setter)(group, *typed) : -1;
}

// clang-format off
#define IOD_REG_ENTRY(Name, V, TAG, DICT, DICT_NAME, ALIAS_OF)                                        \
    IOD_AttributeInfo{#Name, #V, vr_of_class(#V), TAG, DICT, DICT_NAME, false, false, ALIAS_OF,       \
        [](const IOD_Msg& m, int) -> std::unique_ptr<Dicom_Type> {                                   \
            return std::make_unique<V>(m.Get##Name()); },                                             \
        [](IOD_Msg& m, int, const Dicom_Type& v) { return set_checked<V>(m, v, &IOD_Msg::Set##Name); }, \
        [](IOD_Msg& m, int) { return m.Remove##Name(); },                                             \
        nullptr},
#define IOD_REG_ENTRY_I(Name, V, TAG, DICT, DICT_NAME)                                                \
    IOD_AttributeInfo{#Name, #V, vr_of_class(#V), TAG, DICT, DICT_NAME, true, false, nullptr,         \
        [](const IOD_Msg& m, int g) -> std::unique_ptr<Dicom_Type> {                                 \
            return std::make_unique<V>(m.Get##Name(g)); },                                            \
        [](IOD_Msg& m, int g, const Dicom_Type& v) {                                                  \
            return set_checked_i<V>(m, g, v, &IOD_Msg::Set##Name); },                                 \
        [](IOD_Msg& m, int g) { return m.Remove##Name(g); },                                          \
        nullptr},
#define IOD_ATTR(Name, TAG, V) IOD_REG_ENTRY(Name, V, TAG, nullptr, nullptr, nullptr)
#define IOD_ATTR_I(Name, TAG, V) IOD_REG_ENTRY_I(Name, V, TAG, nullptr, nullptr)
#define IOD_ALIAS(Alias, Name, TAG, V) IOD_REG_ENTRY(Alias, V, TAG, nullptr, nullptr, #Name)
#define IOD_PATTR(Name, C, V) IOD_REG_ENTRY(Name, V, 0, &Dicom_Dictionary::C, #C, nullptr)
#define IOD_PATTR_I(Name, C, V) IOD_REG_ENTRY_I(Name, V, 0, &Dicom_Dictionary::C, #C)
#define IOD_PALIAS(Alias, Name, C, V) IOD_REG_ENTRY(Alias, V, 0, &Dicom_Dictionary::C, #C, #Name)
#define IOD_PATTR_INPLACE(Name, C, V)                                                                 \
    IOD_AttributeInfo{#Name, #V, vr_of_class(#V), 0, &Dicom_Dictionary::C, #C, false, true, nullptr,  \
        [](const IOD_Msg& m, int) -> std::unique_ptr<Dicom_Type> {                                   \
            return std::make_unique<V>(m.Get##Name()); },                                             \
        [](IOD_Msg& m, int, const Dicom_Type& v) { return set_checked<V>(m, v, &IOD_Msg::Set##Name); }, \
        [](IOD_Msg& m, int) { return m.Remove##Name(); },                                             \
        [](IOD_Msg& m, const Dicom_Type& v) {                                                         \
            return set_checked<V>(m, v, &IOD_Msg::Set##Name##InPlace); }},
// clang-format on

// The rows live in static storage and are filled in place on the first call: the accessors'
// addresses are taken by code, so the shared library carries no relocation for them, and nothing
// is built at load or copied.
std::span<const IOD_AttributeInfo> table() {
    static const IOD_AttributeInfo rows[] = {
#include <IOD/tables/IOD_Attributes_0002_0028.def>
#include <IOD/tables/IOD_Attributes_0040_7FE0.def>
#include <IOD/tables/IOD_Attributes_Private.def>
    };
    return rows;
}

// The rows ordered by name (rows of one name in table order), for a binary search.
const std::vector<const IOD_AttributeInfo*>& by_name() {
    static const std::vector<const IOD_AttributeInfo*> index = [] {
        std::vector<const IOD_AttributeInfo*> rows;
        rows.reserve(table().size());
        for (const IOD_AttributeInfo& info : table()) rows.push_back(&info);
        std::stable_sort(rows.begin(), rows.end(),
                         [](const IOD_AttributeInfo* a, const IOD_AttributeInfo* b) {
                             return std::string_view(a->name) < std::string_view(b->name);
                         });
        return rows;
    }();
    return index;
}

}  // namespace

std::span<const IOD_AttributeInfo> IOD_AttributeRegistry::All() { return table(); }

const IOD_AttributeInfo* IOD_AttributeRegistry::Find(std::string_view name) {
    const auto& index = by_name();
    const auto found = std::lower_bound(
        index.begin(), index.end(), name,
        [](const IOD_AttributeInfo* row, std::string_view key) { return std::string_view(row->name) < key; });
    return found != index.end() && std::string_view((*found)->name) == name ? *found : nullptr;
}

const IOD_AttributeInfo* IOD_AttributeRegistry::ParseName(std::string_view text, int* group,
                                                          std::string* error) {
    auto fail = [&](std::string message) -> const IOD_AttributeInfo* {
        if (error != nullptr) *error = std::move(message);
        return nullptr;
    };
    const size_t colon = text.find(':');
    const std::string_view name = text.substr(0, colon);
    const IOD_AttributeInfo* info = Find(name);
    if (info == nullptr) return fail("unknown attribute name '" + std::string(name) + "'");
    int index = 0;
    if (colon == std::string_view::npos) {
        if (info->repeatingGroup)
            return fail(std::string(name) + " needs a group index: " + std::string(name) + ":N");
    } else {
        if (!info->repeatingGroup) return fail(std::string(name) + " takes no group index");
        const std::string_view digits = text.substr(colon + 1);
        const char* end = digits.data() + digits.size();
        auto [ptr, ec] = std::from_chars(digits.data(), end, index);
        if (digits.empty() || ec != std::errc() || ptr != end) {
            return fail("bad group index '" + std::string(digits) + "' in " + std::string(text));
        }
    }
    if (group != nullptr) *group = index;
    return info;
}

Dicom_Tag IOD_AttributeRegistry::TagOf(const IOD_AttributeInfo& info, int group) {
    Dicom_Tag tag = info.dictionaryTag != nullptr ? *info.dictionaryTag : Dicom_Tag(info.tag, nullptr);
    if (info.repeatingGroup) tag.SetRepeatingGroup(group);
    return tag;
}

bool IOD_AttributeRegistry::IsPresent(const IOD_Msg& msg, const IOD_AttributeInfo& info, int group) {
    return msg.Get(TagOf(info, group)) != nullptr;
}

std::string IOD_AttributeRegistry::FormatValue(const Dicom_Type& value) { return value.ToString(); }

std::unique_ptr<Dicom_Type> IOD_AttributeRegistry::ParseValue(const IOD_AttributeInfo& info,
                                                              std::string_view text, std::string* error) {
    if (info.vr == Dicom_VR::SQ) {
        if (error != nullptr) *error = std::string(info.name) + " is a sequence and cannot be set from text";
        return nullptr;
    }
    const std::string copy(text);
    std::unique_ptr<Dicom_Type> value(Dicom_ME::ConvertToDicomType(Dicom_VRName(info.vr), copy.c_str()));
    if (value == nullptr && error != nullptr) {
        *error = "'" + copy + "' is not a valid " + info.valueClass + " value for " + info.name;
    }
    return value;
}
