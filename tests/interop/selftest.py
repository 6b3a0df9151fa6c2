#!/usr/bin/python3
"""Checks that compare_roundtrip.py notices lost data and fails where it must.

Fake round-trip tools are written to a temporary folder: one that copies, one that edits a
single tag of the drawing, one that re-saves R12 as R2000 through ezdxf, and broken ones.
Usage: selftest.py TESTDATA_DIR   (exit 0 all good, 1 on a failure, 77 when nothing to test)
"""

import importlib
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
COMPARE = os.path.join(HERE, "compare_roundtrip.py")
TESTDATA = sys.argv[1] if len(sys.argv) > 1 else os.path.join(HERE, "../../../shared/testdata")

# Edits one tag of one record, addressed by record type, a (code, value) pair inside the record
# and the code of the tag to change. The edit comes in FAKE_EDIT as JSON.
EDITING_TOOL = r'''#!/usr/bin/python3
import json, os, sys
edit = json.loads(os.environ["FAKE_EDIT"])
with open(sys.argv[2], "rb") as file:
    lines = [line.rstrip("\r") for line in file.read().decode("latin-1").split("\n")]
pairs = [[lines[i], lines[i + 1]] for i in range(0, len(lines) - 1, 2)]
starts = [i for i, (code, _) in enumerate(pairs) if code.strip() == "0"] + [len(pairs)]
def find():
    for begin, end in zip(starts, starts[1:]):
        record = pairs[begin:end]
        if record[0][1].strip() != edit["record"]:
            continue
        if "where" in edit and [str(edit["where"][0]), edit["where"][1]] not in [
                [c.strip(), v.strip()] for c, v in record]:
            continue
        if edit.get("drop_record"):
            return begin, end
        for index in range(begin, end):
            code, value = pairs[index]
            if code.strip() == str(edit["code"]) and edit.get("old", value) == value:
                return index, index + 1
    sys.exit("edit target not found")
begin, end = find()
if "value" in edit:
    pairs[begin][1] = edit["value"]
else:
    del pairs[begin:end]
with open(sys.argv[3], "wb") as file:
    file.write("".join(c + "\r\n" + v + "\r\n" for c, v in pairs).encode("latin-1"))
'''

COPYING_TOOL = "#!/bin/sh\ncp \"$2\" \"$3\"\n"
FAILING_TOOL = "#!/bin/sh\necho 'cannot open drawing' >&2\nexit 3\n"
SILENT_TOOL = "#!/bin/sh\nexit 0\n"
GARBAGE_TOOL = "#!/bin/sh\necho 'not a drawing' > \"$3\"\n"

# ezdxf writes \U+ escapes in lower case but reads only upper case ones back.
UPGRADING_TOOL = r'''#!/usr/bin/python3
import re, sys
from ezdxf import recover
doc, _ = recover.readfile(sys.argv[2])
doc.dxfversion = "AC1015"
doc.saveas(sys.argv[3])
with open(sys.argv[3], "rb") as file:
    data = file.read()
data = re.sub(rb"\\U\+([0-9a-f]{4})", lambda m: b"\\U+" + m.group(1).upper(), data)
with open(sys.argv[3], "wb") as file:
    file.write(data)
'''


class CompareRoundtripTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.mkdtemp(prefix="interop-selftest-")
        cls.tools = {}
        for name, text in (("copy", COPYING_TOOL), ("edit", EDITING_TOOL),
                           ("fail", FAILING_TOOL), ("silent", SILENT_TOOL),
                           ("garbage", GARBAGE_TOOL), ("upgrade", UPGRADING_TOOL)):
            path = os.path.join(cls.tmp, "fake_" + name)
            with open(path, "w", encoding="ascii") as file:
                file.write(text)
            os.chmod(path, 0o755)
            cls.tools[name] = path

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.tmp)

    def run_compare(self, tool, drawing, edit=None, workdir="work", ci=None):
        env = dict(os.environ)
        env.pop("CI", None)
        if ci is not None:
            env["CI"] = ci
        if edit is not None:
            env["FAKE_EDIT"] = json.dumps(edit)
        done = subprocess.run(
            [sys.executable, COMPARE, self.tools[tool], os.path.join(TESTDATA, drawing),
             os.path.join(self.tmp, workdir)],
            capture_output=True, text=True, env=env, timeout=600)
        return done.returncode, done.stdout + done.stderr

    def assert_caught(self, drawing, edit, *expected):
        code, output = self.run_compare("edit", drawing, edit)
        self.assertEqual(code, 1, output)
        for text in expected:
            self.assertIn(text, output)

    def test_unchanged_copy_passes(self):
        for drawing in ("showcase_r2018.dxf", "netdxf_layerstates.dxf"):
            with self.subTest(drawing=drawing):
                code, output = self.run_compare("copy", drawing)
                self.assertEqual(code, 0, output)

    def test_layer_properties_are_compared(self):
        cases = [
            ({"record": "LAYER", "where": [2, "Layer_color_80"], "code": 62, "value": "81"},
             'layers["Layer_color_80"]["color"]: 80 -> 81'),
            ({"record": "LAYER", "where": [2, "Layer_Off"], "code": 62, "value": "7"},
             'layers["Layer_Off"]["on"]: false -> true'),
            ({"record": "LAYER", "where": [2, "Layer_Freeze"], "code": 70, "value": "0"},
             'layers["Layer_Freeze"]["frozen"]: true -> false'),
            ({"record": "LAYER", "where": [2, "Layer_color_book"], "code": 430,
              "value": "RAL CLASSIC$RAL 1006"}, 'layers["Layer_color_book"]["color_name"]'),
            ({"record": "LAYER", "where": [2, "Layer_transp_70"], "code": 1071,
              "value": "33554532"}, 'layers["Layer_transp_70"]["transparency"]'),
            ({"record": "LAYER", "where": [2, "Layer_desc"], "code": 1000,
              "old": "This layer has it's own description", "value": "Another description"},
             'layers["Layer_desc"]["description"]'),
        ]
        for edit, expected in cases:
            with self.subTest(layer=edit["where"][1], code=edit["code"]):
                self.assert_caught("showcase_r2018.dxf", edit, expected)

    def test_layer_state_and_viewport_changes_are_caught(self):
        self.assert_caught(
            "netdxf_layerstates.dxf",
            {"record": "XRECORD", "where": [301, "Description for LayerState1"], "code": 301,
             "value": "Changed"},
            '["LayerState1"]["tags"][1][1]: "Description for LayerState1" -> "Changed"')
        self.assert_caught(
            "ezdxf_viewport_frozen_layers.dxf",
            {"record": "VIEWPORT", "where": [69, "4"], "code": 331},
            '["viewports"][2]["frozen_layers"]: 1 items in input, 0 in output')

    def test_lost_entity_and_changed_version_are_caught(self):
        self.assert_caught("showcase_r2018.dxf", {"record": "CIRCLE", "drop_record": True},
                           '["CIRCLE"]: ')
        self.assert_caught(
            "showcase_r2018.dxf",
            {"record": "SECTION", "where": [9, "$ACADVER"], "code": 1, "value": "AC1027"},
            "dxfversion: AC1032 -> AC1027")

    def test_r12_must_become_r2000(self):
        code, output = self.run_compare("upgrade", "showcase_r12.dxf")
        self.assertEqual(code, 0, output)
        self.assertIn("R12 input: fields R12 cannot hold are not compared", output)
        code, output = self.run_compare("copy", "showcase_r12.dxf")
        self.assertEqual(code, 1, output)
        self.assertIn("R12 input must be saved as AC1015, got AC1009", output)

    def test_failing_tools_fail_the_test(self):
        cases = [("fail", "exited with 3"), ("silent", "wrote no"),
                 ("garbage", "ezdxf cannot read the round-tripped")]
        for tool, expected in cases:
            with self.subTest(tool=tool):
                # A good output left over from an earlier run must not count for this one.
                self.assertEqual(self.run_compare("copy", "ezdxf_visibility.dxf", workdir=tool)[0],
                                 0)
                code, output = self.run_compare(tool, "ezdxf_visibility.dxf", workdir=tool)
                self.assertEqual(code, 1, output)
                self.assertIn(expected, output)

    def test_missing_input_is_a_skip_and_a_failure_in_ci(self):
        code, output = self.run_compare("copy", "no_such_drawing.dxf")
        self.assertEqual(code, 77, output)
        self.assertIn("does not exist", output)
        code, output = self.run_compare("copy", "no_such_drawing.dxf", ci="true")
        self.assertEqual(code, 1, output)


if __name__ == "__main__":
    if not os.path.isdir(TESTDATA):
        print(f"{TESTDATA} not found: interop self test skipped")
        sys.exit(1 if os.environ.get("CI") == "true" else 77)
    try:
        importlib.import_module("ezdxf")
    except ImportError as error:
        print(f"SKIP: ezdxf is not importable by {sys.executable}: {error}")
        sys.exit(77)
    result = unittest.main(argv=sys.argv[:1], exit=False, verbosity=2).result
    sys.exit(0 if result.wasSuccessful() else 1)
