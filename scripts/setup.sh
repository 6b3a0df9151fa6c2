#!/usr/bin/env bash
# Installs what the build and the tests need on a Debian machine, when it is missing: the
# compilers and test libraries, Qt 6 Widgets for the window Host, and Xvfb, xauth, xdotool and a
# font so that the window tests and the screenshots run without a screen.
set -euo pipefail

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"

packages=(cmake make g++ clang libclang-rt-dev lld libgtest-dev libgmock-dev libbenchmark-dev
          python3 python3-ezdxf ccache pkg-config locales
          qt6-base-dev qt6-svg-dev qt6-qpa-plugins
          xvfb xauth xdotool fonts-dejavu-core)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "setup: installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# The tests run a second time under a German locale, which writes "0,25" where C writes "0.25".
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
    echo "setup: generating the de_DE.UTF-8 locale"
    if [ -f /etc/locale.gen ] && grep -q '^# *de_DE.UTF-8 UTF-8$' /etc/locale.gen; then
        $SUDO sed -i 's/^# *\(de_DE.UTF-8 UTF-8\)$/\1/' /etc/locale.gen
        $SUDO locale-gen >/dev/null
    else
        $SUDO localedef -i de_DE -f UTF-8 de_DE.UTF-8
    fi
fi
