// SystemPrng: random bytes from the operating system through getrandom(2).
#include "support/Prng.h"

#include <sys/random.h>

#include <cerrno>

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/Owners.h"

namespace ecckey {

namespace {

const char kMsgOutOfMemory[] = "Out of memory generating random bytes.";

// Fills bytes[0..count) from the kernel's generator. getrandom may return fewer bytes than asked for
// (above 256 bytes, or when a signal arrives) and fails with EINTR when interrupted before any byte:
// both just mean "ask again". Any other error is final; errorNumber receives it.
[[nodiscard]] bool fillFromKernel(unsigned char *bytes, unsigned count, int &errorNumber) {
    unsigned filled = 0;
    while (filled < count) {
        const ssize_t got = getrandom(bytes + filled, count - filled, 0);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            errorNumber = errno;
            return false;
        }
        filled += (unsigned)got;
    }
    return true;
}

}  // namespace

bool SystemPrng::genRandom(unsigned count, DataBuffer &out, LogBase &log) {
    if (count == 0)
        return true;
    // The bytes may become a private scalar: they are gathered in an array that is zeroed when freed
    // and appended in one step, so a failure leaves out unchanged.
    unsigned char *bytes = tvNewUnsignedChar(count);
    if (!bytes) {
        log.logError(kMsgOutOfMemory);
        return false;
    }
    ByteArrayOwner bytesOwner(bytes, count);
    int errorNumber = 0;
    if (!fillFromKernel(bytes, count, errorNumber)) {
        log.logError("Failed to get random bytes from the operating system.");
        log.LogDataLong("errno", errorNumber);
        return false;
    }
    if (!out.append(bytes, count)) {
        log.logError(kMsgOutOfMemory);
        return false;
    }
    return true;
}

}  // namespace ecckey
