# The two commands of the README: `make demo` and `make test`. Each installs the
# Debian packages that are missing, configures, builds and runs.

PACKAGES := cmake g++ ninja-build pkg-config libsqlite3-dev libssl-dev libexiv2-dev libexpat1-dev \
            libyaml-cpp-dev libcli11-dev libglib2.0-dev libgtest-dev libgmock-dev \
            libbenchmark-dev libgeographiclib-dev libimage-exiftool-perl \
            g++-mingw-w64-x86-64-posix mingw-w64-tools libboost-regex-dev \
            libcurl4-openssl-dev python3-pyftpdlib openssl libvips-dev xdg-utils imagemagick \
            duktape-dev python3-dev
COVERAGE_PACKAGES := gcovr
# The native tools that bench/compare_native.sh measures lumarko against; not needed to test.
BENCH_PACKAGES := jhead exiv2
JOBS ?= $(shell nproc)
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
BUILD_TEST := build/test
BUILD_RELEASE := build/release
BUILD_MINGW := build/mingw
BUILD_COVERAGE := build/coverage
# Rebuilds in several work trees share compiled objects when ccache is there; CI does without.
LAUNCHER := $(shell command -v ccache >/dev/null 2>&1 && echo -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: all deps build demo test unit-test cross-check coverage bench format clean

all: build

deps:
	@missing=$$(for p in $(PACKAGES) $(EXTRA_PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q 'install ok installed' || echo $$p; \
	  done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing missing packages:" $$missing; \
	  $(SUDO) apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq --no-install-recommends $$missing >/dev/null; \
	fi

$(BUILD_RELEASE)/build.ninja: | deps
	cmake -S . -B $(BUILD_RELEASE) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLMK_BUILD_TESTS=OFF $(LAUNCHER)

build: deps $(BUILD_RELEASE)/build.ninja
	cmake --build $(BUILD_RELEASE) -j $(JOBS)

demo: build
	@sh demo/run.sh $(BUILD_RELEASE)

$(BUILD_TEST)/build.ninja: | deps
	cmake -S . -B $(BUILD_TEST) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DLMK_SANITIZE=ON $(LAUNCHER)

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

# Line and branch coverage of src/ by every test, from a GCC --coverage build without sanitizers.
coverage:
	@$(MAKE) --no-print-directory deps EXTRA_PACKAGES="$(COVERAGE_PACKAGES)"
	# No ccache here: with its base_dir the notes name sources by relative paths gcovr cannot place.
	cmake -S . -B $(BUILD_COVERAGE) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_C_FLAGS=--coverage -DCMAKE_EXE_LINKER_FLAGS=--coverage \
	  -DCMAKE_SHARED_LINKER_FLAGS=--coverage
	# Sources that moved to another target leave old objects and notes behind, which gcovr cannot
	# merge with the new ones.
	ninja -C $(BUILD_COVERAGE) -t cleandead >/dev/null
	find $(BUILD_COVERAGE) -name '*.gcno' | while read -r n; do [ -f "$${n%.gcno}.o" ] || rm -f "$$n"; done
	cmake --build $(BUILD_COVERAGE) -j $(JOBS)
	find $(BUILD_COVERAGE) -name '*.gcda' -delete
	cd $(BUILD_COVERAGE) && ctest -j $(JOBS) --timeout 300 >ctest.log || (tail -30 ctest.log; true)
	# Threads racing on the counters can leave a negative branch count; gcov's parse is lenient.
	gcovr --root . --filter 'src/' --exclude-unreachable-branches --exclude-throw-branches \
	  --gcov-ignore-parse-errors --print-summary \
	  --txt $(BUILD_COVERAGE)/coverage.txt $(BUILD_COVERAGE)

bench:
	@$(MAKE) --no-print-directory deps EXTRA_PACKAGES="$(BENCH_PACKAGES)"
	cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DLMK_BUILD_TESTS=OFF -DLMK_BUILD_BENCH=ON
	cmake --build build/bench -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
