# Helpers for the end-to-end checks of the ecckey command. Sourced by the *_test.sh scripts, which set
# ECCKEY (the binary) and W (their working folder) first.

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# Runs ecckey; leaves its standard output in OUT, standard error in ERR and exit status in RC.
run() {
    OUT=$("$ECCKEY" "$@" 2>"$W/.stderr")
    RC=$?
    ERR=$(cat "$W/.stderr")
}

# Runs ecckey and insists on success.
ok() {
    run "$@"
    [ "$RC" = 0 ] || fail "ecckey $*: exit $RC: $ERR"
}

# Runs ecckey and insists on the exit status $1 and on $2 appearing in standard error.
fails_with() {
    local want=$1 text=$2
    shift 2
    run "$@"
    [ "$RC" = "$want" ] || fail "ecckey $*: exit $RC, expected $want: $ERR"
    case $ERR in
    *"$text"*) ;;
    *) fail "ecckey $*: standard error lacks '$text': $ERR" ;;
    esac
}

hex_of() { od -An -v -tx1 "$1" | tr -d ' \n'; }

same_file() { cmp -s "$1" "$2" || fail "$3: $1 and $2 differ"; }

expect_eq() { [ "$1" = "$2" ] || fail "$3: '$1' != '$2'"; }

mode_of() { stat -c %a "$1"; }

expect_secret_mode() { expect_eq "$(mode_of "$1")" 600 "mode of $1"; }

first_line() { head -n 1 "$1"; }

start_workdir() {
    rm -rf "$W"
    mkdir -p "$W" || fail "cannot create $W"
    cd "$W" || fail "cannot enter $W"
}
