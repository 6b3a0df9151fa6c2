#!/usr/bin/env bash
# Pictures of tvcad's main window and of every Host dialog, taken under Xvfb (no screen needed):
#   scripts/screenshots.sh [FOLDER]        FOLDER defaults to build/screenshots
# Builds what it needs, then writes one PNG per window into FOLDER.
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:-build/screenshots}
scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target tvshots
mkdir -p "$folder"
# Settings of a run of their own, so that the user's placements do not show in the pictures.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
XDG_CONFIG_HOME="$scratch" XDG_RUNTIME_DIR="$scratch" \
    xvfb-run -a -s "-screen 0 1280x800x24 -nolisten tcp" \
    env -u QT_QPA_PLATFORM -u WAYLAND_DISPLAY \
    build/tools/screenshots/tvshots "$folder" samples/office.dxf
echo "screenshots: written to $folder"
