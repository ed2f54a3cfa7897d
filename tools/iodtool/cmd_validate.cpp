// iodtool validate: checks DICOM files against the IOD their SOP Class UID names and prints every
// defect the validators log, a verdict per file and a summary. Directories are walked
// recursively; files are validated in parallel by a small pool of threads, and the results are
// printed in the order of the file list.
#include <IOD/IOD_IOD.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Command.h"
#include "ValidateFile.h"

namespace {

constexpr const char* kUsage =
    "usage: iodtool validate FILE|DIR... [--class NAME] [--tolerant] [--json] [-j N] [--quiet]\n";

struct Options {
    std::vector<std::string> inputs;
    const IodValidationClass* forced = nullptr;
    bool tolerant = false;
    bool json = false;
    bool quiet = false;
    unsigned jobs = 0;  // 0: one per core
};

int UsageError(const std::string& message) {
    std::fprintf(stderr, "iodtool validate: %s\n%s", message.c_str(), kUsage);
    return 2;
}

// Returns -1 when the arguments are fine, else the exit code.
int ParseOptions(int argc, char** argv, Options& options) {
    bool endOfOptions = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (endOfOptions || arg.empty() || arg[0] != '-' || arg == "-") {
            options.inputs.push_back(arg);
        } else if (arg == "--") {
            endOfOptions = true;
        } else if (arg == "--tolerant") {
            options.tolerant = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--quiet" || arg == "-q") {
            options.quiet = true;
        } else if (arg == "--class" || arg == "-j" || arg == "--jobs") {
            if (i + 1 >= argc) return UsageError(arg + " needs a value");
            const std::string value = argv[++i];
            if (arg == "--class") {
                options.forced = IodFindValidationClass(value);
                if (options.forced == nullptr) return UsageError("unknown class '" + value + "'");
            } else {
                const bool digits =
                    !value.empty() && value.size() <= 4 &&
                    std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
                options.jobs = digits ? static_cast<unsigned>(std::stoul(value)) : 0;
                if (options.jobs == 0) return UsageError("-j needs a number of threads from 1 to 9999");
            }
        } else {
            return UsageError("unknown option '" + arg + "'");
        }
    }
    if (options.inputs.empty()) return UsageError("no file or directory given");
    return -1;
}

