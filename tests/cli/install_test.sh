#!/bin/bash
# Installs the build tree into a scratch prefix, moves it (the package files must find it from where they
# lie), and builds examples/ against it as a user's project would, through find_package and through
# pkg-config; the example signs with a key openssl made, and the installed ecckey command checks the
# signature; the other example loads a passphrase-protected ssh-keygen key and a puttygen .ppk through
# ecckey::formats.
# usage: install_test.sh ECCKEY WORKDIR SOURCE_DIR BINARY_DIR
. "$(dirname "$0")/lib.sh"
cmake --install "$4" --prefix prefix >/dev/null || fail "cmake --install $4"
mv prefix moved
cmake -S "$3/examples" -B build -DCMAKE_PREFIX_PATH="$PWD/moved" >/dev/null || fail "configuring the example"
cmake --build build >/dev/null || fail "building the example"
PC_DIR=$(dirname "$(find moved -name ecckey.pc)")
# shellcheck disable=SC2046 # pkg-config's flags are separate words
c++ -std=c++17 -o sign_file_pc "$3/examples/sign_file.cpp" $(PKG_CONFIG_PATH=$PC_DIR pkg-config --static \
    --cflags --libs ecckey) || fail "building the example through pkg-config"
openssl ecparam -name prime256v1 -genkey -noout -out key.pem || fail "openssl ecparam"
echo 'a file to sign' >message.txt
# shellcheck disable=SC2034 # lib.sh's ok runs ECCKEY: from here on the installed command
ECCKEY=moved/bin/ecckey
for example in build/sign_file ./sign_file_pc; do
    $example key.pem message.txt >signed || fail "$example: $(cat signed)" # exit 1: invalid
    ok verify key.pem --sig <(head -n 1 signed) --in message.txt # the signature, in hexadecimal
done
c++ -std=c++17 -o load_key_file_pc "$3/examples/load_key_file.cpp" $(PKG_CONFIG_PATH=$PC_DIR pkg-config \
    --static --cflags --libs ecckey-formats) || fail "building load_key_file through pkg-config"
ssh-keygen -q -t ecdsa -b 384 -N 'pass phrase' -C '' -f id_ecdsa || fail "ssh-keygen"
puttygen -q -t ecdsa -b 521 --new-passphrase <(echo 'pass phrase') -o k.ppk || fail "puttygen"
for example in build/load_key_file ./load_key_file_pc; do
    expect_eq "$($example id_ecdsa 'pass phrase' | head -n 1)" "$(cut -d' ' -f1,2 id_ecdsa.pub)" "$example id_ecdsa"
    expect_eq "$($example k.ppk 'pass phrase' | head -n 1)" "$(puttygen -L k.ppk --old-passphrase <(echo 'pass phrase') | cut -d' ' -f1,2)" \
        "$example k.ppk"
    $example id_ecdsa 2>&1 | grep -q 'the key is encrypted: give its passphrase' || fail "$example without a passphrase"
done
