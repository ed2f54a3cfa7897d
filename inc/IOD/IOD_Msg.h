// IOD_Msg: a DICOM data set that knows its attributes by name.
//
// IOD_Msg is a Dicom_Msg with the library's dispatch table: it adds no data. Its constructors
// mirror those of Dicom_Msg and write a trace record (category 719, level 7); the destructor
// does the same. The named accessors (Get<Name>, Set<Name>, Remove<Name>, the _i members of the
// curve and overlay repeating groups and the Set<Name>InPlace members of the CT private
// attributes) are expanded from the attribute tables in inc/IOD/tables/ and defined in
// src/IOD/IOD_MsgAccessors.cpp.
//
// Accessor rules:
//  - Get<Name>() reads through the non-virtual Dicom_Msg::Get and returns a copy of the value,
//    or a copy of the value class's null constant (CS_NULL, US_NULL, ...) when it is absent.
//  - Set<Name>(v) and Remove<Name>() go through the virtual Set and Remove, so that a subclass
//    layering its own element store sees every write and removal made by name. Set stores a
//    copy; the caller keeps its value.
//  - The _i members hand their group argument to Dicom_Tag::SetRepeatingGroup unchanged.
//  - Set<Name>InPlace(v) overwrites an existing element through Dicom_Msg::SetInPlace.
#pragma once

#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SwapInfo.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>

#include <cstdint>
// The value classes of the accessors.
#include <Dicom/Dicom_AE.h>
#include <Dicom/Dicom_AS.h>
#include <Dicom/Dicom_AT.h>
#include <Dicom/Dicom_CS.h>
#include <Dicom/Dicom_DA.h>
#include <Dicom/Dicom_DS.h>
#include <Dicom/Dicom_DT.h>
#include <Dicom/Dicom_FD.h>
#include <Dicom/Dicom_FL.h>
#include <Dicom/Dicom_IS.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_LT.h>
#include <Dicom/Dicom_OB.h>
#include <Dicom/Dicom_OW.h>
#include <Dicom/Dicom_PN.h>
#include <Dicom/Dicom_SH.h>
#include <Dicom/Dicom_SL.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_SS.h>
#include <Dicom/Dicom_ST.h>
#include <Dicom/Dicom_TM.h>
#include <Dicom/Dicom_UI.h>
#include <Dicom/Dicom_UL.h>
#include <Dicom/Dicom_US.h>
#include <Dicom/Dicom_UT.h>
#include <KvlLog/Kvl_LogFile.h>
#include <RW/RWTPtrSlist.h>
#include <RW/RWTValOrderedVector.h>

class IOD_Msg : public Dicom_Msg {
public:
    // --- construction and life cycle (traced inline: source location inc/IOD/IOD_Msg) ---
    IOD_Msg() : Dicom_Msg() { trace_constructor(__LINE__); }

    IOD_Msg(void* buffer, unsigned int length, int copy, int* status)
        : Dicom_Msg(buffer, static_cast<unsigned long long>(length), copy, status,
                    static_cast<Dicom_SwapInfo::msg_source>(0)) {
        trace_constructor(__LINE__);
    }

    IOD_Msg(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status,
            bool flag1, bool flag2)
        : Dicom_Msg(buffer, static_cast<unsigned long long>(length), copy, transferSyntaxUid, status,
                    static_cast<Dicom_SwapInfo::msg_source>(0), flag1, flag2) {
        trace_constructor(__LINE__);
    }

    IOD_Msg(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status)
        : Dicom_Msg(buffer, static_cast<unsigned long long>(length), copy, syntax, status,
                    static_cast<Dicom_SwapInfo::msg_source>(0), false) {
        trace_constructor(__LINE__);
    }

    IOD_Msg(int handle, unsigned int length, unsigned int* lengthOut, const Dicom_TransferSyntax& syntax,
            int* status)
        : Dicom_Msg(handle, static_cast<unsigned long long>(length), lengthOut, syntax, status,
                    static_cast<Dicom_SwapInfo::msg_source>(1)) {
        trace_constructor(__LINE__);
    }

    IOD_Msg(const IOD_Msg& other) : Dicom_Msg(other) { trace_constructor(__LINE__); }

