// Dicom_StringType: base of the text value classes (AE AS CS DA DS DT IS LO LT PN SH ST TM UC
// UI UR UT), and Dicom_StringValue, the template that gives every one of them its constructors.
//
// Construction from text, Dicom_X(const char* text, int* status):
//  - the value keeps a copy of the bytes exactly as given (padding included);
//  - *status (when given) is 0 when every value obeys the VR's rules (characters, format,
//    length of each value), -1 when one does not; the value keeps the text all the same, so
//    nothing the caller gave is lost and a later check (IsValid) can tell;
//  - a null pointer gives an empty value and status 0.
// From wchar_t text the value holds UTF-8 (and the charset index of ISO_IR 192 when the text
// is not plain ASCII); a message re-encodes it into its own character set when it can.
// From bytes, (void* data, unsigned int length, int copy, int* status): copy == 0 points the
// value at the caller's bytes (which must outlive it) without allocating.
//
// operator[](i) yields a value of the same class holding value i alone (0-based; an empty value
// when out of range). Free text (LT, ST, UT, UR) has one value, the whole text.
#pragma once

#include <Dicom/Dicom_Type.h>

#include <cstring>
#include <string>
#include <string_view>

class Dicom_StringType : public Dicom_Type {
public:
    // Value i as text, without padding (see GetTextValue).
    std::string GetValue(int i) const { return std::string(GetTextValue(i)); }
    // True when every value obeys the VR's rules (as the constructors' status tells).
    bool IsValid() const;

protected:
    constexpr explicit Dicom_StringType(Dicom_VR vr) : Dicom_Type(vr) {}
    constexpr Dicom_StringType(Dicom_VR vr, const unsigned char* staticData, uint32_t length)
        : Dicom_Type(vr, staticData, length) {}
    Dicom_StringType(const Dicom_StringType&) = default;
    Dicom_StringType& operator=(const Dicom_StringType&) = default;

    void InitText(const char* text, size_t length, int* status);
    void InitWide(const wchar_t* text, int* status);
    void InitBytes(void* data, unsigned int length, int copy, int* status);
    // Holds value i of `source` alone (same charset).
    void InitValueOf(const Dicom_StringType& source, int i);
};

template <class Derived, Dicom_VR V>
class Dicom_StringValue : public Dicom_StringType {
public:
    static constexpr Dicom_VR kVR = V;

    constexpr Dicom_StringValue() : Dicom_StringType(V) {}
    // Over constant bytes of static storage (see Dicom_Type); for the derived classes' constants.
    struct StaticBytes {
        const unsigned char* data;
        uint32_t length;
    };
    constexpr explicit Dicom_StringValue(StaticBytes bytes) : Dicom_StringType(V, bytes.data, bytes.length) {}
    Dicom_StringValue(const char* text, int* status = nullptr) : Dicom_StringType(V) {  // NOLINT: implicit
        InitText(text, text ? std::strlen(text) : 0, status);
    }
    // The whole NUL-terminated `text`; the `int` is a copy flag, not a length: non-zero keeps a
    // copy of the text, zero points the value at the caller's text (which must then outlive the
    // value), as the byte constructors do. Null text: an empty value.
    Dicom_StringValue(const char* text, int copy, int* status) : Dicom_StringType(V) {
        const size_t length = text ? std::strlen(text) : 0;
        if (copy || length > 0xFFFFFFFEu) {
            InitText(text, length, status);
        } else {
            InitBytes(const_cast<char*>(text), static_cast<unsigned int>(length), 0, status);
        }
    }
    Dicom_StringValue(const std::string& text, int* status = nullptr) : Dicom_StringType(V) {  // NOLINT
        InitText(text.data(), text.size(), status);
    }
    Dicom_StringValue(const wchar_t* text, int* status = nullptr) : Dicom_StringType(V) {  // NOLINT
        InitWide(text, status);
    }
    Dicom_StringValue(void* data, unsigned int length, int copy, int* status) : Dicom_StringType(V) {
        InitBytes(data, length, copy, status);
    }

    Derived operator[](int i) const {
        Derived d;
        d.InitValueOf(*this, i);
        return d;
    }
    Dicom_Type* Clone() const override { return new Derived(static_cast<const Derived&>(*this)); }
};
