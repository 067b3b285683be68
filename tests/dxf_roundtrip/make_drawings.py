#!/usr/bin/python3
"""Generate the DXF drawings that our reader/writer must round-trip without loss.

Usage: /usr/bin/python3 make_drawings.py OUTPUT_DIR

Each drawing is built with ezdxf (the reference DXF library), audited, and saved. Every drawing exercises one
area, so a failing round trip points at the part of the reader/writer that lost data:

    entities.dxf              the common graphical entities and their common properties
    tables.dxf                layers, linetypes, text styles, a dimension style, application ids
    blocks.dxf                nested blocks, attributes, anonymous blocks, array inserts, base points
    unknown.dxf               content a simple reader does not model and must pass through untouched
    legacy_r12.dxf            the oldest version still in use, no handles in the sense of later versions
    legacy_r2000_cp1252.dxf   8-bit code page text, including characters that need \\U+ escapes

The output is deterministic (fixed dates and GUIDs), so a changed file means a changed generator.
"""
from __future__ import annotations

import math
import os
import sys

import ezdxf
from ezdxf import colors
from ezdxf.enums import MTextEntityAlignment, TextEntityAlignment
from ezdxf.math import Vec3

# Same bytes on every run: fixed $TDCREATE/$TDUPDATE, GUIDs and ezdxf marker strings.
ezdxf.options.write_fixed_meta_data_for_testing = True

# A plane tilted out of the XY plane; entities on it store their coordinates in its object coordinate system.
TILTED = Vec3(0.3, -0.4, 0.866).normalize()
TILTED_2 = Vec3(-0.5, 0.5, 0.5).normalize()
FLIPPED = Vec3(0, 0, -1)  # mirrored 2D content, very common in real drawings


def new_doc(version: str = "R2018"):
    doc = ezdxf.new(version, setup=True, units=ezdxf.units.MM)
    return doc


def save(doc, folder: str, name: str) -> str:
    """Audit, refuse to write a drawing that ezdxf finds broken, then save."""
    auditor = doc.audit()
    if auditor.has_errors or auditor.has_fixes:
        auditor.print_error_report()
        auditor.print_fixed_errors()
        raise SystemExit(
            f"{name}: ezdxf audit reported {len(auditor.errors)} errors, {len(auditor.fixes)} fixes"
        )
    # ezdxf's audit checks the linetypes of entities but not of layers.
    missing = [(la.dxf.name, la.dxf.linetype) for la in doc.layers if la.dxf.linetype not in doc.linetypes]
    if missing:
        raise SystemExit(f"{name}: layers use undefined linetypes: {missing}")
    # ezdxf registers CLASS entries for the entity types in use by iterating a set, whose order changes from
    # run to run; registering them first in sorted order keeps the CLASSES section stable.
    for dxftype in sorted(doc.entitydb.dxf_types_in_use()):
        doc.classes.add_class(dxftype)
    path = os.path.join(folder, name)
    doc.saveas(path)
    return path


def add_layers(doc, layers):
    for name, attribs in layers:
        doc.layers.add(name, **attribs)


# ------------------------------------------------------------------------------------------------------------
# entities.dxf
# ------------------------------------------------------------------------------------------------------------


