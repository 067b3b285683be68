#!/usr/bin/python3
"""Checks what run.sh made of each corpus drawing, with ezdxf as the independent reader.

For every drawing: `vela-assist info` loaded it; `vela-assist convert` wrote a file ezdxf reads (without its
recover mode) with no more audit errors than ezdxf finds in the original; every entity keeps its layer (matched
by handle; handles we had to renumber because the file used them twice are reported and left out; entities the
file gave no handle are compared as counts per block, type and layer); and the model-space extents we find are
ezdxf's `bbox.extents(msp)` to 1% of their size. Damaged copies of the ASCII drawings (damage.py) convert, with
the repairs reported, to files that ezdxf reads and that we read again without a repair.

Usage: check_corpus.py CORPUS_DIR WORK_DIR   (WORK_DIR holds run.sh's outputs; exit status 0 when all pass)
"""

from __future__ import annotations

import collections
import json
import math
import pathlib
import re
import sys

import ezdxf
from ezdxf import bbox, recover
from ezdxf.math import BoundingBox


def kept(*kinds: str) -> str:
    return "kept as they came, measured by the points they hold: " + ", ".join(kinds)


# Text is measured with our font metrics; ezdxf 0.18 estimates widths, descenders and MTEXT line wrapping its own way.
TEXT = "text measured by other font metrics"
ANNOTATIONS = ("MULTILEADER", "MLINE", "TOLERANCE", "ACAD_TABLE", "XLINE", "RAY", "WIPEOUT", "SHAPE", "IMAGE",
               "PDFUNDERLAY")

# Drawings whose model-space extents differ from ezdxf's today, each with the reason: entities of kinds we do not
# model yet (kept as they came: their box is the box of the points they hold, or none), and text. As kinds are
# modelled, entries go; a listed drawing that agrees is reported so that its entry can be dropped.
EXTENTS_EXPECTED_TO_DIFFER: dict[str, str] = {
    "acadsharp__sample_AC1009_ascii.dxf": kept("POLYLINE", "SHAPE", "blocks holding them"),
    "acadsharp__sample_AC1009_binary.dxf": kept("POLYLINE", "SHAPE", "blocks holding them"),
    "acadsharp__sample_AC1015_binary.dxf": kept("POLYLINE", *ANNOTATIONS),
    "acadsharp__sample_AC1018_ascii.dxf": kept("POLYLINE", *ANNOTATIONS),
    "acadsharp__sample_AC1024_binary.dxf": kept("POLYLINE", *ANNOTATIONS),
    "acadsharp__sample_AC1032_ascii.dxf": kept("POLYLINE", *ANNOTATIONS),
    "acadsharp__sample_AC1032_binary.dxf": kept("POLYLINE", *ANNOTATIONS),
    "dxfparser__api-cw750-details.dxf": kept("MULTILEADER", "DIMENSION"),
    "dxfparser__mleader.dxf": kept("MULTILEADER"),
    "dxfparser__mtext-test.dxf": TEXT,
    "dxfparser__polylines.dxf": kept("POLYLINE"),
    "ezdxf__3_us_main.dxf": TEXT,
    "ezdxf__Graz_10km_3m.dxf": kept("IMAGE"),
    "ezdxf__Leica_Disto_S910.dxf": TEXT,
    "ezdxf__acad_table_with_blk_ref.dxf": kept("ACAD_TABLE"),
    "ezdxf__bin_dxf_r2000.dxf": TEXT,
    "ezdxf__cc_dxflib.dxf": kept("POLYLINE"),
    "ezdxf__caret_encoding.dxf": TEXT,
    "ezdxf__colors.dxf": TEXT,
    "ezdxf__duplicate_handles.dxf": TEXT + "; " + kept("DIMENSION"),
    "ezdxf__hatches_2.dxf": TEXT,
    "ezdxf__images.dxf": TEXT + "; " + kept("IMAGE"),
    "ezdxf__mtext_complex_inline_codes.dxf": TEXT,
    "ezdxf__recover01.dxf": TEXT,
    "ezdxf__small_r13.dxf": kept("POLYLINE"),
    "ezdxf__text_stacked_shx_font.dxf": TEXT,
    "ezdxf__viewports.dxf": TEXT + "; " + kept("IMAGE"),
    "ezdxf__visibility.dxf": TEXT,
    "ezdxf__wipeout_door.dxf": TEXT + "; " + kept("WIPEOUT"),
    "netdxf__binary_test.dxf": TEXT + "; " + kept("DIMENSION", "POLYLINE", *ANNOTATIONS),
    "netdxf__sample.dxf": TEXT + "; " + kept("DIMENSION", "ARC_DIMENSION", "LEADER", "POLYLINE", *ANNOTATIONS),
    "netdxf__sample_2000.dxf": TEXT + "; " + kept("DIMENSION", "POLYLINE", *ANNOTATIONS),
    "netdxf__sample_binary.dxf": TEXT + "; " + kept("DIMENSION", "ARC_DIMENSION", "LEADER", "POLYLINE", *ANNOTATIONS),
    "trimesh__ae.r12a.dxf": kept("POLYLINE"),
    "trimesh__ae.r12b.dxf": kept("POLYLINE"),
    "trimesh__sliding-base.dxf": TEXT,
    "trimesh__uc.r13b.dxf": kept("POLYLINE"),
    "ezdxf__POLI-ALL210_12.DXF": kept("POLYLINE"),
    "trimesh__calibration_pattern_2.DXF": TEXT,
}

