#!/usr/bin/python3
"""Write examples/floor_plan.dxf: a small flat (living room, bedroom, bathroom) in millimetres.

Usage: /usr/bin/python3 make_floor_plan.py [OUTPUT.dxf]     (default: floor_plan.dxf beside this script)

Walls are closed LWPOLYLINEs cut at the openings, doors and windows are block references placed in the
openings, furniture comes from a few blocks, rooms are labelled with MTEXT (name and floor area), the wall
cross-sections are hatched, the bathroom floor is tiled, and the main sizes are dimensioned. Built with ezdxf;
the output is the same byte for byte on every run, so the checked-in file only changes when this script does.
"""
from __future__ import annotations

import os
import sys

import ezdxf
from ezdxf.enums import MTextEntityAlignment, TextEntityAlignment

ezdxf.options.write_fixed_meta_data_for_testing = True  # fixed $TDCREATE/$TDUPDATE and GUIDs

EXT = 250  # exterior wall thickness
INT = 100  # interior wall thickness
W, H = 10000, 7000  # outside dimensions of the flat
XI = 6000  # interior wall between living room and the bedroom/bathroom side (its left face)
YI = 3500  # interior wall between bathroom (below) and bedroom (above) (its lower face)


def setup_document():
    doc = ezdxf.new("R2018", setup=True, units=ezdxf.units.MM)
    doc.header["$LTSCALE"] = 20.0  # linetypes are defined for paper millimetres; the plan is plotted at 1:50
    doc.header["$PSLTSCALE"] = 1
    doc.header["$INSBASE"] = (0, 0, 0)
    layers = [
        # name, color, linetype, lineweight (1/100 mm)
        ("Walls", 7, "Continuous", 50),
        ("Doors", 3, "Continuous", 25),
        ("Windows", 4, "Continuous", 25),
        ("Furniture", 8, "Continuous", 18),
        ("Dimensions", 2, "Continuous", 18),
        ("Text", 7, "Continuous", 25),
        ("Hatch", 9, "Continuous", 13),
        ("Axes", 1, "CENTER", 13),
    ]
    for name, color, linetype, lineweight in layers:
        doc.layers.add(name, color=color, linetype=linetype, lineweight=lineweight)
    doc.layers.get("Axes").dxf.plot = 0  # construction lines, shown on screen only
    doc.layers.get("Hatch").transparency = 0.4
    doc.styles.add("Plan Text", font="DejaVuSans.ttf")

    dim = doc.dimstyles.new("PLAN_50")
    dim.dxf.update(
        {
            "dimscale": 50,  # sizes below are paper millimetres at 1:50
            "dimtxt": 2.5,
            "dimasz": 2.0,
            "dimexe": 1.5,
            "dimexo": 2.0,
            "dimgap": 0.8,
            "dimdec": 0,
            "dimtad": 1,
            "dimtih": 0,
            "dimtoh": 0,
            "dimclrd": 2,
            "dimclre": 2,
            "dimclrt": 7,
            "dimtxsty": "Plan Text",
        }
    )
    dim.set_arrows(blk=ezdxf.ARROWS.architectural_tick)
    return doc


# ------------------------------------------------------------------------------------------------------------
# Blocks
# ------------------------------------------------------------------------------------------------------------


