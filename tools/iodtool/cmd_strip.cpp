// iodtool strip: write a copy of a DICOM file without its pixel data, without chosen attributes,
// with chosen attributes only, without the overlay or curve groups, or without the VOI LUT module.
#include <Dicom/Dicom_ME.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage =
    "usage: iodtool strip <in> <out> [--pixel-data] [--tag NAME|gggg,eeee]... [--keep NAME|gggg,eeee]... "
    "[--group 6000|5000]... [--voi]\n";

int Usage(const char* problem, const char* argument) {
    if (problem != nullptr) std::fprintf(stderr, "iodtool strip: %s%s\n", problem, argument);
    std::fputs(kUsage, stderr);
    return 2;
}

// The tags of --keep as the message stores them, private data elements in their unresolved form
// (as Clone(tags) compares them), plus the file meta group, which the output file needs.
std::vector<Dicom_Tag> KeepList(const IOD_Msg& msg, const std::vector<Dicom_Tag>& named) {
    std::vector<Dicom_Tag> keep;
    for (const Dicom_Tag& tag : named) {
        const Dicom_ME* element = msg.Find(tag, false);
        Dicom_Tag stored = element != nullptr ? element->GetTag() : tag;
        keep.push_back(stored.Unresolve());
    }
    for (int i = 0; i < msg.GetNElements(); ++i) {
        const Dicom_Tag& tag = msg.GetElement(i)->GetTag();
        if (tag.GetGroup() == 0x0002) keep.push_back(tag);
    }
    return keep;
}

int RunStrip(int argc, char** argv) {
    const char* paths[2] = {nullptr, nullptr};
    int npaths = 0;
    bool pixelData = false, voi = false;
    std::vector<Dicom_Tag> removed, kept;
    std::vector<unsigned short> groups;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--pixel-data") {
            pixelData = true;
        } else if (arg == "--voi") {
            voi = true;
        } else if (arg == "--tag" || arg == "--keep" || arg == "--group") {
            if (i + 1 >= argc) return Usage("missing value after ", argv[i]);
            const std::string value = argv[++i];
            if (arg == "--group") {
                if (value != "6000" && value != "5000")
                    return Usage("--group takes 6000 (overlays) or 5000 (curves), not ", value.c_str());
                groups.push_back(value == "6000" ? 0x6000 : 0x5000);
                continue;
            }
            Dicom_Tag tag;
            std::string error;
            if (!IodParseTag(value, &tag, &error)) {
                std::fprintf(stderr, "iodtool strip: %s\n", error.c_str());
                return 2;
            }
            (arg == "--tag" ? removed : kept).push_back(tag);
        } else if (arg.size() > 1 && arg[0] == '-') {
            return Usage("unknown option ", argv[i]);
        } else if (npaths < 2) {
            paths[npaths++] = argv[i];
        } else {
            return Usage("too many arguments", "");
        }
    }
    if (npaths != 2) return Usage(nullptr, nullptr);
    if (!pixelData && !voi && removed.empty() && kept.empty() && groups.empty())
        return Usage("nothing to strip: give at least one of --pixel-data, --tag, --keep, --group, --voi",
                     "");

    std::vector<unsigned char> bytes;
    std::unique_ptr<IOD_Msg> msg = IodLoadMessage("strip", paths[0], bytes);
    if (!msg) return 1;
    const Dicom_TransferSyntax syntax = msg->GetWriteTransferSyntax();

    if (!kept.empty()) {
        std::vector<Dicom_Tag> keep = KeepList(*msg, kept);
        RWTPtrSlist<Dicom_Tag> list;
        for (Dicom_Tag& tag : keep) list.append(&tag);
        msg.reset(msg->Clone(list));
    }
    if (msg && (pixelData || !removed.empty())) {
        RWTValOrderedVector<Dicom_Tag> tags;
        for (const Dicom_Tag& tag : removed) tags.append(tag);
        msg.reset(pixelData ? (removed.empty() ? msg->CloneWithoutPD() : msg->CloneWithoutPDAndTags(tags))
                            : msg->CloneWithoutTags(tags));
    }
    if (!msg) {
        std::fprintf(stderr, "iodtool strip: %s: the copy could not be made; nothing written\n", paths[0]);
        return 1;
    }
    for (unsigned short group : groups) msg->ClearGroup(group);
    if (voi) msg->RemoveMsgVoiModule();
    return IodSaveMessage("strip", *msg, syntax, IodIsFileImage(bytes), paths[1]) ? 0 : 1;
}

}  // namespace

IODTOOL_COMMAND("strip",
                "strip <in> <out> [--pixel-data] [--tag NAME|gggg,eeee]... [--keep NAME|gggg,eeee]... "
                "[--group 6000|5000]... [--voi]",
                "Write a copy of <in> without its pixel data (--pixel-data: (7FE0,0010) and the private "
                "compressed and encrypted pixel data), without the named attributes (--tag), with only the "
                "named attributes (--keep; private creators and the file meta group are kept), without the "
                "overlay (6000) or curve (5000) groups (--group), or without the VOI LUT module (--voi). "
                "--keep applies first, then --pixel-data and --tag, then --group and --voi. Names are "
                "accessor names as get and set take them (PatientsName, Rows_i:1, MsgLength), DICOM keywords "
                "or gggg,eeee. The output keeps the input's transfer syntax and is replaced atomically.",
                RunStrip)
