#include "formats/SigConvert.h"

#include <cstring>
#include <string>

#include "support/DataBuffer.h"
#include "support/LogBase.h"

namespace ecckey {

namespace {

const int kMaxByteLen = 66;  // P-521

// r or s as byteLen big-endian bytes.
struct Half {
    unsigned char bytes[kMaxByteLen] = {0};
};

// A reading position over the input; every read checks the length first.
struct Cursor {
    const unsigned char *p;
    unsigned left;
    [[nodiscard]] bool byte(unsigned &b) {
        if (left == 0)
            return false;
        b = *p++;
        --left;
        return true;
    }
};

// Minimal unsigned magnitude of len bytes at p (one 0x00 allowed, and required, before a high bit) into
// half; false for zero, a negative value, a redundant zero or more than byteLen bytes.
[[nodiscard]] bool takeMagnitude(const unsigned char *p, unsigned len, int byteLen, Half &half) {
    if (len == 0 || (p[0] & 0x80) || (len > 1 && p[0] == 0 && !(p[1] & 0x80)))
        return false;
    if (p[0] == 0) {
        ++p;
        --len;
    }
    if (len == 0 || len > (unsigned)byteLen)
        return false;
    std::memcpy(half.bytes + byteLen - len, p, len);
    return true;
}

[[nodiscard]] bool readDerLength(Cursor &in, unsigned &len) {
    unsigned b = 0;
    if (!in.byte(b))
        return false;
    if (b < 0x80) {
        len = b;
        return true;
    }
    // One length byte after 0x81, for 128 to 255 only: the longest signature (P-521) needs no more.
    return b == 0x81 && in.byte(len) && len >= 0x80;
}

[[nodiscard]] bool readDerInteger(Cursor &in, int byteLen, Half &half) {
    unsigned tag = 0, len = 0;
    if (!in.byte(tag) || tag != 0x02 || !readDerLength(in, len) || len > in.left ||
        !takeMagnitude(in.p, len, byteLen, half))
        return false;
    in.p += len;
    in.left -= len;
    return true;
}

[[nodiscard]] bool readSshMpint(Cursor &in, int byteLen, Half &half) {
    unsigned len = 0;
    for (int i = 0; i < 4; ++i) {
        unsigned b = 0;
        if (!in.byte(b) || (i < 3 && b != 0))  // an mpint of r or s is shorter than 256 bytes
            return false;
        len = b;
    }
    if (len > in.left || !takeMagnitude(in.p, len, byteLen, half))
        return false;
    in.p += len;
    in.left -= len;
    return true;
}

[[nodiscard]] bool isZero(const Half &half, int byteLen) {
    unsigned char any = 0;
    for (int i = 0; i < byteLen; ++i)
        any |= half.bytes[i];
    return any == 0;
}

[[nodiscard]] bool readSignature(int byteLen, SigForm form, const DataBuffer &in, Half &r, Half &s) {
    Cursor cursor{in.getData2(), in.getSize()};
    const unsigned len = (unsigned)byteLen;
    switch (form) {
        case SigForm::Raw:
            if (in.getSize() != 2 * len)
                return false;
            std::memcpy(r.bytes, cursor.p, len);
            std::memcpy(s.bytes, cursor.p + len, len);
            return !isZero(r, byteLen) && !isZero(s, byteLen);
        case SigForm::Der: {
            unsigned tag = 0, seqLen = 0;
            return cursor.byte(tag) && tag == 0x30 && readDerLength(cursor, seqLen) &&
                   seqLen == cursor.left && readDerInteger(cursor, byteLen, r) &&
                   readDerInteger(cursor, byteLen, s) && cursor.left == 0;
        }
        case SigForm::Ssh:
            return readSshMpint(cursor, byteLen, r) && readSshMpint(cursor, byteLen, s) && cursor.left == 0;
    }
    return false;
}

// The minimal two's-complement content of a half: its significant bytes, behind a 0x00 when the first has
// its high bit set. Returns the length written to out (at most byteLen + 1).
unsigned minimalContent(const Half &half, int byteLen, unsigned char *out) {
    int first = 0;
    while (first < byteLen - 1 && half.bytes[first] == 0)
        ++first;
    unsigned n = 0;
    if (half.bytes[first] & 0x80)
        out[n++] = 0;
    std::memcpy(out + n, half.bytes + first, (size_t)(byteLen - first));
    return n + (unsigned)(byteLen - first);
}

[[nodiscard]] bool writeSignature(int byteLen, SigForm form, const Half &r, const Half &s, DataBuffer &out) {
    unsigned char rc[kMaxByteLen + 1], sc[kMaxByteLen + 1];
    const unsigned rLen = minimalContent(r, byteLen, rc), sLen = minimalContent(s, byteLen, sc);
    switch (form) {
        case SigForm::Raw:
            return out.append(r.bytes, (unsigned)byteLen) && out.append(s.bytes, (unsigned)byteLen);
        case SigForm::Ssh:
            return out.appendUint32_be(rLen) && out.append(rc, rLen) && out.appendUint32_be(sLen) &&
                   out.append(sc, sLen);
        case SigForm::Der: {
            // At most 4 + 67 + 67 bytes of content: one length byte, behind 0x81 from 128 on.
            const unsigned seqLen = 4 + rLen + sLen;
            return out.appendChar(0x30) && (seqLen < 0x80 || out.appendChar(0x81)) &&
                   out.appendChar((unsigned char)seqLen) && out.appendChar(0x02) &&
                   out.appendChar((unsigned char)rLen) && out.append(rc, rLen) && out.appendChar(0x02) &&
                   out.appendChar((unsigned char)sLen) && out.append(sc, sLen);
        }
    }
    return false;
}

const char *formName(SigForm form) {
    return form == SigForm::Der ? "DER" : form == SigForm::Raw ? "raw r||s" : "the SSH form";
}

}  // namespace

bool sigFormByName(const char *name, SigForm &form) {
    static const struct {
        const char *name;
        SigForm form;
    } forms[] = {{"der", SigForm::Der}, {"raw", SigForm::Raw}, {"ssh", SigForm::Ssh}};
    for (const auto &f : forms) {
        if (name != nullptr && std::strcmp(name, f.name) == 0) {
            form = f.form;
            return true;
        }
    }
    return false;
}

bool convertSignature(int byteLen, SigForm from, SigForm to, const DataBuffer &in, DataBuffer &out,
                      LogBase &log) {
    LogContextExitor ctx(log, "convertSignature");
    out.clear();
    Half r, s;
    if (byteLen < 1 || byteLen > kMaxByteLen || !readSignature(byteLen, from, in, r, s)) {
        log.logError((std::string("The signature is not ") + formName(from) + " for this curve.").c_str());
        return false;
    }
    if (!writeSignature(byteLen, to, r, s, out)) {
        out.clear();
        log.logError("Out of memory.");
        return false;
    }
    return true;
}

}  // namespace ecckey
