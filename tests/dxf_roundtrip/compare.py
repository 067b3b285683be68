#!/usr/bin/python3
"""Check a DXF round trip with ezdxf, independently of our own reader/writer.

Usage:
    /usr/bin/python3 compare.py ORIGINAL.dxf ROUNDTRIPPED.dxf [--tol 1e-9] [--max-report 60]

Both files are loaded with ezdxf. Every entity of the original (model space, every paper space layout, every
block definition, plus ATTRIBs and VERTEXes owned by those) must exist in the round-tripped file under the
same handle, in the same layout or block, in the same order, with the same type, common properties and
geometry. Tables (layers, linetypes, text styles, dimension styles, application ids), block definitions,
layouts, groups, XDATA and extension dictionaries are compared as well, then the round-tripped file must pass
ezdxf's audit.

All DXF attributes ezdxf knows for an entity are compared (absent attributes count as their DXF default
value), so content we do not model must also survive.

Exit status: 0 all equal and audit clean; 1 differences, audit errors, or a file ezdxf cannot read; 2 usage
error or missing file.
"""
from __future__ import annotations

import argparse
import re
import enum
import math
import os
import sys
from typing import Any, Iterable

import ezdxf
from ezdxf.entities import DXFEntity
from ezdxf.lldxf.types import DXFTag
from ezdxf.math import Vec2, Vec3

# Handle references compared by value; the round trip must keep handles, so they must not change either.
# 'owner' is left out: where an entity lives is checked explicitly (layout/block name), which gives a clearer
# message than a bare handle.
SKIP_ATTRIBS = {"handle", "owner"}

# Names that refer to table entries. DXF table names are case-insensitive, so a writer that resolves the
# reference to the table record and writes the record's spelling ("BYLAYER" vs "ByLayer") loses nothing.
NAME_REFERENCES = {"layer", "linetype", "style", "name", "dimstyle", "text_style", "geometry"}

# Header variables that change how a drawing is read or shown; compared when the original has them.
HEADER_VARS = (
    "$ACADVER",
    "$DWGCODEPAGE",
    "$INSUNITS",
    "$MEASUREMENT",
    "$LUNITS",
    "$LUPREC",
    "$AUNITS",
    "$AUPREC",
    "$LTSCALE",
    "$PSLTSCALE",
    "$CLAYER",
    "$CELTYPE",
    "$CECOLOR",
    "$TEXTSTYLE",
    "$DIMSTYLE",
    "$PDMODE",
    "$PDSIZE",
)


_UNICODE_ESCAPE = re.compile(r"\\U\+([0-9A-Fa-f]{4})")


def _unescape(text: str) -> str:
    return _UNICODE_ESCAPE.sub(lambda m: chr(int(m.group(1), 16)), text)


