#include "converter_test.h"

namespace {

constexpr int32_t int_max = std::numeric_limits<int32_t>::max();
constexpr int32_t int_min = std::numeric_limits<int32_t>::min();
using XY = std::array<int32_t, 2>;
XY cursor() { return {env.cur_x, env.cur_y}; }

class Cursor : public testing::Test {
protected:
    void SetUp() override { reset_converter(); }
};

// Spacing commands are traced in the env_settings golden case; moves, zero
// spacing, the cursor stack and page overflow are the cur_* golden cases.
TEST_F(Cursor, FormFeedChangesOnlyPageCounterAndCursor)
{
    pcl_margin_left(10);
    env.cur_y = 500000;
    env.page_dirty = 1;
    env.pos_changed = 0;
    env.page_serial = int_max;  // the counter wraps rather than sticking
    pcl_env expected = env;
    expected.page_serial = int_min;
    expected.page_dirty = 0;
    expected.pos_changed = 1;
    expected.cur_x = 72000;
    expected.cur_y = 45000;
    pcl_ff();
    EXPECT_TRUE(expected == env);
}

TEST_F(Cursor, HostileValuesSaturate)
{
    pcl_movec(1e308);
    pcl_mover(-1e308);  // saturated product, then the offsets are added
    EXPECT_EQ(cursor(), (XY{int_max, int_min + 45000}));
    movetype = 1;  // relative moves
    pcl_movex(-1e308);
    pcl_movedx(-1e308);
    movetype = 0;
    compat_f = 1;
    pcl_mover(1e308);
    EXPECT_EQ(cursor(), (XY{int_min, int_max}));
    pcl_movex(std::nan(""));
    pcl_movey(-1e308);
    EXPECT_EQ(cursor(), (XY{0, int_min + 36000}));

    pcl_hmi(1e308);
    pcl_vmi(1e308);
    EXPECT_EQ((XY{env.hmi, env.vmi}), (XY{int_max, int_max}));
    env.cur_y = int_max - 5;
    env.pos_changed = 0;
    pcl_half_lf();  // overflows onto the next page
    EXPECT_EQ((std::array{env.page_serial, env.cur_y, env.pos_changed}),
              (std::array{1, 36000 + 1610612735, 1}));
}

}  // namespace
