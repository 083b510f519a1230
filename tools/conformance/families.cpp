// Every family of conformance vectors. Adding one: a file defining its
// constructor, a declaration in families.h and a line here; the generator
// and the tests pick it up from this list.
#include "families.h"

namespace conformance {

const std::vector<Family> &families() {
    static const std::vector<Family> all = {
        view_family(),
        projection_float_family(),
        projection_fixed_family(),
        utilities_family(),
        misalignment_family(),
        overview_family(),
        remote_family(),
#ifdef VIEWGEO_TEST_SEAM
        readers_family(),
#endif
    };
    return all;
}

}  // namespace conformance
