#!/usr/bin/env bash
# Installs what is missing, builds the debug configuration and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh
cmake --workflow --preset dev