def make_entities(folder: str) -> str:
    doc = new_doc()
    add_layers(
        doc,
        [
            ("Geometry", dict(color=colors.WHITE)),
            ("Curves", dict(color=colors.CYAN, linetype="DASHED")),
            ("Annotation", dict(color=colors.GREEN, lineweight=18)),
            ("Fills", dict(color=8)),
            ("Tilted", dict(color=colors.MAGENTA, linetype="CENTER")),
        ],
    )
    doc.styles.add("Annotative Sans", font="DejaVuSans.ttf")
    msp = doc.modelspace()

    # LINE: each common property set on at least one entity, the rest left BYLAYER/defaults.
    msp.add_line((0, 0), (100, 0), dxfattribs={"layer": "Geometry"})
    msp.add_line((0, 0, 0), (0, 80, 12.5), dxfattribs={"layer": "Geometry", "color": colors.RED})
    ln = msp.add_line((10, 10), (90.125, 70.0625), dxfattribs={"layer": "Curves", "linetype": "CENTER"})
    ln.dxf.true_color = colors.rgb2int((255, 128, 0))
    ln.dxf.lineweight = 50
    ln.dxf.ltscale = 2.5
    ln.transparency = 0.5
    msp.add_line((-1.0e-7, 3.0e-9), (1234567.891, -987654.321), dxfattribs={"layer": "0", "thickness": 2.0})
    msp.add_line(
        (5, 5), (6, 6), dxfattribs={"layer": "Geometry", "color": colors.BYBLOCK, "linetype": "ByBlock"}
    )
    msp.add_line((7, 7), (8, 8), dxfattribs={"layer": "Geometry", "lineweight": -2, "linetype": "Continuous"})

    # CIRCLE and ARC, in the XY plane and on tilted planes (center in OCS).
    msp.add_circle((50, 50), 25, dxfattribs={"layer": "Curves"})
    msp.add_circle((0.5, -2.25, 3.0), 7.75, dxfattribs={"layer": "Tilted", "extrusion": TILTED, "color": 3})
    msp.add_circle((1, 2, 3), 1.5, dxfattribs={"layer": "Tilted", "extrusion": FLIPPED})
    msp.add_arc((150, 50), 30, 15, 165, dxfattribs={"layer": "Curves", "lineweight": 35})
    msp.add_arc(
        (150, 50), 20, 300, 60, dxfattribs={"layer": "Curves", "true_color": colors.rgb2int((1, 2, 3))}
    )
    msp.add_arc(
        (-3, 4, 5), 12, 0, 270, dxfattribs={"layer": "Tilted", "extrusion": TILTED_2, "ltscale": 0.25}
    )
    arc = msp.add_arc((10, 10), 4, 90, 180, dxfattribs={"layer": "Tilted", "extrusion": FLIPPED})
    arc.transparency = 0.2

    # LWPOLYLINE: bulges, per-vertex widths, constant width, closed and open, elevation, tilted.
    msp.add_lwpolyline(
        [(0, 100, 0, 0, 0), (50, 100, 1, 1, 0.5), (50, 150, 0, 0, -0.414213562373095), (0, 150, 0.5, 2, 0)],
        format="xyseb",
        close=True,
        dxfattribs={"layer": "Geometry", "color": 5},
    )
    msp.add_lwpolyline(
        [(100, 100), (120, 110), (140, 100), (160, 110)],
        format="xy",
        dxfattribs={"layer": "Geometry", "const_width": 0.7, "linetype": "DASHED", "ltscale": 3.0},
    )
    msp.add_lwpolyline(
        [(0, 0, 1), (10, 0, 1)],
        format="xyb",
        close=True,
        dxfattribs={"layer": "Tilted", "extrusion": TILTED, "elevation": 4.5},
    )

    # ELLIPSE: full and partial, in 3D.
    msp.add_ellipse((200, 50), major_axis=(40, 0), ratio=0.5, dxfattribs={"layer": "Curves"})
    msp.add_ellipse(
        (200, 150, 10),
        major_axis=(20, 20, 0),
        ratio=0.3,
        start_param=0.25,
        end_param=4.5,
        dxfattribs={"layer": "Curves", "color": 6, "lineweight": 13},
    )
    msp.add_ellipse((0, 0, 0), major_axis=(0, 10, 5), ratio=0.75, start_param=math.pi, end_param=math.tau)

    # POINT
    msp.add_point((1, 2, 3), dxfattribs={"layer": "Geometry"})
    msp.add_point((-50.5, 25.25), dxfattribs={"layer": "Geometry", "angle": 30.0, "color": 1})

    # TEXT: the alignments that store one or two points, plus a tilted and a styled one.
    alignments = [
        TextEntityAlignment.LEFT,
        TextEntityAlignment.CENTER,
        TextEntityAlignment.RIGHT,
        TextEntityAlignment.MIDDLE,
        TextEntityAlignment.TOP_LEFT,
        TextEntityAlignment.MIDDLE_CENTER,
        TextEntityAlignment.BOTTOM_RIGHT,
    ]
    for i, align in enumerate(alignments):
        t = msp.add_text(
            f"Align {align.name}", height=2.5, dxfattribs={"layer": "Annotation", "rotation": 10 * i}
        )
        t.set_placement((300, 10 * i), align=align)
    t = msp.add_text("Aligned between two points", height=3.0, dxfattribs={"layer": "Annotation"})
    t.set_placement((300, 100), (380, 110), align=TextEntityAlignment.ALIGNED)
    t = msp.add_text("FIT text", height=2.0, dxfattribs={"layer": "Annotation", "style": "Annotative Sans"})
    t.set_placement((300, 120), (340, 120), align=TextEntityAlignment.FIT)
    msp.add_text(
        "On a tilted plane",
        height=5,
        dxfattribs={
            "layer": "Tilted",
            "extrusion": TILTED,
            "insert": (3, 4, 5),
            "rotation": 45,
            "width": 0.8,
        },
    )
    msp.add_text(
        "Oblique, mirrored %%c25 %%p0.1 %%d",
        height=1.8,
        dxfattribs={"insert": (300, 140), "oblique": 15, "text_generation_flag": 2, "style": "OpenSans"},
    )

    # MTEXT: formatting codes and every attachment point.
    rich = (
        "{\\fArial|b1|i0|c0|p34;Bold heading}\\P"
        "Plain line with {\\C1;red} and {\\c16744448;true color} words\\P"
        "\\LUnderlined\\l, \\Ooverlined\\o, {\\H2x;double height}, {\\T1.5;tracked}, {\\Q15;slanted}\\P"
        "Stacked \\S1/2; and \\S1#4; and \\Sx^y;, non-breaking\\~space, escaped \\\\ backslash \\{braces\\}"
    )
    mt = msp.add_mtext(rich, dxfattribs={"layer": "Annotation", "char_height": 2.5, "width": 120})
    mt.set_location((400, 100), rotation=0, attachment_point=MTextEntityAlignment.TOP_LEFT)
    for i, ap in enumerate(MTextEntityAlignment):
        m = msp.add_mtext(f"Attachment {ap.name}\\Psecond line", dxfattribs={"layer": "Annotation"})
        m.set_location((400 + 40 * (i % 3), 40 * (i // 3)), rotation=5 * i, attachment_point=ap)
        m.dxf.char_height = 1.5 + i * 0.25
    long_text = " ".join(f"word{i:03d}" for i in range(120))  # > 250 chars: stored in several chunks
    msp.add_mtext(long_text, dxfattribs={"insert": (400, 200), "char_height": 1.0, "width": 60, "color": 4})

    # SPLINE: rational with explicit knots and weights, and one defined by fit points.
    ctrl = [(0, 0), (10, 20), (30, 20), (40, 0), (60, -10), (80, 5)]
    knots = [0, 0, 0, 0, 1, 2, 3, 3, 3, 3]
    weights = [1, 0.5, 2, 1, 0.75, 1]
    msp.add_rational_spline(ctrl, weights, degree=3, knots=knots, dxfattribs={"layer": "Curves"})
    closed = msp.add_open_spline([(0, 300), (20, 330), (40, 300), (20, 270)], degree=2)
    closed.dxf.layer = "Curves"
    fit = msp.add_spline([(100, 300), (120, 320), (150, 310), (170, 340)], dxfattribs={"layer": "Curves"})
    fit.dxf.start_tangent = (1, 1, 0)
    fit.dxf.end_tangent = (1, 0, 0)
    msp.add_spline([(0, 0, 0), (5, 5, 5), (10, 0, 10)], dxfattribs={"color": 2, "lineweight": 25})

    # INSERT of a block, plain, scaled/rotated, and on a tilted plane.
    mark = doc.blocks.new("MARK")
    mark.add_circle((0, 0), 2)
    mark.add_line((-3, 0), (3, 0))
    mark.add_line((0, -3), (0, 3), dxfattribs={"color": colors.BYBLOCK})
    msp.add_blockref("MARK", (500, 0), dxfattribs={"layer": "Geometry"})
    msp.add_blockref(
        "MARK",
        (520, 0, 1),
        dxfattribs={"layer": "Geometry", "xscale": 2, "yscale": -1.5, "zscale": 3, "rotation": 33},
    )
    msp.add_blockref("MARK", (1, 1, 1), dxfattribs={"layer": "Tilted", "extrusion": TILTED, "color": 4})

    # HATCH: solid with a polyline loop; ANSI31 with an edge loop of lines and arcs and an island.
    solid = msp.add_hatch(color=3, dxfattribs={"layer": "Fills"})
    solid.paths.add_polyline_path([(600, 0), (650, 0, 0.5), (650, 40), (600, 40)], is_closed=True, flags=1)
    solid.transparency = 0.3

    pattern = msp.add_hatch(dxfattribs={"layer": "Fills", "color": 1})
    pattern.set_pattern_fill("ANSI31", color=1, scale=2.0, angle=15.0)
    outer = pattern.paths.add_edge_path(flags=1)  # external
    outer.add_line((700, 0), (780, 0))
    outer.add_arc((780, 20), 20, -90, 90)
    outer.add_line((780, 40), (700, 40))
    outer.add_arc((700, 20), 20, 90, 270)
    island = pattern.paths.add_polyline_path(
        [(720, 10), (760, 10), (760, 30), (720, 30)], is_closed=True, flags=16
    )
    assert island is not None
    pattern.dxf.hatch_style = 0  # normal: islands alternate

    tilted_hatch = msp.add_hatch(
        color=5, dxfattribs={"layer": "Tilted", "extrusion": TILTED, "elevation": (0, 0, 2)}
    )
    tilted_hatch.set_pattern_fill("ANSI37", color=5, scale=0.5)
    tilted_hatch.paths.add_polyline_path([(0, 0), (10, 0), (10, 10)], is_closed=True)

    return save(doc, folder, "entities.dxf")


# ------------------------------------------------------------------------------------------------------------
# tables.dxf
# ------------------------------------------------------------------------------------------------------------


def make_tables(folder: str) -> str:
    doc = new_doc()
    # DASHED and CENTER (and the rest of ezdxf's standard set) come from setup=True.
    assert "DASHED" in doc.linetypes and "CENTER" in doc.linetypes
    doc.linetypes.add(
        "VELA_DOTDASH", pattern=[1.5, 1.0, -0.25, 0.0, -0.25], description="Dot dash __ . __ . __"
    )

    lineweights = [
        0,
        5,
        9,
        13,
        15,
        18,
        20,
        25,
        30,
        35,
        40,
        50,
        53,
        60,
        70,
        80,
        90,
        100,
        106,
        120,
        140,
        158,
        200,
        211,
    ]
    ltypes = ["Continuous", "DASHED", "CENTER", "DASHDOT", "DASHED2", "PHANTOM", "VELA_DOTDASH"]
    for i in range(60):
        layer = doc.layers.add(
            f"L{i:02d}_{['Walls', 'Doors', 'Grid', 'Notes', 'Electrical', 'Plumbing'][i % 6]}",
            color=1 + (i * 7) % 255,
            linetype=ltypes[i % len(ltypes)],
            lineweight=lineweights[i % len(lineweights)],
        )
        if i % 5 == 1:
            layer.off()
        if i % 7 == 2:
            layer.freeze()
        if i % 4 == 3:
            layer.lock()
        if i % 9 == 4:
            layer.rgb = (i * 4 % 256, 255 - i * 3, 64)
        if i % 6 == 5:
            layer.transparency = (i % 10) / 10.0
        if i % 11 == 6:
            layer.dxf.plot = 0
    doc.layers.add("Names with spaces & symbols (1)", color=2)
    doc.layers.get("Defpoints").dxf.plot = 0

    doc.styles.add("Title", font="arial.ttf").dxf.update({"height": 0, "width": 0.85, "oblique": 12.0})
    doc.styles.add("Fixed 3.5", font="isocp.shx").dxf.update(
        {"height": 3.5, "width": 1.0, "generation_flags": 2}
    )
    doc.styles.add("BigFont", font="txt.shx").dxf.bigfont = "bigfont.shx"
    doc.styles.add("Vertical", font="romans.shx").dxf.flags = 4

    dim = doc.dimstyles.new("VELA_MM")
    dim.dxf.update(
        {
            "dimtxt": 2.5,
            "dimasz": 2.0,
            "dimexe": 1.25,
            "dimexo": 0.625,
            "dimgap": 0.8,
            "dimdec": 1,
            "dimlunit": 2,
            "dimscale": 1.0,
            "dimclrd": 3,
            "dimclre": 3,
            "dimclrt": 2,
            "dimtad": 1,
            "dimtih": 0,
            "dimtoh": 0,
            "dimdsep": ord(","),
        }
    )
    dim.set_arrows(blk=ezdxf.ARROWS.closed_filled)
    dim.dxf.dimtxsty = "Title"

    for name in ("VELA", "VELA_AI", "PARTNER_APP", "ACAD_PSEXT"):
        doc.appids.add(name)

    msp = doc.modelspace()
    # One entity per layer keeps the layers "in use", as in a real drawing.
    for i, layer in enumerate(doc.layers):
        msp.add_line((0, i * 2), (50, i * 2), dxfattribs={"layer": layer.dxf.name})
    msp.add_text("Title text", height=5, dxfattribs={"style": "Title", "insert": (0, -10)})
    msp.add_text("Fixed", dxfattribs={"style": "Fixed 3.5", "insert": (0, -20)})
    msp.add_linear_dim(base=(0, -30), p1=(0, -40), p2=(50, -40), dimstyle="VELA_MM").render()
    return save(doc, folder, "tables.dxf")


# ------------------------------------------------------------------------------------------------------------
# blocks.dxf
# ------------------------------------------------------------------------------------------------------------


def make_blocks(folder: str) -> str:
    doc = new_doc()
    doc.layers.add("Blocks", color=4)
    doc.layers.add("Tags", color=2)
    msp = doc.modelspace()

    bolt = doc.blocks.new("BOLT")
    bolt.add_circle((0, 0), 3)
    bolt.add_circle((0, 0), 1.5, dxfattribs={"layer": "Blocks"})
    bolt.add_lwpolyline(
        [(-3, -3), (3, -3), (3, 3), (-3, 3)], close=True, dxfattribs={"color": colors.BYBLOCK}
    )

    plate = doc.blocks.new("PLATE", base_point=(50, 25, 0))  # base point away from the origin
    plate.add_lwpolyline([(0, 0), (100, 0), (100, 50), (0, 50)], close=True)
    for x, y in ((10, 10), (90, 10), (90, 40), (10, 40)):
        plate.add_blockref("BOLT", (x, y), dxfattribs={"rotation": 45})

    assembly = doc.blocks.new("ASSEMBLY", dxfattribs={"description": "Two plates, each with four bolts"})
    assembly.add_blockref("PLATE", (0, 0))
    assembly.add_blockref("PLATE", (0, 60), dxfattribs={"xscale": 0.5, "yscale": 0.5})
    assembly.add_text("ASSEMBLY", height=3, dxfattribs={"insert": (0, -35)})

    tag = doc.blocks.new("TAG")
    tag.add_circle((0, 0), 8)
    tag.add_attdef("NUMBER", (0, 0), dxfattribs={"height": 4, "layer": "Tags"}).set_placement(
        (0, 0), align=TextEntityAlignment.MIDDLE_CENTER
    )
    tag.add_attdef(
        "DESCRIPTION", (10, 0), text="no description", dxfattribs={"height": 2.5, "prompt": "Describe"}
    )
    hidden = tag.add_attdef("SERIAL", (10, -4), text="0000", dxfattribs={"height": 2})
    hidden.is_invisible = True
    tag.add_attdef("FIXED", (10, -8), text="VELA", dxfattribs={"height": 2}).is_const = True

    msp.add_blockref("ASSEMBLY", (0, 0), dxfattribs={"layer": "Blocks"})
    msp.add_blockref("PLATE", (200, 0), dxfattribs={"rotation": 30, "color": 1})
    msp.add_blockref("PLATE", (400, 0), dxfattribs={"xscale": -1})  # mirrored
    for i, (num, desc) in enumerate([("1", "Main bolt"), ("2", "Secondary"), ("3", "Größe M8")]):
        ref = msp.add_blockref("TAG", (30 * i, 150), dxfattribs={"layer": "Tags", "rotation": 15 * i})
        ref.add_auto_attribs({"NUMBER": num, "DESCRIPTION": desc, "SERIAL": f"{1000 + i}"})
    # An attribute added by hand, without a matching ATTDEF, as other programs write them.
    ref = msp.add_blockref("BOLT", (0, 250))
    ref.add_attrib("EXTRA", "free attribute", (5, 250), dxfattribs={"height": 1.5, "color": 3})

    # Array insert (MINSERT): rows and columns with spacing.
    arr = msp.add_blockref("BOLT", (500, 100), dxfattribs={"layer": "Blocks"})
    arr.dxf.row_count = 3
    arr.dxf.column_count = 4
    arr.dxf.row_spacing = 12.5
    arr.dxf.column_spacing = 10.0

    # Anonymous block, inserted once, as a group-like container.
    anon = doc.blocks.new_anonymous_block(type_char="U")
    anon.add_line((0, 0), (20, 20))
    anon.add_circle((10, 10), 5, dxfattribs={"color": 6})
    msp.add_blockref(anon.name, (300, 200))

    # Block with only a base point and an entity far away; and an empty block definition.
    far = doc.blocks.new("FAR_BASE", base_point=(-1000, 2000, 5))
    far.add_point((-1000, 2000, 5))
    far.add_text("at base", dxfattribs={"insert": (-995, 2000, 5), "height": 1})
    msp.add_blockref("FAR_BASE", (0, 400, 0), dxfattribs={"zscale": 2})
    doc.blocks.new("EMPTY")
    msp.add_blockref("EMPTY", (10, 400))
    return save(doc, folder, "blocks.dxf")


# ------------------------------------------------------------------------------------------------------------
# unknown.dxf
# ------------------------------------------------------------------------------------------------------------


def make_unknown(folder: str) -> str:
    doc = new_doc()
    doc.layers.add("Dims", color=3)
    doc.layers.add("Legacy", color=1)
    for app in ("VELA", "PARTNER_APP", "THIRD"):
        doc.appids.add(app)
    msp = doc.modelspace()

    # DIMENSION with its geometry in an anonymous *D block.
    base = msp.add_line((0, 0), (100, 0))
    dim = msp.add_linear_dim(
        base=(50, 20), p1=(0, 0), p2=(100, 0), dimstyle="EZDXF", dxfattribs={"layer": "Dims"}
    )
    dim.render()
    msp.add_aligned_dim(p1=(0, 0), p2=(60, 40), distance=10, dxfattribs={"layer": "Dims"}).render()
    msp.add_radius_dim((200, 0), radius=25, angle=45, dxfattribs={"layer": "Dims"}).render()

    # LEADER with MTEXT annotation text.
    note = msp.add_mtext(
        "See detail A", dxfattribs={"insert": (160, 60), "char_height": 2.5, "layer": "Dims"}
    )
    leader = msp.add_leader([(120, 20), (140, 50), (158, 60)], dxfattribs={"layer": "Dims"})
    leader.dxf.annotation_handle = note.dxf.handle

    # IMAGE and its IMAGEDEF object (the file need not exist for the round trip).
    image_def = doc.add_image_def(filename="images/site_photo.png", size_in_pixel=(640, 480))
    image = msp.add_image(image_def, insert=(0, 100), size_in_units=(64, 48), rotation=5)
    image.dxf.brightness = 60
    image.dxf.contrast = 40
    image.set_boundary_path([(0, 0), (600, 0), (640, 240), (320, 480), (0, 400)])

    # XDATA with several applications and every common data type.
    line = msp.add_line((0, -50), (100, -50), dxfattribs={"layer": "Legacy"})
    line.set_xdata(
        "VELA",
        [
            (1000, "plain string"),
            (1000, "Größe ±5 °C Ø20"),
            (1002, "{"),
            (1070, 42),
            (1071, 1234567),
            (1040, 3.141592653589793),
            (1041, 12.5),
            (1042, 0.25),
            (1002, "}"),
            (1010, (1.5, 2.5, 3.5)),
            (1011, (10, 20, 30)),
            (1012, (0, 0, 1)),
            (1013, (0.5, 0.5, 0)),
            (1003, "Legacy"),
            (1005, base.dxf.handle),
            (1004, bytes.fromhex("DEADBEEF00")),
        ],
    )
    line.set_xdata("PARTNER_APP", [(1000, "id"), (1071, 99)])
    circle = msp.add_circle((0, -100), 10)
    circle.set_xdata("THIRD", [(1000, "")])  # an empty string is a value too
    circle.set_xdata("VELA", [(1040, -0.0), (1070, -32768)])

    # Extension dictionaries holding XRECORDs (and a nested dictionary).
    xdict = circle.new_extension_dict()
    rec = xdict.add_xrecord("VELA_PROPS")
    rec.reset([(1, "material"), (40, 7.85), (70, 3), (10, (1, 2, 3)), (330, base.dxf.handle), (300, "steel")])
    # ExtensionDict.add_dictionary() is broken in ezdxf 0.18 (typo in the owner handle): use the DICTIONARY.
    sub = xdict.dictionary.add_new_dict("VELA_HISTORY", hard_owned=True)
    hist = sub.add_xrecord("REV1")
    hist.reset([(1, "created"), (90, 20240101)])
    xdict2 = line.new_extension_dict()
    xdict2.add_xrecord("NOTE").reset([(1, "checked"), (290, 1)])

    # Old-style POLYLINE (2D with bulges/widths, 3D), with VERTEX and SEQEND.
    pl2d = msp.add_polyline2d(
        [(0, -200, 0.5, 1.0, 0.0), (50, -200, 0, 0, 0.5), (50, -150, 0, 0, 0), (0, -150, 0, 0, 0)],
        format="xyseb",
        close=True,
        dxfattribs={"layer": "Legacy"},
    )
    pl2d.dxf.elevation = (0, 0, 0)
    msp.add_polyline3d(
        [(100, -200, 0), (150, -200, 10), (150, -150, 20), (100, -150, 5)], dxfattribs={"color": 2}
    )
    mesh = msp.add_polyface()
    mesh.append_face([(200, -200, 0), (220, -200, 0), (220, -180, 0), (200, -180, 0)])
    mesh.append_face([(200, -200, 0), (220, -200, 0), (210, -190, 15)])

    # 3DFACE and SOLID (2D filled quad).
    face = msp.add_3dface(
        [(0, -300, 0), (50, -300, 5), (50, -250, 10), (0, -250, 5)], dxfattribs={"layer": "Legacy"}
    )
    face.dxf.invisible = 0b0101
    msp.add_3dface([(100, -300, 0), (150, -300, 0), (125, -250, 20)])
    msp.add_solid([(200, -300), (250, -300), (200, -250), (250, -250)], dxfattribs={"color": 5})
    msp.add_solid([(300, -300), (350, -300), (325, -250)], dxfattribs={"extrusion": TILTED})

    # A named group over existing entities.
    group = doc.groups.new("OUTLINE", description="Base line and its xdata line")
    group.extend([base, line, circle])
    doc.groups.new("*A1", description="unnamed group", selectable=False).extend([note, leader])

    # Paper space: two layouts, each with its own viewports and annotation.
    layout1 = doc.layouts.get("Layout1")
    layout1.page_setup(size=(420, 297), margins=(10, 10, 10, 10), units="mm")
    layout1.add_viewport(center=(150, 140), size=(250, 180), view_center_point=(50, 0), view_height=300)
    layout1.add_text("Sheet 1", height=5, dxfattribs={"insert": (20, 20)})
    layout1.add_line((10, 10), (410, 10), dxfattribs={"lineweight": 70})
    layout2 = doc.layouts.new("Details")
    layout2.page_setup(size=(297, 210), margins=(5, 5, 5, 5), units="mm")
    vp = layout2.add_viewport(center=(100, 100), size=(120, 80), view_center_point=(0, -100), view_height=60)
    vp.dxf.status = 2
    vp.dxf.view_twist_angle = 15
    layout2.add_viewport(center=(230, 100), size=(100, 80), view_center_point=(200, -200), view_height=40)
    layout2.add_mtext("Details sheet\\Pscale 1:2", dxfattribs={"insert": (20, 190), "char_height": 3.5})
    layout2.add_circle((20, 20), 5, dxfattribs={"color": 1})

    return save(doc, folder, "unknown.dxf")


# ------------------------------------------------------------------------------------------------------------
# legacy drawings
# ------------------------------------------------------------------------------------------------------------


def make_legacy_r12(folder: str) -> str:
    doc = ezdxf.new("R12", setup=True)
    doc.layers.add("WALLS", color=1, linetype="DASHED")
    doc.layers.add("TEXT", color=3)
    off = doc.layers.add("HIDDEN_STUFF", color=4)
    off.off()
    msp = doc.modelspace()
    msp.add_line((0, 0), (100, 0), dxfattribs={"layer": "WALLS"})
    msp.add_line((0, 0, 5), (0, 50, 5), dxfattribs={"layer": "WALLS", "color": 2, "linetype": "CENTER"})
    msp.add_circle((50, 25), 10, dxfattribs={"layer": "WALLS"})
    msp.add_circle((0, 0, 2), 4, dxfattribs={"extrusion": TILTED})
    msp.add_arc((50, 25), 15, 0, 135, dxfattribs={"thickness": 3})
    msp.add_point((10, 10, 10))
    msp.add_text("R12 TEXT", height=3, dxfattribs={"layer": "TEXT", "insert": (0, -10)})
    t = msp.add_text("CENTERED", height=2, dxfattribs={"layer": "TEXT"})
    t.set_placement((50, -10), align=TextEntityAlignment.MIDDLE_CENTER)
    msp.add_polyline2d([(0, 60, 0, 0, 0.5), (40, 60, 0, 0, 0), (40, 80, 0, 0, 0)], format="xyseb", close=True)
    msp.add_polyline3d([(0, 0, 0), (10, 10, 10), (20, 0, 20)], dxfattribs={"layer": "WALLS"})
    msp.add_solid([(100, 0), (120, 0), (100, 20), (120, 20)], dxfattribs={"color": 5})
    msp.add_3dface([(100, 50, 0), (120, 50, 0), (120, 70, 10), (100, 70, 10)])

    blk = doc.blocks.new("R12BLOCK", base_point=(5, 5))
    blk.add_line((0, 0), (10, 10))
    blk.add_attdef("NAME", (0, -2), dxfattribs={"height": 1.5})
    ref = msp.add_blockref("R12BLOCK", (200, 0), dxfattribs={"rotation": 90, "xscale": 2, "yscale": 2})
    ref.add_auto_attribs({"NAME": "first"})
    return save(doc, folder, "legacy_r12.dxf")


def make_legacy_r2000_cp1252(folder: str) -> str:
    doc = new_doc("R2000")
    # Windows-1252 covers "Größe ±5 °C Ø20"; characters outside it (Δ, ≤, ⌀, CJK) must become \U+XXXX escapes.
    doc.encoding = "cp1252"
    doc.layers.add("Größe", color=1)
    doc.layers.add("Maße_±", color=2, linetype="DASHED")
    doc.layers.add("Wärme °C", color=3)
    doc.layers.add("Ø-Rohre", color=4)
    msp = doc.modelspace()
    msp.add_text("Größe ±5 °C Ø20", height=2.5, dxfattribs={"layer": "Größe", "insert": (0, 0)})
    msp.add_text(
        "Maße: 12×34 mm, ¼ Zoll, © 2024", height=2.5, dxfattribs={"layer": "Maße_±", "insert": (0, 10)}
    )
    msp.add_text("Δt ≤ 3 K, ⌀20, 配管", height=2.5, dxfattribs={"layer": "Wärme °C", "insert": (0, 20)})
    msp.add_mtext(
        "Überschrift\\PRohr Ø20 – Länge 1.5 m\\PTemperatur ±5 °C, Δ≈0.1",
        dxfattribs={"layer": "Ø-Rohre", "insert": (0, 40), "char_height": 2},
    )
    msp.add_line((0, -5), (100, -5), dxfattribs={"layer": "Größe"})
    blk = doc.blocks.new("Schild_Ä")
    blk.add_attdef("BEZEICHNUNG", (0, 0), text="Größe", dxfattribs={"height": 2})
    blk.add_circle((0, 0), 5)
    msp.add_blockref("Schild_Ä", (50, 50)).add_auto_attribs({"BEZEICHNUNG": "Tür Süd"})
    return save(doc, folder, "legacy_r2000_cp1252.dxf")


MAKERS = [make_entities, make_tables, make_blocks, make_unknown, make_legacy_r12, make_legacy_r2000_cp1252]


def main(argv: list[str]) -> int:
    if len(argv) != 2:
        print(f"usage: {argv[0]} OUTPUT_DIR", file=sys.stderr)
        return 2
    folder = argv[1]
    os.makedirs(folder, exist_ok=True)
    for make in MAKERS:
        path = make(folder)
        doc = ezdxf.readfile(path)  # what we wrote must load back and audit clean as well
        auditor = doc.audit()
        if auditor.has_errors:
            auditor.print_error_report()
            print(f"{path}: reloaded drawing has audit errors", file=sys.stderr)
            return 1
        count = sum(1 for _ in doc.entitydb.values())
        print(f"{path}: {os.path.getsize(path)} bytes, {count} database objects, audit clean")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
