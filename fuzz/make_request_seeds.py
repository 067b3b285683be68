#!/usr/bin/python3
"""Writes the request fuzzer's seed inputs and dictionary from the command catalogue.

Each seed is one byte naming the slot (its place in the catalogue) followed by a request: the catalogue's
example, and requests on the entities and layers of the bundled sample drawing. The dictionary holds JSON
punctuation, the key names of every request schema and the texts requests take (colors, classes, handles).

Usage: make_request_seeds.py VELA_ASSIST CORPUS_DIR DICT_FILE
"""

from __future__ import annotations

import hashlib
import json
import pathlib
import subprocess
import sys

# Requests on the sample drawing (walls DD-EB, hatches EC-ED, block references EE-10F, text 114-117).
SAMPLE_REQUESTS = {
    "SelectEntities": [
        {"entities": [{"className": "All", "properties": [{"operator": "==", "property": "Layer", "value": "Walls"}]}]},
        {"entities": [{"className": "AcDbBlockReference",
                       "properties": [{"operator": "!=", "property": "Color", "value": "ByLayer"}]}]},
    ],
    "ModifyEntityProperties": [
        {"handles": ["DD", "EE", "114"], "propertyDescriptors": [{"Layer": "Doors", "Color": "1"}]},
        {"handles": ["EC"], "propertyDescriptors": [{"Pattern Name": "ANSI31", "Scale": "2"}]},
    ],
    "TransformEntities": [
        {"handles": ["EE", "111", "EC"], "transformationMatrices": [{"a00": 0, "a01": -1, "a10": 1, "a11": 0,
                                                                     "a22": 1, "a33": 1, "a03": 100}]},
        {"handles": ["112"], "rotateAroundBoundingBoxCenter": True,
         "transformationMatrices": [{"a00": -1, "a11": 1, "a22": 1, "a33": 1}]},
    ],
    "DeleteEntities": [{"handles": ["DD", "EE", "FFFF"]}],
    "SelectEntityByHandle": [{"handles": ["114", "EE"]}],
    "SummarizeEntities": [{"handles": ["DD", "EC", "EE", "114", "117", "zz"]}],
    "ModifyLayers": [{"layers": [{"name": "Walls", "color": "3", "frozen": True}]}],
    "DeleteLayers": [{"layers": [{"name": "Furniture"}, {"name": "0"}]}],
    "CreateBlocks": [{"blocks": [{"name": "DOORS", "basePoint": "0,0", "entityHandles": "EE,F1"}]}],
}


def main(argv: list[str]) -> int:
    vela, corpus, dict_file = argv[1], pathlib.Path(argv[2]), pathlib.Path(argv[3])
    catalogue = json.loads(subprocess.run([vela, "catalogue"], check=True, capture_output=True).stdout)
    corpus.mkdir(parents=True, exist_ok=True)
    words: set[str] = set()
    for index, command in enumerate(catalogue["commands"]):
        requests = [command["exampleRequest"]] + SAMPLE_REQUESTS.get(command["slot"], [])
        for request in requests:
            data = bytes([index]) + json.dumps(request, separators=(",", ":")).encode()
            (corpus / f"seed-{hashlib.sha1(data).hexdigest()[:12]}").write_bytes(data)
        collect(command["requestSchema"], words)
        collect(command["exampleRequest"], words)
    tokens = ["{", "}", "[", "]", ":", ",", '"', "true", "false", "null", "1e308", "-0", "0.5", "1e-320",
              "ByLayer", "ByBlock", "All", "==", "!=", "<", ">", "*", "DD", "EE", "EC", "114", "0,0,0"]
    with dict_file.open("w") as out:
        for word in sorted(words | set(tokens)):
            out.write(json.dumps(word) + "\n")
    return 0


def collect(value, words: set[str]) -> None:
    """Key names and short texts of a schema or request."""
    if isinstance(value, dict):
        for key, inner in value.items():
            if not key.startswith("$"):
                words.add(f'"{key}"')
            collect(inner, words)
    elif isinstance(value, list):
        for inner in value:
            collect(inner, words)
    elif isinstance(value, str) and len(value) <= 24 and value.isprintable():
        words.add(value)


if __name__ == "__main__":
    sys.exit(main(sys.argv))
