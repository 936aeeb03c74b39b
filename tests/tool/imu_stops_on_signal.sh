#!/bin/sh
# Starts an endless `uvc-stereo imu --csv --plot` stream, waits until rows arrive, stops it with
# the signal named, and checks that it ended as a user stopping it expects: status 0, every CSV
# row complete, the summary said and the plot written.
#   imu_stops_on_signal.sh TOOL SCRATCH-DIRECTORY TERM|INT
set -u
tool=$1
dir=$2
signal=$3
rm -rf "$dir"
mkdir -p "$dir"
fail() {
  echo "FAIL ($signal): $*" >&2
  echo "--- standard error:" >&2
  cat "$dir/err.txt" >&2
  exit 1
}

"$tool" --simulate imu --index 1 --csv --rate 2000 --plot "$dir/imu.svg" >"$dir/imu.csv" 2>"$dir/err.txt" &
pid=$!
# Rows reach the file a buffer at a time; wait (at most a minute) until some have. Until the
# shell has opened the file for the tool, it is not there to count.
rows_written() {
  if [ -f "$dir/imu.csv" ]; then wc -l <"$dir/imu.csv"; else echo 0; fi
}
tries=0
while [ "$(rows_written)" -lt 2 ]; do
  tries=$((tries + 1))
  [ "$tries" -le 600 ] || { kill -KILL "$pid"; fail "no rows after a minute"; }
  kill -0 "$pid" 2>/dev/null || fail "the stream ended by itself"
  sleep 0.1
done
kill "-$signal" "$pid"
wait "$pid"
status=$?

[ "$status" -eq 0 ] || fail "exit status $status"
rows=$(($(wc -l <"$dir/imu.csv") - 1))
[ "$rows" -ge 1 ] || fail "no rows"
# The file ends with a line feed: the last row is whole.
[ "$(tail -c 1 "$dir/imu.csv" | od -An -c | tr -d ' ')" = '\n' ] || fail "the last row is cut off"
bad=$(awk -F, 'NR > 1 && NF != 16' "$dir/imu.csv" | head -1)
[ -z "$bad" ] || fail "incomplete row: $bad"
grep -q "^read $rows samples in " "$dir/err.txt" || fail "no summary of $rows samples"
grep -q "^plot written to $dir/imu.svg\$" "$dir/err.txt" || fail "no plot written"
tail -c 7 "$dir/imu.svg" | grep -q '</svg>' || fail "the plot is not complete"
grep -q ": $rows samples</text>" "$dir/imu.svg" || fail "the plot does not hold the $rows samples"
echo "stopped by SIG$signal after $rows complete rows, plot written"
