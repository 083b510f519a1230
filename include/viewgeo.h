/*
 * viewgeo.h - camera geometry for a pan-tilt-zoom (PTZ) camera.
 *
 * Converts between pixels of the picture and pan/tilt directions, in single
 * precision (suffix _f) and in Q16.16 fixed point (suffix _x); corrects the
 * head's mechanical misalignment; steers a second, remote PTZ camera from
 * the main picture; maps a fisheye overview camera to PTZ positions.
 *
 * Conventions
 *   - Angles cross this interface in degrees; tilt is positive upwards, pan
 *     grows to the right in the picture.
 *   - Pixels have their origin at the top-left corner, y grows downwards.
 *   - A Q16.16 value is a signed 32-bit word w meaning w / 65536, so 1.0 is
 *     0x10000 and 180 degrees is 0xB40000.
 *   - Calculations return no status: degenerate input (a zero field of view,
 *     an unknown picture rotation) gives a defined fallback instead.
 *   - Functions that touch files return 0 on success and a negative value on
 *     failure (or a null pointer for an allocated record); viewgeo_last_error()
 *     tells the calling thread why. The overview and misalignment functions
 *     also log at error priority; the remote-camera functions log nothing.
 *   - Records are allocated by the library with malloc and released by the
 *     matching delete function.
 *
 * Threads: the library starts no thread and keeps no global state. What may
 * run at the same time, by family:
 *   - Numbers and constants, angle and zoom utilities, the movement
 *     compensators (compensate_*, ovista_get_movement_dir): pure functions
 *     of their arguments, callable from any number of threads at once.
 *   - View context: one context per thread. A context is used by one thread
 *     at a time; distinct contexts are independent. Creating contexts in
 *     several threads at once is allowed. The projections and getters only
 *     read the context; the setters, viewgeo_set_misalignment_data, the
 *     misalignment offset and compensation (which may load the data file
 *     into the context) and the remote functions that take a non-const
 *     context change it.
 *   - Overview context: one record per thread, as for the view context; its
 *     projections only read it and the view context they are given.
 *   - Configuration reads (the remote-camera reads of
 *     /etc/viewgeo/remoteptz.conf, the overview loads) keep no shared parser
 *     state: any number of them may run at once, in any threads.
 *   - File rewrites: every writer of /etc/viewgeo (viewgeo_set_remote_center,
 *     the overview save, backup and restore, save_conf) holds the exclusive
 *     advisory lock (flock) of the target's directory for the whole
 *     read-modify-write, so rewrites in any threads and processes follow
 *     one another and none loses another's update. A rewrite may overlap a
 *     read of its file: the reader sees the whole old or the whole new file.
 *   - viewgeo_last_error() is per thread.
 * See docs/files.md for the files, their modes and owners.
 */
#ifndef VIEWGEO_H
#define VIEWGEO_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#ifndef VIEWGEO_API
#  if defined(VIEWGEO_STATIC_DEFINE)
#    define VIEWGEO_API
#  elif defined(__GNUC__) && __GNUC__ >= 4
#    define VIEWGEO_API __attribute__((visibility("default")))
#  else
#    define VIEWGEO_API
#  endif
#endif

/* The library's version, MAJOR.MINOR.PATCH. A new minor version only adds
 * functions; the shared library keeps its name, libviewgeo.so.1, until the
 * major version changes. (The installed header carries the version the
 * library was built as; the build writes these three lines.) */
#define VIEWGEO_VERSION_MAJOR 1
#define VIEWGEO_VERSION_MINOR 1
#define VIEWGEO_VERSION_PATCH 0

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------
 * Version
 * ------------------------------------------------------------------------ */

/** The version of the library actually loaded, "MAJOR.MINOR.PATCH" (for
 * example "1.1.0"): the VIEWGEO_VERSION_* numbers it was built with, which
 * may differ from those of the header a program was compiled against.
 * A static string; never null, never freed. Touches no file. */
VIEWGEO_API const char *viewgeo_version(void);

/* ------------------------------------------------------------------------
 * Numbers and constants
 * ------------------------------------------------------------------------ */

/** Degrees to radians in Q16.16: 1144 (0x478), pi/180 rounded to a word. */
VIEWGEO_API extern const int32_t dtor_x;
/** Degrees to radians in single precision: 0.017453292 (bits 0x3C8EFA35). */
VIEWGEO_API extern const float dtor_f;
/** Radians to degrees in Q16.16: 3754936 (0x394BB8) = 57.2957763671875. */
VIEWGEO_API extern const int32_t rtod_x;
/** Radians to degrees in single precision: 57.29578 (bits 0x42652EE1). */
VIEWGEO_API extern const float rtod_f;

/* ------------------------------------------------------------------------
 * The view context
 * ------------------------------------------------------------------------ */

/** One element of the compiled misalignment table, all Q16.16. */
typedef struct viewgeo_misalignment_entry {
    int32_t zoom;       /**< zoom value the entry holds for */
    int32_t pan_steps;  /**< total pan offset at that zoom, motor steps */
    int32_t tilt_steps; /**< total tilt offset at that zoom, motor steps */
} viewgeo_misalignment_entry;

/**
 * The view of the PTZ camera. Angles are Q16.16 degrees. Create it with
 * viewgeo_context_create(), set pan, tilt, the horizontal field of view and
 * the picture size before the first projection, delete it with
 * viewgeo_context_delete(). The misalignment fields are owned by the record.
 */
typedef struct viewgeo_context {
    int32_t pan;          /**< current pan, Q16.16 degrees */
    int32_t tilt;         /**< current tilt (positive up), Q16.16 degrees */
    int32_t horiz_fov;    /**< horizontal field of view, Q16.16 degrees */
    int32_t vert_fov;     /**< vertical field of view, used when vert_fov_set */
    bool vert_fov_set;    /**< false: vertical field derived from the aspect */
    int32_t pic_width;    /**< picture width, pixels */
    int32_t pic_height;   /**< picture height, pixels */
    int32_t pic_rot;      /**< picture rotation: 0, 90, 180, 270 or 360 */
    viewgeo_misalignment_entry *mo_table; /**< compiled misalignment table */
    int32_t mo_count;                     /**< entries in mo_table */
    char *mo_opt_offset;  /**< optical-offset text, "zoom,pan,tilt;..." */
    char *mo_mech_offset; /**< mechanical-offset text, "pan,tilt" */
    uint32_t pan_rotation_steps;  /**< motor steps per full pan turn */
    uint32_t tilt_rotation_steps; /**< motor steps per full tilt turn */
    int32_t mo_state;     /**< misalignment data: 0 not read, 1 loaded, 2 failed */
    int32_t dewarp_status;   /**< 1: the fixed-point relative form maps linearly */
    int32_t projection_type; /**< lens: 0 sine, 1 equidistant, other rectilinear */
} viewgeo_context;

