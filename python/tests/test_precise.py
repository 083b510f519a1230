"""precise=True: float64 conversions with the same bits as the library's
double-precision single-point functions, NaN where they give no answer."""

import math

import numpy as np
import pytest

import viewgeo
from conftest import HOOKS
from test_bit_identity import rng, view  # noqa: F401  (fixtures: the same cameras and seed)

N = 300


def bits64(a):
    """The raw 64-bit words, so signed zeros compare exactly."""
    return np.asarray(a, dtype=np.float64).view(np.uint64)


def expected_pairs(points):
    """The single-point results as two arrays, NaN where the status is not 0."""
    out = np.array([(a, b) if status == 0 else (math.nan, math.nan) for status, a, b in points], dtype=np.float64)
    return out[:, 0], out[:, 1]


def assert_same(got, want):
    nan = np.isnan(want)
    assert np.array_equal(np.isnan(got), nan)
    assert np.array_equal(bits64(got[~nan]), bits64(want[~nan]))


def test_precise_to_ptz_matches_single_point_function(view, rng):
    w, h = view.pic_size
    x = rng.uniform(-w / 2, 2 * w, N)
    y = rng.uniform(-h / 2, 2 * h, N)
    pan, tilt = view.to_ptz(x, y, precise=True)
    assert pan.dtype == np.float64 and tilt.dtype == np.float64 and pan.shape == (N,)
    want_pan, want_tilt = expected_pairs(HOOKS.point_to_ptz_d(view, a, b) for a, b in zip(x, y))
    assert_same(pan, want_pan)
    assert_same(tilt, want_tilt)


def test_precise_to_pixel_matches_single_point_function(view, rng):
    pan = rng.uniform(-400, 400, N)
    tilt = rng.uniform(-100, 100, N)
    x, y = view.to_pixel(pan, tilt, precise=True)
    assert x.dtype == np.float64 and y.dtype == np.float64
    want_x, want_y = expected_pairs(HOOKS.point_to_pixel_d(view, p, t) for p, t in zip(pan, tilt))
    assert_same(x, want_x)
    assert_same(y, want_y)


def test_precise_to_pixel_gives_nan_behind_a_rectilinear_camera():
    ctx = viewgeo.Context(pan=0, tilt=0, horiz_fov=60, pic_size=(1920, 1080), projection_type=0)
    x, y = ctx.to_pixel(np.array([0.0, 180.0]), 0.0, precise=True)
    assert np.isfinite(x[0]) and np.isfinite(y[0])
    assert np.isnan(x[1]) and np.isnan(y[1])
    assert HOOKS.point_to_pixel_d(ctx, 180.0, 0.0)[0] == -1


def test_precise_round_trip_keeps_continuous_pixels():
    ctx = viewgeo.Context(pan=20, tilt=-30, horiz_fov=50, pic_size=(1920, 1080), projection_type=0)
    x = np.array([0.25, 960.5, 1919.75])
    y = np.array([10.125, 540.0, 1079.5])
    pan, tilt = ctx.to_ptz(x, y, precise=True)
    back_x, back_y = ctx.to_pixel(pan, tilt, precise=True)
    assert np.allclose(back_x, x, rtol=0, atol=1e-7) and np.allclose(back_y, y, rtol=0, atol=1e-7)


def test_precise_scalar_gives_a_float64_scalar():
    ctx = viewgeo.Context(horiz_fov=60, pic_size=(1920, 1080))
    pan, tilt = ctx.to_ptz(960.5, 540.25, precise=True)
    assert isinstance(pan, np.float64) and np.ndim(pan) == 0
    status, want_pan, want_tilt = HOOKS.point_to_ptz_d(ctx, 960.5, 540.25)
    assert status == 0 and bits64(pan) == bits64(want_pan) and bits64(tilt) == bits64(want_tilt)


@pytest.mark.parametrize("options", [dict(relative=True), dict(fixed=True)])
def test_precise_to_ptz_refuses_relative_and_fixed(options):
    ctx = viewgeo.Context(horiz_fov=60, pic_size=(1920, 1080))
    with pytest.raises(ValueError, match="precise"):
        ctx.to_ptz(1, 2, precise=True, **options)


