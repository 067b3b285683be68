#!/usr/bin/python3
"""Our pictures against ezdxf's drawing add-on (matplotlib), as an independent check of the renderer.

For small drawings of each family of kinds (made here with ezdxf, drawn in a fixed window), the sample plan and
the round-trip drawings (tests/dxf_roundtrip/make_drawings.py, drawn at their extents): a copy without text
(TEXT, MTEXT, attributes and attribute definitions, in every block too: fonts are not compared) and without
endless lines (ezdxf draws them a fixed length) is drawn by both at the same window and size, without
lineweights, on white. The ink masks (pixels that differ from the background) must agree: intersection over
union >= 0.9, where an inked pixel of either picture is in the intersection when both have ink within two pixels
of it (the engines' strokes differ in width and antialiasing, not in where they lie).

Usage: compare_with_ezdxf.py VELA_ASSIST [WORK_DIR]   (exit status 0 when every drawing agrees; the pictures
and masks stay in WORK_DIR when one is given)
"""

from __future__ import annotations

import pathlib
import subprocess
import sys
import tempfile

import ezdxf
import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from ezdxf import bbox  # noqa: E402
from ezdxf.addons.drawing import Frontend, RenderContext  # noqa: E402
from ezdxf.addons.drawing.config import Configuration  # noqa: E402
from ezdxf.addons.drawing.matplotlib import MatplotlibBackend  # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
WIDTH, HEIGHT = 800, 600
LEFT_OUT = {"TEXT", "MTEXT", "ATTRIB", "ATTDEF", "XLINE", "RAY"}
THRESHOLD = 0.9
KINDS_WINDOW = (-10.0, -10.0, 150.0, 110.0)  # x1, y1, x2, y2: 4:3 like the picture


def curves(doc, msp):
    msp.add_line((0, 0), (100, 80), dxfattribs={"color": 1})
    msp.add_circle((30, 60), 20, dxfattribs={"color": 3})
    msp.add_arc((100, 30), 25, 30, 250, dxfattribs={"color": 5})
    msp.add_ellipse((70, 80), major_axis=(30, 10), ratio=0.4, start_param=0.5, end_param=5.0)
    # By control points: a spline given only by fit points has end tangents each program estimates its own way.
    msp.add_open_spline([(0, 90), (20, 100), (50, 85), (80, 100), (130, 90)])
    # Planes facing down: their object X axis is the world's -X, so their points and angles are mirrored.
    msp.add_arc((-120, 80), 15, 0, 120, dxfattribs={"extrusion": (0, 0, -1)})
    msp.add_lwpolyline([(-140, 20, 0, 0, 0.6), (-110, 40)], dxfattribs={"extrusion": (0, 0, -1), "color": 6})


def polylines(doc, msp):
    msp.add_lwpolyline([(0, 0, 0, 0, 0.5), (40, 0, 0, 0, -1), (60, 30), (20, 50)], format="xyseb", close=True)
    msp.add_lwpolyline([(70, 10), (130, 10), (130, 60)], dxfattribs={"const_width": 4, "color": 2})
    p = msp.add_polyline2d([(0, 80), (50, 100), (100, 70)], dxfattribs={"color": 6})
    p.close(True)
    msp.add_polyline3d([(80, 80, 0), (140, 100, 5), (140, 70, 0)])


def hatches(doc, msp):
    solid = msp.add_hatch(color=4)
    solid.paths.add_polyline_path([(0, 0), (60, 0), (60, 60), (0, 60)], is_closed=True, flags=1)
    solid.paths.add_polyline_path([(20, 20), (40, 20), (40, 40), (20, 40)], is_closed=True, flags=16)
    pattern = msp.add_hatch(color=1)
    pattern.set_pattern_fill("ANSI31", scale=2.0)
    edges = pattern.paths.add_edge_path(flags=1)
    edges.add_line((70, 0), (130, 0))
    edges.add_arc((130, 30), 30, -90, 90)
    edges.add_line((130, 60), (70, 60))
    edges.add_line((70, 60), (70, 0))


