#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes VELA AI Assist's bundled linetype (.lin) and hatch pattern (.pat) files.

Every definition is built here from a few numbers in inches; the metric files are the same definitions
times 25.4. Edit this script, run it, and commit the script together with the files it writes:

    python3 support/generate_support_files.py            # rewrite the files beside this script
    python3 support/generate_support_files.py --check    # fail if the files are not what it would write
"""

import argparse
import math
import pathlib
import sys

MM_PER_INCH = 25.4

# --- Linetypes -------------------------------------------------------------------------------------

# The classic drafting linetypes are built from quarter-inch steps: a long dash of five steps, a short
# dash of two, a gap of one, and a dot.
Q = 0.25

# name, words for the description, elements at base size (> 0 dash, < 0 gap, 0 dot)
LINETYPES = [
    ("DASHED", "Dashed", [2 * Q, -Q]),
    ("HIDDEN", "Hidden", [Q, -Q / 2]),
    ("CENTER", "Center", [5 * Q, -Q, Q, -Q]),
    ("PHANTOM", "Phantom", [5 * Q, -Q, Q, -Q, Q, -Q]),
    ("DASHDOT", "Dash dot", [2 * Q, -Q, 0.0, -Q]),
    ("DOT", "Dot", [0.0, -Q]),
    ("DIVIDE", "Divide", [2 * Q, -Q, 0.0, -Q, 0.0, -Q]),
    ("BORDER", "Border", [2 * Q, -Q, 2 * Q, -Q, 0.0, -Q]),
]

# name suffix, size factor, description suffix: "2" is half size, "X2" double size.
VARIANTS = [("", 1.0, ""), ("2", 0.5, " (.5x)"), ("X2", 2.0, " (2x)")]

# --- Hatch patterns --------------------------------------------------------------------------------

# Section lining is drawn with lines an eighth of an inch apart; the other patterns are multiples of it.
S = 0.125


def family(angle, spacing, shift=0.0, offset=0.0, dashes=()):
    """A family of parallel lines at `angle` degrees, `spacing` apart, each line shifted `shift` along
    its direction from the one before, the whole family moved `offset` perpendicular to the lines."""
    a = math.radians(angle)
    origin = (-offset * math.sin(a), offset * math.cos(a))
    return {"angle": angle, "origin": origin, "delta": (shift, spacing), "dashes": list(dashes)}


# name, description, line families (inch)
PATTERNS = [
    # SOLID is filled, not drawn with lines. It keeps one line family for programs that cannot fill;
    # VELA ignores it.
    ("SOLID", "Solid fill", [family(45, S)]),
    ("ANSI31", "ANSI iron, general section lining", [family(45, S)]),
    ("ANSI32", "ANSI steel", [family(45, 3 * S), family(45, 3 * S, offset=S)]),
    ("ANSI33", "ANSI bronze, brass, copper",
     [family(45, 2 * S), family(45, 2 * S, offset=S, dashes=[S, -S / 2])]),
    ("ANSI34", "ANSI plastic, rubber", [family(45, 6 * S, offset=k * S) for k in range(4)]),
    ("ANSI35", "ANSI fire brick, refractory material",
     [family(45, 2 * S), family(45, 2 * S, offset=S, dashes=[2.5 * S, -S / 2, 0.0, -S / 2])]),
    ("ANSI36", "ANSI marble, slate, glass",
     [family(45, S, shift=1.75 * S, dashes=[2.5 * S, -S / 2, 0.0, -S / 2])]),
    ("ANSI37", "ANSI lead, zinc, magnesium, insulation", [family(45, S), family(135, S)]),
    ("ANSI38", "ANSI aluminum", [family(45, S), family(135, S, shift=2 * S, dashes=[2.5 * S, -1.5 * S])]),
    ("LINE", "Parallel horizontal lines", [family(0, S)]),
    ("NET", "Horizontal and vertical grid", [family(0, S), family(90, S)]),
    ("DOTS", "Staggered rows of dots", [family(0, S / 2, shift=S / 4, dashes=[0.0, -S / 2])]),
    ("BRICK", "Brick or masonry surface",
     [family(0, 2 * S), family(90, 2 * S, shift=2 * S, dashes=[2 * S, -2 * S])]),
]

# --- Writing ---------------------------------------------------------------------------------------

UNITS = {
    "inch": (1.0, "inches"),
    "mm": (MM_PER_INCH, "millimetres"),
}


def fmt(value):
    """Twelve significant digits: far finer than any plotter, and stable across platforms."""
    text = "%.12g" % value
    if "e" in text:
        raise ValueError("value %r needs an exponent; keep support values in a drawable range" % value)
    return "0" if text == "-0" else text


def sketch(elements):
    """A picture of the pattern in ASCII for the description, e.g. "__ __ __"."""
    one = []
    for e in elements:
        if e > 0:
            one.append("_" * max(1, round(e / Q)))
        elif e == 0:
            one.append(".")
        else:
            one.append(" " * max(1, round(-e / Q)))
    unit = "".join(one)
    picture = unit
    while len(picture) < 24:
        picture += unit
    return picture.rstrip()


def header(kind, unit_words):
    return [
        "; VELA AI Assist %s, drawing units in %s." % (kind, unit_words),
        "; This file is part of VELA AI Assist and licensed under the Apache License, Version 2.0.",
        "; SPDX-License-Identifier: Apache-2.0",
        "; Written by generate_support_files.py from its own numeric definitions: edit the script, not this file.",
        ";",
    ]


def linetype_file(unit):
    scale, words = UNITS[unit]
    out = header("linetype definitions", words)
    out += [
        "; \"*NAME,description\" is followed by \"A,length,...\": a positive length is a dash, a negative one",
        "; a gap and 0 a dot. A pattern line with only the alignment (\"A\") means a continuous line: no",
        "; pattern, which is how a drawing stores CONTINUOUS too.",
        "",
        "*CONTINUOUS,Solid line ________________________",
        "A",
        "",
    ]
    for name, title, elements in LINETYPES:
        for suffix, factor, label in VARIANTS:
            values = [e * factor * scale for e in elements]
            out.append("*%s%s,%s%s %s" % (name, suffix, title, label, sketch(elements)))
            out.append("A," + ",".join(fmt(v) for v in values))
        out.append("")
    return "\n".join(out)


def pattern_file(unit):
    scale, words = UNITS[unit]
    out = header("hatch patterns", words)
    out += [
        "; \"*NAME, description\" is followed by one line per family of parallel lines:",
        "; angle, x-origin, y-origin, delta-x, delta-y [, dash, ...]. Angles are degrees; delta-x shifts",
        "; each line along its direction, delta-y is the distance between lines; dashes are as in .lin files.",
        "; SOLID is a fill; its line family is only for programs that cannot fill.",
        "",
    ]
    for name, description, families in PATTERNS:
        out.append("*%s, %s" % (name, description))
        for f in families:
            values = [f["angle"]]
            values += [c * scale for c in f["origin"]]
            values += [c * scale for c in f["delta"]]
            values += [d * scale for d in f["dashes"]]
            out.append(", ".join(fmt(v) for v in values))
        out.append("")
    return "\n".join(out)


def files():
    return {
        "inch.lin": linetype_file("inch"),
        "mm.lin": linetype_file("mm"),
        "inch.pat": pattern_file("inch"),
        "mm.pat": pattern_file("mm"),
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent,
                        help="folder to write into (default: the folder of this script)")
    parser.add_argument("--check", action="store_true",
                        help="write nothing; exit 1 if a file differs from what would be written")
    args = parser.parse_args()

    stale = []
    for name, content in files().items():
        path = args.out / name
        if args.check:
            if not path.is_file() or path.read_text(encoding="ascii") != content:
                stale.append(name)
        else:
            path.write_text(content, encoding="ascii", newline="\n")
    if stale:
        print("out of date: " + ", ".join(stale) + " (run support/generate_support_files.py)",
              file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
