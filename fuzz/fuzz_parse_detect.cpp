// Fuzz target: the buffer constructor that detects the transfer syntax, with copy 0 and copy 1.
//
// Checks beyond "no crash, no over-read": both copy modes read the same elements with the same
// status; a message that parsed encodes to exactly GetDumpLen bytes in every native syntax; a
// clone encodes to the same bytes as its source.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // copy 0 reads libFuzzer's buffer in place; it must not write to it (libFuzzer checks).
    int status0 = -1;
    Dicom_Msg byReference(const_cast<uint8_t*>(data), size, 0, &status0);
    int status1 = -1;
    Dicom_Msg byCopy(const_cast<uint8_t*>(data), size, 1, &status1);
    if (status0 != status1) fuzz::Fail("status %d with copy 0, %d with copy 1", status0, status1);
    if (!fuzz::SameMessage(byReference, byCopy, false, 0))
        fuzz::Fail("copy 0 and copy 1 read different elements");
    fuzz::TouchValues(byReference);
    fuzz::TouchValues(byCopy);
    if (status1 != 0) return 0;

    fuzz::CheckEncodeLengths(byCopy);
    std::unique_ptr<Dicom_Msg> clone(byCopy.Clone());
    if (!clone) fuzz::Fail("Clone returned null");
    if (!fuzz::SameMessage(byCopy, *clone, false, 0)) fuzz::Fail("the clone differs from its source");
    const Dicom_TransferSyntax explicitLE(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    std::vector<unsigned char> a;
    std::vector<unsigned char> b;
    const int ra = byCopy.Encode(a, explicitLE);
    const int rb = clone->Encode(b, explicitLE);
    if (ra != rb || (ra == 0 && a != b)) fuzz::Fail("the clone encodes differently from its source");
    return 0;
}
