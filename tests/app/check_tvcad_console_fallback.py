#!/usr/bin/python3
"""tvcad without a display: it says why on standard error and works on the console instead;
--console does so without trying and without a word; --script never opens a window.

Usage: check_tvcad_console_fallback.py TVCAD WORKDIR

Exit 0 on success, 1 on a failure.
"""

import os
import subprocess
import sys
import tempfile


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def run(tvcad, args, display, stdin):
    config = tempfile.mkdtemp(prefix="tvcad-console-")
    env = dict(os.environ, XDG_CONFIG_HOME=config)
    for name in ("QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"):
        env.pop(name, None)
    if display:
        env["DISPLAY"] = display
    return subprocess.run([tvcad, "--no-module", *args], input=stdin, env=env,
                          capture_output=True, text=True, timeout=120)


def main():
    tvcad, work = sys.argv[1:3]
    os.makedirs(work, exist_ok=True)
    commands = "CMDECHO\n0\nCMDECHO\n\nQUIT\n"

    for display, why in ((None, "no display: DISPLAY is not set"),
                         (":9731", 'cannot open display ":9731"')):
        done = run(tvcad, [], display, commands)
        if done.returncode != 0:
            fail("exit %d without a display:\n%s%s" % (done.returncode, done.stdout, done.stderr))
        expected = "tvcad: %s; working on the console (--console does so at once).\n" % why
        if done.stderr != expected:
            fail("standard error is %r, expected %r" % (done.stderr, expected))
        if "Enter new value for CMDECHO <0>" not in done.stdout:
            fail("the console did not run the commands:\n" + done.stdout)

    done = run(tvcad, ["--console"], ":9731", commands)
    if done.returncode != 0 or done.stderr:
        fail("--console: exit %d, standard error %r" % (done.returncode, done.stderr))
    if "Command: " not in done.stdout:
        fail("--console printed no prompt:\n" + done.stdout)

    script = os.path.join(work, "fallback.scr")
    with open(script, "w", encoding="utf-8") as f:
        f.write(commands)
    done = run(tvcad, ["--script", script], ":9731", "")
    if done.returncode != 0 or done.stderr:
        fail("--script: exit %d, standard error %r" % (done.returncode, done.stderr))
    print("tvcad without a display works on the console and says why")
    return 0


if __name__ == "__main__":
    sys.exit(main())
