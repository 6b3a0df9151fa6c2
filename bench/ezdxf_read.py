#!/usr/bin/python3
"""Times ezdxf reading DXF files, as a yardstick for the Host's load benchmark.

Usage: ezdxf_read.py [--repeat N] FILE.dxf ...

Each file is read in a child process of its own, so that the peak memory reported is that of
one load and nothing else. The table gives MB/s (10^6 bytes) and MiB/s, the unit of Google
Benchmark's bytes_per_second, so the two can be put side by side.
"""

import argparse
import json
import os
import resource
import subprocess
import sys
import time

MB = 1e6
MIB = 1024.0 * 1024.0


def rss_kb():
    with open("/proc/self/status") as status:
        for line in status:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    return 0


def read_once(path):
    """Child side: one timed read; prints a JSON line."""
    import ezdxf  # imported before measuring, its own size is not the drawing's

    base_kb = rss_kb()
    start = time.perf_counter()
    doc = ezdxf.readfile(path)
    seconds = time.perf_counter() - start
    peak_kb = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(json.dumps({
        "seconds": seconds,
        "peak_mb": max(peak_kb - base_kb, 0) * 1024 / MB,
        "layers": len(doc.layers),
        "entities": len(doc.modelspace()),
    }))


def measure(path, repeat):
    best = None
    for _ in range(repeat):
        child = subprocess.run([sys.executable, os.path.abspath(__file__), "--one", path],
                               capture_output=True, text=True)
        if child.returncode != 0:
            raise RuntimeError("ezdxf failed on %s:\n%s" % (path, child.stderr.strip()))
        result = json.loads(child.stdout.strip().splitlines()[-1])
        if best is None or result["seconds"] < best["seconds"]:
            best = result
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("files", nargs="+", metavar="FILE.dxf")
    parser.add_argument("--repeat", type=int, default=1, help="best of N reads (default 1)")
    parser.add_argument("--one", action="store_true", help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.one:
        read_once(args.files[0])
        return 0
    if args.repeat < 1:
        parser.error("--repeat needs at least 1")

    import ezdxf
    print("ezdxf %s, Python %s" % (ezdxf.__version__, sys.version.split()[0]))
    header = "%-48s %9s %8s %7s %7s %8s %6s %7s %9s" % (
        "file", "file_MB", "seconds", "MB/s", "MiB/s", "peak_MB", "peak_x", "layers", "entities")
    print(header)
    print("-" * len(header))
    failed = 0
    for path in args.files:
        if not os.path.isfile(path):
            print("ezdxf_read.py: no file %s" % path, file=sys.stderr)
            failed += 1
            continue
        size = os.path.getsize(path)
        try:
            r = measure(path, args.repeat)
        except RuntimeError as error:
            print(error, file=sys.stderr)
            failed += 1
            continue
        print("%-48s %9.1f %8.2f %7.2f %7.2f %8.0f %6.1f %7d %9d" % (
            os.path.basename(path)[:48], size / MB, r["seconds"], size / MB / r["seconds"],
            size / MIB / r["seconds"], r["peak_mb"], r["peak_mb"] / (size / MB), r["layers"],
            r["entities"]), flush=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
