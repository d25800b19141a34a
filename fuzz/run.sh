#!/bin/sh
# Builds the libFuzzer targets (fuzz/CMakeLists.txt, clang-14) and runs each one for FUZZ_SECONDS seconds,
# starting from a copy of its checked-in corpus, then prints executions and findings per target.
#   fuzz/run.sh [BUILD_DIR] [SECONDS] [TARGET...]
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
  "$bin" -max_total_time="$SECONDS_PER_TARGET" -timeout=10 -rss_limit_mb=2048 -max_len=4096 \
    -print_final_stats=1 -artifact_prefix="$found/" "$work" >"$log" 2>&1 || true
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  findings=$(find "$found" -type f | wc -l)
  [ "$findings" -eq 0 ] || status=1
  line=$(printf '%-12s executions %12s   findings %s' "$t" "${execs:-?}" "$findings")
  echo "$line"
  summary="$summary$line\n"
done
printf '%b' "$summary" >"$BUILD/summary.txt"
[ "$status" -eq 0 ] || echo "findings kept in $BUILD/findings/ (logs beside them)"
exit "$status"
