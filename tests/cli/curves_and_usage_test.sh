#!/bin/bash
# `ecckey curves` line by line (blanks folded, so column widths do not matter), --version, --help for the
# command and each subcommand, and the one line of a bad invocation with exit 2.
# usage: curves_and_usage_test.sh ECCKEY WORKDIR VERSION
. "$(dirname "$0")/lib.sh"
ok curves
expect_eq "$(tr -s ' ' <<<"$OUT")" "$(cat <<'LIST'
secp256r1 1.2.840.10045.3.1.7 256 secp256r1, p-256, prime256v1, ecdsa-sha2-nistp256, nistp256
secp384r1 1.3.132.0.34 384 secp384r1, p-384, ecdsa-sha2-nistp384, nistp384
secp521r1 1.3.132.0.35 528 secp521r1, p-521, ecdsa-sha2-nistp521, nistp521
secp256k1 1.3.132.0.10 256 secp256k1
secp192r1 1.2.840.10045.3.1.1 192 secp192r1, p-192, prime192v1
secp224r1 1.3.132.0.33 224 secp224r1, p-224, prime224v1, ecdsa-sha2-nistp224, nistp224
brainpoolp256r1 1.3.36.3.3.2.8.1.1.7 256 brainpoolp256r1, bp-256, *bp256r1*
brainpoolp160r1 1.3.36.3.3.2.8.1.1.1 160 brainpoolp160r1, bp-160, *bp160r1*
brainpoolp192r1 1.3.36.3.3.2.8.1.1.3 192 brainpoolp192r1, bp-192, *bp192r1*
brainpoolp224r1 1.3.36.3.3.2.8.1.1.5 224 brainpoolp224r1, bp-224, *bp224r1*
brainpoolp320r1 1.3.36.3.3.2.8.1.1.9 320 brainpoolp320r1, bp-320, *bp320r1*
brainpoolp384r1 1.3.36.3.3.2.8.1.1.11 384 brainpoolp384r1, bp-384, *bp384r1*
brainpoolp512r1 1.3.36.3.3.2.8.1.1.13 512 brainpoolp512r1, bp-512, *bp512r1*
LIST
)" "ecckey curves"
while IFS='|' read -r text args; do
    fails_with 2 "$text" $args
done <<'TABLE'
ecckey: no command given; see 'ecckey --help'|
ecckey: unknown command 'frob'; see 'ecckey --help'|frob
ecckey: curves takes no arguments; see 'ecckey curves --help'|curves extra
ecckey: demo takes no arguments; see 'ecckey demo --help'|demo extra
TABLE
ok --version
expect_eq "$OUT" "ecckey $3" "ecckey --version"
ok help
[[ $OUT == "usage: ecckey COMMAND"*curves*demo* ]] || fail "ecckey help: $OUT"
for c in curves gen pub convert sign verify ecdh fingerprint demo; do
    for h in --help -h; do
        run "$c" extra "$h" # verify's 0 means valid: its help exits 2
        [[ $RC == "$([ $c = verify ] && echo 2 || echo 0)" && $OUT == "usage: ecckey $c"*"-v "* ]] || fail "ecckey $c $h: $RC $OUT"
    done
done
