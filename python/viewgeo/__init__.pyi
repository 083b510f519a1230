# Type stubs of the viewgeo package. Units: degrees (float32) unless a name
# or argument says Q16.16 (int32 words w meaning w / 65536 degrees); pixels
# are whole int32 values, origin top-left, y downwards. Every conversion
# takes scalars or arrays of any shape that broadcast together and returns
# arrays of the broadcast shape (NumPy scalars for scalar arguments).
import os
from typing import Optional, Tuple, Union, overload, Literal

import numpy as np
import numpy.typing as npt

__version__: str

_Int = Union[int, np.integer, npt.NDArray[np.integer]]
_Real = Union[float, int, np.floating, np.integer, npt.NDArray[np.floating], npt.NDArray[np.integer]]
_F32 = Union[np.float32, npt.NDArray[np.float32]]
_I32 = Union[np.int32, npt.NDArray[np.int32]]
_F64 = Union[np.float64, npt.NDArray[np.float64]]
_Bool = Union[np.bool_, npt.NDArray[np.bool_]]

dtor_x: int
dtor_f: float
rtod_x: int
rtod_f: float

class Context:
    """The view of the PTZ camera; created and freed by the library."""
    def __init__(
        self,
        *,
        pan: Optional[float] = ...,
        tilt: Optional[float] = ...,
        horiz_fov: Optional[float] = ...,
        vert_fov: Optional[float] = ...,
        pic_size: Optional[Tuple[int, int]] = ...,
        pic_rot: Optional[int] = ...,
        projection_type: Optional[int] = ...,
        dewarp_status: Optional[int] = ...,
    ) -> None: ...
    pan: float
    """Pan, degrees."""
    tilt: float
    """Tilt, degrees, positive upwards."""
    pan_q16: int
    tilt_q16: int
    horiz_fov: float
    """Horizontal field of view, degrees."""
    horiz_fov_q16: int
    vert_fov: float
    """Vertical field of view, degrees: as set, or derived from the aspect."""
    vert_fov_q16: int
    @property
    def vert_fov_set(self) -> bool: ...
    pic_width: int
    pic_height: int
    pic_size: Tuple[int, int]
    pic_rot: int
    """0, 90, 180, 270 or 360 degrees."""
    projection_type: int
    """0 sine, 1 equidistant, other rectilinear."""
    dewarp_status: int
    mo_opt_offset: Optional[str]
    mo_mech_offset: Optional[str]
    pan_rotation_steps: int
    tilt_rotation_steps: int
    mo_state: int
    """0 not read, 1 loaded, 2 failed."""
    @property
    def mo_table(self) -> npt.NDArray[np.int32]:
        """(n, 3) int32: zoom, pan_steps, tilt_steps, all Q16.16."""
    def set_misalignment_data(self) -> None: ...
    @overload
    def to_ptz(
        self, x: _Int, y: _Int, *, relative: bool = ..., fixed: Literal[False] = ..., precise: Literal[False] = ...
    ) -> Tuple[_F32, _F32]:
        """Pan/tilt (degrees) that centres pixel (x, y)."""
    @overload
    def to_ptz(
        self, x: _Int, y: _Int, *, relative: bool = ..., fixed: Literal[True], precise: Literal[False] = ...
    ) -> Tuple[_I32, _I32]:
        """Pan/tilt (Q16.16 words) that centres pixel (x, y)."""
    @overload
    def to_ptz(
        self, x: _Real, y: _Real, *, relative: Literal[False] = ..., fixed: Literal[False] = ..., precise: Literal[True]
    ) -> Tuple[_F64, _F64]:
        """Pan/tilt (float64 degrees) of continuous pixel (x, y); NaN where there is none."""
    @overload
    def to_pixel(
        self, pan: _Real, tilt: _Real, *, fixed: Literal[False] = ..., precise: Literal[False] = ...
    ) -> Tuple[_I32, _I32]:
        """Pixel where pan/tilt (degrees) appears."""
    @overload
    def to_pixel(self, pan: _Int, tilt: _Int, *, fixed: Literal[True], precise: Literal[False] = ...) -> Tuple[_I32, _I32]:
        """Pixel where pan/tilt (Q16.16 words) appears."""
    @overload
    def to_pixel(
        self, pan: _Real, tilt: _Real, *, fixed: Literal[False] = ..., precise: Literal[True]
    ) -> Tuple[_F64, _F64]:
        """Continuous pixel (float64) where pan/tilt (degrees) appears; NaN where it does not."""
    def misalignment_offset(self, zoom: _Int, tilt: _Int) -> Tuple[_I32, _I32]:
        """(pan_offset, tilt_offset), Q16.16 words, at zoom and tilt (Q16.16 words)."""
    def compensate_misalignment(self, zoom: _Int, pan: _Int, tilt: _Int, *, add: bool = ...) -> Tuple[_I32, _I32]:
        """Pan/tilt (Q16.16 words) with the offset at zoom added (add=True) or removed."""
    def get_remote_center(self, channel: int) -> Tuple[float, float]:
        """Loads the channel's remote centre (degrees) into pan/tilt; OSError on failure."""
    def get_remote_fov(self) -> Tuple[float, float]:
        """Loads the remote lens's field of view; (horiz_fov, vert_fov) degrees."""
    def to_remote_ptz(self, x: _Int, y: _Int) -> Tuple[_I32, _I32]:
        """Remote pan/tilt (Q16.16 words) that looks at pixel (x, y)."""
    def to_remote_zoom(self, x: _Int, y: _Int, width: _Int) -> _I32:
        """Angular width (Q16.16 degrees) across `width` pixels centred on (x, y)."""
    def remote_to_pixel(self, pan: _Int, tilt: _Int, channel: int) -> Tuple[_I32, _I32, _Bool]:
        """(x, y, found): pixel the remote camera sees at pan/tilt (Q16.16 words)."""
    def panorama_spherical_to_remote_ptz(self, x: _Int, y: _Int) -> Tuple[_F32, _F32]:
        """Remote pan/tilt (degrees) of a pixel of a spherical panorama."""

