#!/usr/bin/env bash
# The benchmarks, briefly: they build from scratch, every contender of the comparison computes the same result as
# the SDK on the same input, and every program runs. Speed itself is shown by `bash scripts/bench.sh`, never judged
# here.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

build="$root/build/ci-bench"
rm -rf "$build"
UVC_STEREO_BENCH_BUILD="$build" bash "$root/scripts/bench.sh" --quick
