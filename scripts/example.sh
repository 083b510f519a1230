#!/bin/sh
# Builds the library and the viewgeo tool (no tests) and runs the worked
# example: a 1920x1080 camera, 60 degrees wide, at pan 10 and tilt -20 with a
# rectilinear lens; the pan/tilt that centres pixel (1200, 300), and where
# that direction appears in the picture.
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j2 >/dev/null
camera="--size 1920x1080 --hfov 60 --pan 10 --tilt -20 --lens rectilinear"
set -x
build/release/tools/viewgeo to-ptz 1200 300 $camera
build/release/tools/viewgeo to-pixel 18.302807 -11.666656 $camera