/**
 * Allocates a context: rotation 0, derived vertical field of view, dewarp 0,
 * projection type 1 if /usr/share/viewgeo/viewgeo_projection.conf exists and
 * 2 otherwise. Loads /var/run/ptz/mo_data_file if present. Pan, tilt, the
 * fields of view and the picture size are 0 until set. Null when out of memory.
 */
VIEWGEO_API viewgeo_context *viewgeo_context_create(void);
/** Frees the context and its misalignment data; null is allowed. */
VIEWGEO_API void viewgeo_context_delete(viewgeo_context *ctx);

/** Sets pan and tilt (degrees), rounded to the nearest Q16.16 word. */
VIEWGEO_API void viewgeo_set_pantilt_f(viewgeo_context *ctx, float pan, float tilt);
/** Reads pan and tilt as degrees. */
VIEWGEO_API void viewgeo_get_pantilt_f(const viewgeo_context *ctx, float *pan, float *tilt);
/** Sets pan and tilt as Q16.16 degrees, stored unchanged. */
VIEWGEO_API void viewgeo_set_pantilt_x(viewgeo_context *ctx, int32_t pan, int32_t tilt);
/** Reads pan and tilt as Q16.16 degrees. */
VIEWGEO_API void viewgeo_get_pantilt_x(const viewgeo_context *ctx, int32_t *pan, int32_t *tilt);

/** Sets the horizontal field of view (degrees). */
VIEWGEO_API void viewgeo_set_horiz_fov_f(viewgeo_context *ctx, float fov);
/** Reads the horizontal field of view (degrees). */
VIEWGEO_API void viewgeo_get_horiz_fov_f(const viewgeo_context *ctx, float *fov);
/** Sets the horizontal field of view (Q16.16 degrees). */
VIEWGEO_API void viewgeo_set_horiz_fov_x(viewgeo_context *ctx, int32_t fov);
/** Reads the horizontal field of view (Q16.16 degrees). */
VIEWGEO_API void viewgeo_get_horiz_fov_x(const viewgeo_context *ctx, int32_t *fov);

/** Sets the vertical field of view (degrees); from now on it is used as set. */
VIEWGEO_API void viewgeo_set_vert_fov_f(viewgeo_context *ctx, float fov);
/** Sets the vertical field of view (Q16.16 degrees); used as set from now on. */
VIEWGEO_API void viewgeo_set_vert_fov_x(viewgeo_context *ctx, int32_t fov);
/**
 * Reads the vertical field of view (degrees): as set, or derived from the
 * horizontal one and the picture's aspect (2 atan(h/w tan(hfov/2))). A zero
 * width gives about 180, a 0 x 0 picture NaN.
 */
VIEWGEO_API void viewgeo_get_vert_fov_f(const viewgeo_context *ctx, float *fov);
/** As viewgeo_get_vert_fov_f(), in Q16.16 degrees. */
VIEWGEO_API void viewgeo_get_vert_fov_x(const viewgeo_context *ctx, int32_t *fov);

/** Selects the lens model: 0 sine, 1 equidistant, any other rectilinear. */
VIEWGEO_API void viewgeo_set_projection_type(viewgeo_context *ctx, int32_t type);
/** Sets the dewarp flag (1 selects the linear mode of viewgeo_to_ptz_x_rel). */
VIEWGEO_API void viewgeo_set_dewarp_status(viewgeo_context *ctx, int32_t status);
/** Sets the picture size in pixels, stored unchecked. */
VIEWGEO_API void viewgeo_set_pic_dim(viewgeo_context *ctx, int32_t width, int32_t height);
/** Reads the picture size in pixels. */
VIEWGEO_API void viewgeo_get_pic_dim(const viewgeo_context *ctx, int32_t *width, int32_t *height);
/** Sets the picture rotation in degrees: 0, 90, 180, 270 or 360 are understood. */
VIEWGEO_API void viewgeo_set_pic_rot(viewgeo_context *ctx, int32_t rotation);

/* ------------------------------------------------------------------------
 * Projections between pixels and pan/tilt
 *
 * The lens model is the context's projection_type. A zero field of view gives
 * the picture centre (pixel direction) or the current pan/tilt (pan/tilt
 * direction); an unknown pic_rot gives pixel (0, 0) or reads the pixel as
 * (0, 0). Outputs are always written; the context is only read. Directions
 * behind the camera come out as tilts past +-90 with the pan offset kept
 * within +-90 degrees. No heap allocation, no file access. They only read
 * the context: any number of threads may project with contexts that no
 * thread changes meanwhile.
 * ------------------------------------------------------------------------ */

/** Pixel (x right, y down) where the direction pan/tilt (degrees) appears. */
VIEWGEO_API void viewgeo_to_pixel_f(const viewgeo_context *ctx, int32_t *x, int32_t *y, float pan, float tilt);
/** Absolute pan/tilt (degrees, pan in [-180, 180]) that centres pixel (x, y). */
VIEWGEO_API void viewgeo_to_ptz_f(const viewgeo_context *ctx, float *pan, float *tilt, int32_t x, int32_t y);
/** Pan/tilt movement (degrees) from the current position that centres pixel (x, y). */
VIEWGEO_API void viewgeo_to_ptz_f_rel(const viewgeo_context *ctx, float *pan, float *tilt, int32_t x, int32_t y);

/**
 * Q16.16 form of viewgeo_to_pixel_f(). Normalised picture coordinates are
 * clamped to +-10 picture sizes. A zero field of view writes the picture
 * centre as a Q16.16 value (pic_width * 32768, pic_height * 32768), not in
 * whole pixels: kept as callers expect it.
 */
