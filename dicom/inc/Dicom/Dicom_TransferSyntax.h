// Dicom_TransferSyntax: how a data set is encoded.
#pragma once

#include <Dicom/Dicom_Endianity.h>

#include <string>

class Dicom_UI;

class Dicom_TransferSyntax {
public:
    enum Kind {
        UNSPECIFIED = 0,                  // default-constructed: "detect it" (reading) or "as read" (writing)
        IMPLICIT_LITTLE_ENDIAN,           // 1.2.840.10008.1.2
        EXPLICIT_LITTLE_ENDIAN,           // 1.2.840.10008.1.2.1
        EXPLICIT_BIG_ENDIAN,              // 1.2.840.10008.1.2.2
        DEFLATED_EXPLICIT_LITTLE_ENDIAN,  // 1.2.840.10008.1.2.1.99
        ENCAPSULATED,  // any other known syntax: explicit VR little endian, pixel data in fragments
        UNKNOWN,       // a UID that names no syntax the layer can read
    };

    Dicom_TransferSyntax() = default;
    explicit Dicom_TransferSyntax(Kind kind);
    // Known UIDs are recognised without allocating (trailing spaces and NULs ignored).
    explicit Dicom_TransferSyntax(const char* uid);
    Dicom_TransferSyntax(const char* uid, size_t length);
    explicit Dicom_TransferSyntax(const std::string& uid) : Dicom_TransferSyntax(uid.data(), uid.size()) {}
    explicit Dicom_TransferSyntax(const Dicom_UI& uid);
    ~Dicom_TransferSyntax() = default;
    Dicom_TransferSyntax(const Dicom_TransferSyntax&) = default;
    Dicom_TransferSyntax& operator=(const Dicom_TransferSyntax&) = default;

    Kind GetKind() const { return m_kind; }
    bool IsSpecified() const { return m_kind != UNSPECIFIED; }
    bool IsKnown() const { return m_kind != UNSPECIFIED && m_kind != UNKNOWN; }
    bool IsExplicitVR() const { return m_kind != IMPLICIT_LITTLE_ENDIAN; }
    bool IsBigEndian() const { return m_kind == EXPLICIT_BIG_ENDIAN; }
    bool IsDeflated() const { return m_kind == DEFLATED_EXPLICIT_LITTLE_ENDIAN; }
    bool IsEncapsulated() const { return m_kind == ENCAPSULATED; }
    Dicom_Endianity GetEndianity() const { return IsBigEndian() ? DICOM_BIG_ENDIAN : DICOM_LITTLE_ENDIAN; }
    // The UID ("1.2.840.10008.1.2.1"); empty when unspecified.
    const std::string& GetUID() const;
    bool operator==(const Dicom_TransferSyntax& o) const {
        return m_kind == o.m_kind && GetUID() == o.GetUID();
    }

    // Well-known UIDs.
    static constexpr const char* IMPLICIT_LITTLE_UID = "1.2.840.10008.1.2";
    static constexpr const char* EXPLICIT_LITTLE_UID = "1.2.840.10008.1.2.1";
    static constexpr const char* EXPLICIT_BIG_UID = "1.2.840.10008.1.2.2";
    static constexpr const char* DEFLATED_UID = "1.2.840.10008.1.2.1.99";

private:
    void Init(const char* uid, size_t length);
    Kind m_kind = UNSPECIFIED;
    short m_known = -1;  // index of a UID in the table of known syntaxes, else -1
    std::string m_uid;   // a UID outside the table
};
