// The work of one measurement of the array forms, for counting the
// instructions it executes (bench/array_instructions.py runs it under an
// emulator that logs each one). A count does not vary from run to run as
// times do, which matters most under emulation.
//
//     viewgeo_array_instructions FORM single|array N PASSES
//
// makes the benchmark's 16 views with their first N inputs, then projects
// them PASSES times through FORM (ToPixelF, ToPtzF, ToPtzFRel, ToPixelX,
// ToPtzX, ToPtzXRel, OvistaToPtzF or OvistaToPixelF), point by point or in
// one array call per view. The difference between PASSES 1 and 0 is the
// projections alone.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "array_forms.h"

namespace {

using namespace viewgeo::bench;

template <class In, class Out>
void project_views(const std::vector<View> &vs, const Form<In, Out> &form, bool array, std::size_t n, int passes,
                   const std::vector<In> View::*a, const std::vector<In> View::*b) {
    std::vector<Out> out_a(n), out_b(n);
    unsigned long long sum = 0;  // printed, so that the outputs are used
    for (int pass = 0; pass < passes; ++pass) {
        for (const View &v : vs) {
            project(form, array, v, n, (v.*a).data(), (v.*b).data(), out_a.data(), out_b.data());
            for (std::size_t i = 0; i < n; ++i) sum += static_cast<unsigned long long>(out_a[i] + out_b[i]);
        }
    }
    std::printf("%llu\n", sum);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s FORM single|array N PASSES\n", argv[0]);
        return 2;
    }
    const char *name = argv[1];
    const bool array = std::strcmp(argv[2], "array") == 0;
    const auto n = static_cast<std::size_t>(std::strtoul(argv[3], nullptr, 10));
    const int passes = std::atoi(argv[4]);
    if (n > kMaxPoints) return 2;
    auto is = [&](const char *form) { return std::strcmp(name, form) == 0; };
    // The forms from pixels need no directions, which take a projection each
    // to make.
    const bool from_pixels = is("ToPtzF") || is("ToPtzFRel") || is("ToPtzX") || is("ToPtzXRel") || is("OvistaToPtzF");
    const std::vector<View> vs = make_views(n, !from_pixels);
    if (is("ToPixelF")) {
        project_views(vs, kToPixelF, array, n, passes, &View::pan_f, &View::tilt_f);
    } else if (is("ToPtzF")) {
        project_views(vs, kToPtzF, array, n, passes, &View::x, &View::y);
    } else if (is("ToPtzFRel")) {
        project_views(vs, kToPtzFRel, array, n, passes, &View::x, &View::y);
    } else if (is("ToPixelX")) {
        project_views(vs, kToPixelX, array, n, passes, &View::pan_x, &View::tilt_x);
    } else if (is("ToPtzX")) {
        project_views(vs, kToPtzX, array, n, passes, &View::x, &View::y);
    } else if (is("ToPtzXRel")) {
        project_views(vs, kToPtzXRel, array, n, passes, &View::x, &View::y);
    } else if (is("OvistaToPtzF")) {
        project_views(vs, kOvistaToPtzF, array, n, passes, &View::x, &View::y);
    } else if (is("OvistaToPixelF")) {
        project_views(vs, kOvistaToPixelF, array, n, passes, &View::pan_f, &View::tilt_f);
    } else {
        std::fprintf(stderr, "unknown form %s\n", name);
        return 2;
    }
    return 0;
}
