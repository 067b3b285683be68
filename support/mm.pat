; VELA AI Assist hatch patterns, drawing units in millimetres.
; This file is part of VELA AI Assist and licensed under the Apache License, Version 2.0.
; SPDX-License-Identifier: Apache-2.0
; Written by generate_support_files.py from its own numeric definitions: edit the script, not this file.
;
; "*NAME, description" is followed by one line per family of parallel lines:
; angle, x-origin, y-origin, delta-x, delta-y [, dash, ...]. Angles are degrees; delta-x shifts
; each line along its direction, delta-y is the distance between lines; dashes are as in .lin files.
; SOLID is a fill; its line family is only for programs that cannot fill.

*SOLID, Solid fill
45, 0, 0, 0, 3.175

*ANSI31, ANSI iron, general section lining
45, 0, 0, 0, 3.175

*ANSI32, ANSI steel
45, 0, 0, 0, 9.525
45, -2.24506403027, 2.24506403027, 0, 9.525

*ANSI33, ANSI bronze, brass, copper
45, 0, 0, 0, 6.35
45, -2.24506403027, 2.24506403027, 0, 6.35, 3.175, -1.5875

*ANSI34, ANSI plastic, rubber
45, 0, 0, 0, 19.05
45, -2.24506403027, 2.24506403027, 0, 19.05
45, -4.49012806053, 4.49012806053, 0, 19.05
45, -6.7351920908, 6.7351920908, 0, 19.05

*ANSI35, ANSI fire brick, refractory material
45, 0, 0, 0, 6.35
45, -2.24506403027, 2.24506403027, 0, 6.35, 7.9375, -1.5875, 0, -1.5875

*ANSI36, ANSI marble, slate, glass
45, 0, 0, 5.55625, 3.175, 7.9375, -1.5875, 0, -1.5875

*ANSI37, ANSI lead, zinc, magnesium, insulation
45, 0, 0, 0, 3.175
135, 0, 0, 0, 3.175

*ANSI38, ANSI aluminum
45, 0, 0, 0, 3.175
135, 0, 0, 6.35, 3.175, 7.9375, -4.7625

*LINE, Parallel horizontal lines
0, 0, 0, 0, 3.175

*NET, Horizontal and vertical grid
0, 0, 0, 0, 3.175
90, 0, 0, 0, 3.175

*DOTS, Staggered rows of dots
0, 0, 0, 0.79375, 1.5875, 0, -1.5875

*BRICK, Brick or masonry surface
0, 0, 0, 0, 6.35
90, 0, 0, 6.35, 6.35, 6.35, -6.35
