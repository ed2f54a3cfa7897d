// Helpers of the module validators (private to src/IOD).
//
// A validator reads values where the message keeps them: a value of the attribute's class is
// looked at in place, without a copy; only a value that the file stored in another class (a VR
// of its own choosing) is re-read from its bytes into a scratch value of the attribute's class,
// as the named accessors do. Absent attributes read as the class's null constant.
#pragma once

#include <Dicom/Dicom_AT.h>
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_DA.h>
#include <Dicom/Dicom_DS.h>
#include <Dicom/Dicom_DT.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_IS.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_TM.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_US.h>
#include <Dicom/Dicom_UT.h>
#include <IOD/IOD_IOD.h>
#include <KvlLog/Kvl_LogFile.h>

// A defect: one record at level 4, category 19, of the source file IOD_SOURCE (defined by the
// including source: "src/IOD/IOD_Image" ...).
#define IOD_DEFECT(FUNCTION, ...) KVL_LOG(IOD_SOURCE, FUNCTION, 4, 19, __VA_ARGS__)

// A defect in the form "File: %s Line: %d Attribute:%s not valid\n": the source file, the line of
// the check and the attribute's upper-case name.
#define IOD_ATTRIBUTE_DEFECT(FUNCTION, NAME)                                                         \
    do {                                                                                             \
        if (KvlGLog.StoreParams(IOD_SOURCE, FUNCTION, __LINE__, 4, 19, 1)) {                         \
            KvlGLog.Log("File: %s Line: %d Attribute:%s not valid\n", IOD_SOURCE, __LINE__, (NAME)); \
        }                                                                                            \
    } while (0)

// A code sequence that IOD_Image::IsCodingValueOfSequenceValid rejected, by its short name.
#define IOD_CODE_SEQUENCE_DEFECT(FUNCTION, NAME)                                                        \
    do {                                                                                                \
        if (KvlGLog.StoreParams(IOD_SOURCE, FUNCTION, __LINE__, 4, 19, 1)) {                            \
            KvlGLog.Log("File: %s Line: %d error from IsCodingValueOfSequenceValid (%s)\n", IOD_SOURCE, \
                        __LINE__, (NAME));                                                              \
        }                                                                                               \
    } while (0)

// The verdict of a module validator: 1 when the process is tolerant, else its own result.
inline int IOD_Verdict(int result) { return IOD_IOD::IsTolerant == 1 ? 1 : result; }

// The null constant of a value class.
template <class V>
const V& IOD_NullOf();
template <>
inline const Dicom_AT& IOD_NullOf<Dicom_AT>() {
    return At_NULL;
}
template <>
inline const Dicom_CS& IOD_NullOf<Dicom_CS>() {
    return CS_NULL;
}
template <>
inline const Dicom_DA& IOD_NullOf<Dicom_DA>() {
    return DA_NULL;
}
template <>
inline const Dicom_DT& IOD_NullOf<Dicom_DT>() {
    return DT_NULL;
}
template <>
inline const Dicom_FL& IOD_NullOf<Dicom_FL>() {
    return FL_NULL;
}
template <>
inline const Dicom_PN& IOD_NullOf<Dicom_PN>() {
    return PN_NULL;
}
template <>
inline const Dicom_TM& IOD_NullOf<Dicom_TM>() {
    return TM_NULL;
}
template <>
inline const Dicom_UT& IOD_NullOf<Dicom_UT>() {
    return UT_NULL;
}
template <>
inline const Dicom_DS& IOD_NullOf<Dicom_DS>() {
    return DS_NULL;
}
template <>
inline const Dicom_IS& IOD_NullOf<Dicom_IS>() {
    return IS_NULL;
}
template <>
inline const Dicom_LO& IOD_NullOf<Dicom_LO>() {
    return LO_NULL;
}
template <>
inline const Dicom_SH& IOD_NullOf<Dicom_SH>() {
    return SH_NULL;
}
template <>
inline const Dicom_SQ& IOD_NullOf<Dicom_SQ>() {
    return SQ_NULL;
}
template <>
inline const Dicom_UI& IOD_NullOf<Dicom_UI>() {
    return UI_NULL;
}
template <>
inline const Dicom_US& IOD_NullOf<Dicom_US>() {
    return US_NULL;
}

// `found` read as class V: itself when it is of class V, else its bytes in `scratch` (empty when
// they do not fit V, or when `found` is a sequence); V's null constant when `found` is null.
template <class V>
const V& IOD_ViewAs(const Dicom_Type* found, V& scratch) {
    if (found == nullptr) return IOD_NullOf<V>();
    if (found->GetVR() == V::kVR) return *static_cast<const V*>(found);
    if constexpr (V::kVR != Dicom_VR::SQ) {
        if (found->GetVR() != Dicom_VR::SQ && scratch.SetRaw(found->GetData(), found->GetRawLen()) == 0) {
            scratch.SetCharset(found->GetCharset());
        }
    }
    return scratch;
}

// The value under `tag` (Dicom_Msg::Get) read as class V.
template <class V>
const V& IOD_ReadAs(const Dicom_Msg& msg, const Dicom_Tag& tag, V& scratch) {
    return IOD_ViewAs<V>(msg.Get(tag), scratch);
}

// The value test: true when the value under `tag`, read as class V, equals V's null constant
// (absent or empty).
template <class V>
bool IOD_IsNullValue(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    V scratch;
    return IOD_ReadAs<V>(msg, tag, scratch) == IOD_NullOf<V>();
}

// The presence test: the element exists (through the virtual Find); an empty value passes.
inline bool IOD_IsPresent(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    return msg.Find(tag, false) != nullptr;
}

// Value `i` (0-based) of a text value equals the defined term `term` (padding aside).
inline bool IOD_ValueIs(const Dicom_Type& value, int i, const Dicom_Type& term) {
    return value.GetTextValue(i) == term.GetTextValue(0);
}

// Checks of a module validator, each one log site: they expect the locals `kFunction` (the
// qualified name) and `result` (set to 0 on failure).
#define IOD_CHECK_PRESENT(TAG, TEXT)        \
    do {                                    \
        if (!IOD_IsPresent(*this, (TAG))) { \
            IOD_DEFECT(kFunction, TEXT);    \
            result = 0;                     \
        }                                   \
    } while (0)
#define IOD_CHECK_VALUE(V, TAG, TEXT)           \
    do {                                        \
        if (IOD_IsNullValue<V>(*this, (TAG))) { \
            IOD_DEFECT(kFunction, TEXT);        \
            result = 0;                         \
        }                                       \
    } while (0)
