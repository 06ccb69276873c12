#!/usr/bin/env bash
# Sets up a fresh machine, builds Ruvola and runs it with the given arguments.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" build
"$root/scripts/build.sh" "$root/build/release" -DRUVOLA_BUILD_TESTS=OFF
exec "$root/build/release/Ruvola/ruvola" "$@"
