#!/bin/sh
# Builds the library and runs every test:
#   1. the CI build (warnings as errors) and its tests, then an install into
#      a staging prefix with a C and a C++ consumer built against it, and
#      the ABI of libviewgeo.so.1 against its checked-in description;
#      the Python package's suite on the same build;
#   2. the same suite under AddressSanitizer and UndefinedBehaviorSanitizer,
#      and the threaded tests under ThreadSanitizer;
#   3. the suite under valgrind memcheck;
#   4. each fuzzer on the same 300000 inputs on every run;
#   5. the suite cross-built for armel, armhf, arm64, mipsel and big-endian
#      s390x, under qemu;
#   6. the Debian packages: built, checked by lintian, their autopkgtest,
#      and a cross build for armel.
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh --test
cmake --workflow --preset ci
scripts/test-install.sh build/ci
scripts/test-python.sh build/ci
scripts/check-abi.sh build/ci
cmake --workflow --preset sanitize
scripts/test-threads.sh
scripts/valgrind.sh
scripts/fuzz.sh --runs 300000
scripts/test-cross.sh
scripts/test-packages.sh
