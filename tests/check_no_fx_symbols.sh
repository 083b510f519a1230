#!/bin/sh
# Fails if any of the given libraries (archives or shared objects) defines a
# global symbol whose name starts with fx_: such names belong to the
# fixed-point libraries cameras link beside this one.
# Usage: check_no_fx_symbols.sh LIBRARY...
set -eu
test $# -gt 0 || { echo "no library given" >&2; exit 1; }
status=0
for lib in "$@"; do
    symbols=$(nm -A --defined-only --extern-only "$lib")
    # An empty list would mean nm read nothing, not that the names are clean.
    test -n "$symbols" || { echo "$lib: no global symbols read" >&2; exit 1; }
    if echo "$symbols" | awk '{print $NF}' | grep '^fx_'; then
        echo "$lib defines the global symbols above" >&2
        status=1
    fi
done
exit $status
