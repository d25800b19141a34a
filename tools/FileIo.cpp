#include "FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "Messages.h"
#include "support/DataBuffer.h"
#include "support/Wipe.h"

namespace ecckey_cli {

namespace {

const char kCannotWrite[] = "cannot write";
const char kCannotCreate[] = "cannot create";
const char kCannotOpen[] = "cannot open";
const char kExistsUseForce[] = "' exists; --force replaces it";

// What this run has read (see FileIo.h): the files, by device and inode so that another path to the same
// file is recognised, and whether standard input was consumed.
struct InputsRead {
    std::vector<std::pair<dev_t, ino_t>> files;
    bool standardInput = false;
};
InputsRead s_inputsRead;

[[nodiscard]] bool wasRead(const struct stat &info) {
    for (const auto &file : s_inputsRead.files) {
        if (file.first == info.st_dev && file.second == info.st_ino)
            return true;
    }
    return false;
}

std::string describe(const char *what, const char *path) {
    return std::string(what) + " '" + path + "': " + std::strerror(errno);
}

// Reads fd to its end. The stack chunk is wiped after use: it held part of a key file.
[[nodiscard]] bool readAll(int fd, const char *path, ecckey::DataBuffer &out, std::string &error) {
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
    ecckey::wipe(chunk, sizeof chunk);
    return ok;
}

[[nodiscard]] bool writeAll(int fd, const unsigned char *bytes, unsigned count) {
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

[[nodiscard]] bool writeStandardOutput(const ecckey::DataBuffer &bytes, std::string &error) {
    std::fflush(stdout);
    if (writeAll(STDOUT_FILENO, bytes.getData2(), bytes.getSize()))
        return true;
    error = describe(kCannotWrite, "standard output");
    return false;
}

// A device or pipe: written through, neither replaced nor truncated nor changed in mode.
[[nodiscard]] bool writeInPlace(const char *path, const ecckey::DataBuffer &bytes, std::string &error) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        error = describe(kCannotOpen, path);
        return false;
    }
    bool ok = writeAll(fd, bytes.getData2(), bytes.getSize());
    ok = ::close(fd) == 0 && ok;
    if (!ok)
        error = describe(kCannotWrite, path);
    return ok;
}

// The mode a new public file gets: what open(2) would give a file created with 0666.
mode_t publicFileMode() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// "dir/.name.XXXXXX" beside "dir/name": the rename that follows stays within one file system.
std::string temporaryNameFor(const std::string &target) {
    const std::size_t slash = target.rfind('/');
    const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    return target.substr(0, nameStart) + "." + target.substr(nameStart) + ".XXXXXX";
}

// Renames the finished temporary file to target. Without replace, an existing target (also one created
// since it was looked at) makes it fail with EEXIST; file systems without RENAME_NOREPLACE get the same
// guarantee from link(2).
[[nodiscard]] bool moveIntoPlace(const char *temporary, const char *target, bool replace) {
    if (replace)
        return ::rename(temporary, target) == 0;
    if (::renameat2(AT_FDCWD, temporary, AT_FDCWD, target, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL || ::link(temporary, target) != 0)
        return false;
    ::unlink(temporary);
    return true;
}

[[nodiscard]] bool writeReplacing(const char *path, const std::string &target,
                                  const ecckey::DataBuffer &bytes, bool secret, bool replace,
                                  std::string &error) {
    std::string temporary = temporaryNameFor(target);
    const int fd = ::mkostemp(&temporary[0], O_CLOEXEC);  // mode 0600 from the start
    if (fd < 0) {
        error = describe(kCannotCreate, path);
        return false;
    }
    bool ok = secret || ::fchmod(fd, publicFileMode()) == 0;
    ok = ok && writeAll(fd, bytes.getData2(), bytes.getSize()) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (!ok)
        error = describe(kCannotWrite, path);
    else if (!moveIntoPlace(temporary.c_str(), target.c_str(), replace))
        error = errno == EEXIST ? std::string("'") + path + kExistsUseForce : describe(kCannotCreate, path);
    else
        return true;
    ::unlink(temporary.c_str());
    return false;
}

}  // namespace

bool isStdio(const char *path) {
    return path == nullptr || std::strcmp(path, "-") == 0;
}

bool readInput(const char *path, ecckey::DataBuffer &out, std::string &error) {
    out.setSensitive();
    if (isStdio(path)) {
        if (s_inputsRead.standardInput) {
            error = "standard input is named twice; only one input can come from '-'";
            return false;
        }
        s_inputsRead.standardInput = true;
        return readAll(STDIN_FILENO, kStandardInput, out, error);
    }
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = describe(kCannotOpen, path);
        return false;
    }
    struct stat info;
    if (::fstat(fd, &info) == 0)
        s_inputsRead.files.emplace_back(info.st_dev, info.st_ino);
    const bool ok = readAll(fd, path, out, error);
    ::close(fd);
    return ok;
}

bool writeOutput(const OutputTarget &target, const ecckey::DataBuffer &bytes, bool secret,
                 std::string &error) {
    const char *path = target.path;
    if (isStdio(path))
        return writeStandardOutput(bytes, error);
    struct stat info;
    if (::stat(path, &info) != 0) {
        if (errno == ENOENT)  // a new file (or a dangling link, which only --force replaces)
            return writeReplacing(path, path, bytes, secret, target.force, error);
        error = describe(kCannotCreate, path);
        return false;
    }
    if (wasRead(info)) {
        error = std::string("'") + path + "' is an input of this command; write the output to another file";
        return false;
    }
    if (!S_ISREG(info.st_mode))
        return writeInPlace(path, bytes, error);
    if (!target.force) {
        error = std::string("'") + path + kExistsUseForce;
        return false;
    }
    char *resolved = ::realpath(path, nullptr);
    if (resolved == nullptr) {
        error = describe("cannot resolve", path);
        return false;
    }
    const std::string real(resolved);
    std::free(resolved);
    return writeReplacing(path, real, bytes, secret, true, error);
}

}  // namespace ecckey_cli
