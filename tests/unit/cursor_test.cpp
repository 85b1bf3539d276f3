#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/cursor.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

constexpr int32_t int_max = std::numeric_limits<int32_t>::max();
constexpr int32_t int_min = std::numeric_limits<int32_t>::min();

class Cursor : public testing::Test {
protected:
    void SetUp() override
    {
        config_clear();
        verbose = 0;
        genps = 0;
        movetype = 0;
        pcl_init();
    }
    void TearDown() override
    {
        verbose = 0;
        movetype = 0;
        compat_f = 0;
    }

    static void absolute(void (*handler)(double), double v)
    {
        movetype = 0;
        handler(v);
    }
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

TEST_F(Cursor, HorizontalMovesAbsoluteAndRelative)
{
    absolute(pcl_movec, 2);
    EXPECT_EQ(env.cur_x, 14400);
    relative(pcl_movec, 2);
    EXPECT_EQ(env.cur_x, 28800);
    relative(pcl_movec, -1);
    EXPECT_EQ(env.cur_x, 21600);
    absolute(pcl_movec, 1.9);  // columns are truncated before the product
    EXPECT_EQ(env.cur_x, 7200);

    absolute(pcl_movedx, 720);
    EXPECT_EQ(env.cur_x, 72000);
    relative(pcl_movedx, -0.5);
    EXPECT_EQ(env.cur_x, 71950);
    absolute(pcl_movex, 300);
    EXPECT_EQ(env.cur_x, 72000);
    pcl_units(600);
    relative(pcl_movex, 1);
    EXPECT_EQ(env.cur_x, 72120);
}

TEST_F(Cursor, VerticalMovesCountFromTheTopMargin)
{
    env.pos_changed = 0;
    absolute(pcl_mover, 0);
    EXPECT_EQ(env.cur_y, 45000);
    EXPECT_EQ(env.pos_changed, 1);
    absolute(pcl_mover, 1.9);
    EXPECT_EQ(env.cur_y, 57000);
    relative(pcl_mover, 2);  // no three-quarter offset when relative
    EXPECT_EQ(env.cur_y, 81000);
    compat_f = 1;
    absolute(pcl_mover, 0);
    EXPECT_EQ(env.cur_y, 36000);
    absolute(pcl_mover, 2);
    EXPECT_EQ(env.cur_y, 60000);
    compat_f = 0;

    absolute(pcl_movedy, 720);
    EXPECT_EQ(env.cur_y, 108000);
    relative(pcl_movedy, 720);
    EXPECT_EQ(env.cur_y, 180000);
    absolute(pcl_movey, 300);
    EXPECT_EQ(env.cur_y, 108000);
    pcl_units(600);
    absolute(pcl_movey, 300);
    EXPECT_EQ(env.cur_y, 72000);
    relative(pcl_movey, -600);
    EXPECT_EQ(env.cur_y, 0);  // moves may leave the page: nothing clamps
}

TEST_F(Cursor, UnusableUnitsMoveNothing)
{
    env.cur_x = 1234;
    env.cur_y = 5678;
    env.units = 0;
    env.pos_changed = 0;
    absolute(pcl_movex, 300);
    absolute(pcl_movey, 300);
    EXPECT_EQ(env.cur_x, 1234);
    EXPECT_EQ(env.cur_y, 5678);
    EXPECT_EQ(env.pos_changed, 1);
    env.units = -300;
    relative(pcl_movex, 300);
    EXPECT_EQ(env.cur_x, 1234);
}

TEST_F(Cursor, SpacingCommandsAndTheirTraces)
{
    verbose = 2;
    std::string out = capture_stdout([] {
        pcl_hmi(12);
        pcl_hmi(-1);
        pcl_hmi(std::nan(""));
        pcl_vmi(8);
        pcl_vmi(-2.5);
        pcl_lpi(8);
        pcl_lpi(5);
        pcl_lpi(0);
    });
    EXPECT_EQ(out,
              "HMI=7200\nUnknown: HMI -1\nUnknown: HMI nan\nVMI=12000\nUnknown: VMI -2.5\n"
              "VMI=9000\nUnknown: LPI 5\nUnknown: LPI 0\n");
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(env.vmi, 9000);

    // While the page is empty the cursor follows the new spacing.
    EXPECT_EQ(env.cur_y, 36000 + 6750);
    verbose = 0;
    pcl_lpi(6);
    EXPECT_EQ(env.cur_y, 45000);
    env.page_dirty = 1;
    env.cur_y = 100000;
    pcl_lpi(8);
    pcl_vmi(-1);
    EXPECT_EQ(env.cur_y, 100000);

    pcl_vmi(0);  // accepted: lines then stay in place
    EXPECT_EQ(env.vmi, 0);
    line_feed();
    EXPECT_EQ(env.cur_y, 100000);
    pcl_half_lf();
    EXPECT_EQ(env.cur_y, 100000);

    for (int32_t n : {1, 2, 3, 4, 6, 8, 12, 16, 24, 48}) {
        pcl_lpi(n);
        EXPECT_EQ(env.vmi, 72000 / n);
    }
}

TEST_F(Cursor, LineTermination)
{
    pcl_eolterm(3);
    EXPECT_EQ(env.eol_term, 3);
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_eolterm(4); }), "Unknown: line termination 4\n");
    EXPECT_EQ(capture_stdout([] { pcl_eolterm(-1); }), "Unknown: line termination -1\n");
    EXPECT_EQ(env.eol_term, 3);
}

