#!/usr/bin/env bash
# Runs every benchmark program of a build under Wine (called by make bench).
set -euo pipefail
build=${1:-build/default}
status=0
for exe in "$build"/bin/bench_*.exe; do
  [ -e "$exe" ] || continue
  echo "== $(basename "$exe")"
  /usr/lib/wine/wine64 "$exe" --benchmark_counters_tabular=true || status=1
done
echo "== the organisation worker against a directory"
python3 "$(dirname "$0")/../bench/sysinfo/worker_bench.py" "$build" || status=1
exit $status
