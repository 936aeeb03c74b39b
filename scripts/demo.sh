#!/usr/bin/env bash
# The main job in one command: builds the uvc-stereo tool and takes it on a tour of the
# simulated cameras (no camera or vendor library needed): scan, info, the JSON
# configuration read, previewed, written with a backup, and a short IMU stream with its plot;
# then, on simulated cameras kept in a directory, a field engineer's rehearsal: back up and
# write, see the write in a later run, and paste the printed undo command to restore.
# Installs cmake, ninja and g++ with apt-get when they are missing (run as root, or with sudo).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=lib/packages.sh
source "$root/scripts/lib/packages.sh"

ensure_packages cmake ninja-build g++ "${UVC_STEREO_TOOL_PACKAGES[@]}"

build="$root/build/demo"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DUVC_STEREO_BUILD_TESTS=OFF -DUVC_STEREO_BUILD_EXAMPLES=OFF -DUVC_STEREO_BUILD_FUZZ=OFF >/dev/null
cmake --build "$build" --target uvc-stereo --parallel "$(nproc)"

tool="$build/tools/uvc-stereo/uvc-stereo"
work="$build/tour"
rm -rf "$work"
mkdir -p "$work"

step() {
  echo
  echo "\$ uvc-stereo $*"
  (cd "$work" && "$tool" "$@")
}

# The configuration the tour writes: a change of baseline and exposure for camera 0.
cat >"$work/demo.json" <<'JSON'
{
  "name": "rig A left-right",
  "baseline_mm": 60.5,
  "rectify": true,
  "exposure": { "mode": "manual", "time_us": 5000, "gain": 2 },
  "intrinsics": { "fx": 612.4, "fy": 611.9, "cx": 319.5, "cy": 241.2 }
}
JSON

echo "=== uvc-stereo against the simulated cameras (each run starts them afresh)"
step --simulate scan
step --simulate info --index 0
step --simulate config get --index 0 --pretty
step --simulate config set demo.json --index 0 --dry-run
step --simulate config set demo.json --index 0 --backup before-demo.json
echo
echo "\$ cat before-demo.json    # the replaced configuration: 'uvc-stereo config set before-demo.json' undoes the write"
cat "$work/before-demo.json"
step --simulate imu --index 1 --count 200 --plot "$build/imu.svg"
echo
echo "IMU plot: $build/imu.svg"

cameras="$work/cameras"
echo
echo "=== a rehearsal on simulated cameras kept in $cameras (state persists between runs)"
step "--simulate=$cameras" config set demo.json --index 0 --backup rehearsal-backup.json 2>"$work/set.log"
cat "$work/set.log"
step "--simulate=$cameras" config get --index 0
undo=$(sed -n 's/^undo with: uvc-stereo //p' "$work/set.log")
echo
echo "\$ uvc-stereo $undo    # the printed undo command, pasted"
# The printed command is meant for a shell: let one read it, as a user's would.
(cd "$work" && eval "\"\$tool\" $undo")
step "--simulate=$cameras" config get --index 0
