// The numbers of the files the library reads, at and beyond the limits of
// their types: the misalignment texts set in the context, the overview
// configuration file and the remote calibration store. Integers out of the
// 32-bit range saturate, floats out of range read as infinities or zero; the
// words read must be the same on every target.
//
// Only in the tool built on the test copy of the library: the store is read
// from its fixed path, which that copy resolves below a private temporary
// root. Nothing here touches the real /etc.
#ifdef VIEWGEO_TEST_SEAM

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "conformance.h"
#include "families.h"
#include "platform/paths.h"

namespace conformance {
namespace {

// Integer texts: the int32 limits and one beyond, far beyond, and text that
// only starts like a number.
const char *const kIntTexts[] = {
    "0",           "1",          "-1",          "2147483646",           "2147483647",
    "2147483648",  "-2147483647", "-2147483648", "-2147483649",          "4294967295",
    "4294967296",  "-4294967296", "4294967297",  "99999999999999999999", "-99999999999999999999",
    "9223372036854775808", "18446744073709551617", "+17", " 42", "007", "-0", "0x10", "12abc", "1e3",
    "--1", "+-1", "abc", "", "2147483648x", "-2147483649 ",
};

// Float texts: beyond the float's range, below its smallest subnormal, at
// its limits, hexadecimal, the special words and text that only starts like
// a number.
const char *const kFloatTexts[] = {
    "1e40",   "-1e39",          "1e-50",        "-1e-50",        "3.4028235e38",  "3.4028236e38", "3.5e38",
    "-3.5e38", "1.17549435e-38", "1e-45",        "7e-46",         "1e308",         "1e309",        "0x1p-149",
    "0x1p-150", "0x1p128",      "0x1.fffffep127", "0x10",         "inf",           "-inf",         "infinity",
    "nan",    "-nan",           "NaN",          "1e",            "1e+",           "2.5x",         ".5",
    "5.",     "-0",             "4294967296",   "-99999999999999999999", "2147483648", "0x",       "",
    "abc",    "12.5",           "-90",
};

std::string any_int(Rng &rng) { return rng.pick(kIntTexts); }
std::string any_float(Rng &rng) { return rng.pick(kFloatTexts); }
// Mostly a plain value, so that one out-of-range field stands among good ones.
std::string int_or(Rng &rng, const char *plain) { return rng.chance(60) ? any_int(rng) : plain; }
std::string float_or(Rng &rng, const char *plain) { return rng.chance(60) ? any_float(rng) : plain; }

// A float output: its bits, except that a NaN is recorded as the quiet NaN
// of its sign. The text "nan" reads as the C library's NaN, whose payload
// bits differ between NaN encodings (MIPS's legacy one); its sign is that
// of the text.
std::uint32_t float_word(float f) {
    if (std::isnan(f)) return std::signbit(f) ? 0xFFC00000u : 0x7FC00000u;
    return bits(f);
}

// The private root the test copy of the library resolves its paths below,
// made on first use and removed at exit.
class TemporaryRoot {
public:
    TemporaryRoot() {
        const char *tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp != nullptr && tmp[0] != '\0' ? tmp : "/tmp") + "/viewgeo_conformance.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror("mkdtemp");
            std::exit(2);
        }
        root_ = pattern;
        for (const char *dir : {"/etc", "/etc/viewgeo"}) {
            if (mkdir((root_ + dir).c_str(), 0700) != 0) {
                std::perror("mkdir");
                std::exit(2);
            }
        }
        viewgeo::platform::set_test_root(root_);
    }
    ~TemporaryRoot() {
        viewgeo::platform::set_test_root("");
        for (const char *path : {viewgeo::platform::kRemoteConfigPath, viewgeo::platform::kOvistaConfigPath}) {
            std::remove((root_ + path).c_str());
        }
        for (const char *dir : {"/etc/viewgeo", "/etc", ""}) rmdir((root_ + dir).c_str());
    }
    TemporaryRoot(const TemporaryRoot &) = delete;
    TemporaryRoot &operator=(const TemporaryRoot &) = delete;

    // Writes `text` as the file the library knows as `logical`.
    void write(const char *logical, const std::string &text) const {
        std::FILE *f = std::fopen((root_ + logical).c_str(), "wb");
        if (f == nullptr || std::fwrite(text.data(), 1, text.size(), f) != text.size() || std::fclose(f) != 0) {
            std::perror("write");
            std::exit(2);
        }
    }

private:
    std::string root_;
};

const TemporaryRoot &root() {
    static const TemporaryRoot r;
    return r;
}

// --- Misalignment texts -------------------------------------------------

// Up to three optical pieces "zoom,pan,tilt" and a mechanical "pan,tilt".
Words sample_misalignment(Rng &rng) {
    std::string optical;
    const int pieces = rng.range(1, 3);
    for (int i = 0; i < pieces; ++i) {
        if (i != 0) optical += ';';
        optical += float_or(rng, i == 0 ? "1" : "12.5") + "," + int_or(rng, "-300") + "," + int_or(rng, "250");
    }
    const std::string mechanical = int_or(rng, "1200") + "," + int_or(rng, "-800");
    return {text_word(optical), text_word(mechanical)};
}

constexpr std::size_t kTableEntries = 3;

