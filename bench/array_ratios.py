#!/usr/bin/env python3
"""The array forms' table of bench/README.md from one benchmark run.

Reads the JSON that viewgeo_bench writes with --benchmark_format=json for
--benchmark_filter=Array and prints, for each projection, the per-point
times of the single call and of the array form (fastest repetition), the
median ratio with its range at n = 1024, the floor, and the lower bound
that the floor puts on the ratio:

    A / S >= F / (F + S - A)

S and A are the single and array times per point at n = 1024 and F the
floor's calls less its pass-through links. Both forms run the same point
stage, so the array saves only what the single call spends outside it
(S - A: the view stage and the call); whatever the rest of the point
stage costs, the point's library calls remain in both.

    python3 bench/array_ratios.py run.json
"""
import collections
import json
import statistics
import sys

# Projection benchmark name -> floor benchmark name.
FAMILIES = {
    "ToPixelF": "ToPixelF",
    "ToPtzF": "ToPtzF",
    "ToPtzFRel": "ToPtzF",
    "ToPixelX": "ToPixelX",
    "ToPtzX": "ToPtzX",
    "ToPtzXRel": "ToPtzX",
    "OvistaToPtzF": "OvistaToPtzF",
    "OvistaToPixelF": "OvistaToPixelF",
}


def repetitions(path):
    """Per-point times in ns of every repetition, by benchmark."""
    with open(path) as f:
        run = json.load(f)
    times = collections.defaultdict(list)
    for b in run["benchmarks"]:
        if b.get("run_type") == "iteration":
            times[b["run_name"]].append(b["per_point"] * 1e9)
    return times


def ns(v):
    return f"{v:.1f}" if v < 1000 else f"{v:.0f}"


def main(path):
    times = repetitions(path)
    print("| Projection | n = 1 (median) | n = 16 | n = 1024 | median at 1024 (range) | floor | bound |")
    print("|---|---|---|---|---|---|---|")
    for name, family in FAMILIES.items():
        def single(n):
            return times[f"BM_{name}Array_Single/{n}"]

        def array(n):
            return times[f"BM_{name}Array_Array/{n}"]

        one = statistics.median(array(1)) / statistics.median(single(1))
        cells = [f"`{name}`", f"{one:.2f}x"]
        for n in (16, 1024):
            s, a = min(single(n)), min(array(n))
            cells.append(f"{ns(s)} / {ns(a)} ({a / s:.2f}x)")
        s, a = min(single(1024)), min(array(1024))
        ratios = [x / y for x, y in zip(array(1024), single(1024))]
        median = statistics.median(array(1024)) / statistics.median(single(1024))
        cells.append(f"{median:.2f}x ({min(ratios):.2f}-{max(ratios):.2f})")
        calls = min(times[f"BM_ArrayPointFloor_{family}<viewgeo::bench::Calls>"])
        links = min(times[f"BM_ArrayPointFloor_{family}<viewgeo::bench::Links>"])
        floor = calls - links
        cells.append(f"{ns(calls)} ({calls / s:.2f})")
        cells.append(f"{floor / (floor + s - a):.2f}")
        print("| " + " | ".join(cells) + " |")


if __name__ == "__main__":
    main(sys.argv[1])
