#!/usr/bin/env bash
# The whole Linux suite under AddressSanitizer and UndefinedBehaviorSanitizer, then the programs that run the
# SDK from several threads (the vendor lock, the simulated rig, the device operations, the stress runs, the C
# interface) under ThreadSanitizer.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"

ensure_packages cmake ninja-build g++ make libgtest-dev libgmock-dev python3 python3-pytest python3-numpy python3-cffi \
  "${UVC_STEREO_TOOL_PACKAGES[@]}"

build="$root/build/ci-sanitizers"
rm -rf "$build"
jobs=$(nproc)

# Configures one sanitized tree with exactly the given flags (no build type adds its own) and any further options. Assertions stay on,
# and the optimisation is light: GCC's instrumented -O2 builds take four times as long to compile and the suites
# run in seconds anyway.
configure() {
  local dir=$1 flags=$2
  shift 2
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE= -DUVC_STEREO_BUILD_TESTS=ON \
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" \
    -DCMAKE_SHARED_LINKER_FLAGS="$flags" "$@"
}

echo "--- AddressSanitizer + UndefinedBehaviorSanitizer: every test program"
# One ctest entry per program: a sanitized process is slow to start, and one per test case costs minutes. The fuzz
# targets' seeds and regressions run under both sanitizers in the fuzz stage, so their replay programs are not
# built again here.
configure "$build/asan" "-Og -g -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer" \
  -DUVC_STEREO_TEST_EACH_CASE=OFF -DUVC_STEREO_BUILD_FUZZ=OFF
cmake --build "$build/asan" --parallel "$jobs"
# exported_interface is left to the optimised builds of the linux and windows stages: which template
# instantiations the shared library emits, and so exports, depends on what the optimiser inlines.
ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1:check_initialization_order=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$build/asan" --output-on-failure --parallel "$jobs" --exclude-regex '^exported_interface$'

echo "--- AddressSanitizer: the Python package's threads, device lifetimes, batches and text against the sanitized library"
# Debian's Python itself is not instrumented: the sanitizer's runtime is loaded first, and the interpreter's own
# allocations that live until exit are not reported as leaks.
(cd "$root" && LD_PRELOAD="$(gcc -print-file-name=libasan.so)" ASAN_OPTIONS=detect_leaks=0:detect_stack_use_after_return=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 TOVANEL_UVC_STEREO_LIBRARY="$build/asan/libtovanel_uvc_stereo_sdk.so" \
  PYTHONPATH="$root/python" /usr/bin/python3 -m pytest -p no:cacheprovider -q \
  python/tests/test_device_lifetime.py python/tests/test_imu_batches.py python/tests/test_text_and_arguments.py \
  python/tests/test_json_memory.py python/tests/test_interpreter_exit.py python/tests/test_imu.py)

echo "--- ThreadSanitizer: the concurrent test programs"
tsan_targets=()
for folder in bridge sim device stress; do
  if compgen -G "$root/tests/$folder/*.cpp" >/dev/null; then
    tsan_targets+=("${folder}_tests")
  fi
done
configure "$build/tsan" "-Og -g -fsanitize=thread -fno-omit-frame-pointer"
# The C test program races threads on device handles and rig hooks as C users do.
cmake --build "$build/tsan" --parallel "$jobs" --target "${tsan_targets[@]}" c_api_tests
# Some kernels map memory where ThreadSanitizer's shadow must go unless address randomisation is off.
run_tsan=()
if ! TSAN_OPTIONS=halt_on_error=1 "$build/tsan/tests/${tsan_targets[0]}" --gtest_list_tests >/dev/null 2>&1; then
  echo "ThreadSanitizer cannot start with address randomisation here; running under setarch -R"
  run_tsan=(setarch "$(uname -m)" -R)
fi
for target in "${tsan_targets[@]}"; do
  echo "--- tsan: $target"
  TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 "${run_tsan[@]}" "$build/tsan/tests/$target"
done
echo "--- tsan: c_api_tests"
TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 "${run_tsan[@]}" "$build/tsan/tests/c_api/c_api_tests"
