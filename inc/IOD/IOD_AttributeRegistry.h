// IOD_AttributeRegistry: the named attributes of IOD_Msg as data, for callers that know an
// attribute by its name only at run time (iodtool get/set, configuration, scripts).
//
// The registry is built from the same tables as the accessors (inc/IOD/tables/), so it holds
// exactly the accessor names, tags and value classes; reads and writes made through it call the
// named accessor members of IOD_Msg.
//
//   int group = 0;
//   const IOD_AttributeInfo* rows = IOD_AttributeRegistry::ParseName("Rows_i:2", &group, nullptr);
//   auto value = rows->get(msg, group);                       // msg.GetRows_i(2)
//   std::string text = IOD_AttributeRegistry::FormatValue(*value);
#pragma once

#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_Type.h>
#include <Dicom/Dicom_VR.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

class IOD_Msg;

struct IOD_AttributeInfo {
    const char* name;                // accessor name without Get/Set/Remove: "AccessionNumber", "Rows_i"
    const char* valueClass;          // "Dicom_SH"
    Dicom_VR vr;                     // value representation of the value class
    unsigned int tag;                // standard attributes: group << 16 | element (base group 5000/6000
                                     // for repeating groups); 0 for private attributes
    const Dicom_Tag* dictionaryTag;  // private attributes: the DICOM layer's dictionary constant
    const char* dictionaryName;      // private attributes: its name ("KOVEL_MSG_LENGTH")
    bool repeatingGroup;             // the _i members: a repeating-group index selects the group
    bool inPlace;                    // also has Set<Name>InPlace
    const char* aliasOf;             // a second name: the attribute it names again; else null

    // The named accessors, with the group argument used only by repeating-group attributes.
    // get returns a new copy of Get<Name>() (owned by the caller; the null constant's copy when
    // absent). set calls Set<Name>(value) and returns -1 when value is not of the attribute's
    // class. remove calls Remove<Name>().
    std::unique_ptr<Dicom_Type> (*get)(const IOD_Msg& msg, int group);
    int (*set)(IOD_Msg& msg, int group, const Dicom_Type& value);
    int (*remove)(IOD_Msg& msg, int group);
    // set_in_place calls Set<Name>InPlace(value); null unless inPlace.
    int (*set_in_place)(IOD_Msg& msg, const Dicom_Type& value);

    bool IsPrivate() const { return dictionaryTag != nullptr; }
};

class IOD_AttributeRegistry {
public:
    // Every named attribute, in table order (0002-0028, 0040-7FE0, private); aliases follow the
    // attribute they name again. Built on the first call, then constant.
    static std::span<const IOD_AttributeInfo> All();
    // By exact accessor name ("Rows", "Rows_i", "ReferencedSOPClassUID"); null when unknown.
    static const IOD_AttributeInfo* Find(std::string_view name);
    // Parses "Name" or "Name:group" (the group only, and then necessarily, for _i attributes).
    // Null with *error set when the name is unknown or the group is missing or malformed.
    static const IOD_AttributeInfo* ParseName(std::string_view text, int* group, std::string* error);

    // The tag the accessors of `info` use: for _i attributes after SetRepeatingGroup(group).
    static Dicom_Tag TagOf(const IOD_AttributeInfo& info, int group = 0);
    // True when the message holds an element under the attribute's tag.
    static bool IsPresent(const IOD_Msg& msg, const IOD_AttributeInfo& info, int group = 0);

    // Text form of a value: all values '\\'-separated, numbers printed.
    static std::string FormatValue(const Dicom_Type& value);
    // A new value of the attribute's class parsed from text ('\\' separates values). Null, with
    // *error set, when the class cannot be written as text (sequences) or the text does not fit.
    static std::unique_ptr<Dicom_Type> ParseValue(const IOD_AttributeInfo& info, std::string_view text,
                                                  std::string* error);
};
