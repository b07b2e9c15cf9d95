# The two set-up commands: `make run` and `make test`. Each installs what is missing first.
.PHONY: deps run test test-desktop release bench fuzz format format-check tidy clean

JOBS ?= 2
FUZZ_SECONDS ?= 60
RUN_ARGS ?= status

deps:
	@scripts/install-deps

build/dev/build.ninja: CMakePresets.json | deps
	@cmake --preset dev >/dev/null

build/release/build.ninja: CMakePresets.json | deps
	@cmake --preset release >/dev/null

build/fuzz/build.ninja: CMakePresets.json | deps
	@cmake --preset fuzz >/dev/null

run: deps build/release/build.ninja
	@cmake --build --preset release -j$(JOBS) --target corvanebar
	@build/release/apps/corvanebar/corvanebar $(RUN_ARGS)

test: deps build/dev/build.ninja
	@cmake --build --preset dev -j$(JOBS)
	@dbus-run-session -- ctest --preset dev -j$(JOBS)

# The GNOME Shell extension end to end in a headless GNOME Shell, then what it costs the Shell;
# minutes, and about 150 more packages on first use. Screenshots go to build/dev/desktop-test.
test-desktop: deps build/dev/build.ninja
	@scripts/install-deps --desktop
	@cmake --build --preset dev -j$(JOBS) --target corvanebar corvanebar-status gnome_extension
	@tests/desktop/gnome_shell_test.py build/dev
	@tests/desktop/gnome_shell_cost.py build/dev

release: deps build/release/build.ninja
	@cmake --build --preset release -j$(JOBS)

bench: deps build/release/build.ninja
	@cmake --build --preset release -j$(JOBS)
	@for b in build/release/bench/*_bench; do echo "== $$b"; $$b || exit 1; done

fuzz: deps build/fuzz/build.ninja
	@cmake --build --preset fuzz -j$(JOBS) --target fuzzers
	@mkdir -p build/fuzz/corpus
	@for f in build/fuzz/tests/fuzz/fuzz_*; do \
	  name=$$(basename $$f); mkdir -p build/fuzz/corpus/$$name; \
	  echo "== $$name for $(FUZZ_SECONDS) s"; \
	  $$f -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 build/fuzz/corpus/$$name tests/fuzz/seeds/$$name || exit 1; \
	done

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

format-check:
	@git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

tidy: build/dev/build.ninja
	@git ls-files 'src/*.cpp' | xargs clang-tidy -p build/dev --quiet

clean:
	@rm -rf build
