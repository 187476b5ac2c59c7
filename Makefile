# Quillmark: `make run` builds, measures the main job's selection and writes its report; `make test` builds and runs every test.
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
JOBS       ?= 2
WERROR     ?= OFF
CMAKE_ARGS ?= -DCMAKE_BUILD_TYPE=Release
# The compiler cache, when installed (make deps installs it): an object whose source, flags and
# compiler are unchanged comes from the cache instead of the compiler.
# (Evaluated when a recipe runs, after `deps` has installed what was missing.)
CCACHE      = $(shell command -v ccache 2>/dev/null)
LAUNCHER    = $(if $(CCACHE),-DCMAKE_C_COMPILER_LAUNCHER=$(CCACHE) -DCMAKE_CXX_COMPILER_LAUNCHER=$(CCACHE))
# Paths inside the checkout are hashed relative to it, so a checkout elsewhere finds the same objects.
export CCACHE_BASEDIR   := $(CURDIR)
export CCACHE_NOHASHDIR := 1
# Ninja when installed (make deps installs it): a target's objects compile as soon as their own inputs
# exist instead of after every library the target links, so both cores stay busy to the end. A build
# directory that exists keeps the generator it was made with.
NINJA       = $(shell command -v ninja 2>/dev/null)
generator   = $(if $(wildcard $(1)/CMakeCache.txt),,$(if $(NINJA),-G Ninja))

.PHONY: all deps bench-deps configure build run test test-asan test-tsan fuzz clean

all: build

deps:
	@tools/install-deps.sh

# The kernel benchmark's peer libraries (OpenCV, FFTW from the distribution): speed anchors for
# bench/zkr_kernels only, so neither `deps` nor `test` installs them.
bench-deps:
	@tools/install-bench-deps.sh

# `build` makes the product: the program, the library and the list of its functions. `test` builds
# the rest (tests, fixtures, benchmarks) on top of it.
PRODUCT     = quillmark zkr_function_list

configure:
	cmake -S . -B $(BUILD) $(call generator,$(BUILD)) $(CMAKE_ARGS) $(LAUNCHER) -DQM_WERROR=$(WERROR) -DQM_FAMILIES=

build: configure
	cmake --build $(BUILD) -j$(JOBS) --target $(PRODUCT)

run: deps build
	tools/main-job.sh $(BUILD)

test: deps configure
	cmake --build $(BUILD) -j$(JOBS)
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

# The sanitizer builds take the framework, every family a test outside the family tests names, and a
# rotating third of the others (tools/family-sample.py --list shows which); `make test` takes every
# family. SAN_FAMILIES= (empty) gives them every family too.
SAN_FAMILIES ?= $(shell python3 tools/family-sample.py)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) $(call generator,$(ASAN_BUILD)) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQM_SANITIZE=ON -DQM_BENCH=OFF $(LAUNCHER) -DQM_WERROR=$(WERROR) -DQM_FAMILIES="$(SAN_FAMILIES)"
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && ctest --output-on-failure -j$(JOBS)

# The library and its tests under ThreadSanitizer: the worker pool, thread-count changes between
# calls and every family's threaded path.
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) $(call generator,$(TSAN_BUILD)) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQM_TSAN=ON -DQM_BENCH=OFF $(LAUNCHER) -DQM_WERROR=$(WERROR) -DQM_FAMILIES="$(SAN_FAMILIES)"
	cmake --build $(TSAN_BUILD) -j$(JOBS) --target qm_library_tests
	cd $(TSAN_BUILD) && TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" ctest --output-on-failure -j$(JOBS) -E '_NOT_BUILT$$'

fuzz:
	tests/fuzz/run.sh

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD)
