#include "formats/CoseKey.h"

#include <cbor.h>

#include <cstdlib>
#include <cstring>

#include "ecc/EccKey.h"
#include "ecc/PointDecompression.h"
#include "support/DataBuffer.h"
#include "support/LogBase.h"
#include "support/StringBuffer.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const struct CoseCurve {
    int crv;
    const char *name;
    int alg;
} s_curves[] = {{1, "secp256r1", -7}, {2, "secp384r1", -35}, {3, "secp521r1", -36}, {8, "secp256k1", -47}};

const CoseCurve *curveOfKey(const EccKey &key) {
    for (const CoseCurve &c : s_curves) {
        if (key.m_curve.m_name.equals(c.name))
            return &c;
    }
    return nullptr;
}

const int kMaxCoseLen = 512;  // the largest key, P-521 with d and a kid of 64 bytes, is under 300 bytes

struct ItemRef {
    cbor_item_t *item;
    explicit ItemRef(cbor_item_t *i) : item(i) {}
    ~ItemRef() {
        if (item)
            cbor_decref(&item);
    }
    ItemRef(const ItemRef &) = delete;
    ItemRef &operator=(const ItemRef &) = delete;
};

// A CBOR integer label or value; false for any other item.
[[nodiscard]] bool intOf(const cbor_item_t *item, long &value) {
    if (cbor_isa_uint(item))
        value = (long)cbor_get_int(item);
    else if (cbor_isa_negint(item))
        value = -1 - (long)cbor_get_int(item);
    else
        return false;
    return true;
}

// Wipes every definite byte string of the map's values before libcbor frees them (d among them).
void wipeByteStrings(cbor_item_t *map) {
    struct cbor_pair *pairs = cbor_map_handle(map);
    for (size_t i = 0; i < cbor_map_size(map); ++i) {
        if (cbor_isa_bytestring(pairs[i].value) && cbor_bytestring_is_definite(pairs[i].value))
            wipe(cbor_bytestring_handle(pairs[i].value), cbor_bytestring_length(pairs[i].value));
    }
}

// Adds label: value to the map; the value is a fresh item handed over (null when libcbor ran out).
[[nodiscard]] bool addPair(cbor_item_t *map, long label, cbor_item_t *value) {
    cbor_item_t *key =
        label >= 0 ? cbor_build_uint8((uint8_t)label) : cbor_build_negint8((uint8_t)(-1 - label));
    const bool ok = key != nullptr && value != nullptr && cbor_map_add(map, {key, value});
    if (key)
        cbor_decref(&key);
    if (value)
        cbor_decref(&value);
    return ok;
}

cbor_item_t *intItem(long v) {
    return v >= 0 ? cbor_build_uint8((uint8_t)v) : cbor_build_negint8((uint8_t)(-1 - v));
}

// A byte string whose storage is a malloc'd copy the caller can wipe (libcbor frees it with the item).
cbor_item_t *bytesItem(const unsigned char *p, unsigned len, unsigned char **storage) {
    cbor_item_t *item = cbor_new_definite_bytestring();
    unsigned char *copy = static_cast<unsigned char *>(std::malloc(len ? len : 1));
    if (item == nullptr || copy == nullptr) {
        std::free(copy);
        if (item)
            cbor_decref(&item);
        return nullptr;
    }
    std::memcpy(copy, p, len);
    cbor_bytestring_set_handle(item, copy, len);
    if (storage)
        *storage = copy;
    return item;
}

// libcbor's loader allocates an array or map for the count its header claims before it reads a member, so
// nine hostile bytes could ask for gigabytes. A pass with the streaming decoder first: every count must fit
// in the bytes that are left (each member takes at least one), and the input must be whole items.
struct CountCheck {
    size_t left = 0;
    bool fits = true;
};

void checkArray(void *context, size_t count) {
    CountCheck &check = *static_cast<CountCheck *>(context);
    check.fits = check.fits && count <= check.left;
}

void checkMap(void *context, size_t count) {
    CountCheck &check = *static_cast<CountCheck *>(context);
    check.fits = check.fits && count <= check.left / 2;
}

[[nodiscard]] bool countsFitInput(const DataBuffer &cbor) {
    struct cbor_callbacks callbacks = cbor_empty_callbacks;
    callbacks.array_start = checkArray;
    callbacks.map_start = checkMap;
    CountCheck check;
    for (size_t at = 0; at < cbor.getSize() && check.fits;) {
        check.left = cbor.getSize() - at;
        const struct cbor_decoder_result step =
            cbor_stream_decode(cbor.getData2() + at, cbor.getSize() - at, &callbacks, &check);
        if (step.status != CBOR_DECODER_FINISHED || step.read == 0)
            return false;
        at += step.read;
    }
    return check.fits && cbor.getSize() > 0;
}

}  // namespace

