#!/bin/bash
# Installs the build tree (the static library) and a shared-library build of the same sources into scratch
# prefixes, moves each (the package files must find it from where they lie), and builds examples/ against
# it as a user's project would, through find_package and through pkg-config, with -Werror; a signer made
# with the face signs with a key openssl made, and the installed ecckey command checks the signature;
# another example loads a passphrase-protected ssh-keygen key and a puttygen .ppk through ecckey::formats.
# The shared libraries carry the version's soname and export namespace ecckey only. Then only public
# headers are installed, and the README's programs and the other examples, built against the static
# package, have their output checked by others: signatures in every form and nonce by openssl (DER, and
# SSH re-wrapped as DER) and by Node (raw, ieee-p1363), the JWS by Node, the fingerprint by ssh-keygen,
# the ECDH secret by openssl, the JWK by Node.
# usage: install_test.sh ECCKEY WORKDIR SOURCE_DIR BINARY_DIR
. "$(dirname "$0")/lib.sh"
NODE_CHECK="node $3/tests/cli/face_check.js"
cmake -S "$3" -B shared-build -DBUILD_SHARED_LIBS=ON -DECCKEY_TESTS=OFF -DECCKEY_BENCH=OFF \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DECCKEY_WERROR=ON >/dev/null || fail "configuring shared"
cmake --build shared-build -j "$(nproc)" >/dev/null || fail "building the shared library"
openssl ecparam -name prime256v1 -genkey -noout -out key.pem || fail "openssl ecparam"
echo 'a file to sign' >message.txt
ssh-keygen -q -t ecdsa -b 384 -N 'pass phrase' -C '' -f id_ecdsa || fail "ssh-keygen"
puttygen -q -t ecdsa -b 521 --new-passphrase <(echo 'pass phrase') -o k.ppk || fail "puttygen"
for kind in static shared; do
    build=$4 pc_static=--static
    [ $kind = shared ] && build=shared-build pc_static=
    cmake --install "$build" --prefix prefix >/dev/null || fail "cmake --install $build"
    mv prefix $kind
    cmake -S "$3/examples" -B build-$kind -DCMAKE_PREFIX_PATH="$PWD/$kind" >/dev/null || fail "configuring the example"
    cmake --build build-$kind >/dev/null || fail "building the $kind example"
    PC_DIR=$(dirname "$(find $kind -name ecckey.pc)")
    # shellcheck disable=SC2046,SC2086 # pkg-config's flags are separate words
    c++ -std=c++17 -Werror -o sign_message_pc_$kind "$3/examples/sign_message.cpp" -Wl,-rpath,"$PWD/$PC_DIR/.." \
        $(PKG_CONFIG_PATH=$PC_DIR pkg-config $pc_static --cflags --libs ecckey-formats) || fail "building through pkg-config"
    # shellcheck disable=SC2034 # lib.sh's ok runs ECCKEY: the installed command
    ECCKEY=$kind/bin/ecckey
    for example in build-$kind/sign_message ./sign_message_pc_$kind; do
        $example key.pem message.txt der random >signed || fail "$example: $(cat signed)"
        ok verify key.pem --sig <(head -n 1 signed) --in message.txt # the signature, in hexadecimal
    done
    # shellcheck disable=SC2046,SC2086 # pkg-config's flags are separate words
    c++ -std=c++17 -o load_key_file_pc_$kind "$3/examples/load_key_file.cpp" -Wl,-rpath,"$PWD/$PC_DIR/.." \
        $(PKG_CONFIG_PATH=$PC_DIR pkg-config $pc_static --cflags --libs ecckey-formats) ||
        fail "building load_key_file through pkg-config"
    for example in build-$kind/load_key_file ./load_key_file_pc_$kind; do
        expect_eq "$($example id_ecdsa 'pass phrase' | head -n 1)" "$(cut -d' ' -f1,2 id_ecdsa.pub)" "$example id_ecdsa"
        expect_eq "$($example k.ppk 'pass phrase' | head -n 1)" \
            "$(puttygen -L k.ppk --old-passphrase <(echo 'pass phrase') | cut -d' ' -f1,2)" "$example k.ppk"
        $example id_ecdsa 2>&1 | grep -q 'the key is encrypted: give its passphrase' || fail "$example without a passphrase"
    done
done
INC=static/include/ecckey
for header in ecckey.hpp ecc/ecckey.h ecc/EccKey.h support/Invariant.h; do
    [ -f "$INC/$header" ] || fail "$header is not installed"
done
for internal in ecc/arith ecc/secp256k1 ecc/EccMessages.h support/Wipe.h support/ConstantTime.h face; do
    [ ! -e "$INC/$internal" ] || fail "the internal $internal is installed"
done
PC_DIR=$(dirname "$(find static -name ecckey.pc)")
pc_build() { # OUTPUT SOURCE
    # shellcheck disable=SC2046 # pkg-config's flags are separate words
    c++ -std=c++17 -Wall -Wextra -Wshadow -Werror -o "$1" "$2" $(PKG_CONFIG_PATH=$PC_DIR pkg-config --static \
        --cflags --libs ecckey-formats) || fail "building $2 through pkg-config"
}
# The README's programs, as written.
awk '/^```cpp$/ { n++; keep = 1; next } /^```$/ { keep = 0 } keep { print > ("readme_" n ".cpp") }' "$3/README.md"
for program in readme_*.cpp; do
    grep -q '^#include' "$program" || continue
    pc_build "${program%.cpp}" "$program"