VIEWGEO_API void viewgeo_to_pixel_x(const viewgeo_context *ctx, int32_t *x, int32_t *y, int32_t pan, int32_t tilt);
/** Q16.16 form of viewgeo_to_ptz_f(): absolute pan/tilt in Q16.16 degrees. */
VIEWGEO_API void viewgeo_to_ptz_x(const viewgeo_context *ctx, int32_t *pan, int32_t *tilt, int32_t x, int32_t y);
/**
 * Q16.16 relative movement that centres pixel (x, y), each output reduced to
 * [-360, 360]. With dewarp_status 1 the picture maps linearly to angles.
 */
VIEWGEO_API void viewgeo_to_ptz_x_rel(const viewgeo_context *ctx, int32_t *pan, int32_t *tilt, int32_t x, int32_t y);

/*
 * Array forms of the six projections above: n points of one view per call.
 * Element i of the outputs has exactly the bits the single-point function
 * gives for element i of the inputs with the same context (NaN outputs
 * included, on the same target), and the same fallbacks for degenerate
 * views. The view-level part of the work (fields of view, lens values of the
 * half fields, the camera tilt's sine and cosine) is done once per call;
 * nothing is kept between calls, so the context may change between them.
 * n may be 0, and then every pointer may be null. With n > 0 every pointer
 * must address n elements (a null pointer is the caller's error and may
 * fault); the outputs must not overlap the inputs. No heap allocation, no
 * file access.
 */
/** viewgeo_to_pixel_f() of (pan[i], tilt[i]) (degrees) into (x[i], y[i]). */
VIEWGEO_API void viewgeo_to_pixel_f_array(const viewgeo_context *ctx, size_t n, const float *pan, const float *tilt, int32_t *x, int32_t *y);
/** viewgeo_to_ptz_f() of pixel (x[i], y[i]) into (pan[i], tilt[i]) (degrees). */
VIEWGEO_API void viewgeo_to_ptz_f_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, float *pan, float *tilt);
/** viewgeo_to_ptz_f_rel() of pixel (x[i], y[i]) into (pan[i], tilt[i]) (degrees). */
VIEWGEO_API void viewgeo_to_ptz_f_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, float *pan, float *tilt);
/** viewgeo_to_pixel_x() of (pan[i], tilt[i]) (Q16.16 degrees) into (x[i], y[i]). */
VIEWGEO_API void viewgeo_to_pixel_x_array(const viewgeo_context *ctx, size_t n, const int32_t *pan, const int32_t *tilt, int32_t *x, int32_t *y);
/** viewgeo_to_ptz_x() of pixel (x[i], y[i]) into (pan[i], tilt[i]) (Q16.16 degrees). */
VIEWGEO_API void viewgeo_to_ptz_x_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, int32_t *pan, int32_t *tilt);
/** viewgeo_to_ptz_x_rel() of pixel (x[i], y[i]) into (pan[i], tilt[i]) (Q16.16 degrees). */
VIEWGEO_API void viewgeo_to_ptz_x_rel_array(const viewgeo_context *ctx, size_t n, const int32_t *x, const int32_t *y, int32_t *pan, int32_t *tilt);

/* ------------------------------------------------------------------------
 * Angle and zoom utilities (no context, no state: safe from any thread)
 * ------------------------------------------------------------------------ */

/**
 * Unsigned distance between two pans (degrees): the difference folded once
 * across +-180, so in [0, 180] for pans less than 360 apart (more gives a
 * negative value). NaN gives NaN.
 */
VIEWGEO_API float viewgeo_get_pan_delta(float pan_a, float pan_b);
/** Q16.16 form of viewgeo_get_pan_delta(); differences wrap in 32 bits. */
VIEWGEO_API int32_t viewgeo_get_pan_delta_x(int32_t pan_a, int32_t pan_b);
/**
 * Angle in [0, 180] degrees between two pan/tilt directions (degrees). The
 * cosine is not clamped: identical directions give 0, about 1e-6 or NaN.
 */
VIEWGEO_API float viewgeo_get_great_circle(float pan_a, float tilt_a, float pan_b, float tilt_b);
/** Q16.16 form of viewgeo_get_great_circle(), from fixed-point sines and cosines. */
VIEWGEO_API int32_t viewgeo_get_great_circle_x(int32_t pan_a, int32_t tilt_a, int32_t pan_b, int32_t tilt_b);
/**
 * tan(fov_b / 2) / tan(fov_a / 2) in Q16.16, above 1.0 when fov_b is wider;
 * fields in Q16.16 degrees. fov_a must not be 0: a zero divisor gives
 * INT32_MAX (INT32_MIN for a negative quotient, 0 for 0 / 0).
 */
VIEWGEO_API int32_t viewgeo_get_zoom_magnification(int32_t fov_a, int32_t fov_b);
/**
 * Fields of view (degrees) after zoom factor zoom_a, 2 atan(tan(fov / 2) /
 * zoom_a), and after zoom_a then zoom_b. Zoom factors must not be 0 (a zero
 * one gives 180 degrees, or NaN with a zero field of view).
 */
VIEWGEO_API void viewgeo_get_zoom_fov(float zoom_a, float fov, float zoom_b, float *fov_a_out, float *fov_b_out);
/**
 * Q16.16 form of viewgeo_get_zoom_fov(), all values Q16.16. Zoom factors
 * must not be 0: a zero one saturates the tangent, giving about 180 degrees.
 */
VIEWGEO_API void viewgeo_get_zoom_fov_x(int32_t zoom_a, int32_t fov, int32_t zoom_b, int32_t *fov_a_out, int32_t *fov_b_out);
/** Pan (degrees) brought into [-180, 180] by one turn at most; beyond +-540 it stays outside. */
VIEWGEO_API float viewgeo_wrap_pan(float pan);

/* ------------------------------------------------------------------------
 * Misalignment of the head
 *
 * Each function here may change its context (the offset queries load the
 * data file while it has not been read), so a context is used by one thread
 * at a time, also for queries. They share nothing between contexts.
 * ------------------------------------------------------------------------ */

/**
 * Compiles ctx->mo_opt_offset ("zoom,pan,tilt;...", zoom ascending) and
 * ctx->mo_mech_offset ("pan,tilt", motor steps) into ctx->mo_table. Two empty
 * texts clear the table. Returns 0, or -1 when a text is null or does not
 * scan (the table is then gone, unless the mechanical text was the bad one).
 * Touches no file.
 */
