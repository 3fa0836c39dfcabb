# Entry points: `make demo` runs the program on the embedded demo company,
# `make test` runs every suite, `make bench` the benchmarks. All three install
# missing Debian packages first.

BUILD ?= build
WERROR := $(if $(CI),ON,OFF)

.PHONY: all setup configure build test demo bench clean

all: build

setup:
	@scripts/setup

configure: setup
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release -DLAR_WERROR=$(WERROR) >/dev/null

build: configure
	@cmake --build $(BUILD)

test: build
	@scripts/run-tests $(BUILD)

demo: build
	@scripts/demo $(BUILD)

bench: build
	@scripts/run-bench $(BUILD)

clean:
	rm -rf $(BUILD)