class Differences:
    """Collects every difference, so one run shows all that a round trip lost."""

    def __init__(self, tol: float):
        self.tol = tol
        self.items: list[str] = []

    def add(self, where: str, what: str) -> None:
        self.items.append(f"{where}: {what}")

    # Deep value comparison: numbers with tolerance, vectors, sequences, tags, plain objects by their fields.
    def equal(self, a: Any, b: Any, name_ref: bool = False) -> bool:
        if isinstance(a, DXFEntity) or isinstance(b, DXFEntity):
            return type(a) is type(b) and a.dxf.handle == b.dxf.handle
        if isinstance(a, enum.Enum) or isinstance(b, enum.Enum):
            return a == b
        if isinstance(a, bool) or isinstance(b, bool):
            return bool(a) == bool(b) and isinstance(a, (bool, int)) and isinstance(b, (bool, int))
        if isinstance(a, (int, float)) and isinstance(b, (int, float)):
            return math.isclose(float(a), float(b), rel_tol=0.0, abs_tol=self.tol)
        if isinstance(a, str) and isinstance(b, str):
            # "\U+00B1" in a file written for a code page is the character itself: compare what readers show.
            a, b = _unescape(a), _unescape(b)
            return a.casefold() == b.casefold() if name_ref else a == b
        if isinstance(a, (bytes, bytearray)) and isinstance(b, (bytes, bytearray)):
            return bytes(a) == bytes(b)
        if isinstance(a, (Vec2, Vec3)) or isinstance(b, (Vec2, Vec3)):
            return self.equal(tuple(Vec3(a)), tuple(Vec3(b)))
        if isinstance(a, DXFTag) and isinstance(b, DXFTag):
            return a.code == b.code and self.equal(a.value, b.value)
        if isinstance(a, dict) and isinstance(b, dict):
            return a.keys() == b.keys() and all(self.equal(a[k], b[k]) for k in a)
        if _is_sequence(a) and _is_sequence(b):
            la, lb = list(a), list(b)
            return len(la) == len(lb) and all(self.equal(x, y) for x, y in zip(la, lb))
        if a is None or b is None:
            return a is b
        if hasattr(a, "__dict__") and type(a) is type(b):
            return self.equal(_public_fields(a), _public_fields(b))
        return a == b

    def locate(self, a: Any, b: Any, path: str = "") -> str:
        """Where two unequal values first differ, as 'path: old became new', to point at the lost detail."""
        if _is_sequence(a) and _is_sequence(b) and not isinstance(a, (Vec2, Vec3)):
            la, lb = list(a), list(b)
            for i, (x, y) in enumerate(zip(la, lb)):
                if not self.equal(x, y):
                    return self.locate(x, y, f"{path}[{i}]")
            if len(la) != len(lb):
                return f"{path}: {len(la)} items became {len(lb)}"
        elif isinstance(a, dict) and isinstance(b, dict):
            for k in a:
                if k not in b:
                    return f"{path}.{k}: lost"
                if not self.equal(a[k], b[k]):
                    return self.locate(a[k], b[k], f"{path}.{k}")
            return f"{path}: gained {sorted(set(b) - set(a))}"
        elif (
            hasattr(a, "__dict__")
            and type(a) is type(b)
            and not isinstance(a, DXFEntity)
            and not isinstance(a, (DXFTag, enum.Enum))
        ):
            return self.locate(_public_fields(a), _public_fields(b), path)
        elif isinstance(a, str) and isinstance(b, str) and max(len(a), len(b)) > 60:
            i = next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))
            lo = max(0, i - 20)
            return f"{path}: from character {i}: {a[lo:i + 40]!r} became {b[lo:i + 40]!r}"
        return f"{path}: {show(a)} became {show(b)}"


def _is_sequence(v: Any) -> bool:
    return isinstance(v, (list, tuple)) or (
        hasattr(v, "__iter__") and hasattr(v, "__len__") and not isinstance(v, (str, bytes, dict))
    )


def _public_fields(obj: Any) -> dict:
    return {k: v for k, v in vars(obj).items() if not k.startswith("_")}


def show(v: Any) -> str:
    if isinstance(v, DXFEntity):
        return f"{v.dxftype()}(#{v.dxf.handle})"
    if isinstance(v, (Vec2, Vec3)):
        return str(tuple(v))
    if hasattr(v, "__dict__") and not isinstance(v, type):
        return f"{type(v).__name__}{_public_fields(v)}"
    text = repr(v)
    return text if len(text) <= 200 else text[:200] + "..."


# ------------------------------------------------------------------------------------------------------------
# Loading
# ------------------------------------------------------------------------------------------------------------


def load(path: str):
    """Load with ezdxf's strict reader; anything it cannot read is a failed round trip, not a usage error."""
    if not os.path.isfile(path):
        raise SystemExit(_usage_error(f"no such file: {path}"))
    try:
        return ezdxf.readfile(path)
    except Exception as exc:  # ezdxf raises many kinds on malformed content; all mean the file is unusable
        reason = str(exc) if str(exc).startswith(type(exc).__name__) else f"{type(exc).__name__}: {exc}"
        print(f"FAIL: ezdxf cannot load {path}: {reason}", file=sys.stderr)
        raise SystemExit(1)