done

openssl ec -in key.pem -pubout -out pub.pem 2>/dev/null || fail "openssl ec -pubout"
for program in $(grep -l 'ecckey/ecckey.hpp' readme_*.cpp); do
    "./${program%.cpp}" key.pem >/dev/null || fail "the README's ${program%.cpp} fails"
done
for signer in build-static/sign_message ./sign_message_pc_static; do
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
token=$(build-static/jws_es256 sign key.pem '{"sub":"1"}') || fail "jws_es256 sign"
printf %s "${token%.*}" >signing-input
jws_sig=$(printf %s "${token##*.}" | tr '_-' '/+' | base64 -d 2>/dev/null | hex_of)
$NODE_CHECK raw pub.pem signing-input "$jws_sig" || fail "node refuses the JWS signature"
expect_eq "$(build-static/jws_es256 verify pub.pem "$token")" valid "jws_es256 verify"
expect_eq "$(build-static/jws_es256 verify pub.pem "${token/.eyJ/.eyK}")" invalid "jws_es256 on a changed payload"
# ssh-keygen's key pair: its fingerprint, and a signature openssl checks with the same key.
ssh-keygen -q -t ecdsa -b 384 -N '' -C '' -f id_plain || fail "ssh-keygen"
out=$(build-static/ssh_sign id_plain id_plain.pub message.txt) || fail "ssh_sign"
expect_eq "${out%%$'\n'*}" "$(ssh-keygen -lf id_plain.pub | cut -d' ' -f2)" "the fingerprint"
ssh-keygen -e -m PKCS8 -f id_plain.pub >id_pub.pem || fail "ssh-keygen -e"
$NODE_CHECK rewrap "${out##*$'\n'}" | xxd -r -p >ssh.der
openssl dgst -sha384 -verify id_pub.pem -signature ssh.der message.txt >/dev/null || fail "openssl refuses ssh_sign"
# ECDH with the peer's point compressed, against openssl's derivation.
openssl ecparam -name prime256v1 -genkey -noout -out peer.pem || fail "openssl ecparam"
openssl ec -in peer.pem -pubout -out peer_pub.pem 2>/dev/null || fail "openssl ec -pubout"
compressed=$(openssl ec -in peer.pem -pubout -conv_form compressed -outform DER 2>/dev/null | tail -c 33 | hex_of)
expect_eq "$(build-static/ecdh_compressed key.pem "$compressed")" \
    "$(openssl pkeyutl -derive -inkey key.pem -peerkey peer_pub.pem | hex_of)" "the shared secret"
# A key in any format to JWK: the members Node writes for the same key.
openssl pkcs8 -topk8 -nocrypt -in key.pem -outform DER -out key.der || fail "openssl pkcs8"
jwk=$(build-static/to_jwk key.der) || fail "to_jwk"
for member in crv x y d; do
    value=$(node -e "console.log(JSON.parse(process.argv[1]).$member)" "$jwk")
    [[ " $($NODE_CHECK jwk key.pem) " == *" $value "* ]] || fail "the JWK member $member"
done
lib=$(find shared -name 'libecckey.so.*.*.*')
major_minor=$(shared/bin/ecckey --version | sed -n 's/^ecckey \([0-9]*\.[0-9]*\)\..*/\1/p')
[ "$(objdump -p "$lib" | awk '/SONAME/ { print $2 }')" = "libecckey.so.$major_minor" ] || fail "soname of $lib"
ldd shared/bin/ecckey | grep -q "$PWD/shared/.*libecckey.so" || fail "the installed command does not use its library"
outside=$(nm -D --defined-only "$lib" | awk '{ print $3 }' | c++filt | grep -vE '^((vtable|typeinfo|typeinfo name|VTT) for )?ecckey::')
[ -z "$outside" ] || fail "exported outside namespace ecckey: $outside"
# The manual page has a section per command and no formatting warning; the completion offers commands,
# curve names, formats and options.
man=$(MANPATH=$PWD/static/share/man MANWIDTH=80 man --warnings ecckey 2>&1 >/dev/null) || fail "man ecckey"
[ -z "$man" ] || fail "man --warnings: $man"
for command in $(static/bin/ecckey --help | awk '/^commands:/ { c = 1 } /^formats/ { c = 0 } c && /^  [a-z]/ { print $1 }'); do
    upper=$(tr a-z A-Z <<<"$command")
    grep -qxF ".SH ECCKEY ${upper//-/\\-}" static/share/man/man1/ecckey.1 || fail "no section: $command"
done
# shellcheck disable=SC1091
. static/share/bash-completion/completions/ecckey
complete_line() { COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) && _ecckey && echo "${COMPREPLY[*]}"; }
[ "$(complete_line ecckey ge)" = gen ] || fail "completing a command"
[[ " $(complete_line ecckey gen bp-2) " == *" bp-256 "* ]] || fail "completing a curve name"
[ "$(complete_line ecckey pub k --format j)" = jwk ] || fail "completing a format"
[ "$(complete_line ecckey sign k --sig-f)" = --sig-format ] || fail "completing an option"
