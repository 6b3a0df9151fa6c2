#!/usr/bin/env bash
# Builds the tools and runs them on the bundled sample drawing (or on the drawing given).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j2 --target tvdxf
drawing=${1:-samples/office.dxf}
build/tools/tvdxf info "$drawing"
echo
build/tools/tvdxf layers "$drawing"
out=$(mktemp -d)/roundtrip.dxf
build/tools/tvdxf roundtrip "$drawing" "$out"
echo
echo "saved a copy through the database as $out"
