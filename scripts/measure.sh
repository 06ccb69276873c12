#!/usr/bin/env bash
# Whole-process figures of a built ruvola: wall time of `ruvola version` and `ruvola check`, and
# resident memory, CPU, wake-ups and disk writes of the tray app left idle under a private X
# server with openbox and a tray.
#
# Usage: scripts/measure.sh [BUILD-DIR] [startup|idle|all]   (defaults: build/bench all)
# RUNS (default 50) sets the number of launches timed, IDLE_SECONDS (default 60) the idle window.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/bench}
what=${2:-all}
ruvola=$build/Ruvola/ruvola
runs=${RUNS:-50}
idle_seconds=${IDLE_SECONDS:-60}
[[ -x "$ruvola" ]] || { echo "measure: no $ruvola; build it first" >&2; exit 1; }

home=$(mktemp -d)
pids=()
cleanup() {
  # Only what this script started, newest first.
  for ((index = ${#pids[@]} - 1; index >= 0; index--)); do
    kill "${pids[index]}" 2>/dev/null || true
    wait "${pids[index]}" 2>/dev/null || true
  done
  rm -rf "$home"
}
trap cleanup EXIT

export HOME=$home XDG_CONFIG_HOME=$home/.config XDG_STATE_HOME=$home/.local/state
export XDG_DATA_HOME=$home/.local/share XDG_CACHE_HOME=$home/.cache
export XDG_RUNTIME_DIR=$home/runtime
# No session bus: nothing reaches the user's session; the tray icon goes through the X tray.
unset DBUS_SESSION_BUS_ADDRESS
mkdir -p "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME/ruvola"
chmod 700 "$XDG_RUNTIME_DIR"

# Prints "min / median / mean ms over N runs" of a command, its output discarded.
time_command() {
  local samples=() start end
  "$@" >/dev/null 2>&1 || true # once unmeasured: a cold page cache is not the figure
  for ((run = 0; run < runs; run++)); do
    start=$(date +%s%N)
    "$@" >/dev/null 2>&1 || true
    end=$(date +%s%N)
    samples+=($(((end - start) / 1000)))
  done
  printf '%s\n' "${samples[@]}" | sort -n | awk -v n="$runs" '
    { value[NR] = $1; sum += $1 }
    END { printf "min %.1f ms / median %.1f ms / mean %.1f ms over %d runs\n",
          value[1] / 1000, value[int((n + 1) / 2)] / 1000, sum / n / 1000, n }'
}

if [[ $what == startup || $what == all ]]; then
  # `check` reads a real file: the starter layout, as a new user's first edit writes it.
  sed -n '/R"starter(/,/)starter"/p' "$root/RuvolaCore/StarterBindings.cpp" |
    sed -e '1s/.*R"starter(//' -e '$d' >"$XDG_CONFIG_HOME/ruvola/bindings.json"
  echo "ruvola version: $(time_command "$ruvola" version)"
  echo "ruvola check:   $(time_command "$ruvola" check)"
fi

# One line of the process's counters: RSS kB, CPU ticks of all its threads, bytes written to
# disk, thread count.
sample() {
  local pid=$1
  echo "$(awk '/^VmRSS:/ { print $2 }' "/proc/$pid/status")" \
    "$(awk '{ print $14 + $15 }' "/proc/$pid/stat")" \
    "$(awk '/^write_bytes:/ { print $2 }' "/proc/$pid/io")" \
    "$(awk '/^Threads:/ { print $2 }' "/proc/$pid/status")"
}

# The names of the process's threads, comma-separated.
thread_names() {
  cat /proc/"$1"/task/*/comm | paste -sd, -
}

# "TID SWITCHES" per thread, voluntary and involuntary context switches together.
switches() {
  for task in /proc/"$1"/task/*; do
    echo "${task##*/} $(awk '/ctxt_switches/ { sum += $2 } END { print sum }' "$task/status")"
  done
}

if [[ $what == idle || $what == all ]]; then
  display=:$((90 + RANDOM % 100))
  Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
  pids+=($!)
  export DISPLAY=$display
  for _ in $(seq 50); do
    xdpyinfo >/dev/null 2>&1 && break
    sleep 0.1
  done
  openbox --sm-disable >/dev/null 2>&1 &
  pids+=($!)
  trayer --edge top --align right --widthtype pixel --width 120 --heighttype pixel --height 32 \
    --SetDockType true --transparent false >/dev/null 2>&1 &
  pids+=($!)
  sleep 1
  "$ruvola" >"$home/ruvola.out" 2>&1 &
  app=$!
  pids+=("$app")
  sleep 5
  read -r rss0 ticks0 written0 threads0 < <(sample "$app")
  switches "$app" >"$home/switches0"
  names0=$(thread_names "$app")
  sleep "$idle_seconds"
  read -r rss1 ticks1 written1 threads1 < <(sample "$app")
  switches "$app" >"$home/switches1"
  names1=$(thread_names "$app")
  # Threads that lived through the whole window; the main thread is the one whose id is the pid.
  woken=$(awk 'NR == FNR { before[$1] = $2; next } ($1 in before) { sum += $2 - before[$1] }
               END { print sum + 0 }' "$home/switches0" "$home/switches1")
  main=$(awk -v pid="$app" 'NR == FNR { if ($1 == pid) before = $2; next }
                            $1 == pid { print $2 - before }' "$home/switches0" "$home/switches1")
  echo "idle ${idle_seconds} s, no pad attached:"
  echo "  resident:          $((rss0 / 1024)).$(((rss0 % 1024) * 10 / 1024)) MB at 5 s," \
    "$((rss1 / 1024)).$(((rss1 % 1024) * 10 / 1024)) MB at $((5 + idle_seconds)) s"
  echo "  CPU:               $((ticks1 - ticks0)) ticks of $(getconf CLK_TCK) per second"
  echo "  context switches:  $main on the main thread, $woken on all threads alive throughout" \
    "($(awk -v s="$woken" -v t="$idle_seconds" 'BEGIN { printf "%.3f", s / t }') per second)"
  echo "  written to disk:   $((written1 - written0)) bytes"
  echo "  threads:           $threads0 at 5 s ($names0), $threads1 at $((5 + idle_seconds)) s ($names1)"
fi
