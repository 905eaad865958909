#!/usr/bin/env bash
# Builds the project. Usage: scripts/build.sh [build-dir] [extra cmake options...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-build}; shift || true
cmake -S "$root" -B "$root/$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$root/$dir" -j"$(nproc)"
