"""The records: properties, repr, and the worked examples of the tool's
documentation (docs/cli.md) through the binding."""

import copy
import pickle

import numpy as np
import pytest

import viewgeo


def test_worked_example_to_ptz_and_back(ctx):
    pan, tilt = ctx.to_ptz(1200, 300)
    assert (f"{pan:.6f}", f"{tilt:.6f}") == ("18.302807", "-11.666656")
    assert ctx.to_pixel(18.302807, -11.666656) == (1200, 300)


def test_worked_example_relative_and_fixed(ctx):
    pan, tilt = ctx.to_ptz(1200, 300, relative=True)
    assert (f"{pan:.6f}", f"{tilt:.6f}") == ("8.302807", "8.333344")
    assert ctx.to_ptz(1200, 300, fixed=True) == (1199667, -764673)
    assert ctx.to_pixel(viewgeo.to_q16(15), viewgeo.to_q16(-25), fixed=True) == (1092, 687)


def test_properties_read_back_what_was_set():
    c = viewgeo.Context()
    c.pan, c.tilt, c.horiz_fov = 12.5, -33.25, 48.0
    c.pic_size = (1280, 720)
    c.pic_rot, c.projection_type, c.dewarp_status = 180, 0, 1
    assert (c.pan, c.tilt, c.horiz_fov) == (12.5, -33.25, 48.0)
    assert (c.pan_q16, c.tilt_q16, c.horiz_fov_q16) == (12.5 * 65536, -33.25 * 65536, 48 * 65536)
    assert (c.pic_width, c.pic_height, c.pic_size) == (1280, 720, (1280, 720))
    assert (c.pic_rot, c.projection_type, c.dewarp_status) == (180, 0, 1)


def test_q16_properties_set_the_words():
    c = viewgeo.Context()
    c.pan_q16, c.tilt_q16, c.horiz_fov_q16 = 0xB40000, -1, 0x3C0000
    assert (c.pan, c.tilt_q16, c.horiz_fov) == (180.0, -1, 60.0)
    c.vert_fov_q16 = 0x200000
    assert c.vert_fov == 32.0 and c.vert_fov_set


def test_vertical_field_follows_the_aspect_until_set(ctx):
    assert not ctx.vert_fov_set
    assert abs(ctx.vert_fov - 35.98339) < 1e-4  # 2 atan(9/16 tan 30 deg)
    ctx.vert_fov = 40
    assert ctx.vert_fov_set and ctx.vert_fov == 40.0


def test_repr_reads_as_the_constructor_call(ctx):
    assert repr(ctx) == (
        "viewgeo.Context(pan=10.0, tilt=-20.0, horiz_fov=60.0, pic_size=(1920, 1080), "
        "pic_rot=0, projection_type=2, dewarp_status=0)"
    )
    ctx.vert_fov = 30
    again = eval(repr(ctx), {"viewgeo": viewgeo})
    assert repr(again) == repr(ctx)


def test_new_context_takes_the_lens_model_from_the_flag_file(root):
    assert viewgeo.Context().projection_type == 2
    root.write("/usr/share/viewgeo/viewgeo_projection.conf", "")
    assert viewgeo.Context().projection_type == 1


def test_misalignment_worked_example():
    c = viewgeo.Context()
    c.mo_opt_offset, c.mo_mech_offset = "1,-10,0;100,-10,0", "0,0"
    c.pan_rotation_steps = c.tilt_rotation_steps = 1000
    c.set_misalignment_data()
    c.mo_state = 1
    assert c.mo_table.shape == (2, 3) and c.mo_table.dtype == np.int32
    assert c.misalignment_offset(viewgeo.to_q16(1), 0) == (235930, 0)
    # Near the horizon the offset is added as it is, and taken off with add=False.
    zoom = viewgeo.to_q16(1)
    assert c.compensate_misalignment(zoom, 0, 0) == (235930, 0)
    assert c.compensate_misalignment(zoom, 0, 0, add=False) == (-235930, 0)
    pan, tilt = c.compensate_misalignment(zoom, np.array([0, 65536]), viewgeo.to_q16(np.array([[0.0], [-30.0]])))
    assert pan.shape == (2, 2) and pan[0, 1] == 235930 + 65536


def test_misalignment_texts_are_owned_by_the_record():
    c = viewgeo.Context()
    assert c.mo_opt_offset is None
    c.mo_opt_offset = "1,2,3"
    c.mo_opt_offset = "4,5,6"
    assert c.mo_opt_offset == "4,5,6"
    c.mo_opt_offset = None
    assert c.mo_opt_offset is None


def test_misalignment_offset_reads_the_data_file(root):
    root.write("/var/run/ptz/mo_data_file", "garbage that is no calibration\n")
    c = viewgeo.Context()
    assert c.mo_state in (1, 2)
    assert c.misalignment_offset(0, 0) == (0, 0)


def test_overview_defaults_and_repr():
    o = viewgeo.OvistaContext()
    assert (o.center_pan, o.center_tilt, o.center_x, o.radius_x, o.field_angle) == (0.0, -90.0, 0.5, 0.3046875, 99.0)
    assert repr(o).startswith("viewgeo.OvistaContext(center_pan=0.0, center_tilt=-90.0, center_x=0.5")
    assert "pan_comp=viewgeo.Compensator(type=0, A=0.0" in repr(o)


