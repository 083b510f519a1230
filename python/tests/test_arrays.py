"""Shapes, dtypes and broadcasting of the array arguments, and properties
that hold for any input (hypothesis)."""

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st
from hypothesis.extra import numpy as hnp

import viewgeo

# Fixed draws and no example database: every run checks the same inputs and
# writes nothing into the source tree.
settings.register_profile("viewgeo", deadline=None, max_examples=60, derandomize=True, database=None)
settings.load_profile("viewgeo")


def camera(**kw):
    base = dict(pan=10, tilt=-20, horiz_fov=60, pic_size=(1920, 1080), projection_type=2)
    base.update(kw)
    return viewgeo.Context(**base)


def test_scalars_give_numpy_scalars(ctx):
    pan, tilt = ctx.to_ptz(1200, 300)
    assert isinstance(pan, np.float32) and isinstance(tilt, np.float32)
    x, y = ctx.to_pixel(15.0, -25.0)
    assert isinstance(x, np.int32) and (x, y) == (1092, 687)


def test_two_dimensional_arrays_keep_their_shape(ctx):
    x, y = np.meshgrid(np.arange(0, 1920, 480), np.arange(0, 1080, 270))
    pan, tilt = ctx.to_ptz(x, y)
    assert pan.shape == x.shape == tilt.shape
    assert pan[1, 2] == ctx.to_ptz(int(x[1, 2]), int(y[1, 2]))[0]


def test_column_and_row_broadcast_to_a_grid(ctx):
    pan, tilt = ctx.to_ptz(np.arange(5)[None, :] * 400, np.arange(3)[:, None] * 500)
    assert pan.shape == (3, 5)
    assert tilt[2, 4] == ctx.to_ptz(1600, 1000)[1]


def test_scalar_broadcasts_against_array(ctx):
    pan, _ = ctx.to_pixel(np.array([[10.0, 15.0]]), -25.0)
    assert pan.shape == (1, 2)


def test_empty_arrays_give_empty_results(ctx):
    pan, tilt = ctx.to_ptz(np.zeros((0, 3), dtype=np.int64), 5)
    assert pan.shape == (0, 3) and pan.dtype == np.float32


def test_empty_lists_give_empty_results(ctx):
    # NumPy reads [] as float64: no pixels, none of them with a fraction.
    pan, tilt = ctx.to_ptz([], [])
    assert pan.shape == tilt.shape == (0,) and pan.dtype == np.float32
    x, y = ctx.to_pixel([], [], fixed=True)
    assert x.shape == y.shape == (0,) and x.dtype == np.int32
    assert viewgeo.from_q16([]).shape == (0,)
    assert ctx.to_ptz([], 300)[0].shape == (0,)


def test_non_contiguous_and_fortran_arrays_give_the_contiguous_results(ctx):
    grid = np.arange(0, 1920 * 4, 37, dtype=np.int32)[: 200].reshape(10, 20)
    strided = grid[::2, ::3]
    fortran = np.asfortranarray(grid)
    assert np.array_equal(ctx.to_ptz(strided, 300)[0], ctx.to_ptz(strided.copy(), 300)[0])
    assert np.array_equal(ctx.to_ptz(fortran, grid)[1], ctx.to_ptz(grid, grid)[1])


@pytest.mark.parametrize("dtype", [np.int8, np.uint8, np.int16, np.uint16, np.int32, np.uint32, np.int64, np.uint64])
def test_integer_pixels_of_any_width_are_converted(ctx, dtype):
    x = np.array([0, 100, 120], dtype=dtype)
    assert np.array_equal(ctx.to_ptz(x, 3)[0], ctx.to_ptz(x.astype(np.int32), 3)[0])


def test_big_endian_pixels_are_converted(ctx):
    x = np.array([0, 1200], dtype=">i4")
    assert np.array_equal(ctx.to_ptz(x, 300)[0], ctx.to_ptz(np.array([0, 1200]), 300)[0])


@pytest.mark.parametrize("dtype", [np.float16, np.float64, np.longdouble, np.int64])
def test_degrees_of_any_real_type_are_taken_as_float32(ctx, dtype):
    pan = np.array([10.1, 15.3, -3.7]).astype(dtype)
    assert np.array_equal(ctx.to_pixel(pan, -25)[0], ctx.to_pixel(pan.astype(np.float32), -25)[0])


