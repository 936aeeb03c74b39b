#!/usr/bin/env bash
# The installable package: builds and installs the SDK into a scratch prefix, then builds a
# small consumer against the installed files both ways (CMake's find_package and pkg-config)
# and runs both, the same for a C consumer built by clang, and runs the installed uvc-stereo tool.
# Then the Debian package: made with CPack, installed with dpkg -i, used from /usr by the same consumers, the
# tool and Debian's Python as a user would, and removed again.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"
# shellcheck source=../lib/compiler_cache.sh
source "$root/scripts/lib/compiler_cache.sh"

# clang builds the C consumer: a second compiler, to show the C interface does not depend on the first.
# dpkg-dev and file let CPack find the Debian package's dependencies.
ensure_packages cmake ninja-build g++ pkg-config clang-14 dpkg-dev file python3 doxygen "${UVC_STEREO_TOOL_PACKAGES[@]}"

work="$root/build/ci-install"
rm -rf "$work"
prefix="$work/prefix"
# The SDK's tree sits beside the bench stage's, at the same depth, so that a whole run compiles the library once.
sdk="$root/build/ci-install-sdk"
rm -rf "$sdk"
mapfile -t cache < <(compiler_cache_options)

cmake -S "$root" -B "$sdk" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
  -DUVC_STEREO_BUILD_TESTS=OFF -DUVC_STEREO_BUILD_EXAMPLES=OFF -DUVC_STEREO_BUILD_FUZZ=OFF -DUVC_STEREO_INSTALL_PYTHON=ON \
  -DUVC_STEREO_BUILD_DOCS=ON "${cache[@]}"
cmake --build "$sdk" --parallel "$(nproc)" --target tovanel_uvc_stereo_sdk uvc-stereo uvc_stereo_reference
cmake --install "$sdk"

echo "--- installed files"
(cd "$prefix" && find . -type f -o -type l | sort)

echo "--- consumer with find_package"
cmake -S "$root/examples/consumer" -B "$work/consumer-cmake" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$work/consumer-cmake"
"$work/consumer-cmake/consumer"

echo "--- consumer with pkg-config"
pc_file=$(find "$prefix" -name tovanel_uvc_stereo_sdk.pc)
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pc_file")
libdir=$(pkg-config --variable=libdir tovanel_uvc_stereo_sdk)
mkdir -p "$work/consumer-pkgconfig"
# shellcheck disable=SC2046  # pkg-config prints several words on purpose
g++ -std=c++17 -Wall -Wextra -Werror "$root/examples/consumer/main.cpp" -o "$work/consumer-pkgconfig/consumer" \
  $(pkg-config --cflags --libs tovanel_uvc_stereo_sdk)
# A pkg-config build sets no run path: the loader is told where the installed library is.
LD_LIBRARY_PATH="$libdir" "$work/consumer-pkgconfig/consumer"

echo "--- C consumer built by clang, with find_package and with pkg-config"
CC=clang-14 cmake -S "$root/examples/c_consumer" -B "$work/c-consumer-cmake" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="-Wall -Wextra -pedantic -Werror"
cmake --build "$work/c-consumer-cmake"
"$work/c-consumer-cmake/c_consumer"
mkdir -p "$work/c-consumer-pkgconfig"
# shellcheck disable=SC2046  # pkg-config prints several words on purpose
clang-14 -std=c99 -Wall -Wextra -pedantic -Werror "$root/examples/c_consumer/main.c" \
  -o "$work/c-consumer-pkgconfig/c_consumer" $(pkg-config --cflags --libs tovanel_uvc_stereo_sdk)
LD_LIBRARY_PATH="$libdir" "$work/c-consumer-pkgconfig/c_consumer"

echo "--- installed tool"
"$prefix/bin/uvc-stereo" --simulate scan
"$prefix/bin/uvc-stereo" --simulate config get --index 1

echo "--- pkg-config consumer of a prefix chosen at install time"
# `cmake --install --prefix` moves the package away from the prefix it was configured for; the
# pkg-config file must follow it, or a consumer would look for headers that are not there.
moved="$work/moved"
cmake --install "$sdk" --prefix "$moved"
moved_pc=$(find "$moved" -name tovanel_uvc_stereo_sdk.pc)
moved_flags=$(PKG_CONFIG_PATH=$(dirname "$moved_pc") pkg-config --cflags --libs tovanel_uvc_stereo_sdk)
moved_libdir=$(PKG_CONFIG_PATH=$(dirname "$moved_pc") pkg-config --variable=libdir tovanel_uvc_stereo_sdk)
case "$moved_flags" in
  *"$prefix"*) echo "the moved pkg-config file still points into $prefix: $moved_flags" >&2; exit 1 ;;
esac
[ -f "$moved_libdir/libtovanel_uvc_stereo_sdk.so" ] || { echo "no library in $moved_libdir" >&2; exit 1; }
mkdir -p "$work/consumer-moved"
# shellcheck disable=SC2086  # pkg-config prints several words on purpose
g++ -std=c++17 -Wall -Wextra -Werror "$root/examples/consumer/main.cpp" -o "$work/consumer-moved/consumer" \
  $moved_flags
LD_LIBRARY_PATH="$moved_libdir" "$work/consumer-moved/consumer"

echo "--- Debian package"
(cd "$sdk" && cpack -G DEB >/dev/null)
deb=$(ls "$sdk"/tovanel-uvc-stereo-sdk_*_amd64.deb)
dpkg-deb --info "$deb" | sed -n '/Package:/,$p'
if dpkg-query -W -f='${Status}' tovanel-uvc-stereo-sdk 2>/dev/null | grep -q 'install ok installed'; then
  echo "tovanel-uvc-stereo-sdk is installed on this machine already; not replacing it" >&2
  exit 1
fi
sudo=()
[ "$(id -u)" -ne 0 ] && sudo=(sudo)
"${sudo[@]}" dpkg -i "$deb"
trap '"${sudo[@]}" dpkg --purge tovanel-uvc-stereo-sdk >/dev/null' EXIT
[ -f /usr/lib/udev/rules.d/70-tovanel-uvc-stereo.rules ] || { echo "the udev rule is not installed" >&2; exit 1; }
[ -f /usr/share/doc/tovanel_uvc_stereo_sdk/reference/index.html ] || { echo "the API reference is not installed" >&2; exit 1; }
# From /usr, nothing needs telling where the SDK is: no prefix path, no PKG_CONFIG_PATH, no LD_LIBRARY_PATH.
unset PKG_CONFIG_PATH
cmake -S "$root/examples/consumer" -B "$work/deb-consumer-cmake" -G Ninja -DCMAKE_BUILD_TYPE=Release
cmake --build "$work/deb-consumer-cmake"
"$work/deb-consumer-cmake/consumer"
mkdir -p "$work/deb-consumer-pkgconfig"
# shellcheck disable=SC2046  # pkg-config prints several words on purpose
clang-14 -std=c99 -Wall -Wextra -pedantic -Werror "$root/examples/c_consumer/main.c" \
  -o "$work/deb-consumer-pkgconfig/c_consumer" $(pkg-config --cflags --libs tovanel_uvc_stereo_sdk)
"$work/deb-consumer-pkgconfig/c_consumer"
/usr/bin/uvc-stereo --simulate scan
(cd "$work" && /usr/bin/python3 - <<'PY')
import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim

assert uvc.__file__.startswith("/usr/lib/python3/dist-packages/"), uvc.__file__
with sim.SimulatedRig() as rig:
    rig.add_camera(serial_number="SN-DEB")
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.write_json('{"installed": "from the Debian package"}')
        print(device.read_json().json)
PY
