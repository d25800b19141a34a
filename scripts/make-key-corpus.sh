#!/bin/bash
# Regenerates tests/data/keys/: key files made by openssl, ssh-keygen and puttygen, each named after what
# it holds, and corpus.tsv, one row a file: the file, its passphrase ("-" for none) and the expected public
# point (X9.63, uncompressed, in hexadecimal, as openssl reads it from the file it was made from) or
# "error: " and the message the library gives.
#   scripts/make-key-corpus.sh [OUTDIR]
set -euo pipefail
OUT=$(realpath "${1:-$(dirname "$0")/../tests/data/keys}")
PASS='pass phrase'
mkdir -p "$OUT"
cd "$OUT"
rm -f ./*.pem ./*.der ./*.openssh ./*.ppk ./*.pub corpus.tsv
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
echo "$PASS" >"$WORK/pw"
: >"$WORK/empty"

# The uncompressed point of a PEM key (private or public) by openssl, the last $2 bytes of its SPKI DER.
point_hex() {
    local args=(-pubin)
    grep -q PRIVATE "$1" && args=()
    openssl ec "${args[@]}" -in "$1" -pubout -conv_form uncompressed -outform DER 2>/dev/null |
        tail -c "$2" | od -An -v -tx1 | tr -d ' \n'
}
row() { printf '%s\t%s\t%s\n' "$1" "$2" "$3" >>corpus.tsv; }

for curve in 256 384 521; do
    name=p$curve
    case $curve in 256) len=65 ;; 384) len=97 ;; 521) len=133 ;; esac
    # ssh-keygen: the key, then the same key under each cipher it offers.
    ssh-keygen -q -t ecdsa -b $curve -N '' -C "$name@corpus" -f "$WORK/$name"
    cp "$WORK/$name" $name.openssh
    ssh-keygen -e -m PKCS8 -f "$WORK/$name.pub" >"$WORK/$name.spki"
    P=$(point_hex "$WORK/$name.spki" $len)
    row $name.openssh - "$P"
    cp $name.openssh $name-aes256ctr.openssh
    ssh-keygen -q -p -P '' -N "$PASS" -f $name-aes256ctr.openssh
    row $name-aes256ctr.openssh "$PASS" "$P"
    row $name-aes256ctr.openssh - "error: the private key is encrypted and no passphrase was given"
    row $name-aes256ctr.openssh wrong "error: OpenSSH private key, aes256-ctr: wrong passphrase"
    # puttygen: versions 2 and 3, with and without a passphrase, of the same key.
    for v in 2 3; do
        puttygen $name.openssh --ppk-param version=$v --new-passphrase "$WORK/empty" -O private -o $name-v$v.ppk
        puttygen $name.openssh --ppk-param version=$v --new-passphrase "$WORK/pw" -O private -o $name-v$v-pass.ppk
        row $name-v$v.ppk - "$P"
        row $name-v$v-pass.ppk "$PASS" "$P"
    done
    row $name-v3-pass.ppk wrong "error: wrong passphrase for the PuTTY key (its MAC does not match)"
    # openssl: PKCS #8 (plain, PBES2, DER), SEC 1 (plain, Proc-Type, explicit parameters, after EC
    # PARAMETERS), SubjectPublicKeyInfo (uncompressed and compressed).
    cp "$WORK/$name" "$WORK/$name.sec1"
    ssh-keygen -q -p -P '' -N '' -m PEM -f "$WORK/$name.sec1"
    openssl pkcs8 -topk8 -nocrypt -in "$WORK/$name.sec1" -out $name-pkcs8.pem
    openssl pkcs8 -topk8 -nocrypt -in "$WORK/$name.sec1" -outform DER -out $name-pkcs8.der
    openssl pkcs8 -topk8 -v2 aes-256-cbc -passout "pass:$PASS" -in "$WORK/$name.sec1" -out $name-pkcs8-aes256.pem
    openssl ec -in "$WORK/$name.sec1" -out $name-sec1.pem 2>/dev/null
    openssl ec -in "$WORK/$name.sec1" -aes256 -passout "pass:$PASS" -out $name-sec1-aes256.pem 2>/dev/null
    openssl ec -in "$WORK/$name.sec1" -param_enc explicit -out $name-sec1-explicit.pem 2>/dev/null
    openssl ec -in "$WORK/$name.sec1" -pubout -out $name-spki.pem 2>/dev/null
    openssl ec -in "$WORK/$name.sec1" -pubout -conv_form compressed -out $name-spki-compressed.pem 2>/dev/null
    { openssl ecparam -name "$(openssl ec -in "$WORK/$name.sec1" -text -noout 2>/dev/null |
        sed -n 's/^NIST CURVE: //p; s/^ASN1 OID: //p' | head -n 1)"; cat $name-sec1.pem; } >$name-params-sec1.pem
    for f in pkcs8.pem pkcs8.der sec1.pem sec1-explicit.pem spki.pem spki-compressed.pem params-sec1.pem; do
        row $name-$f - "$P"
    done
    row $name-pkcs8-aes256.pem "$PASS" "$P"
    row $name-sec1-aes256.pem "$PASS" "$P"
    row $name-pkcs8-aes256.pem wrong \
        "error: cannot decrypt the private key (wrong passphrase, or a scheme libcrypto does not know)"
done

# The other ciphers ssh-keygen offers, on P-256's key.
for cipher in aes128-ctr aes192-ctr aes128-cbc aes192-cbc aes256-cbc aes128-gcm@openssh.com \
    aes256-gcm@openssh.com chacha20-poly1305@openssh.com; do
    short=$(echo "$cipher" | sed 's/@openssh.com//; s/-//g')
    cp p256.openssh p256-$short.openssh
    ssh-keygen -q -p -P '' -N "$PASS" -Z "$cipher" -f p256-$short.openssh
    row p256-$short.openssh "$PASS" "$(awk -F'\t' '$1 == "p256.openssh" {print $3}' corpus.tsv)"
done
row p256-aes256gcm.openssh wrong "error: OpenSSH private key, aes256-gcm@openssh.com: wrong passphrase (the tag does not match)"

# More bcrypt rounds than the reader runs: refused before any work.
cp p256.openssh p256-aes256ctr-rounds100.openssh
ssh-keygen -q -p -P '' -N "$PASS" -a 100 -f p256-aes256ctr-rounds100.openssh
row p256-aes256ctr-rounds100.openssh "$PASS" \
    "error: OpenSSH private key, aes256-ctr: the key asks for more than 64 bcrypt rounds, the most this reader runs"
# Not an ECDSA key.
ssh-keygen -q -t ed25519 -N '' -C '' -f ed25519.openssh && rm ed25519.openssh.pub
row ed25519.openssh - 'error: the OpenSSH key "ssh-ed25519" is not an ECDSA key'

# openssl on the other curves: PKCS #8, and encrypted PKCS #8 on two of them.
for curve in prime192v1 secp224r1 secp256k1 brainpoolP160r1 brainpoolP192r1 brainpoolP224r1 brainpoolP256r1 \
    brainpoolP320r1 brainpoolP384r1 brainpoolP512r1; do
    openssl ecparam -name $curve -genkey -noout -out "$WORK/$curve.sec1"
    openssl pkcs8 -topk8 -nocrypt -in "$WORK/$curve.sec1" -out $curve-pkcs8.pem
    openssl ec -in "$WORK/$curve.sec1" -pubout -out "$WORK/$curve.spki" 2>/dev/null
    bytes=$(openssl ec -in "$WORK/$curve.sec1" -pubout -outform DER 2>/dev/null | openssl asn1parse -inform DER |
        awk '/BIT STRING/ {sub(/.*l= */, ""); print $1 - 1}')
    P=$(point_hex "$WORK/$curve.spki" "$bytes")
    row $curve-pkcs8.pem - "$P"
    case $curve in secp256k1 | brainpoolP384r1)
        openssl pkcs8 -topk8 -v2 aes-256-cbc -passout "pass:$PASS" -in "$WORK/$curve.sec1" -out $curve-pkcs8-aes256.pem
        row $curve-pkcs8-aes256.pem "$PASS" "$P" ;;
    esac
done
echo "$(wc -l <corpus.tsv) rows in $OUT/corpus.tsv"
