// FileBytes: whole-file reading and atomic writing for iodtool commands.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Reads the whole file at `path` into `bytes`. False with a message naming the file in `*error`
// (missing, not a regular file, unreadable, empty).
bool IodReadFileBytes(const char* path, std::vector<unsigned char>& bytes, std::string* error);

// Reads from `fd` into `data` until `size` bytes have come or the file ends (retrying after
// signals). The count read, or -1 on a read error (errno tells which).
long long IodReadUpTo(int fd, unsigned char* data, size_t size);

// Writes `bytes` to `path` atomically: into a temporary file beside it, flushed to disk, then
// renamed over `path`; on any failure `path` is left as it was and the temporary file removed.
bool IodWriteFileAtomically(const char* path, const std::vector<unsigned char>& bytes, std::string* error);
