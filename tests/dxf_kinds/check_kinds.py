#!/usr/bin/python3
"""Each kind of entity, checked against ezdxf.

Every `cases_*.py` beside this script lists cases: `CASES = [(name, make), ...]` or `(name, make, options)`, where
`make(doc, msp)` adds entities with ezdxf's API to a fresh R2018 drawing. For each case the drawing is written by
ezdxf and then, with our `vela-assist`:

1. read and written back: converted three times, the last two files must be the same byte for byte, ezdxf must
   audit the first clean and find everything the drawing held unchanged;
2. extents: each entity's box from `vela-assist info --entities` must be ezdxf's `bbox.extents([entity])` to
   1e-6 of its size (or `options["extents_tol"]`), and no box where ezdxf has none;
3. transformed: a move, a rotation, a uniform scale and a mirror through the assistant's `TransformEntities`,
   one entity at a time, compared with ezdxf's own `entity.transform(m)`; an entity ezdxf refuses to transform
   must be refused by us too (answer "success": false) and be left as it was;
4. selected by layer and by color through `SelectEntities` with class "All": exactly the model-space entities
   on that layer or of that color;
5. layer and color changed through `ModifyEntityProperties`, seen by ezdxf in the saved drawing;
6. deleted through `DeleteEntities` (nothing of them left, audit clean), and after undo the drawing as it was.

Usage: check_kinds.py VELA_ASSIST [CASE_NAME ...]   (exit status 0 when every case passes)
Options a case may give: "extents_tol" (relative), "skip" (a set of check names: "roundtrip", "extents",
"transform", "select", "modify", "delete"), "transforms" (names of the transformations to apply).
"""

from __future__ import annotations

import importlib.util
import json
import math
import pathlib
import subprocess
import sys
import tempfile
import traceback

import ezdxf
from ezdxf import bbox, disassemble
from ezdxf.math import BoundingBox, Matrix44

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "dxf_roundtrip"))
import compare  # noqa: E402  (the round-trip comparison, shared)

TRANSFORMS = {
    "move": Matrix44.translate(3.5, -2.25, 1.0),
    "rotate": Matrix44.chain(Matrix44.translate(-1, -2, 0), Matrix44.z_rotate(math.radians(30)),
                             Matrix44.translate(1, 2, 0)),
    "scale": Matrix44.scale(2.5),
    "mirror": Matrix44.scale(-1, 1, 1),
}


class CaseFailure(Exception):
    pass


def load_cases() -> list[tuple[str, object, dict]]:
    cases = []
    for path in sorted(HERE.glob("cases_*.py")):
        spec = importlib.util.spec_from_file_location(path.stem, path)
        module = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(module)
        for case in module.CASES:
            name, make, options = (case + ({},))[:3]
            cases.append((name, make, options))
    return cases


def run(args: list[str], stdin: str | None = None) -> str:
    result = subprocess.run(args, input=stdin, capture_output=True, text=True, timeout=120)
    if result.returncode != 0:
        raise CaseFailure(f"{' '.join(args[:2])} failed ({result.returncode}): {result.stderr.strip()[:500]}")
    return result.stdout


def converse(vela: str, drawing: pathlib.Path, requests: list[dict]) -> list:
    """Sends requests to `vela-assist run` and returns its answers, each parsed from JSON."""
    lines = "".join(json.dumps(r) + "\n" for r in requests)
    answers = run([vela, "run", str(drawing)], lines).splitlines()
    if len(answers) != len(requests):
        raise CaseFailure(f"{len(requests)} requests got {len(answers)} answers")
    return [json.loads(a) if a.strip() else None for a in answers]


def call(name: str, request: dict) -> dict:
    return {"call": name, "text": json.dumps(request)}


def model_entities(doc) -> list:
    return list(doc.modelspace())


def report(diff: compare.Differences, what: str) -> None:
    if diff.items:
        shown = "\n    ".join(diff.items[:12])
        more = f"\n    ... and {len(diff.items) - 12} more" if len(diff.items) > 12 else ""
        raise CaseFailure(f"{what}:\n    {shown}{more}")


