# Every entry point installs what it needs first.
BUILD ?= build
FUZZ_BUILD ?= fuzz-build
FUZZ_SECONDS ?= 60
ARGS ?=
PREFIX ?= /usr/local

.PHONY: deps build test run screenshots install package bench fuzz clean

deps:
	@scripts/setup-deps

build: deps
	@cmake -S . -B $(BUILD) -G Ninja >/dev/null
	@cmake --build $(BUILD)

test: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j2

run: build
	./$(BUILD)/hashwarden $(ARGS)

screenshots: build
	QT_QPA_PLATFORM=offscreen ./$(BUILD)/hashwarden-screenshots $(BUILD)/screenshots

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

package: build
	cd $(BUILD) && cpack -G DEB

bench: build
	bench/run $(BUILD)

fuzz: deps
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G Ninja -DHASHWARDEN_FUZZ=ON \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS=-fsanitize=address,undefined >/dev/null
	@cmake --build $(FUZZ_BUILD)
	scripts/run-fuzzers $(FUZZ_BUILD) $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD) $(FUZZ_BUILD)
