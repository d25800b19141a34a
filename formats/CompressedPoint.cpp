#include "CompressedPoint.h"

#include "FormatMessages.h"
#include "ecc/EccCurve.h"
#include "ecc/PointDecompression.h"
#include "support/Asn1.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/MpInt.h"
#include "support/TovarMp.h"

namespace ecckey::formats {

namespace {

[[nodiscard]] bool fromContent(const _tvAsn1 *node, mp_int &value) {
    DataBuffer bytes;
    return node != nullptr && !node->isConstructed() && node->getAsnContent(bytes) &&
           TovarMp::mpint_from_bytes(value, bytes.getData2(), bytes.getSize());
}

// Part index of holder, a BIT STRING (bitString) or OCTET STRING holding a point, is replaced by the
// uncompressed point when it is compressed. Anything else is left alone.
[[nodiscard]] bool decompressPart(_tvAsn1 &holder, int index, bool bitString, const CurveEquation &eq,
                                  bool &changed, std::string &error) {
    const _tvAsn1 *node = holder.getAsnPart(index);
    DataBuffer content;
    if (node == nullptr || (bitString ? !node->isBitString() : !node->isOctetString()) ||
        !node->getAsnContent(content))
        return true;
    DataBuffer point;
    const unsigned skip = bitString ? 1 : 0;  // the unused-bits byte
    if (content.getSize() <= skip || !point.append(content.getData2() + skip, content.getSize() - skip) ||
        !isCompressedPoint(point))
        return true;
    DataBuffer whole;
    if (!decompressOnEquation(eq, point, whole, error))
        return false;
    _tvAsn1 *replacement = bitString ? _tvAsn1::newBitString(whole.getData2(), whole.getSize())
                                     : _tvAsn1::newOctetString(whole.getData2(), whole.getSize());
    if (!holder.replacePart(index, replacement)) {
        error = kOutOfMemory;
        return false;
    }
    changed = true;
    return true;
}

// The catalogue curve whose equation is the one given. Only those are solved: LibTomMath's square root
// takes a prime modulus, and for some other moduli (an odd square) it never returns.
[[nodiscard]] bool catalogueEquation(const CurveEquation &given, CurveEquation &eq) {
    mp_int reducedA;
    for (int i = 0; i < ecckey::EccCurve::numCatalogCurves(); ++i) {
        ecckey::EccCurve curve;
        ecckey::LogNull quiet;
        if (curve.loadCurveByName(ecckey::EccCurve::catalogEntry(i)->name, quiet) &&
            equationOfCurve(curve, eq) && TovarMp::mp_cmp(eq.p, given.p) == 0 &&
            TovarMp::mp_mod(given.a, eq.p, reducedA) == 0 && TovarMp::mp_cmp(reducedA, eq.a) == 0 &&
            TovarMp::mp_cmp(given.b, eq.b) == 0)
            return true;
    }
    return false;
}

// The equation named by an OID of the catalogue, or given by explicit ECParameters { version,
// fieldID { prime-field, p }, curve { a, b, seed? }, base, order, cofactor? } that match a catalogue
// curve's, whose compressed base point is made whole here. found is false for parameters that give none.
[[nodiscard]] bool equationOfParams(_tvAsn1 *params, CurveEquation &eq, bool &found, bool &changed,
                                    std::string &error) {
    found = false;
    if (params != nullptr && params->isOid()) {
        ecckey::StringBuffer oid;
        ecckey::EccCurve curve;
        ecckey::LogNull quiet;
        found = params->GetOid(oid) && curve.loadCurveByOid(oid, quiet) && equationOfCurve(curve, eq);
        return true;
    }
    if (params == nullptr || !params->isSequence() || params->getAsnPart(1) == nullptr ||
        params->getAsnPart(2) == nullptr)
        return true;
    const _tvAsn1 *coefficients = params->getAsnPart(2);
    CurveEquation given;
    found = fromContent(params->getAsnPart(1)->getAsnPart(1), given.p) &&
            fromContent(coefficients->getAsnPart(0), given.a) &&
            fromContent(coefficients->getAsnPart(1), given.b) && catalogueEquation(given, eq);
    return !found || decompressPart(*params, 3, false, eq, changed, error);
}

// SubjectPublicKeyInfo { algorithm { id-ecPublicKey, parameters }, subjectPublicKey }
[[nodiscard]] bool decompressSpki(_tvAsn1 &spki, bool &changed, std::string &error) {
    CurveEquation eq;
    bool found = false;
    return equationOfParams(spki.getAsnPart(0)->getAsnPart(1), eq, found, changed, error) &&
           (!found || decompressPart(spki, 1, true, eq, changed, error));
}

// ECPrivateKey { version, privateKey, [0] parameters?, [1] publicKey? }; outerParams are those of the
// PKCS #8 structure around it, if any.
[[nodiscard]] bool decompressSec1(_tvAsn1 &sec1, _tvAsn1 *outerParams, bool &changed, std::string &error) {
    _tvAsn1 *params = outerParams;
    _tvAsn1 *publicKey = nullptr;
    for (int i = 2; i < sec1.numAsnParts(); ++i) {
        _tvAsn1 *part = sec1.getAsnPart(i);
        if (part->tagClass() == _tvAsn1::CLASS_CONTEXT && part->tagNumber() == 0 && params == nullptr)
            params = part->getAsnPart(0);
        if (part->tagClass() == _tvAsn1::CLASS_CONTEXT && part->tagNumber() == 1)
            publicKey = part;
    }
    CurveEquation eq;
    bool found = false;
    return equationOfParams(params, eq, found, changed, error) &&
           (!found || publicKey == nullptr || decompressPart(*publicKey, 0, true, eq, changed, error));
}

// PrivateKeyInfo { version, algorithm { id-ecPublicKey, parameters }, privateKey (ECPrivateKey DER) }
[[nodiscard]] bool decompressPkcs8(_tvAsn1 &pkcs8, ecckey::LogBase &log, bool &changed, std::string &error) {
    DataBuffer innerDer;
    innerDer.setSensitive();
    unsigned consumed = 0;
    ecckey::LogNull quiet;
    if (!pkcs8.getAsnPart(2)->getAsnContent(innerDer))
        return true;
    _tvAsn1 *inner = _tvAsn1::DecodeToAsn(innerDer.getData2(), innerDer.getSize(), consumed, quiet);
    if (inner == nullptr)
        return true;
    ecckey::RefCountedObjectOwner innerOwner(inner);
    bool innerChanged = false;
    if (!inner->isSequence() || inner->numAsnParts() < 2 ||
        !decompressSec1(*inner, pkcs8.getAsnPart(1)->getAsnPart(1), innerChanged, error))
        return error.empty();
    if (!innerChanged)
        return true;
    innerDer.secureClear();
    if (!inner->EncodeToDer(innerDer, false, log) ||
        !pkcs8.replacePart(2, _tvAsn1::newOctetString(innerDer.getData2(), innerDer.getSize()))) {
        error = kOutOfMemory;
        return false;
    }
    changed = true;
    return true;
}

[[nodiscard]] bool isTag(const _tvAsn1 *node, int tag) {
    return node != nullptr && node->tagClass() == _tvAsn1::CLASS_UNIVERSAL && node->tagNumber() == tag;
}

// One DER element at offset, inside [offset, end): its tag, and where its content starts and how long it
// is. Lengths of up to two bytes: a key's DER is far shorter than 64 KiB.
[[nodiscard]] bool readElement(const DataBuffer &der, unsigned offset, unsigned end, unsigned char &tag,
                               unsigned &contentStart, unsigned &contentLen) {
    if (end < offset || end - offset < 2)
        return false;
    tag = der[offset];
    unsigned len = der[offset + 1];
    unsigned header = 2;
    if (len == 0x81 || len == 0x82) {
        header = len == 0x81 ? 3 : 4;
        if (end - offset < header)
            return false;
        len = len == 0x81 ? der[offset + 2] : (der[offset + 2] << 8) | der[offset + 3];
    } else if (len >= 0x80)
        return false;
    if (len > end - offset - header)
        return false;
    contentStart = offset + header;
    contentLen = len;
    return true;
}

[[nodiscard]] bool appendElement(unsigned char tag, const DataBuffer &content, DataBuffer &out) {
    const unsigned len = content.getSize();
    bool ok = out.appendChar(tag);
    if (len >= 0x100)
        ok = ok && out.appendChar(0x82) && out.appendChar((unsigned char)(len >> 8));
    else if (len >= 0x80)
        ok = ok && out.appendChar(0x81);
    return ok && out.appendChar((unsigned char)(len & 0xff)) && out.append(content);
}

using ContentRewrite = bool (*)(DataBuffer &content);

// Rewrites in place the content of the one element of der's outer SEQUENCE tagged tag, the lengths around
// it re-encoded. Every copy is sensitive: der holds a private key.
[[nodiscard]] bool rewriteChild(DataBuffer &der, unsigned char tag, ContentRewrite rewrite) {
    unsigned char outerTag = 0;
    unsigned start = 0;
    unsigned len = 0;
    if (!readElement(der, 0, der.getSize(), outerTag, start, len) || outerTag != 0x30 ||
        start + len != der.getSize())
        return false;
    DataBuffer body;
    body.setSensitive();
    bool found = false;
    for (unsigned at = start; at < start + len;) {
        unsigned char childTag = 0;
        unsigned childStart = 0;
        unsigned childLen = 0;
        if (!readElement(der, at, start + len, childTag, childStart, childLen))
            return false;
        const unsigned next = childStart + childLen;
        DataBuffer content;
        content.setSensitive();
        const bool copied = childTag != tag
                                ? body.append(der.getData2() + at, next - at)
                                : !found && content.append(der.getData2() + childStart, childLen) &&
                                      rewrite(content) && appendElement(tag, content, body);
        if (!copied)
            return false;
        found = found || childTag == tag;
        at = next;
    }
    DataBuffer rewritten;
    rewritten.setSensitive();
    if (!found || !appendElement(0x30, body, rewritten))
        return false;
    der.secureClear();
    return der.append(rewritten);
}

// The content of SEC 1's [1]: a BIT STRING holding the public point, rewritten with the point compressed.
[[nodiscard]] bool compressPublicBitString(DataBuffer &element) {
    unsigned char tag = 0;
    unsigned start = 0;
    unsigned len = 0;
    DataBuffer point;
    DataBuffer content;
    if (!readElement(element, 0, element.getSize(), tag, start, len) || tag != 0x03 ||
        start + len != element.getSize() || len < 2 || element[start] != 0 ||
        !point.append(element.getData2() + start + 1, len - 1) || !content.appendChar(0) ||
        !compressPoint(point, content))
        return false;
    element.clear();
    return appendElement(0x03, content, element);
}

[[nodiscard]] bool compressSec1(DataBuffer &der) {
    return rewriteChild(der, 0xa1, compressPublicBitString);
}

}  // namespace

bool decompressKeyDer(DataBuffer &der, ecckey::LogBase &log, std::string &error) {
    unsigned consumed = 0;
    ecckey::LogNull quiet;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, quiet);
    if (root == nullptr)
        return true;
    ecckey::RefCountedObjectOwner rootOwner(root);
    const _tvAsn1 *first = root->getAsnPart(0);
    const _tvAsn1 *second = root->getAsnPart(1);
    bool changed = false;
    bool ok = true;
    if (consumed != der.getSize() || !root->isSequence() || second == nullptr)
        return true;
    if (isTag(first, _tvAsn1::TAG_SEQUENCE) && first->numAsnParts() == 2)
        ok = decompressSpki(*root, changed, error);
    else if (isTag(first, _tvAsn1::TAG_INTEGER) && isTag(second, _tvAsn1::TAG_SEQUENCE) &&
             second->numAsnParts() == 2 && isTag(root->getAsnPart(2), _tvAsn1::TAG_OCTET_STRING))
        ok = decompressPkcs8(*root, log, changed, error);
    else if (isTag(first, _tvAsn1::TAG_INTEGER) && isTag(second, _tvAsn1::TAG_OCTET_STRING))
        ok = decompressSec1(*root, nullptr, changed, error);
    if (!ok || !changed)
        return ok;
    DataBuffer rewritten;
    rewritten.setSensitive();
    if (!root->EncodeToDer(rewritten, false, log)) {
        error = kOutOfMemory;
        return false;
    }
    der.secureClear();
    return der.append(rewritten);
}

bool compressSpki(DataBuffer &der, LogBase &log) {
    unsigned consumed = 0;
    _tvAsn1 *root = _tvAsn1::DecodeToAsn(der.getData2(), der.getSize(), consumed, log);
    RefCountedObjectOwner rootOwner(root);
    const _tvAsn1 *bitString = root != nullptr ? root->getAsnPart(1) : nullptr;
    DataBuffer content;
    DataBuffer point;
    DataBuffer compressed;
    DataBuffer rewritten;
    if (bitString == nullptr || !bitString->isBitString() || !bitString->getAsnContent(content) ||
        content.getSize() < 2 || !point.append(content.getData2() + 1, content.getSize() - 1) ||
        !compressPoint(point, compressed) ||
        !root->replacePart(1, _tvAsn1::newBitString(compressed.getData2(), compressed.getSize())) ||
        !root->EncodeToDer(rewritten, false, log))
        return false;
    der.clear();
    return der.append(rewritten);
}

bool compressPrivateKeyDer(DataBuffer &der, bool pkcs8) {
    return pkcs8 ? rewriteChild(der, 0x04, compressSec1) : compressSec1(der);
}

}  // namespace ecckey::formats
