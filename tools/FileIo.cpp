#include "FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/DataBuffer.h"

namespace ecckey_cli {

namespace {

std::string describe(const char *what, const char *path) {
    return std::string(what) + " '" + path + "': " + std::strerror(errno);
}

// Reads fd to its end. The stack chunk is wiped after use: it held part of a key file.
bool readAll(int fd, const char *path, ecckey::DataBuffer &out, std::string &error) {
    unsigned char chunk[4096];
    bool ok = true;
    for (;;) {
        const ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            error = describe("cannot read", path);
            ok = false;
            break;
        }
        if (n == 0)
            break;
        if (out.getSize() + (unsigned long)n > kMaxInputLen) {
            error = std::string("'") + path + "' is too large";
            ok = false;
            break;
        }
        if (!out.append(chunk, (unsigned)n)) {
            error = std::string("out of memory reading '") + path + "'";
            ok = false;
            break;
        }
    }
    explicit_bzero(chunk, sizeof chunk);
    return ok;
}

bool writeAll(int fd, const unsigned char *bytes, unsigned count) {
    while (count > 0) {
        const ssize_t n = ::write(fd, bytes, count);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        count -= (unsigned)n;
    }
    return true;
}

}  // namespace

bool isStdio(const char *path) {
    return path == nullptr || std::strcmp(path, "-") == 0;
}

bool readInput(const char *path, ecckey::DataBuffer &out, std::string &error) {
    out.setSensitive();
    if (isStdio(path))
        return readAll(STDIN_FILENO, "standard input", out, error);
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = describe("cannot open", path);
        return false;
    }
    const bool ok = readAll(fd, path, out, error);
    ::close(fd);
    return ok;
}

bool writeOutput(const char *path, const ecckey::DataBuffer &bytes, bool secret, std::string &error) {
    if (isStdio(path)) {
        std::fflush(stdout);
        if (!writeAll(STDOUT_FILENO, bytes.getData2(), bytes.getSize())) {
            error = describe("cannot write", "standard output");
            return false;
        }
        return true;
    }
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, secret ? 0600 : 0666);
    if (fd < 0) {
        error = describe("cannot create", path);
        return false;
    }
    // Only a regular file gets its mode changed: -o /dev/null or a pipe must stay as they are.
    struct stat info;
    bool ok = ::fstat(fd, &info) == 0 && (!secret || !S_ISREG(info.st_mode) || ::fchmod(fd, 0600) == 0);
    if (!ok)
        error = describe("cannot restrict the mode of", path);
    if (ok && !writeAll(fd, bytes.getData2(), bytes.getSize())) {
        error = describe("cannot write", path);
        ok = false;
    }
    if (::close(fd) != 0 && ok) {
        error = describe("cannot write", path);
        ok = false;
    }
    return ok;
}

}  // namespace ecckey_cli
