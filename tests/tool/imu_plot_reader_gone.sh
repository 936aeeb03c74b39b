#!/bin/sh
# `uvc-stereo imu --plot F | head`: the reader going away ends the stream quietly, and the plot
# of what was read is still written.
#   imu_plot_reader_gone.sh TOOL SCRATCH-DIRECTORY
set -u
tool=$1
dir=$2
rm -rf "$dir"
mkdir -p "$dir"
fail() {
  echo "FAIL: $*" >&2
  echo "--- standard error:" >&2
  cat "$dir/err.txt" >&2
  exit 1
}

{ "$tool" --simulate imu --index 1 --csv --plot "$dir/imu.svg" 2>"$dir/err.txt"; echo $? >"$dir/status"; } | head -n 3 >"$dir/rows.csv"
[ "$(wc -l <"$dir/rows.csv")" -eq 3 ] || fail "head did not get its rows"
status=$(cat "$dir/status")
[ "$status" -eq 3 ] || fail "exit status $status, not the quiet 3 of a reader gone"
grep -q "FileError" "$dir/err.txt" && fail "a reader going away was reported as an error"
grep -q "^read [0-9]* samples in " "$dir/err.txt" || fail "no summary"
grep -q "^plot written to $dir/imu.svg\$" "$dir/err.txt" || fail "no plot written"
tail -c 7 "$dir/imu.svg" | grep -q '</svg>' || fail "the plot is not complete"
echo "the reader went away after 3 rows; the plot was written"
