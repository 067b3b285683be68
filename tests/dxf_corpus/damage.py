#!/usr/bin/python3
"""Writes damaged copies of ASCII corpus drawings, to check that what we write of them reads again.

In each copy: the first header variable after $ACADVER loses its value line, and every fifth value of a number
group in the BLOCKS, ENTITIES and OBJECTS sections is spoilt in turn as writers have been seen to spoil them ("--1",
"1.2.3", a decimal comma, a long run of letters in an integer group); every third text value gains a NUL byte.

Usage: damage.py OUT_DIR FILE...   (writes OUT_DIR/<name> for each ASCII file with something to spoil; binary
files are left out)
"""

from __future__ import annotations

import pathlib
import sys

DOUBLE_CODES = set(range(10, 60)) | set(range(110, 150)) | set(range(210, 240)) | set(range(460, 470))
INTEGER_CODES = set(range(60, 80)) | set(range(90, 100)) | set(range(170, 180)) | set(range(270, 290))
TEXT_CODES = {1, 3, 4}
SPOILT_NUMBERS = [b"--1", b"1.2.3", b"2,5", b"x" * 4096]


def damage(data: bytes) -> bytes:
    newline = b"\r\n" if b"\r\n" in data[:200] else b"\n"
    lines = data.split(newline)
    out: list[bytes] = []
    section = b""
    numbers = texts = 0
    header_done = False
    i = 0
    while i + 1 < len(lines):
        code_line, value = lines[i], lines[i + 1]
        i += 2
        try:
            code = int(code_line.strip())
        except ValueError:
            out += [code_line, value]
            continue
        if code == 2 and out[-1:] == [b"SECTION"]:
            section = value.strip()
        if section == b"HEADER" and code == 9 and not header_done and value.strip() != b"$ACADVER":
            # The variable's name without its value: the next group is the next variable or the end.
            header_done = True
            out += [code_line, value]
            while i + 1 < len(lines) and lines[i].strip() not in (b"9", b"0"):
                i += 2
            continue
        if section in (b"BLOCKS", b"ENTITIES", b"OBJECTS"):
            if code in DOUBLE_CODES or code in INTEGER_CODES:
                numbers += 1
                if numbers % 5 == 0:
                    value = SPOILT_NUMBERS[(numbers // 5) % len(SPOILT_NUMBERS)]
            elif code in TEXT_CODES and value:
                texts += 1
                if texts % 3 == 0:
                    value = value[:1] + b"\0" + value[1:]
        out += [code_line, value]
    out += lines[i:]
    return newline.join(out)


def main() -> int:
    target = pathlib.Path(sys.argv[1])
    for name in sys.argv[2:]:
        path = pathlib.Path(name)
        data = path.read_bytes()
        if data.startswith(b"AutoCAD Binary DXF"):
            continue
        damaged = damage(data)
        if damaged != data:
            (target / path.name).write_bytes(damaged)
    return 0


if __name__ == "__main__":
    sys.exit(main())
