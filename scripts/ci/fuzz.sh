#!/usr/bin/env bash
# Builds every fuzz target as a libFuzzer binary with clang under AddressSanitizer and UndefinedBehaviorSanitizer
# and runs each for a bounded time (UVC_STEREO_FUZZ_SECONDS, default 30: the whole test command keeps within half
# an hour on two cores; longer runs are for a developer's machine), as many at once as there are cores.
# Each run starts from a scratch copy of the target's seeds plus its regression inputs, so the checked-in corpus
# never grows; a crash, a broken property, a leak or a hang fails the stage and leaves the input in the run's
# artifacts folder.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=../lib/packages.sh
source "$root/scripts/lib/packages.sh"

ensure_packages cmake ninja-build clang-14 libclang-rt-14-dev llvm-14 "${UVC_STEREO_TOOL_PACKAGES[@]}"

seconds=${UVC_STEREO_FUZZ_SECONDS:-30}
targets=(json_minifier flash_record capability_report windows_path imu_payload tool_json tool_arguments linux_descriptors
  linux_sysfs)
build="$root/build/ci-fuzz"
rm -rf "$build"

CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DUVC_STEREO_FUZZ_ENGINE=libfuzzer -DUVC_STEREO_BUILD_FUZZ=ON -DUVC_STEREO_BUILD_TESTS=OFF -DUVC_STEREO_BUILD_TOOLS=OFF \
  -DUVC_STEREO_BUILD_EXAMPLES=OFF
cmake --build "$build" --parallel "$(nproc)" --target "${targets[@]/#/fuzz_}"

# Runs one target; its log holds libFuzzer's final statistics.
run_target() {
  local name=$1
  local work="$build/run/$name"
  mkdir -p "$work/corpus" "$work/artifacts"
  cp "$root/fuzz/corpus/$name/"* "$work/corpus/"
  local inputs=("$work/corpus")
  [ -d "$root/fuzz/regressions/$name" ] && inputs+=("$root/fuzz/regressions/$name")
  local dictionary=()
  [ -f "$root/fuzz/dictionaries/$name.dict" ] && dictionary=("-dict=$root/fuzz/dictionaries/$name.dict")
  # New inputs go to the first folder only: the scratch copy. -timeout turns a hang into a failure.
  local status=0
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$work/artifacts/" "${dictionary[@]}" "${inputs[@]}" >"$work/log" 2>&1 || status=$?
  echo "$status" >"$work/status"
}

running=0
for name in "${targets[@]}"; do
  if [ "$running" -ge "$(nproc)" ]; then
    wait -n
    running=$((running - 1))
  fi
  run_target "$name" &
  running=$((running + 1))
done
wait

failed=()
printf '%-18s %14s %8s %8s %s\n' target executions seconds corpus result
for name in "${targets[@]}"; do
  log="$build/run/$name/log"
  if [ "$(cat "$build/run/$name/status" 2>/dev/null)" = 0 ]; then result=ok; else result=FAILED; failed+=("$name"); fi
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  took=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log" | tail -n 1)
  corpus=$(find "$build/run/$name/corpus" -type f | wc -l)
  printf '%-18s %14s %8s %8s %s\n' "$name" "${executions:-?}" "${took:-?}" "$corpus" "$result"
done

for name in "${failed[@]}"; do
  echo "=== fuzz_$name failed; its log ends with:"
  tail -n 60 "$build/run/$name/log"
  echo "=== saved inputs: $(ls "$build/run/$name/artifacts/" 2>/dev/null | tr '\n' ' ')"
done
[ ${#failed[@]} -eq 0 ]
