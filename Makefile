# Two entry points for a fresh Debian 12 machine: `make demo` and `make test`. Every target configures,
# builds and tests through a preset of CMakePresets.json (dev: build/, asan: build-sanitize/, tsan:
# build-tsan/, coverage: build-coverage/, clang: build-clang/; bench is dev's build/), warnings as errors.
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
# CMake's own makes run beneath this one and would each announce "Entering/Leaving directory": a build
# shows only its progress lines and the compiler's warnings.
MAKEFLAGS += --no-print-directory

.PHONY: all deps configure build demo test test-clang bench bench-quick bench-build clean

all: build

deps:
	@ECCKEY_NODE_PREFIX=$(CURDIR)/build/node scripts/install-deps

configure: deps
	@cmake --preset dev $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build --preset dev -j $(JOBS)

# The demo needs the library and the command only; the tests, benchmarks and fuzz replays wait for
# `make test`.
demo: configure
	@echo "make demo: building the ecckey library and command in build/"
	@cmake --build --preset dev -j $(JOBS) --target ecckey_cli
	@build/bin/ecckey demo

test: build
	@ctest --preset dev -j $(JOBS)

# The ordinary suite built with clang++-14 (Debian's clang package).
test-clang: deps
	@cmake --preset clang $(CMAKE_FLAGS) >/dev/null
	@cmake --build --preset clang -j $(JOBS)
	@ctest --preset clang -j $(JOBS)

# The side-by-side tables of ecckey, OpenSSL, LibTomCrypt and libsecp256k1 and a chart of their ratios,
# build/bench-ratios.svg (a few minutes; BENCH_QUICK=1 or `make bench-quick` for a short run printing the
# same tables).
bench: bench-build
	@build/bin/ecckey-bench --chart=build/bench-ratios.svg

bench-quick: bench-build
	@BENCH_QUICK=1 build/bin/ecckey-bench

bench-build: deps
	@cmake --preset bench $(CMAKE_FLAGS) >/dev/null
	@cmake --build --preset bench -j $(JOBS)

clean:
	rm -rf build build-release build-sanitize build-tsan build-coverage build-clang build-fuzz

# ---- Hardening: sanitizers, threads, valgrind, fuzzing (each in a build folder of its own) ----
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
# Sanitizer builds compile at -O1 with line tables only (the asan and tsan presets): half the compile time
# of -O2 -g, same reports.

.PHONY: test-sanitize test-tsan memcheck fuzz coverage

# The whole suite with AddressSanitizer and UndefinedBehaviorSanitizer, and with the arithmetic's invariants
# checked (ECCKEY_CHECK_INVARIANTS); the first report or failed invariant fails the run.
test-sanitize: deps
	@cmake --preset asan $(CMAKE_FLAGS) >/dev/null
	@cmake --build --preset asan -j $(JOBS)
	@ctest --preset asan -j $(JOBS)

# The thread test under ThreadSanitizer: any report fails it. setarch -R: the sanitizer's fixed memory
# layout does not fit a randomised address space on recent kernels.
test-tsan: deps
	@cmake --preset tsan $(CMAKE_FLAGS) >/dev/null
	@cmake --build --preset tsan -j $(JOBS)
	@setarch "$$(uname -m)" -R ctest --preset tsan -j $(JOBS)

# valgrind memcheck over the signing, verification and encoding suites and the fuzz corpus replays: no
# error, nothing definitely lost (the CTest entries labelled memcheck, tests/cmake/memcheck.cmake).
memcheck: build
	@ctest --preset dev -j $(JOBS) -L memcheck

# Every libFuzzer target for FUZZ_SECONDS seconds (clang-14), or until FUZZ_RUNS executions when that is
# set; prints executions, CPU seconds and findings per target.
fuzz: deps
	@fuzz/run.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

# Line and branch coverage of ecc/, support/, formats/ and tools/ by the test suite (gcov and lcov), in a build folder
# of its own at -O0. The valgrind entries (memcheck and the constant-time check) rerun under valgrind what the
# suite already runs, too slowly at -O0, and the installed-package check links a copy of the library without
# the gcov runtime, so they are left out.
coverage: deps
	@cmake --preset coverage $(CMAKE_FLAGS) >/dev/null
	@cmake --build --preset coverage -j $(JOBS)
	@find build-coverage -name '*.gcda' -delete
	@ctest --preset coverage -j $(JOBS)
	@scripts/coverage-report build-coverage
