#include "converter_test.h"

namespace {

constexpr int32_t int_max = std::numeric_limits<int32_t>::max();
constexpr int32_t int_min = std::numeric_limits<int32_t>::min();
using XY = std::array<int32_t, 2>;
XY cursor() { return {env.cur_x, env.cur_y}; }

class Cursor : public testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    // A signed command value: a relative move.
    static void relative(void (*handler)(double), double v)
    {
        movetype = 1;
        handler(v);
        movetype = 0;
    }
    // A line feed as the text loop performs it.
    static void line_feed()
    {
        env.cur_y += env.vmi;
        pcl_lf_cond();
    }
};

TEST_F(Cursor, SpacingLineTerminationAndStack)
{
    // Traced in the env_settings golden case.
    pcl_hmi(12);
    pcl_hmi(std::nan(""));
    pcl_vmi(-2.5);
    pcl_lpi(8);
    pcl_lpi(5);
    pcl_eolterm(3);
    pcl_eolterm(4);
    EXPECT_EQ((XY{env.hmi, env.eol_term}), (XY{7200, 3}));
    EXPECT_EQ(env.cur_y, 36000 + 6750);  // an empty page follows the spacing
    env.page_dirty = 1;
    pcl_lpi(6);
    pcl_vmi(0);  // accepted: line feeds then stay on the line
    line_feed();
    pcl_half_lf();
    EXPECT_EQ(env.cur_y, 36000 + 6750);

    for (int i = 0; i < 21; ++i) {
        env.cur_x = i;
        pcl_cursor_push_pop(0);
    }
    pcl_cursor_push_pop(1);
    EXPECT_EQ(env.cur_x, 19);  // the 21st push was dropped
    for (int i = 0; i < 20; ++i)
        pcl_cursor_push_pop(1);  // the last pop finds the stack empty
    env.pos_changed = 0;
    pcl_cursor_push_pop(1);
    EXPECT_EQ(env.cur_x, 0);
    EXPECT_EQ(env.pos_changed, 1);
}

// Moves and page overflow show in the cur_moves and cur_overflow golden
// cases; the half line feed is not traced.
TEST_F(Cursor, HalfLineFeed)
{
    env.vmi = 12001;
    env.pos_changed = 0;
    pcl_half_lf();
    EXPECT_EQ((XY{env.cur_y, env.pos_changed}), (XY{51000, 1}));
}

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
    EXPECT_EQ(std::memcmp(&expected, &env, sizeof env), 0);
}

TEST_F(Cursor, HostileValuesSaturate)
{
    pcl_movec(1e308);
    pcl_mover(-1e308);  // saturated product, then the offsets are added
    EXPECT_EQ(cursor(), (XY{int_max, int_min + 45000}));
    relative(pcl_movex, -1e308);
    relative(pcl_movedx, -1e308);
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
    pcl_half_lf();
    EXPECT_EQ((XY{env.page_serial, env.cur_y}), (XY{1, 36000 + 1610612735}));
}

}  // namespace
