// The Q16.16 views prepared for many points: the point stages give the bits
// of the unprepared view for every point, on views whose divisors are the
// awkward ones (zero, one, wrapped negative picture sizes, tiny and huge
// fields of view, every lens model, dewarped pictures).
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "core/projection_fixed.h"
#include "core/projection_view.h"
#include "core/q16.h"
#include "viewgeo.h"

namespace viewgeo {
namespace {

template <class T>
bool same_bits(const T &a, const T &b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

class PreparedViewTest : public ::testing::Test {
protected:
    viewgeo_context random_view() {
        viewgeo_context c{};
        c.pan = word(-180, 180);
        c.tilt = word(-180, 180);
        static const q16 kFields[] = {0, 1, 2, 0x10000, 0x5A0000, 0xB40000, 0x1680000, INT32_MAX, INT32_MIN};
        c.horiz_fov = pick(3) == 0 ? kFields[pick(9)] : word(0, 120);
        c.vert_fov_set = pick(2);
        c.vert_fov = pick(3) == 0 ? kFields[pick(9)] : word(0, 90);
        static const std::int32_t kSizes[] = {0, 1, 2, 3, 704, 1080, 1920, 32767, 32768, 40000, 65535, 65536, -1920};
        c.pic_width = kSizes[pick(13)];
        c.pic_height = kSizes[pick(13)];
        c.pic_rot = pick(2) == 0 ? 0 : 180;
        c.projection_type = pick(4);
        c.dewarp_status = pick(2);
        return c;
    }
    // A column or row: often the edge or the middle of the picture, where
    // the quotients by the picture size are whole or half numbers.
    std::int32_t pixel(std::int32_t size) {
        switch (pick(10)) {
            case 0: return static_cast<std::int32_t>(gen_());
            case 1: return size;
            case 2: return size / 2;
            case 3: return 0;
            default: return pick(4000) - 1000;
        }
    }
    q16 word(int lo, int hi) { return static_cast<q16>((lo + pick(hi - lo + 1)) * 65536 + pick(65536)); }
    int pick(int n) { return static_cast<int>(gen_() % static_cast<std::uint32_t>(n)); }

    std::mt19937 gen_{1124u};
};

TEST_F(PreparedViewTest, PixelsOfDirectionsKeepTheirBits) {
    int prepared = 0;
    for (int view = 0; view < 300; ++view) {
        const viewgeo_context ctx = random_view();
        const PixelViewX plain = prepare_pixel_view_x(ctx);
        const PixelViewX many = prepared_for_many_points(plain);
        if (many.lens_half_h_divisor.reciprocal != 0) ++prepared;
        for (int i = 0; i < 200; ++i) {
            const q16 pan = word(-180, 180);
            const q16 tilt = word(-90, 90);
            ASSERT_TRUE(same_bits(pixel_of_direction_x(plain, pan, tilt), pixel_of_direction_x(many, pan, tilt)))
                << "view " << view << ", pan " << pan << ", tilt " << tilt;
        }
    }
    EXPECT_GT(prepared, 100);  // most views have divisors to prepare
}

TEST_F(PreparedViewTest, DirectionsAndMovementsOfPixelsKeepTheirBits) {
    int prepared = 0;
    for (int view = 0; view < 300; ++view) {
        const viewgeo_context ctx = random_view();
        const DirectionViewX plain = prepare_direction_view_x(ctx);
        const DirectionViewX many = prepared_for_many_points(plain);
        const MovementViewX plain_movement = prepare_movement_view_x(ctx);
        const MovementViewX many_movement = prepared_for_many_points(plain_movement);
        if (many.width_divisor.reciprocal != 0) ++prepared;
        if (many_movement.linear_view.height_divisor.reciprocal != 0) ++prepared;
        for (int i = 0; i < 200; ++i) {
            const std::int32_t x = pixel(ctx.pic_width);
            const std::int32_t y = pixel(ctx.pic_height);
            ASSERT_TRUE(same_bits(direction_of_pixel_x(plain, x, y), direction_of_pixel_x(many, x, y)))
                << "view " << view << ", pixel " << x << ", " << y;
            ASSERT_TRUE(same_bits(movement_of_pixel_x(plain_movement, x, y), movement_of_pixel_x(many_movement, x, y)))
                << "view " << view << ", pixel " << x << ", " << y;
        }
    }
    EXPECT_GT(prepared, 200);
}

}  // namespace
}  // namespace viewgeo