def blocks(doc, msp):
    block = doc.blocks.new("MARK")
    block.add_circle((0, 0), 5)
    block.add_line((-5, -5), (5, 5))
    msp.add_blockref("MARK", (10, 10), dxfattribs={"rotation": 30, "xscale": 2, "yscale": 1})
    grid = msp.add_blockref("MARK", (60, 10))
    grid.grid(size=(3, 4), spacing=(25, 20))  # 3 rows, 4 columns
    msp.add_blockref("MARK", (20, 80), dxfattribs={"xscale": -1.5, "yscale": 1.5})


def linetypes(doc, msp):
    for i, name in enumerate(["DASHED", "CENTER", "DOT", "DASHDOT"]):
        msp.add_line((0, 10 + 25 * i), (140, 10 + 25 * i), dxfattribs={"linetype": name, "ltscale": 4})


def fills_and_frames(doc, msp):
    msp.add_solid([(0, 0), (40, 0), (0, 30), (40, 30)], dxfattribs={"color": 1})
    msp.add_trace([(50, 0), (90, 10), (50, 20), (90, 30)], dxfattribs={"color": 2})
    msp.add_3dface([(100, 0), (140, 0), (140, 30), (100, 30)])
    msp.add_mline([(0, 50), (60, 50), (60, 90), (120, 100)], dxfattribs={"scale_factor": 4})


KINDS = [("curves", curves), ("polylines", polylines), ("hatches", hatches), ("blocks", blocks),
         ("linetypes", linetypes), ("fills_and_frames", fills_and_frames)]


def without_text(source: pathlib.Path, target: pathlib.Path) -> None:
    doc = ezdxf.readfile(source)
    for layout in [doc.modelspace(), *doc.layouts_and_blocks()]:
        for entity in list(layout):
            if entity.dxftype() in LEFT_OUT:
                layout.delete_entity(entity)
            elif entity.dxftype() == "INSERT":
                for attrib in list(entity.attribs):
                    entity.attribs.remove(attrib)
                    attrib.destroy()
    doc.saveas(target)


def window_of(drawing: pathlib.Path) -> tuple[float, float, float, float] | None:
    """The model space's extents, widened by 5% and to the picture's aspect."""
    doc = ezdxf.readfile(drawing)
    box = bbox.extents(doc.modelspace())
    if not box.has_data:
        return None
    (x1, y1, _), (x2, y2, _) = box.extmin, box.extmax
    cx, cy = (x1 + x2) / 2, (y1 + y2) / 2
    w, h = max(x2 - x1, 1e-9) * 1.05, max(y2 - y1, 1e-9) * 1.05
    if w / h < WIDTH / HEIGHT:
        w = h * WIDTH / HEIGHT
    else:
        h = w * HEIGHT / WIDTH
    return cx - w / 2, cy - h / 2, cx + w / 2, cy + h / 2


def draw_with_ezdxf(drawing: pathlib.Path, window, out: pathlib.Path) -> None:
    doc = ezdxf.readfile(drawing)
    msp = doc.modelspace()
    dpi = 100
    fig = plt.figure(figsize=(WIDTH / dpi, HEIGHT / dpi), dpi=dpi)
    ax = fig.add_axes([0, 0, 1, 1])
    ctx = RenderContext(doc)
    ctx.set_current_layout(msp)
    # Given to draw_layout, or it sets up the layout again with its own (dark) background.
    properties = ctx.current_layout_properties
    properties.set_colors("#FFFFFF")
    # One pixel wide lines, as ours without lineweights (min_lineweight is in 1/300 inch; the figure has 100 dpi).
    config = Configuration.defaults().with_changes(lineweight_scaling=0.0, min_lineweight=1.5)
    Frontend(ctx, MatplotlibBackend(ax, adjust_figure=False), config=config).draw_layout(
        msp, finalize=True, layout_properties=properties)
    ax.set_aspect("auto")
    ax.set_xlim(window[0], window[2])
    ax.set_ylim(window[1], window[3])
    ax.set_axis_off()
    fig.savefig(out, dpi=dpi, facecolor="#FFFFFF")
    plt.close(fig)


