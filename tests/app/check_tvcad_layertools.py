#!/usr/bin/python3
"""LAYFRZ, LAYISO and LAYUNISO through the tvcad program, each run checked with ezdxf.

Usage: check_tvcad_layertools.py TVCAD WORKDIR

The drawings (blocks nested three deep, an external reference with a block of its own and a
layer already named "PARK|Bench", a layout with two viewports) are written by
layertools_drawing.py. Every run starts from the drawing as written, saves a copy, and the copy
is read back with ezdxf. Exit 0 on success, 1 on a failure, 77 (skip) without ezdxf.
"""

import os
import subprocess
import sys

from private_config import use_private_config

try:
    import ezdxf
except ImportError:
    print("ezdxf is not importable: skipped")
    sys.exit(77)

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import layertools_drawing  # noqa: E402

FAILURES = []


def check(condition, message):
    if not condition:
        FAILURES.append(message)


class Runner:
    def __init__(self, tvcad, work):
        self.tvcad = tvcad
        self.work = work
        self.plan, self.h = layertools_drawing.make(work)
        self.count = 0

    def run(self, name, lines):
        """Runs tvcad on plan.dxf with `lines`, saves as NAME.dxf; answers (output, doc)."""
        self.count += 1
        saved = os.path.join(self.work, name + ".dxf")
        if os.path.exists(saved):
            os.remove(saved)
        script = os.path.join(self.work, name + ".scr")
        with open(script, "w", encoding="utf-8") as f:
            f.write("\n".join(lines + ["SAVEAS", saved, "QUIT"]) + "\n")
        run = subprocess.run([self.tvcad, "--script", script, self.plan], capture_output=True,
                             text=True, timeout=300)
        if run.returncode != 0 or not os.path.exists(saved):
            FAILURES.append("%s: tvcad exited with %d\n%s\n%s" % (
                name, run.returncode, run.stdout[-3000:], run.stderr))
            return run.stdout, None
        return run.stdout, ezdxf.readfile(saved)


def frozen(doc):
    return {l.dxf.name for l in doc.layers if l.is_frozen()}


def viewport(doc, number):
    for vp in doc.layouts.get("Sheet").query("VIEWPORT"):
        if vp.dxf.id == number:
            return vp
    return None


def layer_settings(doc):
    return {l.dxf.name.upper(): (l.is_on(), l.is_frozen(), l.is_locked(), l.dxf.color)
            for l in doc.layers}


def isolation_record(doc):
    """The state names and the AcLayerTools strings of the layer-states dictionary."""
    head = doc.layers.head
    xdict = head.get_extension_dict() if head.has_extension_dict else None
    states = xdict["ACAD_LAYERSTATES"] if xdict and "ACAD_LAYERSTATES" in xdict else None
    if states is None:
        return [], None
    strings = None
    if states.has_xdata("AcLayerTools"):
        strings = [t.value for t in states.get_xdata("AcLayerTools") if t.code == 1000]
    return sorted(states.keys()), strings


def nesting_settings(r):
    h, p = r.h, r.h["points"]
    inner_chain = "pick %s via %s %s %s" % (h["circle"], h["outer"], h["middle_ref"],
                                            h["inner_ref"])
    leaves_chain = "pick %s via %s %s" % (h["site_leaves"], h["site"], h["site_tree_ref"])
    # Default nesting "No": the direct container's layer; inside the external reference the
    # reference's own block is not in the drawing, so its layer gets the reference's name.
    out, doc = r.run("nest-no", ["LAYFRZ", inner_chain, leaves_chain, "pick " + p["trees"],
                                 "pick " + p["bench"], "eXit"])
    if doc:
        check(frozen(doc) == {"BlkInner", "SITE|TreeRefs", "SITE|Trees", "PARK|Bench"},
              "nesting No froze %r" % sorted(frozen(doc)))
        check("SITE|PARK|Bench" not in out, "a name holding | was prefixed again")
    # "Entity": the picked object's own layer, prefixed inside the external reference. The
    # setting stays for the next run of the command while the module is loaded.
    out, doc = r.run("nest-entity", [
        "LAYFRZ", "Settings", "Block", "Entity", "", "eXit",
        "LAYFRZ", "pick " + p["inner"], "pick " + p["leaves"], "Settings", "Block", "", "eXit"])
    if doc:
        check(frozen(doc) == {"Inner", "SITE|Leaves"},
              "nesting Entity froze %r" % sorted(frozen(doc)))
        check("nesting level [Block/Entity/No nesting] <Entity>" in out,
              "the nesting setting was not kept between runs")
    # "Block" chooses as "No" does.
    out, doc = r.run("nest-block", ["LAYFRZ", "Settings", "Block", "Block", "", inner_chain,
                                    "pick " + p["leaves"], "eXit"])
    if doc:
        check(frozen(doc) == {"BlkInner", "SITE|TreeRefs"},
              "nesting Block froze %r" % sorted(frozen(doc)))


def current_layer_and_undo(r):
    p = r.h["points"]
    out, doc = r.run("undo", [
        "CMDECHO", "1",
        "LAYFRZ", "Undo", "pick " + p["current"], "pick " + p["walls"], "pick " + p["doors"],
        "Undo", "Undo", "pick none", "pick " + r.h["points"]["inner"], "Frobnicate", "eXit",
        "CMDECHO", ""])
    if doc:
        check(frozen(doc) == {"BlkInner"},
              "after Undo of two freezes and one more freeze: %r" % sorted(frozen(doc)))
        check(doc.header["$CLAYER"] == "Current", "the current layer changed")
        check(out.count("Everything has been undone.") == 2,
              "Undo with nothing to undo was not reported at the start and after an Undo")
        check("Layer Current is the current layer and cannot be frozen." in out,
              "picking the current layer was not refused:\n" + out)
        check("Expects a point or Settings" in out, "an unknown keyword was not refused")
        check("Enter new value for CMDECHO <1>" in out.split("Command: CMDECHO")[-1],
              "CMDECHO did not get its value back")


