#!/usr/bin/env bash
# The Python package: builds the SDK's shared library from scratch, installs the package with
# the library bundled into a fresh virtual environment without network access, checks that it
# imports from outside the source tree, runs its pytest suite against the simulated rig twice
# (with numpy, and with numpy hidden), runs the example, and runs the Python benchmark briefly
# (speed is not judged here); a wheel with the library inside is built the same way and installed into another
# fresh environment. The tests build a small C program of their own, with gcc, to compare the
# ctypes structures with the C header.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"
# shellcheck source=../lib/compiler_cache.sh
source "$root/scripts/lib/compiler_cache.sh"

ensure_packages cmake ninja-build gcc g++ python3 python3-venv python3-pip python3-setuptools python3-wheel \
  python3-pytest python3-numpy

work="$root/build/ci-python"
rm -rf "$work"
mkdir -p "$work/outside"

# The library's tree sits beside the linux stage's, at the same depth, so that a whole run compiles it once.
sdk="$root/build/ci-python-sdk"
rm -rf "$sdk"
mapfile -t cache < <(compiler_cache_options)
cmake -S "$root" -B "$sdk" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DUVC_STEREO_BUILD_TESTS=OFF \
  -DUVC_STEREO_BUILD_EXAMPLES=OFF -DUVC_STEREO_BUILD_FUZZ=OFF -DUVC_STEREO_BUILD_TOOLS=OFF "${cache[@]}"
cmake --build "$sdk" --parallel "$(nproc)" --target tovanel_uvc_stereo_sdk
library="$sdk/libtovanel_uvc_stereo_sdk.so"

echo "--- install into a virtual environment (no network)"
# Debian's own Python, whose numpy and pytest the environment sees through its system site packages.
/usr/bin/python3 -m venv --system-site-packages "$work/venv"
python="$work/venv/bin/python"
(cd "$root" && TOVANEL_UVC_STEREO_LIBRARY="$library" "$python" -m pip install --no-build-isolation --no-index \
  --no-deps ./python)

echo "--- a wheel with the library inside, installed into another fresh environment"
(cd "$root" && TOVANEL_UVC_STEREO_LIBRARY="$library" "$python" -m pip wheel --no-build-isolation --no-index \
  --no-deps --wheel-dir "$work/dist" ./python)
wheel=$(ls "$work"/dist/tovanel_uvc_stereo-*.whl)
/usr/bin/python3 -c 'import sys, zipfile; names = zipfile.ZipFile(sys.argv[1]).namelist()
sys.exit(None if "tovanel_uvc_stereo/libtovanel_uvc_stereo_sdk.so" in names else "the wheel holds no library")' "$wheel"
/usr/bin/python3 -m venv --system-site-packages "$work/wheel-venv"
"$work/wheel-venv/bin/python" -m pip install --no-index --no-deps "$wheel"

# From here on the package must find its bundled library itself.
unset TOVANEL_UVC_STEREO_LIBRARY
cd "$work/outside"

echo "--- import outside the source tree"
"$python" - "$work/venv" <<'PY'
import sys
from pathlib import Path

import tovanel_uvc_stereo as uvc

venv = Path(sys.argv[1]).resolve()
package = Path(uvc.__file__).resolve()
library = Path(uvc.library_path()).resolve()
print(f"tovanel_uvc_stereo {uvc.__version__} from {package.parent}, library {library}")
assert venv in package.parents, f"imported from {package}, not from the installed package"
assert library.parent == package.parent, f"library loaded from {library}, not from beside the package"
PY

echo "--- the wheel's package, on its own library"
(unset TOVANEL_UVC_STEREO_LIBRARY; "$work/wheel-venv/bin/python" - "$work/wheel-venv" <<'PY'
import sys
from pathlib import Path

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim

venv = Path(sys.argv[1]).resolve()
assert venv in Path(uvc.library_path()).resolve().parents, uvc.library_path()
with sim.SimulatedRig() as rig:
    rig.add_camera(serial_number="SN-WHEEL")
    (info,) = uvc.scan_devices()
    with uvc.open_device(info) as device:
        device.write_json('{"installed": "from the wheel"}')
        print(device.read_json().json, "from", uvc.library_path())
PY
)

echo "--- tests, with numpy"
"$python" -m pytest -p no:cacheprovider -q "$root/python/tests"
echo "--- tests, with numpy hidden"
"$python" -m pytest -p no:cacheprovider -q --without-numpy "$root/python/tests"

echo "--- example"
"$python" "$root/examples/python/scan_and_stream_imu.py" --simulate --count 5

echo "--- benchmark, briefly"
# The C++ figure beside the Python ones comes from a program built against the same library.
g++ -std=c++17 -O2 -Wall -Wextra -Wpedantic -Werror -I "$root/include" "$root/python/benchmarks/cpp_read_imu.cpp" \
  -L "$sdk" -ltovanel_uvc_stereo_sdk -Wl,-rpath,"$sdk" -o "$work/cpp_read_imu"
"$python" "$root/python/benchmarks/bench_read_imu.py" --quick --cpp-program "$work/cpp_read_imu"
