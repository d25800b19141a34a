#!/bin/bash
# Every ecckey subcommand on one curve against openssl and ssh-keygen: each format written and read
# back, keys crossing both ways, ECDH, signatures both ways for every digest, and SSH fingerprints.
# usage: curve_test.sh ECCKEY WORKDIR CURVE   (CURVE as openssl names it too: P-256, secp256k1, ...)
. "$(dirname "$0")/lib.sh"
CURVE=$3

# gen writes PKCS #8 PEM by default, 0600; convert takes it to each private format and back, byte for byte.
ok gen "$CURVE" -o k.pem
expect_eq "$(stat -c %a k.pem)" 600 "mode of k.pem"
for f in sec1-pem der sec1-der jwk xml raw-hex $([[ $CURVE == brainpool* ]] || echo openssh ppk); do
    ok convert k.pem --format "$f" -o "k.$f"
    ok convert "k.$f" --format pem -o back.pem --force
    cmp -s k.pem back.pem || fail "private $f round trip"
done
# The layouts: both PEM labels (the round trips above would not tell them apart) and the XML element.
expect_eq "$(head -qn 1 k.pem k.sec1-pem | tr -d -)" $'BEGIN PRIVATE KEY\nBEGIN EC PRIVATE KEY' "PEM labels"
expect_eq "$(head -c 12 k.xml)" "<ECCKeyValue" "xml layout"
# pub writes every public format; convert reads each back, still public, to the same DER.
ok pub k.pem --format der -o p.der
for f in pem spki-explicit jwk xml xmldsig ssh raw-hex; do
    [ "$f" = ssh ] && [[ $CURVE == brainpool* ]] && continue # no SSH name: errors_test.sh has the refusal
    ok pub k.pem --format "$f" -o "p.$f"
    ok convert "p.$f" --format der -o back.der --force
    cmp -s p.der back.der || fail "public $f round trip"
done
ok pub - <k.xml
expect_eq "$OUT" "$(cat p.pem)" "pub from standard input, by default PEM to standard output"

# openssl reads what ecckey writes, and ecckey what openssl writes.
for f in pem sec1-pem der sec1-der; do
    openssl pkey -in "k.$f" -pubout -outform DER | cmp -s - p.der || fail "openssl on k.$f"
done
# Byte for byte what openssl writes for the same key: PKCS #8, SEC 1 and explicit parameters.
openssl pkey -in k.pem | cmp -s - k.pem || fail "PKCS #8 is not openssl's"
openssl ec -in k.pem 2>/dev/null | cmp -s - k.sec1-pem || fail "SEC 1 is not openssl's"
[[ $CURVE == brainpool* ]] || openssl ec -in k.pem -pubout -param_enc explicit 2>/dev/null |
    cmp -s - p.spki-explicit || fail "explicit parameters are not openssl's"
# --passout writes PBES2 (PBKDF2-HMAC-SHA256, AES-256-CBC), which openssl decrypts; ecckey decrypts openssl's
# encrypted PKCS #8 (PEM, DER) and SEC 1. Compressed points and a PEM block followed by bytes are read too.
export PW='a pass phrase'
echo "$PW" >pw
ok convert k.pem --passout env:PW --format pem -o enc.pem
openssl pkey -in enc.pem -passin env:PW | cmp -s - k.pem || fail "openssl on --passout"
expect_eq "$(openssl asn1parse -in enc.pem | grep -oE 'PBES2|PBKDF2|hmacWithSHA256|aes-256-cbc' | tr '\n' ' ')" \
    "PBES2 PBKDF2 hmacWithSHA256 aes-256-cbc " "the --passout scheme"
openssl pkcs8 -topk8 -v2 aes-256-cbc -in k.pem -passout env:PW -out o8.pem &&
    openssl pkcs8 -topk8 -v2 aes-128-cbc -in k.pem -passout env:PW -outform DER -out o8.der &&
    openssl ec -aes256 -in k.pem -passout env:PW -out o1.pem 2>/dev/null &&
    openssl ec -in k.pem -conv_form compressed -out c1.pem 2>/dev/null && openssl pkey -in c1.pem -out c8.pem &&
    openssl ec -in k.pem -pubout -conv_form compressed -out cp.pem 2>/dev/null || fail "openssl"
[[ $CURVE == brainpool* ]] || openssl ec -in k.pem -pubout -conv_form compressed -param_enc explicit -out cpe.pem 2>/dev/null
{ cat k.pem; printf '\0\1binary'; } >tail.pem
for f in o8.pem o8.der o1.pem c1.pem c8.pem cp.pem cpe.pem tail.pem; do
    [ -e $f ] || continue
    ok pub $f --passin file:pw --format der -o back.der --force
    cmp -s p.der back.der || fail "ecckey on $f"
done
# --compressed writes what openssl's -conv_form compressed writes, byte for byte, in each form that has it.
for f in c1 c8 cp; do sed '1d;$d' $f.pem | base64 -d >$f.der; done
for row in "convert sec1-pem c1.pem" "convert sec1-der c1.der" "convert pem c8.pem" "convert der c8.der" \
    "pub pem cp.pem" "pub der cp.der"; do
    read -r command f want <<<"$row"
    ok "$command" k.pem --format "$f" --compressed -o "c.$f" --force
    cmp -s "c.$f" "$want" || fail "$command --format $f --compressed is not openssl's $want"
