#!/usr/bin/env bash
# Runs the whole suite built with AddressSanitizer and UndefinedBehaviorSanitizer, then the parts
# that run on several threads (logger, processes, action runner, network completion) built with
# ThreadSanitizer. Usage: scripts/sanitize.sh [BUILD_ROOT]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
builds=${1:-"$root/build"}
jobs=$(nproc)

# Unoptimised: with -O2 and these sanitizers, g++ 12 warns of uninitialised values inside
# std::function and std::regex that are not there.
BUILD_TYPE=Debug "$root/scripts/build.sh" "$builds/asan" -DRUVOLA_WARNINGS_AS_ERRORS=ON \
  -DRUVOLA_SANITIZE=address,undefined
(cd "$builds/asan" && ctest --output-on-failure --parallel "$jobs" --timeout 600)

threaded=(app_logging_tests platform_system_tests app_action_runner_tests app_network_actions_tests
  platform_wayland_tests)
cmake -S "$root" -B "$builds/tsan" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DRUVOLA_WARNINGS_AS_ERRORS=ON -DRUVOLA_SANITIZE=thread >/dev/null
cmake --build "$builds/tsan" --target "${threaded[@]}"
# Test processes fork helpers (servers, shells), which ThreadSanitizer allows only when told to.
export TSAN_OPTIONS="suppressions=$root/tests/tsan.supp die_after_fork=0 halt_on_error=1"
(cd "$builds/tsan" && ctest --output-on-failure --timeout 600 \
  -R '^(FileLoggerTest|Processes|ActionRunnerTest|HouseActions|DesktopTest|VolumeControlTest|NetworkActions|WlrWindowsTest|VirtualKeyboard)\.')
