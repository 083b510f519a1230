#!/bin/sh
# Installs the build into a staged prefix and runs the installed tool from
# there: it must find its library through its relative run path, and the
# manual page and the bash completion must be in their usual places.
#   staged_install.sh BUILD_DIR
set -eu
build=$1
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --prefix "$stage/usr" >/dev/null
tool="$stage/usr/bin/viewgeo"
# No help from the environment: only the run path can find the library.
version=$(env -u LD_LIBRARY_PATH "$tool" --version)
echo "$version" | grep -Eq '^[0-9]+\.[0-9]+\.[0-9]+$' || { echo "bad version: $version"; exit 1; }
# (Only answers that read no system file: the installed tool is the real one.)
env -u LD_LIBRARY_PATH "$tool" pan-delta 170 -170 | grep -qx 'delta 20.000000' ||
    { echo "installed tool gives a wrong answer"; exit 1; }
# Moved elsewhere, it still runs.
mv "$stage/usr" "$stage/moved"
env -u LD_LIBRARY_PATH "$stage/moved/bin/viewgeo" --version >/dev/null || { echo "moved tool does not run"; exit 1; }
man=$(find "$stage/moved/share/man/man1" -name 'viewgeo.1*' | head -n 1)
[ -n "$man" ] || { echo "no manual page installed"; exit 1; }
grep -q 'EXIT STATUS' "$man" || { echo "the manual page lacks the exit statuses"; exit 1; }
[ -f "$stage/moved/share/bash-completion/completions/viewgeo" ] || { echo "no bash completion installed"; exit 1; }
bash -n "$stage/moved/share/bash-completion/completions/viewgeo"
# The completion, given the words bash-completion's _init_completion would
# give it: the command's options, also after the tool's own --input FILE.
offered=$(bash -c '
    _init_completion() { words=(viewgeo --input pixels.txt to-ptz --re); cword=4; cur=--re; prev=to-ptz; }
    . "$1"; _viewgeo; echo "${COMPREPLY[*]}"' sh "$stage/moved/share/bash-completion/completions/viewgeo")
[ "$offered" = "--rel" ] || { echo "completion after --input FILE offers '$offered', not --rel"; exit 1; }
echo "staged install runs"
