#!/bin/bash
# Oversized and out-of-range inputs through every loader, and key files that ask for more key-derivation work
# than the command gives: each is refused with its message within 2 s and 256 MiB (virtual memory, except
# under AddressSanitizer, which reserves terabytes), where the unchecked loaders took minutes or gigabytes.
. "$(dirname "$0")/lib.sh"
MiB=$((1 << 20))
# Hexadecimal of a little under 1 MiB, text files staying under the cap.
hex() { head -c $((MiB / 2 - 64)) /dev/zero | tr '\0' '\021' | hex_of; }
truncate -s 1G big.pem
printf 'curve: P-256\nprivate: %s\n' "$(hex)" >bigd.hex
printf 'curve: P-256\npublic: 04%s\n' "$(hex)" >bigpoint.hex
hex >bare.hex
ok gen P-256 --format jwk -o k.jwk
# JWK, XML, an SSH line and DER near 1 MiB: a long d, x, base64 and point; nested SEQUENCEs; empty
# SEQUENCEs in one; SEC 1 with a long d; a SubjectPublicKeyInfo with a long point.
python3 - "$MiB" <<'PY'
import base64, json, sys
M = int(sys.argv[1])
long64 = base64.urlsafe_b64encode(b"\21" * (M * 3 // 4 - 384)).decode().rstrip("=")
for member in "dx":
    jwk = json.load(open("k.jwk"))
    jwk[member] = long64
    json.dump(jwk, open("big%s.jwk" % member, "w"))
open("big.xml", "w").write("<ECCKeyValue>%s</ECCKeyValue>" % long64)
def tlv(tag, body): return bytes([tag, 0x83]) + len(body).to_bytes(3, "big") + body
def save(name, data): open(name, "wb").write(data)
def s(b): return len(b).to_bytes(4, "big") + b
point = b"\4" + b"\21" * (M // 2)
save("bigpoint.pub", b"ecdsa-sha2-nistp256 " + base64.b64encode(s(b"ecdsa-sha2-nistp256") + s(b"nistp256") + s(point)))
k = M // 5 - 1
save("nested.der", b"".join(b"\x30\x83" + (M - 5 * (i + 1)).to_bytes(3, "big") for i in range(k)) + bytes(M - 5 * k))
save("flat.der", tlv(0x30, b"\x30\x00" * (M // 2 - 8)))
save("bigd.der", tlv(0x30, b"\2\1\1" + tlv(4, b"\21" * (M - 64))))
alg = bytes.fromhex("301306072a8648ce3d020106082a8648ce3d030107")
save("bigpoint.der", tlv(0x30, alg + tlv(3, b"\0" + point[:M - 64])))
PY
# Each key-derivation ceiling plus one, written by the tools themselves.
ok gen P-256 -o k.pem
echo pw >pw
ok convert k.pem --format pem --passout file:pw --iter 1000 -o enc.pem
p8() { openssl pkcs8 -topk8 -in k.pem -passout file:pw "$@"; }
p8 -v2 aes-256-cbc -iter 1000001 -out pbkdf2.pem
p8 -v1 PBE-SHA1-3DES -iter 1000001 -out pbe.pem
p8 -scrypt -scrypt_N 16384 -scrypt_r 8 -scrypt_p 9 -out scrypt.pem
if command -v puttygen >/dev/null; then
    ok convert k.pem --format ppk -o k.ppk
    for param in kdf=argon2d memory=131073,passes=1 memory=8192,passes=129 memory=8192,passes=1,parallelism=17; do
        puttygen k.ppk -P --new-passphrase pw --ppk-param "$param" -o "${param//[=,]/_}.ppk" || fail "puttygen $param"
    done
fi
ldd "$ECCKEY" | grep -q libasan || ulimit -v $((256 * 1024))

# error output (a glob) | arguments; each run is killed after 2 s.
while IFS='|' read -r text args; do
    [[ $args != *.ppk* ]] || command -v puttygen >/dev/null || continue
    OUT=$(timeout 2 "$ECCKEY" $args 2>.stderr)
    RC=$? ERR=$(cat .stderr)
    [ "$RC" = 2 ] && [[ $ERR == *$text* ]] || fail "ecckey $args: exit $RC (124: over 2 s): $ERR"
done <<'TABLE'
'big.pem' is larger than 1 MiB, the most a key file may be|pub big.pem
'big.pem' is larger than 1 MiB|verify k.pem --sig big.pem --hash 00
'big.pem' is larger than 1 MiB|pub enc.pem --passin file:big.pem
the private scalar as written is not in ?1, n-1? of secp256r1|pub bigd.hex
the public point is longer than any curve's|pub bigpoint.hex
cannot load the hexadecimal key|pub bare.hex
the JWK member "d" is longer than any curve's value|pub bigd.jwk
the JWK member "x" is longer than any curve's value|pub bigx.jwk
the XML key is longer than any key|pub big.xml
the public point is longer than any curve's|pub bigpoint.pub
loadEccDer:*ASN.1 nesting exceeds the depth limit.|pub nested.der -v
The DER key has more elements, or a longer value, than a key can have.|pub flat.der -v
The DER key has more elements, or a longer value, than a key can have.|pub bigd.der -v
The DER key has more elements, or a longer value, than a key can have.|pub bigpoint.der -v
the encrypted key asks for more than 1000000 PBKDF2 iterations, the most ecckey runs|pub pbkdf2.pem --passin file:pw
the encrypted key asks for more than 1000000 iterations, the most ecckey runs|pub pbe.pem --passin file:pw
the encrypted key asks for scrypt N * r * p above 1048576, the most ecckey runs|pub scrypt.pem --passin file:pw
derives its key with Argon2d, whose memory accesses depend on the passphrase|pub kdf_argon2d.ppk --passin file:pw
asks for more than 131072 KiB of Argon2 memory|pub memory_131073_passes_1.ppk --passin file:pw
asks for more than 1048576 KiB x passes of Argon2 work|pub memory_8192_passes_129.ppk --passin file:pw
asks for more than 16 Argon2 lanes|pub memory_8192_passes_1_parallelism_17.ppk --passin file:pw
TABLE
