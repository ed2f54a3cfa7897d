// Replays inputs through a fuzz target without libFuzzer: every file named on the command line,
// and every regular file of every directory named (not recursively). Used by ctest to keep the
// regression inputs and the independent test files passing in every build, sanitizers included.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

bool RunFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<uint8_t> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::fprintf(stderr, "replaying %s (%zu bytes)\n", path.c_str(), data.size());
    // An exact-size heap block, so that AddressSanitizer sees any read past the end.
    std::vector<uint8_t> exact(data.begin(), data.end());
    exact.shrink_to_fit();
    static uint8_t none = 0;  // libFuzzer hands an empty input over as a valid pointer, too
    LLVMFuzzerTestOneInput(exact.empty() ? &none : exact.data(), exact.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
    size_t count = 0;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path arg(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(arg, ec)) {
            std::vector<std::filesystem::path> files;
            for (const auto& entry : std::filesystem::directory_iterator(arg, ec))
                if (entry.is_regular_file()) files.push_back(entry.path());
            std::sort(files.begin(), files.end());
            for (const auto& f : files) {
                ok = RunFile(f) && ok;
                ++count;
            }
        } else {
            ok = RunFile(arg) && ok;
            ++count;
        }
    }
    std::fprintf(stderr, "%zu inputs replayed\n", count);
    return ok && count > 0 ? 0 : 1;
}
