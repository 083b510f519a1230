// Numbers in the text of the files the library reads (the remote
// calibration store, the overview configuration, the misalignment data):
// one set of conversions for every reader, defined for every input. An
// integer out of the 32-bit range saturates to its nearest limit, the same
// on every target (the C library's "%d" leaves such text undefined, and
// reads "4294967296" as 0 on one machine and as INT_MAX on another). A float
// out of range reads as an infinity, one too small as zero or a subnormal.
#pragma once

namespace viewgeo {

// The longest leading decimal integer (after blanks, with an optional sign)
// into *out, saturated; the first character after it, or null when nothing
// converts (*out then unchanged).
const char *scan_int_prefix(const char *text, int *out);
// The longest leading float as strtof() reads it (blanks, sign, decimal or
// hexadecimal digits, "inf", "nan"); the first character after it, or null.
const char *scan_float_prefix(const char *text, float *out);
// The leading float as the C library's "%f" reads it, which may take more
// characters than the number ("1e," takes "1e"); the first character after
// them, or null. The misalignment texts are scanned this way.
const char *scan_float_field(const char *text, float *out);

// The same, for values that are one number: false when nothing converts.
// Whatever follows the number is ignored. Null text gives false.
bool scan_int(const char *text, int *out);
bool scan_float(const char *text, float *out);

}  // namespace viewgeo
