// convertSignature from the SSH signature blob (two mpints r and s), which `ecckey verify` reads, to raw
// r || s, on every curve length.
//
// Input layout: byte 0 is the curve's byte length (modulo 67); the rest is the blob.
//
// An accepted blob gives exactly twice that many bytes, and is exactly r and s as minimal mpints.
#include "FuzzSupport.h"
#include "formats/SigConvert.h"
#include "support/SshMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1)
        return 0;
    const unsigned byteLen = data[0] % 67;
    DataBuffer sig, raw, again;
    FUZZ_REQUIRE(sig.append(data + 1, (unsigned)size - 1));
    FuzzLog log;
    if (!convertSignature((int)byteLen, SigForm::Ssh, SigForm::Raw, sig, raw, log))
        return 0;
    FUZZ_REQUIRE(raw.getSize() == 2 * byteLen);
    // Each half as a minimal mpint: its leading zeros dropped, a zero put back where the top bit is set.
    for (unsigned half = 0; half < 2; ++half) {
        const unsigned char *p = raw.getData2() + half * byteLen;
        unsigned skip = 0;
        while (skip < byteLen && p[skip] == 0)
            ++skip;
        DataBuffer mpint;
        FUZZ_REQUIRE((skip == byteLen || p[skip] < 0x80 || mpint.appendChar(0)) &&
                     mpint.append(p + skip, byteLen - skip) && ecckey::SshMessage::pack_db(mpint, again));
    }
    FUZZ_REQUIRE(again.equals(sig));
    return 0;
}
