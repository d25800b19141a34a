// wipe and Wiped: the one way the library zeroes memory that held secret material (private scalars,
// nonces, passphrases, key-derived bytes and any value computed from them). Internal to the library.
#pragma once

#include <cstddef>
#include <cstring>

namespace ecckey {

// wipe: sets len bytes at p to zero; does nothing when p is null or len is 0. Never fails, logs nothing.
//
// A store into an object that is about to die is dead to the optimiser, and it may drop a plain memset
// before a free or a return. The empty assembler statement below is handed p and declares that it reads
// and writes arbitrary memory: the compiler must assume it reads the zeroed bytes, so the stores before
// it are live and stay in the program, even when the object dies on the next line or is inlined away.
inline void wipe(void *p, std::size_t len) {
    if (p == nullptr || len == 0)
        return;
    std::memset(p, 0, len);
    __asm__ __volatile__("" : : "r"(p) : "memory");
}

// Wiped<T>: a temporary of trivially copyable type T (a fixed-width integer, a point, a byte array such as
// Wiped<unsigned char[66]>) that starts zeroed and is wiped on every path out of its scope. get() gives
// the value itself; for an array it decays to a pointer and sizeof get() is the array's size.
template <class T>
class Wiped {
  public:
    Wiped() : m_value() {}
    explicit Wiped(const T &value) : m_value(value) {}
    ~Wiped() { wipe(&m_value, sizeof m_value); }
    Wiped(const Wiped &) = delete;
    Wiped &operator=(const Wiped &) = delete;

    T &get() { return m_value; }
    const T &get() const { return m_value; }

  private:
    T m_value;
};

}  // namespace ecckey
