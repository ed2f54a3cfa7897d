// IOD_Msg: whole-message operations.
#include <Dicom/Dicom_TrustedBufferReader.h>
#include <IOD/IOD_Msg.h>
#include <Kvl/Kvl_AutoPtr.h>

// Deep copy: serialise this message into a trusted buffer, read it back into a new IOD_Msg and
// carry the message flags over. The reader owns (and frees) the buffer. Failures of the DICOM
// layer show in the copy as that layer leaves it; there is no failure path of our own.
Dicom_Msg* IOD_Msg::Clone() {
    unsigned int length = 0;
    char* buffer = CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    int status = 0;
    Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(new Dicom_TrustedBufferReader(buffer, length, &status, 1));
    IOD_Msg* copy = new IOD_Msg();
    copy->ConstructFromTrustedBuffer(reader, false, nullptr, false, nullptr, false);
    copy->copy_dicom_flags(*this);
    return copy;
}