VIEWGEO_API int viewgeo_set_misalignment_data(viewgeo_context *ctx);

/**
 * Misalignment offset (Q16.16 degrees) at a zoom (table unit, Q16.16) and a
 * tilt (Q16.16 degrees): the table interpolated at the zoom (extrapolated
 * below the first key, clamped above the last), motor steps turned into
 * degrees by the rotation step counts. Zero within 5 degrees of either pole
 * (tilt in [-95, -85] or [85, 95]), faded linearly between 5 and 20 degrees
 * off the nadir. Reads /var/run/ptz/mo_data_file while it has not been read
 * yet (mo_state 0), so it may change the context. Zero offsets when no data
 * is loaded or the table is empty. Degenerate data: a table of a single
 * entry is constant, two entries with the same key give the later entry's
 * offsets, a step count of 0 gives a zero offset on that axis.
 */
VIEWGEO_API void viewgeo_get_misalignment_offset(viewgeo_context *ctx, int32_t zoom, int32_t tilt, int32_t *pan_offset, int32_t *tilt_offset);
/**
 * Applies the misalignment offset at `zoom` and `tilt` to a pan/tilt (Q16.16
 * degrees), as it is when add is nonzero, negated when add is 0: added
 * within 0.5 degrees of the horizon and of tilt +-180, rotated on the sphere
 * elsewhere; each result angle is brought back by one turn when beyond
 * +-180, and a pan that moved by more than 90 degrees is flipped back to
 * the input's side of the zenith (its tilt reflected about -90). Offsets under 0.01 degrees leave the input as it is,
 * exactly below 128 degrees (above, a word can move by one unit). Returns
 * the tilt written to tilt_out. May read the data file like the offset query.
 */
VIEWGEO_API int32_t viewgeo_compensate_misalignment_offset(viewgeo_context *ctx, int32_t zoom, int add, int32_t pan, int32_t tilt, int32_t *pan_out, int32_t *tilt_out);

/* ------------------------------------------------------------------------
 * Remote PTZ camera
 *
 * A second PTZ camera, calibrated per channel against the main view. Its
 * calibration lives in /etc/viewgeo/remoteptz.conf: per channel a group
 * [channel_N] with center_pan, center_tilt (the remote pan/tilt that looks at
 * the centre of the main picture), calibration_status and auto_calibrated,
 * and one group [lens_fov] with the remote lens's vfov. The file is read
 * again on every call, never cached. Nothing here is logged.
 *
 * Threads: reads need no serialising; rewrites serialise themselves (see
 * the threads note at the top). The context rules above apply as usual.
 * ------------------------------------------------------------------------ */

/** Calibration flags of one channel; the caller releases it with free(). */
typedef struct viewgeo_remote_calibration {
    int32_t calibration_status; /**< stored unchanged, no meaning here */
    int32_t auto_calibrated;    /**< stored unchanged, no meaning here */
} viewgeo_remote_calibration;

/**
 * Stores the remote centre (degrees, written with six decimals) and the two
 * flags of `channel` in /etc/viewgeo/remoteptz.conf. The file is rewritten
 * under the lock of /etc/viewgeo through /etc/viewgeo/remoteptz.conf.new,
 * which is flushed, synced and closed, given the old file's mode and group
 * (owner: the real user id), renamed over the old one, and the directory is
 * synced. Every other group is kept byte for byte; the channel's group
 * (every header the readers take for it, CRLF line ends, a byte order mark
 * and blanks around the brackets included), however often it appears, gets
 * the new key lines, or is appended when absent (on a new line when the old
 * file lacks a final line feed). A missing old file is not an error.
 * Returns 0, after which the readers return the new values (for a channel
 * from -99999 to 999999: a group of any other channel is written too, but
 * the readers never look for it, see viewgeo_get_remote_center()); or -1
 * when /etc/viewgeo cannot be locked, the old file exists but is not a
 * regular file of at most 1 MiB or cannot be read, the new text would
 * exceed 1 MiB, or any step of writing the new file fails (the old file
 * stays as it was; the new file is removed, unless it was complete and only
 * its mode, owner or rename failed: then it stays at the .new path), or the
 * directory sync fails after the rename. viewgeo_last_error() tells which
 * step failed.
 */
VIEWGEO_API int viewgeo_set_remote_center(int channel, float center_pan, float center_tilt, int calibration_status, int auto_calibrated);
/**
 * Reads the remote centre of `channel` from /etc/viewgeo/remoteptz.conf into
 * the context's pan and tilt (rounded to Q16.16). Returns 0, or -1 (context
 * untouched) when the file is missing or cannot be read, or the channel's
 * group lacks one of its four keys. A channel of 1000000 or more, or of
 * -100000 or less, has no group name: when the file exists, it succeeds
 * without reading it and sets pan/tilt to 0.
 */
VIEWGEO_API int viewgeo_get_remote_center(viewgeo_context *ctx, int channel);
/**
 * Reads the two calibration flags of `channel` from the file, as
 * viewgeo_get_remote_center() reads the centre. Returns a record the caller
 * frees with free(), or null on the same failures (or out of memory).
 * Channels without a group name give {0, 0} when the file exists.
 */
VIEWGEO_API viewgeo_remote_calibration *viewgeo_get_remote_calibrated(int channel);

/**
 * Remote pan/tilt (Q16.16 degrees) that looks at pixel (x, y) of the main
 * picture. The context describes the main picture and holds the remote
 * centre as its pan/tilt (see viewgeo_get_remote_center()); it is only read.
 * Below a 100-degree horizontal field this is viewgeo_to_ptz_x(); from 100
 * degrees on, a narrower sub-view centred on the same direction with a
 * corner on the pixel is projected instead, with the lens model and dewarp
 * flag that a new context gets (the flag file's lens, dewarp 0), not the
 * context's own (kept as existing callers expect it). Tilts below -90 are
 * folded back (-180 - tilt) with the pan turned by 180. Pixels outside the
 * picture are projected like any others. Returns 0, or -1 when the
 * sub-view's temporary context cannot be allocated (outputs untouched). No
 * file access besides the presence test of the projection flag file on the
 * wide path. The picture size must not be 0 on the wide path.
 */
