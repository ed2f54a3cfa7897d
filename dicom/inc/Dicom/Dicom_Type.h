// Dicom_Type: base of all value classes.
//
// Every value except a sequence is a run of bytes with a value representation:
//  - text VRs keep the bytes exactly as read or given (possibly of odd length, with their
//    padding), in the message's character set; values are separated by '\\';
//  - binary VRs (AT, FD, FL, OD, OF, OL, OV, OW, SL, SS, SV, UL, US, UV) keep their numbers in
//    the host's byte order (little endian); the codec swaps when it reads or writes big endian;
//  - OB and UN keep their bytes; encapsulated pixel data keeps its item structure (basic offset
//    table and fragments) byte for byte, see Dicom_OtherType.
// The bytes may belong to the value (owned) or point into memory that outlives it (a parsed
// message's buffer). Copies always own their bytes.
//
// Two values compare equal when they have the same class family and the same meaning: text is
// compared without trailing padding (spaces and NULs) on each value, binary values byte for
// byte. An empty value equals a null constant of its class, so an absent attribute and an empty
// one fail a value test alike.
#pragma once

#include <Dicom/Dicom_Arena.h>
#include <Dicom/Dicom_DumpLen.h>
#include <Dicom/Dicom_VR.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

class Dicom_TransferSyntax;

class Dicom_Type : public Dicom_ArenaObject {
public:
    virtual ~Dicom_Type() {
        if (m_text || (m_flags & kOwned)) ReleaseOwned();
    }

    Dicom_VR GetVR() const { return m_vr; }
    const char* GetVRName() const { return Dicom_VRName(m_vr); }

    // A deep copy of the same class (heap-allocated, owned by the caller).
    virtual Dicom_Type* Clone() const = 0;

    // The kind code of the value class (see Dicom_Kind below).
    virtual int GetKind() const;

    // Number of values (VM): text: count of '\\'-separated values (0 when empty); binary
    // numbers: length / width; OB, OW, UN and other byte strings: 1 when not empty;
    // sequences: number of items.
    virtual int GetVM() const;
    virtual bool IsEmpty() const { return m_len == 0; }

    // Value bytes as stored (no padding added), and their count.
    const unsigned char* GetData() const { return m_data; }
    uint32_t GetRawLen() const { return m_len; }
    // Copies the value bytes to `out` (GetRawLen() bytes).
    void DumpRawData(void* out) const;

    // Replaces the value bytes with an owned copy. Binary VRs take host byte order.
    // Returns 0, or -1 when the length does not fit the VR (binary width) or is too large.
    int SetRaw(const void* data, uint32_t length);
    // Points the value at external bytes that outlive it (the parser's fast path).
    void AttachRaw(const unsigned char* data, uint32_t length) {
        ReleaseOwned();
        m_data = data;
        m_len = length;
    }

    // Encoded length of the value field (even: odd values get one padding byte).
    // Sequences override it (they need the transfer syntax).
    virtual uint32_t GetValueLength(const Dicom_TransferSyntax& syntax) const;

    // Text form of the whole value (all values, '\\'-separated; binary numbers printed).
    virtual std::string ToString() const;
    // The text, NUL-terminated, without trailing padding; valid until the value changes.
    operator char*();
    // The text converted from the value's character set; valid until the value changes.
    operator wchar_t*();
    // Appends the text form to `out` (used by dumps): at most `maxLength` characters, "..." after.
    void PrintToStr(std::string& out, size_t maxLength = 64) const;

    // Value equality as described above.
    virtual bool Match(const Dicom_Type& other) const;
    bool operator==(const Dicom_Type& other) const { return Match(other); }
    bool operator!=(const Dicom_Type& other) const { return !Match(other); }

    // Character set of a text value: an index into the process-wide set of Specific Character
    // Set values (0: the default repertoire). The message keeps it right (fix_charset_for_new_item).
    unsigned short GetCharset() const { return m_charset; }
    void SetCharset(unsigned short charset) { m_charset = charset; }
    bool IsI18nStringType() const { return Dicom_GetVRInfo(m_vr).charsetText; }

