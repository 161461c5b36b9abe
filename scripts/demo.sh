#!/usr/bin/env bash
# Runs every example script through kelhost and prints the replies (make demo),
# then lists a directory's organisation through the product module and its
# worker, against a throwaway directory server started (and stopped) here.
set -euo pipefail
build=${1:-build/default}
bin="$build/bin"
status=0
for script in examples/*.jsonl; do
  [ -e "$script" ] || continue
  echo "== $script"
  /usr/lib/wine/wine64 "$bin/kelhost.exe" --module "$bin/kelagents.dll" "$script" || status=1
done
echo "== examples/directory/organisation.jsonl (directory: tests/sysinfo/directory/small_org.ldif)"
python3 tests/sysinfo/directory/directory.py run --work "$build/directory/demo" \
  --ldif tests/sysinfo/directory/small_org.ldif -- \
  /usr/lib/wine/wine64 "$bin/kelhost.exe" --module "$bin/product/kelagents.dll" \
  examples/directory/organisation.jsonl || status=1
exit $status
