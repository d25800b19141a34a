#!/usr/bin/env python3
# ecckey against pyca `cryptography`: `ecdh --kdf` on random keys, lengths, info and salt (every KDF and hash
# on a curve each, the secret agreed by cryptography itself); `sig-convert` between every two of DER, raw
# and SSH on six curves, r and s at their edges (1, the high bit set) and at random. Prints the rows.
# usage: pyca_interop_test.py ECCKEY WORKDIR
import os, secrets, subprocess, sys

try:
    from cryptography.hazmat.primitives import hashes, serialization as ser
    from cryptography.hazmat.primitives.asymmetric import ec
    from cryptography.hazmat.primitives.asymmetric.utils import encode_dss_signature
    from cryptography.hazmat.primitives.kdf.concatkdf import ConcatKDFHash
    from cryptography.hazmat.primitives.kdf.hkdf import HKDF
    from cryptography.hazmat.primitives.kdf.x963kdf import X963KDF
except ImportError:
    print("SKIP: Python's cryptography is not installed (Debian: python3-cryptography)")
    sys.exit(77)

ECCKEY, WORK = sys.argv[1], sys.argv[2]
os.makedirs(WORK, exist_ok=True)
CURVES = [ec.SECP256R1, ec.SECP384R1, ec.SECP521R1, ec.SECP256K1, ec.BrainpoolP256R1, ec.SECP224R1]
HASHES = {"sha224": hashes.SHA224, "sha256": hashes.SHA256, "sha384": hashes.SHA384, "sha512": hashes.SHA512}
KDFS = {"x963": lambda h, n, info, salt: X963KDF(h(), n, info),
        "concat": lambda h, n, info, salt: ConcatKDFHash(h(), n, info),
        "hkdf": lambda h, n, info, salt: HKDF(h(), n, salt, info)}


def pem_file(name, data):
    path = os.path.join(WORK, name)
    with open(path, "wb") as f:
        f.write(data)
    return path


rows = 0
for i, (kdf, (hname, h)) in enumerate((k, hh) for k in KDFS for hh in HASHES.items()):
    curve = CURVES[i % len(CURVES)]()
    mine, peer = ec.generate_private_key(curve), ec.generate_private_key(curve)
    key = pem_file("key.pem", mine.private_bytes(ser.Encoding.PEM, ser.PrivateFormat.PKCS8, ser.NoEncryption()))
    pub = pem_file("peer.pem", peer.public_key().public_bytes(ser.Encoding.PEM, ser.PublicFormat.SubjectPublicKeyInfo))
    n = 1 + secrets.randbelow(100)
    info = secrets.token_bytes(secrets.randbelow(40))
    salt = secrets.token_bytes(1 + secrets.randbelow(40)) if kdf == "hkdf" else None
    args = [ECCKEY, "ecdh", key, pub, "--kdf", f"{kdf}:{hname}", "--len", str(n)]
    args += ["--info", info.hex()] if info else []
    args += ["--salt", salt.hex()] if salt else []
    got = subprocess.run(args, capture_output=True, check=True, text=True).stdout.strip()
    want = KDFS[kdf](h, n, info or None, salt).derive(mine.exchange(ec.ECDH(), peer.public_key())).hex()
    if got != want.upper() and got != want:
        sys.exit(f"FAIL: {curve.name} {kdf}:{hname} len {n}: ecckey {got}, cryptography {want}")
    rows += 1


def mpint(v):
    b = v.to_bytes((v.bit_length() + 8) // 8, "big")  # a leading 0x00 where the high bit is set
    return len(b).to_bytes(4, "big") + b


conversions = 0
for curve in CURVES:
    size = (curve.key_size + 7) // 8
    for r, s in [(1, 2 ** (8 * size - 1) if size < 66 else 2 ** 520), (secrets.randbits(curve.key_size) | 1, 1)]:
        forms = {"der": encode_dss_signature(r, s), "raw": r.to_bytes(size, "big") + s.to_bytes(size, "big"),
                 "ssh": mpint(r) + mpint(s)}
        for src, data in forms.items():
            path = pem_file("sig", data)
            for dst, want in forms.items():
                got = subprocess.run([ECCKEY, "sig-convert", "--curve", curve.name, "--from", src, "--to", dst,
                                      "--in", path], capture_output=True, check=True, text=True).stdout.strip()
                if got != want.hex():
                    sys.exit(f"FAIL: {curve.name} {src} -> {dst}: ecckey {got}, expected {want.hex()}")
                conversions += 1
# A DER INTEGER with a redundant zero byte is not DER.
bad = subprocess.run([ECCKEY, "sig-convert", "--curve", "P-256", "--from", "der", "--to", "raw", "--in",
                      pem_file("sig", bytes.fromhex("300702020001020101"))], capture_output=True, text=True)
if bad.returncode != 2 or "ecckey: the signature is not der on secp256r1" not in bad.stderr:
    sys.exit(f"FAIL: non-minimal DER: {bad.returncode} {bad.stderr}")
print(f"pyca interop: {rows} KDF rows and {conversions} signature conversions match cryptography")