TEST_F(Cursor, CursorStackHoldsTwentyPositions)
{
    for (int i = 0; i < 21; ++i) {
        env.cur_x = i;
        env.cur_y = 1000 + i;
        pcl_cursor_push_pop(0);
    }
    EXPECT_EQ(env.pos_sp, 20);
    for (int i = 19; i >= 0; --i) {
        pcl_cursor_push_pop(1);
        EXPECT_EQ(env.cur_x, i);
        EXPECT_EQ(env.cur_y, 1000 + i);
    }
    env.cur_x = 77;
    env.pos_changed = 0;
    pcl_cursor_push_pop(1);
    EXPECT_EQ(env.pos_sp, 0);
    EXPECT_EQ(env.cur_x, 77);
    EXPECT_EQ(env.pos_changed, 1);
    pcl_cursor_push_pop(std::nan(""));  // NaN counts as 0: a push
    EXPECT_EQ(env.pos_sp, 1);
}

TEST_F(Cursor, PageOverflowWithAndWithoutPerforationSkip)
{
    env.cur_y = 793680;
    line_feed();
    EXPECT_EQ(env.cur_y, 805680);  // the bottom line of the text area prints
    EXPECT_EQ(env.page_serial, 0);
    line_feed();
    EXPECT_EQ(env.page_serial, 1);
    EXPECT_EQ(env.cur_y, 45000);

    pcl_perfskip(0);
    env.cur_y = 805680;
    line_feed();
    line_feed();
    EXPECT_EQ(env.cur_y, 829680);
    EXPECT_EQ(env.page_serial, 1);
    line_feed();
    EXPECT_EQ(env.page_serial, 2);
    EXPECT_EQ(env.cur_y, 9000);  // the next page continues at its very top

    // A cursor far below the page ends just one page.
    env.cur_y = int_max;
    pcl_lf_cond();
    EXPECT_EQ(env.page_serial, 3);
}

TEST_F(Cursor, HalfLineFeedMovesHalfTheSpacingAndMarksTheMove)
{
    env.vmi = 12001;
    env.cur_y = 45000;
    env.pos_changed = 0;
    pcl_half_lf();
    EXPECT_EQ(env.cur_y, 51000);
    EXPECT_EQ(env.pos_changed, 1);
    env.cur_y = 805000;
    pcl_half_lf();
    EXPECT_EQ(env.page_serial, 1);
}

TEST_F(Cursor, FormFeedChangesOnlyPageCounterAndCursor)
{
    pcl_margin_left(10);
    env.cur_x = 300000;
    env.cur_y = 500000;
    env.page_dirty = 1;
    env.pos_changed = 0;
    env.page_serial = int_max;  // the counter wraps rather than sticking
    pcl_env before = env;
    pcl_ff();
    EXPECT_EQ(env.page_serial, int_min);
    EXPECT_EQ(env.page_dirty, 0);
    EXPECT_EQ(env.pos_changed, 1);
    EXPECT_EQ(env.cur_x, 72000);
    EXPECT_EQ(env.cur_y, 45000);
    before.page_serial = env.page_serial;
    before.page_dirty = env.page_dirty;
    before.pos_changed = env.pos_changed;
    before.cur_x = env.cur_x;
    before.cur_y = env.cur_y;
    EXPECT_EQ(std::memcmp(&before, &env, sizeof env), 0);
}

TEST_F(Cursor, HostileValuesSaturate)
{
    double const nan_value = std::nan("");
    absolute(pcl_movec, 1e308);
    EXPECT_EQ(env.cur_x, int_max);
    relative(pcl_movec, 1e308);
    EXPECT_EQ(env.cur_x, int_max);
    absolute(pcl_movedx, -1e308);
    EXPECT_EQ(env.cur_x, int_min);
    relative(pcl_movex, -1e308);
    EXPECT_EQ(env.cur_x, int_min);
    absolute(pcl_movex, nan_value);
    EXPECT_EQ(env.cur_x, 0);

    absolute(pcl_mover, 1e308);
    EXPECT_EQ(env.cur_y, int_max);
    absolute(pcl_mover, -1e308);  // saturated product, then the margin is added
    EXPECT_EQ(env.cur_y, int_min + 36000 + 9000);
    compat_f = 1;
    absolute(pcl_mover, 1e308);
    EXPECT_EQ(env.cur_y, int_max);
    relative(pcl_mover, 1e308);
    EXPECT_EQ(env.cur_y, int_max);
    absolute(pcl_movedy, 1e308);
    EXPECT_EQ(env.cur_y, int_max);
    absolute(pcl_movey, -1e308);
    EXPECT_EQ(env.cur_y, int_min + 36000);
    relative(pcl_movey, -1e308);
    EXPECT_EQ(env.cur_y, int_min);
    relative(pcl_movey, nan_value);
    EXPECT_EQ(env.cur_y, int_min);

    pcl_hmi(1e308);
    EXPECT_EQ(env.hmi, int_max);
    pcl_vmi(1e308);
    EXPECT_EQ(env.vmi, int_max);
    pcl_vmi(nan_value);
    EXPECT_EQ(env.vmi, int_max);
    pcl_lpi(-1e308);
    pcl_eolterm(1e308);
    EXPECT_EQ(env.eol_term, 0);
    env.cur_y = int_max - 5;
    pcl_half_lf();
    EXPECT_EQ(env.page_serial, 1);
    EXPECT_EQ(env.cur_y, 36000 + 1610612735);  // first line under the huge spacing
}

}  // namespace
