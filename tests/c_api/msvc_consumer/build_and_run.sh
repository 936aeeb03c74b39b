#!/usr/bin/env bash
# Proves the Windows build serves Visual Studio users: the consumer is compiled by clang for
# the MSVC target (only the compiler's freestanding headers and the SDK's C header), linked by
# lld-link against the SDK's Microsoft-format import library and a kernel32 import library made
# here, and run under Wine against the SDK DLL. No MinGW file takes part.
# Usage: build_and_run.sh BUILD_DIR SOURCE_ROOT CLANG LLD_LINK DLLTOOL [PACKAGE_DIR]
# With PACKAGE_DIR (an unpacked Windows archive of the SDK), the headers, the import library and the DLL all come
# from the archive, and the program runs from the archive's bin/ beside its DLL.
set -euo pipefail
[ $# -eq 5 ] || [ $# -eq 6 ] ||
  { echo "usage: build_and_run.sh BUILD_DIR SOURCE_ROOT CLANG LLD_LINK DLLTOOL [PACKAGE_DIR]" >&2; exit 2; }
build=$1 root=$2 clang=$3 lld_link=$4 dlltool=$5 package=${6:-}
here="$root/tests/c_api/msvc_consumer"
out="$build/tests/c_api/msvc_consumer"
includes=(-I "$root/include" -I "$build/include")
import_library="$build/tovanel_uvc_stereo_sdk.lib"
program="$out/msvc_consumer.exe"
if [ -n "$package" ]; then
  includes=(-I "$package/include")
  import_library="$package/bin/tovanel_uvc_stereo_sdk.lib"
  out="$build/tests/c_api/msvc_consumer_of_archive"
  program="$package/bin/msvc_consumer.exe"
fi
mkdir -p "$out"
"$dlltool" -m i386:x86-64 -d "$here/kernel32.def" -l "$out/kernel32.lib"
"$clang" --target=x86_64-pc-windows-msvc -std=c11 -Wall -Wextra -pedantic -Werror -ffreestanding -fno-builtin -O1 \
  "${includes[@]}" -c "$here/consumer.c" -o "$out/consumer.obj"
# The library must be the Microsoft-format one, and the program must need nothing but it and kernel32.
"$lld_link" /nologo /subsystem:console /entry:consumer_main /nodefaultlib /out:"$program" \
  "$out/consumer.obj" "$import_library" "$out/kernel32.lib"
exec "$root/scripts/wine-run.sh" "$program"
