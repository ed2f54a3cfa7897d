// iodtool set: write attributes of a DICOM file by their accessor names.
//
// The file is parsed without copying (its values point into the bytes read) and the changes are
// laid over it with an IOD_Complex: however large the pixel data, it is not copied while the
// file is edited, only once into the encoding, which is written atomically.
#include <IOD/IOD_AttributeRegistry.h>
#include <IOD/IOD_Complex.h>
#include <IOD/IOD_Msg.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Command.h"
#include "FileBytes.h"

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

    std::vector<unsigned char> bytes;
    std::string error;
    if (!IodReadFileBytes(argv[1], bytes, &error)) {
        std::fprintf(stderr, "iodtool set: %s\n", error.c_str());
        return 1;
    }
    if (bytes.size() > UINT_MAX) {
        std::fprintf(stderr, "iodtool set: %s is too large\n", argv[1]);
        return 1;
    }
    int status = 0;
    // copy 0: `bytes` outlives the message and the composite.
    Kvl_AutoPtr<IOD_Msg> original(
        new IOD_Msg(bytes.data(), static_cast<unsigned int>(bytes.size()), 0, &status));
    if (status != 0) {
        std::fprintf(stderr, "iodtool set: %s could not be parsed\n", argv[1]);
        return 1;
    }
    IOD_Complex changes(original);

    for (const Assignment& assignment : assignments) {
        if (assignment.info->set(changes, assignment.group, *assignment.value) != 0) {
            std::fprintf(stderr, "iodtool set: could not set %s\n", assignment.name.c_str());
            return 1;
        }
    }

    // Written in the syntax it was read in, as a file image when it was read as one.
    std::vector<unsigned char> encoded;
    if (changes.Encode(encoded, Dicom_TransferSyntax(), IsFileImage(bytes)) != 0) {
        std::fprintf(stderr, "iodtool set: the changed data set cannot be encoded\n");
        return 1;
    }
    if (!IodWriteFileAtomically(argv[2], encoded, &error)) {
        std::fprintf(stderr, "iodtool set: %s\n", error.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

IODTOOL_COMMAND("set", "set <in> <out> <name>[:group]=<value>...",
                "Write attributes by their accessor names (AccessionNumber=A123, Rows_i:1=256; a backslash "
                "separates the values of a multi-valued attribute) and save the result to <out>.",
                RunSet)
