"""Writes the drawings the layer-tool checks run on, with ezdxf.

make(folder) writes folder/plan.dxf and the external reference it attaches, folder/site.dxf,
and answers the handles and pick points of the objects the checks pick:

plan.dxf, model space
    line on "Walls" at y=0, line on "Doors" at y=10, line on "Current" (the current layer)
    at y=20, a line on "Spare" at y=30 (never picked); a layer "Furniture" (frozen in the
    layout's viewport list by nothing) and a locked, off layer "Archive" with nothing on it.
    INSERT of OUTER (layer "BlkOuter") at (100, 0): OUTER holds INSERT of MIDDLE (layer
    "BlkMiddle") at (0, 0), rotated 90 degrees; MIDDLE holds INSERT of INNER (layer
    "BlkInner") at (10, 0), scale 2; INNER holds a circle on "Inner" at (0, 0) radius 1.
    INSERT of the external reference SITE (layer "XrefRef") at (200, 0): site.dxf holds a
    circle on "Trees" at (0, 0) radius 1, a line on "PARK|Bench" from (0, 10) to (5, 10),
    and an INSERT of its own block TREE (layer "TreeRefs") at (0, 20) holding a circle on
    "Leaves" radius 1. plan.dxf carries the external reference's layers as a CAD program
    that loaded it writes them: "SITE|Trees", "SITE|TreeRefs", "SITE|Leaves", "PARK|Bench".
Layout "Sheet": two viewports, numbers 2 and 3, both showing model space.
"""

import os

import ezdxf


def _layers(doc, names, flags=0):
    for name in names:
        if name not in doc.layers:
            doc.layers.add(name, dxfattribs={"flags": flags} if flags else None)


def _site(path, h):
    doc = ezdxf.new("R2010", setup=False)
    _layers(doc, ["Trees", "PARK|Bench", "TreeRefs", "Leaves"])
    tree = doc.blocks.new("TREE")
    h["site_leaves"] = tree.add_circle((0, 0), 1, dxfattribs={"layer": "Leaves"}).dxf.handle
    msp = doc.modelspace()
    h["site_trees"] = msp.add_circle((0, 0), 1, dxfattribs={"layer": "Trees"}).dxf.handle
    h["site_bench"] = msp.add_line((0, 10), (5, 10), dxfattribs={"layer": "PARK|Bench"}).dxf.handle
    h["site_tree_ref"] = msp.add_blockref("TREE", (0, 20), dxfattribs={
        "layer": "TreeRefs"}).dxf.handle
    doc.saveas(path)


def make(folder):
    os.makedirs(folder, exist_ok=True)
    h = {}
    _site(os.path.join(folder, "site.dxf"), h)
    doc = ezdxf.new("R2010", setup=False)
    _layers(doc, ["Walls", "Doors", "Current", "Spare", "Furniture", "BlkOuter", "BlkMiddle",
                  "BlkInner", "Inner", "XrefRef", "VIEWPORTS"])
    doc.layers.add("Archive", dxfattribs={"flags": 4})  # locked
    doc.layers.get("Archive").off()
    # Layers of the loaded external reference: dependent (16) and resolved (32).
    _layers(doc, ["SITE|Trees", "SITE|TreeRefs", "SITE|Leaves", "PARK|Bench"], flags=48)
    doc.header["$CLAYER"] = "Current"

    inner = doc.blocks.new("INNER")
    h["circle"] = inner.add_circle((0, 0), 1, dxfattribs={"layer": "Inner"}).dxf.handle
    middle = doc.blocks.new("MIDDLE")
    h["inner_ref"] = middle.add_blockref("INNER", (10, 0), dxfattribs={
        "layer": "BlkInner", "xscale": 2, "yscale": 2}).dxf.handle
    outer = doc.blocks.new("OUTER")
    h["middle_ref"] = outer.add_blockref("MIDDLE", (0, 0), dxfattribs={
        "layer": "BlkMiddle", "rotation": 90}).dxf.handle
    doc.add_xref_def("site.dxf", "SITE")

    msp = doc.modelspace()
    h["walls"] = msp.add_line((0, 0), (10, 0), dxfattribs={"layer": "Walls"}).dxf.handle
    h["doors"] = msp.add_line((0, 10), (10, 10), dxfattribs={"layer": "Doors"}).dxf.handle
    h["current"] = msp.add_line((0, 20), (10, 20), dxfattribs={"layer": "Current"}).dxf.handle
    msp.add_line((0, 30), (10, 30), dxfattribs={"layer": "Spare"})
    h["outer"] = msp.add_blockref("OUTER", (100, 0), dxfattribs={"layer": "BlkOuter"}).dxf.handle
    h["site"] = msp.add_blockref("SITE", (200, 0), dxfattribs={"layer": "XrefRef"}).dxf.handle

    sheet = doc.layouts.new("Sheet")
    for number, x in ((2, 50), (3, 150)):
        vp = sheet.add_viewport(center=(x, 50), size=(80, 80), view_center_point=(100, 0),
                                view_height=300)
        vp.dxf.id = number
    path = os.path.join(folder, "plan.dxf")
    doc.saveas(path)
    # Pick points in model space. The innermost circle of OUTER: INNER sits at (10, 0) of
    # MIDDLE, MIDDLE is turned 90 degrees at OUTER's origin, OUTER at (100, 0): its centre is
    # at (100, 10), radius 2 after the scale, so its rim passes (102, 10).
    h["points"] = {
        "walls": "5,0", "doors": "5,10", "current": "5,20", "inner": "102,10",
        "trees": "201,0", "bench": "202,10", "leaves": "201,20",
    }
    return path, h
