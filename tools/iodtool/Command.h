// tools/iodtool/Command.h: how iodtool subcommands register themselves.
//
// To add a subcommand, drop a file tools/iodtool/cmd_<name>.cpp (the build
// picks up every .cpp there) with a run function and one registration:
//
//   #include "Command.h"
//
//   namespace {
//   int RunDump(int argc, char** argv) {   // argv[0] is "dump", argv[1..] its arguments
//       ...
//       return 0;                          // the process exit code
//   }
//   }  // namespace
//
//   IODTOOL_COMMAND("dump", "dump <file>", "Print the data set of a DICOM file.", RunDump);
//
// Conventions: results go to stdout, diagnostics to stderr; exit 0 on
// success, 1 on failure, 2 on bad usage (print the usage line to stderr).
// `iodtool help <name>` and `iodtool <name> --help` print the usage and help
// lines. An exception that leaves run() is reported and exits 1.
#pragma once

#include <vector>

struct IodtoolCommand {
    const char* name;   // the subcommand word, e.g. "dump"
    const char* usage;  // arguments synopsis, e.g. "dump [--level N] <file>"
    const char* help;   // one or a few sentences
    int (*run)(int argc, char** argv);
};

// All registered commands, in registration order.
inline std::vector<IodtoolCommand>& IodtoolRegistry() {
    static std::vector<IodtoolCommand> commands;
    return commands;
}

struct IodtoolRegistrar {
    explicit IodtoolRegistrar(const IodtoolCommand& command) { IodtoolRegistry().push_back(command); }
};

#define IODTOOL_CONCAT_INNER(a, b) a##b
#define IODTOOL_CONCAT(a, b) IODTOOL_CONCAT_INNER(a, b)

// Registers a command at static-initialisation time.
#define IODTOOL_COMMAND(name, usage, help, fn)                                              \
    namespace {                                                                             \
    const IodtoolRegistrar IODTOOL_CONCAT(iodtoolRegistrar_,                                \
                                          __LINE__){IodtoolCommand{name, usage, help, fn}}; \
    }