    // Appends `other`'s values to this one ("a\\b" + "c" -> "a\\b\\c"; binary: concatenation).
    // Returns 0, or -1 when the classes differ.
    int AppendValue(const Dicom_Type& other);

    // Value i (0-based) of a text value, without padding (leading spaces too, except for the
    // free-text VRs); empty when out of range. Free text (LT, ST, UT, UR) has one value.
    std::string_view GetTextValue(int i) const;
    // Matches this value against a query key as a C-FIND does: an empty key matches anything;
    // text keys may hold '*' (any run) and '?' (any one character); a key "a-b" of DA, DT or TM
    // is a range (either end may be open); a multi-valued value matches when one of its values
    // does. Non-text keys: Match.
    bool MatchAndRetrieve(const Dicom_Type& key) const;
    // Writes the text form (as operator char*) into `buffer`, NUL-terminated. Returns its
    // length, or -1 when `buffer` is null, `size` is 0 or the text was truncated to fit.
    int WriteToBuffer(char* buffer, size_t size) const;

    // Flags kept by copies: encapsulated pixel data (OB/OW), sequence read with undefined length.
    bool TestFlag(uint8_t flag) const { return (m_flags & flag) != 0; }
    void SetFlag(uint8_t flag, bool on) { m_flags = on ? uint8_t(m_flags | flag) : uint8_t(m_flags & ~flag); }
    static constexpr uint8_t kEncapsulated = 4;
    static constexpr uint8_t kUndefinedLength = 8;

protected:
    explicit constexpr Dicom_Type(Dicom_VR vr) : m_vr(vr) {}
    // A value over constant bytes of static storage, neither copied nor owned (named constants).
    constexpr Dicom_Type(Dicom_VR vr, const unsigned char* staticData, uint32_t length)
        : m_data(staticData), m_len(length), m_vr(vr) {}
    // Copies own their bytes; values of up to 8 bytes (single numbers, short codes) are copied
    // inline without allocating.
    Dicom_Type(const Dicom_Type& other)
        : m_vr(other.m_vr),
          m_flags(static_cast<uint8_t>(other.m_flags & (kEncapsulated | kUndefinedLength))),
          m_charset(other.m_charset) {
        if (other.m_len <= sizeof(m_inline)) {
            if (other.m_len) {
                std::memcpy(m_inline, other.m_data, other.m_len);
                m_data = m_inline;
                m_len = other.m_len;
            }
        } else {
            AssignCopy(other.m_data, other.m_len);
        }
    }
    Dicom_Type& operator=(const Dicom_Type& other);
    // Frees owned bytes (and the text cache); the value is then empty.
    void ReleaseOwned();
    void InvalidateText();
    // Replaces the bytes with an owned copy (values of up to 8 bytes are kept inline).
    void AssignCopy(const void* data, uint32_t length);
    // Takes over a malloc'ed block of `length` bytes.
    void AdoptBuffer(unsigned char* block, uint32_t length);

    const unsigned char* m_data = nullptr;
    uint32_t m_len = 0;
    Dicom_VR m_vr;
    uint8_t m_flags = 0;  // kOwned: m_data is malloc'ed by this value
    unsigned short m_charset = 0;
    char* m_text = nullptr;          // cache for operator char*/wchar_t* (malloc'ed)
    unsigned char m_inline[8] = {};  // bytes of short owned values (no allocation)
    static constexpr uint8_t kOwned = 1;
    static constexpr uint8_t kTextIsWide = 2;
};

// Kind codes reported by GetKind(). Values of kind DICOM_KIND_MULTI_VALUED hold a list of values
// that the indexing operator selects from (numbers as text or binary, code strings, UIDs ...).
enum Dicom_Kind {
    DICOM_KIND_OTHER = 0,          // OB, OW, UN and the other byte strings
    DICOM_KIND_SEQUENCE = 1,       // SQ
    DICOM_KIND_TEXT = 2,           // single-valued free text: LT, ST, UT, UR
    DICOM_KIND_MULTI_VALUED = 10,  // everything that has a value multiplicity
};

// Creates an empty value of the class of `vr` (Dicom_UN for NONE), in `arena` or on the heap.
Dicom_Type* Dicom_CreateValue(Dicom_VR vr, Dicom_Arena* arena = nullptr);
