// MessageFile: see MessageFile.h.
#include "MessageFile.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "FileBytes.h"

bool IodReadMessageFile(const char* command, const char* path, bool forWriting, IodMessageFile& file) {
    const char* outcome = forWriting ? "; nothing written" : "";
    std::string error;
    if (!IodReadFileBytes(path, file.bytes, &error)) {
        std::fprintf(stderr, "iodtool %s: %s%s\n", command, error.c_str(), outcome);
        return false;
    }
    if (file.bytes.size() > UINT_MAX) {
        std::fprintf(stderr, "iodtool %s: %s: larger than 4 GiB%s\n", command, path, outcome);
        return false;
    }
    file.fileImage = file.bytes.size() >= 132 && std::memcmp(file.bytes.data() + 128, "DICM", 4) == 0;
    int status = 0;
    file.msg = std::make_unique<IOD_Msg>(file.bytes.data(), static_cast<unsigned int>(file.bytes.size()), 0,
                                         &status);
    if (status != 0) {
        std::fprintf(stderr, "iodtool %s: %s: not a DICOM file, or truncated or malformed%s\n", command, path,
                     outcome);
        return false;
    }
    return true;
}

bool IodWriteMessageFile(const char* command, const char* path, const IodMessageFile& file) {
    std::vector<unsigned char> out;
    if (file.msg->Encode(out, Dicom_TransferSyntax(), file.fileImage) != 0) {
        std::fprintf(stderr,
                     "iodtool %s: the changed data set cannot be encoded in the transfer syntax it was read "
                     "in; nothing written\n",
                     command);
        return false;
    }
    std::string error;
    if (!IodWriteFileAtomically(path, out, &error)) {
        std::fprintf(stderr, "iodtool %s: %s\n", command, error.c_str());
        return false;
    }
    return true;
}
