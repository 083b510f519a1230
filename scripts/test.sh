#!/bin/sh
# Builds the library and runs every test: the CI build (warnings as errors),
# then the same suite under AddressSanitizer and UndefinedBehaviorSanitizer.
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --workflow --preset ci
cmake --workflow --preset sanitize
