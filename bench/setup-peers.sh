#!/usr/bin/env bash
# Installs the peer readers the comparison benchmarks run: npm packages into
# bench/node_modules, and (as root) Apache POI, hyperfine and tnef from Debian.
set -euo pipefail
cd "$(dirname "$0")"

debs=(libapache-poi-java hyperfine tnef)
missing=()
for p in "${debs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
command -v javac > /dev/null || missing+=(default-jdk-headless)
if ((${#missing[@]})); then
  if [[ $(id -u) -eq 0 ]]; then
    DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
  else
    echo "setup-peers: run as root, or: sudo apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
fi

npm install --no-audit --no-fund --silent
