#!/usr/bin/env bash
# Holds conversations with the module on the bundled sample drawing and compares every answer line and every
# command-line log line with the stored ones, so that a change to any command's texts shows up as a diff.
# Usage: run.sh VELA_ASSIST   (set VELA_GOLDEN_UPDATE=1 to store the current answers instead)
set -euo pipefail
bin="$1"
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
status=0
check() {  # name, script
    local name="$1" script="$2"
    "$bin" run "$root/examples/floor_plan.dxf" < "$script" > "$work/$name.answers" 2> "$work/$name.log"
    for kind in answers log; do
        if [ "${VELA_GOLDEN_UPDATE:-}" = 1 ]; then
            cp "$work/$name.$kind" "$here/$name.$kind"
        elif ! diff -u "$here/$name.$kind" "$work/$name.$kind" > "$work/diff"; then
            echo "$name.$kind differs from the stored one:"; head -c 4000 "$work/diff"; echo; status=1
        fi
    done
}
check assistant_session "$root/examples/assistant_session.jsonl"
check commands_session "$here/commands_session.jsonl"
exit $status
