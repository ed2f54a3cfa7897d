// iodtool convert: rewrite a DICOM file, in the transfer syntax it was read in or another one.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_TransferSyntax.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Command.h"
#include "FileBytes.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage =
    "usage: iodtool convert <in> <out> [--transfer-syntax implicit|explicit|big|deflated|<UID>]\n";

// Why `msg` cannot be written in `target` without changing its pixel data; empty when it can.
std::string PixelDataConflict(const Dicom_Msg& msg, const Dicom_TransferSyntax& target) {
    const Dicom_ME* pixels = msg.Find(Dicom_Tag(0x7FE0, 0x0010));
    const auto* value = pixels != nullptr ? dynamic_cast<const Dicom_OtherType*>(pixels->GetData()) : nullptr;
    if (value == nullptr) return {};
    const bool encapsulated = value->IsEncapsulated();
    const Dicom_TransferSyntax source = msg.GetWriteTransferSyntax();
    if (encapsulated && !target.IsEncapsulated()) {
        return "cannot write encapsulated pixel data in a native transfer syntax, " +
               IodDescribeSyntax(target) + ": it would have to be decompressed";
    }
    if (target.IsEncapsulated() && source.GetUID() != target.GetUID()) {
        if (!encapsulated) {
            return "cannot write native pixel data in the encapsulated transfer syntax " +
                   IodDescribeSyntax(target) + ": it would have to be compressed";
        }
        return "cannot move encapsulated pixel data from " + IodDescribeSyntax(source) + " to " +
               IodDescribeSyntax(target) + ": it would have to be recompressed";
    }
    return {};
}

int RunConvert(int argc, char** argv) {
    const char* paths[2] = {nullptr, nullptr};
    int npaths = 0;
    std::string syntaxText;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--transfer-syntax" || arg == "-t") {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "iodtool convert: %s needs a value\n%s", argv[i], kUsage);
                return 2;
            }
            syntaxText = argv[++i];
        } else if (arg.size() > 1 && arg[0] == '-') {
            std::fprintf(stderr, "iodtool convert: unknown option '%s'\n%s", argv[i], kUsage);
            return 2;
        } else if (npaths < 2) {
            paths[npaths++] = argv[i];
        } else {
            std::fprintf(stderr, "iodtool convert: too many arguments\n%s", kUsage);
            return 2;
        }
    }
    if (npaths != 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    Dicom_TransferSyntax target;  // unspecified: as read
    if (!syntaxText.empty()) {
        target = IodParseSyntax(syntaxText);
        if (!target.IsKnown()) {
            std::fprintf(stderr, "iodtool convert: unknown transfer syntax '%s'\n%s", syntaxText.c_str(),
                         kUsage);
            return 2;
        }
    }

    std::vector<unsigned char> bytes;
    std::string error;
    if (!IodReadFileBytes(paths[0], bytes, &error)) {
        std::fprintf(stderr, "iodtool convert: %s\n", error.c_str());
        return 1;
    }
    int status = 0;
    Dicom_Msg msg(bytes.data(), bytes.size(), 0, &status);
    if (status != 0) {
        std::fprintf(stderr,
                     "iodtool convert: %s: not a DICOM file, or truncated or malformed; nothing written\n",
                     paths[0]);
        return 1;
    }
    if (!target.IsSpecified()) target = msg.GetWriteTransferSyntax();
    if (!target.IsKnown()) {
        std::fprintf(stderr, "iodtool convert: %s: read in a transfer syntax that cannot be written (%s)\n",
                     paths[0], target.GetUID().c_str());
        return 1;
    }
    const std::string conflict = PixelDataConflict(msg, target);
    if (!conflict.empty()) {
        std::fprintf(stderr, "iodtool convert: %s: %s; nothing written\n", paths[0], conflict.c_str());
        return 1;
    }

    std::vector<unsigned char> out;
    if (msg.Encode(out, target, true) != 0) {
        std::fprintf(stderr,
                     "iodtool convert: %s: the data set cannot be encoded in %s (a value too long for its "
                     "length field, or one that syntax cannot hold); nothing written\n",
                     paths[0], IodDescribeSyntax(target).c_str());
        return 1;
    }
    if (!IodWriteFileAtomically(paths[1], out, &error)) {
        std::fprintf(stderr, "iodtool convert: %s\n", error.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

IODTOOL_COMMAND(
    "convert", "convert <in> <out> [--transfer-syntax implicit|explicit|big|deflated|<UID>]",
    "Rewrite a DICOM file with a fresh file meta header, in the transfer syntax it was read in or "
    "the one given. Pixel data is never recompressed: encapsulated data stays in its own syntax. "
    "The output is replaced atomically; nothing is written when the input cannot be read in full.",
    RunConvert)
