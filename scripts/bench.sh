#!/usr/bin/env bash
# Builds the project and runs the conversion benchmark on the shared levels beside it.
# Usage: scripts/bench.sh [runs]     (default 15 conversions per target)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/build.sh" build
"$root/build/convert_bench" --levels "$root/../shared/levels" --runs "${1:-15}"
