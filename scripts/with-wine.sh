#!/usr/bin/env bash
# Runs a command with a persistent wineserver for the project's own Wine prefix,
# so each Windows program starts in milliseconds instead of seconds. The server
# is started here and stopped here, by the process id this script started.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
mkdir -p "$WINEPREFIX"

/usr/lib/wine/wineserver -f -p </dev/null >/dev/null 2>&1 &
server=$!

# Wine's background services outlive the server; they belong to this prefix only.
stop() {
  set +o pipefail  # grep -q ends the pipe early; that is a match, not a failure
  kill "$server" 2>/dev/null || true
  wait "$server" 2>/dev/null || true
  for proc in /proc/[0-9]*; do
    [ "${proc#/proc/}" != "$$" ] || continue
    tr '\0' ' ' 2>/dev/null <"$proc/cmdline" | grep -qiE '^[a-z]:\\|^/usr/lib/wine/' || continue
    if tr '\0' '\n' 2>/dev/null <"$proc/environ" | grep -qx "WINEPREFIX=$WINEPREFIX"; then
      kill -9 "${proc#/proc/}" 2>/dev/null || true
    fi
  done
}
trap stop EXIT

# Start the prefix (built on first use) and its services here, detached from our
# output: a service holding the caller's pipe would keep ctest waiting forever.
/usr/lib/wine/wine64 wineboot </dev/null >/dev/null 2>&1 || true

"$@"
