#!/usr/bin/env bash
# Installs, builds and runs the whole test suite twice: a normal build, then one with
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
export QT_QPA_PLATFORM=offscreen
bash "$root/scripts/build.sh" build
(cd "$root/build" && ctest --output-on-failure -j2)
bash "$root/scripts/build.sh" build-asan -DCONVERT_SANITIZE=ON
(cd "$root/build-asan" && ASAN_OPTIONS=detect_leaks=0 ctest --output-on-failure -j2)
if [ -x "$root/scripts/fuzz.sh" ]; then bash "$root/scripts/fuzz.sh"; fi
