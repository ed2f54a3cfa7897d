// Writes the trusted buffer of each parsable input file into a directory: the seed corpus of
// fuzz_trusted_reader.   make_trusted_seeds <out-dir> <file>...
#include <Dicom/Dicom_Msg.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <out-dir> <file>...\n", argv[0]);
        return 2;
    }
    const std::filesystem::path out(argv[1]);
    std::filesystem::create_directories(out);
    int written = 0;
    for (int i = 2; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        std::vector<char> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        int status = -1;
        Dicom_Msg msg(data.data(), data.size(), 1, &status);
        if (status != 0) continue;
        for (Dicom_Endianity order : {DICOM_LITTLE_ENDIAN, DICOM_BIG_ENDIAN}) {
            unsigned int length = 0;
            char* buffer = msg.CreateTrustedBuffer(order, &length);
            if (buffer == nullptr) continue;
            std::filesystem::path name = out / std::filesystem::path(argv[i]).filename();
            name += order == DICOM_LITTLE_ENDIAN ? ".le.tb" : ".be.tb";
            std::ofstream(name, std::ios::binary).write(buffer, length);
            std::free(buffer);
            ++written;
        }
    }
    std::printf("%d trusted buffers written to %s\n", written, out.c_str());
    return 0;
}
