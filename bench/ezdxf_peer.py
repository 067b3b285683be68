#!/usr/bin/python3
"""ezdxf as the peer of our DXF benchmarks: the same work on the same file, timed the same way.

Usage:
    /usr/bin/python3 ezdxf_peer.py FILE.dxf
        load with ezdxf.readfile, save to a temporary file; prints one JSON object:
        {"load_s", "save_s", "peak_rss_mb", "baseline_rss_mb", "entities", "objects", "file_mb", "ezdxf"}
    /usr/bin/python3 ezdxf_peer.py --query FILE.dxf LAYER [COLOR]
        load, then time msp.query('*[layer=="LAYER"]') and msp.query('*[color==COLOR]') (COLOR defaults to 1);
        prints {"load_s", "layer_query_s", "layer_hits", "color_query_s", "color_hits", "entities", ...}
    /usr/bin/python3 ezdxf_peer.py --render FILE.dxf OUT.png SIZE SECONDS
        load, then draw model space with the drawing add-on (matplotlib) into a SIZE x SIZE picture of its
        extents, entity by entity, for at most SECONDS (the whole 55 MB drawing takes far longer than a benchmark
        can wait); prints {"load_s", "drawn", "entities", "draw_s", "save_s", "projected_s"}, where projected_s is
        the time to draw every entity at the measured rate, plus the save

Times are wall-clock seconds (time.perf_counter). peak_rss_mb is the process's peak resident set size from
getrusage, which includes the interpreter and ezdxf themselves; baseline_rss_mb is that peak just before the
load, so peak - baseline is what reading the file cost. Query times are the best of 5 runs over the loaded
drawing, to keep one-off noise out of the ratio.
"""
from __future__ import annotations

import json
import os
import resource
import sys
import tempfile
import time

import ezdxf

QUERY_REPEAT = 5


def peak_rss_mb() -> float:
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024.0  # Linux reports KiB


def load(path: str):
    start = time.perf_counter()
    doc = ezdxf.readfile(path)
    return doc, time.perf_counter() - start


def best_of(fn) -> tuple[float, int]:
    best, hits = float("inf"), 0
    for _ in range(QUERY_REPEAT):
        start = time.perf_counter()
        hits = len(fn())
        best = min(best, time.perf_counter() - start)
    return best, hits


def run_load_save(path: str) -> dict:
    baseline = peak_rss_mb()
    doc, load_s = load(path)
    fd, tmp = tempfile.mkstemp(suffix=".dxf", prefix="ezdxf_peer_")
    os.close(fd)
    try:
        start = time.perf_counter()
        doc.saveas(tmp)
        save_s = time.perf_counter() - start
    finally:
        os.unlink(tmp)
    return {
        "load_s": round(load_s, 4),
        "save_s": round(save_s, 4),
        "peak_rss_mb": round(peak_rss_mb(), 1),
        "baseline_rss_mb": round(baseline, 1),
        "entities": len(doc.modelspace()),
        "objects": len(doc.entitydb),
        "file_mb": round(os.path.getsize(path) / 1e6, 2),
        "ezdxf": ezdxf.__version__,
    }


def run_query(path: str, layer: str, color: int) -> dict:
    if '"' in layer:
        raise ValueError("a layer name with a double quote cannot be written in an ezdxf query")
    doc, load_s = load(path)
    msp = doc.modelspace()
    layer_s, layer_hits = best_of(lambda: msp.query(f'*[layer=="{layer}"]'))
    color_s, color_hits = best_of(lambda: msp.query(f"*[color=={color}]"))
    return {
        "load_s": round(load_s, 4),
        "layer": layer,
        "layer_query_s": round(layer_s, 6),
        "layer_hits": layer_hits,
        "color": color,
        "color_query_s": round(color_s, 6),
        "color_hits": color_hits,
        "entities": len(msp),
        "repeat": QUERY_REPEAT,
        "peak_rss_mb": round(peak_rss_mb(), 1),
        "ezdxf": ezdxf.__version__,
    }


def run_render(path: str, out: str, size: int, seconds: float) -> dict:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    from ezdxf import bbox
    from ezdxf.addons.drawing import Frontend, RenderContext
    from ezdxf.addons.drawing.matplotlib import MatplotlibBackend

    doc, load_s = load(path)
    msp = doc.modelspace()
    box = bbox.extents(msp, fast=True)
    fig = plt.figure(figsize=(size / 100, size / 100), dpi=100)
    ax = fig.add_axes([0, 0, 1, 1])
    ctx = RenderContext(doc)
    ctx.set_current_layout(msp)
    frontend = Frontend(ctx, MatplotlibBackend(ax, adjust_figure=False))
    entities = list(msp)
    drawn = 0
    start = time.perf_counter()
    for entity in entities:
        frontend.draw_entities([entity])
        drawn += 1
        if drawn % 256 == 0 and time.perf_counter() - start > seconds:
            break
    draw_s = time.perf_counter() - start
    start = time.perf_counter()
    frontend.out.finalize()
    if box.has_data:
        ax.set_xlim(box.extmin.x, box.extmax.x)
        ax.set_ylim(box.extmin.y, box.extmax.y)
    fig.savefig(out, dpi=100)
    save_s = time.perf_counter() - start
    plt.close(fig)
    return {
        "load_s": round(load_s, 4),
        "drawn": drawn,
        "entities": len(entities),
        "draw_s": round(draw_s, 4),
        "save_s": round(save_s, 4),
        "projected_s": round(draw_s * len(entities) / max(drawn, 1) + save_s, 3),
        "ezdxf": ezdxf.__version__,
    }


USAGE = ("usage: ezdxf_peer.py FILE.dxf | ezdxf_peer.py --query FILE.dxf LAYER [COLOR]"
         " | ezdxf_peer.py --render FILE.dxf OUT.png SIZE SECONDS")


def main(argv: list[str]) -> int:
    args = argv[1:]
    try:
        if len(args) == 1 and not args[0].startswith("-"):
            result = run_load_save(args[0])
        elif args and args[0] == "--query" and len(args) in (3, 4):
            if len(args) == 4 and not args[3].lstrip("-").isdigit():
                print(f"COLOR must be an integer color index, not {args[3]!r}", file=sys.stderr)
                return 2
            color = int(args[3]) if len(args) == 4 else 1
            result = run_query(args[1], args[2], color)
        elif args and args[0] == "--render" and len(args) == 5:
            result = run_render(args[1], args[2], int(args[3]), float(args[4]))
        else:
            print(USAGE, file=sys.stderr)
            return 2
    except (IOError, ezdxf.DXFStructureError, ValueError) as exc:
        print(json.dumps({"error": f"{type(exc).__name__}: {exc}"}))
        return 1
    print(json.dumps(result))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
