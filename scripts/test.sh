#!/usr/bin/env bash
# Builds the SDK from scratch and runs every test. Installs what it needs on Debian 12.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=lib/packages.sh
source "$root/scripts/lib/packages.sh"

ensure_packages cmake ninja-build g++ make libgtest-dev libgmock-dev

build="$root/build/test-linux"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" --parallel "$(nproc)"
ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)"
