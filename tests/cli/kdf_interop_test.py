#!/usr/bin/env python3
# `ecckey ecdh --kdf` against pyca `cryptography` on random keys, lengths, info and salt: every KDF and hash
# on a curve each, the secret agreed by cryptography itself. Prints the number of rows that matched.
# usage: kdf_interop_test.py ECCKEY WORKDIR
import os, secrets, subprocess, sys

try:
    from cryptography.hazmat.primitives import hashes, serialization as ser
    from cryptography.hazmat.primitives.asymmetric import ec
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
print(f"kdf interop: {rows} rows match cryptography")