EXTENTS_TOLERANCE = 0.01  # of the size of ezdxf's box


def read_ezdxf(path: pathlib.Path, allow_recover: bool):
    """(document, auditor, error); with allow_recover, a file ezdxf refuses is read again by its recover mode."""
    try:
        doc = ezdxf.readfile(str(path))
        return doc, doc.audit(), None
    except Exception as e:  # ezdxf raises several kinds of errors for damaged files
        error = f"{type(e).__name__}: {e}"
    if allow_recover:
        try:
            doc, auditor = recover.readfile(str(path))
            return doc, auditor, None
        except Exception as e:
            error = f"{type(e).__name__}: {e}"
    return None, None, error


def decode(raw: bytes) -> str:
    for encoding in ("utf-8", "cp1252"):
        try:
            text = raw.decode(encoding)
            break
        except UnicodeDecodeError:
            continue
    return re.sub(r"\\U\+([0-9A-Fa-f]{4})", lambda m: chr(int(m.group(1), 16)), text)


def file_tags(path: pathlib.Path):
    """(code, text) pairs of the file as written, without ezdxf's reading of them."""
    data = path.read_bytes()
    if data.startswith(b"AutoCAD Binary DXF"):
        from ezdxf.lldxf.tagger import binary_tags_loader

        try:
            for tag in binary_tags_loader(data):
                yield tag.code, str(tag.value)
        except Exception:
            pass
        return
    lines = data.split(b"\n")
    for i in range(0, len(lines) - 1, 2):
        try:
            code = int(lines[i].strip())
        except ValueError:
            return
        yield code, decode(lines[i + 1].rstrip(b"\r"))


SKIPPED_RECORDS = ("SECTION", "ENDSEC", "EOF", "BLOCK", "ENDBLK", "SEQEND")


def file_entities(path: pathlib.Path) -> tuple[dict[str, tuple[str, str]], collections.Counter]:
    """The type and layer of each entity the file gives a handle to, and the number of entities of each type and
    layer it gives none, read from the file itself (ezdxf misreads some files, cannot read others at all, and
    renumbers handles it finds taken)."""
    entities: dict[str, tuple[str, str]] = {}
    loose: collections.Counter = collections.Counter()
    section = ""
    record: list = []  # [type, handle, layer] of the record being read

    def close() -> None:
        if not record or section not in ("ENTITIES", "BLOCKS") or record[0] in SKIPPED_RECORDS:
            return
        if record[1]:
            entities.setdefault(record[1], (record[0], record[2] or "0"))
        else:
            loose[(record[0], (record[2] or "0").upper())] += 1

    previous = None
    for code, value in file_tags(path):
        if code == 0:
            close()
            record = [value.strip(), None, None]
            if record[0] == "ENDSEC":
                section = ""
        elif code == 2 and previous == (0, "SECTION"):
            section = value.strip()
        elif code == 5 and record and record[1] is None:
            record[1] = value.strip().upper()
        elif code == 8 and record and record[2] is None:
            record[2] = value.strip()
        previous = (code, value.strip())
    close()
    return entities, loose


def renumbered_handles(convert_log: str) -> set[str]:
    return {m.upper() for m in re.findall(r"handle ([0-9A-Fa-f]+) is used twice", convert_log)}


