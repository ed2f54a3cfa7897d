// iodtool: command-line front end of the IOD libraries.
//
//   iodtool                      usage and the list of commands
//   iodtool help [command]       the same, or one command's help
//   iodtool --version            version
//   iodtool <command> [args...]  run a command (see Command.h)
#include <Kvl/Kvl_Version.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "Command.h"

namespace {

std::vector<IodtoolCommand> SortedCommands() {
    std::vector<IodtoolCommand> commands = IodtoolRegistry();
    std::stable_sort(commands.begin(), commands.end(), [](const IodtoolCommand& a, const IodtoolCommand& b) {
        return std::strcmp(a.name, b.name) < 0;
    });
    return commands;
}

const IodtoolCommand* FindCommand(const char* name) {
    for (const IodtoolCommand& command : IodtoolRegistry()) {
        if (std::strcmp(command.name, name) == 0) return &command;
    }
    return nullptr;
}

void PrintUsage(std::FILE* out) {
    std::fprintf(out,
                 "iodtool %s: typed DICOM IODs, command-line tool\n"
                 "\n"
                 "usage: iodtool <command> [arguments]\n"
                 "       iodtool help [<command>]\n"
                 "       iodtool --version\n"
                 "\n"
                 "commands:\n",
                 Kvl_Version::GetVersionString());
    const std::vector<IodtoolCommand> commands = SortedCommands();
    size_t width = 4;
    for (const IodtoolCommand& command : commands) width = std::max(width, std::strlen(command.name));
    std::fprintf(out, "  %-*s  %s\n", static_cast<int>(width), "help",
                 "Show this list, or the help of a command.");
    for (const IodtoolCommand& command : commands) {
        std::fprintf(out, "  %-*s  %s\n", static_cast<int>(width), command.name, command.help);
    }
}

void PrintCommandHelp(const IodtoolCommand& command) {
    std::printf("usage: iodtool %s\n\n%s\n", command.usage, command.help);
}

bool IsHelpOption(const char* arg) { return std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0; }

int UnknownCommand(const char* name) {
    std::fprintf(stderr, "iodtool: unknown command '%s'; run 'iodtool help' for the list of commands\n",
                 name);
    return 2;
}

int Run(int argc, char** argv) {
    // Two registrations of one name are a build mistake: refuse to guess.
    const std::vector<IodtoolCommand> commands = SortedCommands();
    for (size_t i = 1; i < commands.size(); ++i) {
        if (std::strcmp(commands[i - 1].name, commands[i].name) == 0) {
            std::fprintf(stderr, "iodtool: internal error: command '%s' is registered twice\n",
                         commands[i].name);
            return 70;
        }
    }

    if (argc < 2) {
        PrintUsage(stdout);
        return 0;
    }
    const char* word = argv[1];
    if (std::strcmp(word, "--version") == 0 || std::strcmp(word, "-V") == 0) {
        std::printf("iodtool %s\n", Kvl_Version::GetVersionString());
        return 0;
    }
    if (std::strcmp(word, "help") == 0 || IsHelpOption(word)) {
        if (argc < 3) {
            PrintUsage(stdout);
            return 0;
        }
        const IodtoolCommand* command = FindCommand(argv[2]);
        if (command == nullptr) return UnknownCommand(argv[2]);
        PrintCommandHelp(*command);
        return 0;
    }
    if (word[0] == '-') {
        std::fprintf(stderr, "iodtool: unknown option '%s'; run 'iodtool help'\n", word);
        return 2;
    }

    const IodtoolCommand* command = FindCommand(word);
    if (command == nullptr) return UnknownCommand(word);
    if (argc >= 3 && IsHelpOption(argv[2])) {
        PrintCommandHelp(*command);
        return 0;
    }
    try {
        return command->run(argc - 1, argv + 1);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "iodtool %s: error: %s\n", command->name, e.what());
    } catch (...) {
        std::fprintf(stderr, "iodtool %s: error: unknown exception\n", command->name);
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const int rc = Run(argc, argv);
    // A command has finished its work (files written and renamed, threads joined) when it
    // returns; what exit() would still do is flush the standard streams and run the destructors
    // of the libraries' static objects, which only free memory and touch pages of a process
    // about to end. Flush and leave.
    if (std::fflush(nullptr) != 0) return rc == 0 ? 1 : rc;
    std::_Exit(rc);
}