class Compensator:
    """Polynomial correction: type 1 quadratic, 2 cubic, other none."""
    type: int
    A: float
    B: float
    C: float
    D: float
    def __init__(self, type: int = ..., A: float = ..., B: float = ..., C: float = ..., D: float = ...) -> None: ...
    def __call__(self, x: _Real) -> _F32:
        """Correction at angle x (degrees): degrees for pan/tilt, pixels for x/y."""

_Which = Union[int, Literal["pan", "tilt", "x", "y"]]
_Path = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]

class OvistaContext:
    """The fisheye overview camera; OvistaContext() reads /etc/viewgeo/ovista.conf."""
    def __init__(self, path: Optional[_Path] = ...) -> None: ...
    center_pan: float
    center_tilt: float
    center_x: float
    center_y: float
    radius_x: float
    radius_y: float
    field_angle: float
    rotation: int
    mirror: bool
    pan_comp: Compensator
    tilt_comp: Compensator
    x_comp: Compensator
    y_comp: Compensator
    def get_compensator(self, which: _Which) -> Compensator: ...
    def set_compensator(self, which: _Which, compensator: Compensator) -> None: ...
    @overload
    def to_ptz(
        self, view: Context, x: _Int, y: _Int, *, relative: bool = ..., precise: Literal[False] = ...
    ) -> Tuple[_F32, _F32]:
        """PTZ pan/tilt (degrees) of overview pixel (x, y)."""
    @overload
    def to_ptz(
        self, view: Context, x: _Real, y: _Real, *, relative: Literal[False] = ..., precise: Literal[True]
    ) -> Tuple[_F64, _F64]:
        """PTZ pan/tilt (float64 degrees) of continuous overview pixel (x, y); NaN where there is none."""
    @overload
    def to_pixel(self, view: Context, pan: _Real, tilt: _Real, *, precise: Literal[False] = ...) -> Tuple[_I32, _I32]:
        """Overview pixel where PTZ pan/tilt (degrees) appears."""
    @overload
    def to_pixel(self, view: Context, pan: _Real, tilt: _Real, *, precise: Literal[True]) -> Tuple[_F64, _F64]:
        """Continuous overview pixel (float64) where PTZ pan/tilt appears; NaN where it does not."""
    def save(self, path: Optional[_Path] = ...) -> None: ...
    def backup(self) -> None: ...
    def restore(self) -> None: ...

