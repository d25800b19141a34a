# shellcheck shell=bash
# Shared set-up of the ecckey command's end-to-end checks: `. lib.sh` from a script run as
# `SCRIPT ECCKEY WORKDIR [ARGUMENT]`; the script then runs in a fresh WORKDIR.
set -u
ECCKEY=$1
fail() {
    echo "FAIL: $*" >&2
    exit 1
}
rm -rf "$2" && mkdir -p "$2" && cd "$2" || fail "cannot make $2"

# Runs ecckey; leaves its standard output in OUT, standard error in ERR and exit status in RC.
run() {
    OUT=$("$ECCKEY" "$@" 2>.stderr)
    RC=$?
    ERR=$(cat .stderr)
}
# Success is silent on standard error unless -v asks for the log.
ok() {
    run "$@"
    [ "$RC" = 0 ] || fail "ecckey $*: exit $RC: $ERR"
    [ -z "$ERR" ] || [[ " $* " == *" -v "* ]] || fail "ecckey $*: standard error: $ERR"
}
# Exit status $1 and the pattern $2 (a glob: * joins lines) on standard error, one line unless -v asks
# for the log; standard output holds "invalid" for an invalid signature (exit 1) and nothing on an error.
fails_with() {
    local want=$1 text=$2
    shift 2
    run "$@"
    [ "$RC" = "$want" ] || fail "ecckey $*: exit $RC, expected $want: $ERR"
    [[ $ERR == *$text* ]] || fail "ecckey $*: standard error lacks '$text': $ERR"
    [[ $ERR != *$'\n'* ]] || [[ " $* " == *" -v "* ]] || fail "ecckey $*: more than one line: $ERR"
    expect_eq "$OUT" "$([ "$want" = 1 ] && echo invalid)" "ecckey $*: standard output"
}
expect_eq() { [ "$1" = "$2" ] || fail "$3: '$1' != '$2'"; }
hex_of() { od -An -v -tx1 | tr -d ' \n'; }