done
ok pub k.pem --format raw-hex --compressed
point=${OUT##*public: }
expect_eq "$point" "$(hex_of <cp.der | tail -c ${#point})" "raw-hex --compressed"
# o.pem has an EC PARAMETERS block ahead of its key: the ecdh checks below read it.
openssl ecparam -name "$CURVE" -genkey -out o.pem || fail "openssl ecparam"
openssl pkey -in o.pem -pubout -outform DER -out o.pub.der
for args in ec pkey "pkey -outform DER" "ec -outform DER" "pkey -pubout"; do
    openssl $args -in o.pem -out o.x 2>/dev/null || fail "openssl $args"
    ok pub o.x --format der -o from.der --force
    cmp -s o.pub.der from.der || fail "ecckey on openssl $args"
done

# ecdh agrees with openssl's and from the other side; with -o the secret's bytes go to a 0600 file.
ok ecdh k.pem o.pem
SECRET=$OUT
L=$((${#SECRET} / 2)) # bytes of a coordinate
expect_eq "$(openssl pkeyutl -derive -inkey o.pem -peerkey p.pem | hex_of)" "$SECRET" "openssl ecdh"
ok ecdh o.pem p.raw-hex -o secret.bin
expect_eq "$(stat -c %a secret.bin)" 600 "mode of secret.bin"
expect_eq "$(hex_of <secret.bin)" "$SECRET" "ecdh -o"

# sign and verify both ways with openssl, every digest (secp256k1 pads a short one to its 32 bytes), and in
# the SSH form by ecckey alone.
printf 'a message signed on %s\n' "$CURVE" >msg
for d in sha1 sha224 sha256 sha384 sha512; do
    ok sign k.pem --in msg --digest "$d" -o "s.$d"
    openssl dgst "-$d" -verify p.pem -signature "s.$d" msg >/dev/null || fail "openssl rejects s.$d"
    openssl dgst "-$d" -sign o.pem -out "os.$d" msg || fail "openssl dgst -sign $d"
    ok verify o.pub.der --sig "os.$d" --in msg --digest "$d"
    expect_eq "$OUT" valid "openssl's $d signature"
    ok sign k.pem --in msg --digest "$d" --sig-format ssh -o "ss.$d"
    ok verify p.pem --sig "ss.$d" --in msg --digest "$d"
done
# --deterministic: the same signature from two forms of the key, and openssl accepts it.
ok sign k.pem --in msg --deterministic -o det.1
ok sign k.sec1-der --in msg --deterministic -o det.2
cmp -s det.1 det.2 || fail "deterministic signatures differ"
openssl dgst -sha256 -verify p.pem -signature det.1 msg >/dev/null || fail "openssl rejects det.1"
# check: the form read, the key and its checks; explicit parameters are compared with the named curve.
ok check k.pem
[[ $OUT == 'format: PEM "PRIVATE KEY"'*'named curve'*'passed: the public point is d*G' ]] || fail "check: $OUT"
ok check p.spki-explicit
[[ $OUT == *'key: public'*"parameters: $([[ $CURVE == b* ]] && echo named || echo explicit)"* ]] || fail "$OUT"
# The raw and SSH forms (invalid over another file), and a hexadecimal signature (sign without -o) over a
# given hash.
for form in raw ssh; do
    ok sign k.sec1-der --in msg --sig-format "$form" -o "s.$form"
    ok verify p.xml --sig "s.$form" --in msg
    fails_with 1 "" verify p.xmldsig --sig "s.$form" --in p.pem
done
expect_eq "$(stat -c %s s.raw)" $((2 * L)) "raw signature size"
HASH=$(openssl dgst -sha256 -binary msg | hex_of)
ok sign k.jwk --hash "$HASH"
ok verify p.raw-hex --sig <(echo "$OUT") --in msg

# fingerprint: what ssh-keygen -l prints for the key's OpenSSH line, SHA256 by default and MD5 with --md5,
# where OpenSSH knows the curve (the NIST curves); a line read keeps its comment.
[[ $CURVE == brainpool* ]] && exit 0 # no SSH name: errors_test.sh has the refusal
ok fingerprint k.pem
[[ $OUT =~ ^[0-9]+\ SHA256:[A-Za-z0-9+/]{43}\ no\ comment\ \(ECDSA\)$ ]] || fail "fingerprint: $OUT"
[[ $CURVE == P-* ]] || exit 0
expect_eq "$OUT" "$(ssh-keygen -lf p.ssh)" "ssh-keygen's SHA256 fingerprint"
ok fingerprint p.der --md5
expect_eq "$OUT" "$(ssh-keygen -E md5 -lf p.ssh)" "ssh-keygen's MD5 fingerprint"
expect_eq "$(ssh-keygen -i -m PKCS8 -f p.pem | cut -d' ' -f1,2)" "$(cat p.ssh)" "ssh-keygen's line for p.pem"
# A public line ssh-keygen wrote, comment and all.
ssh-keygen -q -t ecdsa -b "${CURVE#P-}" -N '' -C 'a  comment' -f sk || fail "ssh-keygen"
ok pub sk.pub --format ssh
expect_eq "$OUT" "$(cut -d' ' -f1,2 sk.pub)" "ecckey on ssh-keygen's public line"
ok fingerprint sk.pub --sha256
expect_eq "$OUT" "$(ssh-keygen -lf sk.pub)" "fingerprint of ssh-keygen's public line"