    // The three overloads that take a source take it before the status pointer.
    IOD_Msg(void* buffer, unsigned int length, int copy, Dicom_SwapInfo::msg_source source, int* status)
        : Dicom_Msg(buffer, static_cast<unsigned long long>(length), copy, status, source) {
        trace_buffer_constructor(__LINE__, buffer, copy);
    }

    IOD_Msg(void* buffer, unsigned long long length, int copy, const Dicom_UI& transferSyntaxUid,
            Dicom_SwapInfo::msg_source source, int* status, bool flag)
        : Dicom_Msg(buffer, length, copy, transferSyntaxUid, status, source, false, flag) {
        trace_buffer_constructor(__LINE__, buffer, copy);
    }

    IOD_Msg(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax,
            Dicom_SwapInfo::msg_source source, int* status)
        : Dicom_Msg(buffer, static_cast<unsigned long long>(length), copy, syntax, status, source, false) {
        trace_buffer_constructor(__LINE__, buffer, copy);
    }

    ~IOD_Msg() override {
        if (KvlGLog.StoreParams("inc/IOD/IOD_Msg", "IOD_Msg::~IOD_Msg", __LINE__, 7, 719, 1)) {
            KvlGLog.Log("destructor 0x%x\n", trace_address(this));
        }
    }

    // Deep assignment through the base; no trace.
    IOD_Msg& operator=(const IOD_Msg& other) {
        Dicom_Msg::operator=(other);
        return *this;
    }

    // A deep copy through the DICOM layer's trusted buffer: a new IOD_Msg owned by the caller.
    Dicom_Msg* Clone() override;

    // --- named attribute accessors, one block per attribute table ---
#define IOD_ATTR(Name, TAG, V)     \
    V Get##Name() const;           \
    int Set##Name(const V& value); \
    int Remove##Name();
#define IOD_ATTR_I(Name, TAG, V)              \
    V Get##Name(int group) const;             \
    int Set##Name(int group, const V& value); \
    int Remove##Name(int group);
#define IOD_ALIAS(Alias, Name, TAG, V) IOD_ATTR(Alias, TAG, V)
#define IOD_PATTR(Name, CONSTANT, V) IOD_ATTR(Name, CONSTANT, V)
#define IOD_PATTR_I(Name, CONSTANT, V) IOD_ATTR_I(Name, CONSTANT, V)
#define IOD_PATTR_INPLACE(Name, CONSTANT, V) \
    IOD_ATTR(Name, CONSTANT, V)              \
    int Set##Name##InPlace(const V& value);
#define IOD_PALIAS(Alias, Name, CONSTANT, V) IOD_ATTR(Alias, CONSTANT, V)
#include <IOD/tables/IOD_Attributes_0002_0028.def>
#include <IOD/tables/IOD_Attributes_0040_7FE0.def>
#include <IOD/tables/IOD_Attributes_Private.def>
#undef IOD_ATTR
#undef IOD_ATTR_I
#undef IOD_ALIAS
#undef IOD_PATTR
#undef IOD_PATTR_I
#undef IOD_PATTR_INPLACE
#undef IOD_PALIAS

    // --- cloning and filtering ---
    // The selective clones unlink the unwanted elements from this message's element vector,
    // Clone() what is left and put the same element objects back: nothing is copied one by
    // one, and the pixel data of a ...WithoutPD clone is never copied or serialised. During the
    // call this message is changed, so no other thread may read it.
    // A new message holding only the listed tags (private creator elements are always kept;
    // private data elements are matched in their unresolved form). Owned by the caller.
    IOD_Msg* Clone(const RWTPtrSlist<Dicom_Tag>& tags);
    // A deep copy without (7FE0,0010) and the private compressed and encrypted pixel data, or
    // null when an element could not be put back (this message is then short of it).
    IOD_Msg* CloneWithoutPD();
    // A deep copy without the listed tags (absent ones are ignored), or null as above.
    IOD_Msg* CloneWithoutTags(RWTValOrderedVector<Dicom_Tag>& tags);
    // CloneWithoutTags after appending to `tags` whichever of the three pixel data tags it lacks.
    IOD_Msg* CloneWithoutPDAndTags(RWTValOrderedVector<Dicom_Tag>& tags);
    // Removes every element whose tag is not listed, except private creator elements.
    IOD_Msg& RemoveByMask(const RWTPtrSlist<Dicom_Tag>& tags);
    // Removes every element of a group family named by its high byte (0x6000: 6000 to 60FF).
    void ClearGroup(unsigned short group);
    // Removes every curve (50xx) and overlay (60xx) element.
    void ClearOverlaysAndCurves();
    // Removes the VOI LUT module: window centre and width, their explanation, the VOI LUT
    // function and the VOI LUT and softcopy VOI LUT sequences.
    void RemoveMsgVoiModule();

