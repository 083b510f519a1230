#!/bin/sh
# Runs the test executables of a build under valgrind memcheck: any memory
# error or leak fails. The exhaustive fixed-point sweeps visit every
# VIEWGEO_SWEEP_STRIDE-th input only (default here 61), which keeps the run
# to minutes; the checks themselves are unchanged.
#
# Usage: scripts/valgrind.sh [build directory, default build/ci]
# The build directory is configured and built with the ci preset when it is
# the default and holds no test executable yet.
set -eu
cd "$(dirname "$0")/.."
build="${1:-build/ci}"
if [ "$build" = build/ci ] && [ ! -x build/ci/tests/viewgeo_tests ]; then
    cmake --preset ci >/dev/null
    cmake --build --preset ci -j2 >/dev/null
fi
command -v valgrind >/dev/null || { echo "valgrind is not installed" >&2; exit 1; }
export VIEWGEO_SWEEP_STRIDE="${VIEWGEO_SWEEP_STRIDE:-61}"
export VIEWGEO_WRITER_REWRITES="${VIEWGEO_WRITER_REWRITES:-50}"

log_dir="$build/valgrind"
mkdir -p "$log_dir"
failed=""
start=$(date +%s)

# run NAME COMMAND...: one executable under memcheck, its report in the log.
run() {
    name="$1"
    shift
    t0=$(date +%s)
    # --child-silent-after-fork: the crash tests fork writers that are
    # killed on purpose; their processes are not the ones examined here.
    if valgrind --tool=memcheck --error-exitcode=1 --leak-check=full \
            --errors-for-leak-kinds=definite,indirect,possible --show-leak-kinds=definite,indirect,possible \
            --child-silent-after-fork=yes --track-fds=no --quiet \
            --log-file="$log_dir/$name.log" "$@" >"$log_dir/$name.out" 2>&1; then
        echo "$name: clean ($(( $(date +%s) - t0 )) s)"
    else
        echo "$name: FAILED ($(( $(date +%s) - t0 )) s), see $log_dir/$name.log"
        tail -5 "$log_dir/$name.out"
        head -40 "$log_dir/$name.log"
        failed="$failed $name"
    fi
}

tests="$build/tests"
run viewgeo_tests "$tests/viewgeo_tests"
[ -x "$tests/viewgeo_cli_tests" ] && run viewgeo_cli_tests "$tests/viewgeo_cli_tests"
run viewgeo_c_consumer "$tests/viewgeo_c_consumer"
for replay in "$tests"/fuzz_*_replay; do
    [ -x "$replay" ] || continue
    target=$(basename "$replay" | sed 's/^fuzz_//; s/_replay$//')
    run "$(basename "$replay")" "$replay" "tests/fuzz/corpus/$target"
done

echo "valgrind: $(( $(date +%s) - start )) s in all"
if [ -n "$failed" ]; then
    echo "memcheck found problems in:$failed"
    exit 1
fi
echo "memcheck: no errors, no leaks"
