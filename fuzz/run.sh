#!/bin/sh
# Builds the libFuzzer targets (fuzz/CMakeLists.txt, clang-14) and runs each one for FUZZ_SECONDS seconds,
# starting from a copy of its checked-in corpus, then prints executions and findings per target.
#   fuzz/run.sh [BUILD_DIR] [SECONDS] [TARGET...]
# FUZZ_RUNS, when set, also stops a target after that many executions, whichever comes first.
# Findings (crash, leak, timeout and out-of-memory inputs) are kept in BUILD_DIR/findings/<target>/.
# Exits non-zero when any target has a finding.
set -eu
cd "$(dirname "$0")/.."
BUILD=${1:-build-fuzz}
SECONDS_PER_TARGET=${2:-${FUZZ_SECONDS:-60}}
shift 2 2>/dev/null || shift $#
CC=${FUZZ_CC:-clang-14}
CXX=${FUZZ_CXX:-clang++-14}

cmake -S fuzz -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER="$CC" \
  -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
cmake --build "$BUILD" -j "$(nproc)" >/dev/null

TARGETS="$*"
if [ -z "$TARGETS" ]; then
  TARGETS=$(cd "$BUILD/bin" && ls fuzz_* | sed 's/^fuzz_//')
fi

RUNS_FLAG=""
[ -n "${FUZZ_RUNS:-}" ] && RUNS_FLAG="-runs=$FUZZ_RUNS"

# CPU seconds (user + system) of all finished children so far. `times` must run in this shell, not in a
# command substitution's subshell, so its output goes through a file.
children_cpu() {
  sed -n 2p "$1" | awk '{ t = 0
    for (i = 1; i <= 2; i++) { split($i, a, "m"); sub("s", "", a[2]); t += a[1] * 60 + a[2] }
    printf "%.0f", t }'
}

status=0
summary=""
for t in $TARGETS; do
  bin="$BUILD/bin/fuzz_$t"
  work="$BUILD/corpus/$t"
  found="$BUILD/findings/$t"
  mkdir -p "$work" "$found"
  [ -d "fuzz/corpus/$t" ] && cp -n fuzz/corpus/$t/* "$work/" 2>/dev/null || true
  log="$BUILD/findings/$t.log"
  # A finding stops libFuzzer with a non-zero status; the artifact lands in $found.
  times >"$log.cpu"
  cpu_before=$(children_cpu "$log.cpu")
  # shellcheck disable=SC2086
  "$bin" -max_total_time="$SECONDS_PER_TARGET" $RUNS_FLAG -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
    -print_final_stats=1 -artifact_prefix="$found/" "$work" >"$log" 2>&1 || true
  times >"$log.cpu"
  cpu=$(($(children_cpu "$log.cpu") - cpu_before))
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  findings=$(find "$found" -type f | wc -l)
  [ "$findings" -eq 0 ] || status=1
  line=$(printf '%-12s executions %12s   CPU s %6s   findings %s' "$t" "${execs:-?}" "$cpu" "$findings")
  echo "$line"
  summary="$summary$line\n"
done
printf '%b' "$summary" >"$BUILD/summary.txt"
[ "$status" -eq 0 ] || echo "findings kept in $BUILD/findings/ (logs beside them)"
exit "$status"
