#!/bin/bash
# Installs the build tree into a scratch prefix and builds examples/ against it, as a user's project would;
# the example signs with a key openssl made, and the installed ecckey command checks the signature.
# usage: install_test.sh ECCKEY WORKDIR SOURCE_DIR BINARY_DIR
. "$(dirname "$0")/lib.sh"
cmake --install "$4" --prefix prefix >/dev/null || fail "cmake --install $4"
cmake -S "$3/examples" -B build -DCMAKE_PREFIX_PATH="$PWD/prefix" >/dev/null || fail "configuring the example"
cmake --build build >/dev/null || fail "building the example"
openssl ecparam -name prime256v1 -genkey -noout -out key.pem || fail "openssl ecparam"
echo 'a file to sign' >message.txt
build/sign_file key.pem message.txt >signed || fail "sign_file: $(cat signed)" # exit 1: invalid
# shellcheck disable=SC2034 # lib.sh's ok runs ECCKEY: from here on the installed command
ECCKEY=prefix/bin/ecckey
ok verify key.pem --sig <(head -n 1 signed) --in message.txt # the example's signature, in hexadecimal
