#!/usr/bin/env bash
# Configures and builds one build tree. Usage: scripts/build.sh DIR [extra cmake arguments…]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=$1
shift
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" "$@" >/dev/null
cmake --build "$dir" --parallel "$(nproc)"
