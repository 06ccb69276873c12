#!/usr/bin/env bash
# Counts the lines of code (not blank, not comments) of the product (RuvolaCore/ and Ruvola/) and of
# the tests (tests/), and the tests' share of the product. Fuzz targets and benchmarks are neither.
# Usage: scripts/code-share.sh [-v]   (-v also lists the test folders)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

count() {
  git ls-files -co --exclude-standard -- "$@" |
    while read -r file; do [[ -f "$file" ]] && printf '%s\0' "$file"; done |
    xargs -0 -r awk '
      FNR == 1 { block = 0 }
      {
        line = $0
        sub(/^[ \t]+/, "", line)
        if (block) { if (line ~ /\*\//) block = 0; next }
        if (line == "") next
        if (line ~ /^\/\//) next
        if (line ~ /^\/\*/) { if (line !~ /\*\//) block = 1; next }
        if (FILENAME ~ /(CMakeLists\.txt|\.cmake|\.sh|\.supp|\.py)$/ && line ~ /^#/) next
        n++
      }
      END { print n + 0 }'
}

product=$(count RuvolaCore Ruvola)
tests=$(count tests)
if [[ "${1:-}" == "-v" ]]; then
  for folder in tests/*/; do printf '  %-20s %6d\n' "$folder" "$(count "$folder")"; done
fi
awk -v p="$product" -v t="$tests" 'BEGIN { printf "product %d, tests %d: %.1f%%\n", p, t, 100 * t / p }'
