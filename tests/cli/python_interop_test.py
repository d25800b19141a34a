#!/usr/bin/env python3
# Python's `cryptography` reads every key format ecckey writes and verifies its signatures, on every curve
# both know, over keys made from a chosen d: d and x start with a zero byte in one, d and y in another, and
# one comes from `ecckey gen`. DER keys must be the bytes cryptography (OpenSSL) writes for the same key; the
# RFC 5915 length of d and the RFC 7518 lengths of x, y and d are checked on the bytes. Prints passes and
# refusals per curve; a refusal is allowed only where listed in REFUSED, with its reason.
# usage: python_interop_test.py ECCKEY WORKDIR
import base64, json, os, re, secrets, subprocess, sys

try:
    from cryptography.hazmat.primitives import hashes, serialization as ser
    from cryptography.hazmat.primitives.asymmetric import ec, utils
except ImportError:
    print("SKIP: Python's cryptography is not installed (Debian: python3-cryptography)")
    sys.exit(77)

ECCKEY, PW = sys.argv[1], b"pass phrase"
CURVES = {"secp256r1": ec.SECP256R1, "secp384r1": ec.SECP384R1, "secp521r1": ec.SECP521R1,
          "secp256k1": ec.SECP256K1, "secp192r1": ec.SECP192R1, "secp224r1": ec.SECP224R1,
          "brainpoolP256r1": ec.BrainpoolP256R1, "brainpoolP384r1": ec.BrainpoolP384R1,
          "brainpoolP512r1": ec.BrainpoolP512R1}
# (formats, curves, what cryptography says): refusals that are the reader's limits, not ecckey's faults.
NIST = ("secp256r1", "secp384r1", "secp521r1")
REFUSED = [("spki-explicit xml", NIST, "unsupported at this time"),  # before cryptography 39: every explicit key
           ("spki-explicit xml", ("secp256k1",), "explicit parameters"),  # later: the NIST curves only
           ("xml", ("secp521r1",), "explicit parameters"),  # the library's own XML keeps P-521's 65-byte b
           ("ssh openssh", ("secp256k1", "secp224r1"), "Unsupported key type")]
SSH_CURVES = NIST + ("secp256k1", "secp224r1")


def run(*args, data=None):
    env = dict(os.environ, PW=PW.decode())
    return subprocess.run([ECCKEY, *args], input=data, env=env, capture_output=True, check=True).stdout


def b64url(text):
    return base64.urlsafe_b64decode(text + "=" * (-len(text) % 4))


def jwk_numbers(text, length):
    jwk = json.loads(text)
    assert all(len(b64url(jwk[m])) == length for m in "xyd" if m in jwk), jwk  # RFC 7518 6.2.1.2, 6.2.2.1
    return [int.from_bytes(b64url(jwk[m]), "big") for m in "xyd" if m in jwk]


def xml_content(text):
    return base64.b64decode(re.search(rb">([^<]+)</", text).group(1))


def sec1_d_length(der):
    return der[der.index(b"\x02\x01\x01\x04") + 4]  # ECPrivateKey { 1, OCTET STRING d, ... }


# A key whose d and coordinate (0 for x, 1 for y) start with a zero byte.
def pick_key(curve, length, coordinate):
    while True:
        key = ec.derive_private_key(secrets.randbelow(1 << (8 * length - 8)) + 1, curve())
        pub = key.public_key().public_numbers()
        if (pub.x, pub.y)[coordinate] < 1 << (8 * length - 8):
            return key


