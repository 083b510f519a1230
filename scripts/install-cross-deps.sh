#!/bin/sh
# Installs Debian's cross compilers, qemu user-mode emulation and the target
# libraries (multiarch) for the ARM cross builds:
#   armel (arm-linux-gnueabi, soft float), armhf, arm64 (aarch64-linux-gnu).
# Usage: install-cross-deps.sh [armel|armhf|arm64]...   (default: all three)
set -eu
arches=${*:-armel armhf arm64}
packages="qemu-user"
for a in $arches; do
    case $a in
    armel) triple=arm-linux-gnueabi ;;
    armhf) triple=arm-linux-gnueabihf ;;
    arm64) triple=aarch64-linux-gnu ;;
    *) echo "unknown architecture $a" >&2; exit 2 ;;
    esac
    dpkg --print-foreign-architectures | grep -qx "$a" || { dpkg --add-architecture "$a"; updated=no; }
    packages="$packages g++-$triple libinih-dev:$a libgtest-dev:$a libgmock-dev:$a libbenchmark-dev:$a"
done
missing=""
for p in $packages; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
if [ -n "$missing" ]; then
    echo "installing:$missing"
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $missing >/dev/null
fi
