#!/bin/bash
# Builds the libFuzzer targets (tests/cmake/fuzz.cmake with ECCKEY_FUZZ, clang-14) and runs each one for
# FUZZ_SECONDS seconds from its checked-in corpus (libFuzzer writes new inputs to BUILD_DIR/corpus/<target>
# only), then prints executions, CPU seconds and findings per target.
#   fuzz/run.sh [BUILD_DIR] [SECONDS] [TARGET...]
# FUZZ_RUNS, when set, also stops a target after that many executions, whichever comes first.
# Findings (crash, leak, timeout and out-of-memory inputs) are kept in BUILD_DIR/findings/<target>/.
# Exits non-zero when any target has a finding.
set -eu
cd "$(dirname "$0")/.."
BUILD=${1:-build-fuzz}
TARGETS=${*:3}
cmake -S . -B "$BUILD" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER="${FUZZ_CC:-clang-14}" \
  -DCMAKE_CXX_COMPILER="${FUZZ_CXX:-clang++-14}" -DECCKEY_FUZZ=ON -DECCKEY_SANITIZE=ON -DECCKEY_BENCH=OFF >/dev/null
TARGETS=${TARGETS:-$(cd fuzz && ls fuzz_*.cpp | sed 's/^fuzz_//; s/\.cpp$//')}
# shellcheck disable=SC2046
cmake --build "$BUILD" -j "$(nproc)" --target $(printf 'fuzz_%s ' $TARGETS) >/dev/null
TIMEFORMAT='%U %S'  # what `time` reports: user and system CPU seconds
status=0
for t in $TARGETS; do
  found="$BUILD/findings/$t"
  mkdir -p "$BUILD/corpus/$t" "$found"
  # A finding stops libFuzzer with a non-zero status; the artifact lands in $found.
  { time "$BUILD/bin/fuzz_$t" -max_total_time="${2:-${FUZZ_SECONDS:-60}}" ${FUZZ_RUNS:+-runs=$FUZZ_RUNS} -timeout=10 \
    -rss_limit_mb=2048 -max_len=4096 -print_final_stats=1 -artifact_prefix="$found/" "$BUILD/corpus/$t" "fuzz/corpus/$t" \
    >"$found.log" 2>&1 || true; } 2>"$found.cpu"
  findings=$(find "$found" -type f | wc -l)
  [ "$findings" -eq 0 ] || status=1
  printf '%-12s executions %12s   CPU s %6s   findings %s\n' "$t" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "$found.log" | tail -n 1)" \
    "$(awk '{ printf "%.0f", $1 + $2 }' "$found.cpu")" "$findings"
done
[ "$status" -eq 0 ] || echo "findings kept in $BUILD/findings/ (logs beside them)"
exit "$status"
