#!/usr/bin/env bash
# Real drawings from other programs (the shared corpus beside the repository, ../shared/dxf-corpus): each must
# load, convert to a file ezdxf reads at least as cleanly as the original, keep every entity's layer, and have
# the model-space extents ezdxf finds; damaged copies of them must convert to files that read again without
# repairs. Skipped (exit 77) when the corpus is not there, as in a plain clone.
# Usage: run.sh VELA_ASSIST_BINARY [FILE_NAME ...]
set -uo pipefail
bin="$1"
shift
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
corpus="$(cd "$here/../.." && pwd)/../shared/dxf-corpus"
if [ ! -d "$corpus" ]; then
    echo "skipped: no corpus at $corpus"
    exit 77
fi
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

if [ $# -gt 0 ]; then
    files=()
    for name in "$@"; do files+=("$corpus/$name"); done
else
    files=("$corpus"/*.dxf "$corpus"/*.DXF)
fi
for original in "${files[@]}"; do
    [ -f "$original" ] || continue
    name="$(basename "$original")"
    # Exit statuses and messages go to files the checker reads; it runs once for all drawings.
    "$bin" info "$original" >"$work/$name.info" 2>"$work/$name.info.err"
    echo $? >"$work/$name.info.rc"
    "$bin" info "$original" --entities >"$work/$name.entities" 2>/dev/null
    "$bin" convert "$original" "$work/$name.out.dxf" >/dev/null 2>"$work/$name.convert.err"
    echo $? >"$work/$name.convert.rc"
    echo "$name" >>"$work/names"
done
# Damaged copies of the ASCII drawings: what we write of them must read again, here without repairs and in ezdxf.
mkdir "$work/damaged" "$work/damaged-out"
/usr/bin/python3 "$here/damage.py" "$work/damaged" "${files[@]}"
for damaged in "$work/damaged"/*; do
    out="$work/damaged-out/$(basename "$damaged")"
    "$bin" convert "$damaged" "$out.out.dxf" >/dev/null 2>"$out.convert.err"
    echo $? >"$out.convert.rc"
    "$bin" convert "$out.out.dxf" "$out.again.dxf" >/dev/null 2>"$out.again.err"
done
/usr/bin/python3 "$here/check_corpus.py" "$corpus" "$work"
