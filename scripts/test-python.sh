#!/bin/sh
# Builds the Python package (both builds: against the shared library and
# against the test copy) and runs its pytest suite on the test build, whose
# files all lie below a private temporary root of each test.
#   scripts/test-python.sh [BUILD_DIR] [PYTEST_ARGS...]   (default build/ci)
# pytest's exit code 5 (no test collected) is a failure for the whole suite,
# which always has tests; with a selection in PYTEST_ARGS it only means the
# selection matched nothing, and the script then exits 0 with a note.
set -eu
cd "$(dirname "$0")/.."
BUILD=${1:-build/ci}
[ $# -gt 0 ] && shift
if [ ! -f "$BUILD/CMakeCache.txt" ]; then
    case "$BUILD" in
        build/*) cmake --preset "${BUILD#build/}" >/dev/null ;;
        *) echo "test-python: $BUILD is not configured" >&2; exit 1 ;;
    esac
fi
if ! grep -q '^VIEWGEO_BUILD_PYTHON:BOOL=ON' "$BUILD/CMakeCache.txt"; then
    echo "test-python: $BUILD was configured without the Python package (pybind11-dev and python3-dev missing?)" >&2
    exit 1
fi
cmake --build "$BUILD" -j2 --target viewgeo_python viewgeo_python_testing >/dev/null
PYTHON=$(sed -n 's/^Python3_EXECUTABLE:[A-Z]*=//p' "$BUILD/CMakeCache.txt")
PYTHON=${PYTHON:-python3}

status=0
PYTHONPATH="$(pwd)/$BUILD/python-testing" MPLBACKEND=Agg PYTHONDONTWRITEBYTECODE=1 \
    "$PYTHON" -m pytest -p no:cacheprovider -q python/tests "$@" || status=$?
if [ "$status" -eq 5 ]; then
    if [ $# -gt 0 ]; then
        echo "test-python: no test matched the selection $*"
        exit 0
    fi
    echo "test-python: pytest collected no test" >&2
    exit 1
fi
exit "$status"
