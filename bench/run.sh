#!/bin/sh
# Runs every benchmark program of a build: console results, and one JSON file per program next to it.
# Usage: bench/run.sh [benchmark-dir] [Google Benchmark options...]
# The directory defaults to build/default/bench of this repository; the JSON files
# (<program>.json) are written into it.
set -u

root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build/default/bench"
case "${1-}" in
    "" | -*) ;;
    *) dir=$1; shift ;;
esac

if [ ! -d "$dir" ]; then
    echo "run.sh: no directory '$dir'; build the 'benchmarks' target first" >&2
    exit 2
fi

found=0
status=0
for program in "$dir"/*; do
    [ -f "$program" ] && [ -x "$program" ] || continue
    found=1
    name=$(basename "$program")
    echo "== $name"
    if ! "$program" --benchmark_format=console --benchmark_out="$dir/$name.json" \
        --benchmark_out_format=json "$@"; then
        echo "run.sh: $name failed" >&2
        status=1
    fi
done

if [ "$found" -eq 0 ]; then
    echo "run.sh: no benchmark programs in '$dir'" >&2
    exit 2
fi
exit "$status"
