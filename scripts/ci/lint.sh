#!/usr/bin/env bash
# Static checks: clang-format over every C and C++ file, clang-tidy (the checks in .clang-tidy) over the SDK and the command-line tool, through the
# compile commands of a clang configuration, and cppcheck over the SDK. Any finding fails the stage.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"

ensure_packages cmake ninja-build clang-14 clang-tidy-14 clang-format-14 cppcheck "${UVC_STEREO_TOOL_PACKAGES[@]}"

echo "--- clang-format: every C and C++ file git tracks"
# The tree is kept formatted as .clang-format says; a file that differs names itself and fails the stage.
(cd "$root" && git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format-14 --dry-run -Werror)
echo "clang-format: $(cd "$root" && git ls-files '*.c' '*.cpp' '*.h' | wc -l) files formatted"

echo "--- layers: the pure folders of src/ touch no device and no OS, and every folder keeps to its namespaces"
/usr/bin/python3 "$root/scripts/check_layers.py" "$root/src"

build="$root/build/ci-lint"
rm -rf "$build"
CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$build" -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
  -DUVC_STEREO_BUILD_TESTS=OFF -DUVC_STEREO_BUILD_FUZZ=OFF -DUVC_STEREO_BUILD_EXAMPLES=OFF >/dev/null

echo "--- clang-tidy: src/ and tools/"
run-clang-tidy-14 -p "$build" -j "$(nproc)" -quiet "$root/(src|tools)/" >"$build/clang-tidy.log" 2>&1 || {
  grep -E 'warning:|error:' -A3 "$build/clang-tidy.log" || tail -n 40 "$build/clang-tidy.log"
  exit 1
}
echo "clang-tidy: $(grep -cE "\"file\": \"$root/(src|tools)/" "$build/compile_commands.json") translation units, no findings"

echo "--- cppcheck: src/"
cppcheck --enable=warning,performance,portability --error-exitcode=1 --inline-suppr --std=c++17 --language=c++ \
  -j "$(nproc)" -q -I "$root/include" -I "$root/src" \
  "$root/src"
echo "cppcheck: no findings"