// The status of the compilation, the entry count and the first entries
// (zoom and offsets, Q16.16; zero past the count).
Words compile_misalignment(const Words &in) {
    viewgeo_context ctx{};
    ctx.mo_opt_offset = strdup(text_of(in[0]).c_str());
    ctx.mo_mech_offset = strdup(text_of(in[1]).c_str());
    if (ctx.mo_opt_offset == nullptr || ctx.mo_mech_offset == nullptr) std::abort();
    const int status = viewgeo_set_misalignment_data(&ctx);
    Words out{word(status), word(ctx.mo_count)};
    for (std::size_t i = 0; i < kTableEntries; ++i) {
        const bool present = ctx.mo_table != nullptr && i < static_cast<std::size_t>(ctx.mo_count);
        const viewgeo_misalignment_entry e = present ? ctx.mo_table[i] : viewgeo_misalignment_entry{};
        out.push_back(word(e.zoom));
        out.push_back(word(e.pan_steps));
        out.push_back(word(e.tilt_steps));
    }
    std::free(ctx.mo_table);
    std::free(ctx.mo_opt_offset);
    std::free(ctx.mo_mech_offset);
    return out;
}

// --- Overview configuration ---------------------------------------------

const char *const kCompensatorGroups[] = {"pan_comp", "tilt_comp", "x_comp", "y_comp"};

// Every group with every key, each value sometimes out of range.
Words sample_overview_file(Rng &rng) {
    std::string text = "[common]\n";
    text += "ovista_center_pan=" + float_or(rng, "10") + "\n";
    text += "ovista_center_tilt=" + float_or(rng, "-90") + "\n";
    text += "[lens_charac]\n";
    for (const char *key : {"center_x", "center_y", "radius_x", "radius_y", "field_angle"}) {
        text += std::string(key) + "=" + float_or(rng, "0.5") + "\n";
    }
    for (const char *group : kCompensatorGroups) {
        text += std::string("[") + group + "]\ntype=" + int_or(rng, "1") + "\n";
        for (const char *key : {"A", "B", "C", "D"}) text += std::string(key) + "=" + float_or(rng, "0.25") + "\n";
    }
    return {text_word(text)};
}

void push_compensator(Words &out, const viewgeo_ovista_compensator &c) {
    out.push_back(word(c.type));
    for (float f : {c.A, c.B, c.C, c.D}) out.push_back(float_word(f));
}

// Whether a context was loaded, then every field the file holds.
Words load_overview_file(const Words &in) {
    root().write(viewgeo::platform::kOvistaConfigPath, text_of(in[0]));
    viewgeo_ovista_context *ctx = nullptr;
    load_conf(&ctx, viewgeo::platform::kOvistaConfigPath);
    Words out{word(ctx != nullptr ? 1 : 0)};
    const viewgeo_ovista_context c = ctx != nullptr ? *ctx : viewgeo_ovista_context{};
    for (float f : {c.center_pan, c.center_tilt, c.center_x, c.center_y, c.radius_x, c.radius_y, c.field_angle}) {
        out.push_back(float_word(f));
    }
    for (const viewgeo_ovista_compensator *comp : {&c.pan_comp, &c.tilt_comp, &c.x_comp, &c.y_comp}) {
        push_compensator(out, *comp);
    }
    viewgeo_ovista_context_delete(ctx);
    return out;
}

// --- Remote calibration store -------------------------------------------

// Group names that name channel 1, and some that look alike but do not.
const char *const kChannelGroups[] = {"channel_1", "channel_01", "channel_+1", "channel_1x", "channel_ 1",
                                      "channel_4294967297", "channel_-4294967295", "channel_1e0"};

// One channel group with the four keys and the lens group with the
// vertical field of view.
Words sample_remote_store(Rng &rng) {
    std::string text = std::string("[") + (rng.chance(70) ? "channel_1" : rng.pick(kChannelGroups)) + "]\n";
    text += "center_pan=" + float_or(rng, "30.5") + "\n";
    text += "center_tilt=" + float_or(rng, "-12.25") + "\n";
    text += "calibration_status=" + int_or(rng, "1") + "\n";
    text += "auto_calibrated=" + int_or(rng, "0") + "\n";
    text += "[lens_fov]\nvfov=" + float_or(rng, "33.75") + "\n";
    return {text_word(text)};
}

// The centre read into a context (result, pan and tilt as Q16.16), the
// flags read (whether a record came back, its two values), then the field
// of view read for a 1920 x 1080 picture (result, vertical and horizontal).
Words read_remote_store(const Words &in) {
    root().write(viewgeo::platform::kRemoteConfigPath, text_of(in[0]));
    viewgeo_context ctx{};
    ctx.pan = 0x11111;
    ctx.tilt = 0x22222;
    const int center = viewgeo_get_remote_center(&ctx, 1);
    Words out{word(center), word(ctx.pan), word(ctx.tilt)};
    viewgeo_remote_calibration *record = viewgeo_get_remote_calibrated(1);
    out.push_back(word(record != nullptr ? 1 : 0));
    out.push_back(word(record != nullptr ? record->calibration_status : 0));
    out.push_back(word(record != nullptr ? record->auto_calibrated : 0));
    std::free(record);
    viewgeo_context view{};
    view.pic_width = 1920;
    view.pic_height = 1080;
    view.horiz_fov = 0x333333;
    const int fov = viewgeo_get_remote_fov(&view);
    out.push_back(word(fov));
    out.push_back(word(view.vert_fov));
    out.push_back(word(view.horiz_fov));
    return out;
}

}  // namespace

Family readers_family() {
    return {"readers",
            "file texts with numbers at and beyond the limits of their types (a t word each), and what the readers "
            "make of them",
            {
                {"read_misalignment_text", "tt", "ii" "iii" "iii" "iii", compile_misalignment, sample_misalignment, 300},
                {"read_overview_file", "t", "i" "fffffff" "iffff" "iffff" "iffff" "iffff", load_overview_file,
                 sample_overview_file, 200},
                {"read_remote_store", "t", "iii" "iii" "iii", read_remote_store, sample_remote_store, 300},
            }};
}

}  // namespace conformance

#endif  // VIEWGEO_TEST_SEAM
