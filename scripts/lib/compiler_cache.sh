# shellcheck shell=bash
# One compiler cache for the stages of a whole run. scripts/test.sh sets it up empty at the run's start, so the run
# still builds from scratch; the stages that compile the same sources with the same flags (the library in the
# linux and python stages, in the install and bench stages) then compile them once. ccache finds them equal only
# in build trees of equal depth below the checkout (CCACHE_BASEDIR makes their paths relative), which is why
# those stages keep their trees directly in build/.
# Sourced by the stage scripts; a stage run on its own uses no cache and prints no options.

# Prints the CMake options that put the run's compiler cache in front of the compilers, one per line.
compiler_cache_options() {
  [ -n "${UVC_STEREO_RUN_CCACHE:-}" ] || return 0
  printf '%s\n' -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
}

# Sets up an empty cache in `dir` for every stage started from this shell, for the checkout at `checkout`.
start_run_compiler_cache() {
  local dir=$1 checkout=$2
  ensure_packages ccache
  rm -rf "$dir"
  export UVC_STEREO_RUN_CCACHE=1 CCACHE_DIR="$dir" CCACHE_BASEDIR="$checkout" CCACHE_NOHASHDIR=1 CCACHE_MAXSIZE=4G
}
