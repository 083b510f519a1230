#!/bin/sh
# Installs a build into a staging prefix and builds two consumers against
# what was installed, as users would: C through pkg-config, C++ through
# find_package(viewgeo). Runs both, and the installed tool, on the staged
# libraries. Usage: scripts/test-install.sh [BUILD_DIR]   (default build/ci)
set -eu
cd "$(dirname "$0")/.."
SOURCE=$(pwd)
BUILD=${1:-build/ci}
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
STAGE=$WORK/stage

cmake --install "$BUILD" --prefix "$STAGE" >"$WORK/install.log"

PC=$(find "$STAGE" -name viewgeo.pc | head -n 1)
test -n "$PC" || { echo "test-install: no viewgeo.pc installed" >&2; exit 1; }
LIBDIR=$(dirname "$(dirname "$PC")")
test -e "$LIBDIR/libviewgeo.so.1" || { echo "test-install: no libviewgeo.so.1 in $LIBDIR" >&2; exit 1; }
test -x "$STAGE/bin/viewgeo" || { echo "test-install: no bin/viewgeo installed" >&2; exit 1; }

# The .pc file finds its prefix from where it lies, so the staged install
# works as it stands.
PKG="pkg-config"
export PKG_CONFIG_PATH="$LIBDIR/pkgconfig"
export LD_LIBRARY_PATH="$LIBDIR"

# C, through pkg-config.
CFLAGS_VG=$($PKG --cflags viewgeo)
LIBS_VG=$($PKG --libs viewgeo)
case "$CFLAGS_VG" in *"$STAGE"*) ;; *) echo "test-install: pkg-config cflags miss the stage: $CFLAGS_VG" >&2; exit 1 ;; esac
${CC:-cc} -std=c11 -Wall -Wextra -Wpedantic -Werror $CFLAGS_VG \
    "$SOURCE/tests/install/c_consumer/main.c" $LIBS_VG -o "$WORK/c_consumer"
ldd "$WORK/c_consumer" | grep -q "$LIBDIR/libviewgeo.so.1" ||
    { echo "test-install: c_consumer does not load the staged library" >&2; exit 1; }
"$WORK/c_consumer"

# C++, through the CMake package (shared and static library).
cmake -S "$SOURCE/tests/install/cxx_consumer" -B "$WORK/cxx" -DCMAKE_PREFIX_PATH="$STAGE" \
    -DCMAKE_BUILD_TYPE=Release >"$WORK/cxx-configure.log" ||
    { cat "$WORK/cxx-configure.log" >&2; exit 1; }
cmake --build "$WORK/cxx" -j2 >"$WORK/cxx-build.log" || { cat "$WORK/cxx-build.log" >&2; exit 1; }
ldd "$WORK/cxx/cxx_consumer" | grep -q "$LIBDIR/libviewgeo.so.1" ||
    { echo "test-install: cxx_consumer does not load the staged library" >&2; exit 1; }
"$WORK/cxx/cxx_consumer"
"$WORK/cxx/cxx_consumer_static"

# The installed tool.
"$STAGE/bin/viewgeo" to-ptz 1200 300 --size 1920x1080 --hfov 60 --pan 10 --tilt -20 --lens rectilinear

echo "install: 4 passed, 0 failed"
