#!/usr/bin/env bash
# Fuzzes ConvertLevel for every target with libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer, for a bounded time (FUZZ_SECONDS in total, default 110).
# Fails on any crash, sanitizer report, input that runs longer than FUZZ_TIMEOUT seconds
# (default 5) or a run that needs more than 1 GiB. Seeds: the sample levels and the shared
# levels beside the project. The saved regression inputs run first.
#
# Usage: scripts/fuzz.sh [build-dir]     (default build-fuzz)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/${1:-build-fuzz}"
total=${FUZZ_SECONDS:-110}
timeout=${FUZZ_TIMEOUT:-5}
shared="$root/../shared/levels"

cxx=""
for c in clang++ clang++-19 clang++-18 clang++-17 clang++-16 clang++-15 clang++-14; do
  if command -v "$c" >/dev/null 2>&1; then cxx=$c; break; fi
done
if [ -z "$cxx" ]; then
  echo "fuzz.sh: clang++ not found (scripts/setup.sh installs it)" >&2
  exit 1
fi
cc=${cxx/clang++/clang}

echo "== Building the fuzz target with $cxx"
cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_COMPILER="$cc" >/dev/null
cmake --build "$build" -j2 >/dev/null

# The run's files (seeds, corpora, the program's working files) stay in a temporary folder,
# in memory when the machine offers one.
tmp=${TMPDIR:-/tmp}
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then tmp=/dev/shm; fi
work=$(mktemp -d "$tmp/convert-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT
export CONVERT_FUZZ_DIR="$work/program"
mkdir -p "$CONVERT_FUZZ_DIR"
export ASAN_OPTIONS="detect_leaks=1:quarantine_size_mb=32:alloc_dealloc_mismatch=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
fuzzer="$build/convert_fuzz"
artifacts="$build/artifacts"
mkdir -p "$artifacts"

# The program handles a file that may not grow (see ConvertFuzz.cpp), so libFuzzer must not.
common=(-timeout="$timeout" -rss_limit_mb=1024 -handle_xfsz=0 -print_final_stats=1)

# Saved inputs that once failed must pass now.
regressions=()
for f in "$root"/fuzz/regressions/*; do
  case "$f" in *.md) ;; *) [ -f "$f" ] && regressions+=("$f") ;; esac
done
if [ ${#regressions[@]} -gt 0 ]; then
  echo "== Replaying ${#regressions[@]} regression input(s)"
  if ! "$fuzzer" "${common[@]}" "${regressions[@]}" >"$work/regressions.log" 2>&1; then
    grep -E "ERROR|SUMMARY|runtime error|Running:" "$work/regressions.log" | tail -20 >&2
    echo "fuzz.sh: a regression input fails" >&2
    exit 1
  fi
fi

# Seeds for every target, written by the fuzz program itself (layout in ConvertFuzz.cpp):
# the sample levels, and the shared levels when they are there.
if [ -d "$shared" ]; then
  CONVERT_FUZZ_SEEDS="$work" CONVERT_FUZZ_SHARED="$shared" "$fuzzer" >/dev/null 2>&1
else
  CONVERT_FUZZ_SEEDS="$work" "$fuzzer" >/dev/null 2>&1
fi
names=(TR1 Gold TR2 TR3 TR5)
per=$(( total / 5 )); [ "$per" -ge 1 ] || per=1

failed=0
printf '%-5s %10s %10s %8s %8s %s\n' target execs exec/s corpus0 corpus1 result
for t in 0 1 2 3 4; do
  seeds="$work/seeds-$t"; corpus="$work/corpus-$t"
  mkdir -p "$corpus"
  before=$(ls "$seeds" | wc -l)
  log="$work/fuzz-$t.log"
  set +e
  "$fuzzer" "${common[@]}" -max_total_time="$per" -artifact_prefix="$artifacts/${names[$t]}-" \
    "$corpus" "$seeds" >"$log" 2>&1
  rc=$?
  set -e
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  after=$(( $(ls "$corpus" | wc -l) ))
  if [ "$rc" -eq 0 ]; then result=ok; else result="FAILED (exit $rc)"; failed=1; fi
  line=$(printf '%-5s %10s %10s %8s %8s %s' "${names[$t]}" "${execs:-?}" "${speed:-?}" "$before" "$after" "$result")
  echo "$line"
  if [ "$rc" -ne 0 ]; then
    grep -E "ERROR: |SUMMARY: |runtime error|ALARM|out-of-memory|Test unit written" "$log" | head -20 >&2
    cp "$log" "$artifacts/${names[$t]}.log"
  fi
done

if [ "$failed" -ne 0 ]; then
  echo "fuzz.sh: failures found; inputs and logs are in $artifacts" >&2
  exit 1
fi
echo "fuzz.sh: no faults in ${total}s (corpus0 = seeds, corpus1 = inputs added by the run)"
