#!/usr/bin/python3
"""Runs the tvcad program on a drawing with a -LAYER script and checks the saved file.

Usage: check_tvcad_run.py TVCAD TVDXF DRAWING.dxf WORKDIR

The script freezes, thaws, makes and sets layers, then saves with SAVEAS. The saved file is
read back twice: by `tvdxf layers` (our reader) and by ezdxf (an independent one); both must
show the changes, and every layer the script did not touch must be as it was. Exit 0 on
success, 1 on a failure, 77 (skip) when ezdxf cannot be imported.
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

FROZEN = ("A-FURN-0004", "P-PIPE-0008")
THAWED = "S-FLOR-OTLN-0019"
MADE = "DEMO-MADE"
SET = "E-FLOR-0001"


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def layer_summary(doc):
    return {
        layer.dxf.name: (layer.is_frozen(), layer.is_on(), layer.is_locked(), layer.dxf.color)
        for layer in doc.layers
    }


def main():
    use_private_config()
    tvcad, tvdxf, drawing, work = sys.argv[1:5]
    os.makedirs(work, exist_ok=True)
    saved = os.path.join(work, "tvcad_saved.dxf")
    if os.path.exists(saved):
        os.remove(saved)
    script = os.path.join(work, "changes.scr")
    with open(script, "w", encoding="utf-8") as f:
        f.write("\n".join([
            "-LAYER", "Freeze", ",".join(FROZEN), "_Thaw", THAWED, "Make", MADE,
            "Set", SET, "", "SAVEAS", saved, "QUIT", ""]))
    run = subprocess.run([tvcad, "--script", script, drawing], capture_output=True, text=True,
                         timeout=300)
    if run.returncode != 0:
        fail("tvcad exited with %d\n%s\n%s" % (run.returncode, run.stdout, run.stderr))
    if "Saved " + saved not in run.stdout:
        fail("tvcad did not report the save:\n" + run.stdout)

    # Our own reader, through the command-line tool.
    listing = subprocess.run([tvdxf, "layers", saved], capture_output=True, text=True,
                             timeout=300)
    if listing.returncode != 0:
        fail("tvdxf cannot read the saved file: " + listing.stderr)
    rows = {line.split()[0]: line.split() for line in listing.stdout.splitlines()[1:] if line}
    for name in FROZEN:
        if rows.get(name, [None, None, None])[2] != "yes":
            fail("tvdxf: %s is not frozen" % name)
    if rows.get(THAWED, [None, None, None])[2] != "no":
        fail("tvdxf: %s is not thawed" % THAWED)
    if MADE not in rows:
        fail("tvdxf: %s is missing" % MADE)
    if "(current)" not in " ".join(rows.get(SET, [])):
        fail("tvdxf: %s is not current" % SET)

    # The independent reader.
    before = layer_summary(ezdxf.readfile(drawing))
    doc = ezdxf.readfile(saved)
    after = layer_summary(doc)
    for name in FROZEN:
        if not after[name][0]:
            fail("ezdxf: %s is not frozen" % name)
    if after[THAWED][0]:
        fail("ezdxf: %s is still frozen" % THAWED)
    if MADE not in after:
        fail("ezdxf: %s is missing" % MADE)
    if doc.header.get("$CLAYER") != SET:
        fail("ezdxf: $CLAYER is %r" % doc.header.get("$CLAYER"))
    touched = set(FROZEN) | {THAWED, MADE}
    for name, state in before.items():
        if name not in touched and after.get(name) != state:
            fail("ezdxf: %s changed from %r to %r" % (name, state, after.get(name)))
    if set(after) != set(before) | {MADE}:
        fail("ezdxf: layer names differ: %r" % (set(after) ^ (set(before) | {MADE})))
    print("tvcad run checked: %d layers, saved file read by tvdxf and ezdxf" % len(after))
    return 0


if __name__ == "__main__":
    sys.exit(main())
