#include "ecc/EcdsaSig.h"

#include "ecc/EccCurve.h"

#include "support/AsnItem.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/Owners.h"
#include "support/TovarMp.h"

namespace ecckey {

namespace {

const char kDataSigLen[] = "siglen";

// Signatures up to this size are dumped whole into a verbose log.
const unsigned kMaxLoggedSigLen = 600;

// Structural DER test: SEQUENCE { INTEGER, INTEGER } with one-byte INTEGER lengths that fill the input
// exactly. It looks at header bytes only; the decoder does the real parsing afterwards.
//
// The SEQUENCE length is either one byte below 0x80 or read as ((b1 & 0x7F) << 7) | (b2 & 0x7F). The
// second formula accepts exactly 0x81 followed by a length of 128 or more, which is what the long
// signatures look like (P-521 content reaches 136 bytes); 0x81 followed by a length below 128 is not DER
// and is not taken for it. Wider length forms are never produced for the curves of the catalogue.
[[nodiscard]] bool looksLikeDerSig(const unsigned char *sig, unsigned len) {
    if (!sig || len < 6 || sig[0] != 0x30)
        return false;

    unsigned o;  // offset of the first INTEGER
    if (sig[1] < 0x80) {
        if (sig[1] != len - 2)
            return false;
        o = 2;
    } else {
        unsigned seqLen = ((unsigned)(sig[1] & 0x7F) << 7) | (sig[2] & 0x7F);
        if (seqLen != len - 3)
            return false;
        o = 3;
    }

    // o <= 3 and len >= 6, so sig[o] and sig[o + 1] are in range.
    if (sig[o] != 0x02)
        return false;
    unsigned q = o + sig[o + 1] + 2;  // offset of the second INTEGER
    if (q + 1 >= len || sig[q] != 0x02)
        return false;
    return o + sig[o + 1] + sig[q + 1] + 4 == len;
}

[[nodiscard]] bool unpackDer(const unsigned char *sig, unsigned len, mp_int &r, mp_int &s, LogBase &log) {
    DataBuffer der;
    if (!der.append(sig, len))
        return false;

    unsigned consumed = 0;
    ObjectOwner<tv_asnItem> root(_tvDer::DecodeAsn(der.getData2(), der.getSize(), consumed, log));
    if (!root.get()) {
        log.logError("Failed to ASN.1 decode DSA signature");
        return false;
    }
    if (!root.get()->isConstructed()) {
        log.logError("Top-level ASN.1 item is not a constructed item.");
        return false;
    }
    tv_asnItem *rItem = root.get()->getSubItem_doNotDelete(0);
    if (!rItem) {
        log.logError("ASN.1 structure is invalid (1)");
        return false;
    }
    if (rItem->getTag() != 2) {
        log.logError("ASN.1 structure is invalid (2)");
        return false;
    }
    tv_asnItem *sItem = root.get()->getSubItem_doNotDelete(1);
    if (!sItem) {
        log.logError("ASN.1 structure is invalid (3)");
        return false;
    }
    if (sItem->getTag() != 2) {
        log.logError("ASN.1 structure is invalid (4)");
        return false;
    }
    // Items after the second are not looked at.
    bool ok = rItem->get_mp(r, log);
    if (ok)
        ok = sItem->get_mp(s, log);
    return ok;
}

// Raw sizes whose split is known without help: 2 x 24, 32, 48, 64 and 66 bytes. The 40-, 56- and 80-byte
// forms (brainpoolP160r1, P-224 and brainpoolP224r1, brainpoolP320r1) need the caller's r length.
[[nodiscard]] bool isKnownRawSize(unsigned len) {
    return len == 48 || len == 64 || len == 96 || len == 128 || len == 132;
}

[[nodiscard]] bool unpackRaw(const unsigned char *sig, unsigned len, bool split, mp_int &r, mp_int &s,
                             LogBase &log, unsigned rLen) {
    if (!sig)
        len = 0;  // nothing to read: falls through to the size error

    if (split && rLen != 0 && len > rLen) {
        // The halves may differ in length: the caller says where r ends.
        return TovarMp::mpint_from_bytes(r, sig, rLen) &&
               TovarMp::mpint_from_bytes(s, sig + rLen, len - rLen);
    }
    if (isKnownRawSize(len)) {
        unsigned half = len / 2;
        return TovarMp::mpint_from_bytes(r, sig, half) && TovarMp::mpint_from_bytes(s, sig + half, half);
    }
    log.logError("Unexpected size for R,S signature.");
    log.LogDataHex("sig", sig, len);
    log.LogDataUint32(kDataSigLen, len);
    return false;
}

}  // namespace

bool unpackDsaSig(const unsigned char *sig, unsigned sigLen, bool split, mp_int &r, mp_int &s, LogBase &log,
                  unsigned rLen) {
    LogContextExitor ctx(log, "unpackDsaSig");

    bool isAsn = looksLikeDerSig(sig, sigLen);
    if (log.m_verbose) {
        log.LogDataLong(kDataSigLen, (long)sigLen);
        log.LogDataBool("isAsnSig", isAsn);
        if (sig && sigLen <= kMaxLoggedSigLen)
            log.LogDataHex("sig", sig, sigLen);
    }

    if (isAsn)
        return unpackDer(sig, sigLen, r, s, log);
    return unpackRaw(sig, sigLen, split, r, s, log, rLen);
}

bool appendSigHalf(const mp_int &v, int byteLen, DataBuffer &out) {
    DataBuffer half;
    if (!TovarMp::mpint_to_db(v, half))
        return false;
    static const unsigned char zero = 0;
    while ((int)half.getSize() < byteLen)
        if (!half.prepend(&zero, 1))
            return false;
    return out.append(half);
}

bool encodeDerSig(const mp_int &r, const mp_int &s, bool ensure7bit, DataBuffer &out, LogBase &log) {
    ObjectOwner<tv_asnItem> seq(tv_asnItem::newSequence());
    if (!seq.get())
        return false;
    bool appended = ensure7bit ? seq.get()->appendUnsignedInt_ensure7bit(r, log) &&
                                     seq.get()->appendUnsignedInt_ensure7bit(s, log)
                               : seq.get()->appendUnsignedInt(r, log) && seq.get()->appendUnsignedInt(s, log);
    if (!appended)
        return false;

    bool encoded = _tvDer::EncodeAsn(seq.get(), out);
    if (!encoded)
        log.logError("Failed to encode final ASN.1");
    if (log.m_verbose)
        log.LogDataLong("eccAsnSigLen", (long)out.getSize());
    return encoded;
}

bool fitHashToCurve(const EccCurve &curve, DataBuffer &hash) {
    static const unsigned kSecp256k1HashLen = 32;
    if (!hash.truncate(ecdsaHashLen(curve.m_byteLen, hash.getSize())))
        return false;
    if (!curve.isSecp256k1() || hash.getSize() >= kSecp256k1HashLen)
        return true;
    const unsigned char zeros[kSecp256k1HashLen] = {};
    return hash.prepend(zeros, kSecp256k1HashLen - hash.getSize());
}

}  // namespace ecckey
