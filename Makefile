# The two commands of the README: `make demo` and `make test`. Each installs the
# Debian packages that are missing, configures, builds and runs.

PACKAGES := cmake g++ ninja-build pkg-config libsqlite3-dev libssl-dev libexiv2-dev libexpat1-dev \
            libyaml-cpp-dev libcli11-dev libglib2.0-dev libgtest-dev libgmock-dev \
            libbenchmark-dev libgeographiclib-dev libimage-exiftool-perl \
            g++-mingw-w64-x86-64-posix mingw-w64-tools
JOBS ?= $(shell nproc)
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
BUILD_TEST := build/test
BUILD_RELEASE := build/release
BUILD_MINGW := build/mingw

.PHONY: all deps build demo test unit-test cross-check bench format clean

all: build

deps:
	@missing=$$(for p in $(PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q 'install ok installed' || echo $$p; \
	  done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing missing packages:" $$missing; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing >/dev/null; \
	fi

$(BUILD_RELEASE)/build.ninja: | deps
	cmake -S . -B $(BUILD_RELEASE) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLMK_BUILD_TESTS=OFF

build: deps $(BUILD_RELEASE)/build.ninja
	cmake --build $(BUILD_RELEASE) -j $(JOBS)

demo: build
	@sh demo/run.sh $(BUILD_RELEASE)

$(BUILD_TEST)/build.ninja: | deps
	cmake -S . -B $(BUILD_TEST) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DLMK_SANITIZE=ON

unit-test: deps $(BUILD_TEST)/build.ninja
	cmake --build $(BUILD_TEST) -j $(JOBS)
	cd $(BUILD_TEST) && ctest --output-on-failure -j $(JOBS) --timeout 300

# The portable core compiled against the real Windows SDK headers, so it never
# drifts from them.
cross-check: deps
	cmake -S . -B $(BUILD_MINGW) -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake \
	  -DLMK_PORTABLE_ONLY=ON -DCMAKE_BUILD_TYPE=Release
	cmake --build $(BUILD_MINGW) -j $(JOBS)

test: unit-test cross-check

bench: deps
	cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DLMK_BUILD_TESTS=OFF -DLMK_BUILD_BENCH=ON
	cmake --build build/bench -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