def check_roundtrip(vela: str, original: pathlib.Path, work: pathlib.Path) -> pathlib.Path:
    first, second, third = work / "first.dxf", work / "second.dxf", work / "third.dxf"
    run([vela, "convert", str(original), str(first)])
    run([vela, "convert", str(first), str(second)])
    run([vela, "convert", str(second), str(third)])
    if second.read_bytes() != third.read_bytes():
        raise CaseFailure("writing what we read is not stable: the second and third conversions differ")
    doc_a, doc_b = ezdxf.readfile(original), ezdxf.readfile(first)
    diff, _ = compare.compare_documents(doc_a, doc_b, 1e-9)
    report(diff, "the conversion lost or changed")
    auditor = doc_b.audit()
    if auditor.has_errors:
        raise CaseFailure(f"ezdxf's audit of the converted drawing: {[str(e.message) for e in auditor.errors][:5]}")
    return first


def flattened(entity, size: float, fineness: float = 1e-8) -> list[list]:
    """The entity as runs of points on its geometry, close enough to the true curves that boxes and distances
    taken from them are exact to a small part of the size (ezdxf's own bbox approximates curves more loosely)."""
    runs = []
    for primitive in disassemble.to_primitives(disassemble.recursive_decompose([entity])):
        primitive.max_flattening_distance = size * fineness
        points = list(primitive.vertices())
        if points:
            runs.append(points)
    return runs


def exact_box(entity) -> BoundingBox:
    rough = bbox.extents([entity])
    if not rough.has_data:
        return rough
    size = max(rough.size.x, rough.size.y, rough.size.z, 1e-3)
    return BoundingBox(p for run in flattened(entity, size) for p in run)


def distance_to_runs(p, runs) -> float:
    best = math.inf
    for run in runs:
        if len(run) == 1:
            best = min(best, p.distance(run[0]))
        for a, b in zip(run, run[1:]):
            ab = b - a
            length2 = ab.magnitude_square
            t = 0.0 if length2 == 0 else max(0.0, min(1.0, (p - a).dot(ab) / length2))
            best = min(best, p.distance(a + ab * t))
    return best


def same_geometry(a, b, tol: float) -> bool:
    """True when two entities cover the same points (each one's flattening lies on the other), whatever the
    form: an arc from 250° to 30° and one from -110° to 30°, a mirrored circle with its normal turned or not."""
    box = bbox.extents([a])
    size = max(box.size.x, box.size.y, box.size.z, 1e-3) if box.has_data else 1.0
    # Chords a 1e-5 of the size from the curve: each point lies on its own curve, within that of the other's.
    runs_a, runs_b = flattened(a, size, 1e-5), flattened(b, size, 1e-5)
    if not runs_a or not runs_b:
        return False
    return all(distance_to_runs(p, runs_b) <= tol * size for run in runs_a for p in run) and all(
        distance_to_runs(p, runs_a) <= tol * size for run in runs_b for p in run)


# Differences in these are never a matter of form: they must match exactly, whatever the geometry does.
NOT_GEOMETRY = {"layer", "color", "true_color", "linetype", "lineweight", "ltscale", "transparency", "invisible",
                "text", "style", "dimstyle", "name", "handle", "owner", "flags"}


def check_extents(vela: str, drawing: pathlib.Path, tol: float) -> None:
    ours = {}
    for line in run([vela, "info", str(drawing), "--entities"]).splitlines():
        entry = json.loads(line)
        ours[entry["handle"]] = entry["extents"]
    doc = ezdxf.readfile(drawing)
    problems = []
    for e in model_entities(doc):
        handle = e.dxf.handle
        box = exact_box(e)
        mine = ours.get(handle, "missing")
        where = f"{e.dxftype()} #{handle}"
        if mine == "missing":
            problems.append(f"{where}: not listed")
        elif not box.has_data:
            if mine is not None:
                problems.append(f"{where}: a box {mine} where ezdxf has none")
        elif mine is None:
            problems.append(f"{where}: no box, ezdxf has {box.extmin} - {box.extmax}")
        else:
            size = max(box.size.x, box.size.y, box.size.z, 1e-3)
            expected = [list(box.extmin), list(box.extmax)]
            if any(abs(a - b) > tol * size for p, q in zip(mine, expected) for a, b in zip(p, q)):
                problems.append(f"{where}: box {mine} but ezdxf has {expected}")
    if problems:
        raise CaseFailure("extents:\n    " + "\n    ".join(problems[:12]))


