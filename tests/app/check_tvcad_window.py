#!/usr/bin/python3
"""Starts the real tvcad window under Xvfb on a drawing of the shared test data, types into it
through the X server as a user would, and checks the drawing it saved with ezdxf.

Usage: check_tvcad_window.py TVCAD TESTDATA WORKDIR

Typed, in this order: "-LAYER", Freeze, Layer1 on the command line; Alt+L and the name of
Layer_color_80, Enter, in the layer control (the layer becomes current); the layer control's
context menu: Lock, then Turn Off; "U" (takes back the Off alone); "SAVEAS" and a file name;
"QUIT". The saved drawing must hold exactly these changes.

Exit 0 on success, 1 on a failure, 77 (not run) when the test data, Xvfb, xdotool or ezdxf
are missing, unless CI=true, where missing pieces are failures.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import time

DRAWING = "showcase_r2018.dxf"
FROZEN = "Layer1"
CURRENT = "Layer_color_80"
CI = os.environ.get("CI") == "true"


def not_run(why):
    print(("FAIL: " if CI else "not run: ") + why)
    sys.exit(1 if CI else 77)


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


try:
    import ezdxf
except ImportError:
    not_run("ezdxf is not importable")


def layer_states(doc):
    return {layer.dxf.name: (layer.is_frozen(), layer.is_on(), layer.is_locked(), layer.dxf.color)
            for layer in doc.layers}


class Display:
    """An Xvfb server on a free display number, stopped on exit."""

    def __init__(self):
        read_end, write_end = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x900x24",
             "-nolisten", "tcp"],
            pass_fds=(write_end,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write_end)
        number = b""
        deadline = time.time() + 30
        while not number.endswith(b"\n") and time.time() < deadline:
            chunk = os.read(read_end, 16)
            if not chunk:
                break
            number += chunk
        os.close(read_end)
        if not number.strip():
            self.stop()
            fail("Xvfb did not start")
        self.name = ":" + number.decode().strip()

    def stop(self):
        self.server.terminate()
        try:
            self.server.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.server.kill()


def main():
    tvcad, testdata, work = sys.argv[1:4]
    source = os.path.join(testdata, DRAWING)
    if not os.path.isfile(source):
        not_run("%s is not there" % source)
    for tool in ("Xvfb", "xdotool"):
        if not shutil.which(tool):
            not_run(tool + " is not installed")

    os.makedirs(work, exist_ok=True)
    drawing = os.path.join(work, "window-" + DRAWING)
    saved = os.path.join(work, "window-saved.dxf")
    shutil.copyfile(source, drawing)
    if os.path.exists(saved):
        os.remove(saved)

    display = Display()
    config = tempfile.mkdtemp(prefix="tvcad-window-")
    env = dict(os.environ, DISPLAY=display.name, XDG_CONFIG_HOME=config,
               XDG_RUNTIME_DIR=config)
    for name in ("QT_QPA_PLATFORM", "WAYLAND_DISPLAY"):
        env.pop(name, None)
    log = open(os.path.join(work, "window-tvcad.log"), "w")
    app = subprocess.Popen([tvcad, drawing], env=env, stdout=log, stderr=subprocess.STDOUT)

    def xdo(*args, timeout=30):
        return subprocess.run(["xdotool", *args], env=env, capture_output=True, text=True,
                              timeout=timeout)

    def type_line(text):
        xdo("type", "--delay", "30", "--", text)
        xdo("key", "Return")
        time.sleep(0.6)

    def key(*names):
        for name in names:
            xdo("key", name)
            time.sleep(0.4)

    try:
        found = xdo("search", "--sync", "--onlyvisible", "--name", "window-" + DRAWING,
                    timeout=60)
        window = found.stdout.split()[0] if found.returncode == 0 and found.stdout else None
        if not window:
            fail("no tvcad window appeared; its output:\n" + open(log.name).read())
        xdo("windowfocus", "--sync", window)
        xdo("mousemove", "--window", window, "400", "300")
        time.sleep(1.0)

        # The command line takes the keys typed on the window.
        type_line("-LAYER")
        type_line("Freeze")
        type_line(FROZEN)
        type_line("")
        # The layer control: Alt+L, the layer's name, Enter makes it current.
        key("alt+l")
        xdo("type", "--delay", "20", "--", CURRENT)
        time.sleep(0.4)
        key("Return")
        # Its context menu: lock it, then turn it off; U takes back the last step only.
        key("alt+l", "shift+F10", "k")
        key("alt+l", "shift+F10", "o")
        type_line("U")
        type_line("SAVEAS")
        type_line(saved)
        deadline = time.time() + 60
        while not os.path.exists(saved) and time.time() < deadline:
            time.sleep(0.2)
        if not os.path.exists(saved):
            fail("SAVEAS wrote nothing; tvcad's output:\n" + open(log.name).read())
        type_line("QUIT")
        try:
            status = app.wait(timeout=60)
        except subprocess.TimeoutExpired:
            fail("tvcad did not end after QUIT")
        if status != 0:
            fail("tvcad ended with %d:\n%s" % (status, open(log.name).read()))
    finally:
        if app.poll() is None:
            app.kill()
        display.stop()
        shutil.rmtree(config, ignore_errors=True)

    before = layer_states(ezdxf.readfile(source))
    doc = ezdxf.readfile(saved)
    after = layer_states(doc)
    if set(after) != set(before):
        fail("layer names differ: %r" % (set(after) ^ set(before)))
    expected = dict(before)
    frozen, on, locked, color = before[FROZEN]
    expected[FROZEN] = (True, on, locked, color)
    frozen, on, locked, color = before[CURRENT]
    expected[CURRENT] = (frozen, True, True, color)
    for name in sorted(after):
        if after[name] != expected[name]:
            fail("%s is (frozen, on, locked, colour) %r, expected %r"
                 % (name, after[name], expected[name]))
    if doc.header.get("$CLAYER") != CURRENT:
        fail("$CLAYER is %r, expected %r" % (doc.header.get("$CLAYER"), CURRENT))
    print("tvcad window checked: typed commands, layer control and undo saved as expected "
          "(%d layers read back by ezdxf)" % len(after))
    return 0


if __name__ == "__main__":
    sys.exit(main())
