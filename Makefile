# The commands of the README, and what they are made of. All set-up happens here.

JOBS ?= $(shell nproc)
# Only for a build folder that does not exist yet; one made by hand keeps its own generator.
export CMAKE_GENERATOR ?= Ninja
launcher = $(shell command -v ccache >/dev/null 2>&1 && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: demo demo-olap test configure build packages checks test-release test-asan test-fuzz \
        fuzz fuzz-programs test-tsan valgrind coverage mutation screenshots bench \
        check-instructions record-instructions clean

demo: configure
	cmake --build --preset release -j $(JOBS) --target kcd ImportKCD
	@scripts/demo build

demo-olap: configure
	cmake --build --preset release -j $(JOBS) --target kcd olap_server
	@scripts/demo-olap build

test: checks test-asan test-release test-fuzz

packages:
	@scripts/install-packages

configure: packages
	@mkdir -p build
	@cmake --preset release $(launcher) >build/configure.log 2>&1 || (cat build/configure.log; exit 1)

build: configure
	cmake --build --preset release -j $(JOBS)

test-release: build
	ctest --preset release -j $(JOBS)

test-asan: packages
	cmake --preset asan $(launcher)
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

# A few thousand inputs for each fuzz program, the same ones every time.
test-fuzz: fuzz-programs
	scripts/run-fuzzers build/libfuzzer short

# A search from where the last one ended, so many seconds for each fuzz program.
FUZZ_SECONDS ?= 600
fuzz: fuzz-programs
	scripts/run-fuzzers build/libfuzzer $(FUZZ_SECONDS)

fuzz-programs: packages
	cmake --preset fuzz $(launcher)
	cmake --build --preset fuzz -j $(JOBS)

checks: build
	scripts/check-format
	scripts/check-includes
	scripts/check-test-lists
	scripts/check-hardening build/kcd build/ImportKCD
	scripts/check-instructions build
	scripts/check-tidy build

# What follows is too slow, or too rarely of use, for every day: see docs/testing.md.
test-tsan: packages
	cmake --preset tsan $(launcher)
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

valgrind: packages
	@scripts/install-packages valgrind
	$(MAKE) build
	scripts/check-memory build

coverage: packages
	@scripts/install-packages gcovr
	cmake --preset coverage $(launcher)
	cmake --build --preset coverage -j $(JOBS)
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage -j $(JOBS)
	scripts/check-coverage build/coverage

# ONLY=1..60 takes a slice of the list.
ONLY ?=
mutation: packages
	tests/mutation/mutate.py --jobs $(JOBS) --only '$(ONLY)' build/mutation

# Pictures of the window and its dialogs for the documentation.
screenshots: configure
	cmake --build --preset release -j $(JOBS) --target screenshots

# The size of the large documents, in megabytes, and the number of runs that a median is taken of.
MEGABYTES ?= 100
ROUNDS ?= 5
bench: packages
	cmake --preset bench $(launcher)
	cmake --build --preset bench -j $(JOBS)
	scripts/run-benchmarks build/benchmarks
	bench/whole_program.py build/benchmarks --megabytes $(MEGABYTES) --rounds $(ROUNDS)

# Instructions of three imports against those on record; `make record-instructions` records anew.
check-instructions: build
	scripts/check-instructions build

record-instructions: build
	scripts/check-instructions build --record

clean:
	rm -rf build
