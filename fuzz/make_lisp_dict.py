#!/usr/bin/env python3
"""Writes fuzz/lisp.dict, the LISP fuzzer's dictionary: every name the interpreter defines (read from its
sources, so that the list follows the built-ins as they are added), its special forms, and the pieces of
programs that drawings need (group lists, ssget filters with -4 operators, command names).

Run from the repository's root: python3 fuzz/make_lisp_dict.py"""
import itertools
import pathlib
import re

root = pathlib.Path(__file__).resolve().parent.parent
lisp = root / "src" / "host" / "lisp"
names = set()
for source in lisp.glob("*.cpp"):
    text = source.read_text()
    # the families' tables of built-ins: {"NAME", body, fewest, most}
    names.update(re.findall(r'\{"([^"]+)",\s*[A-Za-z_][\w:]*(?:<[^>]*>)?,\s*-?\d+,\s*-?\d+\}', text))
    names.update(re.findall(r'\{"([A-Z]+)", SpecialForm::', text))
    if "kProperties" in text:
        for prop in re.findall(r'\{"([A-Za-z]+)", -?\d+, Shape::', text):
            names.update({"VLA-GET-" + prop.upper(), "VLA-PUT-" + prop.upper(), prop})
# car, cdr and their compositions up to four deep
for n in range(1, 5):
    names.update("C" + "".join(p) + "R" for p in itertools.product("AD", repeat=n))
names.update({"T", "PI", "PAUSE", "*ERROR*", "NIL", "/"})

pieces = [
    "(", ")", "'", "\"", "\\\"", ".", " . ", ";", "\\n", "\\\\", "#", "1e308", "-0.0", "2147483647",
    "(0 . \"LINE\")", "(0 . \"CIRCLE\")", "(0 . \"LWPOLYLINE\")", "(0 . \"TEXT\")", "(0 . \"INSERT\")",
    "(0 . \"ARC\")", "(0 . \"LAYER\")", "(8 . \"0\")", "(8 . \"WALLS\")", "(62 . 1)", "(62 . 256)",
    "(10 0 0 0)", "(11 10 10 0)", "(10 1.5 2.5)", "(40 . 2.5)", "(1 . \"text\")", "(2 . \"*\")", "(-1 . ",
    "(210 0 0 1)", "(90 . 4)", "(70 . 1)", "(-4 . \"<OR\")", "(-4 . \"OR>\")", "(-4 . \"<AND\")",
    "(-4 . \"AND>\")", "(-4 . \"<NOT\")", "(-4 . \"NOT>\")", "(-4 . \"<XOR\")", "(-4 . \"XOR>\")",
    "(-4 . \">\")", "(-4 . \"<=\")", "(-4 . \"!=\")", "(-4 . \"&\")", "(-4 . \"*,>,<\")", "\"X\"", "\"_X\"",
    "\"L\"", "\"W\"", "\"I\"", "\"P\"", "\"LAYER\"", "\"LTYPE\"", "\"STYLE\"", "\"BLOCK\"", "\"CLAYER\"",
    "\"OSMODE\"", "\"CMDECHO\"", "\"_.LINE\"", "\"CIRCLE\"", "\"ERASE\"", "\"MOVE\"", "\"UNDO\"",
    "\"\"", "\"*\"", "\"#,@\"", "(setq ", "(defun f (a / b) ", "(lambda (x) ", "(entget (entlast))",
    "(ssget \"X\" '(", "(ssname ss 0)",
]


def quoted(s):
    return '"' + s.replace("\\", "\\\\").replace('"', '\\"') + '"'


lines = ["# The LISP fuzzer's dictionary, written by fuzz/make_lisp_dict.py from the interpreter's sources."]
lines += [quoted(n.lower()) for n in sorted(names)]
lines += [quoted(p) for p in pieces]
(root / "fuzz" / "lisp.dict").write_text("\n".join(lines) + "\n")
print(f"{len(names)} names, {len(pieces)} pieces")
