// The secp256k1 engine's constants, all in this one file, in construction order: the field constants,
// the group order, the generator and the zero point (the last two copy m_s_fiZero / m_s_fiOne, so those
// come first), then the plain integers 0, 1 and p.
//
// Every definition is constexpr: the values are computed by the compiler (with the same hex parser the
// engine uses at run time) and sit in read-only data when the program is loaded. Constant initialisation
// happens before any dynamic initialisation, so a static initialiser in another translation unit that
// signs, verifies or derives a secp256k1 key during start-up sees these values, whatever order the
// linker puts the translation units in. A dynamically initialised constant would read as zero there.
#include "ecc/secp256k1/CurvePt.h"
#include "ecc/secp256k1/FieldInt256.h"
#include "ecc/secp256k1/Secp256k1Params.h"
#include "ecc/secp256k1/Unsigned256.h"

namespace ecckey {

// Each value is first a constexpr local, then copied into the declared constant. (Defining the static
// members themselves constexpr would make them inline variables, which every other translation unit would
// have to declare inline as well.) A copy of a constexpr object is a constant expression, so the
// declared constants are still constant-initialised; the attribute makes clang prove it.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::require_constant_initialization)
#define ECCKEY_CONSTANT_INIT [[clang::require_constant_initialization]]
#endif
#endif
#ifndef ECCKEY_CONSTANT_INIT
#define ECCKEY_CONSTANT_INIT
#endif

namespace {

constexpr char kHexZero[] = "0000000000000000000000000000000000000000000000000000000000000000";
constexpr char kHexOne[] = "0000000000000000000000000000000000000000000000000000000000000001";

constexpr FieldInt256 kFiZero(kHexZero);
constexpr FieldInt256 kFiOne(kHexOne);
constexpr FieldInt256 kA(kHexZero);
constexpr FieldInt256 kB(kSecp256k1B);
constexpr _tvUnsigned256 kOrder(kSecp256k1N);
constexpr _tvCurvePt kG(FieldInt256(kSecp256k1Gx), FieldInt256(kSecp256k1Gy), kFiOne);
constexpr _tvCurvePt kZero(kFiZero, kFiOne, kFiZero);
constexpr _tvUnsigned256 kZeroInt(kHexZero);
constexpr _tvUnsigned256 kOneInt(kHexOne);
constexpr _tvUnsigned256 kModulus(kSecp256k1P);

// The parse is checked where it happens, at compile time.
static_assert(kModulus.value[0] == 0xFFFFFC2Fu && kModulus.value[1] == 0xFFFFFFFEu &&
                  kModulus.value[7] == 0xFFFFFFFFu,
              "p = 2^256 - 2^32 - 977");
static_assert(kOrder.value[0] == 0xD0364141u && kOrder.value[4] == 0xFFFFFFFEu, "n, the group order");
static_assert(kG.x.value[7] == 0x79BE667Eu && kG.y.value[0] == 0xFB10D4B8u && kG.z.value[0] == 1u,
              "the generator, z = 1");
static_assert(kZero.x.value[0] == 0u && kZero.y.value[0] == 1u && kZero.z.value[0] == 0u,
              "the canonical zero point (0, 1, 0)");
static_assert(kOneInt.value[0] == 1u && kZeroInt.value[0] == 0u && kB.value[0] == 7u, "0, 1 and b");

}  // namespace

ECCKEY_CONSTANT_INIT const FieldInt256 _tvCurvePt::m_s_fiZero = kFiZero;
ECCKEY_CONSTANT_INIT const FieldInt256 _tvCurvePt::m_s_fiOne = kFiOne;
ECCKEY_CONSTANT_INIT const FieldInt256 _tvCurvePt::m_s_A = kA;
ECCKEY_CONSTANT_INIT const FieldInt256 _tvCurvePt::m_s_B = kB;
ECCKEY_CONSTANT_INIT const _tvUnsigned256 _tvCurvePt::m_s_order = kOrder;
ECCKEY_CONSTANT_INIT const _tvCurvePt _tvCurvePt::m_s_G = kG;
ECCKEY_CONSTANT_INIT const _tvCurvePt _tvCurvePt::m_s_Zero = kZero;

ECCKEY_CONSTANT_INIT const _tvUnsigned256 s_ZERO = kZeroInt;
ECCKEY_CONSTANT_INIT const _tvUnsigned256 s_ONE = kOneInt;
ECCKEY_CONSTANT_INIT const _tvUnsigned256 m_Modulus = kModulus;

}  // namespace ecckey