VIEWGEO_API int viewgeo_to_remote_ptz(const viewgeo_context *ctx, int32_t *pan, int32_t *tilt, int32_t x, int32_t y);
/**
 * Angular width (Q16.16 degrees, >= 0) that the main view sees across
 * `width` pixels centred on (x, y), for choosing the remote camera's zoom.
 * Uses the context's horiz_fov and stored vert_fov field; width 0 gives 0.
 * Pure; the picture size must not be 0. Pictures with a diagonal above
 * about 3620 pixels wrap in the intermediate sums.
 */
VIEWGEO_API int32_t viewgeo_to_remote_zoom(const viewgeo_context *ctx, int32_t x, int32_t y, int32_t width);
/**
 * Loads the remote lens's vertical field of view ([lens_fov] vfov, degrees,
 * the last valid entry) from /etc/viewgeo/remoteptz.conf into the context's
 * vert_fov, and sets horiz_fov to it times pic_width / pic_height (linear
 * scaling, Q16.16). A valid vfov is finite and strictly between 0 and 180
 * degrees. Returns 0, or -1 (context untouched) when the picture size is 0,
 * the file is missing or unreadable, or it holds no valid vfov.
 */
VIEWGEO_API int viewgeo_get_remote_fov(viewgeo_context *ctx);
/**
 * Pixel of the main picture (whole pixels) that the remote camera sees at
 * pan/tilt (Q16.16 degrees) on `channel`. Loads the channel's remote centre
 * into the context's pan/tilt and leaves it there. Below a 100-degree
 * horizontal field: viewgeo_to_pixel_x(). From 100 degrees on: a search of
 * at most 151 evaluations of viewgeo_to_remote_ptz() that stops when pan and
 * tilt are both within 0.5 degrees; the context's pic_rot becomes 0 and
 * stays 0, and a rotation of 180 mirrors the result through the centre.
 * Returns 0; -1 with x and y untouched when the centre cannot be read; -1
 * with x = y = -1 when a half field of view is 0, the search leaves the
 * picture twice or does not converge. Reads the calibration file.
 */
VIEWGEO_API int viewgeo_remote_to_pixel(viewgeo_context *ctx, int32_t *x, int32_t *y, int32_t pan, int32_t tilt, int channel);
/**
 * Remote pan/tilt (degrees, pan in [-180, 180], tilt in [-90, 90]) of pixel
 * (x, y) of a spherical (equirectangular) panorama described by the context:
 * angles proportional to the offset from the centre across horiz_fov and the
 * stored vert_fov field, turned by the context's tilt and then its pan.
 * Pure; a zero picture size gives infinities or NaN, not a crash.
 */
VIEWGEO_API void viewgeo_panorama_spherical_to_remote_ptz(const viewgeo_context *ctx, float *pan, float *tilt, int32_t x, int32_t y);

/**
 * Unit vector of the direction pan/tilt (degrees): +x toward pan 0 at tilt
 * 0, +y toward pan 90, +z up. Single-precision results of double products;
 * pan 0, tilt 0 gives z of about -4.4e-8, not 0. Pure.
 */
VIEWGEO_API void viewgeo_ptz_to_cartesian_f(float pan, float tilt, float *x, float *y, float *z);
/**
 * Pan (degrees, [-180, 180]: -180 for a vector on or just below the -x axis,
 * y = -0 or so small a negative that the angle rounds there) and tilt
 * (degrees, [-90, 90]) of the vector (x, y, z), which need not be of unit
 * length. Returns 0, or -1 with the outputs untouched when its length is 0
 * or not a number. Pure.
 */
VIEWGEO_API int viewgeo_cartesian_to_ptz_f(float x, float y, float z, float *pan, float *tilt);

/* ------------------------------------------------------------------------
 * Overview camera
 *
 * A wide-angle overview camera with a circular fisheye picture beside the
 * PTZ camera. Its record is created from /etc/viewgeo/ovista.conf and maps
 * overview pixels to PTZ pan/tilt and back (equidistant fisheye: the angle
 * from the lens axis grows linearly with the distance from the circle's
 * centre). Angles are degrees, all arithmetic single precision. A record
 * belongs to one thread at a time. The configuration reads keep no shared
 * state and may run at once with any other reads. The writes (save,
 * backup, restore, save_conf) hold the lock of the target's directory for
 * the whole rewrite, so writes in any threads and processes follow one
 * another; a read that overlaps a write sees the whole old or the whole
 * new file (see the threads note at the top).
 * ------------------------------------------------------------------------ */

/**
 * A polynomial correction in an angle x (degrees): type 1 quadratic
 * A x^2 + B x + C, type 2 cubic A x^3 + B x^2 + C x + D, any other type none.
 */
typedef struct viewgeo_ovista_compensator {
    int32_t type; /**< 1 quadratic, 2 cubic, other values no correction */
    float A;      /**< coefficient of the highest power */
    float B;
    float C;
    float D;      /**< constant term of the cubic; unused by the quadratic */
} viewgeo_ovista_compensator;

/**
 * The overview camera. Fractions are of the picture width or height; the
 * defaults (in brackets) describe a centred circle of 585 pixels radius in a
 * 1920 x 1080 picture, looking straight down.
 */
typedef struct viewgeo_ovista_context {
    float center_x;    /**< x of the fisheye centre, fraction of the width [0.5] */
    float center_y;    /**< y of the fisheye centre, fraction of the height [0.5] */
    float field_angle; /**< degrees from the lens axis seen at radius_x [99] */
    float radius_x;    /**< circle radius, fraction of the width [0.3046875] */
    float radius_y;    /**< circle radius, fraction of the height; stored and saved only [0.541666687] */
    int32_t rotation;  /**< picture rotation, whole degrees, added to pan towards pixels [0] */
    int32_t mirror;    /**< nonzero: picture mirrored, pan sense reversed towards pixels [0] */
    viewgeo_ovista_compensator pan_comp;  /**< degrees added to pan, pixel to PTZ (index 0) */
    viewgeo_ovista_compensator tilt_comp; /**< degrees added to tilt, pixel to PTZ (index 1) */
    viewgeo_ovista_compensator x_comp;    /**< pixels added to x, PTZ to pixel (index 2) */
    viewgeo_ovista_compensator y_comp;    /**< pixels added to y, PTZ to pixel (index 3) */
    float center_pan;  /**< PTZ pan of the overview camera's axis, degrees [0] */
    float center_tilt; /**< PTZ tilt of the overview camera's axis, degrees [-90] */
} viewgeo_ovista_context;

