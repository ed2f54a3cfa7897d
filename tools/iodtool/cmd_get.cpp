// iodtool get: print attributes of a DICOM file by their accessor names.
#include <IOD/IOD_AttributeRegistry.h>
#include <IOD/IOD_Msg.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Command.h"

namespace {

int RunGet(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: iodtool get <file> <name>[:group]...\n");
        return 2;
    }
    // Resolve every name first, so that a typo fails before the file is read.
    struct Request {
        std::string name;
        const IOD_AttributeInfo* info;
        int group;
    };
    std::vector<Request> requests;
    for (int i = 2; i < argc; ++i) {
        std::string error;
        int group = 0;
        const IOD_AttributeInfo* info = IOD_AttributeRegistry::ParseName(argv[i], &group, &error);
        if (info == nullptr) {
            std::fprintf(stderr, "iodtool get: %s\n", error.c_str());
            return 2;
        }
        requests.push_back({argv[i], info, group});
    }

    std::ifstream in(argv[1], std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "iodtool get: cannot read %s\n", argv[1]);
        return 1;
    }
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    int status = 0;
    IOD_Msg msg(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    if (status != 0) std::fprintf(stderr, "iodtool get: %s: not all of the file could be parsed\n", argv[1]);

    for (const Request& request : requests) {
        if (!IOD_AttributeRegistry::IsPresent(msg, *request.info, request.group)) {
            std::printf("%s: absent\n", request.name.c_str());
            continue;
        }
        const std::string text = IOD_AttributeRegistry::FormatValue(*request.info->get(msg, request.group));
        std::printf("%s = %s\n", request.name.c_str(), text.c_str());
    }
    return status != 0 ? 1 : 0;
}

}  // namespace

IODTOOL_COMMAND("get", "get <file> <name>[:group]...",
                "Print attributes by their accessor names (PatientsName, Rows, Rows_i:2 for overlay group 2, "
                "MsgLength); absent attributes print 'absent'.",
                RunGet)
