#!/usr/bin/env bash
# Builds the benchmarks (Release) and runs the side-by-side comparison of the SDK's checksums and JSON minifier
# with zlib, ISA-L, simdjson and RapidJSON, the IMU stream's timestamps against a simulated IMU's truth, then the
# Google Benchmark programs for the checksums, the minifier, the IMU read (through the simulated rig, and through the
# Linux backend beside its bare control query) and stream, and the device scan. Installs what it needs from Debian's
# packages when it is missing.
#
#   bash scripts/bench.sh            full run: the figures worth quoting (a few minutes)
#   bash scripts/bench.sh --quick    every program once, briefly: proves they build, agree and run
#
# UVC_STEREO_BENCH_BUILD names the build directory (default build/bench).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=lib/packages.sh
source "$root/scripts/lib/packages.sh"
# shellcheck source=lib/compiler_cache.sh
source "$root/scripts/lib/compiler_cache.sh"

quick=0
case "${1:-}" in
  "") ;;
  --quick) quick=1 ;;
  *) echo "usage: bash scripts/bench.sh [--quick]" >&2; exit 2 ;;
esac

ensure_packages cmake ninja-build g++ pkg-config libbenchmark-dev zlib1g-dev libisal-dev libsimdjson-dev rapidjson-dev

build=${UVC_STEREO_BENCH_BUILD:-$root/build/bench}
mapfile -t cache < <(compiler_cache_options)
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DUVC_STEREO_BUILD_BENCHMARKS=ON \
  -DUVC_STEREO_BUILD_TESTS=OFF -DUVC_STEREO_BUILD_FUZZ=OFF -DUVC_STEREO_BUILD_EXAMPLES=OFF -DUVC_STEREO_BUILD_TOOLS=OFF \
  "${cache[@]}"
programs=(bench_crc bench_json bench_imu bench_linux_imu bench_scan bench_c_api)
cmake --build "$build" --parallel "$(nproc)" --target uvc_stereo_compare bench_imu_timestamps "${programs[@]}"

if [ "$quick" -eq 1 ]; then
  "$build/benchmarks/uvc_stereo_compare" --quick
  "$build/benchmarks/bench_imu_timestamps" --quick
  for program in "${programs[@]}"; do
    "$build/benchmarks/$program" --benchmark_min_time=0.001
  done
else
  "$build/benchmarks/uvc_stereo_compare"
  "$build/benchmarks/bench_imu_timestamps"
  for program in "${programs[@]}"; do
    "$build/benchmarks/$program"
  done
fi
