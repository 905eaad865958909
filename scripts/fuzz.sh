#!/usr/bin/env bash
# Fuzzes the readers of untrusted files with libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer, for a bounded time (FUZZ_SECONDS in total, default 110):
# ConvertLevel for every target (TR1, Gold, TR2, TR3, TR5), loading settings.dat, the TR4 level
# reader and the level check ("convert --check"). Every run is in memory; nothing of it touches
# the disk but the corpora.
# Fails on any crash, sanitizer report, input that runs longer than FUZZ_TIMEOUT seconds
# (default 5) or a run that needs more than 1 GiB. The saved regression inputs run first.
#
# Seeds: the small sample levels and settings files that the fuzz programs make; with
# FUZZ_REAL=1 also the real levels beside the project (../shared/levels), trimmed, for long runs.
# FUZZ_ONLY=NAME runs one target only (TR1, Gold, TR2, TR3, TR5, settings, reader, check), with all of
# FUZZ_SECONDS; FUZZ_KEEP=DIR keeps the corpora in DIR and starts from them next time;
# FUZZ_WORKERS=N runs N fuzzers per target at once (default: one per core); FUZZ_RUNS=N ends
# each target after N executions in all, if its share of FUZZ_SECONDS has not ended it first.
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

echo "== Building the fuzz programs with $cxx"
cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_COMPILER="$cc" >/dev/null
cmake --build "$build" -j2 >/dev/null

# Seeds and corpora stay in a temporary folder, in memory when the machine offers one.
tmp=${TMPDIR:-/tmp}
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then tmp=/dev/shm; fi
work=$(mktemp -d "$tmp/convert-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT
# No allocation stacks, a small quarantine and no filling of new allocations: recording a stack
# for every allocation and free, recycling a quarantine of 32 MiB and writing a pattern into
# the first 4 KiB of every allocation cost a fifth of a run. A report still shows where the
# fault happened; replaying the input (build-fuzz/PROGRAM FILE, with the sanitizer's defaults)
# shows where the memory was allocated and freed as well.
export ASAN_OPTIONS="detect_leaks=1:quarantine_size_mb=8:alloc_dealloc_mismatch=1:malloc_context_size=0:max_malloc_fill_size=0"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
artifacts="$build/artifacts"
mkdir -p "$artifacts"

common=(-timeout="$timeout" -rss_limit_mb=1024 -print_final_stats=1)
maxlen=65536
if [ "${FUZZ_REAL:-0}" = 1 ]; then maxlen=4194304; fi

# Saved inputs that once failed must pass now: fuzz/regressions/PROGRAM/*.
for program in convert settings reader check; do
  regressions=()
  for f in "$root/fuzz/regressions/$program"/*; do
    [ -f "$f" ] && regressions+=("$f")
  done
  [ ${#regressions[@]} -gt 0 ] || continue
  echo "== Replaying ${#regressions[@]} $program regression input(s)"
  if ! "$build/${program}_fuzz" "${common[@]}" "${regressions[@]}" >"$work/regressions.log" 2>&1; then
    grep -E "ERROR|SUMMARY|runtime error|Running:|settings_fuzz:|check_fuzz:" "$work/regressions.log" | tail -20 >&2
    echo "fuzz.sh: a $program regression input fails" >&2
    exit 1
  fi
done

# Seeds, written by the fuzz programs themselves (layouts at the top of fuzz/*Fuzz.cpp).
for program in convert settings reader check; do
  if [ "${FUZZ_REAL:-0}" = 1 ] && [ -d "$shared" ]; then
    CONVERT_FUZZ_SEEDS="$work" CONVERT_FUZZ_SHARED="$shared" "$build/${program}_fuzz" >/dev/null 2>&1
  else
    CONVERT_FUZZ_SEEDS="$work" "$build/${program}_fuzz" >/dev/null 2>&1
  fi
done

# name, program, seed folder
targets=("TR1 convert seeds-0" "Gold convert seeds-1" "TR2 convert seeds-2" "TR3 convert seeds-3"
         "TR5 convert seeds-4" "settings settings seeds-settings" "reader reader seeds-reader"
         "check check seeds-check")
if [ -n "${FUZZ_ONLY:-}" ]; then
  chosen=()
  for t in "${targets[@]}"; do [ "${t%% *}" = "$FUZZ_ONLY" ] && chosen+=("$t"); done
  if [ ${#chosen[@]} -eq 0 ]; then echo "fuzz.sh: no target $FUZZ_ONLY" >&2; exit 1; fi
  targets=("${chosen[@]}")
fi
per=$(( total / ${#targets[@]} )); [ "$per" -ge 1 ] || per=1
keep=${FUZZ_KEEP:-}
workers=${FUZZ_WORKERS:-$(nproc 2>/dev/null || echo 1)}
runs=()
if [ -n "${FUZZ_RUNS:-}" ]; then runs=(-runs=$(( (FUZZ_RUNS + workers - 1) / workers ))); fi

failed=0
printf '%-8s %10s %10s %8s %8s %s\n' target execs exec/s corpus0 corpus1 result
for t in "${targets[@]}"; do
  read -r name program seeddir <<<"$t"
  seeds="$work/$seeddir"
  corpus="$work/corpus-$name"
  if [ -n "$keep" ]; then corpus="$keep/corpus-$name"; fi
  mkdir -p "$corpus"
  before=$(( $(ls "$seeds" | wc -l) + $(ls "$corpus" | wc -l) ))
  # One fuzzer per core on the same corpus: each adds what it finds and picks up the other's
  # finds as it goes. Executions and speeds are the sums over the workers.
  set +e
  len=$maxlen
  # The check reads whole new levels, and a TR1 to TR3 level made from the small samples still
  # carries some 200 KB of tiles.
  if [ "$program" = check ] && [ "$len" -lt 262144 ]; then len=262144; fi
  pids=()
  for w in $(seq 1 "$workers"); do
    "$build/${program}_fuzz" "${common[@]}" "${runs[@]}" -max_len="$len" -max_total_time="$per" -seed="$w$RANDOM" \
      -artifact_prefix="$artifacts/$name-$w-" "$corpus" "$seeds" >"$work/fuzz-$name-$w.log" 2>&1 &
    pids+=($!)
  done
  rc=0
  for pid in "${pids[@]}"; do wait "$pid" || rc=$?; done
  set -e
  execs=0; speed=0
  for w in $(seq 1 "$workers"); do
    log="$work/fuzz-$name-$w.log"
    e=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    v=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
    execs=$(( execs + ${e:-0} )); speed=$(( speed + ${v:-0} ))
  done
  after=$(ls "$corpus" | wc -l)
  if [ "$rc" -eq 0 ]; then result=ok; else result="FAILED (exit $rc)"; failed=1; fi
  printf '%-8s %10s %10s %8s %8s %s\n' "$name" "${execs:-?}" "${speed:-?}" "$before" "$after" "$result"
  if [ "$rc" -ne 0 ]; then
    for w in $(seq 1 "$workers"); do
      log="$work/fuzz-$name-$w.log"
      grep -E "ERROR: |SUMMARY: |runtime error|ALARM|out-of-memory|Test unit written|settings_fuzz:|check_fuzz:" "$log" | head -20 >&2
      cp "$log" "$artifacts/$name-$w.log"
    done
  fi
done

if [ "$failed" -ne 0 ]; then
  echo "fuzz.sh: failures found; inputs and logs are in $artifacts" >&2
  exit 1
fi
echo "fuzz.sh: no faults in ${total}s (corpus0 = seeds and kept inputs, corpus1 = the corpus after the run)"
