// iodtool deidentify: mask the patient's name and ID as the library does, and optionally stamp
// a new SOP instance.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "MsgFileIO.h"

namespace {

constexpr const char* kUsage = "usage: iodtool deidentify <in> <out> [--new-instance]\n";

int RunDeidentify(int argc, char** argv) {
    const char* paths[2] = {nullptr, nullptr};
    int npaths = 0;
    bool newInstance = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--new-instance") == 0) {
            newInstance = true;
        } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
            std::fprintf(stderr, "iodtool deidentify: unknown option '%s'\n%s", argv[i], kUsage);
            return 2;
        } else if (npaths < 2) {
            paths[npaths++] = argv[i];
        } else {
            std::fprintf(stderr, "iodtool deidentify: too many arguments\n%s", kUsage);
            return 2;
        }
    }
    if (npaths != 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }

    std::vector<unsigned char> bytes;
    std::unique_ptr<IOD_Msg> msg = IodLoadMessage("deidentify", paths[0], bytes);
    if (!msg) return 1;
    if (msg->HideClassifideDetailes() != 0) {
        std::fprintf(stderr, "iodtool deidentify: %s: the patient's name or ID could not be replaced\n",
                     paths[0]);
        return 1;
    }
    if (newInstance) {
        const Dicom_UI sopClass = msg->GetSOPClassUID();
        if (sopClass == UI_NULL) {
            std::fprintf(stderr,
                         "iodtool deidentify: %s: no SOP Class UID, so no new instance can be stamped\n",
                         paths[0]);
            return 1;
        }
        if (msg->SetSopCommonModule(sopClass, 1) != 0) {
            std::fprintf(stderr, "iodtool deidentify: %s: the new SOP instance could not be set\n", paths[0]);
            return 1;
        }
    }
    if (!IodSaveMessage("deidentify", *msg, msg->GetWriteTransferSyntax(), IodIsFileImage(bytes), paths[1]))
        return 1;
    if (newInstance) std::printf("SOP Instance UID: %s\n", msg->GetSOPInstanceUID().ToString().c_str());
    return 0;
}

}  // namespace

IODTOOL_COMMAND(
    "deidentify", "deidentify <in> <out> [--new-instance]",
    "Write a copy of <in> with the library's identity masking: Patient's Name becomes its initials "
    "and Patient ID an HMAC-SHA-256 keyed hash (key: the environment variable IOD_DEID_KEY; set it "
    "per site). With --new-instance it is also stamped as a new SOP instance: new SOP Instance UID "
    "(printed), instance creation date and time. This is NOT a full de-identification profile: "
    "birth date, other names, addresses, dates, UIDs, private attributes and burned-in text are "
    "left as they are.",
    RunDeidentify)
