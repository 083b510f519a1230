#!/bin/sh
# Installs Debian's cross compilers, qemu user-mode emulation and the target
# libraries (multiarch) for the cross builds:
#   armel  (arm-linux-gnueabi, soft float: the camera's FPU-less processor)
#   armhf  (arm-linux-gnueabihf, VFP and the hard-float ABI)
#   arm64  (aarch64-linux-gnu)
#   mipsel (mipsel-linux-gnu, 32-bit MIPS little-endian)
#   s390x  (s390x-linux-gnu, big-endian: the byte-order check)
# Usage: install-cross-deps.sh [armel|armhf|arm64|mipsel|s390x]...
#        (default: all five)
set -eu
arches=${*:-armel armhf arm64 mipsel s390x}
packages="qemu-user libcli11-dev"
added=""
for a in $arches; do
    case $a in
    armel) triple=arm-linux-gnueabi ;;
    armhf) triple=arm-linux-gnueabihf ;;
    arm64) triple=aarch64-linux-gnu ;;
    mipsel) triple=mipsel-linux-gnu ;;
    s390x) triple=s390x-linux-gnu ;;
    *) echo "unknown architecture $a" >&2; exit 2 ;;
    esac
    dpkg --print-foreign-architectures | grep -qx "$a" || { dpkg --add-architecture "$a"; added=yes; }
    packages="$packages g++-$triple crossbuild-essential-$a pkg-config:$a libinih-dev:$a libgtest-dev:$a libgmock-dev:$a libbenchmark-dev:$a"
done
missing=""
for p in $packages; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
if [ -n "$missing" ] || [ -n "$added" ]; then
    [ -z "$missing" ] || echo "installing:$missing"
    # A mirror caught mid-sync fails one index; the others still serve.
    apt-get update -qq || echo "apt-get update reported an error; installing from the indexes it has"
    [ -z "$missing" ] || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $missing >/dev/null
fi
