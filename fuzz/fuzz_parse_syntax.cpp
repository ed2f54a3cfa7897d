// Fuzz target: the buffer constructors that are told the transfer syntax.
//
// The first input byte selects the reading; the rest is the buffer:
//   bits 0-2: 0 implicit VR LE, 1 explicit VR LE, 2 explicit VR BE, 3 deflated explicit VR LE,
//             4 JPEG baseline, 5 RLE lossless, 6 JPEG 2000 (encapsulated), 7 an unknown UID;
//   bit 3: copy; bit 4: stop before the pixel data;
//   bit 5: the constructor taking the syntax UID (bit 6: strict), else the one taking a
//          Dicom_TransferSyntax.
#include <Dicom/Dicom_UI.h>

#include <cstddef>
#include <cstdint>

#include "fuzz_common.h"

namespace {
const char* const kSyntaxUids[8] = {
    Dicom_TransferSyntax::IMPLICIT_LITTLE_UID,
    Dicom_TransferSyntax::EXPLICIT_LITTLE_UID,
    Dicom_TransferSyntax::EXPLICIT_BIG_UID,
    Dicom_TransferSyntax::DEFLATED_UID,
    "1.2.840.10008.1.2.4.50",
    "1.2.840.10008.1.2.5",
    "1.2.840.10008.1.2.4.90",
    "1.2.3.4.5.6.7",
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t select = data[0];
    const char* uid = kSyntaxUids[select & 7];
    const int copy = (select >> 3) & 1;
    const bool stopBeforePixelData = ((select >> 4) & 1) != 0;
    const bool byUid = ((select >> 5) & 1) != 0;
    const bool strict = ((select >> 6) & 1) != 0;
    auto* buffer = const_cast<uint8_t*>(data + 1);
    const size_t length = size - 1;

    int status = -1;
    if (byUid) {
        const Dicom_UI syntaxUid(uid);
        Dicom_Msg msg(buffer, length, copy, syntaxUid, &status, Dicom_SwapInfo::FROM_MEMORY,
                      stopBeforePixelData, strict);
        fuzz::TouchValues(msg);
        if (status == 0) fuzz::CheckEncodeLengths(msg);
    } else {
        const Dicom_TransferSyntax syntax(uid);
        Dicom_Msg msg(buffer, length, copy, syntax, &status, Dicom_SwapInfo::FROM_MEMORY,
                      stopBeforePixelData);
        fuzz::TouchValues(msg);
        if (status == 0) fuzz::CheckEncodeLengths(msg);
    }
    return 0;
}
