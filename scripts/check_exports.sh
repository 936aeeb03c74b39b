#!/usr/bin/env bash
# Checks the exported interface of a built SDK library (the Windows DLL or the Linux
# shared library) against cmake/exported_api.txt, and that list against the headers:
#  - every UVC_STEREO_API declaration of include/uvc_stereo/*.h, and every function the
#    C header declares with UVC_STEREO_C_API, is in the list, and the list names nothing
#    the headers do not declare;
#  - every listed function is exported (the C functions under their own, undecorated
#    names), and every listed class has exported members;
#  - nothing else is exported: no symbol outside namespace tovanel::uvc_stereo but the
#    listed C functions, and no internal one (detail, win_detail or any other) that the
#    headers do not export.
# Usage: check_exports.sh LIBRARY   (a .dll is read with MinGW's objdump, anything else
# with nm -D). Exits non-zero and names every problem when the interface is wrong.
set -euo pipefail
[ $# -eq 1 ] || { echo "usage: check_exports.sh LIBRARY" >&2; exit 2; }
library=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
list="$root/cmake/exported_api.txt"
[ -f "$library" ] || { echo "check_exports: no such library: $library" >&2; exit 2; }

problems=0
problem() {
  echo "check_exports: $*" >&2
  problems=$((problems + 1))
}

# What the headers declare with UVC_STEREO_API, as "class NAME" or "function NAME" lines.
# Namespaces are followed by their "namespace x {" and "}  // namespace" lines.
declared=$(awk '
  FNR == 1 { depth = 0 }
  /^[ \t]*\/\// { next }
  /^[ \t]*namespace[ \t]+[A-Za-z_0-9:]+[ \t]*\{/ {
    name = $0
    sub(/^[ \t]*namespace[ \t]+/, "", name)
    sub(/[ \t]*\{.*$/, "", name)
    stack[++depth] = name
    next
  }
  /^[ \t]*\}[ \t]*\/\/[ \t]*namespace/ { depth--; next }
  /UVC_STEREO_API/ {
    scope = ""
    for (i = 1; i <= depth; i++) scope = scope (i > 1 ? "::" : "") stack[i]
    line = $0
    if (match(line, /(class|struct)[ \t]+UVC_STEREO_API[ \t]+[A-Za-z_0-9]+/)) {
      n = split(substr(line, RSTART, RLENGTH), parts, /[ \t]+/)
      print "class " scope "::" parts[n]
      next
    }
    open = index(line, "(")
    if (open == 0) { print "unreadable " FILENAME ":" FNR; next }
    n = split(substr(line, 1, open - 1), parts, /[ \t]+/)
    print "function " scope "::" parts[n]
  }
' $(ls "$root"/include/uvc_stereo/*.h | grep -v '/export\.h$') | sort -u)
# The C interface's functions, as "c_function NAME" lines: each declaration reads
# "UVC_STEREO_C_API <type> UVC_STEREO_CALL uvc_stereo_<name>(", possibly over several lines.
c_declared=$(tr '\n' ' ' <"$root/include/uvc_stereo/uvc_stereo_c.h" |
  grep -oE 'UVC_STEREO_C_API[^;(#]*UVC_STEREO_CALL[[:space:]]+uvc_stereo_[A-Za-z0-9_]+[[:space:]]*\(' |
  sed -E 's/[[:space:]]*\($//; s/.*[[:space:]]//; s/^/c_function /' | sort -u)
declared=$(printf '%s\n%s\n' "$declared" "$c_declared" | sed '/^$/d' | sort -u)

while IFS= read -r line; do
  problem "cannot read the UVC_STEREO_API declaration at ${line#unreadable }"
done < <(grep '^unreadable ' <<<"$declared" || true)

listed=$(grep -v -e '^#' -e '^[[:space:]]*$' "$list" | sort -u)
while IFS= read -r entry; do
  [ -n "$entry" ] && problem "declared with UVC_STEREO_API or UVC_STEREO_C_API but missing from cmake/exported_api.txt: $entry"
done < <(comm -23 <(grep -v '^unreadable ' <<<"$declared") <(echo "$listed"))
while IFS= read -r entry; do
  [ -n "$entry" ] && problem "listed in cmake/exported_api.txt but declared by no header: $entry"
done < <(comm -13 <(grep -v '^unreadable ' <<<"$declared") <(echo "$listed"))

# The exported symbols, demangled, one per line.
case "$library" in
  *.dll | *.DLL)
    objdump=${OBJDUMP:-x86_64-w64-mingw32-objdump}
    mangled=$("$objdump" -p "$library" |
      awk '/\[Ordinal\/Name Pointer\] Table/ { table = 1; next } table && NF == 0 { table = 0 } table { print $NF }')
    ;;
  *)
    mangled=$(nm -D --defined-only "$library" | awk '{ print $NF }' | sed 's/@.*$//')
    ;;
esac
[ -n "$mangled" ] || { echo "check_exports: $library exports nothing" >&2; exit 1; }
symbols=$(c++filt <<<"$mangled")

declare -A functions=() classes=() c_functions=() found=()
while read -r kind name; do
  case "$kind" in
    function) functions[$name]=1 ;;
    class) classes[$name]=1 ;;
    c_function) c_functions[$name]=1 ;;
  esac
done <<<"$listed"

count=0
while IFS= read -r symbol; do
  count=$((count + 1))
  case "$symbol" in
    "typeinfo for "* | "typeinfo name for "* | "vtable for "*)
      class=${symbol#typeinfo name for }
      class=${class#typeinfo for }
      class=${class#vtable for }
      if [ -n "${classes[$class]:-}" ]; then
        found[$class]=1
      else
        problem "exports the type data of a class that is not part of the interface: $symbol"
      fi
      continue
      ;;
  esac
  # A C function is exported under its plain name: no C++ mangling, no @-decoration.
  if [ -n "${c_functions[$symbol]:-}" ]; then
    found[$symbol]=1
    continue
  fi
  name=${symbol%%(*}
  name=$(sed 's/\[abi:[^]]*\]//g' <<<"$name")
  if [[ $name != tovanel::uvc_stereo::* ]]; then
    problem "exports a symbol outside namespace tovanel::uvc_stereo: $symbol"
  elif [ -n "${functions[$name]:-}" ]; then
    found[$name]=1
  elif [ -n "${classes[${name%::*}]:-}" ]; then
    found[${name%::*}]=1
  else
    problem "exports an internal symbol: $symbol"
  fi
done <<<"$symbols"

for name in "${!functions[@]}"; do
  [ -n "${found[$name]:-}" ] || problem "does not export the function $name"
done
for name in "${!c_functions[@]}"; do
  [ -n "${found[$name]:-}" ] || problem "does not export the C function $name under its plain name"
done
for name in "${!classes[@]}"; do
  [ -n "${found[$name]:-}" ] || problem "exports no member of the class $name"
done

if [ "$problems" -ne 0 ]; then
  echo "check_exports: $(basename "$library"): $problems problem(s)" >&2
  exit 1
fi
echo "check_exports: $(basename "$library"): $count symbols, ${#functions[@]} functions, ${#classes[@]} classes and ${#c_functions[@]} C functions as listed"
