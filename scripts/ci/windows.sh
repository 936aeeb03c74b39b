#!/usr/bin/env bash
# The Windows suite: a clean MinGW-w64 cross build of the SDK DLL, its import library, the
# tests and the tools, and every test program run under Wine (one process per program),
# including the check of the DLL's exported interface.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"

# clang, lld and llvm build the Visual Studio-style consumer of the C interface.
ensure_packages g++-mingw-w64-x86-64-posix wine64 googletest cmake ninja-build binutils-mingw-w64-x86-64 clang-14 lld-14 \
  llvm-14 "${UVC_STEREO_TOOL_PACKAGES[@]}"

build="$root/build/ci-windows"
rm -rf "$build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/x86_64-w64-mingw32.cmake"
cmake --build "$build" --parallel "$(nproc)"

# A Wine prefix of this build only, created once before the tests, and one Wine server
# kept running for all of them, so no test program pays for the server's start-up.
export WINEPREFIX="$build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
wineserver=/usr/lib/wine/wineserver
mkdir -p "$WINEPREFIX"
"$wineserver" --persistent </dev/null >/dev/null 2>&1
trap '"$wineserver" --kill >/dev/null 2>&1 || true' EXIT
/usr/lib/wine/wine64 wineboot --init </dev/null > "$build/wineboot.log" 2>&1 || { cat "$build/wineboot.log"; exit 1; }

ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)"
