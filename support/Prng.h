// _tvPrng: the random source handed to key generation and signing.
#pragma once

namespace ecckey {

class DataBuffer;
class LogBase;

class _tvPrng {
  public:
    virtual ~_tvPrng() = default;
    // Appends count random bytes to out; false on failure.
    [[nodiscard]] virtual bool genRandom(unsigned count, DataBuffer &out, LogBase &log) = 0;
};

// The operating system's generator, through getrandom(2).
class SystemPrng : public _tvPrng {
  public:
    [[nodiscard]] bool genRandom(unsigned count, DataBuffer &out, LogBase &log) override;
};

}  // namespace ecckey
