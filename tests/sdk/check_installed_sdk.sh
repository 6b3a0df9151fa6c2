#!/usr/bin/env bash
# Installs the Host from BUILD into a fresh prefix, builds the example module from its own folder
# against that prefix only, and runs its command in the installed tvcad.
#   check_installed_sdk.sh BUILD EXAMPLE_SOURCE WORK
set -euo pipefail
build=$1 example=$2 work=$3
rm -rf "$work"
mkdir -p "$work/config"
cmake --install "$build" --prefix "$work/prefix" >"$work/install.log"
cmake -S "$example" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_BUILD_TYPE=Release >"$work/configure.log"
cmake --build "$work/build" >"$work/build.log"
module="$work/build/HelloLayers.krx"
[ -f "$module" ] || { echo "the module was not built"; exit 1; }
printf 'HELLOLAYERS\n-LAYER\nMake\nSecond\n\nHELLOLAYERS\nQUIT\nNo\n' >"$work/hello.scr"
out=$(XDG_CONFIG_HOME="$work/config" "$work/prefix/bin/tvcad" --no-module --module "$module" \
          --script "$work/hello.scr")
echo "$out"
grep -q "Hello from a module: the drawing has 1 layers." <<<"$out"
grep -q "Hello from a module: the drawing has 2 layers." <<<"$out"
# The installed tvcad also finds the layer manager module installed beside it.
out=$(XDG_CONFIG_HOME="$work/config" "$work/prefix/bin/tvcad" --script /dev/stdin <<<$'HELP\nQUIT')
grep -q "LAYFRZ" <<<"$out" || { echo "$out"; echo "the installed layer manager module was not loaded"; exit 1; }
echo "sdk: the installed Host builds and runs a third-party module"
