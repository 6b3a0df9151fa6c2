#!/usr/bin/python3
"""Layer states through the tvcad program, checked with ezdxf.

Usage: check_tvcad_layerstates.py TVCAD DRAWING.dxf WORKDIR

A script saves a layer state, changes layers with -LAYER, restores the state with only the
frozen and colour properties, exports it to a .las file and saves the drawing. ezdxf must then
find exactly the masked properties restored, one xrecord per state in the layer-states
dictionary with the expected group codes, and the .las file must import into another drawing.
Exit 0 on success, 1 on a failure, 77 (skip) when ezdxf cannot be imported.
"""

import os
import shutil
import subprocess
import sys

from private_config import use_private_config

try:
    import ezdxf
except ImportError:
    print("ezdxf is not importable: skipped")
    sys.exit(77)

FROZEN = "A-FURN-0004"    # frozen by the script, thawed by the restore (frozen is restored)
RECOLOURED = "P-PIPE-0008"  # red by the script, back to its colour (colour is restored)
LOCKED = "E-FLOR-0001"    # locked by the script and stays locked (locking is not restored)


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def run_tvcad(tvcad, lines, drawing):
    script = os.path.join(WORK, "script.scr")
    with open(script, "w", encoding="utf-8") as f:
        f.write("\n".join(lines) + "\n")
    args = [tvcad, "--script", script] + ([drawing] if drawing else [])
    run = subprocess.run(args, capture_output=True, text=True, timeout=300)
    if run.returncode != 0:
        fail("tvcad exited with %d\n%s\n%s" % (run.returncode, run.stdout, run.stderr))
    return run.stdout


def main():
    global WORK
    use_private_config()
    tvcad, drawing, WORK = sys.argv[1:4]
    os.makedirs(WORK, exist_ok=True)
    saved = os.path.join(WORK, "restored.dxf")
    las = os.path.join(WORK, "plan.las")
    for path in (saved, las):
        if os.path.exists(path):
            os.remove(path)
    out = run_tvcad(tvcad, [
        "-LAYERSTATE", "_Save", "Plan", "as drawn", "Save", "Second", "", "",
        "-LAYER", "Freeze", FROZEN, "Color", "1", RECOLOURED, "LOck", LOCKED, "",
        "-LAYERSTATE", "Restore", "plan", "Frozen", "_Color", "", "Export", "Plan", las, "",
        "SAVEAS", saved, "QUIT"], drawing)
    if 'Layer state "Plan" restored.' not in out:
        fail("the restore was not reported:\n" + out)

    before = ezdxf.readfile(drawing)
    doc = ezdxf.readfile(saved)
    layer = doc.layers.get
    if layer(FROZEN).is_frozen():
        fail("%s is still frozen" % FROZEN)
    if layer(RECOLOURED).dxf.color != before.layers.get(RECOLOURED).dxf.color:
        fail("%s has colour %d" % (RECOLOURED, layer(RECOLOURED).dxf.color))
    if not layer(LOCKED).is_locked():
        fail("%s was unlocked although locking was not restored" % LOCKED)
    for other in before.layers:
        name = other.dxf.name
        if name in (FROZEN, RECOLOURED, LOCKED):
            continue
        if (other.is_frozen(), other.is_locked(), other.is_on(), other.dxf.color) != (
                layer(name).is_frozen(), layer(name).is_locked(), layer(name).is_on(),
                layer(name).dxf.color):
            fail("%s changed" % name)

    # The states as another reader finds them: one xrecord each, with their group codes.
    states = doc.layers.head.get_extension_dict()["ACAD_LAYERSTATES"]
    if sorted(states.keys()) != ["Plan", "Second"]:
        fail("states in the drawing: %r" % sorted(states.keys()))
    plan = states["Plan"]
    if plan.dxftype() != "XRECORD":
        fail("Plan is a %s" % plan.dxftype())
    tags = list(plan.tags)
    codes = [t.code for t in tags]
    if codes[:4] != [91, 301, 290, 302]:
        fail("head of the xrecord: %r" % codes[:4])
    if tags[0].value != 0x12:
        fail("stored mask %r, expected 18 (frozen and colour)" % tags[0].value)
    if tags[1].value != "as drawn":
        fail("description %r" % tags[1].value)
    per_layer = codes[4:]
    layers_in_state = per_layer.count(330)
    # ezdxf adds a Defpoints layer to drawings that have none; it is not in the file.
    with open(drawing, "rb") as f:
        has_defpoints = b"Defpoints" in f.read()
    in_file = [l for l in before.layers if l.dxf.name != "Defpoints" or has_defpoints]
    if layers_in_state != len(in_file):
        fail("%d layers in the state, %d in the drawing" % (layers_in_state, len(in_file)))
    if per_layer[:6] != [330, 90, 62, 370, 331, 1]:
        fail("a layer's codes: %r" % per_layer[:6])
    handles = {l.dxf.handle for l in doc.layers}
    for t in tags:
        if t.code == 330 and t.value not in handles:
            fail("a 330 refers to %s, which is not a layer" % t.value)

    # The exported file imports into another drawing (a new one).
    with open(las, "rb") as f:
        data = f.read()
    if not data.startswith(b"  0\r\nLAYERSTATEDICTIONARY\r\n") or not data.endswith(b"\r\n\0"):
        fail("the .las file does not look as it should: %r ... %r" % (data[:30], data[-10:]))
    out = run_tvcad(tvcad, ["-LAYERSTATE", "Import", las, "?", "", "QUIT", "No"], None)
    if 'Layer state "Plan" imported.' not in out or "Plan\tas drawn" not in out:
        fail("the import into a new drawing failed:\n" + out)
    # A file name beyond ASCII (UTF-8, as the script is written) imports too, in every locale.
    named = os.path.join(WORK, "W\u00e4nde.las")
    shutil.copyfile(las, named)
    out = run_tvcad(tvcad, ["-LAYERSTATE", "Import", named, "?", "", "QUIT", "No"], None)
    if 'Layer state "Plan" imported.' not in out:
        fail("the import of %s failed:\n%s" % (named, out))
    print("layer states through tvcad checked: %d layers in the state" % layers_in_state)
    return 0


if __name__ == "__main__":
    sys.exit(main())
