#!/usr/bin/python3
"""Our pictures against ezdxf's drawing add-on (matplotlib), as an independent check of the renderer.

For the sample plan and the round-trip drawings (tests/dxf_roundtrip/make_drawings.py): a copy without text
(TEXT, MTEXT, attributes and attribute definitions, in every block too: fonts are not compared) and without
endless lines (ezdxf draws them a fixed length) is drawn by both at the same window and size, without
lineweights, on white. The ink masks (pixels that differ from the background) must agree: intersection over
union >= 0.9, where an inked pixel of either picture is in the intersection when both have ink within one pixel
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


def compare(vela: str, original: pathlib.Path, work: pathlib.Path) -> tuple[bool, str]:
    name = original.stem
    plain = work / f"{name}.plain.dxf"
    without_text(original, plain)
    window = window_of(plain)
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
    # Strokes of the two engines differ in width and antialiasing; where they lie must agree. An inked pixel is
    # in the intersection when both pictures have ink within one pixel of it.
    wa, wb = widened(a), widened(b)
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
        drawings = [ROOT / "examples/floor_plan.dxf", *sorted(sources.glob("*.dxf"))]
        failed = 0
        for drawing in drawings:
            try:
                ok, detail = compare(vela, drawing, work)
            except Exception as e:  # a drawing ezdxf cannot draw is a failure of the check, said as such
                ok, detail = False, f"check crashed: {type(e).__name__}: {e}"
            print(f"{'ok  ' if ok else 'FAIL'} {drawing.stem}: {detail}")
            failed += not ok
        print(f"{len(drawings) - failed} of {len(drawings)} drawings agree")
        return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
