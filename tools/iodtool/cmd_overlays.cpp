// iodtool overlays: list the overlay (60xx) and curve (50xx) indexes of a DICOM file, or write a
// copy without one index, without the text overlays, or without any overlay and curve.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Msg.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "Command.h"
#include "DumpFormat.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage =
    "usage: iodtool overlays <file>\n"
    "       iodtool overlays <in> <out> --remove N | --remove-curve N | --remove-texts | --clear\n";

constexpr unsigned short kOverlays = 0x6000;
constexpr unsigned short kCurves = 0x5000;

Dicom_Tag At(Dicom_Tag tag, int index) {
    tag.SetRepeatingGroup(index);
    return tag;
}

// Indexes of the family that hold at least one element (public or private group), in order.
std::set<int> IndexesOf(const Dicom_Msg& msg, unsigned short family) {
    std::set<int> indexes;
    for (int i = 0; i < msg.GetNElements(); ++i) {
        const unsigned short group = msg.GetElement(i)->GetTag().GetGroup();
        if ((group & 0xFF00) == family) indexes.insert((group & 0xFF) / 2);
    }
    return indexes;
}

// The printed value under `tag`, or "-" when it is absent or empty.
std::string Text(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* v = msg.Get(tag);
    return v != nullptr && !v->IsEmpty() ? IodFormatValue(*v) : "-";
}

// Data Value Representation: the type of the curve's points.
std::string DataVR(const Dicom_Msg& msg, int index) {
    const Dicom_Type* v = msg.Get(At(Dicom_Tag(kCurves, 0x0103), index));
    if (v == nullptr || v->GetVR() != Dicom_VR::US || v->GetRawLen() < 2) return "-";
    static const char* const kNames[] = {"US", "SS", "FL", "FD", "SL"};
    const unsigned code = static_cast<const Dicom_US*>(v)->Get(0);
    return code < 5 ? kNames[code] : "unknown (" + std::to_string(code) + ")";
}

void ListOverlays(const IOD_Msg& msg) {
    const std::set<int> indexes = IndexesOf(msg, kOverlays);
    std::printf("Overlays (60xx): %zu\n", indexes.size());
    for (int i : indexes) {
        std::printf("  index %d  group %04x  type %s", i, kOverlays + 2 * i,
                    Text(msg, At(Dicom_Tag(kOverlays, 0x0040), i)).c_str());
        const Dicom_LO text = msg.GetTextOverlayString_i(i);
        const Dicom_FL position = msg.GetTextOverlayPosition_i(i);
        if (text != LO_NULL && position != FL_NULL) {
            std::printf("  text \"%s\" at row %g, column %g", IodFormatValue(text).c_str(),
                        static_cast<double>(position.Get(0)), static_cast<double>(position.Get(1)));
        } else {
            std::printf("  graphic");
        }
        std::printf("  rows %s  columns %s\n", Text(msg, At(Dicom_Tag(kOverlays, 0x0010), i)).c_str(),
                    Text(msg, At(Dicom_Tag(kOverlays, 0x0011), i)).c_str());
    }
    std::printf("  first free index: %d\n", msg.GetOverlayIndex());
}