def ink(path: pathlib.Path) -> np.ndarray:
    image = plt.imread(path)[:, :, :3]
    return np.abs(image - 1.0).max(axis=2) > 0.1


def widened(mask: np.ndarray) -> np.ndarray:
    out = mask.copy()
    out[1:, :] |= mask[:-1, :]
    out[:-1, :] |= mask[1:, :]
    out[:, 1:] |= mask[:, :-1]
    out[:, :-1] |= mask[:, 1:]
    return out


def compare(vela: str, original: pathlib.Path, work: pathlib.Path, window=None) -> tuple[bool, str]:
    name = original.stem
    plain = work / f"{name}.plain.dxf"
    without_text(original, plain)
    window = window or window_of(plain)
    if window is None:
        return True, "nothing to draw"
    theirs, ours = work / f"{name}.ezdxf.png", work / f"{name}.ours.png"
    draw_with_ezdxf(plain, window, theirs)
    run = subprocess.run([vela, "render", str(plain), str(ours), "--size", f"{WIDTH}x{HEIGHT}", "--window",
                          ",".join(f"{v:.12g}" for v in window), "--no-lineweights"],
                         capture_output=True, text=True)
    if run.returncode != 0:
        return False, f"render failed: {run.stderr.strip()[-300:]}"
    a, b = ink(theirs), ink(ours)
    if a.shape != b.shape:
        return False, f"sizes differ: ezdxf {a.shape}, ours {b.shape}"
    if not a.any() and not b.any():
        return True, "both empty"
    # Strokes of the two engines differ in width and antialiasing (ezdxf's slanted lines spread over three
    # pixels); where they lie must agree. An inked pixel is in the intersection when both pictures have ink
    # within two pixels of it.
    wa, wb = widened(widened(a)), widened(widened(b))
    union = a | b
    iou = (union & wa & wb).sum() / union.sum()
    only_theirs, only_ours = (a & ~wb).sum(), (b & ~wa).sum()
    detail = f"IoU {iou:.3f} (ink: ezdxf {a.sum()}, ours {b.sum()}; only ezdxf {only_theirs}, only ours {only_ours})"
    return iou >= THRESHOLD, detail


def main(argv: list[str]) -> int:
    vela = argv[1]
    keep = pathlib.Path(argv[2]) if len(argv) > 2 else None
    with tempfile.TemporaryDirectory() as tmp:
        work = keep or pathlib.Path(tmp)
        work.mkdir(parents=True, exist_ok=True)
        sources = work / "sources"
        sources.mkdir(exist_ok=True)
        subprocess.run(["/usr/bin/python3", str(ROOT / "tests/dxf_roundtrip/make_drawings.py"), str(sources)],
                       check=True, capture_output=True)
        kinds = []
        for name, make in KINDS:
            doc = ezdxf.new("R2018", setup=True)
            make(doc, doc.modelspace())
            doc.saveas(sources / f"kind_{name}.dxf")
            kinds.append(sources / f"kind_{name}.dxf")
        drawings = [*kinds, ROOT / "examples/floor_plan.dxf",
                    *sorted(d for d in sources.glob("*.dxf") if not d.stem.startswith("kind_"))]
        failed = 0
        for drawing in drawings:
            try:
                ok, detail = compare(vela, drawing, work, KINDS_WINDOW if drawing in kinds else None)
            except Exception as e:  # a drawing ezdxf cannot draw is a failure of the check, said as such
                ok, detail = False, f"check crashed: {type(e).__name__}: {e}"
            print(f"{'ok  ' if ok else 'FAIL'} {drawing.stem}: {detail}")
            failed += not ok
        print(f"{len(drawings) - failed} of {len(drawings)} drawings agree")
        return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