def viewports(r):
    p = r.h["points"]
    # Inside viewport 2 with "Vpfreeze": frozen there only. "Freeze" then freezes everywhere.
    # On the sheet itself (CVPORT 1) and in model space the freeze is global whatever the mode.
    out, doc = r.run("viewports", [
        "LAYOUT", "Sheet", "CVPORT", "2",
        "LAYFRZ", "pick " + p["walls"], "Settings", "Viewports", "Freeze", "",
        "pick " + p["doors"], "Settings", "Viewports", "Vpfreeze", "", "eXit",
        # On the sheet a point picks paper space, so the model-space object goes by handle.
        "CVPORT", "1", "LAYFRZ", "pick %s via %s" % (r.h["site_trees"], r.h["site"]), "eXit",
        "LAYOUT", "Model", "LAYFRZ", "pick " + p["inner"], "eXit"])
    if doc:
        check(frozen(doc) == {"Doors", "SITE|Trees", "BlkInner"},
              "globally frozen: %r" % sorted(frozen(doc)))
        vp2, vp3 = viewport(doc, 2), viewport(doc, 3)
        names2 = [l.upper() for l in vp2.frozen_layers] if vp2 else None
        names3 = [l.upper() for l in vp3.frozen_layers] if vp3 else None
        check(names2 == ["WALLS"], "viewport 2 freezes %r" % names2)
        check(names3 == [], "viewport 3 freezes %r" % names3)
        check("Layer Walls has been frozen in the current viewport." in out,
              "the viewport freeze was not reported")


def isolation_round_trip(r):
    h, p = r.h, r.h["points"]
    before = layer_settings(ezdxf.readfile(r.plan))
    out, doc = r.run("isolated", ["LAYISO", "pick " + p["walls"], "pick " + p["doors"], ""])
    if doc:
        states, strings = isolation_record(doc)
        check("_LAYISO_STATE" in states, "no isolation state after LAYISO: %r" % states)
        model = doc.layouts.get("Model").dxf_layout.dxf.handle
        check(strings == [model, ""], "record in model space: %r (model layout %s)" % (
            strings, model))
        on = {l.dxf.name for l in doc.layers if l.is_on()}
        check(on == {"Walls", "Doors"}, "layers left on: %r" % sorted(on))
        check(doc.header["$CLAYER"] == "Walls", "current layer %r" % doc.header["$CLAYER"])
    out, doc = r.run("unisolated", [
        "LAYISO", "pick " + p["walls"], "",
        "-LAYER", "New", "Added", "Rename", "Spare", "Spare2", "",
        "-PURGE", "LAyers", "Furniture",
        "LAYUNISO", "LAYUNISO"])
    if doc:
        after = layer_settings(doc)
        expected = dict(before)
        expected["SPARE2"] = expected.pop("SPARE")
        del expected["FURNITURE"]
        expected["ADDED"] = after.get("ADDED")
        check(after == expected, "settings after LAYUNISO differ: %r" % sorted(
            (k, before.get(k), after.get(k)) for k in set(after) | set(expected)
            if after.get(k) != expected.get(k)))
        states, strings = isolation_record(doc)
        check(states == [] and not strings, "record left after LAYUNISO: %r %r" % (
            states, strings))
        check("Layers restored to their settings before LAYISO." in out,
              "LAYUNISO did not report its restore")
        check("No layer isolation to undo." in out, "a second LAYUNISO did not find nothing")
    # Isolated inside viewport 3 of the layout; un-isolated from model space, which brings the
    # layout back. U takes LAYISO back as one step.
    out, doc = r.run("isolated-layout", [
        "LAYOUT", "Sheet", "CVPORT", "3", "LAYISO", "pick " + p["doors"], "",
        "LAYOUT", "Model", "LAYUNISO", "TILEMODE", "", "CVPORT", "",
        "LAYISO", "pick " + p["walls"], "", "U"])
    if doc:
        check(layer_settings(doc) == before, "LAYUNISO from the layout or U left changes")
        check("Enter new value for TILEMODE <0>" in out,
              "LAYUNISO did not go back to the layout")
    out, doc = r.run("record-layout", ["LAYOUT", "Sheet", "CVPORT", "3", "LAYISO",
                                       "pick " + p["doors"], "", "LAYISO", "pick " + p["doors"],
                                       ""])
    if doc:
        sheet = doc.layouts.get("Sheet").dxf_layout.dxf.handle
        _, strings = isolation_record(doc)
        check(strings == [sheet, viewport(doc, 3).dxf.handle],
              "record in viewport 3: %r (layout %s)" % (strings, sheet))


def main():
    use_private_config()
    tvcad, work = sys.argv[1:3]
    r = Runner(tvcad, work)
    for group in (nesting_settings, current_layer_and_undo, viewports, isolation_round_trip):
        group(r)
    if FAILURES:
        print("FAIL:\n" + "\n".join(FAILURES))
        return 1
    print("layer tools through tvcad checked: %d runs" % r.count)
    return 0


if __name__ == "__main__":
    sys.exit(main())