def _usage_error(message: str) -> int:
    print(f"error: {message}", file=sys.stderr)
    return 2


def audit(doc, path: str, stream=sys.stderr) -> tuple[bool, int]:
    """Run ezdxf's audit; print what it found. Returns (clean, number of fixes)."""
    auditor = doc.audit()
    if auditor.has_errors:
        print(f"FAIL: ezdxf audit of {path} found {len(auditor.errors)} error(s):", file=stream)
        auditor.print_error_report(stream=stream)
    if auditor.has_fixes:
        print(f"note: ezdxf audit of {path} fixed {len(auditor.fixes)} issue(s):", file=stream)
        auditor.print_fixed_errors(stream=stream)
    return not auditor.has_errors, len(auditor.fixes)


# ------------------------------------------------------------------------------------------------------------
# Entities
# ------------------------------------------------------------------------------------------------------------


def containers(doc) -> dict[str, list[DXFEntity]]:
    """Entities by where they live: 'layout X' for model/paper space, 'block X' for other block definitions.
    ATTRIBs and VERTEXes are listed under their INSERT/POLYLINE, since they are entities with handles too."""
    result: dict[str, list[DXFEntity]] = {}

    def add(key: str, entities: Iterable[DXFEntity]) -> None:
        items = list(entities)
        result[key] = items
        for e in items:
            if e.dxftype() == "INSERT" and e.attribs:
                result[f"attribs of #{e.dxf.handle}"] = list(e.attribs)
            elif e.dxftype() == "POLYLINE":
                result[f"vertices of #{e.dxf.handle}"] = list(e.vertices)

    for layout in doc.layouts:
        add(f"layout '{layout.name}'", layout)
    for block in doc.blocks:
        if not block.block_record.is_any_layout:
            add(f"block '{block.name}'", block)
    return result


def entity_fields(e: DXFEntity) -> dict[str, Any]:
    """DXF attributes to compare, with absent ones replaced by their DXF default."""
    dxf = e.dxf
    names = [n for n in dxf.all_existing_dxf_attribs() if n not in SKIP_ATTRIBS]
    fields = {n: dxf.get_default(n) for n in names}
    if e.dxftype() in ("TEXT", "ATTRIB", "ATTDEF") and not fields.get("halign") and not fields.get("valign"):
        # Left/baseline text is placed by its insert point alone; whether a second point is written is noise.
        fields.pop("align_point", None)
    return fields


def structured_fields(e: DXFEntity) -> dict[str, Any]:
    """Entity content that ezdxf keeps outside the DXF attribute namespace."""
    t = e.dxftype()
    if t == "LWPOLYLINE":
        return {"points (x, y, start width, end width, bulge)": e.get_points("xyseb")}
    if t == "SPLINE":
        return {
            "control points": list(e.control_points),
            "knots": list(e.knots),
            "weights": list(e.weights),
            "fit points": list(e.fit_points),
        }
    if t in ("HATCH", "MPOLYGON"):
        return {
            "loop count": len(e.paths.paths),
            "loops": e.paths.paths,
            "pattern": e.pattern,
            "gradient": e.gradient,
            "seeds": list(getattr(e, "seeds", [])),
        }
    if t == "MTEXT":
        return {"text": e.text}
    if t == "LEADER":
        return {"vertices": list(e.vertices)}
    if t in ("IMAGE", "WIPEOUT"):
        return {"boundary path": list(e.boundary_path)}
    if t == "POLYLINE":
        # The vertices are entities of their own, but where they are is the polyline's geometry.
        return {"vertices (location, start width, end width, bulge)": [
            (v.dxf.location, v.dxf.start_width, v.dxf.end_width, v.dxf.bulge) for v in e.vertices]}
    if t == "MESH":
        return {"vertices": list(e.vertices), "faces": [list(f) for f in e.faces]}
    return {}


