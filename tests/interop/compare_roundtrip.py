#!/usr/bin/python3
"""Round trip a drawing through tvdxf and compare both files as ezdxf reads them.

Usage: compare_roundtrip.py TVDXF INPUT.dxf WORKDIR

Runs `TVDXF roundtrip INPUT WORKDIR/<stem>.roundtrip.dxf`, summarises input and output with
ezdxf_dump and prints every difference. Exit 0 when the summaries agree, 1 on a difference or
when the round trip fails, 77 (skip) when INPUT is missing or ezdxf is not importable.
"""

import difflib
import json
import math
import os
import subprocess
import sys

EXIT_OK = 0
EXIT_DIFFERENT = 1
EXIT_SKIP = 77

R12 = "AC1009"
R12_SAVED_AS = "AC1015"
TOOL_TIMEOUT_S = 300
MAX_REPORTED = 200

# What an R12 drawing cannot hold: a writer that saves it as R2000 may fill these with defaults.
R12_ABSENT_TOP = ("objects", "layer_table_xdict")
R12_ABSENT_LAYER = ("true_color", "color_name", "lineweight", "plot", "xdict")


def short(value, limit=160):
    text = json.dumps(value, ensure_ascii=False, sort_keys=True)
    return text if len(text) <= limit else text[:limit] + "..."


def key_path(path, key):
    return f"{path}[{json.dumps(key, ensure_ascii=False)}]" if path else str(key)


def same_number(a, b):
    return math.isclose(a, b, rel_tol=1e-9, abs_tol=1e-12)


def is_number(value):
    return isinstance(value, (int, float)) and not isinstance(value, bool)


def diff_lists(a, b, path, out):
    if len(a) == len(b):
        for index, (x, y) in enumerate(zip(a, b)):
            diff(x, y, f"{path}[{index}]", out)
        return
    # Items were added or dropped: align them so one lost tag is one line, not a cascade.
    out.append(f"{path}: {len(a)} items in input, {len(b)} in output")
    left = [short(x) for x in a]
    right = [short(y) for y in b]
    matcher = difflib.SequenceMatcher(a=left, b=right, autojunk=False)
    for op, a0, a1, b0, b1 in matcher.get_opcodes():
        if op in ("delete", "replace"):
            for index in range(a0, a1):
                out.append(f"{path}[{index}]: only in input: {left[index]}")
        if op in ("insert", "replace"):
            for index in range(b0, b1):
                out.append(f"{path}[{index}]: only in output: {right[index]}")


def diff(a, b, path, out):
    """Appends one line per difference between two summaries to out."""
    if isinstance(a, dict) and isinstance(b, dict):
        for key in sorted(set(a) | set(b), key=str):
            where = key_path(path, key)
            if key not in b:
                out.append(f"{where}: only in input: {short(a[key])}")
            elif key not in a:
                out.append(f"{where}: only in output: {short(b[key])}")
            else:
                diff(a[key], b[key], where, out)
    elif isinstance(a, list) and isinstance(b, list):
        diff_lists(a, b, path, out)
    elif is_number(a) and is_number(b):
        if not same_number(a, b):
            out.append(f"{path}: {short(a)} -> {short(b)}")
    elif a != b or type(a) is not type(b):
        out.append(f"{path}: {short(a)} -> {short(b)}")


def without_r12_absent(summary):
    """Drops what an R12 drawing cannot carry from both sides of an R12 comparison."""
    reduced = {k: v for k, v in summary.items() if k not in R12_ABSENT_TOP}
    reduced["layers"] = {
        name: {k: v for k, v in layer.items() if k not in R12_ABSENT_LAYER}
        for name, layer in summary["layers"].items()
    }
    return reduced