def matrix_request(m: Matrix44) -> dict:
    # ezdxf's matrices act on row vectors; ours name row then column of a matrix acting on column vectors.
    return {f"a{r}{c}": m[c, r] for r in range(4) for c in range(4)}


def check_transforms(vela: str, original: pathlib.Path, work: pathlib.Path, names: list[str]) -> None:
    for name in names:
        m = TRANSFORMS[name]
        expected_doc = ezdxf.readfile(original)
        handles, refused = [], set()
        for e in model_entities(expected_doc):
            handles.append(e.dxf.handle)
            try:
                e.transform(m)
            except (NotImplementedError, ezdxf.math.NonUniformScalingError, ezdxf.lldxf.const.DXFError):
                refused.add(e.dxf.handle)
        saved = work / f"{name}.dxf"
        requests = [call("TransformEntities", {"handles": [h], "transformationMatrices": [matrix_request(m)]})
                    for h in handles]
        answers = converse(vela, original, requests + [{"save": str(saved)}])
        for handle, answer in zip(handles, answers):
            want = handle not in refused
            if not isinstance(answer, dict) or answer.get("success") is not want:
                raise CaseFailure(f"{name} of #{handle}: ezdxf {'takes' if want else 'refuses'} it, we answered "
                                  f"{answer}")
        ours = ezdxf.readfile(saved)
        unchanged = ezdxf.readfile(original)
        problems = []
        for handle in handles:
            reference = (unchanged if handle in refused else expected_doc).entitydb[handle]
            mine = ours.entitydb[handle]
            diff = compare.Differences(1e-6)
            compare.compare_entity(diff, reference, mine)
            if not diff.items:
                continue
            # The same curve may be held in another form (angles a turn apart, a mirrored plane's normal kept
            # up): that is no difference, as long as the points are the same and nothing but geometry differs.
            named = {item.split(": ", 1)[1].split(" ", 1)[0].split("[", 1)[0] for item in diff.items}
            if named & NOT_GEOMETRY or not same_geometry(reference, mine, 3e-5):
                problems += diff.items
        report(compare.Differences(0) if not problems else _with(problems), f"{name} differs from ezdxf's")


def _with(items: list[str]) -> compare.Differences:
    diff = compare.Differences(0)
    diff.items = items
    return diff


def check_selection(vela: str, original: pathlib.Path) -> None:
    doc = ezdxf.readfile(original)
    entities = model_entities(doc)
    by_layer, by_color = {}, {}
    for e in entities:
        by_layer.setdefault(e.dxf.layer.casefold(), set()).add(e.dxf.handle)
        if e.dxf.hasattr("color") and 0 < e.dxf.color < 256 and not e.dxf.hasattr("true_color"):
            by_color.setdefault(e.dxf.color, set()).add(e.dxf.handle)
    queries = [("Layer", layer, handles) for layer, handles in by_layer.items()]
    queries += [("Color", str(color), handles) for color, handles in by_color.items()]
    requests = []
    for prop, value, _ in queries:
        requests.append(call("SelectEntities", {"entities": [{"className": "All", "properties": [
            {"property": prop, "operator": "==", "value": value}]}]}))
        requests.append(call("GetHandlesOfSelectedEntities", {}))
    answers = converse(vela, original, requests)
    for (prop, value, handles), answer in zip(queries, answers[1::2]):
        got = set(answer.get("handles", []))
        if got != handles:
            raise CaseFailure(f"selecting {prop} == {value}: got {sorted(got)}, expected {sorted(handles)}")


