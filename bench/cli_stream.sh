#!/bin/sh
# Records per second of the tool's stream: N pixels from a file through
# `viewgeo to-ptz` to /dev/null, timed by processor time (user + system) so
# that a busy machine does not hide the tool's own speed.
#   bench/cli_stream.sh [TOOL] [N] [OPTION...]   (e.g. --precise, --fixed, --jsonl)
set -eu
tool=${1:-build/ci/tools/viewgeo}
n=${2:-2000000}
[ $# -ge 2 ] && shift 2 || shift $#
input=$(mktemp)
trap 'rm -f "$input"' EXIT
awk -v n="$n" 'BEGIN { srand(1); for (i = 0; i < n; i++) printf "%d %d\n", int(rand() * 1920), int(rand() * 1080) }' >"$input"
start=$(awk '{ print $14 + $15 + $16 + $17 }' /proc/$$/stat)
"$tool" to-ptz "$@" --size 1920x1080 --hfov 60 --pan 10 --tilt -20 --lens rectilinear --input "$input" >/dev/null
end=$(awk '{ print $14 + $15 + $16 + $17 }' /proc/$$/stat)
ticks=$(getconf CLK_TCK)
awk -v n="$n" -v t="$((end - start))" -v hz="$ticks" 'BEGIN {
    s = t / hz; if (s <= 0) s = 1 / hz
    printf "%d records in %.2f s of processor time: %.0f records/s\n", n, s, n / s }'
