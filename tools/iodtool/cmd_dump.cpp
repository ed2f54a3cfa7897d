// iodtool dump: print the data set of a DICOM file, one element a line (see DumpFormat.h), or
// as the Native DICOM Model XML (--xml) or DICOM JSON (--json).
#include <Dicom/Dicom_Msg.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

constexpr const char* kUsage =
    "usage: iodtool dump [--no-meta] [--max-length N] [--xml | --json [--bulk-limit N]] <file>\n";

// The bytes of a file, mapped read-only (the message reads them in place: a large pixel data
// value is never touched), or read whole when the file cannot be mapped.
class InputFile {
public:
    ~InputFile() {
        if (m_map) ::munmap(m_map, m_size);
    }
    bool Open(const char* path, std::string* error) {
        const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
        struct stat info {};
        if (fd >= 0 && ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
            void* p = ::mmap(nullptr, static_cast<size_t>(info.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
            if (p != MAP_FAILED) {
                m_map = p;
                m_size = static_cast<size_t>(info.st_size);
            }
        }
        if (fd >= 0) ::close(fd);
        if (m_map) return true;
        if (!IodReadFileBytes(path, m_bytes, error)) return false;
        m_size = m_bytes.size();
        return true;
    }
    void* Data() { return m_map ? m_map : m_bytes.data(); }
    size_t Size() const { return m_size; }

private:
    void* m_map = nullptr;
    size_t m_size = 0;
    std::vector<unsigned char> m_bytes;
};

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
    enum { TEXT, XML, JSON } format = TEXT;
    size_t bulkLimit = static_cast<size_t>(-1);
    bool bulkLimitGiven = false;
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
        } else if (arg == "--xml" || arg == "--json") {
            if (format != TEXT) {
                std::fprintf(stderr, "iodtool dump: one output format at a time\n%s", kUsage);
                return 2;
            }
            format = arg == "--xml" ? XML : JSON;
        } else if (arg == "--bulk-limit") {
            if (i + 1 >= argc || !ParseCount(argv[i + 1], &bulkLimit)) {
                std::fprintf(stderr, "iodtool dump: --bulk-limit needs a byte count\n%s", kUsage);
                return 2;
            }
            bulkLimitGiven = true;
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
    if (bulkLimitGiven && format != JSON) {
        std::fprintf(stderr, "iodtool dump: --bulk-limit goes with --json\n%s", kUsage);
        return 2;
    }

    InputFile input;
    std::string error;
    if (!input.Open(path, &error)) {
        std::fprintf(stderr, "iodtool dump: %s\n", error.c_str());
        return 1;
    }
    int status = 0;
    Dicom_Msg msg(input.Data(), input.Size(), 0, &status);
    if (status != 0 && msg.GetNElements() == 0) {
        std::fprintf(stderr, "iodtool dump: %s: not a DICOM file (no element could be read)\n", path);
        return 1;
    }

    int written = 0;
    if (format == XML) {
        written = msg.ExportToXml(DICOM_XML_PRINT_VALUES, stdout);
    } else if (format == JSON) {
        written = msg.ExportToJson(stdout, bulkLimit);
    } else {
        std::string out;
        IodDumpMessage(msg, options, out, stdout);
        std::fwrite(out.data(), 1, out.size(), stdout);
    }
    if (written != 0 || std::fflush(stdout) != 0) {
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
    "dump", "dump [--no-meta] [--max-length N] [--xml | --json [--bulk-limit N]] <file>",
    "Print the meta group and the data set of a DICOM file, one element a line (tag, VR, value, "
    "length, multiplicity, keyword), items indented. Values longer than N characters (default 64; "
    "0: no limit) are cut with '...'. --xml writes the Native DICOM Model XML instead, --json the "
    "DICOM JSON model of the data set (--bulk-limit N: byte strings longer than N bytes are left "
    "out). Exits 1 when the file cannot be read or parsed in full (what was read is printed all "
    "the same).",
    RunDump)
