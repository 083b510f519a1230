#!/bin/sh
# Cross-builds the library, its tool and the whole test suite for the
# camera targets: 32-bit ARM without an FPU (armel, soft float), 32-bit ARM
# with the hard-float ABI (armhf), 64-bit ARM (arm64), 32-bit MIPS
# little-endian (mipsel), and for big-endian s390x, which shows that no
# result and no file depends on the machine's byte order. The tests run
# under qemu user-mode emulation: the toolchain files set CTest's
# cross-compiling emulator, through which the tool's tests also start the
# tool. The test presets
# stride the exhaustive fixed-point sweeps (VIEWGEO_SWEEP_STRIDE); the host
# build runs them in full. The conformance vectors run on every target.
# Every target is built and tested; the exit status is nonzero if any failed.
#
# Usage: scripts/test-cross.sh [armel|armhf|arm64|mipsel|s390x]...
#        (default: all five)
set -eu
cd "$(dirname "$0")/.."
targets=${*:-armel armhf arm64 mipsel s390x}
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
