// Dicom_TrustedBufferReader: reads the layer's trusted buffer format (see Dicom_Msg::
// CreateTrustedBuffer). Trusted means produced by this layer; the reader still checks every
// length so that a damaged buffer yields an error, not a crash.
#pragma once

#include <cstddef>

class Dicom_TrustedBufferReader {
public:
    // `ownsBuffer` non-zero: the reader frees `buffer` (malloc'ed) when destroyed.
    // `*status` receives 0, or -1 when the buffer does not start with a trusted-buffer header.
    Dicom_TrustedBufferReader(char* buffer, unsigned int length, int* status, int ownsBuffer);
    ~Dicom_TrustedBufferReader();
    Dicom_TrustedBufferReader(const Dicom_TrustedBufferReader&) = delete;
    Dicom_TrustedBufferReader& operator=(const Dicom_TrustedBufferReader&) = delete;

    const unsigned char* Data() const { return m_data; }
    size_t Length() const { return m_length; }
    bool IsBigEndian() const { return m_bigEndian; }
    // Hands the buffer to the caller (who frees it with std::free) when the reader owns it;
    // null otherwise. The reader keeps pointing at it (Data()) but no longer frees it.
    char* ReleaseBuffer();

private:
    const unsigned char* m_data;
    size_t m_length;
    bool m_owns;
    bool m_bigEndian = false;
};
