// Dicom_Msg: a DICOM data set (or an item of a sequence): elements sorted by tag, plus the
// encoding state it was read in.
//
// Reading: the constructors parse a DICOM file image (preamble, "DICM", meta information
// group) or a bare data set, in the transfer syntax named by the meta group, by the caller, or
// detected. With `copy` non-zero the message owns everything it holds (one copy of the input);
// with `copy` zero its values may point into the caller's buffer, which must then outlive the
// message (deflated input is always inflated into memory of the message's own). `*status` is
// 0 when the whole input parsed and -1 when it is truncated, malformed or in a syntax the layer
// cannot read; the message then holds what was read before the fault.
//
// Writing: Encode() and dump() write the data set; get_dump_len()/GetDumpLen() return exactly
// the number of bytes that writing produces. The meta information group (0002,xxxx) is kept
// with the elements but written only as the file meta header of a file image.
//
// The element store is virtual: a subclass can layer its own store over the base one. The
// virtual operations are declared in a fixed order that subclasses rely on; do not reorder.
// A message has two element vectors that coincide for a plain message:
//  - its own store, the elements it owns; every write of the base (Add, Replace, Remove, Set...,
//    the creator element of a private block) lands there;
//  - what it presents, getElements(): what the base reads, resolves private tags through, looks
//    for free private blocks in, encodes, serialises and exports. A subclass that presents
//    elements of another message beside its own (a composite) returns a view here; elements that
//    it only shows are never changed through it: FindChangeable copies them into the own store
//    first.
#pragma once

#include <Dicom/Dicom_DumpLen.h>
#include <Dicom/Dicom_Endianity.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_SortedVector.h>
#include <Dicom/Dicom_SwapInfo.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Kvl/Kvl_AutoPtr.h>
#include <RW/RWCollectable.h>
#include <RW/RWSortedVector.h>
#include <RW/RWTPtrOrderedVector.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

class Dicom_Arena;
class Dicom_LO;
class Dicom_UI;
class Dicom_TrustedBufferReader;

// Policy words: what to do when an element arrives for a tag that a data set already holds
// (a tag found twice while reading, or an element added over an underlying message).
//  - DICOM_POLICY_REJECT: refuse the newcomer (an error where the caller reports one);
//  - DICOM_POLICY_FIRST: keep the element that was there first, drop the newcomer quietly;
//  - DICOM_POLICY_LAST: the newcomer replaces the element that was there.
// Dicom_Msg::TagPolicy() looks the tag up in a process-wide per-tag table
// (Dicom_Msg::SetTagPolicy) and falls back to the default word Dicom_Msg::tolerance, which is
// DICOM_POLICY_FIRST: the reader keeps the first of two equal tags, as common toolkits do.
enum Dicom_PolicyWord : unsigned int {
    DICOM_POLICY_REJECT = 0,
    DICOM_POLICY_FIRST = 1,
    DICOM_POLICY_LAST = 2,
};

// Iterates a message's elements in tag order; created by GetNewElementsIterator().
class Dicom_MsgIterator {
public:
    explicit Dicom_MsgIterator(const class Dicom_Msg& msg) : m_msg(msg) {}
    virtual ~Dicom_MsgIterator() = default;
    // The next element, or null at the end.
    virtual Dicom_ME* operator()();
    void reset() { m_i = 0; }

private:
    const class Dicom_Msg& m_msg;
    int m_i = 0;
};

class Dicom_Msg : public RWCollectable {
public:
    // --- construction ---
    Dicom_Msg();
    Dicom_Msg(const Dicom_Msg& other);  // deep copy
    // Detects the transfer syntax (meta group, else implicit/explicit VR, little/big endian).
    Dicom_Msg(void* buffer, unsigned long long length, int copy, int* status,
              Dicom_SwapInfo::msg_source source = Dicom_SwapInfo::FROM_MEMORY);
    // In `syntax` (a default-constructed syntax means: detect). `stopBeforePixelData`: parse the
    // header only, up to (7FE0,0010).
    Dicom_Msg(void* buffer, unsigned long long length, int copy, const Dicom_TransferSyntax& syntax,
              int* status, Dicom_SwapInfo::msg_source source = Dicom_SwapInfo::FROM_MEMORY,
              bool stopBeforePixelData = false);
    // In the syntax named by `syntaxUid`. `strict`: irregularities that are otherwise tolerated
    // (odd value lengths, VRs that contradict the dictionary) make the parse fail.
    Dicom_Msg(void* buffer, unsigned long long length, int copy, const Dicom_UI& syntaxUid, int* status,
              Dicom_SwapInfo::msg_source source, bool stopBeforePixelData, bool strict);
    // Reads `length` bytes from the file descriptor and parses them (the message owns them);
    // `*lengthOut` receives the number of bytes consumed.
    Dicom_Msg(int handle, unsigned long long length, unsigned int* lengthOut,
              const Dicom_TransferSyntax& syntax, int* status,
              Dicom_SwapInfo::msg_source source = Dicom_SwapInfo::FROM_HANDLE);
    ~Dicom_Msg() override;
    Dicom_Msg& operator=(const Dicom_Msg& other);  // deep

