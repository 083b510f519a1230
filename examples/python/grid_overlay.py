#!/usr/bin/env python3
"""Draws the pan/tilt grid of a PTZ view over a picture and writes a PNG.

Lines of constant pan (blue) and constant tilt (red) every --step degrees,
as the camera sees them, each labelled with its value; the horizon (tilt 0)
drawn thicker; a caption with the camera. Without --image a synthetic test
picture of the right size is drawn underneath.

    PYTHONPATH=build/ci/python python3 examples/python/grid_overlay.py \\
        --out grid.png --size 1920x1080 --hfov 60 --pan 10 --tilt -20
"""

import argparse

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import viewgeo  # noqa: E402

LENSES = {"sine": 0, "equidistant": 1, "rectilinear": 2}


def parse_args(argv=None):
    p = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    p.add_argument("--out", required=True, help="PNG file to write")
    p.add_argument("--image", help="picture to draw on (any format Matplotlib reads); its size is the view's")
    p.add_argument("--size", default="1920x1080", help="WIDTHxHEIGHT in pixels (without --image)")
    p.add_argument("--hfov", type=float, default=60.0, help="horizontal field of view, degrees")
    p.add_argument("--pan", type=float, default=10.0, help="pan, degrees")
    p.add_argument("--tilt", type=float, default=-20.0, help="tilt, degrees (positive up)")
    p.add_argument("--rot", type=int, default=0, choices=(0, 90, 180, 270), help="picture rotation, degrees")
    p.add_argument("--lens", default="rectilinear", choices=sorted(LENSES))
    p.add_argument("--step", type=float, default=10.0, help="grid spacing, degrees")
    return p.parse_args(argv)


def synthetic_picture(width, height):
    """A soft gradient with a faint checkerboard, so the grid has a ground."""
    yy, xx = np.mgrid[0:height, 0:width]
    checker = ((xx // 120 + yy // 120) % 2) * 0.06
    r = 0.55 + 0.25 * (yy / height) + checker
    g = 0.62 + 0.15 * (xx / width) + checker
    b = 0.70 - 0.20 * (yy / height) + checker
    return np.clip(np.dstack([r, g, b]), 0, 1)


def covered_range(ctx, width, height):
    """Pan (relative to the camera's pan) and tilt ranges the picture spans,
    from the directions of its border pixels."""
    border_x = np.concatenate([np.arange(width), np.arange(width), np.zeros(height, int), np.full(height, width - 1)])
    border_y = np.concatenate([np.zeros(width, int), np.full(width, height - 1), np.arange(height), np.arange(height)])
    pan, tilt = ctx.to_ptz(border_x, border_y)
    rel = viewgeo.wrap_pan(pan - np.float32(ctx.pan))
    return (float(rel.min()), float(rel.max())), (float(tilt.min()), float(tilt.max()))


def visible_polyline(ctx, pan, tilt, width, height):
    """Pixels of the directions (pan, tilt), broken (NaN) where they leave
    the picture or lie behind the camera."""
    x, y = ctx.to_pixel(pan, tilt)
    x, y = x.astype(float), y.astype(float)
    ahead = viewgeo.great_circle(np.float32(ctx.pan), np.float32(ctx.tilt), pan, tilt) < 89.0
    inside = (x >= -1) & (x <= width) & (y >= -1) & (y <= height) & ahead
    x[~inside] = np.nan
    y[~inside] = np.nan
    return x, y


def draw(args):
    if args.image:
        picture = plt.imread(args.image)
        height, width = picture.shape[:2]
    else:
        width, height = (int(v) for v in args.size.lower().split("x"))
        picture = synthetic_picture(width, height)
    ctx = viewgeo.Context(pan=args.pan, tilt=args.tilt, horiz_fov=args.hfov, pic_size=(width, height),
                          pic_rot=args.rot, projection_type=LENSES[args.lens])
    (rel_lo, rel_hi), (tilt_lo, tilt_hi) = covered_range(ctx, width, height)
    step = args.step
    samples = np.linspace(-90.0, 90.0, 721, dtype=np.float32)

    fig = plt.figure(figsize=(width / 150, height / 150 + 0.4), dpi=150)
    ax = fig.add_axes([0, 0.4 / (height / 150 + 0.4), 1, height / 150 / (height / 150 + 0.4)])
    ax.imshow(picture, extent=(0, width, height, 0))
    ax.set_xlim(0, width)
    ax.set_ylim(height, 0)
    ax.axis("off")

    pan_lines = 0
    first = np.ceil((args.pan + rel_lo) / step) * step
    for pan_value in np.arange(first, args.pan + rel_hi + 1e-6, step):
        x, y = visible_polyline(ctx, np.float32(pan_value), samples, width, height)
        if np.all(np.isnan(x)):
            continue
        pan_lines += 1
        ax.plot(x, y, color="#1f4fd1", linewidth=1.2)
        i = np.nanargmax(y)
        label = f"{float(viewgeo.wrap_pan(np.float32(pan_value))):g}°"
        ax.text(x[i], min(y[i], height - 8), label, color="#1f4fd1", fontsize=8, ha="center", va="bottom",
                bbox=dict(facecolor="white", alpha=0.7, edgecolor="none", pad=1))

    tilt_lines = 0
    pans = np.float32(args.pan) + np.linspace(-180.0, 180.0, 1441, dtype=np.float32)
    for tilt_value in np.arange(np.ceil(tilt_lo / step) * step, tilt_hi + 1e-6, step):
        x, y = visible_polyline(ctx, pans, np.float32(tilt_value), width, height)
        if np.all(np.isnan(x)):
            continue
        tilt_lines += 1
        ax.plot(x, y, color="#c62828", linewidth=3.0 if tilt_value == 0 else 1.2)
        # Labelled at its leftmost point clear of the top and bottom edges.
        clear = np.where((y >= 14) & (y <= height - 30), x, np.nan)
        if np.all(np.isnan(clear)):
            continue
        i = np.nanargmin(clear)
        ax.text(max(x[i], 4), y[i], f"{tilt_value:g}°", color="#c62828", fontsize=8, ha="left", va="center",
                bbox=dict(facecolor="white", alpha=0.7, edgecolor="none", pad=1))

    cx, cy = width / 2, height / 2
    ax.plot([cx - 12, cx + 12], [cy, cy], color="black", linewidth=1)
    ax.plot([cx, cx], [cy - 12, cy + 12], color="black", linewidth=1)
    fig.text(0.01, 0.2 / (height / 150 + 0.4),
             f"{width} x {height}, {args.lens} lens, horizontal field {args.hfov:g}°, "
             f"pan {args.pan:g}°, tilt {args.tilt:g}°, rotation {args.rot}°; "
             f"blue: constant pan, red: constant tilt (horizon thick), every {step:g}°",
             fontsize=8, va="center")
    fig.savefig(args.out, dpi=150)
    plt.close(fig)
    return pan_lines, tilt_lines


def main(argv=None):
    args = parse_args(argv)
    pan_lines, tilt_lines = draw(args)
    print(f"png {args.out}  pan_lines {pan_lines}  tilt_lines {tilt_lines}")


if __name__ == "__main__":
    main()
