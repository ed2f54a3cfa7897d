// iodtool dump: print the data set of a DICOM file, one element a line (see DumpFormat.h).
#include <Dicom/Dicom_Msg.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Command.h"
#include "DumpFormat.h"
#include "FileBytes.h"

namespace {

constexpr const char* kUsage = "usage: iodtool dump [--no-meta] [--max-length N] <file>\n";

// A non-negative decimal count; false for anything else.
bool ParseCount(const char* text, size_t* out) {
    if (text == nullptr || *text == '\0') return false;
    char* end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (errno != 0 || *end != '\0' || text[0] == '-') return false;
    *out = static_cast<size_t>(value);
    return true;
}

int RunDump(int argc, char** argv) {
    IodDumpOptions options;
    const char* path = nullptr;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--no-meta") {
            options.meta = false;
        } else if (arg == "--max-length") {
            if (i + 1 >= argc || !ParseCount(argv[i + 1], &options.maxLength)) {
                std::fprintf(stderr, "iodtool dump: --max-length needs a count (0: no limit)\n%s", kUsage);
                return 2;
            }
            ++i;
        } else if (arg.size() > 1 && arg[0] == '-') {
            std::fprintf(stderr, "iodtool dump: unknown option '%s'\n%s", argv[i], kUsage);
            return 2;
        } else if (path == nullptr) {
            path = argv[i];
        } else {
            std::fprintf(stderr, "iodtool dump: one file at a time\n%s", kUsage);
            return 2;
        }
    }
    if (path == nullptr) {
        std::fputs(kUsage, stderr);
        return 2;
    }

    std::vector<unsigned char> bytes;
    std::string error;
    if (!IodReadFileBytes(path, bytes, &error)) {
        std::fprintf(stderr, "iodtool dump: %s\n", error.c_str());
        return 1;
    }
    int status = 0;
    Dicom_Msg msg(bytes.data(), bytes.size(), 0, &status);
    if (status != 0 && msg.GetNElements() == 0) {
        std::fprintf(stderr, "iodtool dump: %s: not a DICOM file (no element could be read)\n", path);
        return 1;
    }

    std::string out;
    IodDumpMessage(msg, options, out);
    std::fwrite(out.data(), 1, out.size(), stdout);
    if (std::fflush(stdout) != 0) {
        std::fprintf(stderr, "iodtool dump: cannot write the output: %s\n", std::strerror(errno));
        return 1;
    }
    if (status != 0) {
        std::fprintf(stderr,
                     "iodtool dump: %s: the file is truncated or malformed; the elements above are those "
                     "read before the fault\n",
                     path);
        return 1;
    }
    return 0;
}

}  // namespace

IODTOOL_COMMAND(
    "dump", "dump [--no-meta] [--max-length N] <file>",
    "Print the meta group and the data set of a DICOM file, one element a line (tag, VR, value, "
    "length, multiplicity, keyword), items indented. Values longer than N characters (default 64; "
    "0: no limit) are cut with '...'. Exits 1 when the file cannot be read or parsed in full "
    "(what was read is printed all the same).",
    RunDump)
