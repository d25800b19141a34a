// _tvPrng: the random source handed to key generation and signing.
#pragma once

namespace ecckey {

class DataBuffer;
class LogBase;

class _tvPrng {
  public:
    virtual ~_tvPrng() = default;
    // Appends count random bytes to out. False on failure; out may then hold part of the bytes, and a
    // caller discards what it got. Implementations do not mark out sensitive: a caller keeping the bytes
    // as a secret marks out first.
    [[nodiscard]] virtual bool genRandom(unsigned count, DataBuffer &out, LogBase &log) = 0;
};

// The operating system's generator, through getrandom(2).
class SystemPrng : public _tvPrng {
  public:
    // Asks the kernel until count bytes are had (short reads and interruptions are retried) and appends
    // them in one step: on failure out is unchanged. Logs "Out of memory generating random bytes." or
    // "Failed to get random bytes from the operating system." with the data item "errno". A count of 0
    // succeeds at once.
    [[nodiscard]] bool genRandom(unsigned count, DataBuffer &out, LogBase &log) override;
};

}  // namespace ecckey