def test_precise_to_pixel_refuses_fixed():
    ctx = viewgeo.Context(horiz_fov=60, pic_size=(1920, 1080))
    with pytest.raises(ValueError, match="precise"):
        ctx.to_pixel(1, 2, precise=True, fixed=True)


def test_precise_refuses_text():
    ctx = viewgeo.Context(horiz_fov=60, pic_size=(1920, 1080))
    with pytest.raises(TypeError):
        ctx.to_ptz(np.array(["a"]), 1.0, precise=True)


def overview(mirror):
    octx = viewgeo.OvistaContext()
    octx.center_pan, octx.center_tilt, octx.field_angle = 30.0, -60.0, 105.0
    octx.rotation, octx.mirror = 90, mirror
    return octx


# Each overview direction: the array call, its single-point function, and
# the ranges of its two random arguments (pixels, or degrees).
OVERVIEW_CALLS = {
    "to_ptz": (lambda octx, view, a, b: octx.to_ptz(view, a, b, precise=True), "point_ovista_to_ptz_d",
               (-100, 2100), (-100, 1200)),
    "to_pixel": (lambda octx, view, a, b: octx.to_pixel(view, a, b, precise=True), "point_ovista_to_pixel_d",
                 (-400, 400), (-90, 90)),
}


@pytest.mark.parametrize("mirror", [False, True])
@pytest.mark.parametrize("direction", sorted(OVERVIEW_CALLS))
def test_precise_overview_matches_single_point_function(rng, mirror, direction):
    call, hook, first_range, second_range = OVERVIEW_CALLS[direction]
    octx, view = overview(mirror), viewgeo.Context(pic_size=(1920, 1080))
    a = rng.uniform(*first_range, N)
    b = rng.uniform(*second_range, N)
    first, second = call(octx, view, a, b)
    assert first.dtype == np.float64
    want_first, want_second = expected_pairs(getattr(HOOKS, hook)(octx, view, p, q) for p, q in zip(a, b))
    assert_same(first, want_first)
    assert_same(second, want_second)


def test_precise_overview_gives_nan_for_a_picture_without_size():
    octx, view = overview(False), viewgeo.Context(pic_size=(0, 0))
    pan, tilt = octx.to_ptz(view, 1.5, 2.5, precise=True)
    assert np.isnan(pan) and np.isnan(tilt)
    with pytest.raises(ValueError, match="precise"):
        octx.to_ptz(view, 1, 2, precise=True, relative=True)


def test_precise_great_circle_is_exact_for_identical_and_opposite_directions():
    got = viewgeo.great_circle(np.array([10.0, 10.0, 3.0]), np.array([20.0, 20.0, 0.0]),
                               np.array([10.0, -170.0, 3.0]), np.array([20.0, -20.0, 0.0]), precise=True)
    assert got.dtype == np.float64
    assert got[0] == 0.0 and got[1] == 180.0 and got[2] == 0.0
    assert np.isnan(viewgeo.great_circle(math.nan, 0.0, 0.0, 0.0, precise=True))
    with pytest.raises(ValueError, match="precise"):
        viewgeo.great_circle(0, 0, 0, 0, fixed=True, precise=True)


def test_precise_cartesian_round_trip():
    x, y, z = viewgeo.ptz_to_cartesian(np.array([0.0, 90.0, 0.0]), np.array([0.0, 0.0, 90.0]), precise=True)
    assert x.dtype == np.float64
    assert list(x) == [1.0, 0.0, 0.0] and list(y) == [0.0, 1.0, 0.0] and list(z) == [0.0, 0.0, 1.0]
    pan, tilt = viewgeo.cartesian_to_ptz(np.array([1e300, 0.0]), np.array([1e300, 0.0]), np.array([0.0, 0.0]),
                                         precise=True)
    assert pan[0] == pytest.approx(45.0, abs=1e-12) and tilt[0] == 0.0
    assert np.isnan(pan[1]) and np.isnan(tilt[1])
