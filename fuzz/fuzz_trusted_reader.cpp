// Fuzz target: Dicom_TrustedBufferReader and Dicom_Msg::ConstructFromTrustedBuffer.
//
// A trusted buffer is the layer's own format, but a damaged one must still give -1, never a
// crash. The reader is released before the message is used, so a value left pointing into the
// reader's buffer shows up under AddressSanitizer. A message that loaded serialises again to the
// same elements, and its second serialisation equals the first.
#include <Dicom/Dicom_TrustedBufferReader.h>
#include <Kvl/Kvl_AutoPtr.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_common.h"

namespace {

// Loads `length` bytes at `data` (copied into a malloc'ed block the reader owns). 0 or -1.
int Load(const void* data, size_t length, Dicom_Msg& msg) {
    char* block = static_cast<char*>(std::malloc(length ? length : 1));
    if (length) std::memcpy(block, data, length);
    int status = -1;
    Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(
        new Dicom_TrustedBufferReader(block, static_cast<unsigned int>(length), &status, 1));
    if (status != 0) return -1;
    const int rc = msg.ConstructFromTrustedBuffer(reader);
    reader.reset();
    return rc;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0xFFFFFFFFu) return 0;
    Dicom_Msg msg;
    const int rc = Load(data, size, msg);
    fuzz::TouchValues(msg);
    if (rc != 0) return 0;
    fuzz::CheckEncodeLengths(msg);

    for (Dicom_Endianity order : {DICOM_LITTLE_ENDIAN, DICOM_BIG_ENDIAN}) {
        unsigned int length = 0;
        char* first = msg.CreateTrustedBuffer(order, &length);
        if (first == nullptr) fuzz::Fail("CreateTrustedBuffer failed on a message it can load");
        Dicom_Msg again;
        if (Load(first, length, again) != 0) fuzz::Fail("a trusted buffer of our own does not load");
        if (!fuzz::SameMessage(msg, again, false, 0))
            fuzz::Fail("trusted buffer round trip changed the message");
        unsigned int length2 = 0;
        char* second = again.CreateTrustedBuffer(order, &length2);
        if (second == nullptr || length2 != length || std::memcmp(first, second, length) != 0)
            fuzz::Fail("second trusted buffer differs from the first");
        std::free(first);
        std::free(second);
    }
    return 0;
}
