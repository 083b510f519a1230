#!/bin/sh
# Compares the dynamic symbols a shared library defines with the functions
# and data objects its public header declares (VIEWGEO_API lines).
# Usage: check_exports.sh LIBRARY HEADER
set -eu
lib=$1
header=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# AddressSanitizer adds __odr_asan.* markers for exported data; they are not ours.
nm -D --defined-only "$lib" | awk '{print $NF}' | sed 's/@.*//' | grep -v '^__odr_asan' | sort -u >"$tmp/exported"
# The preprocessor drops the comments and marks the exported declarations;
# a declaration may span lines, so each is joined up to its ';' first.
cc -E -P -x c -D'VIEWGEO_API=VIEWGEO_EXPORTED' "$header" |
    tr '\n' ' ' | tr ';' '\n' | grep 'VIEWGEO_EXPORTED' |
    sed -E 's/\(.*//; s/\[.*//; s/.*[^A-Za-z0-9_]([A-Za-z_][A-Za-z0-9_]*) *$/\1/' |
    sort -u >"$tmp/declared"

if ! [ -s "$tmp/declared" ]; then
    echo "no declarations found in $header" >&2
    exit 1
fi
if ! diff -u "$tmp/declared" "$tmp/exported"; then
    echo "exported symbols differ from the header (- declared only, + exported only)" >&2
    exit 1
fi
echo "$(wc -l <"$tmp/declared") symbols exported, as declared"