def check_modify(vela: str, original: pathlib.Path, work: pathlib.Path) -> None:
    doc = ezdxf.readfile(original)
    handles = [e.dxf.handle for e in model_entities(doc)]
    saved = work / "modified.dxf"
    answers = converse(vela, original, [
        call("CreateLayers", {"layers": [{"name": "Kinds checked", "color": "3"}]}),
        call("ModifyEntityProperties", {"handles": handles, "propertyDescriptors": [
            {"Layer": "Kinds checked", "LineColor": "#FF8000"}]}),
        {"save": str(saved)},
    ])
    if not answers[1].get("success", False):
        raise CaseFailure(f"modify answered {answers[1]}")
    result = ezdxf.readfile(saved)
    for handle in handles:
        e = result.entitydb[handle]
        if e.dxf.layer != "Kinds checked" or e.rgb != (255, 128, 0):
            raise CaseFailure(f"{e.dxftype()} #{handle} after modify: layer {e.dxf.layer}, color {e.rgb}")
    if result.audit().has_errors:
        raise CaseFailure("ezdxf's audit after modify found errors")


def check_delete(vela: str, original: pathlib.Path, work: pathlib.Path) -> None:
    doc = ezdxf.readfile(original)
    handles = [e.dxf.handle for e in model_entities(doc)]
    deleted, restored = work / "deleted.dxf", work / "restored.dxf"
    converse(vela, original, [call("DeleteEntities", {"handles": handles}), {"save": str(deleted)}, {"undo": 1},
                              {"save": str(restored)}])
    after = ezdxf.readfile(deleted)
    left = [f"{e.dxftype()} #{e.dxf.handle}" for e in after.modelspace()]
    if left:
        raise CaseFailure(f"after delete the model space still holds {left}")
    if after.audit().has_errors:
        raise CaseFailure("ezdxf's audit after delete found errors")
    diff, _ = compare.compare_documents(ezdxf.readfile(original), ezdxf.readfile(restored), 1e-9)
    report(diff, "undo of the delete did not bring everything back")


def check_case(vela: str, name: str, make, options: dict, work: pathlib.Path) -> list[str]:
    doc = ezdxf.new("R2018", setup=True)
    make(doc, doc.modelspace())
    original = work / "original.dxf"
    doc.saveas(original)
    skip = set(options.get("skip", ()))
    checks = [
        ("roundtrip", lambda: check_roundtrip(vela, original, work)),
        ("extents", lambda: check_extents(vela, original, options.get("extents_tol", 1e-6))),
        ("transform", lambda: check_transforms(vela, original, work, options.get("transforms", list(TRANSFORMS)))),
        ("select", lambda: check_selection(vela, original)),
        ("modify", lambda: check_modify(vela, original, work)),
        ("delete", lambda: check_delete(vela, original, work)),
    ]
    failures = []
    for check, fn in checks:
        if check in skip:
            continue
        try:
            fn()
        except CaseFailure as failure:
            failures.append(f"{check}: {failure}")
        except Exception:  # a crash of the harness or of ezdxf on our file is a failure of the case too
            failures.append(f"{check}: {traceback.format_exc(limit=3)}")
    return failures


def main(argv: list[str]) -> int:
    if len(argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    vela, wanted = argv[1], set(argv[2:])
    cases = [c for c in load_cases() if not wanted or c[0] in wanted]
    if wanted and len(cases) != len(wanted):
        print(f"unknown cases: {sorted(wanted - {c[0] for c in cases})}", file=sys.stderr)
        return 2
    failed = 0
    for name, make, options in cases:
        with tempfile.TemporaryDirectory() as tmp:
            failures = check_case(vela, name, make, options, pathlib.Path(tmp))
        if failures:
            failed += 1
            print(f"FAIL {name}")
            for f in failures:
                print("  " + f.replace("\n", "\n  "))
        else:
            print(f"ok   {name}")
    print(f"{len(cases) - failed} of {len(cases)} cases pass")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
