// Fuzz target: decode, encode, decode. Whatever the layer reads it writes back losslessly:
// the second decode holds the same elements as the first (group lengths, which every write
// recomputes, and the meta group, which a data set write leaves out, aside), and encoding the
// second decode gives the same bytes as encoding the first. Checked in the syntax the input
// was read in and, for explicit VR input, across byte orders.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_common.h"

namespace {

void RoundTrip(const Dicom_Msg& first, const Dicom_TransferSyntax& syntax) {
    std::vector<unsigned char> encoded;
    if (first.Encode(encoded, syntax) != 0) return;  // not writable in this syntax: nothing to check
    // An empty data set encodes to no bytes; hand the parser a valid pointer all the same.
    unsigned char none = 0;
    int status = -1;
    Dicom_Msg second(encoded.empty() ? &none : encoded.data(), encoded.size(), 1, syntax, &status);
    if (status != 0)
        fuzz::Fail("syntax %d: our own encoding (%zu bytes) does not parse",
                   static_cast<int>(syntax.GetKind()), encoded.size());
    if (!fuzz::SameMessage(first, second, true, 0))
        fuzz::Fail("syntax %d: decode-encode-decode changed the data set",
                   static_cast<int>(syntax.GetKind()));
    std::vector<unsigned char> again;
    if (second.Encode(again, syntax) != 0)
        fuzz::Fail("syntax %d: the re-read data set does not encode", static_cast<int>(syntax.GetKind()));
    if (again != encoded)
        fuzz::Fail("syntax %d: second encoding differs from the first (%zu / %zu bytes)",
                   static_cast<int>(syntax.GetKind()), encoded.size(), again.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    int status = -1;
    Dicom_Msg first(const_cast<uint8_t*>(data), size, 1, &status);
    if (status != 0) return 0;
    const Dicom_TransferSyntax asRead = first.GetTransferSyntax();
    if (!asRead.IsKnown()) fuzz::Fail("a message that parsed has no known transfer syntax");
    RoundTrip(first, asRead);
    if (asRead.IsExplicitVR() && !asRead.IsEncapsulated()) {
        RoundTrip(first, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN));
        RoundTrip(first, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN));
    }
    return 0;
}