/**
 * Allocates an overview context with the defaults, overlaid by what
 * /etc/viewgeo/ovista.conf holds (reads that file). A missing file gives pure
 * defaults. Null when out of memory or when the file exists but cannot be
 * read (logged). Values in the file are taken unvalidated.
 */
VIEWGEO_API viewgeo_ovista_context *viewgeo_ovista_context_create(void);
/** Frees the context; null is allowed. */
VIEWGEO_API void viewgeo_ovista_context_delete(viewgeo_ovista_context *ctx);

/** Sets the PTZ pan and tilt (degrees) of the overview camera's axis, unvalidated. */
VIEWGEO_API void viewgeo_set_ovista_angles(viewgeo_ovista_context *ctx, float center_pan, float center_tilt);
/** Reads the PTZ pan and tilt (degrees) of the overview camera's axis. */
VIEWGEO_API void viewgeo_get_ovista_angles(const viewgeo_ovista_context *ctx, float *center_pan, float *center_tilt);
/** Sets the picture rotation in whole degrees, stored as given; never saved to the file. */
VIEWGEO_API void ptz_set_ovista_rotation(viewgeo_ovista_context *ctx, int rotation);
/** Nonzero mirrors the picture (pan sense reversed towards pixels); never saved to the file. */
VIEWGEO_API void ptz_set_ovista_mirror(viewgeo_ovista_context *ctx, int mirror);
/**
 * Sets the fisheye circle: centre and radii as fractions of the picture
 * width (x) and height (y), and the angle from the axis (degrees) at radius_x.
 * Note the argument order differs from the record's. Unvalidated.
 */
VIEWGEO_API void viewgeo_set_lens_characteristics(viewgeo_ovista_context *ctx, float center_x, float center_y, float radius_x, float radius_y, float field_angle);
/** Reads the fisheye circle, in the argument order of the setter. */
VIEWGEO_API void viewgeo_get_lens_characteristics(const viewgeo_ovista_context *ctx, float *center_x, float *center_y, float *radius_x, float *radius_y, float *field_angle);
/**
 * Stores type and coefficients in compensator `which`: 0 pan, 1 tilt, 2 x,
 * 3 y. Any other index is the caller's error with no defined result: debug
 * builds stop on an assertion, release builds change nothing.
 */
VIEWGEO_API void viewgeo_set_ovista_compensator(viewgeo_ovista_context *ctx, int which, int type, float A, float B, float C, float D);
/**
 * Reads compensator `which` (0 pan, 1 tilt, 2 x, 3 y) and returns its type.
 * Any other index is the caller's error with no defined result: debug builds
 * stop on an assertion, release builds write nothing and return 0.
 */
VIEWGEO_API int viewgeo_get_ovista_compensator(const viewgeo_ovista_context *ctx, int which, int *type, float *A, float *B, float *C, float *D);

/**
 * Quadrant of a pixel offset from the fisheye centre (dx > 0 left of it,
 * dy > 0 above it): 4 when dy is 0; otherwise 0 (dx <= 0) or 1 (dx >= 1)
 * above, 2 (dx <= 0) or 3 (dx >= 1) below. dx = 0 counts as not left.
 */
VIEWGEO_API int ovista_get_movement_dir(int dx, int dy);
/** ((x x) a + x b) + c in single precision, in this order. */
VIEWGEO_API float compensate_quadr(float x, float a, float b, float c);
/** With s = x x: (((s x) a + s b) + x c) + d in single precision, in this order. */
VIEWGEO_API float compensate_cubic(float x, float a, float b, float c, float d);
/**
 * The correction of `comp` at angle x (degrees): quadratic for type 1 (D
 * ignored), cubic for type 2, 0 for any other type. The result is in the
 * unit of its target: degrees for pan/tilt, pixels for x/y.
 */
VIEWGEO_API float compensate_error(const viewgeo_ovista_compensator *comp, float x);

/**
 * PTZ direction of overview pixel (x, y), relative to the overview axis: pan
 * (degrees, 0 straight up in the picture, growing clockwise) plus the pan
 * correction, and tilt as the angle from the axis plus the tilt correction.
 * The picture size comes from vctx (viewgeo_get_pic_dim). A zero width,
 * radius_x or field_angle gives infinities or NaN, unguarded. No file access.
 */
VIEWGEO_API void viewgeo_ovista_to_ptz_f_rel(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float *pan, float *tilt, int x, int y);
/**
 * Absolute PTZ pan/tilt (degrees) of overview pixel (x, y): the relative
 * direction plus the axis, pan wrapped once into [-180, 180], tilt unwrapped.
 */
VIEWGEO_API void viewgeo_ovista_to_ptz_f(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float *pan, float *tilt, int x, int y);
/**
 * Overview pixel where the PTZ direction pan/tilt (degrees) appears, after
 * rotation (a sum above 180 only is wrapped once), mirroring and the x/y
 * corrections, rounded half away from zero. The axis direction itself gives
 * the truncated circle centre without correction. Not the exact inverse of
 * viewgeo_ovista_to_ptz_f(). Out-of-range results saturate to the int range.
 */
VIEWGEO_API void viewgeo_ovista_to_pixel_f(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, float pan, float tilt, int *x, int *y);
/**
 * Array forms of viewgeo_ovista_to_ptz_f() and viewgeo_ovista_to_pixel_f():
 * element i of the outputs has exactly the bits of the single-point function
 * for element i of the inputs. The picture size and the circle's centre and
 * radius in pixels are computed once per call. n may be 0 with null
 * pointers; with n > 0 a null pointer is the caller's error and may fault;
 * the outputs must not overlap the inputs.
 */
VIEWGEO_API void viewgeo_ovista_to_ptz_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n, const int *x, const int *y, float *pan, float *tilt);
VIEWGEO_API void viewgeo_ovista_to_pixel_f_array(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, size_t n, const float *pan, const float *tilt, int *x, int *y);

/**
 * Writes the context to /etc/viewgeo/ovista.conf atomically (through
 * ovista.conf.tmp, synced, mode 0664, renamed, directory synced). Rotation and
 * mirror are not saved. 0 on success, -1 on any failure (details logged).
 */
