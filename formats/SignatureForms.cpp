#include "SignatureForms.h"

#include <string>

#include "ecc/EcdsaSig.h"

#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/SshMessage.h"

namespace ecckey::formats {

namespace {

// One SSH mpint of r or s, as its magnitude left-padded to byteLen. Only the minimal encoding is taken
// (a zero byte in front only where the top bit is set), so that one signature has one SSH form.
[[nodiscard]] bool appendPaddedMpint(const DataBuffer &mpint, unsigned byteLen, DataBuffer &raw) {
    const unsigned size = mpint.getSize();
    const bool negative = size > 0 && (mpint[0] & 0x80);
    const bool paddedNeedlessly = size > 0 && mpint[0] == 0 && (size == 1 || !(mpint[1] & 0x80));
    const unsigned skip = size > 0 && mpint[0] == 0 ? 1 : 0;
    const unsigned len = size - skip;
    if (negative || paddedNeedlessly || len > byteLen)
        return false;
    for (unsigned i = len; i < byteLen; ++i) {
        if (!raw.appendChar(0))
            return false;
    }
    return raw.append(mpint.getData2() + skip, len);
}

}  // namespace

bool sshSignatureToRaw(const DataBuffer &sig, unsigned byteLen, DataBuffer &raw) {
    DataBuffer r;
    DataBuffer s;
    LogNull quiet;
    unsigned offset = 0;
    return sig.getSize() != 2 * byteLen && SshMessage::parseBinaryString(sig, offset, r, quiet) &&
           SshMessage::parseBinaryString(sig, offset, s, quiet) && offset == sig.getSize() &&
           appendPaddedMpint(r, byteLen, raw) && appendPaddedMpint(s, byteLen, raw);
}

bool isDerSignature(const DataBuffer &sig) {
    LogRecorder probe;
    probe.m_verbose = true;
    mp_int r;
    mp_int s;
    (void)unpackDsaSig(sig.getData2(), sig.getSize(), false, r, s, probe, 0);  // only the test counts
    std::string isDer;
    return probe.dataValue("isAsnSig", isDer) && isDer == "true";
}

}  // namespace ecckey::formats
