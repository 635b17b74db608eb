# The commands of the README, and what they are made of. All set-up happens here.

JOBS ?= $(shell nproc)
# Only for a build folder that does not exist yet; one made by hand keeps its own generator.
export CMAKE_GENERATOR ?= Ninja
launcher = $(shell command -v ccache >/dev/null 2>&1 && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
# $(call configure,PRESET,SETTINGS): quiet unless it fails.
configure = mkdir -p build && (cmake --preset $(1) $(2) $(launcher) >build/configure.log 2>&1 || \
            (cat build/configure.log; exit 1))

.PHONY: demo demo-olap test verify verify-all build install packages-deb checks tidy test-asan test-fuzz fuzz \
        fuzz-programs faults test-tsan valgrind coverage mutation separate-sources fresh-machine \
        screenshots page-screenshots bench bench-olap check-instructions record-instructions clean

demo:
	@scripts/install-packages build
	@$(call configure,release,-DBUILD_TESTING=OFF -DIMPORTKCD_OLAP_SERVER=OFF)
	cmake --build --preset release -j $(JOBS) --target kcd ImportKCD
	@scripts/demo build

# KEEP=--keep leaves the servers running until Ctrl-C.
KEEP ?=
demo-olap:
	@scripts/install-packages build olap-server
	@$(call configure,release,-DBUILD_TESTING=OFF -DIMPORTKCD_OLAP_SERVER=ON)
	cmake --build --preset release -j $(JOBS) --target kcd olap_server
	@scripts/demo-olap $(KEEP) build

# A run of some minutes; docs/performance.md has the numbers of a whole one. ONLY=1,2 measures some rows alone.
bench-olap:
	@scripts/install-packages build olap-server
	@$(call configure,release,-DBUILD_TESTING=OFF -DIMPORTKCD_OLAP_SERVER=ON)
	cmake --build --preset release -j $(JOBS) --target kcd olap_server
	@scripts/bench-olap build $(if $(FACTS),--facts $(FACTS)) $(if $(SECONDS),--seconds $(SECONDS)) \
	  $(if $(QUESTIONS),--questions $(QUESTIONS)) $(if $(SHARD_FACTS),--shard-facts $(SHARD_FACTS)) \
	  $(if $(ONLY),--only $(ONLY))

test: build
	ctest --preset release -j $(JOBS)

build:
	@scripts/install-packages build olap-server test
	@$(call configure,release,-DBUILD_TESTING=ON -DIMPORTKCD_OLAP_SERVER=ON)
	cmake --build --preset release -j $(JOBS)

# A build folder that is there keeps its tests; a new one gets none.
without_tests = -DIMPORTKCD_OLAP_SERVER=ON $(if $(wildcard build/CMakeCache.txt),,-DBUILD_TESTING=OFF)

# Puts everything below PREFIX, or below DESTDIR as packagers do.
PREFIX ?= /usr/local
install:
	@scripts/install-packages build olap-server
	@$(call configure,release,$(without_tests))
	cmake --build --preset release -j $(JOBS)
	DESTDIR="$(DESTDIR)" cmake --install build --prefix "$(PREFIX)"

# The Debian packages, of what is committed, in build/packages.
packages-deb:
	@scripts/install-packages build olap-server package
	@$(call configure,release,$(without_tests))
	scripts/build-packages build/packages

# The gates that every change has to pass beside its tests.
verify: checks tidy test-asan test-fuzz packages-deb

checks: build
	@scripts/install-packages verify package
	scripts/check-format
	scripts/check-includes
	scripts/check-messages
	tests/mutation/mutate.py --check
	scripts/check-hardening build/kcd build/ImportKCD
	scripts/check-dependencies build
	scripts/check-manual build
	ctest --preset release -R '^packaging\.'
	scripts/check-instructions build

sanitized:
	@scripts/install-packages build olap-server test verify
	@$(call configure,asan,)
.PHONY: sanitized

# What Qt's compiler makes of headers is part of a folder's source.
tidy: sanitized
	cmake --build --preset asan -j $(JOBS) --target pickers_qt_autogen \
	  frontend_window_tests_autogen
	scripts/check-tidy build/asan

test-asan: sanitized
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

# A few thousand inputs for each fuzz program, the same ones every time.
test-fuzz: fuzz-programs
	scripts/run-fuzzers build/asan short

# A search from where the last one ended, so many seconds for each fuzz program.
FUZZ_SECONDS ?= 600
fuzz: fuzz-programs build
	scripts/run-fuzzers build/asan $(FUZZ_SECONDS)
	fuzz/request_fuzzer.py build/kcd --seconds $(FUZZ_SECONDS) --seed $$(date +%s)

fuzz-programs: sanitized
	cmake --build --preset asan -j $(JOBS) --target fuzzers

# The packages built a second time, in another folder and without a cache, are the same to the byte.
packages-alike: packages-deb
	CCACHE_DISABLE=1 scripts/build-packages build/packages-again
	for package in build/packages/*.deb; do \
	  cmp "$$package" "build/packages-again/$${package##*/}" || exit 1; done

