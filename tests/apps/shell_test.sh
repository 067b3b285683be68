#!/usr/bin/env bash
# A session at "vela-assist shell" on the sample plan, typed as a person would (several answers a line, Enter
# alone to finish a selection or a command), then the saved drawing is audited by ezdxf, an independent reader.
# Usage: shell_test.sh VELA_ASSIST SAMPLE_DXF
set -euo pipefail
bin="$1"
sample="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
HOME="$work" "$bin" shell "$sample" > "$work/out" 2>&1 <<SESSION
-LAYER M Sketch C cyan Sketch

LINE 0,0 @4000,0 @0,3000 C
CIRCLE 2000,1500 D 800
PLINE 5000,0 6000,0 A 6000,1000 L 5000,1000 C
RECTANG 7000,0 @1000,500
OFFSET 100 L 7500,250

TEXT 0,-500 250 0 Sketch of the annex

ARC 0,4000 1000,4500 2000,4000
ELLIPSE 3000,4000 5000,4000 500
POINT 100,100
COPY L

0,0 @0,200

MOVE L

0,0 @100,0
ROTATE L

0,0 45
SCALE L

0,0 2
MIRROR L

0,0 0,10 N
ERASE L

U
REDO
EXPLODE W 4999,-1 6600,1001

(setq n 0)
(foreach e (list 1 2 3)
  (setq n (+ n e)))
(entmake (list '(0 . "CIRCLE") (cons 8 "Sketch") '(10 9000 0 0) (cons 40 (* n 50.0))))
(command "LINE" '(9000 1000) '(9500 1000) "")
SETVAR CECOLOR red
CALL CreateHatch {"entities":[{"pattern":"ANSI31","scale":20}]}
3500,500
ZOOM E
SAVE $work/annex.dxf
QUIT
SESSION
for expected in 'Specify next point or \[Close/Undo\]: C' '"count":1,.*"internalPoints":\["3500,500,0"\]' '1 found, 1 total' 'Saved ' 'ERASE' '^6$' '^((0 . "CIRCLE")'; do
    if ! grep -q "$expected" "$work/out"; then
        echo "the session did not show: $expected"; cat "$work/out"; exit 1
    fi
done
if grep -q -e '\*Cancel\*' -e 'Unknown command' -e 'Command failed' "$work/out"; then
    echo "the session went wrong:"; cat "$work/out"; exit 1
fi
/usr/bin/python3 - "$work/annex.dxf" "$sample" <<'PY'
import sys, ezdxf
doc = ezdxf.readfile(sys.argv[1])
auditor = doc.audit()
auditor.print_error_report()
assert not auditor.has_errors
sketch = [e.dxftype() for e in doc.modelspace() if e.dxf.layer == 'Sketch']
before = len(ezdxf.readfile(sys.argv[2]).modelspace())
assert doc.layers.get('Sketch').color == 4
# The triangle (3 lines), circle, the polyline exploded into 3 lines and an arc, the rectangle and its offset,
# text, arc, ellipse, the point and its copy (the mirrored copy was erased): all on the layer made first.
# Then LISP: a circle by entmake (radius from a loop) and a line by command; last the triangle hatched.
assert sorted(sketch) == sorted(['LINE'] * 7 + ['ARC'] * 2 + ['LWPOLYLINE'] * 2 + ['CIRCLE'] * 2 + ['TEXT', 'ELLIPSE', 'POINT', 'POINT', 'HATCH']), sorted(sketch)
hatch = doc.modelspace().query('HATCH[layer=="Sketch"]')[0]
assert hatch.dxf.color == 1 and hatch.dxf.pattern_name == 'ANSI31' and hatch.dxf.associative == 1
# The triangle drawn over the plan: its lines bound the hatch together with the plan's walls and furniture.
sources = [doc.entitydb[h] for h in hatch.paths[0].source_boundary_objects]
assert sum(e.dxftype() == 'LINE' and e.dxf.layer == 'Sketch' for e in sources) == 2, sources
assert [c.dxf.radius for c in doc.modelspace().query('CIRCLE') if c.dxf.center.x == 9000] == [300.0]
assert len(doc.modelspace()) == before + len(sketch), (len(doc.modelspace()), before, len(sketch))
assert doc.header['$CECOLOR'] == 1
PY
echo "shell session: ok"
