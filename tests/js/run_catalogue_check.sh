#!/usr/bin/env bash
# Checks the catalogue that "vela-assist catalogue" prints with check_catalogue.mjs.
# Usage: run_catalogue_check.sh VELA_ASSIST
set -euo pipefail
bin="$1"
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
if ! "$bin" catalogue >"$work/catalogue.json" 2>"$work/log"; then
    echo "FAIL: $bin catalogue failed"; cat "$work/log"; exit 1
fi
node "$here/check_catalogue.mjs" "$work/catalogue.json"
