# The two commands of the README: `make run` and `make test`. Each installs what is
# missing, configures, builds and runs. `make test` also installs the release build into a
# temporary prefix and builds programs against it, as CI does.
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps run edit test bench package build-release build-asan clean format

all: build-release

deps:
	@bash scripts/install-deps.sh

build-release: deps
	@cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DVXKD_BUILD_TESTS=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build build/release -j $(JOBS)

build-asan: deps
	@cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DVXKD_SANITIZE=ON -DVXKD_BUILD_BENCH=OFF $(CMAKE_FLAGS) >/dev/null
	@cmake --build build/asan -j $(JOBS)

run: build-release
	@bash scripts/run-main.sh build/release/bin

# The dataset editor in the browser on the dataset that `make run` made.
edit: build-release
	@test -f out/sample.vkd || { echo "out/sample.vkd is missing: run make run first"; exit 1; }
	@build/release/bin/vkd edit out/sample.vkd

test: build-asan package
	@cd build/asan && ctest --output-on-failure -j $(JOBS)
	@bash scripts/check-install.sh build/release

# The Debian package of the release build, in build/release/package.
package: build-release
	@cd build/release && cpack -G DEB >/dev/null && ls package/*.deb

bench: build-release
	@for b in build/release/bin/*_bench; do echo "== $$b"; $$b --benchmark_min_time=0.2; done
	@echo "== vkd list products"; bash scripts/time-list-products.sh build/release/bin

format:
	@clang-format -i $$(git ls-files '*.h' '*.cpp')

clean:
	@rm -rf build out