VIEWGEO_API int viewgeo_ovista_context_save(const viewgeo_ovista_context *ctx);
/** As viewgeo_ovista_context_save(), to the backup /etc/viewgeo/ovista.bak. */
VIEWGEO_API int viewgeo_ovista_context_backup(const viewgeo_ovista_context *ctx);
/**
 * Loads /etc/viewgeo/ovista.bak into a new context (defaults when it is
 * missing), saves that to /etc/viewgeo/ovista.conf, frees *ctx and stores
 * the new context there, even when the save failed. Returns the save's
 * 0 or -1; -1 with *ctx and the working file untouched when the backup
 * cannot be read, its status cannot be queried (it may be there), or memory
 * is exhausted. ctx must not be null.
 */
VIEWGEO_API int viewgeo_ovista_context_restore(viewgeo_ovista_context **ctx);

/** Nonzero when a file-status query on `path` succeeds (the file exists). */
VIEWGEO_API int file_exists(const char *path);
/**
 * Loads the configuration file `path` into *ctx, allocating it when *ctx is
 * null: every field first to its default, then what the file holds (unknown
 * groups and keys ignored, an unconvertible value keeps the default). A
 * missing file leaves the defaults. A file that cannot be read frees *ctx,
 * sets it to null and logs. *ctx stays null when allocation fails.
 */
VIEWGEO_API void load_conf(viewgeo_ovista_context **ctx, const char *path);
/** Takes one "[common]" entry (ovista_center_pan, ovista_center_tilt); others ignored. */
VIEWGEO_API void load_common_group(viewgeo_ovista_context *ctx, const char *key, const char *value);
/** Takes one "[lens_charac]" entry (center_x, center_y, radius_x, radius_y, field_angle). */
VIEWGEO_API void load_lens_group(viewgeo_ovista_context *ctx, const char *key, const char *value);
/**
 * Takes one compensator entry: "type" as a decimal integer (0 when it does
 * not convert, saturated to the int32 range) or A, B, C, D as floats.
 */
VIEWGEO_API void load_compensator(viewgeo_ovista_compensator *comp, const char *key, const char *value);
/**
 * Writes the context to `path` atomically through `path` plus ".tmp", under
 * the lock of the path's directory. Returns 0, or -1 after logging "Failed
 * to save viewgeo_ovista_context at PATH, error code: ERRNO/CODE"; CODE -1
 * no memory, -2 open (or the directory cannot be locked), -3 flush, -4 sync,
 * -5 close, -6 chmod, -7 rename, -8 open directory, -9 sync directory, -10
 * close directory, or the sum of failed print lines (the file is then in
 * place). The temporary file is left behind after a failure.
 */
VIEWGEO_API int save_conf(const viewgeo_ovista_context *ctx, const char *path);
/** Prints the "[common]" group; 0, or minus the number of lines that failed (logged). */
VIEWGEO_API int save_common_group(const viewgeo_ovista_context *ctx, FILE *stream);
/** Prints the "[lens_charac]" group; 0, or minus the number of lines that failed (logged). */
VIEWGEO_API int save_lens_group(const viewgeo_ovista_context *ctx, FILE *stream);
/**
 * Prints a compensator group headed "[group]"; 0 or negative (logged). A
 * failed type line makes the count -1 whatever the header gave; each failed
 * coefficient line then subtracts 1.
 */
VIEWGEO_API int save_compensator(const viewgeo_ovista_compensator *comp, const char *group, FILE *stream);
/** Prints "key = value" with six decimals; 0, or -1 after logging the failure. */
VIEWGEO_API int save_float(FILE *stream, const char *key, float value);

/* ---------------------------------------------------------------------------
 * Errors of file operations
 * ------------------------------------------------------------------------ */

/**
 * Why the calling thread's last file operation failed: the step, the path
 * and the system's reason, for example
 * "rename /etc/viewgeo/remoteptz.conf.new: Read-only file system". Every
 * library call that reads or writes a file clears it when it starts, so it
 * is "" (never null) when the thread's last such call had no failed file
 * operation. The text stays valid until the thread's next such call.
 */
VIEWGEO_API const char *viewgeo_last_error(void);

/* ------------------------------------------------------------------------
 * Precise geometry (suffix _d)
 *
 * Double-precision forms beside the bit-exact ones, for callers who need to
 * know where something really is. They read the same records (a context's
 * Q16.16 pan, tilt and fields taken as exact values) and compute the ideal
 * version of the same model: no small-angle shortcut, no Q16.16 or single-
 * precision step, one direction the exact inverse of the other. Their
 * results therefore differ from the _f and _x forms by those forms'
 * approximations; stored calibrations keep using the bit-exact forms.
 *
 * Pixels are continuous coordinates (x right, y down, origin at the top-left
 * corner of the picture): pixel cell (i, j) covers [i, i+1) x [j, j+1), so
 * the bit-exact forms' whole pixel is the truncation of the same position.
 * Angles are degrees. Pan results lie in (-180, 180], tilt results in
 * [-90, 90]; a direction straight up or down has the pan of the camera (of
 * the overview axis, 0 for a vector). Tilts given beyond +-90 carry on over
 * the pole (tilt 100 at pan 0 is tilt 80 at pan 180).
 *
 * Status: 0, or -1 with both outputs NaN when no answer exists: a
 * non-finite input, a degenerate view (a picture size or field that is not
 * positive, an unknown pic_rot, a field the lens cannot see), a direction
 * outside the lens's domain or a pixel beyond its rim. Points outside the
 * picture but within the domain are answered. Pure: no allocation, no file
 * access, the records are only read.
 *
 * Accuracy is stated in each function's comment: the bound its unit tests
 * assert and the largest error they measured, over random views (fields 0.5
 * to 170 degrees of every lens, every pic_rot, camera tilts anywhere and
 * exactly +-90 or one Q16.16 word from it, directions at and within 1e-6
 * degrees of the poles, pixels all over the picture, its corners and up to
 * a quarter picture beyond, pictures up to 3840 x 2160) on x86-64, glibc.
 * ------------------------------------------------------------------------ */