def check_layers(original: pathlib.Path, converted: pathlib.Path, renumbered: set[str]) -> tuple[list[str], str]:
    # Both read as written: ezdxf moves vertices to their polyline's layer and has no layer for some types.
    given, loose = file_entities(original)
    ours, _ = file_entities(converted)
    problems: list[str] = []
    counted = 0
    for handle, (kind, layer) in given.items():
        if handle in renumbered:
            continue
        other = ours.get(handle)
        if other is None:
            problems.append(f"{kind} {handle} is missing")
        elif other[0] != kind:
            problems.append(f"{kind} {handle} became {other[0]}")
        elif other[1].upper() != layer.upper():
            problems.append(f"{kind} {handle} moved from layer {layer!r} to {other[1]!r}")
        else:
            counted += 1
    if loose:
        # Entities the file gave no handle got new ones from us: the rest of the converted drawing must hold as many
        # of each type on each layer.
        found = collections.Counter((kind, layer.upper()) for handle, (kind, layer) in ours.items() if handle not in given)
        for (kind, layer), n in loose.items():
            if found[(kind, layer)] < n:
                problems.append(f"{n - found[(kind, layer)]} of {n} {kind} on layer {layer!r} without handle are missing")
            else:
                counted += n
    summary = f"{counted} layers kept"
    if renumbered:
        summary += f", renumbered handles left out: {' '.join(sorted(renumbered))}"
    return problems[:10] + ([f"... {len(problems) - 10} more"] if len(problems) > 10 else []), summary


def model_space_items(entities_file: pathlib.Path) -> list[dict]:
    items = []
    for line in entities_file.read_text(errors="replace").splitlines():
        try:
            item = json.loads(line)
        except ValueError:
            continue
        if item.get("block", "").upper() == "*MODEL_SPACE":
            items.append(item)
    return items


def our_extents(items: list[dict]):
    lo = [math.inf] * 3
    hi = [-math.inf] * 3
    for item in items:
        if item.get("extents"):
            a, b = item["extents"]
            lo = [min(x, y) for x, y in zip(lo, a)]
            hi = [max(x, y) for x, y in zip(hi, b)]
    return (lo, hi) if lo[0] != math.inf else None


def disagreeing_kinds(doc, items: list[dict], size: float) -> str:
    """The kinds of the entities whose own extents differ from ezdxf's, to tell where a difference comes from."""
    ours = {item["handle"].upper(): item.get("extents") for item in items}
    kinds: collections.Counter = collections.Counter()
    for entity in doc.modelspace():
        try:
            theirs = bbox.extents([entity])
        except Exception:
            continue
        mine = ours.get(entity.dxf.handle.upper())
        if not theirs.has_data and not mine:
            continue
        if not theirs.has_data or not mine or max(
            abs(a - b) for p, q in zip(mine, (theirs.extmin, theirs.extmax)) for a, b in zip(p, q)
        ) > EXTENTS_TOLERANCE * size:
            kinds[entity.dxftype()] += 1
    return ", ".join(f"{kind} x{n}" for kind, n in kinds.most_common())


def ezdxf_extents(doc):
    try:
        return bbox.extents(doc.modelspace())
    except Exception:
        # One entity ezdxf cannot measure (a zero extrusion vector, say) stops the whole sum: measure one by one.
        box = BoundingBox()
        for entity in doc.modelspace():
            try:
                box.extend(bbox.extents([entity]))
            except Exception:
                pass
        return box


def check_extents(doc, entities_file: pathlib.Path) -> tuple[bool, str]:
    theirs = ezdxf_extents(doc)
    items = model_space_items(entities_file)
    ours = our_extents(items)
    if not theirs.has_data:
        return ours is None, "both empty" if ours is None else f"ours {fmt(ours)}, ezdxf none"
    box = (list(theirs.extmin), list(theirs.extmax))
    if ours is None:
        return False, f"ours none, ezdxf {fmt(box)}"
    size = max(math.dist(box[0], box[1]), 1e-9)
    off = max(abs(a - b) for p, q in zip(ours, box) for a, b in zip(p, q))
    if off <= EXTENTS_TOLERANCE * size:
        return True, f"ours {fmt(ours)}, ezdxf {fmt(box)}"
    return False, f"ours {fmt(ours)}, ezdxf {fmt(box)}, off {off / size:.2%} of size; kinds that differ: " + (
        disagreeing_kinds(doc, items, size) or "none alone")


def fmt(box) -> str:
    return "(" + ", ".join(f"{v:.6g}" for v in box[0]) + ")-(" + ", ".join(f"{v:.6g}" for v in box[1]) + ")"