# (format, ecckey arguments, check of the output) for each private-key form.
def private_checks(key, length, name):
    nums = key.private_numbers()
    d, pub = nums.private_value, nums.public_numbers
    pkcs8 = lambda enc: key.private_bytes(enc, ser.PrivateFormat.PKCS8, ser.NoEncryption())
    sec1 = lambda enc: key.private_bytes(enc, ser.PrivateFormat.TraditionalOpenSSL, ser.NoEncryption())
    same_d = lambda k: k.private_numbers().private_value == d
    rows = [("pem", [], lambda o: o == pkcs8(ser.Encoding.PEM)),
            ("der", [], lambda o: o == pkcs8(ser.Encoding.DER)),
            ("sec1-pem", [], lambda o: o == sec1(ser.Encoding.PEM)),
            ("sec1-der", [], lambda o: o == sec1(ser.Encoding.DER) and sec1_d_length(o) == length),
            ("pem", ["--passout", "env:PW"], lambda o: same_d(ser.load_pem_private_key(o, PW))),
            ("der", ["--passout", "env:PW"], lambda o: same_d(ser.load_der_private_key(o, PW))),
            ("jwk", [], lambda o: jwk_numbers(o, length) == [pub.x, pub.y, d]),
            ("xml", [], lambda o: same_d(ser.load_der_private_key(xml_content(o), None)))]
    if name in SSH_CURVES:
        rows.append(("openssh", [], lambda o: same_d(ser.load_ssh_private_key(o, None))))
    return rows


def public_checks(key, length, name):
    pub = key.public_key()
    spki = pub.public_bytes(ser.Encoding.DER, ser.PublicFormat.SubjectPublicKeyInfo)
    point = pub.public_bytes(ser.Encoding.X962, ser.PublicFormat.UncompressedPoint)
    same = lambda k: k.public_bytes(ser.Encoding.DER, ser.PublicFormat.SubjectPublicKeyInfo) == spki
    rows = [("der", [], lambda o: o == spki),
            ("pem", [], lambda o: same(ser.load_pem_public_key(o))),
            ("spki-explicit", [], lambda o: same(ser.load_pem_public_key(o))),
            ("jwk", [], lambda o: jwk_numbers(o, length) == [pub.public_numbers().x, pub.public_numbers().y]),
            ("xml", [], lambda o: same(ser.load_der_public_key(xml_content(o)))),
            ("xmldsig", [], lambda o: xml_content(o) == point)]
    if name in SSH_CURVES:
        rows.append(("ssh", [], lambda o: same(ser.load_ssh_public_key(o))))
    return rows


# sign's hexadecimal output, DER and raw r||s, for three digests.
def check_signatures(keyfile, pub):
    open("msg", "wb").write(b"signed by ecckey")
    for digest, alg in (("sha256", hashes.SHA256()), ("sha384", hashes.SHA384()), ("sha1", hashes.SHA1())):
        for extra in ([], ["--sig-format", "raw"]):
            sig = bytes.fromhex(run("sign", keyfile, "--in", "msg", "--digest", digest, *extra).decode())
            if extra[-1:] == ["raw"]:
                half = len(sig) // 2
                sig = utils.encode_dss_signature(int.from_bytes(sig[:half], "big"), int.from_bytes(sig[half:], "big"))
            pub.verify(sig, b"signed by ecckey", ec.ECDSA(alg))


def main():
    os.makedirs(sys.argv[2], exist_ok=True)
    os.chdir(sys.argv[2])
    failures = 0
    for name, curve in CURVES.items():
        passed, refused = 0, {}
        length = (curve.key_size + 7) // 8
        generated = ser.load_pem_private_key(run("gen", name), None)
        for key in (pick_key(curve, length, 0), pick_key(curve, length, 1), generated):
            raw = "curve: %s\nprivate: %0*x\n" % (name, 2 * length, key.private_numbers().private_value)
            keypem = run("convert", "-", "--format", "pem", data=raw.encode())
            open("key.pem", "wb").write(keypem)
            for command, rows in (("convert", private_checks(key, length, name)), ("pub", public_checks(key, length, name))):
                for fmt, extra, check in rows:
                    out = run(command, "key.pem", "--format", fmt, *extra)
                    try:
                        ok, reason = check(out), "output differs"
                    except Exception as e:
                        ok, reason = False, "%s: %s" % (type(e).__name__, e)
                    allowed = [r for f, cs, r in REFUSED if fmt in f.split() and name in cs and r in reason]
                    passed += ok
                    if not ok:
                        refused["%s %s" % (command, fmt)] = reason
                        failures += not allowed
            check_signatures("key.pem", key.public_key())
            passed += 6
        print("%-16s %3d passed; refused: %s" % (name, passed, "; ".join("%s (%s)" % r for r in refused.items()) or "none"))
    return 1 if failures else 0


sys.exit(main())
