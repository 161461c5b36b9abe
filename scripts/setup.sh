#!/usr/bin/env bash
# Prepares a fresh Debian machine (as root) for the cross build: Debian binary
# packages, then Debian source packages unpacked under third_party/.
# Every step checks first, so a second run installs and fetches nothing.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(cmake ninja-build make g++-mingw-w64-x86-64-posix wine64 libgtest-dev dpkg-dev clang lld
  slapd ldap-utils python3 python3-jsonschema)
sources=(libjsoncpp pugixml benchmark)

as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

need_sources=()
for s in "${sources[@]}"; do
  [ -f "third_party/$s.fetched" ] || need_sources+=("$s")
done

updated=0
apt_update() { [ "$updated" = 1 ] || { as_root apt-get update -qq; updated=1; }; }

if [ "${#missing[@]}" -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  apt_update
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
fi

if [ "${#need_sources[@]}" -gt 0 ]; then
  # The stock apt configuration is deb822; a one-line deb-src list would clash with it.
  src_list=/etc/apt/sources.list.d/kel-deb-src.sources
  if ! grep -rqs '^Types:.*deb-src' /etc/apt/sources.list.d/ && ! grep -qs '^deb-src' /etc/apt/sources.list; then
    echo "setup: enabling Debian source packages"
    as_root tee "$src_list" >/dev/null <<'SRC'
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: bookworm
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SRC
    updated=0
  fi
  apt_update
  mkdir -p third_party
  for s in "${need_sources[@]}"; do
    echo "setup: fetching source package $s"
    rm -rf "third_party/$s"
    mkdir -p "third_party/$s.tmp"
    (cd "third_party/$s.tmp" && apt-get source -qq "$s" >/dev/null 2>&1)
    dir=$(find "third_party/$s.tmp" -mindepth 1 -maxdepth 1 -type d | head -n 1)
    [ -n "$dir" ] || { echo "setup: apt-get source $s unpacked nothing" >&2; exit 1; }
    mv "$dir" "third_party/$s"
    rm -rf "third_party/$s.tmp"
    touch "third_party/$s.fetched"
  done
fi
