#!/usr/bin/env python3
"""What the binding adds to the library's array conversion: 1,000,000 pixels
through ctx.to_ptz(x, y) against the same pixels through the array form
called directly on ready buffers (viewgeo._testing.array_to_ptz_f), both
with the GIL released around the library call. Best of --repeat runs each.

    PYTHONPATH=build/ci/python-testing python3 python/bench/to_ptz_overhead.py
"""

import argparse
import time

import numpy as np

import viewgeo


def best_of(repeat, *calls):
    """Best time of each call; the calls take turns, so a machine that gets
    busier or quieter meanwhile weighs on all of them alike."""
    best = [float("inf")] * len(calls)
    for _ in range(repeat):
        for i, call in enumerate(calls):
            start = time.perf_counter()
            call()
            best[i] = min(best[i], time.perf_counter() - start)
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--pixels", type=int, default=1_000_000)
    parser.add_argument("--repeat", type=int, default=15)
    args = parser.parse_args()
    if viewgeo._testing is None:
        raise SystemExit("run against the test build: PYTHONPATH=build/<dir>/python-testing")
    viewgeo._testing.set_root("/nonexistent-root-for-the-benchmark")

    ctx = viewgeo.Context(pan=10, tilt=-20, horiz_fov=60, pic_size=(1920, 1080), projection_type=2)
    rng = np.random.default_rng(1)
    x = rng.integers(0, 1920, args.pixels, dtype=np.int32)
    y = rng.integers(0, 1080, args.pixels, dtype=np.int32)
    pan = np.empty(args.pixels, dtype=np.float32)
    tilt = np.empty(args.pixels, dtype=np.float32)

    x64, y64 = x.astype(np.int64), y.astype(np.int64)
    direct, binding, converted = best_of(
        args.repeat,
        lambda: viewgeo._testing.array_to_ptz_f(ctx, x, y, pan, tilt),
        lambda: ctx.to_ptz(x, y),
        lambda: ctx.to_ptz(x64, y64),
    )
    check_pan, check_tilt = ctx.to_ptz(x, y)
    assert np.array_equal(check_pan, pan) and np.array_equal(check_tilt, tilt)

    print(f"pixels {args.pixels}, best of {args.repeat}")
    print(f"array form, ready buffers   {direct * 1e3:8.2f} ms  {direct / args.pixels * 1e9:6.1f} ns/pixel")
    print(f"ctx.to_ptz(int32 arrays)    {binding * 1e3:8.2f} ms  overhead {100 * (binding / direct - 1):+5.1f}%")
    print(f"ctx.to_ptz(int64 arrays)    {converted * 1e3:8.2f} ms  overhead {100 * (converted / direct - 1):+5.1f}%")


if __name__ == "__main__":
    main()
