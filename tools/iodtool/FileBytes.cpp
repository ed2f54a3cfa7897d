// FileBytes: see FileBytes.h.
#include "FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string Describe(const char* path, const char* what) {
    return std::string(path) + ": " + what + ": " + std::strerror(errno);
}

}  // namespace

long long IodReadUpTo(int fd, unsigned char* data, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t got = ::read(fd, data + done, size - done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return -1;
        if (got == 0) break;
        done += static_cast<size_t>(got);
    }
    return static_cast<long long>(done);
}

bool IodReadFileBytes(const char* path, std::vector<unsigned char>& bytes, std::string* error) {
    bytes.clear();
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *error = Describe(path, "cannot open");
        return false;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        *error = Describe(path, "cannot read");
        ::close(fd);
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        *error = std::string(path) + ": not a regular file";
        ::close(fd);
        return false;
    }
    bytes.resize(static_cast<size_t>(info.st_size));
    const long long done = IodReadUpTo(fd, bytes.data(), bytes.size());
    if (done < 0) {
        *error = Describe(path, "cannot read");
        ::close(fd);
        return false;
    }
    ::close(fd);
    bytes.resize(static_cast<size_t>(done));  // shorter when the file shrank while we read it
    if (bytes.empty()) {
        *error = std::string(path) + ": the file is empty";
        return false;
    }
    return true;
}

bool IodWriteFileAtomically(const char* path, const std::vector<unsigned char>& bytes, std::string* error) {
    std::string temp = std::string(path) + ".XXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) {
        *error = Describe(path, "cannot create a temporary file beside");
        return false;
    }
    size_t done = 0;
    bool ok = true;
    while (ok && done < bytes.size()) {
        const ssize_t put = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) {
            *error = Describe(path, "cannot write");
            ok = false;
            break;
        }
        done += static_cast<size_t>(put);
    }
    if (ok && ::fsync(fd) != 0) {
        *error = Describe(path, "cannot flush");
        ok = false;
    }
    // New files get the usual permissions (mkstemp creates them 0600).
    if (ok) {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        if (::fchmod(fd, 0666 & ~mask) != 0) {
            *error = Describe(path, "cannot set the permissions of");
            ok = false;
        }
    }
    if (::close(fd) != 0 && ok) {
        *error = Describe(path, "cannot write");
        ok = false;
    }
    if (ok && ::rename(temp.c_str(), path) != 0) {
        *error = Describe(path, "cannot replace");
        ok = false;
    }
    if (!ok) ::unlink(temp.c_str());
    return ok;
}
