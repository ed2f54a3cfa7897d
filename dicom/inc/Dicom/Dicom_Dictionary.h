// Dicom_Dictionary: the data dictionary of the DICOM layer.
//
// It knows every standard attribute (tag or tag range, VR, VM, keyword, UPPER_SNAKE name, retired
// flag) and the library's own private attributes (creator, group, element low byte, VR), and it
// names them all as constants: Dicom_Dictionary::PIXEL_DATA, Dicom_Dictionary::KOVEL_IS_MG.
//
// Standard constants are plain (gggg,eeee) tags; an attribute of a repeating group is named by its
// first group ((6000,3000) OVERLAY_DATA) and moved with Dicom_Tag::SetRepeatingGroup. Private
// constants are unresolved tags (gggg,00xx) carrying the implementor index of their creator
// (see Dicom_PrivateDictionary.inl); a message resolves them to (gggg,bbxx) through the creator's
// reservation element.
//
// All lookups are allocation-free searches over constant tables built at compile time (nothing is
// built or relocated when the library loads); the parser calls FindVR for every element of an
// implicit-VR data set.
#pragma once

#include <Dicom/Dicom_DictText.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_VR.h>

#include <cstddef>
#include <cstdint>

// One dictionary entry: constant data without pointers (see Dicom_DictText). A range entry (mask !=
// 0xFFFFFFFF) stands for every tag t with (t & mask) == tag, such as (60xx,3000), (0020,31xx) or the group
// lengths (gggg,0000).
struct Dicom_DictEntry {
    uint32_t tag;   // group << 16 | element; for a private entry (group,00xx)
    uint32_t mask;  // bits of a tag that must equal `tag`
    Dicom_VR vr;    // the VR; for an ambiguous attribute the one to use when nothing else decides
    Dicom_VR vr2;   // the other VR of an ambiguous attribute (US/SS, OW/OB), else Dicom_VR::NONE
    bool retired;
    unsigned short implementor;  // private entries: the creator's implementor index
    Dicom_DictText vm;           // "1", "2-n", ...
    Dicom_DictText keyword;      // "PatientOrientation"; private entries: the constant's name
    Dicom_DictText name;         // "PATIENT_ORIENTATION"
    Dicom_DictText creator;      // private entries: the private creator string; else none (nullptr)

    constexpr bool IsRange() const { return mask != 0xFFFFFFFFu; }
    constexpr bool IsPrivate() const { return !creator.IsNone(); }
    constexpr bool IsAmbiguous() const { return vr2 != Dicom_VR::NONE; }
    constexpr bool Matches(uint32_t t) const { return (t & mask) == tag; }
    // The tag of the entry: the first tag of a range; for a private entry the unresolved tag
    // with its implementor, equal to the Dicom_Dictionary constant.
    constexpr Dicom_Tag GetTag() const {
        return Dicom_Tag(static_cast<unsigned short>(tag >> 16), static_cast<unsigned short>(tag & 0xFFFF),
                         implementor);
    }
};

class Dicom_Dictionary {
public:
    // --- named constants ---
#include <Dicom/Dicom_DictionaryNames.inl>

#define DICOM_PRIVATE_TAG(NAME, CREATOR, GROUP, LOW_BYTE, VR, VM) \
    static constexpr Dicom_Tag NAME{GROUP, LOW_BYTE, CREATOR};
#include <Dicom/Dicom_PrivateDictionary.inl>

    // --- lookups ---
    // The entry of a tag, or null:
    //  - a tag with an implementor (private data, resolved (gggg,bbxx) or unresolved (gggg,00xx)):
    //    the private entry of its creator, group and element low byte; groups 50xx/60xx are
    //    looked up under their family's first private group;
    //  - a private creator element (odd gggg, 0010-00FF, no implementor): the "PrivateCreator"
    //    entry (LO);
    //  - private data without an implementor: null;
    //  - a standard tag: the single tag, else the most specific range (group lengths included).
    static const Dicom_DictEntry* Lookup(const Dicom_Tag& tag);
    // The entry of a private attribute of the library's own dictionary, or null.
    static const Dicom_DictEntry* LookupPrivate(unsigned short implementor, unsigned short group,
                                                unsigned char elementLowByte);
    // The entry of a keyword ("PatientOrientation") or UPPER_SNAKE name ("PATIENT_ORIENTATION",
    // "KOVEL_IS_MG"), or null. Private constants' names come first.
    static const Dicom_DictEntry* LookupByName(const char* keywordOrUpperName);
    // The VR of a tag: as Lookup, with Dicom_VR::NONE when the tag is unknown (the parser reads
    // such values as UN). Group lengths (gggg,0000) are UL and private creator elements LO. For
    // an ambiguous attribute it gives the first VR (US for US/SS, OW for OB/OW); call Lookup to
    // see the alternative.
    static Dicom_VR FindVR(const Dicom_Tag& tag);

    // The tag named by a keyword or UPPER_SNAKE name, or by a tag written in hexadecimal
    // ("0028,0010", "(0028,0010)", "00280010"). With a non-empty `creator` the name is a private
    // tag of that creator: "gggg,xx" or "gggg,bbxx" (odd group; the low byte is kept), or the name
    // of a private constant of that creator. Dicom_Tag::ILLEGAL_TAG when nothing matches.
    static Dicom_Tag Construct_Tag(const char* name, const char* creator = nullptr);

    // --- the tables, for dumps and checks ---
    static size_t StandardEntryCount();
    static const Dicom_DictEntry& StandardEntry(size_t index);
    static size_t PrivateEntryCount();
    static const Dicom_DictEntry& PrivateEntry(size_t index);
    // The private creators of the library's own dictionary; index i is implementor index i.
    static size_t PrivateCreatorCount();
    static const char* PrivateCreator(size_t index);
};