/**
 * Continuous pixel (x, y) of the rotated picture where the direction pan/tilt
 * (degrees) appears. The main camera's model: a ray at angle theta off the
 * optical axis lands at g(theta)/g(F) of the half picture along its
 * direction from the centre (width/2, height/2), g = sin, theta or tan by
 * projection_type, F the horizontal or vertical half field (the vertical
 * field as stored, or derived: tan(F_v) = height/width tan(F_h), carried
 * on past a 180-degree horizontal field of an equidistant lens as
 * atan2(height sin F_h, width cos F_h)); pic_rot
 * turns the result (180: (width - x, height - y)). -1 for a direction 90
 * degrees or more off the axis (rectilinear, sine) or straight behind
 * (equidistant). dewarp_status is not read.
 * Accuracy: pixel -> direction -> pixel comes back within 1e-7
 * pixels (largest measured 9.1e-11); an independent pinhole camera agrees
 * within 1e-6 pixels (measured 2.1e-11). Against viewgeo_to_pixel_f where
 * it makes no approximation (ray 0.1 rad to 85 degrees off the axis, camera
 * tilted 5 to 80 degrees, direction within 85 degrees of level, fields 2 to
 * 120 degrees, same float direction): trunc of each coordinate is its pixel
 * (ceil for a coordinate that pic_rot flips, since it turns whole pixels)
 * in all but 9 of 96900 coordinates, each of them within 3.7e-4 pixels of a
 * cell boundary and one cell off.
 */
VIEWGEO_API int viewgeo_to_pixel_d(const viewgeo_context *ctx, double pan, double tilt, double *x, double *y);
/**
 * Direction (pan, tilt in degrees) of the continuous pixel (x, y) of the
 * rotated picture, the exact inverse of viewgeo_to_pixel_d(). Pixels off the
 * picture are answered; -1 beyond the rim of a sine lens (90 degrees) or of
 * an equidistant one (180 degrees). A camera looking straight down or up
 * answers every pixel.
 * Accuracy: direction -> pixel -> direction comes back within
 * 1e-9 degrees (largest measured 1.1e-11), including tilts of exactly +-90
 * and within 1e-6 degrees of them; the pinhole camera agrees within 1e-6
 * pixels (measured 4.3e-11). Differs from viewgeo_to_ptz_f, under the
 * conditions above, by at most 2e-4 degrees (measured 6.1e-5).
 */
VIEWGEO_API int viewgeo_to_ptz_d(const viewgeo_context *ctx, double x, double y, double *pan, double *tilt);
/**
 * Angle in [0, 180] degrees between two pan/tilt directions (degrees), from
 * the cross product's length within 45 degrees of 0 and 180 and the dot
 * product in between (never an arc cosine near 1): exactly 0 for identical
 * directions (also pans a turn apart, or any pans at tilt +-90), exactly
 * 180 for antipodes. A non-finite input gives NaN.
 * Accuracy: within 1e-12 degrees of a long-double haversine
 * (largest measured 4.5e-14), also for pairs 1e-10 degrees apart or that far
 * from antipodal.
 */
VIEWGEO_API double viewgeo_get_great_circle_d(double pan_a, double tilt_a, double pan_b, double tilt_b);
/**
 * Unit vector of the direction pan/tilt (degrees): +x toward pan 0 at tilt 0,
 * +y toward pan 90, +z up. Multiples of 90 degrees give exact 0 and +-1
 * (tilt 90 is (0, 0, 1)). A non-finite input gives NaN components.
 * Accuracy: each component within 4e-16 of the exact value
 * (largest measured 2e-16).
 */
VIEWGEO_API void viewgeo_ptz_to_cartesian_d(double pan, double tilt, double *x, double *y, double *z);
/**
 * Pan (degrees, (-180, 180]) and tilt (degrees, [-90, 90]) of the vector
 * (x, y, z) of any length, huge and subnormal ones included; pan 0 straight
 * up or down. -1 with NaN outputs for the zero vector or a non-finite
 * component.
 * Accuracy: direction -> vector (scaled by up to 1e+-300) ->
 * direction comes back within 1e-12 degrees (largest measured 2.8e-14).
 */
VIEWGEO_API int viewgeo_cartesian_to_ptz_d(double x, double y, double z, double *pan, double *tilt);
/**
 * PTZ direction (degrees) of the continuous overview pixel (x, y): the
 * equidistant fisheye of octx (centre, radius_x of the width, field_angle at
 * that radius) in a picture of vctx's size. The angle from the axis is
 * r field_angle / (width radius_x) for a pixel r pixels from the centre; the
 * picture angle (0 up, clockwise) is mirrored back and turned back by
 * rotation. Looking straight down (center_tilt -90) picture up is pan
 * center_pan; any other axis is that camera tilted rigidly up by
 * center_tilt + 90 about the horizontal axis across center_pan. The
 * compensators are not applied (they absorb the bit-exact forms' residuals).
 * -1 beyond 180 degrees from the axis, for a picture size, radius or field
 * angle that is not positive, or a non-finite record value or input.
 * Accuracy: the angle from the axis equals the equidistant
 * radius angle within 1e-9 degrees (largest measured 6.1e-14) for any axis;
 * equal picture-angle steps around the centre give azimuth steps around
 * the axis equal within 1e-9 degrees (measured 1.5e-12), reversed by the
 * mirror; pixel -> direction -> pixel comes back within 1e-7 pixels
 * (measured 3.9e-12) with any rotation and mirror. Looking straight down
 * without rotation or mirror it differs from viewgeo_ovista_to_ptz_f
 * without compensators by at most 1e-3 degrees (measured 3.7e-5).
 */
VIEWGEO_API int viewgeo_ovista_to_ptz_d(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, double x, double y, double *pan, double *tilt);
/**
 * Continuous overview pixel of the PTZ direction pan/tilt (degrees), the
 * exact inverse of viewgeo_ovista_to_ptz_d(), rotation and mirror included,
 * compensators not applied. -1 for the direction straight behind the axis
 * and for the degenerate records of viewgeo_ovista_to_ptz_d().
 * Accuracy: direction -> pixel -> direction comes back within
 * 1e-9 degrees (largest measured 8.6e-14) with any axis, rotation and
 * mirror.
 */
VIEWGEO_API int viewgeo_ovista_to_pixel_d(const viewgeo_ovista_context *octx, const viewgeo_context *vctx, double pan, double tilt, double *x, double *y);

#ifdef __cplusplus
}
#endif

#endif /* VIEWGEO_H */
