#!/bin/sh
# Writes the conformance vectors again: the outputs from the host build, then
# the vectors on which a target differs marked with that target's
# outputs, where the host meets a NaN on the way (its sign is not the same
# across targets). Any other difference stops the script; pass --libm only
# after tracing each one to the target's maths library (see README.md).
#
# Needs the host build (build/ci) and the cross builds (scripts/test-cross.sh
# or the cross-* presets); targets without a build are skipped.
set -eu
cd "$(dirname "$0")/../.."
libm=""
[ "${1:-}" = "--libm" ] && libm=libm
# The tool of a family in a build: the file readers' family is only in the
# tool built on the test copy of the library, which knows every family.
tool_of() { [ "$2" = readers ] && echo "$1/tests/conformance/viewgeo_conformance_readers" || echo "$1/tests/conformance/viewgeo_conformance"; }
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
families=$("$(tool_of build/ci readers)" families)
for family in $families; do
    "$(tool_of build/ci "$family")" generate "$family" > "$out/$family.vec"
done
for target in armel:qemu-arm:arm-linux-gnueabi armhf:qemu-arm:arm-linux-gnueabihf arm64:qemu-aarch64:aarch64-linux-gnu \
              mipsel:qemu-mipsel:mipsel-linux-gnu s390x:qemu-s390x:s390x-linux-gnu; do
    name=${target%%:*}; rest=${target#*:}; qemu=${rest%%:*}; sysroot=/usr/${rest#*:}
    [ -x "$(tool_of "build/cross-$name" x)" ] || { echo "skipping $name: no build" >&2; continue; }
    for family in $families; do
        host=$(tool_of build/ci "$family")
        tool=$(tool_of "build/cross-$name" "$family")
        # The loader's own C library, as in cmake/toolchains/debian-cross.cmake.
        "$qemu" -L "$sysroot" -E LD_LIBRARY_PATH="$sysroot/lib" "$tool" outputs "$out/$family.vec" > "$out/$family.$name"
        "$host" merge "$out/$family.vec" "$out/$family.$name" $libm > "$out/$family.merged"
        mv "$out/$family.merged" "$out/$family.vec"
    done
done
cp "$out"/*.vec tests/conformance/
