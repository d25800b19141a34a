#!/bin/bash
# Installs the build tree into a scratch prefix, moves it (the package files must find it from where they
# lie), checks that only public headers went in, and builds examples/ and the README's programs against it
# as a user's project would, through find_package and through pkg-config, with -Werror. Their outputs are
# checked by others: signatures in every form and nonce by openssl (DER, and SSH re-wrapped as DER) and by
# Node (raw, ieee-p1363), the JWS by Node, the fingerprint by ssh-keygen, the ECDH secret by openssl, the
# JWK by Node.
# usage: install_test.sh ECCKEY WORKDIR SOURCE_DIR BINARY_DIR
. "$(dirname "$0")/lib.sh"
NODE_CHECK="node $3/tests/cli/face_check.js"
cmake --install "$4" --prefix prefix >/dev/null || fail "cmake --install $4"
mv prefix moved
INC=moved/include/ecckey
for header in ecckey.hpp ecc/ecckey.h ecc/EccKey.h support/Invariant.h; do
    [ -f "$INC/$header" ] || fail "$header is not installed"
done
for internal in ecc/arith ecc/secp256k1 ecc/EccMessages.h support/Wipe.h support/ConstantTime.h face; do
    [ ! -e "$INC/$internal" ] || fail "the internal $internal is installed"
done
cmake -S "$3/examples" -B build -DCMAKE_PREFIX_PATH="$PWD/moved" >/dev/null || fail "configuring the examples"
cmake --build build >/dev/null || fail "building the examples"
PC_DIR=$(dirname "$(find moved -name ecckey.pc)")
pc_build() { # OUTPUT SOURCE
    # shellcheck disable=SC2046 # pkg-config's flags are separate words
    c++ -std=c++17 -Wall -Wextra -Wshadow -Werror -o "$1" "$2" $(PKG_CONFIG_PATH=$PC_DIR pkg-config --static \
        --cflags --libs ecckey) || fail "building $2 through pkg-config"
}
pc_build sign_message_pc "$3/examples/sign_message.cpp"
# The README's programs, as written.
awk '/^```cpp$/ { n++; keep = 1; next } /^```$/ { keep = 0 } keep { print > ("readme_" n ".cpp") }' "$3/README.md"
for program in readme_*.cpp; do
    grep -q '^#include' "$program" || continue
    pc_build "${program%.cpp}" "$program"
done

openssl ecparam -name prime256v1 -genkey -noout -out key.pem || fail "openssl ecparam"
openssl ec -in key.pem -pubout -out pub.pem 2>/dev/null || fail "openssl ec -pubout"
for program in $(grep -l 'ecckey/ecckey.hpp' readme_*.cpp); do
    "./${program%.cpp}" key.pem >/dev/null || fail "the README's ${program%.cpp} fails"
done
echo 'a file to sign' >message.txt
for signer in build/sign_message ./sign_message_pc; do
    for form in der raw ssh; do
        for nonce in random deterministic; do
            sig=$($signer key.pem message.txt $form $nonce) || fail "$signer $form $nonce"
            case $form in
                raw) $NODE_CHECK raw pub.pem message.txt "$sig" || fail "node refuses the raw signature" ;;
                ssh) sig=$($NODE_CHECK rewrap "$sig") ;;
            esac
            [ $form = raw ] || echo "$sig" | xxd -r -p >sig.der
            [ $form = raw ] || openssl dgst -sha256 -verify pub.pem -signature sig.der message.txt >/dev/null ||
                fail "openssl refuses the $form $nonce signature"
        done
    done
done
# An ES256 JWS: Node checks the signature over header.payload; the verifier refuses a changed payload.
token=$(build/jws_es256 sign key.pem '{"sub":"1"}') || fail "jws_es256 sign"
printf %s "${token%.*}" >signing-input
jws_sig=$(printf %s "${token##*.}" | tr '_-' '/+' | base64 -d 2>/dev/null | hex_of)
$NODE_CHECK raw pub.pem signing-input "$jws_sig" || fail "node refuses the JWS signature"
expect_eq "$(build/jws_es256 verify pub.pem "$token")" valid "jws_es256 verify"
expect_eq "$(build/jws_es256 verify pub.pem "${token/.eyJ/.eyK}")" invalid "jws_es256 on a changed payload"
# ssh-keygen's key pair: its fingerprint, and a signature openssl checks with the same key.
ssh-keygen -q -t ecdsa -b 384 -m PEM -N '' -C '' -f id_ecdsa || fail "ssh-keygen"
out=$(build/ssh_sign id_ecdsa id_ecdsa.pub message.txt) || fail "ssh_sign"
expect_eq "${out%%$'\n'*}" "$(ssh-keygen -lf id_ecdsa.pub | cut -d' ' -f2)" "the fingerprint"
ssh-keygen -e -m PKCS8 -f id_ecdsa.pub >id_pub.pem || fail "ssh-keygen -e"
$NODE_CHECK rewrap "${out##*$'\n'}" | xxd -r -p >ssh.der
openssl dgst -sha384 -verify id_pub.pem -signature ssh.der message.txt >/dev/null || fail "openssl refuses ssh_sign"
# ECDH with the peer's point compressed, against openssl's derivation.
openssl ecparam -name prime256v1 -genkey -noout -out peer.pem || fail "openssl ecparam"
openssl ec -in peer.pem -pubout -out peer_pub.pem 2>/dev/null || fail "openssl ec -pubout"
compressed=$(openssl ec -in peer.pem -pubout -conv_form compressed -outform DER 2>/dev/null | tail -c 33 | hex_of)
expect_eq "$(build/ecdh_compressed key.pem "$compressed")" \
    "$(openssl pkeyutl -derive -inkey key.pem -peerkey peer_pub.pem | hex_of)" "the shared secret"
# A key in any format to JWK: the members Node writes for the same key.
openssl pkcs8 -topk8 -nocrypt -in key.pem -outform DER -out key.der || fail "openssl pkcs8"
jwk=$(build/to_jwk key.der) || fail "to_jwk"
for member in crv x y d; do
    value=$(node -e "console.log(JSON.parse(process.argv[1]).$member)" "$jwk")
    [[ " $($NODE_CHECK jwk key.pem) " == *" $value "* ]] || fail "the JWK member $member"
done
