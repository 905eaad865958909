#!/usr/bin/env bash
# One step from a fresh machine to real conversions: installs what the build needs, builds,
# writes sample levels (a TR4 source and a base level for every target) into build/demo,
# puts a copy of the program and a settings.dat with one job per target beside them, and runs
# every job unattended, as "convert N" does for the batch script. Without a display the
# jobs run without loading the window.
#
# Usage: scripts/demo.sh [demo-folder]     (default build/demo)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
demo=${1:-"$root/build/demo"}
job_timeout=${DEMO_JOB_TIMEOUT:-300}

echo "== Installing what the build needs"
bash "$root/scripts/setup.sh"
echo "== Building"
bash "$root/scripts/build.sh" build -DCONVERT_BUILD_APP=ON

echo "== Writing the sample levels and settings.dat"
rm -rf "$demo"
mkdir -p "$demo"
demo=$(cd "$demo" && pwd)
"$root/build/make_samples" "$demo" --settings "$demo"
cp "$root/build/convert" "$demo/convert"
cp "$root/build/convert-window.so" "$demo/convert-window.so"

names=("Tomb Raider" "Unfinished Business" "Tomb Raider 2" "Tomb Raider 3" "Chronicles")
levels=(new-tr1.PHD new-gold.TUB new-tr2.TR2 new-tr3.TR2 new-tr5.TRC)
failed=0
cd "$demo"
for i in 0 1 2 3 4; do
  echo "== Job $i: sample level to ${names[$i]}"
  set +e
  timeout "$job_timeout" ./convert "$i" </dev/null >"convert-job$i.out" 2>&1
  rc=$?
  set -e
  # The program replaces morv.log at each start; keep each job's log.
  [ -f morv.log ] && cp morv.log "morv-job$i.log"
  if [ -f "morv-job$i.log" ]; then sed -n 's/^\[[^]]*\] //p' "morv-job$i.log" | grep -v '^$' | tail -n 4 | sed 's/^/   /'; fi
  if [ "$rc" -eq 124 ]; then echo "   the job did not end within ${job_timeout}s" >&2; failed=1; continue; fi
  if [ "$rc" -eq 0 ] && [ -s "${levels[$i]}" ]; then
    echo "   ${levels[$i]}: $(stat -c %s "${levels[$i]}") bytes"
  else
    echo "   job $i did not complete (exit $rc); see $demo/morv-job$i.log and $demo/convert-job$i.out" >&2
    failed=1
  fi
done

echo
echo "Converted levels: $demo/new-*"
echo "Logs:             $demo/morv-job0.log ... morv-job4.log (morv.log holds the last job's)"
echo "Run one again:    (cd $demo && ./convert 2)"
exit "$failed"
