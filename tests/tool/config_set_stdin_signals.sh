#!/bin/sh
# Sends SIGTERM at random moments to `uvc-stereo config set -` while its standard input stays
# open and sends nothing, and checks that every run ends: interrupted (status 130), or, when the
# signal came before the tool began holding interrupts, ended by it. A run still alive after ten
# seconds lost its signal.
#   config_set_stdin_signals.sh TOOL SCRATCH-DIRECTORY [RUNS]
set -u
tool=$1
dir=$2
runs=${3:-300}
rm -rf "$dir"
mkdir -p "$dir"
mkfifo "$dir/input"
# Held open for reading and writing: the tool's standard input never ends and never has data.
exec 3<>"$dir/input"

run=0
interrupted=0
while [ "$run" -lt "$runs" ]; do
  run=$((run + 1))
  # Up to 30 ms: from before the tool has started to well after it waits for input.
  delay=$(awk -v seed="$run" 'BEGIN { srand(seed); printf "%.4f", rand() * 0.03 }')
  "$tool" --simulate config set --index 0 - <&3 >/dev/null 2>"$dir/err.txt" &
  pid=$!
  sleep "$delay"
  kill -TERM "$pid" 2>/dev/null
  waited=0
  while kill -0 "$pid" 2>/dev/null; do
    waited=$((waited + 1))
    if [ "$waited" -gt 1000 ]; then
      kill -KILL "$pid"
      echo "FAIL: run $run (signal after $delay s) lost its SIGTERM and went on waiting for input" >&2
      exit 1
    fi
    sleep 0.01
  done
  wait "$pid"
  status=$?
  case $status in
    130)
      interrupted=$((interrupted + 1))
      grep -q "^uvc-stereo: interrupted while reading standard input; nothing was written$" "$dir/err.txt" ||
        { echo "FAIL: run $run said:" >&2; cat "$dir/err.txt" >&2; exit 1; } ;;
    143) ;;
    *) echo "FAIL: run $run ended with status $status" >&2; cat "$dir/err.txt" >&2; exit 1 ;;
  esac
done
[ "$interrupted" -gt 0 ] || { echo "FAIL: no signal reached a run that was waiting for input" >&2; exit 1; }
echo "$runs runs ended, $interrupted of them interrupted while waiting for input"
