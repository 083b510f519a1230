"""Camera geometry for a pan-tilt-zoom camera.

Pixels <-> pan/tilt in float32 degrees and Q16.16 words, the head's
misalignment correction, the remote PTZ camera and the fisheye overview
camera. Every conversion takes scalars or NumPy arrays of any shape
(broadcast together) and returns arrays of that shape, with the same bits as
the library's C functions.

    >>> import viewgeo
    >>> ctx = viewgeo.Context(pan=10, tilt=-20, horiz_fov=60,
    ...                       pic_size=(1920, 1080), projection_type=2)
    >>> pan, tilt = ctx.to_ptz(1200, 300)
"""

from ._viewgeo import (  # noqa: F401
    Compensator,
    Context,
    OvistaContext,
    __version__,
    cartesian_to_ptz,
    dtor_f,
    dtor_x,
    from_q16,
    get_remote_calibrated,
    great_circle,
    pan_delta,
    ptz_to_cartesian,
    rtod_f,
    rtod_x,
    set_remote_center,
    to_q16,
    wrap_pan,
    zoom_fov,
    zoom_magnification,
)
from . import _viewgeo

__all__ = [
    "Compensator",
    "Context",
    "OvistaContext",
    "cartesian_to_ptz",
    "dtor_f",
    "dtor_x",
    "from_q16",
    "get_remote_calibrated",
    "great_circle",
    "pan_delta",
    "ptz_to_cartesian",
    "rtod_f",
    "rtod_x",
    "set_remote_center",
    "to_q16",
    "wrap_pan",
    "zoom_fov",
    "zoom_magnification",
]

# Present only in the test build of the package (never installed).
_testing = getattr(_viewgeo, "_testing", None)