def check(corpus: pathlib.Path, work: pathlib.Path, name: str) -> tuple[list[str], list[str], list[str]]:
    """(failures, notes, extents report) for one drawing."""
    failures: list[str] = []
    notes: list[str] = []
    if (work / f"{name}.info.rc").read_text().strip() != "0":
        return [f"does not load: {(work / f'{name}.info.err').read_text().strip()[-300:]}"], notes, []
    convert_log = (work / f"{name}.convert.err").read_text(errors="replace")
    if (work / f"{name}.convert.rc").read_text().strip() != "0":
        return [f"does not convert: {convert_log.strip()[-300:]}"], notes, []
    original, original_audit, original_error = read_ezdxf(corpus / name, allow_recover=True)
    converted, converted_audit, error = read_ezdxf(work / f"{name}.out.dxf", allow_recover=False)
    if converted is None:
        return [f"ezdxf refuses the converted file: {error}"], notes, []
    before, after = len(original_audit.errors) if original else 0, len(converted_audit.errors)
    if after > before:
        shown = "; ".join(e.message for e in converted_audit.errors[:3])
        failures.append(f"ezdxf audit: {after} errors in the converted file, {before} in the original ({shown})")
    notes.append(f"audit {after}<={before}")

    problems, summary = check_layers(corpus / name, work / f"{name}.out.dxf", renumbered_handles(convert_log))
    failures += [f"layers: {p}" for p in problems]
    notes.append(summary)
    if original is None:
        # Even its recover mode gives up: what we made of the file is measured against ezdxf's reading of ours.
        notes.append(f"ezdxf cannot read the original ({original_error}); extents of the converted file used")

    agree, report = check_extents(original if original is not None else converted, work / f"{name}.entities")
    expected = EXTENTS_EXPECTED_TO_DIFFER.get(name)
    if not agree and expected is None:
        failures.append(f"extents differ: {report}")
    elif agree and expected is not None:
        notes.append("extents agree now: drop it from EXTENTS_EXPECTED_TO_DIFFER")
    extents = [f"{'agree ' if agree else 'differ'} {report}" + (f" [expected: {expected}]" if expected and not agree else "")]
    return failures, notes, extents


def check_damaged(out: pathlib.Path, name: str) -> list[str]:
    """What is wrong with our conversion of a damaged copy (damage.py): it must convert, with the repairs
    reported, to a file ezdxf reads and that we read again without a repair."""
    log = (out / f"{name}.convert.err").read_text(errors="replace")
    if (out / f"{name}.convert.rc").read_text().strip() != "0":
        return [f"does not convert: {log.strip()[-300:]}"]
    failures = []
    if "warning:" not in log:
        failures.append("no repair is reported")
    _, _, error = read_ezdxf(out / f"{name}.out.dxf", allow_recover=False)
    if error:
        failures.append(f"ezdxf refuses the converted file: {error}")
    again = [line for line in (out / f"{name}.again.err").read_text(errors="replace").splitlines()
             if line.startswith("warning:")]
    if again:
        failures.append(f"the converted file needs {len(again)} repairs, as {again[0]}")
    return failures


def main() -> int:
    corpus, work = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    names = (work / "names").read_text().split()
    failed = 0
    for name in names:
        try:
            failures, notes, extents = check(corpus, work, name)
        except Exception as e:  # a crash in the check is a failure of this drawing, not of the whole run
            failures, notes, extents = [f"check crashed: {type(e).__name__}: {e}"], [], []
        print(f"{'FAIL' if failures else 'ok  '} {name}: {', '.join(notes)}")
        for line in extents:
            print(f"       extents {line}")
        for line in failures:
            print(f"       {line}")
        failed += bool(failures)
    print(f"{len(names) - failed} of {len(names)} drawings pass")

    damaged = sorted(path.name for path in (work / "damaged").iterdir())
    damaged_failed = 0
    for name in damaged:
        try:
            failures = check_damaged(work / "damaged-out", name)
        except Exception as e:
            failures = [f"check crashed: {type(e).__name__}: {e}"]
        if failures:
            print(f"FAIL damaged {name}: " + "; ".join(failures))
        damaged_failed += bool(failures)
    print(f"{len(damaged) - damaged_failed} of {len(damaged)} damaged copies convert to files that read again")
    return 1 if failed or damaged_failed else 0


if __name__ == "__main__":
    sys.exit(main())
