# Two entry points for a fresh Debian 12 machine: `make demo` and `make test`.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
ifeq ($(CI),true)
CMAKE_FLAGS += -DECCKEY_WERROR=ON
endif

.PHONY: all deps configure build demo test bench clean

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

bench: build
	@$(BUILD_DIR)/bin/ecckey-bench

clean:
	rm -rf $(BUILD_DIR)
