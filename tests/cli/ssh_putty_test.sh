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
# SSH signatures (ssh-keygen -Y) both ways with either hash: ssh-keygen checks ecckey's, ecckey checks
# ssh-keygen's; another message or namespace is not valid.
SSHSIG=0
for bits in 256 384 521; do
    ok gen "P-$bits" -o sk.pem --force
    ok convert sk.pem --format openssh -o sk.openssh --force
    ok pub sk.pem --format ssh -o sk.pub --force
    echo "me $(cat sk.pub)" >allowed
    for hash in sha256 sha512; do
        echo "message $bits $hash" >m
        ok sign sk.pem --in m --sig-format sshsig --namespace file --digest $hash -o m.ours --force
        { ssh-keygen -Y check-novalidate -n file -s m.ours <m && ssh-keygen -Y verify -f allowed -I me -n file \
            -s m.ours <m; } >/dev/null 2>&1 || fail "ssh-keygen -Y on ecckey's P-$bits $hash signature"
        rm -f m.sig && ssh-keygen -q -Y sign -f sk.openssh -n file -O hashalg=$hash m 2>/dev/null || fail "-Y sign"
        ok verify sk.pub --sig m.sig --in m --namespace file
        expect_eq "$OUT" valid "ssh-keygen's P-$bits $hash signature"
        fails_with 1 "not an SSH signature by this key in this namespace" verify sk.pub --sig m.sig --in m --namespace git
        echo more >>m
        fails_with 1 "" verify sk.pub --sig m.sig --in m --namespace file
        SSHSIG=$((SSHSIG + 4))
    done
done
ok gen brainpoolP256r1 -o bp.pem --force
fails_with 2 "cannot make an SSH signature with this key (P-256, P-384 and P-521 only)" sign bp.pem --in m \
    --sig-format sshsig --namespace file
echo "ssh-keygen -Y: $SSHSIG signature checks"
