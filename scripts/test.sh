#!/usr/bin/env bash
# Builds the SDK from scratch and runs every test, stage by stage. Each stage installs
# what it needs from Debian's packages when it is missing (run as root, or with sudo).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=lib/packages.sh
source "$root/scripts/lib/packages.sh"
# shellcheck source=lib/compiler_cache.sh
source "$root/scripts/lib/compiler_cache.sh"

# The slowest stages come first, so that a failure there shows early.
stages=(
  windows
  sanitizers
  fuzz
  lint
  linux
  install
  python
  docs
  bench
)

start=$SECONDS
start_run_compiler_cache "$root/build/ci-ccache" "$root"
for stage in "${stages[@]}"; do
  echo "=== stage: $stage"
  stage_start=$SECONDS
  bash "$root/scripts/ci/$stage.sh"
  echo "=== stage $stage passed in $((SECONDS - stage_start)) s"
done
ccache --show-stats | grep -E '^ *(Hits|Misses)' || true
echo "=== all ${#stages[@]} stages passed in $((SECONDS - start)) s"
