#!/bin/bash
# `ecckey demo`: one row per catalogue curve in catalogue order, each with DER and raw signatures and ECDH
# passing, three timings, and every format round-tripping but the SSH line where its blob has no curve
# name (P-192 and the Brainpool curves).
. "$(dirname "$0")/lib.sh"
ok demo
expect_eq "$ERR" "" "ecckey demo, standard error"
ROWS=$(sed -nE 's/^([a-z0-9]+) +ok +ok +ok +[0-9]+ +[0-9]+ +[0-9]+ +(.*)$/\1 \2/p' <<<"$OUT")
for c in secp256r1 secp384r1 secp521r1 secp256k1 secp192r1 secp224r1 brainpoolp256r1 brainpoolp160r1 \
    brainpoolp192r1 brainpoolp224r1 brainpoolp320r1 brainpoolp384r1 brainpoolp512r1; do
    case $c in secp192r1 | brainpool*) echo "$c 9 of 10, not ssh (no SSH curve name)" ;; *) echo "$c all 10" ;; esac
done >expected
expect_eq "$ROWS" "$(cat expected)" "demo rows"
[[ $OUT == *"13 curves, every check passed"* ]] || fail "ecckey demo: no closing line"