    // --- value access (non-virtual: reads the base store) ---
    // The value under `tag` (private dictionary tags are resolved through their creator), or null.
    const Dicom_Type* Get(const Dicom_Tag& tag) const;
    // Overwrites the value of an existing element in place (the element object stays); -1 when
    // the element is absent or the value's class differs.
    int SetInPlace(const Dicom_Tag& tag, const Dicom_Type* value);
    // The element under `tag` (as Find finds it), ready to be changed in place: an element that
    // the message only presents and does not own (one of the message a composite is laid over)
    // is first copied into the message's own store, and the copy is returned. Null when absent.
    Dicom_ME* FindChangeable(Dicom_Tag tag);

    // --- encoding ---
    // Writes the data set in `syntax` (default-constructed: the one it was read in, or Explicit
    // VR Little Endian for a new message); with `withFileMeta`, a DICOM file image with a
    // preamble and a correct meta information group. Returns 0, or -1 (unencodable: e.g.
    // encapsulated pixel data in a native syntax, or a value too long for its length field).
    int Encode(std::vector<unsigned char>& out, const Dicom_TransferSyntax& syntax = Dicom_TransferSyntax(),
               bool withFileMeta = false) const;
    // Encoded length of the data set in the syntax named by `syntaxUid` (empty: as read).
    Dicom_DumpLen GetDumpLen(const Dicom_UI& syntaxUid, int reserved, SCompressionParms params,
                             Dicom_MF_Info* info) const;
    Dicom_DumpLen GetDumpLen(const Dicom_TransferSyntax& syntax = Dicom_TransferSyntax()) const;
    // Encoded length of the whole file image in `syntax`: preamble, "DICM", meta information
    // group and data set, exactly what Encode(out, syntax, true) writes. Invalid when that write
    // would fail.
    Dicom_DumpLen GetFileDumpLen(const Dicom_TransferSyntax& syntax = Dicom_TransferSyntax()) const;
    // The syntax the data set was read in. When the meta group names a syntax the data set
    // contradicts (an encapsulated syntax over implicit VR elements, say), this is the syntax
    // actually read and GetNamedTransferSyntax() is the one the meta group named; encoding "as
    // read" then writes encapsulated pixel data in the named syntax, so that nothing is lost.
    const Dicom_TransferSyntax& GetTransferSyntax() const { return m_syntax; }
    // The syntax named by a meta group that the data set contradicted; unspecified otherwise.
    const Dicom_TransferSyntax& GetNamedTransferSyntax() const { return m_namedSyntax; }
    // The syntax an encoding "as read" uses: the named one when it is encapsulated and the
    // pixel data is encapsulated, else GetTransferSyntax().
    Dicom_TransferSyntax GetWriteTransferSyntax() const;
    Dicom_SwapInfo::msg_source GetSource() const { return m_source; }

    // --- trusted buffers: the layer's internal format for fast deep copies ---
    // Serialises the whole message (meta group included); returns a malloc'ed buffer that the
    // caller owns (or hands to a Dicom_TrustedBufferReader with ownership) and its length.
    char* CreateTrustedBuffer(Dicom_Endianity endianity, unsigned int* length) const;
    // Replaces this message's content with the one serialised in the reader. Returns 0 or -1.
    int ConstructFromTrustedBuffer(Kvl_AutoPtr<Dicom_TrustedBufferReader>& reader, bool reserved1 = false,
                                   const char* name = nullptr, bool reserved2 = false,
                                   const Dicom_TransferSyntax* syntax = nullptr, bool reserved3 = false);

