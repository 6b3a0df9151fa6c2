"""Gives the tvcad runs of a check a settings folder of its own, so that no check reads or
writes the user's settings: XDG_CONFIG_HOME points to a temporary folder, removed at exit."""

import atexit
import os
import shutil
import tempfile


def use_private_config():
    folder = tempfile.mkdtemp(prefix="tvcad-config-")
    os.environ["XDG_CONFIG_HOME"] = folder
    atexit.register(shutil.rmtree, folder, True)
    return folder
