# make run   builds the two programs and starts the tool on the built-in simulated board
# make test  builds and runs every test through CTest
# make package  builds the Debian package into build-pkg/
BUILD ?= build
TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
FUZZ_TIMEOUT ?= 60
FUZZ_TARGETS ?= fuzz_*

.PHONY: all deps configure build run check test core package asan bench fuzz clean

all: build

deps:
	@bash tools/install-deps.sh

# A build folder made for another copy of the sources, moved here, or set up with another
# generator makes CMake stop with an error about its cache; say what to do instead.
configure: deps
	@if [ -f $(BUILD)/CMakeCache.txt ]; then \
	  home=$$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' $(BUILD)/CMakeCache.txt); \
	  made=$$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' $(BUILD)/CMakeCache.txt); \
	  if [ "$$(realpath -m "$$home")" != "$$(realpath .)" ] || \
	     [ "$$(realpath -m "$$made")" != "$$(realpath $(BUILD))" ]; then \
	    echo "$(BUILD)/ holds a CMake cache made in $$made for the sources in $$home: remove $(BUILD)/ and run again"; \
	    exit 1; \
	  fi; \
	  gen=$$(sed -n 's/^CMAKE_GENERATOR:INTERNAL=//p' $(BUILD)/CMakeCache.txt); \
	  if [ -n "$$gen" ] && [ "$$gen" != Ninja ]; then \
	    echo "$(BUILD)/ was set up with the $$gen generator: remove $(BUILD)/ and run again"; \
	    exit 1; \
	  fi; \
	fi
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=$(TYPE) $(CMAKE_EXTRA) > /dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# Only the two programs: the tests and benchmarks are built by make test and make bench.
run: configure
	@cmake --build $(BUILD) -j $(JOBS) --target i2cbridge i2cbridge-cli
	@if [ -z "$$DISPLAY" ] && [ -z "$$WAYLAND_DISPLAY" ]; then \
	  echo "No display found. Start the tool under a virtual display with:"; \
	  echo "  xvfb-run -a $(BUILD)/i2cbridge --simulate"; \
	  exit 1; \
	fi
	$(BUILD)/i2cbridge --simulate

# The suite once in the build folder given.
check: build
	@ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# Every test, then the whole suite again under AddressSanitizer and UndefinedBehaviorSanitizer.
test: check
	@$(MAKE) --no-print-directory asan

# The core and the command-line program alone, without Qt: proves the core needs no Qt.
core: deps
	@cmake -S . -B build-core -G Ninja -DCMAKE_BUILD_TYPE=$(TYPE) -DI2CB_GUI=OFF -DI2CB_TESTS=OFF \
	  -DI2CB_BENCH=OFF > /dev/null
	@cmake --build build-core -j $(JOBS)
	@if ldd build-core/i2cbridge-cli | grep -qi qt; then echo "i2cbridge-cli links Qt"; exit 1; fi

# The Debian package: a Release build of both programs (no tests, benchmarks or fuzzers) and
# cpack, which leaves build-pkg/i2cbridge_<version>_<arch>.deb.
package: deps
	@cmake -S . -B build-pkg -G Ninja -DCMAKE_BUILD_TYPE=Release -DI2CB_GUI=ON -DI2CB_TESTS=OFF \
	  -DI2CB_BENCH=OFF -DI2CB_FUZZ=OFF > /dev/null
	@cmake --build build-pkg -j $(JOBS)
	@cd build-pkg && cpack -G DEB
	@ls build-pkg/*.deb

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer.
asan:
	@$(MAKE) --no-print-directory check BUILD=build-asan TYPE=Debug \
	  CMAKE_EXTRA="-DI2CB_SANITIZE=address,undefined -DI2CB_BENCH=OFF"

# Only the benchmark programs: the build folder holds other things named bench_* too.
bench: build
	@status=0; for b in $(BUILD)/bench/bench_*; do \
	  [ -f "$$b" ] && [ -x "$$b" ] || continue; \
	  echo "== $$b"; $$b || status=1; \
	done; exit $$status

# Every fuzzer for FUZZ_SECONDS each (FUZZ_TARGETS picks some: FUZZ_TARGETS=fuzz_script_engine).
# A crash, leak, time-out (one input running FUZZ_TIMEOUT s) or any other non-zero exit of a
# fuzzer fails the target once all have run; the input that did it and the fuzzer's output stay
# in build-fuzz/findings/<fuzzer>/ (emptied at the fuzzer's next run).
fuzz: deps
	@cmake -S . -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DI2CB_FUZZ=ON -DI2CB_GUI=OFF -DI2CB_TESTS=OFF -DI2CB_BENCH=OFF > /dev/null
	@cmake --build build-fuzz -j $(JOBS)
	@status=0; for t in build-fuzz/fuzz/$(FUZZ_TARGETS); do \
	  [ -f "$$t" ] && [ -x "$$t" ] || continue; \
	  name=$$(basename $$t); corpus=fuzz/corpus/$${name#fuzz_}; work=$$(mktemp -d); \
	  found=build-fuzz/findings/$$name; rm -rf $$found; mkdir -p $$found; \
	  if [ -d $$corpus ]; then cp $$corpus/* $$work/; fi; \
	  echo "== $$name for $(FUZZ_SECONDS) s"; \
	  $$t -max_total_time=$(FUZZ_SECONDS) -timeout=$(FUZZ_TIMEOUT) -print_final_stats=1 \
	    -artifact_prefix=$$found/ $$work > $$found/output.txt 2>&1; code=$$?; \
	  grep -E "^Done|stat::number_of_executed_units|cov:.*exec/s|ERROR|SUMMARY|fuzz:" \
	    $$found/output.txt | tail -4; \
	  if [ $$code -ne 0 ] || [ -n "$$(ls $$found | grep -v '^output.txt$$')" ]; then \
	    echo "$$name FAILED (exit $$code): input and output kept in $$found"; status=1; \
	  else rm -rf $$found; fi; \
	  rm -rf $$work; \
	done; exit $$status

clean:
	rm -rf build build-core build-asan build-fuzz build-pkg
