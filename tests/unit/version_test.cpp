#include <gtest/gtest.h>

#include <string>

#include "viewgeo.h"

TEST(Version, StringSpellsTheHeaderNumbers) {
    const std::string expected = std::to_string(VIEWGEO_VERSION_MAJOR) + "." + std::to_string(VIEWGEO_VERSION_MINOR) +
                                 "." + std::to_string(VIEWGEO_VERSION_PATCH);
    ASSERT_NE(viewgeo_version(), nullptr);
    EXPECT_EQ(std::string(viewgeo_version()), expected);
}
