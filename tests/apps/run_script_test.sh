#!/usr/bin/env bash
# Converses with "vela-assist run" through pipes, as another program would: each request line is answered by
# exactly one line, at once, and the session goes on after bad lines. Usage: run_script_test.sh VELA_ASSIST
set -euo pipefail
bin="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Answers must come line by line while the input is still open: feed one line, read one answer.
coproc SESSION { "$bin" run --new 2>"$work/log"; }
# Bash forgets the coprocess's variables as soon as it ends, so its pid is kept here.
session_pid=$SESSION_PID
ask() {
    printf '%s\n' "$1" >&"${SESSION[1]}"
    local answer
    if ! IFS= read -r -t 20 answer <&"${SESSION[0]}"; then echo "no answer to: $1"; exit 1; fi
    if [ "$answer" != "$2" ]; then printf 'request:  %s\nexpected: %s\ngot:      %s\n' "$1" "$2" "$answer"; exit 1; fi
}
ask '{"call":"CreateLayers","text":"{}"}' '{"error":"Missing or invalid '"'"'layers'"'"' array in input","success":false}'
ask '{"call":"CreateBlocks","text":"not json"}' '{"errorMessages":"Invalid JSON payload: illegal value","success":false}'
ask '{"call":"CreateLayers","text":"{\"layers\":[{\"name\":\"Notes\"}]}"}' '{"layers":[{"handle":"14","name":"Notes","success":true}],"success":true}'
ask '{"undo":1}' '{"ok":true}'
ask '{"redo":1}' '{"ok":true}'
ask '{"capability":{"veladesk.v3.selectentities":false}}' '{"ok":true}'
ask '{"call":"CreateLayers","text":"{}"}' '{"layers":[],"success":false}'
ask '{"call":"CreateBlocks","text":"anything"}' '{"blocks":[],"success":false}'
ask '{"call":"ElectricalGoTo","text":"x"}' 'false'
ask '{"call":"newThreadStarted"}' ''
ask 'this is not json' '{"error":"not JSON: illegal value at offset 1","ok":false}'
ask '[]' '{"error":"a line must be one JSON object","ok":false}'
ask '{"call":"NoSuchSlot"}' '{"error":"no slot named '"'"'NoSuchSlot'"'"'","ok":false}'
ask '{"command":"_VELAAIASSIST","input":[]}' '{"result":-5001}'
ask '{"command":"_NOSUCHCOMMAND"}' '{"result":-5001}'
ask '{"command":"_HIGHLIGHTUI","input":["LINE"]}' '{"result":5100}'
ask '{"setting":{"V3Debugging":"enabled"}}' '{"ok":true}'
ask '{"select":["ZZZ"]}' '{"error":"no object with handle '"'"'ZZZ'"'"'","ok":false}'
ask '{"undo":1e20}' '{"error":"at most 1000000 steps can be undone or redone at once","ok":false}'
ask '{"undo":2}' '{"error":"only 1 of 2 steps could be undone","ok":false}'
ask '{"save":"'"$work"'/saved.dxf"}' '{"ok":true}'
ask '{"open":"'"$work"'/saved.dxf"}' '{"ok":true}'
printf '0\nSECTION\n2\nHEADER\n9\n$ACADVER\n' >"$work/cut.dxf"
ask '{"open":"'"$work"'/cut.dxf"}' '{"error":"cannot read '"$work"'/cut.dxf: line 5: unexpected end of file","ok":false}'
ask '{"close":true}' '{"ok":true}'
ask '{"close":true}' '{"error":"no drawing is open","ok":false}'
ask '{"capability":{"veladesk.v3.selectentities":true}}' '{"ok":true}'
ask '{"call":"ModifyLayers","text":"{}"}' '{"success":false}'
ask '{"open":"'"$work"'/saved.dxf"}' '{"ok":true}'
ask '{"call":"SelectEntities","text":"{}"}' '{"handles":[],"numSelected":0,"success":false}'
exec {SESSION[1]}>&-
wait "$session_pid"
# Debugging was on from the setting onwards, but only the last call passed the gate: one request, one response.
if [ "$(grep -c '^Received' "$work/log")" != 1 ] || [ "$(grep -c '^Entity selection response:' "$work/log")" != 1 ]; then
    echo "expected exactly the last call's two log lines"; cat "$work/log"; exit 1
fi
/usr/bin/python3 -c "import ezdxf,sys; d=ezdxf.readfile(sys.argv[1]); assert not d.audit().has_errors" "$work/saved.dxf"
echo "run: all answers as expected"
