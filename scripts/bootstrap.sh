#!/usr/bin/env bash
# Installs the Debian packages that building and testing Tessivo need.
# As root it runs apt-get; otherwise it prints the exact command to run.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev pkg-config
  libicu-dev libgumbo-dev nlohmann-json3-dev libcli11-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  # desktop-search hosts and their tests: Recoll, KDE's KFileMetaData, MIME database,
  # Baloo's programs and a private D-Bus session to run them in
  recollcmd libkf5filemetadata-dev extra-cmake-modules qtbase5-dev shared-mime-info
  baloo-kf5 dbus-bin dbus-daemon dbus-session-bus-common
  # an independent compound document reader for the listing conformance test
  python3-olefile
  # an independent TNEF reader for the attachment conformance test
  tnef
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
  echo "bootstrap: missing packages; run:" >&2
  echo "  sudo apt-get install -y ${missing[*]}" >&2
  exit 1
fi

echo "bootstrap: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
