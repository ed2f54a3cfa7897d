// Dicom_OtherType: base of the byte-string value classes (OB OD OF OL OV OW UN), and
// Dicom_NumberType with the template Dicom_NumberValue: the binary numbers (FD FL SL SS SV UL
// US UV; AT is a number pair of its own).
//
// Bytes are kept in host (little-endian) order. Constructors from bytes:
//  - (void* data, unsigned int length, int copy, int* status): copy == 0 points the value at the
//    caller's bytes (no allocation; they must outlive the value), copy != 0 keeps a copy;
//  - (..., const Dicom_Endianity& order, int* status): bytes in `order`; big-endian input is
//    swapped into a copy of the value's own.
// *status is -1 (and the bytes are kept all the same) when the length is not a multiple of the
// width of one number.
#pragma once

#include <Dicom/Dicom_DumpLen.h>
#include <Dicom/Dicom_Endianity.h>
#include <Dicom/Dicom_Type.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

// One item of encapsulated pixel data: where its value lies inside the value bytes.
struct Dicom_Fragment {
    uint32_t offset = 0;  // of the item's value (after its 8-byte item header)
    uint32_t length = 0;
};

// The item structure of encapsulated pixel data.
struct Dicom_EncapsulatedData {
    bool valid = false;          // false: not encapsulated, or the items are damaged
    Dicom_Fragment offsetTable;  // the first item (the basic offset table; may be empty)
    std::vector<Dicom_Fragment> fragments;
};

class Dicom_OtherType : public Dicom_Type {
public:
    // Length of the value field as encoded: the bytes padded to even length; for encapsulated
    // pixel data the items plus the 8-byte sequence delimiter.
    Dicom_DumpLen GetDumpLen() const;
    // Writes the value field as GetDumpLen() counts it (swapped to `order`, encapsulated data
    // followed by the sequence delimiter). Returns the bytes written, or -1 when `size` is short.
    int Dump(void* out, unsigned int size, Dicom_Endianity order = DICOM_LITTLE_ENDIAN) const;

    // Trusted-buffer form: a 32-bit little-endian length, one flag byte (1: encapsulated) and
    // the bytes in host order.
    unsigned int GetTrustedDumpLen() const { return 5 + GetRawLen(); }
    // Returns the bytes written, or -1 when `size` is short.
    int DumpToTrustedBuffer(void* out, unsigned int size) const;
    // Reads the trusted form at `in` (at most `available` bytes); *consumed gets its size.
    // Returns 0, or -1 when it is truncated (the value is then unchanged).
    int LoadFromTrustedBuffer(const void* in, size_t available, size_t* consumed);

    // Replaces this value with a copy of `source`'s bytes and flags. 0, or -1 for another VR.
    int Copy(const Dicom_OtherType& source);
    // CRC-32 (zlib's) of the value bytes.
    unsigned int CheckSum() const;
    // The offset table and fragments of encapsulated pixel data.
    Dicom_EncapsulatedData GetEncapsulatedData() const;
    // Prints the text form (truncated hex) and a newline.
    void Print(FILE* out = stdout) const;

    bool IsEncapsulated() const { return TestFlag(kEncapsulated); }
    void SetEncapsulated(bool on) { SetFlag(kEncapsulated, on); }

protected:
    constexpr explicit Dicom_OtherType(Dicom_VR vr) : Dicom_Type(vr) {}
    Dicom_OtherType(const Dicom_OtherType&) = default;
    Dicom_OtherType& operator=(const Dicom_OtherType&) = default;
    void InitBytes(void* data, unsigned int length, int copy, Dicom_Endianity order, int* status);
};

template <class Derived, Dicom_VR V>
class Dicom_OtherValue : public Dicom_OtherType {
public:
    static constexpr Dicom_VR kVR = V;

    constexpr Dicom_OtherValue() : Dicom_OtherType(V) {}
    Dicom_OtherValue(void* data, unsigned int length, int copy, int* status) : Dicom_OtherType(V) {
        InitBytes(data, length, copy, DICOM_LITTLE_ENDIAN, status);
    }
    Dicom_OtherValue(void* data, unsigned int length, int copy, const Dicom_Endianity& order, int* status)
        : Dicom_OtherType(V) {
        InitBytes(data, length, copy, order, status);
    }
    Dicom_Type* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
};

// Binary numbers.
class Dicom_NumberType : public Dicom_Type {
protected:
    constexpr explicit Dicom_NumberType(Dicom_VR vr) : Dicom_Type(vr) {}
    Dicom_NumberType(const Dicom_NumberType&) = default;
    Dicom_NumberType& operator=(const Dicom_NumberType&) = default;
    void InitBytes(void* data, unsigned int length, int copy, Dicom_Endianity order, int* status);
    // Holds number i of `source` alone.
    void InitValueOf(const Dicom_NumberType& source, int i);
    // This value's numbers followed by `other`'s.
    void InitConcat(const Dicom_NumberType& a, const Dicom_NumberType& b);
};

// Values of up to 8 bytes live inside the object: single numbers, operator[] and conversions
// never allocate.
template <class Derived, Dicom_VR V, class T>
class Dicom_NumberValue : public Dicom_NumberType {
public:
    using value_type = T;
    static constexpr Dicom_VR kVR = V;

    constexpr Dicom_NumberValue() : Dicom_NumberType(V) {}
    Dicom_NumberValue(T value) : Dicom_NumberType(V) { AssignCopy(&value, sizeof(T)); }  // NOLINT: implicit
    explicit Dicom_NumberValue(const std::vector<T>& values) : Dicom_NumberType(V) {
        AssignCopy(values.data(), static_cast<uint32_t>(values.size() * sizeof(T)));
    }
    Dicom_NumberValue(void* data, unsigned int length, int copy, const Dicom_Endianity& order, int* status)
        : Dicom_NumberType(V) {
        InitBytes(data, length, copy, order, status);
    }
    Dicom_NumberValue(void* data, unsigned int length, int copy, int* status) : Dicom_NumberType(V) {
        InitBytes(data, length, copy, DICOM_LITTLE_ENDIAN, status);
    }

    int Count() const { return static_cast<int>(m_len / sizeof(T)); }
    // Number i (0-based); 0 when out of range.
    T Get(int i) const {
        T v{};
        if (i >= 0 && i < Count()) std::memcpy(&v, m_data + static_cast<size_t>(i) * sizeof(T), sizeof(T));
        return v;
    }
    // 0 and *out = number i, or -1 when out of range.
    int GetValue(int i, T* out) const {
        if (i < 0 || i >= Count() || !out) return -1;
        *out = Get(i);
        return 0;
    }
    std::vector<T> GetValues() const {
        std::vector<T> v(static_cast<size_t>(Count()));
        if (!v.empty()) std::memcpy(v.data(), m_data, v.size() * sizeof(T));
        return v;
    }
    // The first number (0 when empty).
    operator T() const { return Get(0); }  // NOLINT: implicit by design

    Derived operator[](int i) const {
        Derived d;
        d.InitValueOf(*this, i);
        return d;
    }
    // Concatenation of values: {1} | {2} -> {1, 2}.
    Derived operator|(const Derived& other) const {
        Derived d;
        d.InitConcat(*this, other);
        return d;
    }
    Dicom_Type* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
};
