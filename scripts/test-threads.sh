#!/bin/sh
# Builds the unit tests with ThreadSanitizer and runs those that use the
# library from several threads at once: configuration reads and the thread-local
# error text.
set -eu
cd "$(dirname "$0")/.."
cmake --preset tsan >/dev/null
cmake --build build/tsan -j2 --target viewgeo_tests >/dev/null
TSAN_OPTIONS="halt_on_error=1 ${TSAN_OPTIONS:-}" \
    build/tsan/tests/viewgeo_tests --gtest_filter='ConcurrentReads*:LastError*'