def test_overview_worked_examples():
    o = viewgeo.OvistaContext()
    # As the tool's example left the file: six decimals of the default radius.
    o.field_angle, o.center_pan, o.radius_x = 105, 30, 0.304688
    view = viewgeo.Context(pic_size=(1920, 1080))
    pan, tilt = o.to_ptz(view, 960, 345)
    assert (f"{pan:.6f}", f"{tilt:.6f}") == ("30.000000", "-55.000057")
    pan, tilt = o.to_ptz(view, 960, 345, relative=True)
    assert (f"{pan:.6f}", f"{tilt:.6f}") == ("0.000000", "34.999943")
    assert o.to_pixel(view, 30, -57) == (960, 356)
    o.mirror = True
    assert o.to_pixel(view, 30, -57) == (801, 448)


def test_compensators_by_name_and_index():
    o = viewgeo.OvistaContext()
    comp = viewgeo.Compensator(type=2, A=1.0, B=2.0, C=3.0, D=4.0)
    o.set_compensator("tilt", comp)
    assert o.get_compensator(1) == comp == o.tilt_comp
    o.y_comp = viewgeo.Compensator(1, 0.5, 0, 1)
    assert o.get_compensator("y").A == 0.5
    assert comp(2.0) == 8 + 8 + 6 + 4
    assert np.array_equal(comp(np.array([[0.0, 1.0]])), np.array([[4.0, 10.0]], dtype=np.float32))


def test_compensators_compare_unequal_to_other_objects():
    comp = viewgeo.Compensator(1, 0.5)
    assert comp != viewgeo.Compensator(1, 0.25)
    assert comp != 5 and not (comp == None)  # noqa: E711
    assert comp in [1, "x", comp] and viewgeo.Compensator() not in [0, None]


def test_compensators_copy_deep_copy_and_pickle_as_values():
    comp = viewgeo.Compensator(2, 0.5, -0.25, 1.5, 0.1)
    for twin in (copy.copy(comp), copy.deepcopy(comp), pickle.loads(pickle.dumps(comp)),
                 copy.deepcopy([comp])[0]):
        assert twin == comp and twin is not comp
        assert (twin.type, twin.A, twin.B, twin.C, twin.D) == (comp.type, comp.A, comp.B, comp.C, comp.D)
    twin = copy.copy(comp)
    twin.A = 3.0
    assert comp.A == 0.5, "a copy is its own value"


def test_rotation_and_mirror_properties():
    o = viewgeo.OvistaContext()
    o.rotation, o.mirror = 270, True
    assert (o.rotation, o.mirror) == (270, True)


def test_utilities_worked_examples():
    assert viewgeo.pan_delta(170, -170) == 20
    assert viewgeo.great_circle(0, 0, 90, 0) == 90
    fa, fb = viewgeo.zoom_fov(2, 60, 2)
    assert (f"{fa:.6f}", f"{fb:.6f}") == ("32.204231", "16.426422")
    assert viewgeo.zoom_magnification(viewgeo.to_q16(30), viewgeo.to_q16(60)) == 141216
    assert viewgeo.wrap_pan(600) == 240
    assert viewgeo.pan_delta(viewgeo.to_q16(170), viewgeo.to_q16(-170), fixed=True) == 20 * 65536


def test_fixed_utilities_take_and_give_words():
    gc = viewgeo.great_circle(0, 0, viewgeo.to_q16(90), 0, fixed=True)
    # The fixed-point sines, cosines and arc cosine land within a few
    # hundredths of a degree of the float results.
    assert gc.dtype == np.int32 and abs(int(gc) - 90 * 65536) < 0.03 * 65536
    fa, fb = viewgeo.zoom_fov(viewgeo.to_q16(2), viewgeo.to_q16(60), viewgeo.to_q16(2), fixed=True)
    assert abs(int(fa) - viewgeo.to_q16(32.204231)) < 0.03 * 65536


def test_constants():
    assert (viewgeo.dtor_x, viewgeo.rtod_x) == (1144, 3754936)
    assert np.float32(viewgeo.dtor_f).view(np.uint32) == 0x3C8EFA35
    assert np.float32(viewgeo.rtod_f).view(np.uint32) == 0x42652EE1


def test_cartesian_of_a_zero_vector_is_nan():
    pan, tilt = viewgeo.cartesian_to_ptz([0.0, 1.0], 0.0, 0.0)
    assert np.isnan(pan[0]) and np.isnan(tilt[0]) and pan[1] == 0 and tilt[1] == 0


def test_projections_use_a_snapshot_while_other_threads_change_the_context(ctx):
    import threading

    x = np.tile(np.arange(0, 1920, 7, dtype=np.int32), 200)
    stop = threading.Event()

    def churn():
        while not stop.is_set():
            ctx.pan = 10
            ctx.pan = 11

    t = threading.Thread(target=churn)
    t.start()
    try:
        for _ in range(20):
            pan, _ = ctx.to_ptz(x, 300)
            first = pan[: x.size // 200]
            # One call sees one pan throughout.
            assert np.array_equal(pan.reshape(200, -1), np.broadcast_to(first, (200, first.size)))
    finally:
        stop.set()
        t.join()