def compare_xdata(diff: Differences, where: str, a: DXFEntity, b: DXFEntity) -> None:
    apps_a = list(a.xdata.data.keys()) if a.xdata else []
    apps_b = list(b.xdata.data.keys()) if b.xdata else []
    for app in apps_a:
        if app not in apps_b:
            diff.add(where, f"XDATA of application '{app}' lost")
            continue
        ta, tb = list(a.xdata.get(app)), list(b.xdata.get(app))
        if not diff.equal(ta, tb):
            diff.add(where, f"XDATA '{app}' differs at tag {diff.locate(ta, tb)}")
    for app in apps_b:
        if app not in apps_a:
            diff.add(where, f"XDATA of application '{app}' appeared")


def compare_object_tree(diff: Differences, where: str, a: DXFEntity, b: DXFEntity, depth: int = 0) -> None:
    """Extension dictionaries and what they own: DICTIONARY entries, XRECORD tags, other objects' fields."""
    if depth > 16:
        diff.add(where, "dictionary nesting deeper than 16, stopped")
        return
    if a.dxftype() != b.dxftype():
        diff.add(where, f"type {a.dxftype()} became {b.dxftype()}")
        return
    if a.dxf.handle != b.dxf.handle:
        diff.add(where, f"handle #{a.dxf.handle} became #{b.dxf.handle}")
    t = a.dxftype()
    if t == "DICTIONARY":
        ka, kb = list(a.keys()), list(b.keys())
        if ka != kb:
            diff.add(where, f"dictionary keys {ka} became {kb}")
        for key in ka:
            if key in kb:
                va, vb = a.get(key), b.get(key)
                if isinstance(va, DXFEntity) and isinstance(vb, DXFEntity):
                    compare_object_tree(diff, f"{where}['{key}']", va, vb, depth + 1)
                elif show(va) != show(vb):
                    diff.add(where, f"entry '{key}' {show(va)} became {show(vb)}")
    elif t == "XRECORD":
        if not diff.equal(list(a.tags), list(b.tags)):
            diff.add(where, f"XRECORD differs at tag {diff.locate(list(a.tags), list(b.tags))}")
    else:
        compare_attribs(diff, where, a, b)
    compare_xdata(diff, where, a, b)


def compare_attribs(diff: Differences, where: str, a: DXFEntity, b: DXFEntity) -> None:
    fa, fb = entity_fields(a), entity_fields(b)
    for name in sorted(set(fa) | set(fb)):
        va = fa.get(name, a.dxf.get_default(name) if a.dxf.is_supported(name) else None)
        vb = fb.get(name, b.dxf.get_default(name) if b.dxf.is_supported(name) else None)
        if not diff.equal(va, vb, name_ref=name in NAME_REFERENCES):
            diff.add(where, f"{name} {show(va)} became {show(vb)}")


def compare_entity(diff: Differences, a: DXFEntity, b: DXFEntity) -> None:
    where = f"{a.dxftype()} #{a.dxf.handle}"
    if a.dxftype() != b.dxftype():
        diff.add(where, f"type became {b.dxftype()}")
        return
    compare_attribs(diff, where, a, b)
    sa, sb = structured_fields(a), structured_fields(b)
    for key, va in sa.items():
        if not diff.equal(va, sb.get(key)):
            diff.add(where, f"{key}{diff.locate(va, sb.get(key))}")
    compare_xdata(diff, where, a, b)
    if a.dxftype() == "IMAGE" and a.image_def is not None:
        if b.image_def is None:
            diff.add(where, "image definition lost")
        else:
            compare_object_tree(diff, f"{where} image definition", a.image_def, b.image_def)
    if a.has_extension_dict:
        if not b.has_extension_dict:
            diff.add(where, "extension dictionary lost")
        else:
            compare_object_tree(
                diff,
                f"{where} extension dictionary",
                a.get_extension_dict().dictionary,
                b.get_extension_dict().dictionary,
            )
    elif b.has_extension_dict:
        diff.add(where, "extension dictionary appeared")


