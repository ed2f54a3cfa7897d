// iodtool set: write attributes of a DICOM file by their accessor names.
#include <IOD/IOD_AttributeRegistry.h>
#include <IOD/IOD_Msg.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"

namespace {

struct Assignment {
    std::string name;
    const IOD_AttributeInfo* info;
    int group;
    std::unique_ptr<Dicom_Type> value;
};

// "Name[:group]=text" -> the attribute and a value of its class.
bool ParseAssignment(const char* arg, Assignment* out, std::string* error) {
    const char* equals = std::strchr(arg, '=');
    if (equals == nullptr) {
        *error = std::string("expected NAME=VALUE, got '") + arg + "'";
        return false;
    }
    out->name.assign(arg, equals);
    out->info = IOD_AttributeRegistry::ParseName(out->name, &out->group, error);
    if (out->info == nullptr) return false;
    out->value = IOD_AttributeRegistry::ParseValue(*out->info, equals + 1, error);
    return out->value != nullptr;
}

bool IsFileImage(const std::vector<unsigned char>& bytes) {
    return bytes.size() >= 132 && std::memcmp(bytes.data() + 128, "DICM", 4) == 0;
}

int RunSet(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: iodtool set <in> <out> <name>[:group]=<value>...\n");
        return 2;
    }
    std::vector<Assignment> assignments(static_cast<size_t>(argc - 3));
    for (int i = 3; i < argc; ++i) {
        std::string error;
        if (!ParseAssignment(argv[i], &assignments[static_cast<size_t>(i - 3)], &error)) {
            std::fprintf(stderr, "iodtool set: %s\n", error.c_str());
            return 2;
        }
    }

    std::ifstream in(argv[1], std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "iodtool set: cannot read %s\n", argv[1]);
        return 1;
    }
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    int status = 0;
    IOD_Msg msg(bytes.data(), static_cast<unsigned int>(bytes.size()), 1, &status);
    if (status != 0) {
        std::fprintf(stderr, "iodtool set: %s could not be parsed\n", argv[1]);
        return 1;
    }

    for (const Assignment& assignment : assignments) {
        if (assignment.info->set(msg, assignment.group, *assignment.value) != 0) {
            std::fprintf(stderr, "iodtool set: could not set %s\n", assignment.name.c_str());
            return 1;
        }
    }

    // Written in the syntax it was read in, as a file image when it was read as one.
    std::vector<unsigned char> encoded;
    if (msg.Encode(encoded, Dicom_TransferSyntax(), IsFileImage(bytes)) != 0) {
        std::fprintf(stderr, "iodtool set: the changed data set cannot be encoded\n");
        return 1;
    }
    std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(encoded.data()), static_cast<std::streamsize>(encoded.size()));
    if (!out.flush()) {
        std::fprintf(stderr, "iodtool set: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}

}  // namespace

IODTOOL_COMMAND("set", "set <in> <out> <name>[:group]=<value>...",
                "Write attributes by their accessor names (AccessionNumber=A123, Rows_i:1=256; a backslash "
                "separates the values of a multi-valued attribute) and save the result to <out>.",
                RunSet)