    // --- message length ---
    // The size the message will have once sent in `transferSyntax`, counting compressed pixel
    // data at its decompressed size; invalid when an image attribute it needs is missing.
    Dicom_DumpLen CalcMsgLength(Dicom_UI transferSyntax);

    // --- SOP common module, de-identification, frame vectors ---
    // Sets SOP Class UID, with `newInstance` non-zero a new SOP Instance UID, and the instance
    // creation date and time. 0, or -1 at the first failed write.
    int SetSopCommonModule(const Dicom_UI& sopClass, int newInstance);
    // Replaces Patient's Name by its initials and Patient ID by its keyed hash. 0 or -1.
    int HideClassifideDetailes();
    // Reduces every vector named by Frame Increment Pointer to the value of `frame` (1-based)
    // and removes the pointer.
    void ReduceFrameIncrementPointerVector(int frame);

    // --- overlay (60xx) and curve (50xx) repeating-group indexes ---
    // First free index 0..127, or -1 when all 128 are taken.
    int GetOverlayIndex() const;
    int GetCurveIndex() const;
    // Removes the elements of one index of the family `group` (0x6000 or 0x5000).
    void RemoveGroupIndex(int missing_index, unsigned short group);
    // Renumbers the indexes above `missing_index` down by one (after RemoveGroupIndex).
    // Both change nothing for an index outside 0..127 or another family (logged at level 3).
    void UpdateGroupIndex(int missing_index, unsigned short group);
    // 1 when a graphic overlay (of that Overlay Type) exists, else 0.
    int CheckOverlayExistence(const Dicom_CS* type) const;
    int CheckOverlayGraphicExistence() const;
    // 1 when a text overlay exists, else 0.
    int CheckOverlayTextExistence() const;
    // 1 when a complete curve exists at index 0 here or in a nested additional-curves item.
    int CheckCurveExistence() const;
    // Removes every text overlay and closes the gaps.
    void RemoveOverlayTexts();

    // --- scaling presentation objects with the image (horizontal factor first; see
    // docs/overlays.md for what each scales and how it rounds) ---
    void MoveShutterBy(double x, double y);
    void MoveDisplayAreaSeqBy(double x, double y);
    void MoveGraphicAnnotationSeqBy(double x, double y);
    void move_overlay_text_by(double x, double y);
    void move_curves_by(double x, double y);

private:
    // The size of one image (this message or a multi-format item): see CalcMsgLength.
    Dicom_DumpLen compute_single_msg_len(Dicom_Msg& msg, Dicom_UI transferSyntax);
    // Shared search of the CheckOverlay... members: text overlays when `text` is non-zero,
    // graphic ones otherwise, of Overlay Type `type` when it is given.
    int check_overlay_existence(int text, const Dicom_CS* type) const;

private:
    // Trace values are printed with %x / %d: the low 32 bits of an address.
    static unsigned int trace_address(const void* address) {
        return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address));
    }
    void trace_constructor(int line) const {
        if (KvlGLog.StoreParams("inc/IOD/IOD_Msg", "IOD_Msg::IOD_Msg", line, 7, 719, 1)) {
            KvlGLog.Log("constructor 0x%x\n", trace_address(this));
        }
    }
    void trace_buffer_constructor(int line, const void* buffer, int copy) const {
        if (KvlGLog.StoreParams("inc/IOD/IOD_Msg", "IOD_Msg::IOD_Msg", line, 7, 719, 1)) {
            KvlGLog.Log("constructor %d buff %x copy=%d\n", static_cast<int>(trace_address(this)),
                        trace_address(buffer), copy);
        }
    }
};
