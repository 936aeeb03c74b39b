#!/usr/bin/env bash
# Runs one Windows program under Wine: quietly, and in a Wine prefix that belongs to the
# build directory the program was built in (so test runs never touch the user's ~/.wine),
# with that build directory on the DLL search path so programs linked to the SDK DLL find
# it. The MinGW toolchain makes this the cross-compiling emulator, so ctest runs every
# test program through it. WINEPREFIX and WINEDEBUG from the environment win.
set -euo pipefail
[ $# -ge 1 ] || { echo "usage: wine-run.sh PROGRAM.exe [ARGS...]" >&2; exit 2; }
wine=${UVC_STEREO_WINE:-/usr/lib/wine/wine64}

# The build directory is the nearest parent of the program holding a CMakeCache.txt.
build_dir=""
dir=$(cd "$(dirname "$1")" 2>/dev/null && pwd || true)
while [ -n "$dir" ] && [ "$dir" != "/" ]; do
  if [ -f "$dir/CMakeCache.txt" ]; then
    build_dir=$dir
    break
  fi
  dir=$(dirname "$dir")
done

export WINEDEBUG=${WINEDEBUG:--all}
if [ -z "${WINEPREFIX:-}" ]; then
  [ -n "$build_dir" ] || { echo "wine-run.sh: $1 is not inside a build directory; set WINEPREFIX" >&2; exit 2; }
  export WINEPREFIX="$build_dir/wineprefix"
fi
# Neither .NET nor a browser engine is needed; without these overrides the first start of
# a prefix offers to download them.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
# A WINEPATH from the caller comes first, so a test can put another copy of the SDK DLL
# ahead of the one in the build directory.
if [ -n "$build_dir" ]; then
  export WINEPATH="${WINEPATH:+$WINEPATH;}Z:${build_dir//\//\\}"
fi
# Wine's background services (services.exe and the device and RPC hosts) start with the
# first program of a session and keep that program's standard error open for as long as
# they run, so ctest would wait for them after every test. Starting them first, from a
# program with nothing to keep, lets a test's output end when the test does.
"$wine" cmd.exe /c exit </dev/null >/dev/null 2>&1 || true
exec "$wine" "$@"
