#!/usr/bin/python3
"""Write a large R2018 DXF for reader/writer benchmarks.

Usage: /usr/bin/python3 make_big_dxf.py OUTPUT.dxf [TARGET_MB]      (TARGET_MB defaults to 55)

The drawing looks like a big site plan: about 200 layers with their own colors, linetypes and lineweights, and
mostly LINE, LWPOLYLINE, CIRCLE and TEXT spread over a 2 km square, with some color/linetype overrides the way
real drawings have them. Coordinates are full-precision doubles, so number parsing and formatting get real
work.

Entities are made through ezdxf's API (fast enough: about 20 s for 55 MB here), so the file is valid by
construction; it is audited before it is written all the same. The output is the same for the same target size
(fixed random seed, fixed dates and GUIDs).
"""
from __future__ import annotations

import io
import math
import os
import random
import sys
import time

import ezdxf

ezdxf.options.write_fixed_meta_data_for_testing = True

LAYER_COUNT = 200
DISCIPLINES = [
    "A-WALL",
    "A-DOOR",
    "A-GLAZ",
    "A-FURN",
    "S-GRID",
    "S-COLS",
    "E-LITE",
    "E-POWR",
    "P-PIPE",
    "M-DUCT",
    "C-ROAD",
    "C-TOPO",
    "L-PLNT",
    "G-ANNO",
    "G-DIMS",
    "X-REF0",
]
LINETYPES = ["Continuous", "Continuous", "Continuous", "DASHED", "CENTER", "DASHDOT", "DOT", "PHANTOM"]
LINEWEIGHTS = [-3, 13, 18, 25, 35, 50, 70]
EXTENT = 2_000_000.0  # mm


def make_layers(doc) -> list[str]:
    names = []
    for i in range(LAYER_COUNT):
        name = f"{DISCIPLINES[i % len(DISCIPLINES)]}-{i:03d}"
        layer = doc.layers.add(
            name,
            color=1 + (i * 37) % 254,
            linetype=LINETYPES[i % len(LINETYPES)],
            lineweight=LINEWEIGHTS[i % len(LINEWEIGHTS)],
        )
        if i % 29 == 7:
            layer.off()
        if i % 31 == 11:
            layer.freeze()
        names.append(name)
    return names


def add_entities(msp, layers: list[str], count: int, rnd: random.Random) -> None:
    """count entities: about 40 % LINE, 30 % LWPOLYLINE, 15 % CIRCLE, 15 % TEXT, in clusters."""
    add_line, add_lwpolyline, add_circle, add_text = (
        msp.add_line,
        msp.add_lwpolyline,
        msp.add_circle,
        msp.add_text,
    )
    uniform, choice, random_ = rnd.uniform, rnd.choice, rnd.random
    cx = cy = 0.0
    for i in range(count):
        if i % 500 == 0:  # a new cluster: buildings, road sections, ...
            cx, cy = uniform(0, EXTENT), uniform(0, EXTENT)
        layer = layers[int(random_() * len(layers)) if i % 8 else (i // 8) % len(layers)]
        attribs = {"layer": layer}
        r = random_()
        if r < 0.05:
            attribs["color"] = int(uniform(1, 255))
        elif r < 0.07:
            attribs["linetype"] = "DASHED"
        x, y = cx + uniform(-20000, 20000), cy + uniform(-20000, 20000)
        kind = random_()
        if kind < 0.40:
            a, d = uniform(0, math.tau), uniform(50, 8000)
            add_line((x, y), (x + d * math.cos(a), y + d * math.sin(a)), dxfattribs=attribs)
        elif kind < 0.70:
            n = choice((2, 3, 4, 4, 5, 8, 12, 24))
            pts, px, py = [], x, y
            for _ in range(n):
                px, py = px + uniform(-3000, 3000), py + uniform(-3000, 3000)
                pts.append((px, py, 0.0, 0.0, 0.0 if random_() < 0.85 else uniform(-1, 1)))
            add_lwpolyline(pts, format="xyseb", close=random_() < 0.5, dxfattribs=attribs)
        elif kind < 0.85:
            add_circle((x, y), uniform(10, 2500), dxfattribs=attribs)
        else:
            attribs["insert"] = (x, y)
            attribs["rotation"] = choice((0.0, 0.0, 90.0, uniform(0, 360)))
            add_text(
                f"{layer} #{i} {choice(('ROOM', 'PIPE DN150', 'LUM-4', 'EL. +12.350', 'TREE', 'KERB'))}",
                height=choice((180.0, 250.0, 350.0, 500.0)),
                dxfattribs=attribs,
            )


def new_doc() -> tuple:
    doc = ezdxf.new("R2018", setup=True, units=ezdxf.units.MM)
    doc.header["$LTSCALE"] = 500.0
    layers = make_layers(doc)
    return doc, layers


def bytes_per_entity() -> tuple[float, int]:
    """Average DXF size of one entity and the size of the drawing without entities, measured on a sample."""
    sample = 5000
    doc, layers = new_doc()
    empty = io.StringIO()
    doc.write(empty)
    add_entities(doc.modelspace(), layers, sample, random.Random(7))
    full = io.StringIO()
    doc.write(full)
    return (len(full.getvalue()) - len(empty.getvalue())) / sample, len(empty.getvalue())


def main(argv: list[str]) -> int:
    if len(argv) not in (2, 3):
        print(f"usage: {argv[0]} OUTPUT.dxf [TARGET_MB]", file=sys.stderr)
        return 2
    out = argv[1]
    try:
        target_mb = float(argv[2]) if len(argv) == 3 else 55.0
    except ValueError:
        print(f"TARGET_MB must be a number, not {argv[2]!r}", file=sys.stderr)
        return 2
    if not 0 < target_mb <= 2000:
        print("TARGET_MB must be in (0, 2000]", file=sys.stderr)
        return 2
    target = int(target_mb * 1_000_000)

    t0 = time.perf_counter()
    per_entity, base = bytes_per_entity()
    count = max(1, math.ceil((target - base) / per_entity * 1.01))
    doc, layers = new_doc()
    msp = doc.modelspace()
    rnd = random.Random(20240601)
    add_entities(msp, layers, count, rnd)
    t1 = time.perf_counter()

    auditor = doc.audit()
    if auditor.has_errors or auditor.has_fixes:
        auditor.print_error_report()
        auditor.print_fixed_errors()
        print("ezdxf audit is not clean", file=sys.stderr)
        return 1
    t2 = time.perf_counter()

    for dxftype in sorted(doc.entitydb.dxf_types_in_use()):  # stable CLASSES order, see ezdxf's set iteration
        doc.classes.add_class(dxftype)
    doc.saveas(out)
    while os.path.getsize(out) < target:  # the estimate was short: top up and write again
        add_entities(msp, layers, max(100, int((target - os.path.getsize(out)) / per_entity * 1.05)), rnd)
        doc.saveas(out)
    t3 = time.perf_counter()

    size = os.path.getsize(out)
    print(
        f"{out}: {size / 1e6:.1f} MB, {len(msp)} entities on {len(layers)} layers; "
        f"build {t1 - t0:.1f} s, audit {t2 - t1:.1f} s, save {t3 - t2:.1f} s"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
