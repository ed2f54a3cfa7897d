// Dicom_Msg::GetFileDumpLen: the size of a file image without writing the data set.
#include <Dicom/Dicom_Msg.h>

#include <cstdint>
#include <vector>

#include "Dicom_Codec.h"

// The meta header is built (it is small: the preamble and a dozen elements); the data set is
// only measured, so a large pixel data value costs nothing. Mirrors Encode's checks one for one.
Dicom_DumpLen Dicom_Msg::GetFileDumpLen(const Dicom_TransferSyntax& syntax) const {
    const Dicom_TransferSyntax ts = Dicom_Codec::Resolve(*this, syntax);
    if (!ts.IsKnown()) return Dicom_DumpLen(false);
    std::vector<unsigned char> header;
    if (Dicom_Codec::FileMetaHeader(*this, ts, header, nullptr) != 0) return Dicom_DumpLen(false);
    const Dicom_DumpLen data = get_dump_len(ts, nullptr);
    if (!data.IsValid()) return Dicom_DumpLen(false);
    const uint64_t total = uint64_t(header.size()) + data.GetDumpLen();
    if (total > 0xFFFFFFFFull) return Dicom_DumpLen(false);
    return Dicom_DumpLen(static_cast<unsigned int>(total));
}