def compare_entities(diff: Differences, doc_a, doc_b) -> int:
    ca, cb = containers(doc_a), containers(doc_b)
    where_b = {e.dxf.handle: key for key, items in cb.items() for e in items}
    count = 0
    for key, items in ca.items():
        for e in items:
            count += 1
            handle = e.dxf.handle
            other = doc_b.entitydb.get(handle)
            if other is None or handle not in where_b:
                diff.add(f"{e.dxftype()} #{handle}", f"missing (was in {key})")
                continue
            if where_b[handle] != key:
                diff.add(f"{e.dxftype()} #{handle}", f"moved from {key} to {where_b[handle]}")
            compare_entity(diff, e, other)
        # Draw order without a SORTENTSTABLE is the order in the file.
        order_a = [e.dxf.handle for e in items]
        known = set(order_a)
        order_b = [e.dxf.handle for e in cb.get(key, []) if e.dxf.handle in known]
        if len(order_a) == len(order_b) and order_a != order_b:
            diff.add(key, "entity order changed")
    handles_a = {e.dxf.handle for items in ca.values() for e in items}
    for key, items in cb.items():
        extra = [e for e in items if e.dxf.handle not in handles_a]
        for e in extra[:10]:
            diff.add(key, f"{e.dxftype()} #{e.dxf.handle} appeared")
        if len(extra) > 10:
            diff.add(key, f"... and {len(extra) - 10} more entities appeared")
    return count


# ------------------------------------------------------------------------------------------------------------
# Tables, blocks, layouts, groups, header
# ------------------------------------------------------------------------------------------------------------


def compare_names(diff: Differences, what: str, names_a: list[str], names_b: list[str]) -> list[str]:
    set_b = set(names_b)
    lost = [n for n in names_a if n not in set_b]
    new = [n for n in names_b if n not in set(names_a)]
    if lost:
        diff.add(what, f"lost {lost}")
    if new:
        diff.add(what, f"appeared {new}")
    return [n for n in names_a if n in set_b]


def used_layer_names(doc) -> set[str]:
    """Layers that entities name, whether the layer table defines them or not."""
    names = set()
    for layout in doc.layouts:
        names.update(e.dxf.layer.casefold() for e in layout if e.dxf.hasattr("layer"))
    for block in doc.blocks:
        names.update(e.dxf.layer.casefold() for e in block if e.dxf.hasattr("layer"))
    return names


def compare_table(diff: Differences, what: str, table_a, table_b, checks, implied: set[str] = frozenset()) -> None:
    names_a = [r.dxf.name for r in table_a]
    # A reader may define what the original only named (a layer used by entities but missing from the table).
    names_b = [r.dxf.name for r in table_b if r.dxf.name in set(names_a) or r.dxf.name.casefold() not in implied]
    for name in compare_names(diff, what, names_a, names_b):
        ra, rb = table_a.get(name), table_b.get(name)
        where = f"{what} '{name}'"
        if rb.dxf.name != name:
            diff.add(where, f"name spelling became '{rb.dxf.name}'")
        for label, get in checks:
            va, vb = get(ra), get(rb)
            if not diff.equal(va, vb, name_ref=label in NAME_REFERENCES):
                diff.add(where, f"{label}{diff.locate(va, vb)}")
        compare_xdata(diff, where, ra, rb)


def dxf_get(name: str):
    return lambda r: r.dxf.get_default(name) if r.dxf.is_supported(name) else None


LAYER_CHECKS = [
    ("on", lambda r: r.is_on()),
    ("frozen", lambda r: r.is_frozen()),
    ("locked", lambda r: r.is_locked()),
    ("color", lambda r: r.color),
    ("true_color", dxf_get("true_color")),
    ("linetype", dxf_get("linetype")),
    ("lineweight", dxf_get("lineweight")),
    ("plot", dxf_get("plot")),
    ("flags", dxf_get("flags")),
]

