#include "FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
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

std::string tooLarge(const char *path, unsigned long maxLen) {
    return std::string("'") + path + "' is larger than " +
           (maxLen == kMaxKeyFileLen ? "1 MiB, the most a key file may be" : "1 GiB");
}

// Reads fd to its end. The stack chunk is wiped after use: it held part of a key file.
[[nodiscard]] bool readAll(int fd, const char *path, unsigned long maxLen, ecckey::DataBuffer &out,
                           std::string &error) {
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
        if (out.getSize() + (unsigned long)n > maxLen) {
            error = tooLarge(path, maxLen);
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

// The names that ask for a device or descriptor on purpose: written through, never replaced.
[[nodiscard]] bool isNamedStream(const char *path) {
    if (std::strcmp(path, "/dev/stdout") == 0 || std::strcmp(path, "/dev/stderr") == 0 ||
        std::strcmp(path, "/dev/null") == 0)
        return true;
    const char *digits = path + std::strlen("/dev/fd/");
    return std::strncmp(path, "/dev/fd/", 8) == 0 && *digits != '\0' &&
           std::strspn(digits, "0123456789") == std::strlen(digits);
}

// The temporary file being written, removed by the handler of a signal that ends the run. A fixed buffer:
// the handler may call only async-signal-safe functions.
char s_temporaryPath[4096];
volatile std::sig_atomic_t s_temporaryLive = 0;
// The signals that end a run by default, SIGXFSZ (a write past `ulimit -f`) among them.
const int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGXFSZ};
const std::size_t kNumEndingSignals = sizeof kEndingSignals / sizeof kEndingSignals[0];

extern "C" void removeTemporaryAndDie(int signal) {
    if (s_temporaryLive)
        ::unlink(s_temporaryPath);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

// Holds the handlers for the time a temporary file may exist; the previous ones come back on destruction.
class TemporaryGuard {
  public:
    TemporaryGuard() {
        struct sigaction action {};
        action.sa_handler = removeTemporaryAndDie;
        sigemptyset(&action.sa_mask);
        // A signal the caller ignores (nohup, `trap '' XFSZ`) stays ignored: it ends nothing.
        for (std::size_t i = 0; i < kNumEndingSignals; ++i) {
            if (::sigaction(kEndingSignals[i], &action, &m_previous[i]) == 0 &&
                m_previous[i].sa_handler == SIG_IGN)
                ::sigaction(kEndingSignals[i], &m_previous[i], nullptr);
        }
    }
    // mkostemp(3) on the template, mode 0600 from the start; from then on a signal removes the file. The
    // signals wait meanwhile, so that none comes between the file's creation and its tracking.
    int create(std::string &pathTemplate) {
        if (pathTemplate.size() >= sizeof s_temporaryPath) {
            errno = ENAMETOOLONG;
            return -1;
        }
        sigset_t blocked;
        sigset_t previous;
        sigemptyset(&blocked);
        for (int signal : kEndingSignals)
            sigaddset(&blocked, signal);
        ::sigprocmask(SIG_BLOCK, &blocked, &previous);
        const int fd = ::mkostemp(&pathTemplate[0], O_CLOEXEC);
        if (fd >= 0) {
            std::memcpy(s_temporaryPath, pathTemplate.c_str(), pathTemplate.size() + 1);
            s_temporaryLive = 1;
        }
        ::sigprocmask(SIG_SETMASK, &previous, nullptr);
        return fd;
    }
    ~TemporaryGuard() {
        s_temporaryLive = 0;
        for (std::size_t i = 0; i < kNumEndingSignals; ++i)
            ::sigaction(kEndingSignals[i], &m_previous[i], nullptr);
    }
    TemporaryGuard(const TemporaryGuard &) = delete;
    TemporaryGuard &operator=(const TemporaryGuard &) = delete;

  private:
    struct sigaction m_previous[kNumEndingSignals];
};

// A device or pipe named on purpose: written through, neither replaced nor truncated nor changed in mode.
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
    TemporaryGuard guard;
    const int fd = guard.create(temporary);
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

bool readInput(const char *path, ecckey::DataBuffer &out, std::string &error, unsigned long maxLen) {
    out.setSensitive();
    if (isStdio(path)) {
        if (s_inputsRead.standardInput) {
            error = "standard input is named twice; only one input can come from '-'";
            return false;
        }
        s_inputsRead.standardInput = true;
        struct stat info;
        if (::fstat(STDIN_FILENO, &info) == 0 && S_ISREG(info.st_mode))
            s_inputsRead.files.emplace_back(info.st_dev, info.st_ino);
        return readAll(STDIN_FILENO, kStandardInput, maxLen, out, error);
    }
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = describe(kCannotOpen, path);
        return false;
    }
    struct stat info;
    const bool sized = ::fstat(fd, &info) == 0;
    if (sized)
        s_inputsRead.files.emplace_back(info.st_dev, info.st_ino);
    if (sized && S_ISREG(info.st_mode) && (unsigned long long)info.st_size > maxLen) {
        error = tooLarge(path, maxLen);
        ::close(fd);
        return false;
    }
    const bool ok = readAll(fd, path, maxLen, out, error);
    ::close(fd);
    return ok;
}

bool writeOutput(const OutputTarget &target, const ecckey::DataBuffer &bytes, bool secret,
                 std::string &error) {
    const char *path = target.path;
    if (isStdio(path))
        return writeStandardOutput(bytes, error);
    if (isNamedStream(path))
        return writeInPlace(path, bytes, error);
    struct stat info;
    if (::lstat(path, &info) != 0) {
        if (errno == ENOENT)  // a new file
            return writeReplacing(path, path, bytes, secret, false, error);
        error = describe(kCannotCreate, path);
        return false;
    }
    struct stat followed;
    if (wasRead(info) || (::stat(path, &followed) == 0 && wasRead(followed))) {
        error = std::string("'") + path + "' is an input of this command; write the output to another file";
        return false;
    }
    if (!S_ISREG(info.st_mode) && !S_ISLNK(info.st_mode)) {
        error = std::string("'") + path +
                "' is not a regular file; -o writes regular files only ('-o -' for "
                "standard output)";
        return false;
    }
    if (!target.force) {
        error = std::string("'") + path + kExistsUseForce;
        return false;
    }
    // rename(2) replaces the name: a symbolic link there is replaced, its target left alone.
    return writeReplacing(path, path, bytes, secret, true, error);
}

}  // namespace ecckey_cli
