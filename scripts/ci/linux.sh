#!/usr/bin/env bash
# The Linux suite: a clean build with GCC and every test program.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"
# shellcheck source=../lib/compiler_cache.sh
source "$root/scripts/lib/compiler_cache.sh"

ensure_packages cmake ninja-build g++ make libgtest-dev libgmock-dev python3-cffi "${UVC_STEREO_TOOL_PACKAGES[@]}"

build="$root/build/ci-linux"
rm -rf "$build"
mapfile -t cache < <(compiler_cache_options)
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DUVC_STEREO_BUILD_TESTS=ON "${cache[@]}"
cmake --build "$build" --parallel "$(nproc)"
ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)"
