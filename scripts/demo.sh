#!/usr/bin/env bash
# Runs every example script through kelhost and prints the replies (make demo).
set -euo pipefail
build=${1:-build/default}
bin="$build/bin"
status=0
for script in examples/*.jsonl; do
  [ -e "$script" ] || continue
  echo "== $script"
  /usr/lib/wine/wine64 "$bin/kelhost.exe" --module "$bin/kelagents.dll" "$script" || status=1
done
exit $status
