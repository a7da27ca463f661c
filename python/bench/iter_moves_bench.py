#!/usr/bin/env python3
"""Speed of quarnnc.iter_moves against the C++ replay (count_events) on a large compact NCI program.

Generates the program with quarn-generate-examples (QUARN_GENERATOR_PATH or --generator) into a
temporary directory, then times count_events (the reader into a counting C++ sink, the baseline),
iter_moves (consuming each batch with len()), read, and a Python subclass of quarnnc.NCStream when
the module has one. Prints moves per second and the ratio iter_moves / count_events (goal: >= 0.5).
Not a test: nothing here asserts a time.
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

import quarnnc


def best_of(repeat, function):
    times = []
    for _ in range(repeat):
        start = time.perf_counter()
        result = function()
        times.append(time.perf_counter() - start)
    return min(times), result


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--generator", default=os.environ.get("QUARN_GENERATOR_PATH"),
                        help="quarn-generate-examples (default: $QUARN_GENERATOR_PATH)")
    parser.add_argument("--moves", type=int, default=10_000_000, help="moves of the generated program")
    parser.add_argument("--batch", type=int, default=65536, help="batch size of iter_moves")
    parser.add_argument("--repeat", type=int, default=3, help="runs of each measurement; the best counts")
    parser.add_argument("--python-moves", type=int, default=1_000_000,
                        help="moves of the program the Python NCStream subclass is timed on")
    arguments = parser.parse_args()
    if not arguments.generator:
        parser.error("give --generator or set QUARN_GENERATOR_PATH")

    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "program.nci")
        subprocess.run([arguments.generator, "--moves", str(arguments.moves), path], check=True,
                       capture_output=True)
        print(f"{path}: {arguments.moves} moves, {os.path.getsize(path) / 2**20:.0f} MiB")

        count_time, counts = best_of(arguments.repeat, lambda: quarnnc.count_events(path))
        moves = sum(n for name, n in counts.items()
                    if name not in ("onOpen", "onClose", "onContext", "onTool", "onSection", "onSectionEnd",
                                    "onComment", "onParameter", "onDwell", "onCommand", "onGroup", "onGroupEnd"))
        events = sum(counts.values())

        def iterate():
            n = 0
            for batch in quarnnc.iter_moves(path, arguments.batch):
                n += len(batch)
            return n

        iter_time, iterated = best_of(arguments.repeat, iterate)
        assert iterated == moves, (iterated, moves)
        read_time, program = best_of(1, lambda: len(quarnnc.read(path)))

        rate = lambda seconds: moves / seconds / 1e6
        print(f"count_events  {count_time:7.3f} s  {rate(count_time):7.1f} M moves/s  ({events} events)")
        print(f"iter_moves    {iter_time:7.3f} s  {rate(iter_time):7.1f} M moves/s  (batch {arguments.batch})")
        print(f"read          {read_time:7.3f} s  {rate(read_time):7.1f} M moves/s")
        print(f"ratio iter_moves / count_events: {count_time / iter_time:.2f} (goal >= 0.5)")

        stream_class = getattr(quarnnc, "NCStream", None)
        run = getattr(quarnnc, "run", None)
        if stream_class is None or run is None:
            print("Python NCStream subclass: skipped (quarnnc.NCStream or quarnnc.run is missing)")
            return 0
        small = os.path.join(directory, "small.nci")
        subprocess.run([arguments.generator, "--moves", str(arguments.python_moves), small], check=True,
                       capture_output=True)

        class Counter(stream_class):
            def __init__(self):
                super().__init__()
                self.moves = 0

            def on_linear(self, *args):
                self.moves += 1
                return True

            def on_rapid(self, *args):
                self.moves += 1
                return True

        try:
            counter = Counter()
            start = time.perf_counter()
            run(small, [counter])
            seconds = time.perf_counter() - start
            print(f"Python NCStream subclass  {seconds:7.3f} s  {arguments.python_moves / seconds / 1e6:7.2f} M moves/s"
                  f"  ({arguments.python_moves} moves, {counter.moves} rapids and lines in Python)")
        except Exception as error:  # the chains part decides its interface; say what failed
            print(f"Python NCStream subclass: skipped ({type(error).__name__}: {error})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
