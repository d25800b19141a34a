#!/bin/bash
# `ecckey demo`: one row per catalogue curve in catalogue order, each with DER and raw signatures and ECDH
# passing, three timings, and every format round-tripping but the three SSH forms where the blob has no
# curve name (P-192 and the Brainpool curves).
. "$(dirname "$0")/lib.sh"
ok demo
[[ $OUT == *"13 curves, every check passed"* ]] || fail "ecckey demo: no closing line: $OUT"
ROWS=$(sed -nE 's/^([a-z0-9]+) +ok +ok +ok +[0-9]+ +[0-9]+ +[0-9]+ +(.*)$/\1 \2/p' <<<"$OUT")
ok curves # the catalogue order, which cli_curves_and_usage pins
EXPECTED=$(cut -d' ' -f1 <<<"$OUT" |
    sed -E 's/^(secp192r1|brainpool.*)$/& 9 of 12, not ssh, openssh, ppk (no SSH curve name)/; t; s/$/ all 12/')
expect_eq "$ROWS" "$EXPECTED" "demo rows"