# The container is built and asked where there is podman or docker.
container:
	scripts/check-container
.PHONY: packages-alike container

# Everything else: for the night, because it takes hours. See docs/testing.md.
verify-all: verify separate-sources faults test-tsan valgrind coverage mutation fresh-machine \
            packages-alike container
	scripts/check-tidy build/asan analyzer

# Every allocation and every system call of a command fails once, and every one is its last.
faults: build
	IMPORTKCD_FAULTS_STRIDE=1 build/tests/cli/faults/kcd_fault_tests --gtest_brief=1
	IMPORTKCD_FAULTS_STRIDE=1 build/tests/importer/faults/importer_fault_tests --gtest_brief=1

# Each source on its own, so that an include that is missing fails.
separate-sources:
	@scripts/install-packages build olap-server test verify
	@$(call configure,separate,)
	cmake --build --preset separate -j $(JOBS)

test-tsan: sanitized
	@$(call configure,tsan,)
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

valgrind: build
	@scripts/install-packages verify
	scripts/check-memory build

coverage:
	@scripts/install-packages build olap-server test verify-all
	@$(call configure,coverage,)
	cmake --build --preset coverage -j $(JOBS)
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage -j $(JOBS)
	scripts/check-coverage build/coverage

# ONLY=1..60 takes a slice of the list.
ONLY ?=
mutation:
	@scripts/install-packages build olap-server test verify
	tests/mutation/mutate.py --jobs $(JOBS) --only '$(ONLY)' build/mutation

# That a new machine suffices, for root and for an ordinary user, and that the packages do.
fresh-machine: packages-deb
	@scripts/install-packages verify-all
	scripts/fresh-machine root make demo
	scripts/fresh-machine user make test
	scripts/fresh-machine packages

# Pictures of the window and its dialogs for the documentation.
screenshots: build
	cmake --build --preset release -j $(JOBS) --target screenshots

# Pictures of the page, from a run of its tests.
page-screenshots: build
	tests/page/run build
	cp build/tests/page/page-*.png docs/screenshots

# The size of the large documents, in megabytes, and the number of runs that a median is taken of.
MEGABYTES ?= 100
ROUNDS ?= 5
bench:
	@scripts/install-packages build verify-all
	@$(call configure,bench,)
	cmake --build --preset bench -j $(JOBS)
	scripts/run-benchmarks build/benchmarks
	bench/whole_program.py build/benchmarks --megabytes $(MEGABYTES) --rounds $(ROUNDS)

# Instructions of three imports against those on record; `make record-instructions` records anew.
check-instructions: build
	@scripts/install-packages verify
	scripts/check-instructions build

record-instructions: build
	@scripts/install-packages verify
	scripts/check-instructions build --record

clean:
	rm -rf build