def define_blocks(doc) -> None:
    # Door of 1000 mm: hinge at the origin, closed leaf along +x, open leaf along +y, swing arc between.
    # Inserted with a uniform scale of width/1000 so the leaf keeps its proportions.
    door = doc.blocks.new("DOOR")
    door.add_lwpolyline([(0, 0), (40, 0), (40, 1000), (0, 1000)], close=True)
    door.add_arc((0, 0), 1000, 0, 90, dxfattribs={"linetype": "DASHED", "ltscale": 0.5})
    door.add_line((1000, 0), (1000, 60))  # strike-side stop
    door.add_attdef(
        "DOOR_NO", (120, 80), text="D?", dxfattribs={"height": 120, "layer": "Text"}
    ).is_invisible = True

    # Window of 1000 mm in a wall of 250 mm: frame, sill line and double glazing; x-scale sets the width.
    window = doc.blocks.new("WINDOW")
    window.add_lwpolyline([(0, 0), (1000, 0), (1000, EXT), (0, EXT)], close=True)
    window.add_line((0, 110), (1000, 110))
    window.add_line((0, 140), (1000, 140))
    window.add_line((0, -60), (1000, -60), dxfattribs={"color": 0})  # sill, takes the INSERT's color

    bed = doc.blocks.new("BED_1600")
    bed.add_lwpolyline([(0, 0), (1600, 0), (1600, 2000), (0, 2000)], close=True)
    bed.add_lwpolyline(
        [(60, 1580), (760, 1580), (760, 1940), (60, 1940)], close=True, dxfattribs={"const_width": 0}
    )
    bed.add_lwpolyline([(840, 1580), (1540, 1580), (1540, 1940), (840, 1940)], close=True)
    bed.add_line((0, 1450), (1600, 1450))
    bed.add_lwpolyline([(0, 1450), (400, 1100, -0.3), (1600, 1000)], dxfattribs={"linetype": "DASHED2"})

    table = doc.blocks.new("TABLE_4")
    table.add_lwpolyline([(0, 0), (1400, 0), (1400, 800), (0, 800)], close=True)
    for x, y, rot in ((350, -150, 0), (1050, -150, 0), (350, 950, 180), (1050, 950, 180)):
        table.add_blockref("CHAIR", (x, y), dxfattribs={"rotation": rot})

    chair = doc.blocks.new("CHAIR")  # origin at the front edge centre, facing +y
    chair.add_lwpolyline([(-225, -400), (225, -400), (225, 0), (-225, 0)], close=True)
    chair.add_lwpolyline([(-225, -400), (225, -400), (225, -330), (-225, -330)], close=True)

    sofa = doc.blocks.new("SOFA_3")
    sofa.add_lwpolyline([(0, 0), (2200, 0), (2200, 900), (0, 900)], close=True)
    sofa.add_lwpolyline([(0, 700), (2200, 700)])
    sofa.add_line((200, 0), (200, 700))
    sofa.add_line((2000, 0), (2000, 700))
    sofa.add_line((800, 0), (800, 700))
    sofa.add_line((1400, 0), (1400, 700))

    wardrobe = doc.blocks.new("WARDROBE")
    wardrobe.add_lwpolyline([(0, 0), (1800, 0), (1800, 600), (0, 600)], close=True)
    wardrobe.add_line((900, 0), (900, 600))
    wardrobe.add_line((0, 600), (1800, 0), dxfattribs={"linetype": "DASHED2"})

    wc = doc.blocks.new("WC")
    wc.add_lwpolyline([(-200, 0), (200, 0), (200, 180), (-200, 180)], close=True)
    wc.add_ellipse((0, 430), major_axis=(0, 250), ratio=0.72)

    basin = doc.blocks.new("BASIN")
    basin.add_lwpolyline([(-300, 0), (300, 0), (300, 450), (-300, 450)], close=True)
    basin.add_ellipse((0, 230), major_axis=(220, 0), ratio=0.7)
    basin.add_circle((0, 80), 20)

    shower = doc.blocks.new("SHOWER_900")
    shower.add_lwpolyline([(0, 0), (900, 0), (900, 900), (0, 900)], close=True)
    shower.add_line((0, 0), (900, 900))
    shower.add_line((0, 900), (900, 0))
    shower.add_circle((450, 450), 45)


# ------------------------------------------------------------------------------------------------------------
# Walls, openings
# ------------------------------------------------------------------------------------------------------------


def wall_segments(x0, y0, x1, y1, openings):
    """Rectangles of a straight wall (x0,y0)-(x1,y1) without its openings (start, end along the wall)."""
    horizontal = (x1 - x0) >= (y1 - y0)
    lo, hi = (x0, x1) if horizontal else (y0, y1)
    cuts = [lo]
    for a, b in sorted(openings):
        cuts += [a, b]
    cuts.append(hi)
    for a, b in zip(cuts[::2], cuts[1::2]):
        if b > a:
            yield [(a, y0), (b, y0), (b, y1), (a, y1)] if horizontal else [(x0, a), (x1, a), (x1, b), (x0, b)]