    // --- services ---
    // Policy word of an element: the per-tag policy table's entry for its tag, else `tolerance`.
    unsigned int TagPolicy(Dicom_ME* element) const;
    // Copies every element of `source` into this message (replacing equal tags); with
    // `removeEmpty`, elements of `source` with an empty value remove the element here instead;
    // with `recursive`, sequences present in both are updated item by item.
    int Update(const Dicom_Msg& source, bool removeEmpty = false, bool recursive = false);
    // Called on one item of a Graphic Annotation Sequence (0070,0001): scales its annotations,
    // columns by x and rows by y, in the units each is given in (PIXEL and MATRIX coordinates
    // are scaled, DISPLAY ones, fractions of the displayed area, are not; no units: PIXEL):
    //  - the text objects (0070,0008): bounding box corners (0070,0010), (0070,0011) in the
    //    bounding box units (0070,0003), anchor point (0070,0014) in the anchor point units
    //    (0070,0004);
    //  - the graphic objects (0070,0009): graphic data (0070,0022) in the graphic units (0070,0005).
    // FL values only; an item without these sequences is left alone. 0, or -1 when a value
    // could not be rewritten.
    int MoveTextObjectSeqBy(double x, double y);
    // Removes every element of the curve (50xx) and overlay (60xx) groups.
    void RemoveOverlaysAndCurves();
    // Sets the character set of a text value about to be added to this message, and extends
    // Specific Character Set (0008,0005) when the value needs a repertoire the message lacks.
    void fix_charset_for_new_item(Dicom_Type* value);

    // Process-wide default policy word of TagPolicy (Dicom_PolicyWord; DICOM_POLICY_FIRST).
    static unsigned int tolerance;
    // The per-tag policy table (process-wide, thread-safe): sets the word of a tag (group and
    // element; private data elements by their resolved or unresolved element number alike),
    // or clears the whole table.
    static void SetTagPolicy(const Dicom_Tag& tag, unsigned int policy);
    static void ClearTagPolicies();

