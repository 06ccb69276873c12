#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (address and undefined-behaviour sanitizers) and runs
# each on a copy of its seed corpus from fuzz/corpus.
# Usage: scripts/fuzz.sh [SECONDS_PER_TARGET]   (default 30)
# Environment: RUVOLA_FUZZ_BUILD (build directory, default build/fuzz),
#              RUVOLA_FUZZ_TARGETS (space-separated subset of the targets to run).
# Exits non-zero when a target fails; its log tail names the input, kept under <build>/artifacts.
set -euo pipefail

seconds=${1:-30}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${RUVOLA_FUZZ_BUILD:-$root/build/fuzz}

# Target, then the longest input worth trying.
declare -A maxLength=(
  [fuzz_bindings_file]=16384
  [fuzz_key_spec]=256
  [fuzz_pad_protocol]=1100
  [fuzz_key_image]=4096
)
read -ra targets <<<"${RUVOLA_FUZZ_TARGETS:-fuzz_bindings_file fuzz_key_spec fuzz_pad_protocol fuzz_key_image}"

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O2 -g" \
  -DRUVOLA_BUILD_APP=OFF -DRUVOLA_BUILD_TESTS=OFF -DRUVOLA_WARNINGS_AS_ERRORS=ON \
  -DRUVOLA_FUZZ=ON -DRUVOLA_SANITIZE=address,undefined >/dev/null
cmake --build "$build" --target "${targets[@]}"

mkdir -p "$build/artifacts"
failed=0
for target in "${targets[@]}"; do
  corpus="$build/corpus/$target"
  seeds="$root/fuzz/corpus/${target#fuzz_}"
  words="$root/fuzz/${target#fuzz_}.dict"
  rm -rf "$corpus"
  mkdir -p "$corpus"
  cp -r "$seeds/." "$corpus/"
  log="$build/$target.log"
  dictionary=()
  if [[ -f "$words" ]]; then
    dictionary=(-dict="$words")
  fi
  status=0
  "$build/fuzz/$target" "$corpus" \
    -max_total_time="$seconds" -max_len="${maxLength[$target]}" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$build/artifacts/$target-" "${dictionary[@]}" \
    >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  coverage=$(grep -Eo 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -n 1 || true)
  if [[ $status -eq 0 ]]; then
    echo "$target: ${runs:-?} runs, ${coverage:-no coverage reported}, corpus $(find "$corpus" -type f | wc -l)"
  else
    failed=1
    echo "$target: FAILED (exit $status) after ${runs:-?} runs; log $log"
    tail -n 60 "$log"
    grep -h 'Test unit written to' "$log" || true
  fi
done
exit $failed
