"""Array calls give the same bits as the library's single-point functions."""

import numpy as np
import pytest

import viewgeo
from conftest import HOOKS

RNG_SEED = 20261124
N = 400


def bits(a):
    """The raw 32-bit words, so NaNs and signed zeros compare exactly."""
    return np.asarray(a).view(np.uint32)


def cameras():
    """Views across lens models, rotations, dewarp and degenerate fields."""
    out = []
    for lens in (0, 1, 2):
        for rot in (0, 90, 180, 270, 360):
            out.append(dict(pan=37.5, tilt=-12.25, horiz_fov=63.0, pic_size=(1920, 1080),
                            pic_rot=rot, projection_type=lens))
    out.append(dict(pan=-170, tilt=80, horiz_fov=120, pic_size=(1280, 720), projection_type=2, dewarp_status=1))
    out.append(dict(pan=0, tilt=0, horiz_fov=0, pic_size=(640, 480), projection_type=1))
    out.append(dict(pan=179.9, tilt=-89.5, horiz_fov=2.5, vert_fov=1.0, pic_size=(704, 576), projection_type=2))
    return out


@pytest.fixture(params=range(len(cameras())), ids=lambda i: f"camera{i}")
def view(request):
    return viewgeo.Context(**cameras()[request.param])


@pytest.fixture
def rng():
    return np.random.default_rng(RNG_SEED)


def random_pixels(rng, ctx):
    w, h = ctx.pic_size
    x = rng.integers(-w // 2, 2 * w, N, dtype=np.int32)
    y = rng.integers(-h // 2, 2 * h, N, dtype=np.int32)
    return x, y


def random_directions(rng):
    pan = rng.uniform(-400, 400, N).astype(np.float32)
    tilt = rng.uniform(-200, 200, N).astype(np.float32)
    return pan, tilt


@pytest.mark.parametrize("relative", [False, True])
@pytest.mark.parametrize("fixed", [False, True])
def test_to_ptz_matches_single_point_function(view, rng, relative, fixed):
    x, y = random_pixels(rng, view)
    pan, tilt = view.to_ptz(x, y, relative=relative, fixed=fixed)
    assert pan.dtype == (np.int32 if fixed else np.float32)
    expected = np.array([HOOKS.point_to_ptz(view, int(a), int(b), relative, fixed) for a, b in zip(x, y)],
                        dtype=pan.dtype)
    assert np.array_equal(bits(pan), bits(expected[:, 0]))
    assert np.array_equal(bits(tilt), bits(expected[:, 1]))


def test_to_pixel_matches_single_point_function(view, rng):
    pan, tilt = random_directions(rng)
    x, y = view.to_pixel(pan, tilt)
    expected = np.array([HOOKS.point_to_pixel_f(view, float(p), float(t)) for p, t in zip(pan, tilt)], dtype=np.int32)
    assert np.array_equal(x, expected[:, 0]) and np.array_equal(y, expected[:, 1])


def test_fixed_to_pixel_matches_single_point_function(view, rng):
    pan = rng.integers(-0x2000000, 0x2000000, N, dtype=np.int32)
    tilt = rng.integers(-0x1000000, 0x1000000, N, dtype=np.int32)
    x, y = view.to_pixel(pan, tilt, fixed=True)
    expected = np.array([HOOKS.point_to_pixel_x(view, int(p), int(t)) for p, t in zip(pan, tilt)], dtype=np.int32)
    assert np.array_equal(x, expected[:, 0]) and np.array_equal(y, expected[:, 1])


def test_special_values_match_single_point_function(view):
    pan = np.array([0.0, -0.0, 180, -180, 90, -90, 360, np.nan, np.inf, -np.inf, 1e30], dtype=np.float32)
    tilt = pan[::-1].copy()
    x, y = view.to_pixel(pan, tilt)
    expected = np.array([HOOKS.point_to_pixel_f(view, float(p), float(t)) for p, t in zip(pan, tilt)], dtype=np.int32)
    assert np.array_equal(x, expected[:, 0]) and np.array_equal(y, expected[:, 1])
    ix = np.array([0, -1, 2**31 - 1, -(2**31), 959, 960], dtype=np.int32)
    for fixed in (False, True):
        p, t = view.to_ptz(ix, ix[::-1], fixed=fixed)
        want = np.array([HOOKS.point_to_ptz(view, int(a), int(b), False, fixed) for a, b in zip(ix, ix[::-1])],
                        dtype=p.dtype)
        assert np.array_equal(bits(p), bits(want[:, 0])) and np.array_equal(bits(t), bits(want[:, 1]))


@pytest.mark.parametrize("relative", [False, True])
def test_overview_to_ptz_matches_single_point_function(rng, relative):
    octx = viewgeo.OvistaContext()
    octx.center_pan, octx.field_angle, octx.rotation = 30.0, 105.0, 90
    octx.pan_comp = viewgeo.Compensator(1, 1e-4, 0.01, 0.5)
    octx.tilt_comp = viewgeo.Compensator(2, 1e-6, 1e-4, 0.01, -0.3)
    view = viewgeo.Context(pic_size=(1920, 1080))
    x = rng.integers(-100, 2100, N, dtype=np.int32)
    y = rng.integers(-100, 1200, N, dtype=np.int32)
    pan, tilt = octx.to_ptz(view, x, y, relative=relative)
    expected = np.array([HOOKS.point_ovista_to_ptz(octx, view, int(a), int(b), relative) for a, b in zip(x, y)],
                        dtype=np.float32)
    assert np.array_equal(bits(pan), bits(expected[:, 0])) and np.array_equal(bits(tilt), bits(expected[:, 1]))


@pytest.mark.parametrize("mirror", [False, True])
def test_overview_to_pixel_matches_single_point_function(rng, mirror):
    octx = viewgeo.OvistaContext()
    octx.mirror, octx.rotation = mirror, 270
    octx.x_comp = viewgeo.Compensator(1, 1e-3, 0.1, 2.0)
    view = viewgeo.Context(pic_size=(1920, 1080))
    pan, tilt = random_directions(rng)
    x, y = octx.to_pixel(view, pan, tilt)
    expected = np.array([HOOKS.point_ovista_to_pixel(octx, view, float(p), float(t)) for p, t in zip(pan, tilt)],
                        dtype=np.int32)
    assert np.array_equal(x, expected[:, 0]) and np.array_equal(y, expected[:, 1])


def test_scalar_call_gives_the_array_call_bits(ctx):
    xs = np.array([0, 1200, 1919], dtype=np.int32)
    pan, tilt = ctx.to_ptz(xs, 300)
    for i, x in enumerate(xs):
        p, t = ctx.to_ptz(int(x), 300)
        assert isinstance(p, np.float32) and np.ndim(p) == 0
        assert bits(p) == bits(pan[i]) and bits(t) == bits(tilt[i])
