# make run   - install what is missing, build, open Ovrin on an example design
# make test  - install, build and run every test
# make bench - build and run the benchmarks
# make sanitize - build with ASan and UBSan in build-sanitize and run every test there
# make fuzz  - build the libFuzzer harness in build-fuzz and fuzz for FUZZ_TIME seconds
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/newtonian_200_f5.ovn

SAN_BUILD ?= build-sanitize
FUZZ_BUILD ?= build-fuzz
FUZZ_TIME ?= 120
# clang when installed (its checks include float-to-integer overflow), else the default compiler.
SAN_CXX ?= $(shell command -v clang++ 2>/dev/null || echo c++)
LAUNCHER := $(shell command -v ccache >/dev/null 2>&1 && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
SAN_ENV := ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1 \
	LSAN_OPTIONS=suppressions=$(CURDIR)/tests/sanitize/lsan.supp:print_suppressions=0 \
	UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:suppressions=$(CURDIR)/tests/sanitize/ubsan.supp

.PHONY: all deps configure build run test bench clean sanitize fuzz

all: build

deps:
	@./scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	@./scripts/run.sh $(BUILD) $(EXAMPLE)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench: build
	@$(BUILD)/ovrin-bench --benchmark_counters_tabular=true

sanitize: deps
	@cmake -S . -B $(SAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=$(SAN_CXX) \
		$(LAUNCHER) -DOVRIN_SANITIZE=ON -DOVRIN_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(SAN_BUILD) -j $(JOBS)
	@cd $(SAN_BUILD) && $(SAN_ENV) ctest --output-on-failure -j $(JOBS)

fuzz: deps
	@command -v clang++ >/dev/null || { echo "make fuzz needs clang (scripts/install-deps.sh installs it)"; exit 1; }
	@cmake -S . -B $(FUZZ_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
		$(LAUNCHER) -DOVRIN_FUZZ=ON -DOVRIN_BUILD_GUI=OFF -DOVRIN_BUILD_TESTS=OFF -DOVRIN_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(FUZZ_BUILD) -j $(JOBS) --target ovrin-fuzz
	@mkdir -p $(FUZZ_BUILD)/corpus $(FUZZ_BUILD)/findings
	@cd $(FUZZ_BUILD) && $(SAN_ENV) ./ovrin-fuzz corpus $(CURDIR)/tests/fuzz/corpus $(CURDIR)/examples \
		-dict=$(CURDIR)/tests/fuzz/ovn.dict -max_total_time=$(FUZZ_TIME) -timeout=10 -rss_limit_mb=2048 \
		-artifact_prefix=findings/ -print_final_stats=1

clean:
	@rm -rf $(BUILD) $(SAN_BUILD) $(FUZZ_BUILD)
