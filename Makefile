# Quillmark: `make run` builds, measures the main job's selection and writes its report; `make test` builds and runs every test.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= 2
CMAKE_ARGS ?= -DCMAKE_BUILD_TYPE=Release

.PHONY: all deps build run test test-asan fuzz clean

all: build

deps:
	@tools/install-deps.sh

build:
	cmake -S . -B $(BUILD) $(CMAKE_ARGS)
	cmake --build $(BUILD) -j$(JOBS)

run: deps build
	tools/main-job.sh $(BUILD)

test: deps build
	cd $(BUILD) && ctest --output-on-failure -j$(JOBS)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQM_SANITIZE=ON -DQM_BENCH=OFF
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && ctest --output-on-failure -j$(JOBS)

fuzz:
	tests/fuzz/run.sh

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
