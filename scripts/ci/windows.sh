#!/usr/bin/env bash
# The Windows suite: a clean MinGW-w64 cross build of the SDK DLL, its import library, the
# tests and the tools, and every test program run under Wine (one process per program),
# including the check of the DLL's exported interface; then the Windows archive (CPack's ZIP) is made, unpacked, and
# a Visual Studio-style C program is built against the archive alone and run under Wine beside its DLL.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"

# clang, lld and llvm build the Visual Studio-style consumer of the C interface.
ensure_packages g++-mingw-w64-x86-64-posix wine64 googletest cmake ninja-build binutils-mingw-w64-x86-64 clang-14 lld-14 \
  llvm-14 "${UVC_STEREO_TOOL_PACKAGES[@]}"

build="$root/build/ci-windows"
rm -rf "$build"
# The fuzz targets' replay programs are left to the Linux stages: their inputs are platform-neutral bytes, and
# the fuzz stage runs every seed and regression under the sanitizers.
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DUVC_STEREO_BUILD_TESTS=ON \
  -DUVC_STEREO_BUILD_FUZZ=OFF -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/x86_64-w64-mingw32.cmake"
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

echo "--- the Windows archive"
(cd "$build" && cpack -G ZIP >/dev/null)
archive=$(ls "$build"/tovanel-uvc-stereo-sdk-*-windows-x64.zip)
rm -rf "$build/unpacked" && mkdir -p "$build/unpacked"
(cd "$build/unpacked" && cmake -E tar xf "$archive")
package=$(ls -d "$build"/unpacked/*/)
for file in bin/tovanel_uvc_stereo_sdk.dll bin/tovanel_uvc_stereo_sdk.lib bin/tovanel_uvc_stereo_sdk.def \
  lib/libtovanel_uvc_stereo_sdk.dll.a bin/uvc-stereo.exe include/uvc_stereo/uvc_stereo_c.h include/uvc_stereo/version.h; do
  [ -f "$package/$file" ] || { echo "the archive has no $file" >&2; exit 1; }
done
bash "$root/tests/c_api/msvc_consumer/build_and_run.sh" "$build" "$root" clang-14 lld-link-14 llvm-dlltool-14 "${package%/}"
"$root/scripts/wine-run.sh" "$package/bin/uvc-stereo.exe" --simulate scan
