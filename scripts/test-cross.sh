#!/bin/sh
# Cross-builds the library with its whole test suite for the camera's
# FPU-less 32-bit ARM (arm-linux-gnueabi, soft float) and for 64-bit ARM
# (aarch64-linux-gnu), and runs the tests under qemu user-mode emulation:
# the toolchain files set CTest's cross-compiling emulator. The test presets
# stride the exhaustive fixed-point sweeps (VIEWGEO_SWEEP_STRIDE); the host
# build runs them in full. The conformance vectors run on every target.
# Every target is built and tested; the exit status is nonzero if any failed.
#
# Usage: scripts/test-cross.sh [armel|armhf|arm64]...   (default: armel arm64)
set -eu
cd "$(dirname "$0")/.."
targets=${*:-armel arm64}
scripts/install-cross-deps.sh $targets
failed=""
for t in $targets; do
    start=$(date +%s)
    if cmake --workflow --preset "cross-$t"; then
        echo "cross-$t: built and tested in $(( $(date +%s) - start )) s"
    else
        echo "cross-$t: FAILED after $(( $(date +%s) - start )) s"
        failed="$failed $t"
    fi
done
[ -z "$failed" ] || { echo "failed:$failed" >&2; exit 1; }
