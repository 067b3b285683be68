"""Frames: raster images, wipeouts, viewports, meshes and the modeller's kinds."""

import math


def images(doc, msp):
    doc.layers.add("Photos", color=2)
    image_def = doc.add_image_def(filename="plans/site.png", size_in_pixel=(640, 360))
    msp.add_image(image_def, insert=(2, 3), size_in_units=(6.4, 3.6), rotation=30,
                  dxfattribs={"layer": "Photos", "color": 5})
    clipped = msp.add_image(image_def, insert=(-4, 1, 2), size_in_units=(3.2, 2.4), rotation=0)
    clipped.set_boundary_path([(10, 20), (600, 20), (320, 340)])
    # A frame tilted out of the XY plane, its pixels not square.
    tilted = msp.add_image(image_def, insert=(0, 0, 0), size_in_units=(4, 1), rotation=0, dxfattribs={"color": 1})
    tilted.dxf.u_pixel = (0.005, 0.0, 0.004)
    tilted.dxf.v_pixel = (0.0, 0.003, 0.0)
    tilted.set_boundary_path([(50, 40), (500, 300)])


def wipeouts(doc, msp):
    doc.layers.add("Masks", color=8)
    msp.add_wipeout([(0, 0), (4, 0), (5, 2), (1, 3)], dxfattribs={"layer": "Masks"})
    w = msp.add_wipeout([(10, 10), (12, 10), (12, 11)], dxfattribs={"color": 3})
    w.dxf.insert = (10, 10, 1.5)


def viewports(doc, msp):
    """Viewports live in paper space: the round trip and the model-space entities beside them are checked."""
    doc.layers.add("VP", color=7)
    msp.add_line((0, 0), (100, 60), dxfattribs={"layer": "VP"})
    layout = doc.layout("Layout1")
    vp = layout.add_viewport(center=(100, 80), size=(120, 90), view_center_point=(50, 30), view_height=70,
                             dxfattribs={"layer": "VP", "color": 3})
    vp.dxf.view_twist_angle = 15
    vp.frozen_layers = ["VP"]
    off = layout.add_viewport(center=(250, 80), size=(60, 60), view_center_point=(0, 0), view_height=10)
    off.dxf.status = 0


def meshes(doc, msp):
    doc.layers.add("Meshes", color=4)
    mesh = msp.add_mesh(dxfattribs={"layer": "Meshes", "color": 6})
    with mesh.edit_data() as data:
        data.vertices = [(0, 0, 0), (3, 0, 0), (3, 2, 0), (0, 2, 0), (1.5, 1, 2.5)]
        data.faces = [(0, 1, 2, 3), (0, 1, 4), (1, 2, 4), (2, 3, 4), (3, 0, 4)]
        data.edges = [(0, 4), (1, 4)]
        data.edge_crease_values = [0.5, 2.0]
    mesh.dxf.subdivision_levels = 2
    tilted = msp.add_mesh()
    with tilted.edit_data() as data:
        data.vertices = [(-1, -1, 5), (2, -1, 6), (0.5, 3, 4.5)]
        data.faces = [(0, 1, 2)]


def solids(doc, msp):
    """Newer files keep the modeller's data outside the entities: there is nothing to transform here, and no box."""
    doc.layers.add("Solids", color=1)
    for add in (msp.add_3dsolid, msp.add_region, msp.add_body, msp.add_surface):
        add(dxfattribs={"layer": "Solids"})
    msp.add_3dsolid(dxfattribs={"color": 2})


CASES = [
    ("images", images),
    ("wipeouts", wipeouts),
    ("viewports", viewports),
    ("meshes", meshes),
    ("solids", solids),
]