// The curves of `msg`, then those of each item of its additional curves, depth first.
// `firstFree`: the message's first free index, printed unless it is below -1 (items).
void ListCurves(const Dicom_Msg& msg, const std::string& title, const std::string& path, int firstFree) {
    const std::set<int> indexes = IndexesOf(msg, kCurves);
    std::printf("%s: %zu\n", title.c_str(), indexes.size());
    for (int i : indexes) {
        std::printf("  index %d  group %04x  type %s  dimensions %s  points %s  data %s\n", i,
                    kCurves + 2 * i, Text(msg, At(Dicom_Tag(kCurves, 0x0020), i)).c_str(),
                    Text(msg, At(Dicom_Tag(kCurves, 0x0005), i)).c_str(),
                    Text(msg, At(Dicom_Tag(kCurves, 0x0010), i)).c_str(), DataVR(msg, i).c_str());
    }
    if (firstFree >= -1) std::printf("  first free index: %d\n", firstFree);
    const Dicom_Type* more = msg.Get(Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE);
    if (more == nullptr || more->GetVR() != Dicom_VR::SQ) return;
    const Dicom_SQ* items = static_cast<const Dicom_SQ*>(more);
    for (int k = 0; k < items->GetNItems(); ++k) {
        const std::string itemPath = path + (path.empty() ? "" : ".") + std::to_string(k + 1);
        if (const Dicom_Msg* item = items->GetItem(k))
            ListCurves(*item, "Additional curves item " + itemPath, itemPath, -2);
    }
}

// "0".."127" -> the index, or -1.
int ParseIndex(const char* text) {
    char* end = nullptr;
    errno = 0;
    const long n = std::strtol(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || n < 0 || n > 127) return -1;
    return static_cast<int>(n);
}

int Usage(const char* problem, const char* arg) {
    if (problem != nullptr)
        std::fprintf(stderr, "iodtool overlays: %s%s%s\n", problem, arg ? " " : "", arg ? arg : "");
    std::fputs(kUsage, stderr);
    return 2;
}

int RunOverlays(int argc, char** argv) {
    const char* paths[2] = {nullptr, nullptr};
    int npaths = 0;
    std::string action;
    int index = -1;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--remove" || arg == "--remove-curve") {
            if (i + 1 >= argc) return Usage("missing index after", argv[i]);
            index = ParseIndex(argv[++i]);
            if (index < 0) return Usage("an index is 0 to 127, not", argv[i]);
        } else if (arg != "--remove-texts" && arg != "--clear") {
            if (arg.size() > 1 && arg[0] == '-') return Usage("unknown option", argv[i]);
            if (npaths == 2) return Usage("too many arguments", nullptr);
            paths[npaths++] = argv[i];
            continue;
        }
        if (!action.empty()) return Usage("one change at a time:", argv[i]);
        action = arg;
    }
    if (npaths == 0 || (npaths == 1) != action.empty()) return Usage(nullptr, nullptr);

    std::vector<unsigned char> bytes;
    const std::unique_ptr<IOD_Msg> loaded = IodLoadMessage("overlays", paths[0], bytes, npaths == 2);
    if (!loaded) return 1;
    IOD_Msg& msg = *loaded;
    if (npaths == 1) {
        ListOverlays(msg);
        ListCurves(msg, "Curves (50xx)", "", msg.GetCurveIndex());
        return 0;
    }
    if (action == "--remove" || action == "--remove-curve") {
        const unsigned short family = action == "--remove" ? kOverlays : kCurves;
        msg.RemoveGroupIndex(index, family);
        msg.UpdateGroupIndex(index, family);
    } else if (action == "--remove-texts") {
        msg.RemoveOverlayTexts();
    } else {
        msg.RemoveOverlaysAndCurves();
    }
    return IodSaveMessage("overlays", msg, msg.GetTransferSyntax(), IodIsFileImage(bytes), paths[1]) ? 0 : 1;
}

}  // namespace

IODTOOL_COMMAND(
    "overlays",
    "overlays <file> | overlays <in> <out> --remove N | --remove-curve N | --remove-texts | --clear",
    "List the overlay (60xx) and curve (50xx) indexes of a DICOM file: overlay type, text or graphic "
    "(with the string and position of a text overlay), rows and columns; curve type, dimensions, "
    "points and data VR, also in nested additional-curves items. With <in> <out>: write a copy "
    "without overlay index N (--remove) or curve index N (--remove-curve), the indexes above moving "
    "down by one; without the text overlays (--remove-texts); or without any overlay or curve group "
    "(--clear). <out> is written atomically in the syntax <in> was read in.",
    RunOverlays)
