// iodtool length: the exact encoded size of a DICOM file's data set and file image in a transfer
// syntax, and the library's CalcMsgLength figure beside them.
#include <Dicom/Dicom_UI.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage =
    "usage: iodtool length <file> [--transfer-syntax implicit|explicit|big|deflated|<UID>]\n";

int RunLength(int argc, char** argv) {
    const char* path = nullptr;
    std::string syntaxText;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--transfer-syntax" || arg == "-t") {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "iodtool length: %s needs a value\n%s", argv[i], kUsage);
                return 2;
            }
            syntaxText = argv[++i];
        } else if ((arg.size() > 1 && arg[0] == '-') || path != nullptr) {
            std::fprintf(stderr, "iodtool length: unexpected argument '%s'\n%s", argv[i], kUsage);
            return 2;
        } else {
            path = argv[i];
        }
    }
    if (path == nullptr) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    Dicom_TransferSyntax target;
    if (!syntaxText.empty()) {
        target = IodParseSyntax(syntaxText);
        if (!target.IsKnown()) {
            std::fprintf(stderr, "iodtool length: unknown transfer syntax '%s'\n%s", syntaxText.c_str(),
                         kUsage);
            return 2;
        }
    }

    std::vector<unsigned char> bytes;
    std::unique_ptr<IOD_Msg> msg = IodLoadMessage("length", path, bytes, false);
    if (!msg) return 1;
    if (!target.IsSpecified()) target = msg->GetWriteTransferSyntax();
    const std::string conflict = target.IsKnown() ? IodPixelDataConflict(*msg, target) : std::string();
    const Dicom_DumpLen dataSet = msg->GetDumpLen(target);
    const Dicom_DumpLen file = msg->GetFileDumpLen(target);
    if (!conflict.empty() || !dataSet.IsValid() || !file.IsValid()) {
        std::fprintf(stderr, "iodtool length: %s: %s\n", path,
                     !conflict.empty() ? conflict.c_str()
                                       : ("cannot be written in " + IodDescribeSyntax(target)).c_str());
        return 1;
    }
    std::printf("transfer syntax: %s\n", IodDescribeSyntax(target).c_str());
    std::printf("data set:        %u bytes\n", dataSet.GetDumpLen());
    std::printf("file:            %u bytes (what iodtool convert writes)\n", file.GetDumpLen());

    const Dicom_DumpLen estimate = msg->CalcMsgLength(Dicom_UI(target.GetUID().c_str()));
    if (estimate.IsValid()) {
        std::printf("CalcMsgLength:   %u bytes\n", estimate.GetDumpLen());
    } else {
        std::printf("CalcMsgLength:   invalid (an image attribute it needs is missing)\n");
    }
    std::printf(
        "  (the library's send-size estimate, not the encoded size: PR/SR/KO count whole, multi-format "
        "objects their header plus every image decompressed, a single image only the 12-byte allowance for "
        "the private message-length element, 0 when it is present)\n");
    return 0;
}

}  // namespace

IODTOOL_COMMAND("length", "length <file> [--transfer-syntax implicit|explicit|big|deflated|<UID>]",
                "Print the exact encoded size of the data set and of the file image in the transfer syntax "
                "it was read in or the one given (the file size equals what convert writes), and, labelled "
                "as such, the library's CalcMsgLength figure with what it means. Exit 1 when the file cannot "
                "be read in full or cannot be written in that syntax.",
                RunLength)