bool toCoseKey(EccKey &key, bool writePrivate, const unsigned char *kid, unsigned kidLen, bool withAlg,
               DataBuffer &out, LogBase &log) {
    LogContextExitor ctx(log, "toCoseKey");
    out.secureClear();
    out.setSensitive(writePrivate);
    const CoseCurve *curve = curveOfKey(key);
    if (curve == nullptr || (writePrivate && !key.isPrivate())) {
        log.logError(curve == nullptr ? "COSE keys take P-256, P-384, P-521 or secp256k1."
                                      : "Must be a private key.");
        return false;
    }
    const unsigned len = (unsigned)key.m_curve.m_byteLen;
    DataBuffer point, d;
    d.setSensitive();
    // d at the curve's byte length, from the key's own hex writer (its text buffers are wiped).
    StringBuffer privHex, pubHex;
    if (!key.exportEccPoint(point, log) || point.getSize() != 1 + 2 * len ||
        (writePrivate && (!key.toRawHex(privHex, pubHex, log) ||
                          !d.appendEncoded(privHex.getString(), "hex") || d.getSize() != len))) {
        log.logError("Cannot export the key.");
        return false;
    }
    ItemRef map(cbor_new_definite_map(7));
    unsigned char *dStorage = nullptr;
    Wiped<unsigned char[kMaxCoseLen]> buffer;
    bool ok = map.item != nullptr && addPair(map.item, 1, intItem(2)) &&
              (kid == nullptr || addPair(map.item, 2, bytesItem(kid, kidLen, nullptr))) &&
              (!withAlg || addPair(map.item, 3, intItem(curve->alg))) &&
              addPair(map.item, -1, intItem(curve->crv)) &&
              addPair(map.item, -2, bytesItem(point.getData2() + 1, len, nullptr)) &&
              addPair(map.item, -3, bytesItem(point.getData2() + 1 + len, len, nullptr)) &&
              (!writePrivate || addPair(map.item, -4, bytesItem(d.getData2(), d.getSize(), &dStorage)));
    const size_t written = ok ? cbor_serialize(map.item, buffer.get(), sizeof buffer.get()) : 0;
    if (dStorage != nullptr)
        wipe(dStorage, d.getSize());
    ok = written > 0 && out.append(buffer.get(), (unsigned)written);
    if (!ok) {
        out.secureClear();
        log.logError("Cannot write the COSE key.");
    }
    return ok;
}

bool loadCoseKey(EccKey &key, const DataBuffer &cbor, LogBase &log) {
    LogContextExitor ctx(log, "loadCoseKey");
    key.clearEccKey();
    struct cbor_load_result result;
    ItemRef root(countsFitInput(cbor) ? cbor_load(cbor.getData2(), cbor.getSize(), &result) : nullptr);
    if (root.item == nullptr || result.read != cbor.getSize() || !cbor_isa_map(root.item) ||
        !cbor_map_is_definite(root.item)) {
        log.logError("Not a COSE EC2 key.");
        return false;
    }
    long kty = 0, crv = 0;
    const cbor_item_t *x = nullptr, *y = nullptr, *d = nullptr;
    struct cbor_pair *pairs = cbor_map_handle(root.item);
    for (size_t i = 0; i < cbor_map_size(root.item); ++i) {
        long label = 0;
        if (!intOf(pairs[i].key, label))
            continue;
        if (label == 1 && !intOf(pairs[i].value, kty))
            kty = 0;
        else if (label == -1 && !intOf(pairs[i].value, crv))
            crv = 0;
        const cbor_item_t **slot = label == -2 ? &x : label == -3 ? &y : label == -4 ? &d : nullptr;
        if (slot)
            *slot = pairs[i].value;
    }
    const CoseCurve *curve = nullptr;
    for (const CoseCurve &c : s_curves)
        curve = c.crv == crv ? &c : curve;
    const unsigned len = curve ? (unsigned)(crv == 3 ? 66 : crv == 2 ? 48 : 32) : 0;
    auto definite = [len](const cbor_item_t *item) {
        return item && cbor_isa_bytestring(item) && cbor_bytestring_is_definite(item) &&
               cbor_bytestring_length(item) == len;
    };
    // y may be its sign bit alone (RFC 9053 7.1.1): true for an odd y, as the 03 of a compressed point.
    const bool signBit = y != nullptr && cbor_is_bool(y);
    const char *why = nullptr;
    if (kty != 2 || curve == nullptr || !definite(x) || (d != nullptr && !definite(d)) || y == nullptr ||
        (!signBit && !definite(y)))
        why = "Not a COSE EC2 key.";
    DataBuffer point, scalar, derived;
    scalar.setSensitive();
    LogNull quiet;
    bool ok = why == nullptr && point.appendChar(signBit ? (cbor_get_bool(y) ? 3 : 2) : 4) &&
              point.append(cbor_bytestring_handle(x), len) &&
              (signBit || point.append(cbor_bytestring_handle(y), len));
    std::string notWhole;
    if (ok && signBit && !makePointWhole(curve->name, point, notWhole)) {
        why = "The COSE key's x is not on its curve.";
        ok = false;
    }
    if (ok && d != nullptr) {
        ok = scalar.append(cbor_bytestring_handle(d), len) && key.loadEccPrivateRaw(scalar, crv == 8, log) &&
             key.exportEccPoint(derived, quiet);
        if (ok && !derived.equals(point))
            why = "The COSE key's d does not match its x and y.";
    } else if (ok) {
        ok = key.loadEcPubKeyByCurveAndPoint(curve->name, point, log);
    }
    scalar.secureClear();
    wipeByteStrings(root.item);
    if (!ok || why != nullptr) {
        log.logError(why ? why : "Not a COSE EC2 key.");
        key.clearEccKey();
        return false;
    }
    return true;
}

}  // namespace ecckey
