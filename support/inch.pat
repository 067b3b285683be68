; VELA AI Assist hatch patterns, drawing units in inches.
; This file is part of VELA AI Assist and licensed under the Apache License, Version 2.0.
; SPDX-License-Identifier: Apache-2.0
; Written by generate_support_files.py from its own numeric definitions: edit the script, not this file.
;
; "*NAME, description" is followed by one line per family of parallel lines:
; angle, x-origin, y-origin, delta-x, delta-y [, dash, ...]. Angles are degrees; delta-x shifts
; each line along its direction, delta-y is the distance between lines; dashes are as in .lin files.
; SOLID is a fill; its line family is only for programs that cannot fill.

*SOLID, Solid fill
45, 0, 0, 0, 0.125

*ANSI31, ANSI iron, general section lining
45, 0, 0, 0, 0.125

*ANSI32, ANSI steel
45, 0, 0, 0, 0.375
45, -0.0883883476483, 0.0883883476483, 0, 0.375

*ANSI33, ANSI bronze, brass, copper
45, 0, 0, 0, 0.25
45, -0.0883883476483, 0.0883883476483, 0, 0.25, 0.125, -0.0625

*ANSI34, ANSI plastic, rubber
45, 0, 0, 0, 0.75
45, -0.0883883476483, 0.0883883476483, 0, 0.75
45, -0.176776695297, 0.176776695297, 0, 0.75
45, -0.265165042945, 0.265165042945, 0, 0.75

*ANSI35, ANSI fire brick, refractory material
45, 0, 0, 0, 0.25
45, -0.0883883476483, 0.0883883476483, 0, 0.25, 0.3125, -0.0625, 0, -0.0625

*ANSI36, ANSI marble, slate, glass
45, 0, 0, 0.21875, 0.125, 0.3125, -0.0625, 0, -0.0625

*ANSI37, ANSI lead, zinc, magnesium, insulation
45, 0, 0, 0, 0.125
135, 0, 0, 0, 0.125

*ANSI38, ANSI aluminum
45, 0, 0, 0, 0.125
135, 0, 0, 0.25, 0.125, 0.3125, -0.1875

*LINE, Parallel horizontal lines
0, 0, 0, 0, 0.125

*NET, Horizontal and vertical grid
0, 0, 0, 0, 0.125
90, 0, 0, 0, 0.125

*DOTS, Staggered rows of dots
0, 0, 0, 0.03125, 0.0625, 0, -0.0625

*BRICK, Brick or masonry surface
0, 0, 0, 0, 0.25
90, 0, 0, 0.25, 0.25, 0.25, -0.25