def compare(before, after):
    """Returns (differences, notes) for the summaries of the input and the output."""
    before = dict(before)
    after = dict(after)
    notes = []
    out = []
    version_in = before.pop("dxfversion")
    version_out = after.pop("dxfversion")
    loader_in = before.pop("loader")
    loader_out = after.pop("loader")

    if version_in == R12:
        if version_out != R12_SAVED_AS:
            out.append(f"dxfversion: R12 input must be saved as {R12_SAVED_AS}, got {version_out}")
        notes.append("R12 input: fields R12 cannot hold are not compared")
        before = without_r12_absent(before)
        after = without_r12_absent(after)
    elif version_in != version_out:
        out.append(f"dxfversion: {version_in} -> {version_out}")

    for side, loader in (("input", loader_in), ("output", loader_out)):
        if loader["method"] != "readfile":
            notes.append(f"ezdxf needed its recovering reader for the {side}: "
                         f"{loader['readfile_error']}")
    if loader_in["method"] == "readfile" and loader_out["method"] != "readfile":
        out.append("loader: ezdxf reads the input strictly but the output only with recover")

    diff(before, after, "", out)
    return out, notes


def run_tool(tool, source, target):
    """Returns None on success or a message saying how the round trip failed."""
    if os.path.exists(target):
        os.remove(target)
    try:
        done = subprocess.run([tool, "roundtrip", source, target], capture_output=True,
                              text=True, errors="replace", timeout=TOOL_TIMEOUT_S)
    except OSError as error:
        return f"cannot run {tool}: {error}"
    except subprocess.TimeoutExpired:
        return f"{tool} roundtrip did not finish within {TOOL_TIMEOUT_S} s"
    if done.returncode != 0:
        return (f"{tool} roundtrip exited with {done.returncode}\n"
                f"stdout:\n{done.stdout}\nstderr:\n{done.stderr}")
    if not os.path.isfile(target):
        return f"{tool} roundtrip exited with 0 but wrote no {target}"
    return None


def main(argv):
    if len(argv) != 4:
        print("usage: compare_roundtrip.py TVDXF INPUT.dxf WORKDIR", file=sys.stderr)
        return 2
    tool, source, workdir = argv[1:]
    if not os.path.isfile(source):
        if os.environ.get("CI") == "true":
            print(f"FAIL: input drawing {source} does not exist (CI=true)")
            return EXIT_DIFFERENT
        print(f"SKIP: input drawing {source} does not exist")
        return EXIT_SKIP
    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    sys.dont_write_bytecode = True  # no __pycache__ in the source tree
    try:
        import ezdxf_dump
    except ImportError as error:
        print(f"SKIP: ezdxf is not importable by {sys.executable}: {error}")
        return EXIT_SKIP

    stem = os.path.splitext(os.path.basename(source))[0]
    os.makedirs(workdir, exist_ok=True)
    target = os.path.join(workdir, stem + ".roundtrip.dxf")

    try:
        before = ezdxf_dump.dump(source)
    except Exception as error:
        print(f"SKIP: ezdxf cannot read the input {source}, nothing to compare against: "
              f"{type(error).__name__}: {error}")
        return EXIT_SKIP

    failure = run_tool(tool, source, target)
    if failure:
        print(f"FAIL: {failure}")
        return EXIT_DIFFERENT
    try:
        after = ezdxf_dump.dump(target)
    except Exception as error:
        print(f"FAIL: ezdxf cannot read the round-tripped {target}: "
              f"{type(error).__name__}: {error}")
        return EXIT_DIFFERENT

    # Kept beside the output for reading after a failure; rewritten on every run.
    for suffix, summary in ((".input.json", before), (".output.json", after)):
        with open(os.path.join(workdir, stem + suffix), "w", encoding="utf-8") as file:
            file.write(ezdxf_dump.to_json(summary))

    print(f"round trip {source} ({before['dxfversion']}) -> {target} ({after['dxfversion']})")
    differences, notes = compare(before, after)
    for note in notes:
        print(f"note: {note}")
    if not differences:
        print("PASS: ezdxf reads the same layers, linetypes, objects, viewports and entities")
        return EXIT_OK
    print(f"FAIL: {len(differences)} difference(s), input -> output:")
    for line in differences[:MAX_REPORTED]:
        print(f"  {line}")
    if len(differences) > MAX_REPORTED:
        print(f"  ... and {len(differences) - MAX_REPORTED} more")
    return EXIT_DIFFERENT


if __name__ == "__main__":
    sys.exit(main(sys.argv))
