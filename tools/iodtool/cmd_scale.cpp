// iodtool scale: scale the presentation objects of a DICOM file with its image.
#include <IOD/IOD_Msg.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "Command.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage = "usage: iodtool scale <in> <out> <x> <y>\n";

// A finite factor above zero, or NaN.
double ParseFactor(const char* text) {
    char* end = nullptr;
    errno = 0;
    const double f = std::strtod(text, &end);
    if (errno != 0 || end == text || *end != '\0' || !std::isfinite(f) || f <= 0) return NAN;
    return f;
}

int RunScale(int argc, char** argv) {
    if (argc != 5) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const double x = ParseFactor(argv[3]), y = ParseFactor(argv[4]);
    if (std::isnan(x) || std::isnan(y)) {
        std::fprintf(stderr, "iodtool scale: a factor is a finite number above 0, not '%s'\n%s",
                     std::isnan(x) ? argv[3] : argv[4], kUsage);
        return 2;
    }
    std::vector<unsigned char> bytes;
    const std::unique_ptr<IOD_Msg> loaded = IodLoadMessage("scale", argv[1], bytes);
    if (!loaded) return 1;
    IOD_Msg& msg = *loaded;
    msg.MoveShutterBy(x, y);
    msg.MoveDisplayAreaSeqBy(x, y);
    msg.MoveGraphicAnnotationSeqBy(x, y);
    msg.move_overlay_text_by(x, y);
    msg.move_curves_by(x, y);
    return IodSaveMessage("scale", msg, msg.GetTransferSyntax(), IodIsFileImage(bytes), argv[2]) ? 0 : 1;
}

}  // namespace

IODTOOL_COMMAND(
    "scale", "scale <in> <out> <x> <y>",
    "Scale the presentation objects of a DICOM file by x (columns) and y (rows), factors above 0, as "
    "when its image is resampled: shutters, displayed areas (standard and private selection), "
    "graphic annotations (text and graphic objects, except those in DISPLAY units), text overlay "
    "positions, and the curves of the file and of each of its additional-curves items. Overlay "
    "bitmaps and pixel data are not changed. <out> is written atomically in the syntax <in> was "
    "read in.",
    RunScale)