    // --- the virtual element store (order fixed) ---
protected:
    virtual Dicom_SortedVector& getElements() const;
    virtual void copy_dicom_flags(const Dicom_Msg& source);

public:
    // Takes `element` over (or a copy of it when `copy` is non-zero). -1 if the tag is there.
    virtual int Add(Dicom_ME* element, int copy = 0);
    // Replaces the element with the same tag (the old one is destroyed). -1 if there is none.
    virtual int Replace(Dicom_ME* element);
    virtual int AddOrReplace(Dicom_ME* element);
    // Removes and destroys the element; 0, or -1 when absent.
    virtual int Remove(Dicom_Tag tag);
    // The element under `tag`, or null; with `recursive`, items of sequences are searched too.
    virtual Dicom_ME* Find(Dicom_Tag tag, bool recursive = false) const;
    // The message in the Native DICOM Model XML (<NativeDicomModel>, one <DicomAttribute> per
    // element, <Value>, <PersonName>, <Item>, <InlineBinary> base64), text in UTF-8; the meta group
    // too when the message holds it. DICOM_XML_PRINT_TAGS_ONLY leaves byte strings out; `tags`
    // restricts the top-level attributes. 0, or -1 when `out` is null or a write fails.
    virtual int ExportToXml(DicomXmlPrintMode mode, FILE* out,
                            const RWTPtrOrderedVector<Dicom_Tag>* tags = nullptr) const;
    virtual int DumpToXml(DicomXmlPrintMode mode, std::string* out,
                          const RWTPtrOrderedVector<Dicom_Tag>* tags = nullptr) const;
    // The data set in the DICOM JSON model, written as it is walked: an object keyed by
    // "ggggeeee", each attribute {"vr", "Value": [...]} with numbers (IS, DS and the binary
    // numbers) as JSON numbers, person names as {"Alphabetic", "Ideographic", "Phonetic"},
    // attribute tags as "ggggeeee", sequences as arrays of objects, byte strings as
    // "InlineBinary" base64 and empty values without "Value". The meta group is left out. Byte
    // strings longer than `bulkLimit` bytes are written with their VR only. 0, or -1 when `out`
    // is null or a write fails.
    int DumpToJson(std::string* out, unsigned long long bulkLimit = ~0ull) const;
    int ExportToJson(FILE* out, unsigned long long bulkLimit = ~0ull) const;
    virtual int GetNElements() const;
    virtual Dicom_ME* GetElement(int index) const;
    // Stores a copy of `value` under `tag` (creating or replacing the element; a private
    // dictionary tag reserves a block for its creator when needed). 0, or -1.
    virtual int Set(const Dicom_Tag& tag, Dicom_Type* value);
    virtual int SetWithDataCopy(const Dicom_Tag& tag, Dicom_Type* value);
    // Takes `value` over (on failure it is destroyed).
    virtual int SetWithoutDataCopy(const Dicom_Tag& tag, Dicom_Type* value);
    // Block (0x10..0xFF) that `creator` reserved in `group`: 0 and *block set, or -1.
    virtual int FindImplementorPrefix(unsigned short group, const Dicom_LO& creator,
                                      unsigned short* block) const;
    // Copies into `target` the elements whose tags are those of the Dicom_ME entries of `tags`.
    virtual int CopyAttributes(Dicom_Msg& target, const RWSortedVector& tags) const;

protected:
    // Writes the data set into `buffer` (at least get_dump_len bytes). 0, or -1 with `*error`.
    virtual int dump(void* buffer, unsigned int length, const Dicom_TransferSyntax& syntax,
                     std::string* error = nullptr) const;
    virtual Dicom_DumpLen get_dump_len(const Dicom_TransferSyntax& syntax,
                                       Dicom_MF_Info* info = nullptr) const;
    // Removes the attributes that identify the patient (see README).
    virtual int suppress_identification();

public:
    virtual bool IsMultiFormat() const;
    // True when an element's group, masked with `mask`, equals `group`; `recursive` looks into items.
    virtual bool hasGroup(unsigned short group, unsigned short mask = 0xFFFF, bool recursive = false);
    // 1 when the message holds no element, else 0.
    virtual int IsEmptyMsg(int* status = nullptr);
    virtual Dicom_MsgIterator* GetNewElementsIterator() const;
    // 1 when the message holds nothing but group lengths, private creators and empty values.
    virtual int IsLogicallyEmptyMsg(int* status = nullptr);
    virtual Dicom_Msg* Clone();
    // A deep copy without pixel data (7FE0,0010) and the private pixel data elements.
    virtual Dicom_Msg* CloneWithoutData() const;

protected:
    // Parses a buffer into this (empty) message. `*consumed` receives the bytes parsed.
    int ConstructFromBuffer(void* buffer, unsigned long long length, int copy, unsigned long long* consumed,
                            const Dicom_TransferSyntax& syntax, Dicom_SwapInfo::msg_source source,
                            int* status, bool stopBeforePixelData = false, bool strict = false,
                            const char* name = nullptr);
    void DestroyElements();
    // What another message presents (its getElements()), for subclasses that present it too.
    static const Dicom_SortedVector& elements_of(const Dicom_Msg& msg) { return msg.getElements(); }

    // Parser state flags; cleared before a parse into an existing message.
    uint32_t m_parseFlags = 0;

private:
    friend class Dicom_Codec;
    friend class Dicom_MsgIterator;
    mutable Dicom_SortedVector m_elements;
    Dicom_TransferSyntax m_syntax;
    Dicom_TransferSyntax m_namedSyntax;  // a contradicted meta group's syntax (see GetNamedTransferSyntax)
    Dicom_Arena* m_arena = nullptr;      // memory of parsed elements; shared with items
    Dicom_SwapInfo::msg_source m_source = Dicom_SwapInfo::FROM_MEMORY;
    uint32_t m_msgFlags = 0;  // copied by copy_dicom_flags
};

// Item access for sequences.
class Dicom_Helper {
public:
    explicit Dicom_Helper(const Dicom_Msg& msg) : m_msg(msg) {}
    // Item n (0-based) of the sequence under `sequence`, or null.
    Dicom_Msg* GetSequenceMsg(const Dicom_Tag& sequence, unsigned int n) const;
    // The value of `tag` in item n of `sequence`, or null.
    const Dicom_Type* GetSequenceMsgTag(const Dicom_Tag& sequence, const Dicom_Tag& tag,
                                        unsigned int n) const;

private:
    const Dicom_Msg& m_msg;
};
