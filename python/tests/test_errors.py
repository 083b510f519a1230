"""Invalid arguments raise ValueError or TypeError with a clear message and
never crash the interpreter."""

import numpy as np
import pytest

import viewgeo


@pytest.mark.parametrize("bad", [1.5, np.array([1.0, 2.0]), np.array([True, False]), 1 + 2j, "12", None, [1, "a"], object()])
def test_pixels_that_are_not_integers_raise_type_error(ctx, bad):
    with pytest.raises(TypeError, match="x: expected whole pixels"):
        ctx.to_ptz(bad, 3)


@pytest.mark.parametrize("bad", [2**31, -(2**31) - 1, np.array([0, 2**40]), np.array([2**32 - 1], dtype=np.uint32),
                                 np.array([2**63], dtype=np.uint64)])
def test_pixels_beyond_int32_raise_value_error(ctx, bad):
    with pytest.raises(ValueError, match="32-bit signed range"):
        ctx.to_ptz(3, bad)


def test_big_python_integers_raise_type_error(ctx):
    with pytest.raises(TypeError):
        ctx.to_ptz(2**80, 3)


@pytest.mark.parametrize("bad", ["north", np.array([1j]), np.array([True]), None])
def test_degrees_that_are_not_real_raise_type_error(ctx, bad):
    with pytest.raises(TypeError, match="pan: expected real numbers"):
        ctx.to_pixel(bad, 3.0)


def test_fixed_takes_words_not_degrees(ctx):
    with pytest.raises(TypeError, match="Q16.16 words.*to_q16"):
        ctx.to_pixel(15.0, -25.0, fixed=True)


def test_shapes_that_do_not_broadcast_raise_value_error(ctx):
    with pytest.raises(ValueError, match=r"shapes do not broadcast together: x \(2,\), y \(3,\)"):
        ctx.to_ptz([1, 2], [1, 2, 3])
    with pytest.raises(ValueError, match="broadcast"):
        viewgeo.great_circle(np.zeros(2), 0, np.zeros((3, 4)), 0)


def test_unknown_picture_rotation_raises_value_error(ctx):
    with pytest.raises(ValueError, match="pic_rot must be 0, 90, 180, 270 or 360"):
        ctx.pic_rot = 45
    with pytest.raises(ValueError, match="pic_rot"):
        viewgeo.Context(pic_rot=1)
    assert ctx.pic_rot == 0


def test_out_of_range_property_values_raise(ctx):
    with pytest.raises(ValueError, match="pic_width"):
        ctx.pic_width = 2**31
    with pytest.raises(TypeError, match="pan_q16: expected an integer"):
        ctx.pan_q16 = 1.5
    with pytest.raises(TypeError):
        ctx.pan = "east"
    with pytest.raises(TypeError):
        ctx.pic_size = (1, 2, 3)
    with pytest.raises(ValueError, match="mo_state"):
        ctx.mo_state = 7
    with pytest.raises(TypeError):
        ctx.pan_rotation_steps = -1


def test_text_with_nul_raises_value_error(ctx):
    with pytest.raises(ValueError, match="NUL"):
        ctx.mo_opt_offset = "1,2\0,3"


def test_unscannable_misalignment_texts_raise_value_error(ctx):
    with pytest.raises(ValueError, match="do not scan"):
        ctx.set_misalignment_data()  # both texts None
    ctx.mo_opt_offset, ctx.mo_mech_offset = "x,y,z", "0,0"
    with pytest.raises(ValueError, match="do not scan"):
        ctx.set_misalignment_data()


@pytest.mark.parametrize("which", [4, -1, "z", "Pan", 2**40])
def test_compensator_index_outside_0_to_3_raises(which):
    o = viewgeo.OvistaContext()
    with pytest.raises((ValueError, TypeError), match="compensator|which"):
        o.get_compensator(which)
    with pytest.raises((ValueError, TypeError), match="compensator|which"):
        o.set_compensator(which, viewgeo.Compensator())


def test_compensator_index_of_wrong_type_raises_type_error():
    with pytest.raises(TypeError):
        viewgeo.OvistaContext().get_compensator(1.0)


@pytest.mark.parametrize("call", [
    lambda c: c.to_remote_ptz(1, 1),
    lambda c: c.to_remote_zoom(1, 1, 10),
    lambda c: c.remote_to_pixel(0, 0, 1),
    lambda c: c.get_remote_fov(),
])
def test_remote_functions_reject_a_zero_picture(call):
    c = viewgeo.Context(horiz_fov=120)
    with pytest.raises(ValueError, match="picture size must not be 0"):
        call(c)


def test_overview_projection_needs_a_view_context():
    o = viewgeo.OvistaContext()
    with pytest.raises(TypeError):
        o.to_ptz(None, 1, 2)


def test_keyword_only_flags(ctx):
    with pytest.raises(TypeError):
        ctx.to_ptz(1, 2, True)


def test_degenerate_fields_give_the_documented_fallbacks_not_errors():
    c = viewgeo.Context(pan=5, tilt=6, horiz_fov=0, pic_size=(640, 480))
    assert c.to_ptz(1, 2) == (5.0, 6.0)
    assert c.to_pixel(1.0, 2.0, fixed=False) == (320, 240)
    assert c.to_pixel(1, 2, fixed=True) == (640 * 32768, 480 * 32768)
    z = viewgeo.Context(pic_size=(0, 0))
    assert np.isnan(z.vert_fov)
