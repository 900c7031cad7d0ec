# Every entry point installs what it needs first.
BUILD ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
FUZZ_BUILD ?= fuzz-build
FUZZ_SECONDS ?= 60
ARGS ?=
PREFIX ?= /usr/local
LAUNCHER := $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)

.PHONY: deps build test asan tsan run screenshots install package bench fuzz clean

deps:
	@scripts/setup-deps

build: deps
	@cmake -S . -B $(BUILD) -G Ninja $(LAUNCHER) >/dev/null
	@cmake --build $(BUILD)

test: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j2

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer; any finding fails.
asan: deps
	@cmake -S . -B $(ASAN_BUILD) -G Ninja $(LAUNCHER) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	    -DHASHWARDEN_SANITIZE=address,undefined >/dev/null
	@cmake --build $(ASAN_BUILD)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 \
	    LSAN_OPTIONS=suppressions=$(CURDIR)/scripts/lsan.supp:print_suppressions=0 \
	    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	    ctest --output-on-failure -j2

# The engine suites under ThreadSanitizer (the command-line suite forks and signals).
tsan: deps
	@cmake -S . -B $(TSAN_BUILD) -G Ninja $(LAUNCHER) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	    -DHASHWARDEN_SANITIZE=thread >/dev/null
	@TSAN_OPTIONS=suppressions=$(CURDIR)/scripts/tsan.supp cmake --build $(TSAN_BUILD)
	cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1:suppressions=$(CURDIR)/scripts/tsan.supp \
	    ctest --output-on-failure -j2 -E '^HWCCommandLineTest'

run: build
	./$(BUILD)/hashwarden $(ARGS)

# Under Xvfb, so that the real frameless main window is what is captured.
screenshots: build
	QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x900x24" \
	    ./$(BUILD)/hashwarden-screenshots $(BUILD)/screenshots

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

package: build
	cd $(BUILD) && cpack -G DEB

bench: build
	bench/run $(BUILD)

fuzz: deps
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G Ninja $(LAUNCHER) -DHASHWARDEN_FUZZ=ON \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(FUZZ_BUILD)
	scripts/run-fuzzers $(FUZZ_BUILD) $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) $(FUZZ_BUILD)
