#!/usr/bin/env bash
# The main job on the bundled sample drawing: installs what is missing, builds, and shows what the drawing holds,
# then saves it again through our reader and writer.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cd "$here"
./scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target vela-assist
sample="examples/floor_plan.dxf"
out="${TMPDIR:-/tmp}/floor_plan.saved.dxf"
build/release/apps/vela-assist/vela-assist info "$sample"
build/release/apps/vela-assist/vela-assist convert "$sample" "$out"
build/release/apps/vela-assist/vela-assist info "$out" | head -4
