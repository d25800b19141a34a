# Two entry points for a fresh Debian 12 machine: `make demo` and `make test`.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifeq ($(CI),true)
CMAKE_FLAGS += -DECCKEY_WERROR=ON
endif
# CMake's own makes run beneath this one and would each announce "Entering/Leaving directory": a build
# shows only its progress lines and the compiler's warnings.
MAKEFLAGS += --no-print-directory

.PHONY: all deps configure build demo test bench bench-quick clean

all: build

deps:
	@ECCKEY_NODE_PREFIX=$(abspath $(BUILD_DIR))/node scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

# The demo needs the library and the command only; the tests, benchmarks and fuzz replays wait for
# `make test`.
demo: configure
	@echo "make demo: building the ecckey library and command in $(BUILD_DIR)/"
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target ecckey_cli
	@$(BUILD_DIR)/bin/ecckey demo

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

# The side-by-side tables of ecckey, OpenSSL, LibTomCrypt and libsecp256k1 (a few minutes; BENCH_QUICK=1 or
# `make bench-quick` for a short run printing the same tables).
bench: build
	@$(BUILD_DIR)/bin/ecckey-bench

bench-quick: build
	@BENCH_QUICK=1 $(BUILD_DIR)/bin/ecckey-bench

clean:
	rm -rf $(BUILD_DIR)

# ---- Hardening: sanitizers, threads, valgrind, fuzzing (each in a build folder of its own) ----
SANITIZE_DIR ?= build-sanitize
TSAN_DIR ?= build-tsan
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
# Sanitizer builds compile at -O1 with line tables only: half the compile time of -O2 -g, same reports.
HARDEN_FLAGS = -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DECCKEY_BENCH=OFF $(CMAKE_FLAGS)

.PHONY: test-sanitize test-tsan memcheck fuzz coverage

# The whole suite with AddressSanitizer and UndefinedBehaviorSanitizer, and with the arithmetic's invariants
# checked (ECCKEY_CHECK_INVARIANTS); the first report or failed invariant fails the run.
test-sanitize: deps
	@cmake -S . -B $(SANITIZE_DIR) $(HARDEN_FLAGS) -DECCKEY_SANITIZE=ON -DECCKEY_CHECK_INVARIANTS=ON >/dev/null
	@cmake --build $(SANITIZE_DIR) -j $(JOBS)
	@cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS)

# The thread test under ThreadSanitizer: any report fails it. setarch -R: the sanitizer's fixed memory
# layout does not fit a randomised address space on recent kernels.
test-tsan: deps
	@cmake -S . -B $(TSAN_DIR) $(HARDEN_FLAGS) -DCMAKE_CXX_FLAGS="-fsanitize=thread -fno-omit-frame-pointer" \
	  -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread >/dev/null
	@cmake --build $(TSAN_DIR) -j $(JOBS) --target ecckey-threads-tests
	@TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 setarch "$$(uname -m)" -R \
	  $(TSAN_DIR)/bin/ecckey-threads-tests

# valgrind memcheck over the signing, verification and encoding suites and the fuzz corpus replays: no
# error, nothing definitely lost (the CTest entries labelled memcheck, tests/cmake/memcheck.cmake).
memcheck: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) -L memcheck

# Every libFuzzer target for FUZZ_SECONDS seconds (clang-14), or until FUZZ_RUNS executions when that is
# set; prints executions, CPU seconds and findings per target.
fuzz: deps
	@fuzz/run.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

# Line and branch coverage of ecc/, support/ and tools/ by the test suite (gcov and lcov), in a build folder
# of its own at -O0. The valgrind entries (memcheck and the constant-time check) rerun under valgrind what the
# suite already runs, too slowly at -O0, and the installed-package check links a copy of the library without
# the gcov runtime, so they are left out.
COVERAGE_DIR ?= build-coverage
coverage: deps
	@cmake -S . -B $(COVERAGE_DIR) -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g" \
	  -DECCKEY_COVERAGE=ON -DECCKEY_BENCH=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(COVERAGE_DIR) -j $(JOBS)
	@find $(COVERAGE_DIR) -name '*.gcda' -delete
	@cd $(COVERAGE_DIR) && ctest -j $(JOBS) --output-on-failure -LE memcheck -E 'install_and_build_example|^constant_time'
	@scripts/coverage-report $(COVERAGE_DIR)
