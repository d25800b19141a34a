#!/usr/bin/env python3
"""Prints the four explicit-parameter SubjectPublicKeyInfo templates used by the long public-key DER form.

The domain parameters (p, a, b, seed, G, n, h) are the SEC 2 values as OpenSSL carries them
(`openssl ecparam -param_enc explicit`). The templates keep the widths existing files use: P-256 and
P-384 write a and b at field length, P-521 writes b without its leading zero byte (65 bytes), secp256k1
writes a and b as one byte each and has no seed. The sample public point is the base point G; the
library always replaces it with the key's own point, which has the same length.

Run once; the output is pasted into ecc/EccExplicitParams.cpp (the tests have OpenSSL read what it writes).
"""
import base64
import subprocess
import textwrap


def der_len(n):
    if n < 0x80:
        return bytes([n])
    b = n.to_bytes((n.bit_length() + 7) // 8, "big")
    return bytes([0x80 | len(b)]) + b


def tlv(tag, content):
    return bytes([tag]) + der_len(len(content)) + content


def parse(der):
    """Returns the list of (tag, content) elements inside one constructed element."""
    tag, rest = der[0], der[1:]
    n = rest[0]
    if n & 0x80:
        k = n & 0x7F
        n = int.from_bytes(rest[1:1 + k], "big")
        rest = rest[1 + k:]
    else:
        rest = rest[1:]
    content = rest[:n]
    items = []
    while content:
        t = content[0]
        m = content[1]
        hl = 2
        if m & 0x80:
            k = m & 0x7F
            m = int.from_bytes(content[2:2 + k], "big")
            hl = 2 + k
        items.append((t, content[hl:hl + m], content[:hl + m]))
        content = content[hl + m:]
    return tag, items


def integer(v):
    b = v.to_bytes(max(1, (v.bit_length() + 8) // 8), "big")  # room for a sign bit
    return tlv(0x02, b)


OID_EC_PUBLIC_KEY = bytes.fromhex("06072A8648CE3D0201")
OID_PRIME_FIELD = bytes.fromhex("06072A8648CE3D0101")


def template(openssl_name, a_len, b_len, with_seed):
    der = subprocess.run(["openssl", "ecparam", "-name", openssl_name, "-param_enc", "explicit",
                          "-outform", "DER"], check=True, capture_output=True).stdout
    _, (version, field_id, curve, base, order, cofactor) = parse(der)
    _, (_, p_int) = parse(field_id[2])
    _, curve_items = parse(curve[2])
    a = int.from_bytes(curve_items[0][1], "big")
    b = int.from_bytes(curve_items[1][1], "big")
    seed = curve_items[2][2] if len(curve_items) > 2 else b""
    p = int.from_bytes(p_int[1], "big")
    curve_der = tlv(0x04, a.to_bytes(a_len, "big")) + tlv(0x04, b.to_bytes(b_len, "big"))
    if with_seed:
        assert seed, openssl_name
        curve_der += seed
    params = tlv(0x30, integer(1) + tlv(0x30, OID_PRIME_FIELD + integer(p)) + tlv(0x30, curve_der) +
                 base[2] + order[2] + cofactor[2])
    alg_id = tlv(0x30, OID_EC_PUBLIC_KEY + params)
    point = tlv(0x03, b"\x00" + base[1])
    return tlv(0x30, alg_id + point)


def main():
    for name, openssl_name, a_len, b_len, seed, size in [
            ("secp256r1", "prime256v1", 32, 32, True, 335),
            ("secp384r1", "secp384r1", 48, 48, True, 464),
            ("secp521r1", "secp521r1", 66, 65, True, 608),
            ("secp256k1", "secp256k1", 1, 1, False, 248)]:
        t = template(openssl_name, a_len, b_len, seed)
        assert len(t) == size, (name, len(t))
        text = base64.b64encode(t).decode()
        print(f"// {name}: {len(t)} bytes")
        for line in textwrap.wrap(text, 96):
            print(f'    "{line}"')
        print()


if __name__ == "__main__":
    main()