LINETYPE_CHECKS = [
    ("description", dxf_get("description")),
    ("flags", dxf_get("flags")),
    # The record's own handle can sit among the pattern groups in older files; it is no part of the pattern.
    # Nor is "74 0" (a plain dash), which the current version writes for every dash and R12 for none.
    ("pattern", lambda r: [t for t in r.pattern_tags.tags if t.code != 5 and not (t.code == 74 and t.value == 0)]
     if r.pattern_tags else []),
]

STYLE_CHECKS = [
    (n, dxf_get(n))
    for n in ("font", "bigfont", "height", "width", "oblique", "flags", "generation_flags", "last_height")
]


def compare_dimstyles(diff: Differences, doc_a, doc_b) -> None:
    names_a = [r.dxf.name for r in doc_a.dimstyles]
    names_b = [r.dxf.name for r in doc_b.dimstyles]
    for name in compare_names(diff, "dimension styles", names_a, names_b):
        ra, rb = doc_a.dimstyles.get(name), doc_b.dimstyles.get(name)
        compare_attribs(diff, f"dimension style '{name}'", ra, rb)
        compare_xdata(diff, f"dimension style '{name}'", ra, rb)


def compare_blocks(diff: Differences, doc_a, doc_b) -> None:
    names_a = [b.name for b in doc_a.blocks]
    names_b = [b.name for b in doc_b.blocks]
    for name in compare_names(diff, "block definitions", names_a, names_b):
        ba, bb = doc_a.blocks.get(name), doc_b.blocks.get(name)
        if ba.block_record.is_any_layout:
            continue  # paper space blocks may be renumbered when layouts are; layouts are compared by name
        where = f"block definition '{name}'"
        for label in ("base_point", "flags", "description", "xref_path"):
            va, vb = dxf_get(label)(ba.block), dxf_get(label)(bb.block)
            if not diff.equal(va, vb):
                diff.add(where, f"{label} {show(va)} became {show(vb)}")
        for label in ("units", "explode", "scale"):
            va, vb = dxf_get(label)(ba.block_record), dxf_get(label)(bb.block_record)
            if not diff.equal(va, vb):
                diff.add(where, f"block record {label} {show(va)} became {show(vb)}")
        compare_xdata(diff, where, ba.block_record, bb.block_record)


def compare_layouts(diff: Differences, doc_a, doc_b) -> None:
    names_a = list(doc_a.layouts.names_in_taborder())
    names_b = list(doc_b.layouts.names_in_taborder())
    if names_a != names_b:
        diff.add("layouts", f"{names_a} became {names_b}")
    for name in set(names_a) & set(names_b):
        la, lb = doc_a.layouts.get(name), doc_b.layouts.get(name)
        for label in ("paper_width", "paper_height", "plot_rotation", "taborder", "limmin", "limmax"):
            va, vb = dxf_get(label)(la.dxf_layout), dxf_get(label)(lb.dxf_layout)
            if not diff.equal(va, vb):
                diff.add(f"layout '{name}'", f"{label} {show(va)} became {show(vb)}")


def compare_groups(diff: Differences, doc_a, doc_b) -> None:
    groups_a = {name: g for name, g in doc_a.groups}
    groups_b = {name: g for name, g in doc_b.groups}
    for name in compare_names(diff, "groups", list(groups_a), list(groups_b)):
        ga, gb = groups_a[name], groups_b[name]
        # ezdxf 0.18 collects member handles in a set while loading, so their order is not observable here.
        members_a = sorted(e.dxf.handle for e in ga)
        members_b = sorted(e.dxf.handle for e in gb)
        if members_a != members_b:
            diff.add(f"group '{name}'", f"members {members_a} became {members_b}")
        for label in ("description", "selectable", "unnamed"):
            va, vb = dxf_get(label)(ga), dxf_get(label)(gb)
            if not diff.equal(va, vb):
                diff.add(f"group '{name}'", f"{label} {show(va)} became {show(vb)}")


