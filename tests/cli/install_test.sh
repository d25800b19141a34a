#!/bin/bash
# Installs the build tree (the static library) and a shared-library build of the same sources into scratch
# prefixes, moves each (the package files must find it from where they lie), and builds examples/ against
# it as a user's project would, through find_package and through pkg-config; the example signs with a key
# openssl made, and the installed ecckey command checks the signature; the other example loads a
# passphrase-protected ssh-keygen key and a puttygen .ppk through ecckey::formats. The shared libraries
# carry the version's soname and export namespace ecckey only.
# usage: install_test.sh ECCKEY WORKDIR SOURCE_DIR BINARY_DIR
. "$(dirname "$0")/lib.sh"
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
    c++ -std=c++17 -o sign_file_pc_$kind "$3/examples/sign_file.cpp" -Wl,-rpath,"$PWD/$PC_DIR/.." \
        $(PKG_CONFIG_PATH=$PC_DIR pkg-config $pc_static --cflags --libs ecckey) || fail "building through pkg-config"
    # shellcheck disable=SC2034 # lib.sh's ok runs ECCKEY: the installed command
    ECCKEY=$kind/bin/ecckey
    for example in build-$kind/sign_file ./sign_file_pc_$kind; do
        $example key.pem message.txt >signed || fail "$example: $(cat signed)" # exit 1: invalid
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