def to_q16(degrees: _Real) -> _I32:
    """Degrees to Q16.16 words by the library's rounding."""
def from_q16(words: _Int) -> _F32:
    """Q16.16 words to degrees."""
@overload
def pan_delta(pan_a: _Real, pan_b: _Real, *, fixed: Literal[False] = ...) -> _F32:
    """Unsigned pan difference in [0, 180] degrees."""
@overload
def pan_delta(pan_a: _Int, pan_b: _Int, *, fixed: Literal[True]) -> _I32: ...
@overload
def great_circle(
    pan_a: _Real, tilt_a: _Real, pan_b: _Real, tilt_b: _Real, *, fixed: Literal[False] = ..., precise: Literal[False] = ...
) -> _F32:
    """Angle in [0, 180] degrees between two directions."""
@overload
def great_circle(
    pan_a: _Int, tilt_a: _Int, pan_b: _Int, tilt_b: _Int, *, fixed: Literal[True], precise: Literal[False] = ...
) -> _I32: ...
@overload
def great_circle(
    pan_a: _Real, tilt_a: _Real, pan_b: _Real, tilt_b: _Real, *, fixed: Literal[False] = ..., precise: Literal[True]
) -> _F64: ...
def zoom_magnification(fov_a: _Int, fov_b: _Int) -> _I32:
    """tan(fov_b/2) / tan(fov_a/2) as Q16.16; fields as Q16.16 words."""
@overload
def zoom_fov(zoom_a: _Real, fov: _Real, zoom_b: _Real, *, fixed: Literal[False] = ...) -> Tuple[_F32, _F32]:
    """Fields of view (degrees) after zoom_a, and after zoom_a then zoom_b."""
@overload
def zoom_fov(zoom_a: _Int, fov: _Int, zoom_b: _Int, *, fixed: Literal[True]) -> Tuple[_I32, _I32]: ...
def wrap_pan(pan: _Real) -> _F32:
    """Pan brought into [-180, 180] by one turn at most."""
@overload
def ptz_to_cartesian(pan: _Real, tilt: _Real, *, precise: Literal[False] = ...) -> Tuple[_F32, _F32, _F32]:
    """Unit vector (x, y, z) of pan/tilt (degrees)."""
@overload
def ptz_to_cartesian(pan: _Real, tilt: _Real, *, precise: Literal[True]) -> Tuple[_F64, _F64, _F64]: ...
@overload
def cartesian_to_ptz(x: _Real, y: _Real, z: _Real, *, precise: Literal[False] = ...) -> Tuple[_F32, _F32]:
    """Pan/tilt (degrees) of a vector; NaN for a zero or NaN vector."""
@overload
def cartesian_to_ptz(x: _Real, y: _Real, z: _Real, *, precise: Literal[True]) -> Tuple[_F64, _F64]: ...
def set_remote_center(
    channel: int, center_pan: float, center_tilt: float, calibration_status: int = ..., auto_calibrated: int = ...
) -> None:
    """Stores a channel's remote centre in /etc/viewgeo/remoteptz.conf; OSError on failure."""
def get_remote_calibrated(channel: int) -> Tuple[int, int]:
    """(calibration_status, auto_calibrated) of a channel; OSError on failure."""
