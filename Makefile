# make run   - install what is missing, build, open Ovrin on an example design
# make test  - install, build and run every test
# make bench - build and run the benchmarks
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
EXAMPLE ?= examples/newtonian_200_f5.ovn

.PHONY: all deps configure build run test bench clean

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

clean:
	@rm -rf $(BUILD)
