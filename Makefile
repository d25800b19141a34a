# Two entry points for a fresh Debian 12 machine: `make demo` and `make test`.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifeq ($(CI),true)
CMAKE_FLAGS += -DECCKEY_WERROR=ON
endif

.PHONY: all deps configure build demo test bench bench-quick clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

demo: build
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