// The files named, directories replaced by their regular files (recursively, in name order). A name
// that is neither stays in the list: validating it reports why it cannot be read.
std::vector<std::string> CollectFiles(const std::vector<std::string>& inputs) {
    namespace fs = std::filesystem;
    std::vector<std::string> files;
    for (const std::string& input : inputs) {
        std::error_code ec;
        if (!fs::is_directory(input, ec)) {
            files.push_back(input);
            continue;
        }
        std::vector<std::string> found;
        fs::recursive_directory_iterator it(input, fs::directory_options::skip_permission_denied, ec);
        for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
            std::error_code typeError;
            if (it->is_regular_file(typeError)) found.push_back(it->path().string());
        }
        if (ec) std::fprintf(stderr, "iodtool validate: %s: %s\n", input.c_str(), ec.message().c_str());
        std::sort(found.begin(), found.end());
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

void PrintText(const IodValidationResult& result) {
    std::string line = result.path + ": " + IodVerdictText(result.verdict);
    if (!result.className.empty()) line += " (" + result.className + ")";
    if (!result.error.empty()) line += ": " + result.error;
    if (!result.defects.empty()) {
        line += result.defects.size() == 1 ? ", 1 defect"
                                           : ", " + std::to_string(result.defects.size()) + " defects";
    }
    line += '\n';
    for (const IodValidationDefect& defect : result.defects) {
        line += "  " + defect.module;
        if (!defect.where.empty()) line += " at " + defect.where;
        line += ": " + defect.text + '\n';
    }
    std::fputs(line.c_str(), stdout);
}

// A one-line progress bar on standard error, drawn only when it is a terminal. It is taken off
// before a result is printed and drawn again after it; otherwise redrawn at most every 100 ms.
class Progress {
public:
    explicit Progress(size_t total) : total_(total), shown_(total > 1 && ::isatty(STDERR_FILENO) == 1) {}
    void Update(size_t done) {
        if (!shown_) return;
        const auto now = std::chrono::steady_clock::now();
        if (drawn_ && done < total_ && now - last_ < std::chrono::milliseconds(100)) return;
        last_ = now;
        constexpr size_t kWidth = 40;
        const size_t filled = kWidth * done / total_;
        std::fprintf(stderr, "\r[%s%s] %zu/%zu", std::string(filled, '#').c_str(),
                     std::string(kWidth - filled, ' ').c_str(), done, total_);
        std::fflush(stderr);
        drawn_ = true;
    }
    void Clear() {
        if (!drawn_) return;
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        drawn_ = false;
    }

private:
    size_t total_;
    bool shown_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point last_{};
};

int RunValidate(int argc, char** argv) {
    Options options;
    const int usage = ParseOptions(argc, argv, options);
    if (usage >= 0) return usage;
    const auto start = std::chrono::steady_clock::now();
    const std::vector<std::string> files = CollectFiles(options.inputs);
    if (files.empty()) {
        std::fprintf(stderr, "iodtool validate: no files found\n");
        return 1;
    }
    if (options.tolerant) IOD_IOD::IsTolerant = 1;

    unsigned jobs = options.jobs != 0 ? options.jobs : std::max(1u, std::thread::hardware_concurrency());
    jobs = static_cast<unsigned>(std::min<size_t>(jobs, std::max<size_t>(files.size(), 1)));

    // The main thread and jobs - 1 workers take the next file from a shared index. The main
    // thread also prints the results in list order, as soon as each is ready, and drops them once
    // printed; it waits only when every file has been taken and the next result is still being
    // made. (A printing thread of its own would sleep and wake once a file, and on a machine with
    // as many cores as workers it would take its turns from them.)
    std::vector<IodValidationResult> results(files.size());
    std::vector<char> ready(files.size(), 0);
    std::mutex mutex;
    std::condition_variable readyChanged;
    std::atomic<size_t> next{0};
    const IodDefectCapture capture;
    const auto validate = [&](size_t i) {
        IodValidationResult result = IodValidateFile(files[i], options.forced);
        const std::lock_guard<std::mutex> lock(mutex);
        results[i] = std::move(result);
        ready[i] = 1;
        readyChanged.notify_one();
    };
    std::vector<std::thread> workers;
    for (unsigned j = 1; j < jobs; ++j) {
        workers.emplace_back([&] {
            for (size_t i = next++; i < files.size(); i = next++) validate(i);
        });
    }

    size_t counts[4] = {0, 0, 0, 0};
    std::map<std::string, size_t> perClass;
    Progress progress(files.size());
    for (size_t printed = 0; printed < files.size();) {
        IodValidationResult result;
        {
            std::unique_lock<std::mutex> lock(mutex);
            if (ready[printed] == 0 && next.load() < files.size()) {
                lock.unlock();
                const size_t i = next++;
                if (i < files.size()) validate(i);
                continue;
            }
            readyChanged.wait(lock, [&] { return ready[printed] != 0; });
            result = std::move(results[printed]);
            results[printed] = IodValidationResult();
        }
        ++counts[static_cast<int>(result.verdict)];
        if (!result.className.empty()) ++perClass[result.className];
        const bool show = !options.quiet || result.verdict != IodVerdict::Valid;
        if (show) {
            progress.Clear();
            if (options.json) {
                std::fputs((IodValidationJson(result) + '\n').c_str(), stdout);
            } else {
                PrintText(result);
            }
            std::fflush(stdout);
        }
        ++printed;
        progress.Update(printed);
    }
    for (std::thread& worker : workers) worker.join();
    progress.Clear();

    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const size_t valid = counts[static_cast<int>(IodVerdict::Valid)];
    const size_t unknown = counts[static_cast<int>(IodVerdict::UnknownClass)];
    const size_t invalid = counts[static_cast<int>(IodVerdict::Invalid)] + unknown;
    const size_t unreadable = counts[static_cast<int>(IodVerdict::Unreadable)];
    std::string summary = "summary: " + std::to_string(files.size()) +
                          (files.size() == 1 ? " file, " : " files, ") + std::to_string(valid) + " valid, " +
                          std::to_string(invalid) + " invalid";
    if (unknown > 0) summary += " (" + std::to_string(unknown) + " of unknown class)";
    summary += ", " + std::to_string(unreadable) + " unreadable";
    if (!perClass.empty()) {
        summary += "; classes:";
        for (const auto& [name, count] : perClass) summary += " " + name + " " + std::to_string(count);
    }
    char elapsed[64];
    std::snprintf(elapsed, sizeof elapsed, "; %.3f s with %u thread%s\n", seconds, jobs,
                  jobs == 1 ? "" : "s");
    summary += elapsed;
    // With --json, standard output carries only the per-file objects.
    std::fputs(summary.c_str(), options.json ? stderr : stdout);
    return valid == files.size() ? 0 : 1;
}

}  // namespace

IODTOOL_COMMAND(
    "validate", "validate FILE|DIR... [--class NAME] [--tolerant] [--json] [-j N] [--quiet]",
    "Check DICOM files against the IOD that their SOP Class UID names (CR, CT, DX, IO, MF, MG, MR, NM, "
    "RF, RT, SC, SR, US, VL, XA; --class NAME applies one of these to every file), directories "
    "recursively, N files at a time (-j, default one per core). Prints each defect the module "
    "validators find and a verdict per file (valid, invalid, unknown class, unreadable), then a "
    "summary. --tolerant makes the validators report and pass; --json prints one JSON object per "
    "file; --quiet prints only the files that are not valid. Exit 0 when every file is valid, 1 "
    "otherwise, 2 on bad usage.",
    RunValidate)
