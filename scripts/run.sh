#!/usr/bin/env bash
# The main job: builds tvcad and the layer manager module, then runs tvcad on the bundled
# sample drawing with the demonstration script samples/demo.scr and saves a copy.
# With arguments, runs tvcad with them instead (for example: scripts/run.sh my.dxf opens it in
# the window; scripts/run.sh --console my.dxf or --script my.scr my.dxf work on the console).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target tvcad tvdxf
if [ $# -gt 0 ]; then
    exec build/app/tvcad "$@"
fi
work=$(mktemp -d)
saved="$work/office-demo.dxf"
{
    cat samples/demo.scr
    printf 'SAVEAS\n%s\nQUIT\n' "$saved"
} >"$work/demo.scr"
build/app/tvcad --script "$work/demo.scr" samples/office.dxf
echo
echo "The changed drawing was saved as $saved; its layers as read back:"
build/tools/tvdxf layers "$saved" |
    grep -E '^(name|DEMO-NEW|A-FURN-0004|P-PIPE-0008|S-FLOR-OTLN-0019|A GRID 0026|E-FLOR-0001) '
echo
echo "A-FURN-0004 and P-PIPE-0008 were frozen by the script and thawed again by restoring the"
echo "frozen property of the layer state \"As drawn\", which the drawing now holds. LAYFRZ froze"
echo "A GRID 0026 by a pick; LAYISO turned off every layer but two and LAYUNISO turned them on again."
