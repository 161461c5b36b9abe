# Entry points for a fresh Debian machine (run as root): each target installs
# what it needs, then builds. Re-running fetches and rebuilds nothing new.
BUILD_DIR ?= build/default
CMAKE_CONFIGURE = cmake --preset default -B $(BUILD_DIR)
WINE = scripts/with-wine.sh

CLANG_BUILD_DIR ?= build/clang

.PHONY: all setup configure build test test-clang fuzz bench demo schemas format clean

all: build

setup:
	@scripts/setup.sh

$(BUILD_DIR)/build.ninja: | setup
	$(CMAKE_CONFIGURE)

configure: setup $(BUILD_DIR)/build.ninja

build: configure
	cmake --build $(BUILD_DIR)

test: build
	$(WINE) ctest --test-dir $(BUILD_DIR) --output-on-failure -j2

# The second compiler (clang and lld), in a build folder of its own.
$(CLANG_BUILD_DIR)/build.ninja: | setup
	cmake --preset clang -B $(CLANG_BUILD_DIR)

test-clang: setup $(CLANG_BUILD_DIR)/build.ninja
	cmake --build $(CLANG_BUILD_DIR)
	$(WINE) ctest --test-dir $(CLANG_BUILD_DIR) --output-on-failure -j2

# The bad-input campaign at length: KEL_FUZZ_CALLS per method, a seed from the
# clock unless KEL_FUZZ_SEED names one to replay; KEL_FUZZ_ONLY narrows it.
KEL_FUZZ_CALLS ?= 10000
KEL_FUZZ_SEED ?= time
fuzz: build
	KEL_FUZZ_CALLS=$(KEL_FUZZ_CALLS) KEL_FUZZ_SEED=$(KEL_FUZZ_SEED) KEL_FUZZ_ONLY='$(KEL_FUZZ_ONLY)' \
	  $(WINE) /usr/lib/wine/wine64 $(BUILD_DIR)/bin/test_fuzz.exe --gtest_filter='BadInputCampaign.*' \
	  | tee $(BUILD_DIR)/fuzz.log; \
	  grep -q '^\[  PASSED  \] 1 test\.' $(BUILD_DIR)/fuzz.log

bench: build
	$(WINE) scripts/run-benchmarks.sh $(BUILD_DIR)

demo: build
	$(WINE) scripts/demo.sh $(BUILD_DIR)

# One JSON Schema document per agent class, as the built module describes them.
schemas: build
	$(WINE) scripts/schemas.py /usr/lib/wine/wine64 $(BUILD_DIR)/bin/kelhost.exe $(BUILD_DIR)/schemas

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