# Saving writes the current version in UTF-8: an older original's version and code page are upgraded, not lost.
UPGRADED_VARS = ("$ACADVER", "$DWGCODEPAGE")


def compare_header(diff: Differences, doc_a, doc_b) -> None:
    upgraded = doc_b.header.get("$ACADVER", "") > doc_a.header.get("$ACADVER", "")
    for var in HEADER_VARS:
        if upgraded and var in UPGRADED_VARS:
            continue
        if var in doc_a.header:
            va, vb = doc_a.header.get(var), doc_b.header.get(var)
            if not diff.equal(va, vb, name_ref=True):
                diff.add("header", f"{var} {show(va)} became {show(vb)}")


def compare_documents(doc_a, doc_b, tol: float) -> tuple[Differences, int]:
    diff = Differences(tol)
    compare_header(diff, doc_a, doc_b)
    compare_table(diff, "layer", doc_a.layers, doc_b.layers, LAYER_CHECKS, used_layer_names(doc_a))
    compare_table(diff, "linetype", doc_a.linetypes, doc_b.linetypes, LINETYPE_CHECKS)
    compare_table(diff, "text style", doc_a.styles, doc_b.styles, STYLE_CHECKS)
    compare_dimstyles(diff, doc_a, doc_b)
    compare_names(
        diff, "application ids", [r.dxf.name for r in doc_a.appids], [r.dxf.name for r in doc_b.appids]
    )
    compare_blocks(diff, doc_a, doc_b)
    if doc_a.dxfversion > "AC1009":  # R12 has no layouts or groups
        compare_layouts(diff, doc_a, doc_b)
        compare_groups(diff, doc_a, doc_b)
    count = compare_entities(diff, doc_a, doc_b)
    return diff, count


# ------------------------------------------------------------------------------------------------------------
# Command line
# ------------------------------------------------------------------------------------------------------------


def check_roundtrip(
    original: str, roundtripped: str, tol: float, stream=sys.stderr, max_report: int = 60
) -> tuple[bool, list[str], int, bool]:
    """Compare, then audit the round-tripped file.
    Returns (ok, differences, number of entities compared, audit clean)."""
    doc_a, doc_b = load(original), load(roundtripped)
    diff, count = compare_documents(doc_a, doc_b, tol)

    # Audit after comparing: the audit repairs what it can and that must not hide differences.
    clean, fixes_b = audit(doc_b, roundtripped, stream)
    fixes_a = len(doc_a.audit().fixes)
    if fixes_b > fixes_a:
        diff.add(
            "audit",
            f"ezdxf had to fix {fixes_b} issue(s) in the round-tripped file, {fixes_a} in the original",
        )

    for item in diff.items[:max_report]:
        print(f"DIFF {item}", file=stream)
    if len(diff.items) > max_report:
        print(f"... and {len(diff.items) - max_report} more differences", file=stream)
    return clean and not diff.items, diff.items, count, clean


def main(argv: list[str]) -> int:
    parser = argparse.ArgumentParser(description="Compare a DXF round trip with ezdxf.")
    parser.add_argument("--tol", type=float, default=1e-9, help="absolute tolerance for numbers (default 1e-9)")
    parser.add_argument("--max-report", type=int, default=60, help="differences to print (default 60)")
    parser.add_argument("files", nargs=2, metavar="FILE")
    try:
        args = parser.parse_args(argv[1:])
    except SystemExit as exc:
        return 2 if exc.code else 0
    original, roundtripped = args.files
    ok, items, count, clean = check_roundtrip(original, roundtripped, args.tol, max_report=args.max_report)
    print(
        f"{count} entities compared, {len(items)} difference(s), "
        f"audit of {roundtripped}: {'clean' if clean else 'FAILED'} -> {'OK' if ok else 'FAIL'}"
    )
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
