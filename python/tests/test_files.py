"""The file functions, below the private root of each test: OSError with
the reason on every failure."""

import errno
import pathlib

import numpy as np
import pytest

import viewgeo
from conftest import HOOKS

REMOTE = "/etc/viewgeo/remoteptz.conf"


def test_remote_centre_round_trip(root, ctx):
    viewgeo.set_remote_center(1, 10.0, -20.0, calibration_status=1)
    assert "[channel_1]" in root.read(REMOTE)
    assert ctx.get_remote_center(1) == (10.0, -20.0)
    assert (ctx.pan, ctx.tilt) == (10.0, -20.0)
    assert viewgeo.get_remote_calibrated(1) == (1, 0)


def test_remote_worked_examples(ctx):
    viewgeo.set_remote_center(1, 10.0, -20.0, calibration_status=1)
    ctx.get_remote_center(1)
    # The remote mappings read the stored vertical field: keep the derived one.
    ctx.vert_fov_q16 = ctx.vert_fov_q16
    assert ctx.to_remote_ptz(1200, 300) == (1199667, -764673)
    assert ctx.to_remote_zoom(1200, 300, 200) == 415900
    x, y, found = ctx.remote_to_pixel(viewgeo.to_q16(18.3), viewgeo.to_q16(-11.7), 1)
    assert (x, y, found) == (1199, 301, True)
    wide = viewgeo.Context(horiz_fov=120, pic_size=(1920, 1080), projection_type=2)
    wide.vert_fov_q16 = wide.vert_fov_q16
    x, y, found = wide.remote_to_pixel(viewgeo.to_q16([18.3, -170]), viewgeo.to_q16([-11.7, 60]), 1)
    assert list(x) == [1097, -1] and list(y) == [436, -1] and list(found) == [True, False]


def test_missing_calibration_raises_file_not_found(ctx):
    with pytest.raises(FileNotFoundError) as raised:
        ctx.get_remote_center(2)
    assert raised.value.filename == REMOTE
    assert "cannot read the remote centre of channel 2" in str(raised.value)
    with pytest.raises(FileNotFoundError):
        viewgeo.get_remote_calibrated(2)
    with pytest.raises(FileNotFoundError):
        ctx.remote_to_pixel(0, 0, 2)


def test_incomplete_channel_raises_os_error_and_leaves_the_context(root, ctx):
    root.write(REMOTE, "[channel_3]\ncenter_pan = 1.0\n")
    with pytest.raises(OSError, match="channel 3"):
        ctx.get_remote_center(3)
    assert (ctx.pan, ctx.tilt) == (10.0, -20.0)


def test_remote_field_of_view_from_the_file(root, ctx):
    root.write(REMOTE, "[lens_fov]\nvfov = 30.0\n")
    hfov, vfov = ctx.get_remote_fov()
    assert vfov == 30.0 and abs(hfov - 30.0 * 1920 / 1080) < 1e-3
    root.write(REMOTE, "[lens_fov]\nvfov = none\n")
    with pytest.raises(OSError, match="vfov"):
        ctx.get_remote_fov()


def test_failed_rename_raises_with_its_errno(root):
    HOOKS.inject_failure("rename", errno.EIO)
    with pytest.raises(OSError) as raised:
        viewgeo.set_remote_center(1, 1.0, 2.0)
    assert raised.value.errno == errno.EIO
    assert "Input/output error" in str(raised.value)
    assert not root.exists(REMOTE)


def test_unwritable_directory_raises_permission_or_injected_error(root):
    HOOKS.inject_failure("fopen_new", errno.EACCES)
    with pytest.raises(PermissionError):
        viewgeo.set_remote_center(1, 1.0, 2.0)


def test_overview_save_backup_restore(root):
    o = viewgeo.OvistaContext()
    o.center_pan, o.field_angle = 30.0, 105.0
    o.save()
    assert "105.000000" in root.read("/etc/viewgeo/ovista.conf")
    o.backup()
    assert root.exists("/etc/viewgeo/ovista.bak")
    assert viewgeo.OvistaContext().field_angle == 105.0
    o.field_angle = 80.0
    o.save()
    o.restore()
    assert o.field_angle == 105.0
    assert viewgeo.OvistaContext().field_angle == 105.0


def test_restore_without_backup_gives_the_defaults(root):
    o = viewgeo.OvistaContext()
    o.center_pan = 45.0
    o.restore()
    assert o.center_pan == 0.0 and root.exists("/etc/viewgeo/ovista.conf")


def test_overview_load_and_save_with_an_explicit_path(root):
    # The test build resolves explicit paths below the root as well.
    o = viewgeo.OvistaContext()
    o.radius_x = 0.25
    o.save("/etc/viewgeo/mine.conf")
    assert "radius_x = 0.250000" in root.read("/etc/viewgeo/mine.conf")
    assert viewgeo.OvistaContext("/etc/viewgeo/mine.conf").radius_x == 0.25
    assert viewgeo.OvistaContext("/etc/viewgeo/missing.conf").radius_x == 0.3046875


def test_overview_paths_may_be_path_objects_or_bytes(root):
    o = viewgeo.OvistaContext()
    o.radius_x = 0.25
    o.save(pathlib.PurePosixPath("/etc/viewgeo/mine.conf"))
    assert viewgeo.OvistaContext(pathlib.Path("/etc/viewgeo/mine.conf")).radius_x == 0.25
    assert viewgeo.OvistaContext(b"/etc/viewgeo/mine.conf").radius_x == 0.25
    with pytest.raises(FileNotFoundError) as raised:
        o.save(pathlib.Path("/etc/no/such.conf"))
    assert raised.value.filename == "/etc/no/such.conf"
    with pytest.raises(TypeError):
        viewgeo.OvistaContext(5)


def test_overview_save_into_a_missing_directory_raises():
    with pytest.raises(FileNotFoundError) as raised:
        viewgeo.OvistaContext().save("/etc/no/such.conf")
    assert raised.value.filename == "/etc/no/such.conf"
    assert any("Failed to save" in line for line in HOOKS.captured_log())


def test_failed_sync_on_save_raises_with_its_errno():
    HOOKS.inject_failure("fsync", errno.ENOSPC)
    with pytest.raises(OSError) as raised:
        viewgeo.OvistaContext().save()
    assert raised.value.errno == errno.ENOSPC


def test_failed_backup_raises(root):
    HOOKS.inject_failure("rename", errno.EROFS)
    with pytest.raises(OSError) as raised:
        viewgeo.OvistaContext().backup()
    assert raised.value.errno == errno.EROFS and raised.value.filename == "/etc/viewgeo/ovista.bak"


def test_unreadable_overview_file_raises(root):
    root.real("/etc/viewgeo/ovista.conf").mkdir()
    with pytest.raises(OSError) as raised:
        viewgeo.OvistaContext()
    assert raised.value.filename == "/etc/viewgeo/ovista.conf"


def test_restore_whose_save_fails_raises_and_keeps_the_backup_values(root):
    o = viewgeo.OvistaContext()
    o.field_angle = 101.0
    o.backup()
    o.field_angle = 90.0
    HOOKS.inject_failure("rename", errno.EIO)
    with pytest.raises(OSError, match="restored"):
        o.restore()
    assert o.field_angle == 101.0
