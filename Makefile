# Entry points of the README: `make demo` (build and run the main job on a bundled example)
# and `make test` (build and run every test). Both install missing Debian packages first.
.PHONY: demo test test-asan fuzz bench deps clean

deps:
	scripts/install-deps.sh

build/default/build.ninja:
	cmake --preset default

demo: deps build/default/build.ninja
	cmake --build --preset default
	build/default/examples/quarn-example-chain build/default/example.log
	head -n 40 build/default/example.log

test: deps build/default/build.ninja
	cmake --build --preset default
	ctest --preset default

test-asan: deps
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

fuzz: deps
	scripts/install-deps.sh clang libclang-rt-14-dev
	cmake --preset fuzz
	cmake --build --preset fuzz

bench: deps build/default/build.ninja
	cmake --build --preset default --target benchmarks
	bench/run.sh build/default/bench

clean:
	rm -rf build
