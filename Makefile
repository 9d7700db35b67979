# The short way in; CMakePresets.json holds the real build. Every target installs what is
# missing from Debian's packages first (as root or with sudo; otherwise it prints the line to run).
.DEFAULT_GOAL := build
.PHONY: build demo test bench install lint sanitize fuzz clean deps deps-test deps-bench deps-lint deps-fuzz

PREFIX ?= /usr/local
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60

build: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

demo: build
	Samples/demo.sh build/release/bin/mediakit

test: deps-test
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS)
	ctest --preset dev -j $(JOBS)

bench: deps-bench
	cmake --preset bench
	cmake --build --preset bench -j $(JOBS)
	Benchmarks/run.sh build/bench

install: build
	cmake --install build/release --prefix $(PREFIX)

# Sanitizers and clang's thread-safety analysis: what runs before a release.
sanitize: deps-lint
	cmake --preset asan-ubsan && cmake --build --preset asan-ubsan -j $(JOBS) && ctest --preset asan-ubsan -j $(JOBS)
	cmake --preset tsan && cmake --build --preset tsan -j $(JOBS) && ctest --preset tsan -j $(JOBS)
	cmake --preset tsa && cmake --build --preset tsa -j $(JOBS)

# Each harness for FUZZ_SECONDS, one after the other.
fuzz: deps-fuzz
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	Fuzz/run.sh build/fuzz $(FUZZ_SECONDS)

lint: deps-lint
	cmake/lint.sh

clean:
	rm -rf build

deps:
	@cmake/install-deps.sh build
deps-test:
	@cmake/install-deps.sh build test
deps-bench:
	@cmake/install-deps.sh build test bench
deps-lint:
	@cmake/install-deps.sh build test lint
deps-fuzz:
	@cmake/install-deps.sh build test fuzz
