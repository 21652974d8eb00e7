# Two commands do everything that is missing: "make run" and "make test". CMake does the work underneath;
# "cmake --preset release" and friends can be used directly as well.

PRESETS ?= release asan tsan

.PHONY: help setup build run test soak coverage check format measure bench bench-peers install uninstall package docs check-windows windows clean distclean

help:
	@echo 'make run    set up, build, and show the demonstration on three million flights'
	@echo 'make test   set up, build, and run all tests (PRESETS="$(PRESETS)" can be narrowed)'
	@echo 'make soak   run the campaigns, too long for a test, for SOAK=600 seconds in all (CAMPAIGNS, SEED)'
	@echo 'make coverage  the branches that the tests take, by folder; lists the others in build/coverage/coverage.txt'
	@echo 'make check  look at format, at faults that clang-tidy finds, and at the scripts'
	@echo 'make format format every source'
	@echo 'make bench  set up, build, and run the benchmarks (BENCHMARKS, BENCHMARK_ARGS)'
	@echo 'make bench-peers  read the same tables through DuckDB'"'"'s Python, JDBC, Node and Go packages'
	@echo 'make build  set up and build build/release/bin'
	@echo 'make install, make uninstall  into and out of PREFIX (/usr/local), below DESTDIR'
	@echo 'make package           a .deb and a .tar.gz in build/release/packages'
	@echo 'make docs              the reference of host/ and its guide, in build/docs/html'
	@echo 'make check-windows     compile the module, the shell and host/ for Windows'
	@echo 'make windows           build DuckDB, the module, orsql, example hosts and suites for Windows, run them under Wine'
	@echo 'make clean  remove build/; make distclean also removes what was fetched (.deps/)'
	@echo
	@echo 'DUCKDB_ROOT=folder  take include/ and lib/ of DuckDB from there instead of fetching it'
	@echo 'JOBS=n              compile and test n at a time (default: one for each processor)'

setup:
	@scripts/get_packages.sh
	@scripts/get_duckdb.sh
	@scripts/get_flights.sh

build: setup
	@scripts/build.sh release

run: build
	@if [ -x scripts/run_demo.sh ]; then scripts/run_demo.sh; else build/release/bin/orsql --help; fi

test: setup
	@scripts/test.sh $(PRESETS)

SOAK ?= 600
soak: setup
	@SEED='$(SEED)' scripts/soak.sh '$(SOAK)' $(CAMPAIGNS)

coverage: setup
	@scripts/get_packages.sh coverage
	@scripts/build.sh coverage
	@find build/coverage -name '*.gcda' -delete
	@ctest --preset coverage --parallel $(or $(JOBS),2) --output-on-failure --exclude-regex 'install_tests|shell_memory_tests'; \
		status=$$?; scripts/coverage.sh build/coverage && exit $$status

check: setup
	@scripts/get_packages.sh check
	@scripts/check.sh

format:
	@scripts/get_packages.sh check
	@scripts/check.sh fix

measure:
	@scripts/measure_sources.py

bench: build
	@scripts/run_benchmarks.sh

bench-peers: build
	@scripts/bench_peers.sh

install: setup
	@scripts/build.sh release orsql orlimbara_duckdb package_files
	@PREFIX='$(PREFIX)' DESTDIR='$(DESTDIR)' scripts/install.sh

uninstall:
	@PREFIX='$(PREFIX)' DESTDIR='$(DESTDIR)' scripts/uninstall.sh

package: setup
	@scripts/get_packages.sh package
	@scripts/build.sh release orsql orlimbara_duckdb package_files
	@cpack --config build/release/CPackConfig.cmake

docs:
	@scripts/get_packages.sh docs
	@scripts/docs.sh

check-windows: setup
	@scripts/get_packages.sh windows
	@scripts/build.sh windows

windows: setup
	@scripts/get_packages.sh windows wine
	@scripts/windows.sh

clean:
	rm -rf build

distclean: clean
	rm -rf .deps