def test_python_lists_and_tuples_are_arrays(ctx):
    pan, _ = ctx.to_ptz([0, 1200], (300, 300))
    assert pan.shape == (2,)


# Properties.

shapes = hnp.array_shapes(min_dims=0, max_dims=3, min_side=0, max_side=4)


@given(st.data())
def test_result_shape_is_the_broadcast_shape(data):
    ctx = camera()
    shape_a, shape_b = data.draw(hnp.mutually_broadcastable_shapes(num_shapes=2, max_dims=3, max_side=4)).input_shapes
    x = data.draw(hnp.arrays(np.int32, shape_a, elements=st.integers(-5000, 5000)))
    y = data.draw(hnp.arrays(np.int64, shape_b, elements=st.integers(-5000, 5000)))
    expected = np.broadcast_shapes(shape_a, shape_b)
    for fixed in (False, True):
        for relative in (False, True):
            pan, tilt = ctx.to_ptz(x, y, fixed=fixed, relative=relative)
            assert np.shape(pan) == expected == np.shape(tilt)
    px, py = ctx.to_pixel(x.astype(np.float32) / 100, y / 100)
    assert np.shape(px) == expected
    assert np.shape(viewgeo.great_circle(x / 100, 0, y / 100, 5)) == expected


@given(st.data())
def test_each_element_of_a_broadcast_call_is_its_own_scalar_call(data):
    ctx = camera()
    x = data.draw(hnp.arrays(np.int32, st.integers(1, 6), elements=st.integers(-3000, 3000)))
    y = data.draw(st.integers(-3000, 3000))
    pan, tilt = ctx.to_ptz(x, y)
    for i in range(x.size):
        p, t = ctx.to_ptz(int(x[i]), y)
        assert pan[i].tobytes() == p.tobytes() and tilt[i].tobytes() == t.tobytes()


@given(
    x=st.integers(0, 1919), y=st.integers(0, 1079),
    pan=st.floats(-180, 180, width=32), tilt=st.floats(-60, 60, width=32),
    hfov=st.floats(10, 90, width=32),
)
def test_pixel_round_trip_through_pan_tilt_stays_within_one_pixel(x, y, pan, tilt, hfov):
    # Rectilinear lens, unrotated picture: the pixel comes back within one
    # pixel (the float32 angles lose a fraction of a pixel, and pixels
    # truncate).
    ctx = camera(pan=pan, tilt=tilt, horiz_fov=hfov)
    p, t = ctx.to_ptz(x, y)
    bx, by = ctx.to_pixel(p, t)
    assert abs(int(bx) - x) <= 1 and abs(int(by) - y) <= 1


@given(degrees=st.floats(-32767, 32767, width=32))
def test_q16_round_trip_is_within_half_a_word(degrees):
    back = float(viewgeo.from_q16(viewgeo.to_q16(degrees)))
    assert abs(back - degrees) <= 2.0**-17 + abs(degrees) * 2.0**-23


@given(pan=st.floats(-179.5, 180, width=32), tilt=st.floats(-85, 85, width=32))
def test_direction_round_trip_through_a_vector(pan, tilt):
    # Pan is meaningless at the poles, hence |tilt| <= 85; the tolerance is
    # a few float32 roundings of angles below 180 degrees.
    x, y, z = viewgeo.ptz_to_cartesian(pan, tilt)
    p, t = viewgeo.cartesian_to_ptz(x, y, z)
    assert abs(float(viewgeo.pan_delta(p, pan))) < 1e-3 and abs(float(t) - tilt) < 1e-3


@given(a=st.floats(-359, 359, width=32), b=st.floats(-359, 359, width=32))
def test_pan_delta_of_pans_less_than_a_turn_apart_lies_in_0_to_180(a, b):
    d = float(viewgeo.pan_delta(a, b))
    if abs(a - b) < 360:
        assert 0 <= d <= 180


@given(pan=st.floats(-539, 539, width=32))
def test_wrap_pan_within_540_lands_in_half_turns(pan):
    assert -180 <= float(viewgeo.wrap_pan(pan)) <= 180
