// The fixture of the misalignment tests: a view context made below a private
// root (so no data file is found), whose table can be given directly as
// words, the way the compiled data leaves it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "support/misalignment_reference.h"
#include "support/temp_root.h"
#include "support/view.h"
#include "viewgeo.h"

namespace viewgeo::testing {

// Where the library looks for the misalignment data.
inline constexpr const char *kDataFile = "/var/run/ptz/mo_data_file";
// One degree, Q16.16.
inline constexpr std::int32_t kOne = 0x10000;

class MisalignmentFixture : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(view_); }

    // Replaces the table; the load state becomes 1, so no file is looked for.
    // One entry more than the table is allocated, so that even an empty
    // table leaves a pointer the library may hold.
    void use_table(const std::vector<RefEntry> &t, std::uint32_t pan_turn, std::uint32_t tilt_turn) {
        std::free(ctx->mo_table);
        ctx->mo_table =
            static_cast<viewgeo_misalignment_entry *>(std::malloc(sizeof(viewgeo_misalignment_entry) * (t.size() + 1)));
        for (std::size_t i = 0; i < t.size(); ++i) ctx->mo_table[i] = {t[i].zoom, t[i].pan_steps, t[i].tilt_steps};
        ctx->mo_count = static_cast<std::int32_t>(t.size());
        ctx->pan_rotation_steps = pan_turn;
        ctx->tilt_rotation_steps = tilt_turn;
        ctx->mo_state = 1;
        table = t;
    }

    TempRoot root;  // made before the context, which is created below it
    View view_;
    viewgeo_context *const ctx = view_.get();
    std::vector<RefEntry> table;
};

}  // namespace viewgeo::testing
