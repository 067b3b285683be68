#!/usr/bin/env bash
# Installs what is missing, builds everything in release mode and runs every test.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$here"
./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
ctest --preset release -j "$(nproc)"
