#!/usr/bin/env bash
# Installs what the build and the tests need on a Debian machine, when it is missing: the
# compilers and test libraries, Qt 6 Widgets for the window Host, and Xvfb, xauth, xdotool and a
# font so that the window tests and the screenshots run without a screen.
set -euo pipefail

packages=(cmake make g++ clang libclang-rt-dev lld libgtest-dev libgmock-dev libbenchmark-dev
          python3 python3-ezdxf ccache pkg-config
          qt6-base-dev qt6-svg-dev qt6-qpa-plugins
          xvfb xauth xdotool fonts-dejavu-core)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "setup: installing ${missing[*]}"
    SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
