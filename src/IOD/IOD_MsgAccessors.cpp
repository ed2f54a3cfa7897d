// Definitions of the named attribute accessors of IOD_Msg, expanded from the attribute tables.
//
// Each member builds its tag on the stack: a standard tag from its 32-bit number, a private
// one as (a copy of) the DICOM layer's dictionary constant; _i members then select the
// repeating group with SetRepeatingGroup. Getters read through the non-virtual Dicom_Msg::Get;
// setters and removers call the virtual Set and Remove so that subclasses see every change.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Msg.h>

namespace {

// The null constant that stands for an absent attribute of value class V.
template <class V>
const V& null_value();

#define IOD_NULL_VALUE(V, CONSTANT) \
    template <>                     \
    const V& null_value<V>() {      \
        return CONSTANT;            \
    }
IOD_NULL_VALUE(Dicom_AE, AE_NULL)
IOD_NULL_VALUE(Dicom_AS, AS_NULL)
IOD_NULL_VALUE(Dicom_AT, At_NULL)
IOD_NULL_VALUE(Dicom_CS, CS_NULL)
IOD_NULL_VALUE(Dicom_DA, DA_NULL)
IOD_NULL_VALUE(Dicom_DS, DS_NULL)
IOD_NULL_VALUE(Dicom_DT, DT_NULL)
IOD_NULL_VALUE(Dicom_FD, FD_NULL)
IOD_NULL_VALUE(Dicom_FL, FL_NULL)
IOD_NULL_VALUE(Dicom_IS, IS_NULL)
IOD_NULL_VALUE(Dicom_LO, LO_NULL)
IOD_NULL_VALUE(Dicom_LT, LT_NULL)
IOD_NULL_VALUE(Dicom_OB, OB_NULL)
IOD_NULL_VALUE(Dicom_OW, OW_NULL)
IOD_NULL_VALUE(Dicom_PN, PN_NULL)
IOD_NULL_VALUE(Dicom_SH, SH_NULL)
IOD_NULL_VALUE(Dicom_SL, SL_NULL)
IOD_NULL_VALUE(Dicom_SQ, SQ_NULL)
IOD_NULL_VALUE(Dicom_SS, SS_NULL)
IOD_NULL_VALUE(Dicom_ST, ST_NULL)
IOD_NULL_VALUE(Dicom_TM, TM_NULL)
IOD_NULL_VALUE(Dicom_UI, UI_NULL)
IOD_NULL_VALUE(Dicom_UL, UL_NULL)
IOD_NULL_VALUE(Dicom_US, US_NULL)
IOD_NULL_VALUE(Dicom_UT, UT_NULL)
#undef IOD_NULL_VALUE

// The value found under a tag is taken to be of class V (storing another class under a named
// tag is the caller's fault); an absent one reads as V's null constant.
// A value stored under the tag in another class (a same-tag pair such as PixelPaddingValue /
// SignedPixelPaddingValue, or a VR that the file chose) is read as V from its bytes.
template <class V>
V value_or_null(const Dicom_Type* found) {
    if (found == nullptr) return V(null_value<V>());
    if (found->GetVR() == null_value<V>().GetVR()) return V(*static_cast<const V*>(found));
    V value;
    if (found->GetVR() != Dicom_VR::SQ && value.GetVR() != Dicom_VR::SQ &&
        value.SetRaw(found->GetData(), found->GetRawLen()) == 0) {
        value.SetCharset(found->GetCharset());
    }
    return value;
}

}  // namespace

// clang-format off
#define IOD_ACCESSORS(Name, MAKE_TAG, V)                                                            \
    V IOD_Msg::Get##Name() const { MAKE_TAG; return value_or_null<V>(Dicom_Msg::Get(tag)); }       \
    int IOD_Msg::Set##Name(const V& value) { MAKE_TAG; return Set(tag, const_cast<V*>(&value)); }  \
    int IOD_Msg::Remove##Name() { MAKE_TAG; return Remove(tag); }

#define IOD_GROUP_ACCESSORS(Name, MAKE_TAG, V)                                                      \
    V IOD_Msg::Get##Name(int group) const {                                                         \
        MAKE_TAG; tag.SetRepeatingGroup(group); return value_or_null<V>(Dicom_Msg::Get(tag));       \
    }                                                                                               \
    int IOD_Msg::Set##Name(int group, const V& value) {                                             \
        MAKE_TAG; tag.SetRepeatingGroup(group); return Set(tag, const_cast<V*>(&value));            \
    }                                                                                               \
    int IOD_Msg::Remove##Name(int group) { MAKE_TAG; tag.SetRepeatingGroup(group); return Remove(tag); }

#define IOD_NUMBER_TAG(TAG) Dicom_Tag tag(static_cast<unsigned int>(TAG), nullptr)
#define IOD_DICTIONARY_TAG(CONSTANT) Dicom_Tag tag(Dicom_Dictionary::CONSTANT)

#define IOD_ATTR(Name, TAG, V) IOD_ACCESSORS(Name, IOD_NUMBER_TAG(TAG), V)
#define IOD_ATTR_I(Name, TAG, V) IOD_GROUP_ACCESSORS(Name, IOD_NUMBER_TAG(TAG), V)
#define IOD_ALIAS(Alias, Name, TAG, V) IOD_ACCESSORS(Alias, IOD_NUMBER_TAG(TAG), V)
#define IOD_PATTR(Name, CONSTANT, V) IOD_ACCESSORS(Name, IOD_DICTIONARY_TAG(CONSTANT), V)
#define IOD_PATTR_I(Name, CONSTANT, V) IOD_GROUP_ACCESSORS(Name, IOD_DICTIONARY_TAG(CONSTANT), V)
#define IOD_PATTR_INPLACE(Name, CONSTANT, V)                                                        \
    IOD_ACCESSORS(Name, IOD_DICTIONARY_TAG(CONSTANT), V)                                            \
    int IOD_Msg::Set##Name##InPlace(const V& value) { return SetInPlace(Dicom_Dictionary::CONSTANT, &value); }
#define IOD_PALIAS(Alias, Name, CONSTANT, V) IOD_ACCESSORS(Alias, IOD_DICTIONARY_TAG(CONSTANT), V)
// clang-format on

#include <IOD/tables/IOD_Attributes_0002_0028.def>
#include <IOD/tables/IOD_Attributes_0040_7FE0.def>
#include <IOD/tables/IOD_Attributes_Private.def>
