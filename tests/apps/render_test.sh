#!/usr/bin/env bash
# "vela-assist render" as a user runs it: pictures of a drawing ezdxf made, read back pixel by pixel, and
# refusals of bad arguments and unreadable drawings. Usage: render_test.sh VELA_ASSIST
set -euo pipefail
bin="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
py=/usr/bin/python3

# A red line (0,0)-(100,0), a blue circle far away at (1000, 1000), and a green line on a frozen layer.
"$py" - "$work/drawing.dxf" <<'EOF'
import sys, ezdxf
doc = ezdxf.new("R2018", setup=True)
msp = doc.modelspace()
msp.add_line((0, 0), (100, 0), dxfattribs={"color": 1})
msp.add_circle((1000, 1000), 10, dxfattribs={"color": 5})
doc.layers.add("Cold").freeze()
msp.add_line((0, 10), (100, 10), dxfattribs={"color": 3, "layer": "Cold"})
doc.saveas(sys.argv[1])
EOF
line_handle=$("$py" -c "import ezdxf,sys; print(ezdxf.readfile(sys.argv[1]).modelspace().query('LINE')[0].dxf.handle)" "$work/drawing.dxf")

fail() { echo "FAIL: $*"; exit 1; }

# pixel FILE X Y: "r g b" of a pixel as 0..255.
pixel() {
    "$py" -c "
import sys, matplotlib.image as m
a = m.imread(sys.argv[1]); p = a[int(sys.argv[3]), int(sys.argv[2])]
print(*[round(float(c) * 255) for c in p[:3]])" "$@"
}

# The window -50..150 by -49.5..50.5 on 200 x 100 pixels: one unit a pixel, the line through the middle of
# pixel row 50 from column 50.
"$bin" render "$work/drawing.dxf" "$work/window.png" --size 200x100 --window -50,-49.5,150,50.5 2>"$work/log" ||
    fail "render with a window: $(cat "$work/log")"
read -r r g b <<<"$(pixel "$work/window.png" 100 50)"
[ "$r" -gt 200 ] && [ "$g" -lt 120 ] && [ "$b" -lt 120 ] || fail "no red at the line's middle: $r $g $b"
[ "$(pixel "$work/window.png" 100 30)" = "255 255 255" ] || fail "ink where the frozen line would be"
[ "$(pixel "$work/window.png" 20 50)" = "255 255 255" ] || fail "ink before the line's start"

# Around the line, dark: the line spans the picture less the margin, on the dark background.
"$bin" render "$work/drawing.dxf" "$work/around.png" --size 110x51 --around "$line_handle" --dark 2>/dev/null ||
    fail "render around the line"
read -r r g b <<<"$(pixel "$work/around.png" 55 25)"
[ "$r" -gt 150 ] && [ "$g" -lt 120 ] || fail "no red at the framed line's middle: $r $g $b"
read -r r g b <<<"$(pixel "$work/around.png" 55 5)"
[ "$r" -lt 80 ] && [ "$g" -lt 80 ] && [ "$b" -lt 80 ] || fail "the background is not dark: $r $g $b"

# The extents: the circle lands in the top right corner, the line in the bottom left.
"$bin" render "$work/drawing.dxf" "$work/extents.svg" --size 300x300 2>/dev/null || fail "render as SVG"
grep -q 'stroke="#0000ff"' "$work/extents.svg" || fail "the circle's blue stroke is missing from the SVG"
grep -q 'stroke="#ff0000"' "$work/extents.svg" || fail "the line's red stroke is missing from the SVG"
"$py" -c "import xml.dom.minidom,sys; xml.dom.minidom.parse(sys.argv[1])" "$work/extents.svg" || fail "SVG not XML"

# Refusals: exit 2 for bad arguments, 1 for a drawing that cannot be read; no picture either way.
expect_exit() {
    local code="$1"
    shift
    set +e
    "$bin" render "$@" >/dev/null 2>"$work/err"
    local got=$?
    set -e
    [ "$got" = "$code" ] || fail "exit $got instead of $code for: $* ($(cat "$work/err"))"
    grep -q "vela-assist" "$work/err" || fail "no message for: $*"
}
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --size 100
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --size 0x100
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --window 1,2,3
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --window 0,0,0,5
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --around FFFFFF
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --handles "$line_handle",nothex
expect_exit 2 "$work/drawing.dxf" "$work/bad.png" --bogus
expect_exit 2 "$work/drawing.dxf" "$work/bad.jpg"
expect_exit 2 "$work/drawing.dxf"
printf 'not a drawing\n' >"$work/junk.dxf"
expect_exit 1 "$work/junk.dxf" "$work/bad.png"
expect_exit 1 "$work/missing.dxf" "$work/bad.png"
expect_exit 1 "$work/drawing.dxf" "$work/no/such/folder/bad.png"
[ ! -e "$work/bad.png" ] && [ ! -e "$work/bad.jpg" ] || fail "a refused render left a file"

# A picture of what a conversation changed: the moved red line drawn blue (changed), a new circle green, the
# erased far circle red where it was; before the first step nothing is coloured.
circle_handle=$("$py" -c "import ezdxf,sys; print(ezdxf.readfile(sys.argv[1]).modelspace().query('CIRCLE')[0].dxf.handle)" "$work/drawing.dxf")
answers=$("$bin" run "$work/drawing.dxf" 2>/dev/null <<EOF2
{"call":"TransformEntities","text":"{\\"handles\\":[\\"$line_handle\\"],\\"transformationMatrices\\":[{\\"a00\\":1,\\"a11\\":1,\\"a22\\":1,\\"a33\\":1,\\"a13\\":20}]}"}
{"call":"DeleteEntities","text":"{\\"handles\\":[\\"$circle_handle\\"]}"}
{"call":"CreateEntities","text":"{\\"entities\\":[{\\"className\\":\\"AcDbCircle\\",\\"center\\":\\"500,500\\",\\"radius\\":30}]}"}
{"render":"$work/changes.png","since":0,"size":"1100x1100","window":"-50,-50,1050,1050"}
{"render":"$work/changes.gif","since":0}
{"render":"$work/changes.png","since":4}
EOF2
)
expected='{"changed":1,"created":1,"erased":1,"ok":true}'
[ "$(echo "$answers" | sed -n 4p)" = "$expected" ] || fail "changes picture answered: $answers"
echo "$answers" | sed -n 5p | grep -q '"ok":false' || fail "a .gif picture was accepted"
echo "$answers" | sed -n 6p | grep -q 'from 0 to 3' || fail "a step beyond the history was accepted"
# One unit a pixel: (x, y) lands at column x + 50, row 1050 - y.
read -r r g b <<<"$(pixel "$work/changes.png" 100 1030)"
[ "$b" -gt 180 ] && [ $((b - r)) -gt 60 ] || fail "the moved line is not blue: $r $g $b"
read -r r g b <<<"$(pixel "$work/changes.png" 580 550)"
[ $((g - r)) -gt 60 ] && [ $((g - b)) -gt 40 ] || fail "the new circle is not green: $r $g $b"
read -r r g b <<<"$(pixel "$work/changes.png" 1060 50)"
[ $((r - g)) -gt 60 ] && [ $((r - b)) -gt 60 ] || fail "the erased circle is not red: $r $g $b"

echo "render: all pictures and refusals as expected"