def draw(doc) -> None:
    msp = doc.modelspace()

    # Openings as (start, end) along each wall; doors: (start, end, hinge side, swing side).
    south_windows = [(3000, 4800), (7500, 8500)]
    south_door = (1000, 1900)
    north_windows = [(1500, 3500), (7200, 9000)]
    west_windows = [(2500, 4000)]
    east_windows = [(4500, 6000)]
    bedroom_door = (4800, 5600)  # in the interior wall at x = XI, along y
    bathroom_door = (1200, 1900)

    walls = [
        (0, 0, W, EXT, [south_door] + south_windows),
        (0, H - EXT, W, H, north_windows),
        (0, EXT, EXT, H - EXT, west_windows),
        (W - EXT, EXT, W, H - EXT, east_windows),
        (XI, EXT, XI + INT, H - EXT, [bathroom_door, bedroom_door]),
        (XI + INT, YI, W - EXT, YI + INT, []),
    ]
    outlines = []
    for x0, y0, x1, y1, openings in walls:
        for rect in wall_segments(x0, y0, x1, y1, openings):
            msp.add_lwpolyline(rect, close=True, dxfattribs={"layer": "Walls"})
            outlines.append(rect)

    # Wall cross-sections hatched, one loop per wall piece.
    hatch = msp.add_hatch(dxfattribs={"layer": "Hatch"})
    hatch.set_pattern_fill("ANSI31", color=256, scale=10.0)
    for rect in outlines:
        hatch.paths.add_polyline_path(rect, is_closed=True)

    # Tiled bathroom floor, leaving out the shower tray.
    tiles = msp.add_hatch(dxfattribs={"layer": "Hatch"})
    tiles.set_pattern_fill("NET", color=256, scale=100.0)  # 317.5 mm tiles
    tiles.paths.add_polyline_path([(XI + INT, EXT), (W - EXT, EXT), (W - EXT, YI), (XI + INT, YI)], flags=1)
    sx, sy = W - EXT - 900, YI - 900
    tiles.paths.add_polyline_path([(sx, sy), (sx + 900, sy), (sx + 900, sy + 900), (sx, sy + 900)], flags=16)

    # Doors: INSERT of the 1000 mm door, scaled to the opening; mirrored by a negative x-scale where needed.
    def door(name, hinge, width, rotation, mirrored=False):
        s = width / 1000
        ref = msp.add_blockref(
            "DOOR",
            hinge,
            dxfattribs={"layer": "Doors", "xscale": -s if mirrored else s, "yscale": s, "rotation": rotation},
        )
        ref.add_auto_attribs({"DOOR_NO": name})

    door("D1", (south_door[0], EXT), south_door[1] - south_door[0], 0)
    # The bedroom door hinges at its lower jamb and the bathroom door at its upper one; both open away from
    # the living room, so one of them is the mirror image of the other.
    door("D2", (XI + INT, bedroom_door[0]), bedroom_door[1] - bedroom_door[0], 270, mirrored=True)
    door("D3", (XI + INT, bathroom_door[1]), bathroom_door[1] - bathroom_door[0], 270)

    # Windows: the block spans the wall thickness in +y; walls on the west/east turn it by 90 degrees.
    for a, b in south_windows:
        msp.add_blockref("WINDOW", (a, 0), dxfattribs={"layer": "Windows", "xscale": (b - a) / 1000})
    for a, b in north_windows:
        msp.add_blockref(
            "WINDOW", (b, H), dxfattribs={"layer": "Windows", "xscale": (b - a) / 1000, "rotation": 180}
        )
    for a, b in west_windows:
        msp.add_blockref(
            "WINDOW", (0, b), dxfattribs={"layer": "Windows", "xscale": (b - a) / 1000, "rotation": 270}
        )
    for a, b in east_windows:
        msp.add_blockref(
            "WINDOW", (W, a), dxfattribs={"layer": "Windows", "xscale": (b - a) / 1000, "rotation": 90}
        )

    # Furniture.
    furniture = [
        ("SOFA_3", (800, 5600), 0),
        ("TABLE_4", (2800, 1600), 0),
        ("BED_1600", (7400, 6750 - 2000), 0),
        ("WARDROBE", (7600, YI + INT), 0),
        ("WC", (W - EXT, 700), 90),
        ("BASIN", (7000, EXT), 0),
        ("SHOWER_900", (W - EXT - 900, YI - 900), 0),
    ]
    for name, insert, rotation in furniture:
        msp.add_blockref(name, insert, dxfattribs={"layer": "Furniture", "rotation": rotation})
    msp.add_circle((4700, 5300), 400, dxfattribs={"layer": "Furniture"})  # round side table
    msp.add_lwpolyline(  # kitchen counter along the west wall
        [(EXT, 4300), (EXT + 600, 4300), (EXT + 600, 6750), (EXT, 6750)], dxfattribs={"layer": "Furniture"}
    )
    msp.add_line((EXT, 4300), (EXT + 350, 6750), dxfattribs={"layer": "Furniture", "linetype": "DASHED2"})

    # Room names with floor areas.
    # Room: name, interior rectangle (for the area), label position in free floor space.
    rooms = [
        ("Living room", (EXT, EXT, XI, H - EXT), (3100, 3500)),
        ("Bedroom", (XI + INT, YI + INT, W - EXT, H - EXT), (6750, 6150)),
        ("Bathroom", (XI + INT, EXT, W - EXT, YI), (7800, 2200)),
    ]
    for name, (x0, y0, x1, y1), at in rooms:
        area = (x1 - x0) * (y1 - y0) / 1e6
        label = msp.add_mtext(
            f"{{\\fDejaVu Sans|b1;{name}}}\\P{area:.2f} m²",
            dxfattribs={"layer": "Text", "char_height": 180, "width": 2000, "style": "Plan Text"},
        )
        label.set_location(at, attachment_point=MTextEntityAlignment.MIDDLE_CENTER)
    title = msp.add_text(
        "Flat, ground floor - scale 1:50", height=250, dxfattribs={"layer": "Text", "style": "Plan Text"}
    )
    title.set_placement((0, -1500), align=TextEntityAlignment.LEFT)
    msp.add_text("N", height=300, dxfattribs={"layer": "Text"}).set_placement(
        (W + 1300, H), align=TextEntityAlignment.BOTTOM_CENTER
    )
    msp.add_lwpolyline(
        [(W + 1200, H - 600), (W + 1300, H - 100), (W + 1400, H - 600)], dxfattribs={"layer": "Text"}
    )

    # Wall axes, construction only.
    for x in (EXT / 2, XI + INT / 2, W - EXT / 2):
        msp.add_line((x, -500), (x, H + 500), dxfattribs={"layer": "Axes"})
    for y in (EXT / 2, YI + INT / 2, H - EXT / 2):
        msp.add_line((-500, y), (W + 500, y), dxfattribs={"layer": "Axes"})

    # Dimensions: overall sizes outside, room sizes inside.
    def dim(base, p1, p2, angle=0):
        msp.add_linear_dim(
            base=base, p1=p1, p2=p2, angle=angle, dimstyle="PLAN_50", dxfattribs={"layer": "Dimensions"}
        ).render()

    dim((0, -800), (0, 0), (W, 0))
    dim((-800, 0), (0, 0), (0, H), angle=90)
    dim((0, -400), (0, 0), (XI + INT / 2, 0))  # chains to the interior wall axis
    dim((0, -400), (XI + INT / 2, 0), (W, 0))
    dim((W + 500, 0), (W, 0), (W, YI + INT / 2), angle=90)
    dim((W + 500, 0), (W, YI + INT / 2), (W, H), angle=90)
    msp.add_aligned_dim(
        p1=(south_door[0], EXT),
        p2=(south_door[1], EXT),
        distance=-600,
        dimstyle="PLAN_50",
        dxfattribs={"layer": "Dimensions"},
    ).render()


def main(argv: list[str]) -> int:
    out = (
        argv[1]
        if len(argv) > 1
        else os.path.join(os.path.dirname(os.path.abspath(__file__)), "floor_plan.dxf")
    )
    doc = setup_document()
    define_blocks(doc)
    draw(doc)
    auditor = doc.audit()
    if auditor.has_errors or auditor.has_fixes:
        auditor.print_error_report()
        auditor.print_fixed_errors()
        print("floor plan: ezdxf audit is not clean", file=sys.stderr)
        return 1
    # ezdxf registers CLASS entries for the entity types in use by iterating a set, whose order changes from
    # run to run; registering them first in sorted order keeps the CLASSES section stable.
    for dxftype in sorted(doc.entitydb.dxf_types_in_use()):
        doc.classes.add_class(dxftype)
    doc.saveas(out)
    msp_count = len(doc.modelspace())
    block_count = sum(len(b) for b in doc.blocks if not b.block_record.is_any_layout)
    print(f"{out}: {os.path.getsize(out)} bytes, {msp_count} model space entities, {block_count} in blocks")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
