#include <RW/RWFile.h>

RWFile::RWFile(const char* name, const char* mode) : name_(name != nullptr ? name : ""), file_(nullptr) {
    if (name == nullptr) return;
    if (mode != nullptr) {
        file_ = std::fopen(name, mode);
    } else {
        file_ = std::fopen(name, "rb+");
        if (file_ == nullptr) file_ = std::fopen(name, "wb+");
    }
}

RWFile::~RWFile() {
    if (file_ != nullptr) std::fclose(file_);
}

bool RWFile::Write(const void* data, size_t count) {
    return file_ != nullptr && std::fwrite(data, 1, count, file_) == count;
}

bool RWFile::Read(void* data, size_t count) {
    return file_ != nullptr && std::fread(data, 1, count, file_) == count;
}

bool RWFile::Flush() { return file_ != nullptr && std::fflush(file_) == 0; }

bool RWFile::SeekToBegin() { return file_ != nullptr && std::fseek(file_, 0, SEEK_SET) == 0; }

bool RWFile::SeekToEnd() { return file_ != nullptr && std::fseek(file_, 0, SEEK_END) == 0; }
