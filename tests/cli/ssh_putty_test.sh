#!/bin/bash
# ssh-keygen and puttygen against ecckey on the curves both know: ssh-keygen reads the command's openssh,
# sec1-pem and pem keys, puttygen its openssh, sec1-pem and ppk keys, and the command reads theirs (OpenSSH;
# PuTTY versions 2 and 3, with and without a passphrase; puttygen's OpenSSH exports), each round trip
# ending at the same public key line.
. "$(dirname "$0")/lib.sh"
for tool in ssh-keygen puttygen; do
    command -v $tool >/dev/null || { echo "SKIP: $tool is not installed (scripts/install-deps)"; exit 77; }
done
export PW='a pass phrase'
echo "$PW" >pw
line() { cut -d' ' -f1,2; } # an OpenSSH line without its comment
for bits in 256 384 521; do
    ok gen "P-$bits" -o key.pem --force
    ok pub key.pem --format ssh
    LINE=$OUT
    for f in openssh ppk sec1-pem pem; do # PuTTY reads no PKCS #8, ssh-keygen no .ppk
        ok convert key.pem --format $f -o k.$f --force
        [ $f = pem ] || expect_eq "$(puttygen -L k.$f | line)" "$LINE" "puttygen -L on $f, P-$bits"
        [ $f = ppk ] || expect_eq "$(ssh-keygen -y -f k.$f | line)" "$LINE" "ssh-keygen -y on $f, P-$bits"
    done
    rm -f s s.pub
    ssh-keygen -q -t ecdsa -b "$bits" -N '' -f s || fail "ssh-keygen"
    puttygen s -O private -o s.ppk && puttygen s.ppk -O private-openssh -o s.sec1 &&
        puttygen s.ppk -O private-openssh-new -o s.new || fail "puttygen"
    for f in s s.sec1 s.new; do
        ok pub $f --format ssh
        expect_eq "$OUT" "$(line <s.pub)" "ecckey on $f, P-$bits"
    done
    for version in 2 3; do
        for pass in /dev/null pw; do
            puttygen -q -t ecdsa -b "$bits" --ppk-param version=$version --new-passphrase $pass -o p.ppk || fail puttygen
            ok pub p.ppk --format ssh --passin file:pw
            expect_eq "$OUT" "$(puttygen -L p.ppk --old-passphrase pw | line)" "ppk v$version $pass, P-$bits"
        done
    done
done
ssh-keygen -q -t ecdsa -N "$PW" -f se || fail "ssh-keygen"
ok pub se --format ssh --passin env:PW
expect_eq "$OUT" "$(line <se.pub)" "ecckey on an encrypted OpenSSH key"
fails_with 2 "'se': OpenSSH private key, aes256-ctr: wrong passphrase" pub se --passin pass:wrong
fails_with 2 "the private key is encrypted; give its passphrase with --passin" pub se
fails_with 2 "wrong passphrase for the PuTTY key" pub p.ppk --passin pass:wrong
