#pragma once

// An encoded length in bytes with a validity flag. Size calculations report failure only
// through an invalid value (constructed from false).
class Dicom_DumpLen {
public:
    Dicom_DumpLen() = default;
    Dicom_DumpLen(unsigned int length) : m_length(length), m_valid(true) {}  // NOLINT: implicit by design
    explicit Dicom_DumpLen(bool valid) : m_valid(valid) {}
    unsigned int GetDumpLen() const { return m_length; }
    bool IsValid() const { return m_valid; }
    explicit operator bool() const { return m_valid; }
    bool operator==(const Dicom_DumpLen& o) const { return m_valid == o.m_valid && m_length == o.m_length; }

private:
    unsigned int m_length = 0;
    bool m_valid = false;
};

// Multi-format information passed to length calculations; filled by callers that split a
// multi-format message. The layer reads nothing from it today and accepts null.
struct Dicom_MF_Info {
    unsigned int nImages = 0;
    unsigned int headerLength = 0;
};

// Compression parameters of a length calculation. The layer does not compress images; the
// record is carried so that callers can pass their settings unchanged.
struct SCompressionParms {
    int fields[13] = {};
};
