#!/usr/bin/env bash
# Sets up a fresh machine, builds everything with warnings as errors, and runs the whole suite.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" test
"$root/scripts/check-format.sh"
"$root/scripts/build.sh" "$root/build/test" -DRUVOLA_WARNINGS_AS_ERRORS=ON
(cd "$root/build/test" && ctest --output-on-failure --parallel "$(nproc)")
# The same suite again under the sanitizers, then each fuzz target for a short while.
"$root/scripts/sanitize.sh" "$root/build"
"$root/scripts/fuzz.sh" "${RUVOLA_FUZZ_SECONDS:-30}"
