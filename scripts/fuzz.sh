#!/bin/sh
# Builds the fuzz targets with clang (libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for a bounded time on its
# starting corpus (tests/fuzz/corpus/<target>/). Any crash, leak, sanitizer
# report or failed property fails the script; the input that caused it is
# left in build/fuzz/findings/<target>/ and can be replayed with
# build/ci/tests/fuzz_<target>_replay <file>.
#
# Usage: scripts/fuzz.sh [seconds per target, default 45] [target ...]
#        scripts/fuzz.sh --runs N [target ...]
# The first form explores: mutations drawn at random for a time, and what it
# finds is kept in build/fuzz/corpus/<target>/ for the next run. The second
# is what the test command runs: exactly N inputs, their random draws always
# started from the same number, on the checked-in corpus alone, in a minimal
# environment without address randomisation or timed corpus reloads, so the
# same build meets the same inputs on every run and a failure repeats.
# Each run prints a line "<target>: <exec/s> exec/s, cov <n> ft <n>".
set -eu
cd "$(dirname "$0")/.."
if [ "${1:-}" = "--runs" ]; then
    [ $# -ge 2 ] || { echo "usage: scripts/fuzz.sh --runs N [target ...]" >&2; exit 2; }
    # Corpus reloads are timed, and addresses feed the comparison hints
    # that guide mutation: both off, or the same draws take other paths.
    limit="-runs=$2 -seed=20261121 -reload=0"
    label="$2 inputs, fixed draws"
    replayable=yes
    shift 2
else
    limit="-max_total_time=${1:-45}"
    label="${1:-45}s"
    replayable=no
    if [ $# -gt 0 ]; then shift; fi
fi
build=build/fuzz

sanitize="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
cmake -S . -B "$build" -G "Unix Makefiles" \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=ON -DVIEWGEO_FUZZ=ON \
    -DVIEWGEO_BUILD_TOOLS=OFF -DVIEWGEO_BUILD_STATIC=OFF \
    -DCMAKE_C_FLAGS="$sanitize" -DCMAKE_CXX_FLAGS="$sanitize" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
    -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address,undefined" >/dev/null

if [ $# -gt 0 ]; then
    targets="$*"
else
    targets=$(ls tests/fuzz/*_fuzzer.cpp | sed 's|.*/||; s|_fuzzer\.cpp$||')
fi
for t in $targets; do
    cmake --build "$build" --target "fuzz_$t" -j2 >/dev/null
done

# The targets write their files below a private directory of $TMPDIR; in
# memory, the syncs of the writers cost nothing and the runs go ten times
# faster.
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then
    export TMPDIR=/dev/shm
fi
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
fixed_addresses=""
if [ "$replayable" = yes ]; then
    if setarch "$(uname -m)" -R true 2>/dev/null; then
        # Stack addresses also move with the size of the environment, so
        # the run gets only what it needs.
        fixed_addresses="env -i PATH=/usr/local/bin:/usr/bin:/bin TMPDIR=${TMPDIR:-/tmp} ASAN_OPTIONS=$ASAN_OPTIONS UBSAN_OPTIONS=$UBSAN_OPTIONS setarch $(uname -m) -R"
    else
        echo "note: address randomisation cannot be turned off here; runs may differ" >&2
    fi
fi
failed=""
for t in $targets; do
    work="$build/corpus/$t"      # what the run adds; the checked-in corpus stays as it is
    if [ "$replayable" = yes ]; then
        work="$build/corpus-replayable/$t"
        rm -rf "$work"
    fi
    findings="$build/findings/$t"
    mkdir -p "$work" "$findings"
    log="$build/$t.log"
    echo "== $t: $label"
    # shellcheck disable=SC2086 # $limit and $fixed_addresses hold several words
    if $fixed_addresses "$build/tests/fuzz_$t" $limit -timeout=10 -rss_limit_mb=2048 \
            -print_final_stats=1 -artifact_prefix="$findings/" \
            "$work" "tests/fuzz/corpus/$t" >"$log" 2>&1; then
        status=ok
    else
        status=FAILED
        failed="$failed $t"
        grep -E "ERROR|runtime error|property failed|SUMMARY|Test unit written" "$log" | head -20 || true
    fi
    stats=$(grep -E "^#[0-9]+.*(DONE|pulse|NEW|REDUCE|INITED)" "$log" | tail -1 || true)
    cov=$(echo "$stats" | sed -n 's/.*cov: \([0-9]*\).*/\1/p')
    ft=$(echo "$stats" | sed -n 's/.*ft: \([0-9]*\).*/\1/p')
    execs=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$t: ${execs:-?} exec/s, cov ${cov:-?} ft ${ft:-?}, ${runs:-?} runs: $status"
done

if [ -n "$failed" ]; then
    echo "fuzzing found problems in:$failed (logs in $build/*.log)"
    exit 1
fi
echo "fuzzing: no findings"
