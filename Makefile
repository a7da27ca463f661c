# Entry points of the README: `make demo` (build and run the main job on a bundled example)
# and `make test` (build and run every test). Both install missing Debian packages first.
.PHONY: demo test test-asan test-tsan fuzz bench deps clean

deps:
	scripts/install-deps.sh

build/default/build.ninja:
	cmake --preset default

QUARNNC = build/default/tools/quarnnc/quarnnc
# The sanitizer and fuzz builds use clang and its sanitizer runtimes.
CLANG_PACKAGES = clang libclang-rt-14-dev

demo: deps build/default/build.ninja
	cmake --build --preset default
	$(QUARNNC) info examples/part-3axis.nci
	$(QUARNNC) validate examples/part-3axis.nci
	$(QUARNNC) convert examples/part-3axis.nci build/default/part-3axis.xml
	head -n 12 build/default/part-3axis.xml
	$(QUARNNC) info examples/synthetic-mill.nci
	$(QUARNNC) info examples/bolt-circle.ngc
	$(QUARNNC) plot examples/part-3axis.nci build/default/part-3axis.svg --view iso
	@echo "The picture of examples/part-3axis.nci is build/default/part-3axis.svg: open it in a web browser."

test: deps build/default/build.ninja
	cmake --build --preset default
	ctest --preset default

test-asan: deps
	scripts/install-deps.sh $(CLANG_PACKAGES)
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

test-tsan: deps
	cmake --preset tsan
	cmake --build --preset tsan
	ctest --preset tsan

fuzz: deps
	scripts/install-deps.sh $(CLANG_PACKAGES)
	cmake --preset fuzz
	cmake --build --preset fuzz

bench: deps build/default/build.ninja
	cmake --build --preset default --target benchmarks quarnnc-python quarn-generate-examples
	bench/run.sh build/default/bench
	PYTHONPATH=build/default/python /usr/bin/python3 python/bench/iter_moves_bench.py \
		--generator build/default/examples/quarn-generate-examples

clean:
	rm -rf build
