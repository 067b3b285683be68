#!/usr/bin/python3
"""Our pictures against ezdxf's drawing add-on (its matplotlib backend), an independent renderer.

Each case is a small drawing made with ezdxf; both programs draw it into the same window at the same size, and
their ink is compared: nearly all of our ink must lie within a few pixels of ezdxf's and the other way round.
Both draw text in DejaVu Sans (matplotlib's own font, ours by choice); line widths differ (each program has its
own scale for them), which the tolerance covers. Usage: render_vs_ezdxf.py VELA_ASSIST [CASE...]
"""
import logging
import os
import subprocess
import sys
import tempfile

import matplotlib

matplotlib.use("Agg")
# ezdxf asks matplotlib for the drawing's font names first; that they are missing is expected.
logging.getLogger("matplotlib.font_manager").setLevel(logging.ERROR)
import ezdxf  # noqa: E402
import matplotlib.image as mpimg  # noqa: E402
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402
from ezdxf.addons.drawing import Frontend, RenderContext  # noqa: E402
from ezdxf.addons.drawing.matplotlib import MatplotlibBackend  # noqa: E402

WIDTH, HEIGHT = 400, 300
WINDOW = (-10.0, -10.0, 150.0, 110.0)  # x0, y0, x1, y1: 4:3 like the picture
TOLERANCE_PX = 3
REQUIRED = 0.9


def curves(doc, msp):
    msp.add_line((0, 0), (100, 80), dxfattribs={"color": 1})
    msp.add_circle((30, 60), 20, dxfattribs={"color": 3})
    msp.add_arc((100, 30), 25, 30, 250, dxfattribs={"color": 5})
    msp.add_ellipse((70, 80), major_axis=(30, 10), ratio=0.4, start_param=0.5, end_param=5.0)
    msp.add_spline([(0, 90), (20, 100), (50, 85), (80, 100), (130, 90)])
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
    msp.add_xline((0, 0), (1, 1), dxfattribs={"color": 3})


def texts(doc, msp):
    from ezdxf.enums import TextEntityAlignment
    msp.add_text("LEFT", dxfattribs={"height": 8}).set_placement((0, 0))
    msp.add_text("MIDDLE", dxfattribs={"height": 8, "rotation": 30}).set_placement(
        (70, 30), align=TextEntityAlignment.MIDDLE_CENTER)
    msp.add_text("TOP RIGHT", dxfattribs={"height": 6, "width": 1.5}).set_placement(
        (140, 100), align=TextEntityAlignment.TOP_RIGHT)
    msp.add_text("ALIGNED", dxfattribs={"height": 5}).set_placement(
        (0, 60), (60, 80), align=TextEntityAlignment.ALIGNED)
    msp.add_mtext("Two\\Plines", dxfattribs={"char_height": 6, "attachment_point": 5}).set_location((110, 60))


CASES = [("curves", curves), ("polylines", polylines), ("hatches", hatches), ("blocks", blocks),
         ("linetypes", linetypes), ("fills_and_frames", fills_and_frames),
         ("texts", texts)]


def ink_mask(path):
    image = mpimg.imread(path)[:, :, :3]
    if image.dtype != np.float32 and image.dtype != np.float64:
        image = image / 255.0
    flat = image.reshape(-1, 3)
    colors, counts = np.unique(np.round(flat * 255).astype(int), axis=0, return_counts=True)
    background = colors[np.argmax(counts)] / 255.0
    return np.abs(image - background).max(axis=2) > 0.15


def grow(mask, radius):
    out = mask.copy()
    for dy in range(-radius, radius + 1):
        for dx in range(-radius, radius + 1):
            if dx * dx + dy * dy > radius * radius:
                continue
            out |= np.roll(np.roll(mask, dy, axis=0), dx, axis=1)
    return out


def draw_with_ezdxf(doc, path):
    fig = plt.figure(figsize=(WIDTH / 100, HEIGHT / 100), dpi=100)
    ax = fig.add_axes([0, 0, 1, 1])
    Frontend(RenderContext(doc), MatplotlibBackend(ax)).draw_layout(doc.modelspace(), finalize=False)
    ax.set_xlim(WINDOW[0], WINDOW[2])
    ax.set_ylim(WINDOW[1], WINDOW[3])
    fig.savefig(path, dpi=100)
    plt.close(fig)


def main(argv):
    program = argv[1]
    wanted = set(argv[2:])
    failures = 0
    with tempfile.TemporaryDirectory() as work:
        for name, make in CASES:
            if wanted and name not in wanted:
                continue
            doc = ezdxf.new("R2018", setup=True)
            make(doc, doc.modelspace())
            dxf = os.path.join(work, name + ".dxf")
            doc.saveas(dxf)
            theirs, ours = os.path.join(work, name + "_ezdxf.png"), os.path.join(work, name + "_ours.png")
            draw_with_ezdxf(doc, theirs)
            window = ",".join(str(v) for v in WINDOW)
            subprocess.run([program, "render", dxf, ours, "--size", f"{WIDTH}x{HEIGHT}", "--window", window,
                            "--no-lineweights"], check=True, stderr=subprocess.DEVNULL)
            a, b = ink_mask(ours), ink_mask(theirs)
            if a.shape != b.shape:
                print(f"{name}: sizes differ {a.shape} {b.shape}")
                failures += 1
                continue
            ours_near = (a & grow(b, TOLERANCE_PX)).sum() / max(a.sum(), 1)
            theirs_near = (b & grow(a, TOLERANCE_PX)).sum() / max(b.sum(), 1)
            ok = ours_near >= REQUIRED and theirs_near >= REQUIRED and a.sum() > 0
            print(f"{name}: {ours_near:.3f} of our ink near theirs, {theirs_near:.3f} of theirs near ours"
                  f" ({a.sum()} / {b.sum()} pixels){'' if ok else '  FAIL'}")
            if not ok:
                failures += 1
                if os.environ.get("KEEP_PICTURES"):
                    keep = os.environ["KEEP_PICTURES"]
                    os.makedirs(keep, exist_ok=True)
                    for f in (theirs, ours):
                        os.replace(f, os.path.join(keep, os.path.basename(f)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
