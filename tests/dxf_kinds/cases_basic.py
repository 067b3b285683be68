"""The kinds modelled first, through the same checks as every other kind: they keep the harness honest."""

import math


def lines_and_circles(doc, msp):
    doc.layers.add("Walls", color=1)
    msp.add_line((0, 0), (10, 5), dxfattribs={"layer": "Walls"})
    msp.add_line((1, 1, 2), (4, -3, 5), dxfattribs={"color": 3})
    msp.add_circle((5, 5), 2.5, dxfattribs={"color": 3})
    msp.add_circle((0, 0, 1), 1.5, dxfattribs={"extrusion": (0, 0.6, 0.8), "layer": "Walls"})


def arcs(doc, msp):
    msp.add_arc((0, 0), 4, 30, 250, dxfattribs={"color": 5})
    msp.add_arc((2, 1), 1, 300, 60, dxfattribs={"extrusion": (0, 0, -1)})


def lightweight_polylines(doc, msp):
    msp.add_lwpolyline([(0, 0, 0, 0, 0.5), (4, 0, 0, 0, 0), (4, 3, 0, 0, -1), (0, 3)], format="xyseb",
                       close=True, dxfattribs={"color": 4})
    msp.add_lwpolyline([(0, 0), (2, 2), (4, 0)], dxfattribs={"elevation": 2.0})


def ellipses(doc, msp):
    msp.add_ellipse((1, 2), major_axis=(3, 1), ratio=0.4, start_param=0.3, end_param=math.pi * 1.4)
    msp.add_ellipse((0, 0, 3), major_axis=(0, 2, 0), ratio=0.5, dxfattribs={"color": 6})


CASES = [
    ("lines and circles", lines_and_circles),
    ("arcs", arcs),
    ("lightweight polylines", lightweight_polylines),
    ("ellipses", ellipses),
]
