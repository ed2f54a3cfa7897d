// RW/RWFile.h: a minimal binary file of the collection library, the argument
// of RWCollectable::saveGuts(RWFile&) / restoreGuts(RWFile&).
//
//   RWFile file("/tmp/x.bin", "wb+");
//   if (file.isValid()) file.Write(&n, sizeof n);
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

class RWFile {
public:
    // Opens `name` with the fopen `mode`; by default for reading and writing,
    // created if it does not exist.
    explicit RWFile(const char* name, const char* mode = nullptr);
    ~RWFile();
    RWFile(const RWFile&) = delete;
    RWFile& operator=(const RWFile&) = delete;

    bool isValid() const noexcept { return file_ != nullptr; }
    const char* GetName() const noexcept { return name_.c_str(); }

    // Write/Read exactly `count` bytes; false on failure or end of file.
    bool Write(const void* data, size_t count);
    bool Read(void* data, size_t count);
    bool Flush();
    bool SeekToBegin();
    bool SeekToEnd();

private:
    std::string name_;
    std::FILE* file_;
};
