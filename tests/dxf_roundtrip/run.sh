#!/usr/bin/env bash
# Round trips through our reader and writer, checked by ezdxf: drawings that ezdxf makes are loaded by us,
# saved, and loaded again by ezdxf, which must audit them clean and find every entity, handle, layer and key
# property unchanged. Usage: run.sh VELA_ASSIST_BINARY
set -euo pipefail
bin="$1"
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
/usr/bin/python3 "$here/make_drawings.py" "$work" >/dev/null
cp "$here/../../examples/floor_plan.dxf" "$work/"
failed=0
for original in "$work"/*.dxf; do
    name="$(basename "$original" .dxf)"
    saved="$work/$name.saved"
    if ! "$bin" convert "$original" "$saved" 2>"$work/$name.log"; then
        echo "FAIL $name: convert failed"; cat "$work/$name.log"; failed=1; continue
    fi
    if /usr/bin/python3 "$here/compare.py" "$original" "$saved" >"$work/$name.cmp" 2>&1; then
        echo "ok   $name: $(tail -n 1 "$work/$name.cmp")"
    else
        echo "FAIL $name:"; cat "$work/$name.cmp"; failed=1
    fi
done
exit $failed
