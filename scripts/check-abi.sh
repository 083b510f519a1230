#!/bin/sh
# Compares the ABI of the built libviewgeo.so.1 with the checked-in
# description abi/libviewgeo.so.1.abi (written by libabigail's abidw from
# the x86-64 build, public headers only). Fails when an existing function,
# variable or record changed or went away; new functions and variables pass
# with a note, since a minor version may add them.
#
#   scripts/check-abi.sh [BUILD_DIR]            check (default build/ci)
#   scripts/check-abi.sh --update [BUILD_DIR]   rewrite the description from
#       the build, deliberately: commit it with the change that adds to the ABI
set -eu
cd "$(dirname "$0")/.."
update=no
if [ "${1:-}" = --update ]; then update=yes; shift; fi
BUILD=${1:-build/ci}
BASELINE=abi/libviewgeo.so.1.abi
LIB=$BUILD/libviewgeo.so.1
command -v abidw >/dev/null || scripts/install-deps.sh --packages
test -e "$LIB" || { echo "check-abi: no $LIB; build first (cmake --workflow --preset ci)" >&2; exit 2; }
case $(uname -m) in
x86_64) ;;
*) echo "check-abi: the description is of the x86-64 library; this is $(uname -m)" >&2; exit 2 ;;
esac
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

# Only the types the installed headers show; no build paths in the output.
abidw --headers-dir "$BUILD/include" --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs \
    --out-file "$WORK/raw.abi" "$LIB"
# Translation units named relative to the source tree, wherever it lies.
sed "s|path='$(pwd)/|path='|" "$WORK/raw.abi" >"$WORK/current.abi"

if [ $update = yes ]; then
    cp "$WORK/current.abi" "$BASELINE"
    echo "check-abi: $BASELINE rewritten from $LIB"
    exit 0
fi
test -e "$BASELINE" || { echo "check-abi: no $BASELINE (scripts/check-abi.sh --update)" >&2; exit 2; }

status=0
abidiff --no-show-locs "$BASELINE" "$WORK/current.abi" >"$WORK/report" || status=$?
# abidiff's status is a bit set: 1 error, 2 usage error, 4 a change, 8 an
# incompatible change. A change may still be only additions: the summary
# lines count removed and changed entities separately from added ones.
if [ $((status & 3)) -ne 0 ]; then
    cat "$WORK/report" >&2
    echo "check-abi: abidiff failed (status $status)" >&2
    exit 1
fi
broken=$(grep -E '^(Functions|Variables) changes summary:' "$WORK/report" |
    grep -vE ': 0 Removed, 0 Changed[ ,(]' || true)
if [ $((status & 8)) -ne 0 ] || [ -n "$broken" ] ||
    grep -qE '^(Function|Variable) symbols changes summary: [1-9]' "$WORK/report"; then
    cat "$WORK/report" >&2
    echo "check-abi: an existing function, variable or record of libviewgeo.so.1 changed" >&2
    exit 1
fi
if [ $((status & 4)) -ne 0 ]; then
    cat "$WORK/report"
    echo "check-abi: additions only; record them with scripts/check-abi.sh --update"
else
    echo "check-abi: libviewgeo.so.1 matches $BASELINE"
fi
