#!/usr/bin/env bash
# The documents as a newcomer meets them: in a fresh clone and a fresh home directory, every `sh` block of the
# README and of docs/ runs as written (the quick start's builds, installs and programs among them), and the API
# reference is generated from the headers, failing on any undocumented public declaration.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"

# What the documents themselves ask a user to have: a compiler, CMake, make, pkg-config, the tool's two libraries,
# Debian's Python with venv, pip and numpy; and Doxygen for the reference.
ensure_packages cmake make g++ pkg-config python3 python3-venv python3-pip python3-setuptools python3-wheel \
  python3-numpy doxygen "${UVC_STEREO_TOOL_PACKAGES[@]}"

work="$root/build/ci-docs"
rm -rf "$work"
mkdir -p "$work"
git clone -q "$root" "$work/clone"

echo "--- the documented commands, in a fresh clone"
/usr/bin/python3 "$root/scripts/docs/run_documented_commands.py" "$work/clone" \
  "$work/clone/README.md" "$work/clone"/docs/*.md

echo "--- the API reference"
cmake -S "$root" -B "$work/reference" -G Ninja -DUVC_STEREO_BUILD_DOCS=ON -DUVC_STEREO_BUILD_TOOLS=OFF \
  -DUVC_STEREO_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$work/reference" --target uvc_stereo_reference || {
  cat "$work/reference/reference/warnings.log" >&2
  exit 1
}
echo "reference: $(find "$work/reference/reference/html" -name '*.html' | wc -l) pages, no undocumented declaration"
