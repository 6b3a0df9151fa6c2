#!/usr/bin/python3
"""Checks the drawings gendxf writes: ezdxf reads and audits them cleanly, the handle graph is
whole, the layer variety and the layouts are there, output is deterministic, bad command lines
fail cleanly.

Usage: check_gendxf.py PATH/TO/gendxf [unittest options]
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest

import ezdxf

GENDXF = None
STANDARD_LINEWEIGHTS = {-3, -2, -1, 0, 5, 9, 13, 15, 18, 20, 25, 30, 35, 40, 50, 53, 60, 70, 80,
                        90, 100, 106, 120, 140, 158, 200, 211}
POINTER_CODES = {331, 340, 350, 360, 390}


def gendxf(*args, check=True):
    result = subprocess.run([GENDXF, *map(str, args)], capture_output=True, text=True)
    if check and result.returncode != 0:
        raise AssertionError("gendxf %s failed: %s" % (args, result.stderr))
    return result


def read_tags(path):
    with open(path, "rb") as f:
        lines = f.read().decode("utf-8").splitlines()
    return [(int(lines[i]), lines[i + 1]) for i in range(0, len(lines) - 1, 2)]


def split_records(tags):
    """Records as (section, type, [tags]) in file order; SECTION/ENDSEC markers dropped."""
    records, section, current = [], None, None
    for code, value in tags:
        if code == 0:
            if current:
                records.append(current)
            current = None
            if value in ("SECTION", "ENDSEC", "EOF"):
                section = None if value != "SECTION" else "?"
                continue
            current = (section, value, [])
        elif code == 2 and section == "?":
            section = value
        elif current is not None:
            current[2].append((code, value))
    return records


def first(tags, code, default=None):
    return next((v for c, v in tags if c == code), default)


def subclass(tags, marker):
    """Tags of one subclass: after `100 marker` up to the next 100."""
    values, inside = [], False
    for code, value in tags:
        if code == 100:
            inside = value == marker
        elif inside:
            values.append((code, value))
    return values


def read_bytes(path):
    with open(path, "rb") as f:
        return f.read()


def xdata(tags, app):
    """Values after `1001 app` up to the next 1001."""
    values, inside = [], False
    for code, value in tags:
        if code == 1001:
            inside = value == app
        elif inside:
            values.append((code, value))
    return values


class Drawing:
    def __init__(self, path):
        self.path = path
        self.tags = read_tags(path)
        self.records = split_records(self.tags)
        self.by_handle = {}
        for record in self.records:
            handle = first(record[2], 5) or first(record[2], 105)
            if handle:
                self.by_handle.setdefault(int(handle, 16), []).append(record)

    def of_type(self, type_, section=None):
        return [r for r in self.records if r[1] == type_ and (section is None or r[0] == section)]

    def header(self, name):
        for i, (code, value) in enumerate(self.tags):
            if code == 9 and value == name:
                return self.tags[i + 1][1]
        return None


class GeneratedDrawingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.TemporaryDirectory()
        d = cls.tmp.name
        cls.paths = {
            "r2018": os.path.join(d, "r2018.dxf"),
            "r2000": os.path.join(d, "r2000.dxf"),
            "empty": os.path.join(d, "empty.dxf"),
        }
        gendxf("--layers", 300, "--entities", 4000, "--seed", 11, cls.paths["r2018"])
        gendxf("--layers", 300, "--entities", 4000, "--seed", 11, "--version", "R2000",
               cls.paths["r2000"])
        gendxf("--layers", 0, "--entities", 0, cls.paths["empty"])
        cls.drawings = {key: Drawing(path) for key, path in cls.paths.items()}

    @classmethod
    def tearDownClass(cls):
        cls.tmp.cleanup()

    def test_ezdxf_reads_and_audits_without_errors_or_fixes(self):
        for key, path in self.paths.items():
            with self.subTest(key):
                auditor = ezdxf.readfile(path).audit()
                self.assertEqual([], [str(e.message) for e in auditor.errors])
                self.assertEqual([], [str(e.message) for e in auditor.fixes])

    def test_handles_unique_below_handseed_and_pointers_resolve(self):
        for key, drawing in self.drawings.items():
            with self.subTest(key):
                duplicates = [h for h, rs in drawing.by_handle.items() if len(rs) > 1]
                self.assertEqual([], duplicates)
                handseed = int(drawing.header("$HANDSEED"), 16)
                self.assertGreater(handseed, max(drawing.by_handle))
                for section, type_, tags in drawing.records:
                    for code, value in tags:
                        if code in POINTER_CODES and value != "0" or code == 330 and value != "0":
                            self.assertIn(int(value, 16), drawing.by_handle,
                                          "%s %s: %d %s" % (type_, first(tags, 5), code, value))

    def test_owners(self):
        drawing = self.drawings["r2018"]
        records = {"*Model_Space": None, "*Paper_Space": None}
        for _, _, tags in drawing.of_type("BLOCK_RECORD"):
            records[first(tags, 2)] = first(tags, 5)
        for _, type_, tags in drawing.of_type("TABLE"):
            self.assertEqual("0", first(tags, 330))
        # Entities in ENTITIES belong to model space or, with 67 1, to the active layout.
        for section, type_, tags in drawing.records:
            if section == "ENTITIES":
                paper = first(tags, 67) == "1"
                expected = records["*Paper_Space" if paper else "*Model_Space"]
                self.assertEqual(expected, first(tags, 330), type_)
        # Entities inside a block belong to the record its BLOCK names.
        owner = None
        for section, type_, tags in drawing.records:
            if section != "BLOCKS":
                continue
            if type_ == "BLOCK":
                owner = first(tags, 330)
                self.assertEqual(records[first(tags, 2)], owner)
            self.assertEqual(owner, first(tags, 330), type_)

    def test_layer_variety(self):
        layers = self.drawings["r2018"].of_type("LAYER")
        self.assertEqual(301, len(layers))
        names = [first(t, 2) for _, _, t in layers]
        self.assertEqual(len(names), len({n.upper() for n in names}), "names differ only in case")
        self.assertTrue(all(re.fullmatch(r"0|[A-Za-z]+([-_ ][A-Za-z]+)+[-_ ]\d{4,}", n)
                            for n in names), names[:10])
        self.assertTrue({"-", "_", " "} <= {c for n in names for c in n})

        def count(pred):
            return sum(1 for _, _, t in layers if pred(t))

        flags = lambda t: int(first(t, 70))
        self.assertGreater(count(lambda t: int(first(t, 62)) < 0), 5)  # off
        self.assertGreater(count(lambda t: flags(t) & 1), 5)  # frozen
        self.assertGreater(count(lambda t: flags(t) & 2), 3)  # frozen in new viewports
        self.assertGreater(count(lambda t: flags(t) & 4), 3)  # locked
        self.assertGreater(count(lambda t: first(t, 290) == "0"), 5)  # not plotted
        self.assertGreater(count(lambda t: first(t, 420) is not None), 10)
        books = [first(t, 430) for _, _, t in layers if first(t, 430)]
        self.assertTrue(books and all("$" in b for b in books))
        self.assertTrue(all(first(t, 420) for _, _, t in layers if first(t, 430)),
                        "a colour-book colour without its true colour")
        self.assertEqual({"Continuous", "DASHED", "HIDDEN", "CENTER"},
                         {first(t, 6) for _, _, t in layers})
        weights = {int(first(t, 370)) for _, _, t in layers}
        self.assertLessEqual(weights, STANDARD_LINEWEIGHTS)
        self.assertGreater(len(weights), 10)

        descriptions = [xdata(t, "AcAecLayerStandard") for _, _, t in layers]
        described = [d for d in descriptions if d]
        self.assertGreater(len(described), 50)
        for d in described:
            self.assertEqual(2, len(d))
            self.assertEqual((1000, ""), d[0])
            self.assertEqual(1000, d[1][0])
            self.assertTrue(d[1][1])
        alphas = [xdata(t, "AcCmTransparency") for _, _, t in layers]
        alphas = [int(a[0][1]) for a in alphas if a]
        self.assertGreater(len(alphas), 10)
        self.assertTrue(all(0x02000000 <= a <= 0x020000FF for a in alphas))

        apps = {first(t, 2) for _, _, t in self.drawings["r2018"].of_type("APPID")}
        used = {v for _, _, t in layers for c, v in t if c == 1001}
        self.assertLessEqual(used, apps)
        placeholder = {first(t, 5) for _, _, t in self.drawings["r2018"].of_type("ACDBPLACEHOLDER")}
        self.assertEqual(placeholder, {first(t, 390) for _, _, t in layers})

    def test_linetypes_carry_patterns(self):
        for _, _, tags in self.drawings["r2018"].of_type("LTYPE"):
            dashes = [float(v) for c, v in tags if c == 49]
            self.assertEqual(int(first(tags, 73)), len(dashes), first(tags, 2))
            self.assertAlmostEqual(float(first(tags, 40)), sum(abs(d) for d in dashes))
            if first(tags, 2) in ("DASHED", "HIDDEN", "CENTER"):
                self.assertGreaterEqual(len(dashes), 2)

    def test_versions_hold_the_same_drawing(self):
        new, old = self.drawings["r2018"], self.drawings["r2000"]
        self.assertEqual("AC1032", new.header("$ACADVER"))
        self.assertEqual("AC1015", old.header("$ACADVER"))
        self.assertFalse([c for c, _ in old.tags if c in (420, 430)], "R2004 colours in R2000")
        names = lambda d: [first(t, 2) for _, _, t in d.of_type("LAYER")]
        self.assertEqual(names(new), names(old))
        self.assertEqual(len(new.of_type("LINE")), len(old.of_type("LINE")))
        for code, value in old.tags:
            self.assertTrue(value.isascii(), "R2000 needs \\U+ escapes, not %r" % value)
        self.assertTrue(any("\\U+" in v for c, v in old.tags if c == 1000))
        self.assertTrue(any(not v.isascii() for c, v in new.tags if c == 1000))

    def test_entities_and_nested_blocks(self):
        drawing = self.drawings["r2018"]
        model = [r for r in drawing.records if r[0] == "ENTITIES" and first(r[2], 67) != "1"]
        self.assertEqual(4000, len(model))
        self.assertEqual({"LINE", "LWPOLYLINE", "CIRCLE", "ARC", "TEXT", "INSERT"},
                         {r[1] for r in model})
        layer_names = {first(t, 2) for _, _, t in drawing.of_type("LAYER")}
        self.assertTrue(all(first(t, 8) in layer_names for _, _, t in model))
        for _, _, tags in drawing.of_type("LWPOLYLINE", "ENTITIES"):
            count = int(first(tags, 90))
            self.assertTrue(3 <= count <= 8 or first(tags, 67) == "1")
            self.assertEqual(count, sum(1 for c, _ in tags if c == 10))

        contents, block = {}, None
        for section, type_, tags in drawing.records:
            if section == "BLOCKS" and type_ == "BLOCK":
                block = first(tags, 2)
                contents[block] = []
            elif section == "BLOCKS" and type_ != "ENDBLK":
                contents[block].append((type_, first(tags, 2)))

        def depth(name):
            inner = [depth(n) for t, n in contents[name] if t == "INSERT"]
            return 1 + max(inner, default=0)

        user_blocks = [n for n in contents if not n.startswith("*")]
        self.assertEqual(2, max(depth(n) for n in user_blocks))
        inserted = {first(t, 2) for _, _, t in drawing.of_type("INSERT")}
        self.assertLessEqual(inserted, set(user_blocks))
        self.assertTrue(any(depth(n) == 2 for n in inserted))

    def test_layouts_and_viewports(self):
        for key, drawing in self.drawings.items():
            with self.subTest(key):
                root = drawing.of_type("DICTIONARY", "OBJECTS")[0][2]
                self.assertEqual("0", first(root, 330))
                self.assertEqual(["ACAD_GROUP", "ACAD_LAYOUT", "ACAD_PLOTSTYLENAME"],
                                 [v for c, v in root if c == 3])
                layouts = {first(subclass(t, "AcDbLayout"), 1): t
                           for _, _, t in drawing.of_type("LAYOUT")}
                self.assertEqual({"Model", "Layout1", "Layout2"}, set(layouts))
                layer_handles = {first(t, 5) for _, _, t in drawing.of_type("LAYER")}
                for name, block in (("Layout1", "*Paper_Space"), ("Layout2", "*Paper_Space0")):
                    record = [t for _, _, t in drawing.of_type("BLOCK_RECORD")
                              if first(t, 2) == block][0]
                    self.assertEqual(first(layouts[name], 5), first(record, 340))
                    self.assertEqual(first(record, 5),
                                     first(subclass(layouts[name], "AcDbLayout"), 330))
                    ports = [t for _, _, t in drawing.of_type("VIEWPORT")
                             if first(t, 330) == first(record, 5)]
                    self.assertEqual([1, 2, 3], [int(first(t, 69)) for t in ports])
                    self.assertFalse([v for c, v in ports[0] if c == 331])
                    for port in ports[1:]:
                        frozen = [v for c, v in port if c == 331]
                        self.assertEqual(len(frozen), len(set(frozen)))
                        self.assertLessEqual(set(frozen), layer_handles)
                        if key != "empty":
                            self.assertTrue(3 <= len(frozen) <= 8, frozen)


class CommandLineTest(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory()
        self.addCleanup(self.tmp.cleanup)

    def path(self, name):
        return os.path.join(self.tmp.name, name)

    def test_same_seed_same_bytes_other_seed_other_drawing(self):
        a, b, c = self.path("a.dxf"), self.path("b.dxf"), self.path("c.dxf")
        gendxf("--layers", 50, "--entities", 1000, "--seed", 5, a)
        gendxf("--layers", 50, "--entities", 1000, "--seed", 5, b)
        gendxf("--layers", 50, "--entities", 1000, "--seed", 6, c)
        self.assertEqual(read_bytes(a), read_bytes(b))
        self.assertNotEqual(read_bytes(a), read_bytes(c))

    def test_crlf_is_the_same_drawing(self):
        lf, crlf = self.path("lf.dxf"), self.path("crlf.dxf")
        gendxf("--layers", 20, "--entities", 200, lf)
        gendxf("--layers", 20, "--entities", 200, "--crlf", crlf)
        data = read_bytes(crlf)
        self.assertEqual(data.count(b"\n"), data.count(b"\r\n"))
        self.assertEqual(read_bytes(lf), data.replace(b"\r\n", b"\n"))
        self.assertEqual(0, len(ezdxf.readfile(crlf).audit().errors))

    def test_full_size_drawing_is_about_56_mb(self):
        out = self.path("full.dxf")
        gendxf("--layers", 2000, "--entities", 200000, out)
        self.assertAlmostEqual(56.0, os.path.getsize(out) / 1e6, delta=3.0)

    def test_bad_command_lines_fail_without_leaving_files(self):
        out = self.path("x.dxf")
        for args in (["--version", "R14", out], ["--layers", "-1", out], ["--entities", "1e3", out],
                     ["--frobnicate", out], [], ["--layers", "5"], [out, "--cache-dir", "d"]):
            with self.subTest(args):
                result = gendxf(*args, check=False)
                self.assertEqual(2, result.returncode)
                self.assertTrue(result.stderr)
        result = gendxf(os.path.join(self.tmp.name, "missing", "x.dxf"), check=False)
        self.assertEqual(1, result.returncode)
        self.assertIn("cannot create", result.stderr)
        self.assertEqual([], os.listdir(self.tmp.name))

    def test_cache_dir_generates_once(self):
        cache = self.path("cache")
        first_path = gendxf("--layers", 10, "--entities", 100, "--cache-dir", cache).stdout.strip()
        self.assertTrue(os.path.isfile(first_path))
        self.assertIn("L10-E100-R2018-s1", os.path.basename(first_path))
        os.utime(first_path, (1, 1))
        again = gendxf("--layers", 10, "--entities", 100, "--cache-dir", cache).stdout.strip()
        self.assertEqual(first_path, again)
        self.assertEqual(1, os.stat(again).st_mtime)
        other = gendxf("--layers", 10, "--entities", 100, "--version", "R2000",
                       "--cache-dir", cache).stdout.strip()
        self.assertNotEqual(first_path, other)
        self.assertEqual(2, len(os.listdir(cache)))


if __name__ == "__main__":
    if len(sys.argv) < 2 or not os.access(sys.argv[1], os.X_OK):
        sys.exit(__doc__)
    GENDXF = os.path.abspath(sys.argv.pop(1))
    unittest.main()
