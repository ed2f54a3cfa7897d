// iodtool mammo: how mammography images hang and group, and the configured tag parsing.
#include <CFG/CFG.h>
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Msg.h>
#include <IOD/IOD_TomosynthesisHelper.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "Command.h"
#include "FileBytes.h"

namespace {

constexpr const char* kUsage = "usage: iodtool mammo <file>... [--config <file>] [--update <out>]\n";
constexpr const char* kRulesPath = "lumivest\\system\\applications\\carbonell\\tag_parsing";

std::string TextOf(const IOD_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* v = msg.Get(tag);
    const std::string text = v != nullptr ? v->ToString() : std::string();
    return text.empty() ? "-" : text;
}

std::string OrDash(const std::string& text) { return text.empty() ? "-" : text; }

void Report(const char* path, IOD_Msg& msg) {
    bool horizontal = false, vertical = false;
    IOD_TomosynthesisHelper::Mammo_Side side = IOD_TomosynthesisHelper::UNKNOWN;
    IOD_TomosynthesisHelper::CalculateMammoFlip(&msg, &horizontal, &vertical, &side);
    const char* flips = horizontal && vertical ? "horizontal, vertical"
                        : horizontal           ? "horizontal"
                        : vertical             ? "vertical"
                                               : "none";
    const IOD_MG_Grouptype group = IOD_TomosynthesisHelper::GetMammoDisplayInfo(&msg);
    const std::string groupText = IOD_TomosynthesisHelper::GetMammoDisplayInfoText(&msg);
    // The orientation that the flips were decided on.
    const Dicom_Type* kovel = msg.Get(Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION);
    const bool fromKovel = kovel != nullptr && *kovel != CS_NULL;
    const std::string orientation = TextOf(
        msg, fromKovel ? Dicom_Dictionary::KOVEL_PATIENT_ORIENTATION : Dicom_Dictionary::PATIENT_ORIENTATION);

    std::printf("%s\n", path);
    std::printf("  side:          %s\n", IOD_TomosynthesisHelper::GetMammoSideText(side));
    std::printf("  flips:         %s\n", flips);
    std::printf("  orientation:   %s%s\n", orientation.c_str(),
                fromKovel ? " (KOVEL_PATIENT_ORIENTATION)" : "");
    std::printf("  display group: %d%s%s\n", static_cast<int>(group), groupText.empty() ? "" : " ",
                groupText.c_str());
    std::printf("  marker:        %s\n", TextOf(msg, Dicom_Dictionary::KOVEL_IS_MG).c_str());
    std::printf("  laterality:    %s\n", OrDash(IOD_TomosynthesisHelper::GetLaterality(&msg)).c_str());
    std::printf("  view:          %s\n", OrDash(IOD_TomosynthesisHelper::GetViewPosition(&msg)).c_str());
    std::printf("  description:   %s\n", OrDash(IOD_TomosynthesisHelper::GetFullDescription(&msg)).c_str());
}

// The repository the update will use, checked before any file is touched; false with a
// message on standard error when it cannot be used.
bool CheckRepository() {
    const char* file = std::getenv("IOD_CONFIG");
    if (file == nullptr || *file == '\0') {
        std::fprintf(stderr,
                     "iodtool mammo: --update needs a configuration repository: give --config <file> or "
                     "set IOD_CONFIG\n");
        return false;
    }
    RWCString error;
    std::unique_ptr<CFG_RepositoryServices> services = CFG_RepositoryServices::Load(file, &error);
    if (!services) {
        std::fprintf(stderr, "iodtool mammo: configuration repository %s: %s\n", file, error.c_str());
        return false;
    }
    CFG_SubTree* rules = services->GetSubTree(kRulesPath);
    if (rules == nullptr || rules->GetChildren("").entries() == 0) {
        std::fprintf(stderr, "iodtool mammo: configuration repository %s: no parsing rules under %s\n", file,
                     kRulesPath);
        return false;
    }
    return true;
}

int RunMammo(int argc, char** argv) {
    std::vector<const char*> files;
    const char* config = nullptr;
    const char* update = nullptr;
    for (int i = 1; i < argc; ++i) {
        const bool takesValue =
            std::strcmp(argv[i], "--config") == 0 || std::strcmp(argv[i], "--update") == 0;
        if (takesValue) {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "iodtool mammo: %s needs a value\n%s", argv[i], kUsage);
                return 2;
            }
            (std::strcmp(argv[i], "--config") == 0 ? config : update) = argv[i + 1];
            ++i;
        } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
            std::fprintf(stderr, "iodtool mammo: unknown option '%s'\n%s", argv[i], kUsage);
            return 2;
        } else {
            files.push_back(argv[i]);
        }
    }
    if (files.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (update != nullptr && files.size() != 1) {
        std::fprintf(stderr, "iodtool mammo: --update takes exactly one input file\n%s", kUsage);
        return 2;
    }
    // The library reads the repository named by IOD_CONFIG on its first use.
    if (config != nullptr) ::setenv("IOD_CONFIG", config, 1);
    if (update != nullptr && !CheckRepository()) return 1;

    int exitCode = 0;
    for (size_t i = 0; i < files.size(); ++i) {
        if (i > 0) std::printf("\n");
        std::vector<unsigned char> bytes;
        std::string error;
        if (!IodReadFileBytes(files[i], bytes, &error)) {
            std::fprintf(stderr, "iodtool mammo: %s\n", error.c_str());
            exitCode = 1;
            continue;
        }
        if (bytes.size() > std::numeric_limits<unsigned int>::max()) {
            std::fprintf(stderr, "iodtool mammo: %s: larger than 4 GiB\n", files[i]);
            exitCode = 1;
            continue;
        }
        int status = 0;
        IOD_Msg msg(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
        if (status != 0) {
            std::fprintf(stderr, "iodtool mammo: %s: not a DICOM file, or truncated or malformed\n",
                         files[i]);
            exitCode = 1;
            continue;
        }
        if (update != nullptr) {
            const int result = IOD_TomosynthesisHelper::UpdateMammoIODUsingTagsParsing(&msg);
            if (result != 0) {
                std::fprintf(stderr,
                             "iodtool mammo: %s: the tag parsing could not store its result (%d); nothing "
                             "written\n",
                             files[i], result);
                return 1;
            }
        }
        Report(files[i], msg);
        if (update != nullptr) {
            const bool fileImage = bytes.size() >= 132 && std::memcmp(bytes.data() + 128, "DICM", 4) == 0;
            std::vector<unsigned char> out;
            if (msg.Encode(out, Dicom_TransferSyntax(), fileImage) != 0) {
                std::fprintf(stderr,
                             "iodtool mammo: %s: the updated data set cannot be encoded; nothing written\n",
                             files[i]);
                return 1;
            }
            if (!IodWriteFileAtomically(update, out, &error)) {
                std::fprintf(stderr, "iodtool mammo: %s\n", error.c_str());
                return 1;
            }
        }
    }
    return exitCode;
}

}  // namespace

IODTOOL_COMMAND("mammo", "mammo <file>... [--config <file>] [--update <out>]",
                "Print how each mammography image hangs (side, flips, the orientation used), its display "
                "group, laterality and view labels. With --update (one input file), first apply the tag "
                "parsing rules of the configuration repository (--config <file>, else IOD_CONFIG) and write "
                "the updated file to <out>.",
                RunMammo)
