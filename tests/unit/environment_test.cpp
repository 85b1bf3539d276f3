#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/cursor.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "run_mode.h"
#include "symbol_sets.h"
#include "test_support.h"

namespace {

double const nan_value = std::nan("");

class Environment : public testing::Test {
protected:
    void SetUp() override
    {
        config_clear();
        verbose = 0;
        genps = 0;
        pcl_init();
    }
    void TearDown() override
    {
        verbose = 0;
        config_clear();
    }

    // Re-runs the start-up with the given DEFAULT items; skips the test while
    // the configuration store cannot hold values.
    bool init_with(std::initializer_list<std::pair<char const*, char const*>> items,
                   char const* section = "DEFAULT")
    {
        config_clear();
        for (auto const& [item, value] : items)
            config_add_value(section, item, value);
        if (items.size() && !config_get_option(section, items.begin()->first, nullptr))
            return false;
        pcl_init();
        return true;
    }
};

TEST_F(Environment, StartUpIsA4PortraitWithBuiltInSpacing)
{
    EXPECT_EQ(env.page_size, 26);
    EXPECT_STREQ(env.page_name, "A4");
    EXPECT_EQ(env.paper_width, 595200);
    EXPECT_EQ(env.paper_height, 841680);
    EXPECT_EQ(env.page_width, 561120);
    EXPECT_EQ(env.page_height, 841680);
    EXPECT_EQ(env.page_xofs, 17040);
    EXPECT_EQ(env.top_margin, 36000);
    EXPECT_EQ(env.text_length, 769680);
    EXPECT_EQ(env.left_margin, 0);
    EXPECT_EQ(env.right_margin, 561120);
    EXPECT_EQ(env.vmi, 12000);
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(env.cur_x, 0);
    EXPECT_EQ(env.cur_y, 45000);
    EXPECT_EQ(env.perf_skip, 1);
    EXPECT_EQ(env.units, 300);
    EXPECT_EQ(env.resolution, 75);
    EXPECT_EQ(env.font_serial, 1);
    EXPECT_EQ(env.page_serial, 0);
    EXPECT_EQ(env.overlay_id, -1);
    EXPECT_EQ(env.pos_changed, 1);
    EXPECT_EQ(env.palette, 1);
    EXPECT_EQ(font[0].symset, 149);
    EXPECT_EQ(font[1].pitch, 10.0);
    EXPECT_EQ(font[1].point_size, 12.0);
    EXPECT_EQ(default_env_valid, 1);
    EXPECT_EQ(std::memcmp(&env, &default_env, sizeof env), 0);
    EXPECT_EQ(compat_f, 0);
}

TEST_F(Environment, PageSizesTakeTheOrientationGroup)
{
    pcl_page_size(2);
    EXPECT_STREQ(env.page_name, "LETTER");
    EXPECT_EQ(env.paper_width, 612000);
    EXPECT_EQ(env.page_width, 576000);
    EXPECT_EQ(env.page_xofs, 18000);
    EXPECT_EQ(env.text_length, 792000 - 72000);

    pcl_orientation(1);  // landscape group of the current size
    EXPECT_EQ(env.page_width, 763200);
    EXPECT_EQ(env.page_height, 612000);
    EXPECT_EQ(env.page_xofs, 14400);
    pcl_orientation(3);  // reverse landscape: same group
    EXPECT_EQ(env.page_width, 763200);
    pcl_page_size(27);
    EXPECT_STREQ(env.page_name, "A3");
    EXPECT_EQ(env.paper_width, 4960 * 240);
    EXPECT_EQ(env.page_width, 4842 * 240);
    pcl_orientation(2);
    EXPECT_EQ(env.page_width, 3365 * 240);
    EXPECT_EQ(env.page_xofs, 71 * 240);
}

TEST_F(Environment, UnknownPageSizeKeepsDimensionsButResetsThePage)
{
    pcl_page_size(2);
    env.overlay_id = 5;
    env.left_margin = 7200;
    env.right_margin = 100;
    env.text_length = 1;
    env.cur_x = 999;
    env.cur_y = 999;
    verbose = 1;
    std::string out = capture_stdout([] { pcl_page_size(99); });
    EXPECT_EQ(out, "Unknown: page size: 99\n");
    EXPECT_EQ(env.page_size, 2);
    EXPECT_STREQ(env.page_name, "LETTER");
    EXPECT_EQ(env.page_width, 576000);
    EXPECT_EQ(env.overlay_id, -1);
    EXPECT_EQ(env.left_margin, 0);
    EXPECT_EQ(env.right_margin, 576000);
    EXPECT_EQ(env.text_length, 720000);
    EXPECT_EQ(env.cur_x, 0);
    EXPECT_EQ(env.cur_y, 45000);
}

TEST_F(Environment, PageSizeTracesAndZeroVmiCountsNoLines)
{
    verbose = 2;
    EXPECT_EQ(capture_stdout([] { pcl_page_size(26); }),
              "page orientation: 0\nPAGESIZE=26, W=561120, H=841680, TOP=36000, TL=769680 (64)\n");
    env.vmi = 0;
    EXPECT_EQ(capture_stdout([] { pcl_page_size(26); }),
              "page orientation: 0\nPAGESIZE=26, W=561120, H=841680, TOP=36000, TL=769680 (0)\n");
    EXPECT_EQ(capture_stdout([] { pcl_perfskip(0); }),
              "PERFSKIP=0, TOP=36000, H=841680 TL=769680 (0)\n");
}

TEST_F(Environment, OrientationUsesConfiguredSpacingOnlyInItsGroup)
{
    default_env.vmi = 9000;  // as if LINES or PITCH had been configured
    default_env.hmi = 6000;
    pcl_orientation(1);
    EXPECT_EQ(env.vmi, 12000);
    EXPECT_EQ(env.hmi, 7200);
    pcl_orientation(2);
    EXPECT_EQ(env.vmi, 9000);
    EXPECT_EQ(env.hmi, 6000);
    EXPECT_EQ(env.cur_y, 36000 + 6750);

    verbose = 1;
    env.overlay_id = 3;
    EXPECT_EQ(capture_stdout([] { pcl_orientation(-1); }), "Unknown: orientation -1\n");
    EXPECT_EQ(env.orientation, 2);
    EXPECT_EQ(env.overlay_id, -1);  // the page was still re-applied
}

TEST_F(Environment, PageLengthAdaptsVmiOnlyWhenReasonable)
{
    pcl_page_size(2);  // Letter, page_height 792000
    pcl_page_length(66);
    EXPECT_EQ(env.vmi, 12000);

    verbose = 2;
    EXPECT_EQ(capture_stdout([] { pcl_page_length(80); }),
              "page length 960000 exceeds logical page 792000, adapt vmi 12000 to 9900\n"
              "PAGELEN=792000 (80), TOP=36000, TL=720000 (72)\n");
    EXPECT_EQ(env.vmi, 9900);
    verbose = 0;
    env.vmi = 12000;
    pcl_page_length(128);
    EXPECT_EQ(env.vmi, 6187);

    env.vmi = 24000;
    pcl_page_length(128);
    EXPECT_EQ(env.vmi, 24000);
    compat_f = 2;
    pcl_page_length(128);
    EXPECT_EQ(env.vmi, 6187);
    compat_f = 0;

    // Out-of-range counts and a zero vmi change nothing at all.
    env.left_margin = 7200;
    env.vmi = 12000;
    pcl_page_length(4);
    pcl_page_length(129);
    pcl_page_length(nan_value);
    env.vmi = 0;
    pcl_page_length(60);
    EXPECT_EQ(env.left_margin, 7200);
    EXPECT_EQ(env.vmi, 0);
}

TEST_F(Environment, TopMarginTextLengthAndSideMargins)
{
    pcl_margin_top(3);
    EXPECT_EQ(env.top_margin, 36000);
    EXPECT_EQ(env.text_length, 769680);
    pcl_margin_top(6);
    EXPECT_EQ(env.top_margin, 72000);
    EXPECT_EQ(env.text_length, 733680);
    EXPECT_EQ(env.cur_y, 81000);
    pcl_margin_top(-1);
    pcl_margin_top(71);  // 852000 is below the page
    EXPECT_EQ(env.top_margin, 72000);

    pcl_margin_top(3);
    pcl_text_length(100);
    EXPECT_EQ(env.text_length, 805680);
    pcl_text_length(-2);  // no lower bound
    EXPECT_EQ(env.text_length, -24000);
    verbose = 2;
    env.vmi = 0;
    EXPECT_EQ(capture_stdout([] { pcl_text_length(10); }), "TEXTLEN=-24000, H=841680\n");
    verbose = 0;
    env.vmi = 12000;

    pcl_margin_left(10);
    EXPECT_EQ(env.left_margin, 72000);
    EXPECT_EQ(env.cur_x, 72000);
    env.cur_x = 500000;
    pcl_margin_right(5);  // left of the left margin: refused
    EXPECT_EQ(env.right_margin, 561120);
    EXPECT_EQ(env.cur_x, 500000);
    pcl_margin_right(60);
    EXPECT_EQ(env.right_margin, 432000);
    EXPECT_EQ(env.cur_x, 432000);
    pcl_margin_right(1000);  // limited to the page width
    EXPECT_EQ(env.right_margin, 561120);
    pcl_margin_left(-1);
    pcl_margin_left(100);  // beyond the right margin
    EXPECT_EQ(env.left_margin, 72000);
    pcl_clear_margins();
    EXPECT_EQ(env.left_margin, 0);
    EXPECT_EQ(env.right_margin, 561120);
}

TEST_F(Environment, PerforationSkipResetsMarginsOnlyOnChange)
{
    pcl_margin_top(6);
    pcl_perfskip(1);  // already on
    EXPECT_EQ(env.top_margin, 72000);
    pcl_perfskip(0);
    EXPECT_EQ(env.perf_skip, 0);
    EXPECT_EQ(env.top_margin, 36000);
    EXPECT_EQ(env.text_length, 769680);
    pcl_margin_top(6);
    pcl_perfskip(0);
    EXPECT_EQ(env.top_margin, 72000);
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_perfskip(2); }), "Unknown: perforation skip 2\n");
    EXPECT_EQ(env.perf_skip, 0);
}

TEST_F(Environment, SimpleSettingsAndTheirRefusals)
{
    verbose = 1;
    std::string out = capture_stdout([] {
        pcl_res(600);
        pcl_res(72);
        pcl_direction(270);
        pcl_direction(45);
        pcl_text_parsing_method(83);
        pcl_text_parsing_method(21);
        pcl_duplex_page_side(3);
        pcl_duplex_page_side(2);
    });
    EXPECT_EQ(out,
              "Unknown: resolution 72\nUnknown: direction 45\n"
              "Unknown: text parsing method 21\nUnknown: page side 3\n");
    EXPECT_EQ(env.resolution, 600);
    EXPECT_EQ(env.direction, 270);
    EXPECT_EQ(env.text_method, 0);

    pcl_units(600);
    EXPECT_EQ(pcl2in(1), 120.0);
    pcl_units(0);  // refused: units stay usable as a divisor
    pcl_units(-300);
    pcl_units(nan_value);
    EXPECT_EQ(env.units, 600);
    env.units = 0;  // even if it were 0, conversions stay finite
    EXPECT_EQ(pcl2in(300), 0.0);
    EXPECT_EQ(dcp2in(7.2), 720.0);
}

TEST_F(Environment, PaperSourceKeepsMarginsAndMovesToFirstLine)
{
    pcl_margin_left(10);
    env.cur_y = 400000;
    pcl_paper_source(4);
    EXPECT_EQ(env.paper_source, 4);
    pcl_paper_source(0);
    pcl_paper_source(-2);
    EXPECT_EQ(env.paper_source, 4);
    EXPECT_EQ(env.left_margin, 72000);
    EXPECT_EQ(env.cur_x, 0);
    EXPECT_EQ(env.cur_y, 45000);
}

TEST_F(Environment, UsedPageEndsBeforeSetupAndResetKeepsPageCounter)
{
    env.page_dirty = 1;
    pcl_page_size(2);
    EXPECT_EQ(env.page_serial, 1);
    EXPECT_EQ(env.page_dirty, 0);
    pcl_page_size(26);  // unused page: no further page change
    EXPECT_EQ(env.page_serial, 1);

    env.page_dirty = 1;
    pcl_margin_left(10);
    pcl_vmi(4);
    env.pos_sp = 3;
    env.palette = 3;
    font[0].pitch = 17;
    pcl_reset();
    EXPECT_EQ(env.page_serial, 2);  // the flush ended the page; the reset keeps it ended
    EXPECT_EQ(env.page_dirty, 0);
    EXPECT_EQ(env.left_margin, 0);
    EXPECT_EQ(env.vmi, 12000);
    EXPECT_EQ(env.cur_y, 45000);
    EXPECT_EQ(env.pos_sp, 0);
    EXPECT_EQ(env.palette, 1);
    EXPECT_EQ(font[0].pitch, 10.0);
}

TEST_F(Environment, HostileValuesSaturateWithoutFaults)
{
    for (double v : {1e308, -1e308, nan_value, 2147483648.0}) {
        pcl_init();
        pcl_margin_left(v);
        pcl_margin_right(v);
        pcl_margin_top(v);
        pcl_text_length(v);
        pcl_page_length(v);
        pcl_perfskip(v);
        pcl_units(v);
        pcl_res(v);
        pcl_direction(v);
        pcl_text_parsing_method(v);
        pcl_orientation(v);
        pcl_page_size(v);
        pcl_paper_source(v);
        pcl_duplex_page_side(v);
        EXPECT_GT(env.units, 0);
        EXPECT_LE(env.left_margin, env.right_margin);
        EXPECT_LE(env.right_margin, env.page_width);
        EXPECT_GE(env.top_margin, 0);
    }
    // Extreme spacing: the page set-up still computes without overflow.
    int32_t const huge = std::numeric_limits<int32_t>::max();
    verbose = 2;
    env.vmi = huge;
    capture_stdout([] { pcl_page_size(26); });
    EXPECT_EQ(env.cur_y, 36000 + 1610612735);
    pcl_margin_top(1);  // below the page: refused
    EXPECT_EQ(env.top_margin, 36000);
    capture_stdout([] { pcl_page_length(5); });
    EXPECT_EQ(env.vmi, huge);  // adapting would more than halve it
    compat_f = 2;
    capture_stdout([] { pcl_page_length(5); });
    EXPECT_EQ(env.vmi, 841680 / 5);
    compat_f = 0;
}

TEST_F(Environment, ConfiguredDefaultsBecomeTheResetState)
{
    if (!init_with({{"PAPER.SIZE", "letter"},
                    {"PAPER.SOURCE", "2"},
                    {"EOLTERM", "3"},
                    {"PITCH", "12"},
                    {"LINES", "50"},
                    {"LEFTMARGIN", "5"}}))
        GTEST_SKIP() << "configuration store not available";
    EXPECT_EQ(env.page_size, 2);
    EXPECT_EQ(env.paper_source, 2);
    EXPECT_EQ(env.eol_term, 3);
    EXPECT_EQ(font[0].pitch, 12.0);
    EXPECT_EQ(font[1].pitch, 12.0);
    EXPECT_EQ(env.hmi, 6000);
    EXPECT_EQ(env.font_serial, 2);
    EXPECT_EQ(env.vmi, 720000 / 50);
    EXPECT_EQ(env.left_margin, 30000);
    EXPECT_EQ(std::memcmp(&env, &default_env, sizeof env), 0);
    EXPECT_EQ(default_font[0].pitch, 12.0);

    // A page-size command takes the configured margins; the text area keeps
    // a bottom allowance of twice the configured top margin.
    pcl_page_size(26);
    EXPECT_EQ(env.left_margin, 30000);
    EXPECT_EQ(env.text_length, 841680 - 72000);

    ASSERT_TRUE(init_with({{"ORIENTATION", "Landscape"}, {"LINES", "4"}, {"TOPMARGIN", "2"}}));
    EXPECT_EQ(env.orientation, 1);
    EXPECT_EQ(env.page_width, 3389 * 240);
    EXPECT_EQ(env.vmi, 12000);  // LINES outside 5..128 ignored
    EXPECT_EQ(env.top_margin, 24000);
    ASSERT_TRUE(init_with({{"ORIENTATION", "3"}, {"PAPER.SIZE", "6"}, {"TEXTLEN", "10"}}));
    EXPECT_EQ(env.orientation, 3);
    EXPECT_STREQ(env.page_name, "LEDGER");
    EXPECT_EQ(env.text_length, 120000);
}

TEST_F(Environment, ConfiguredPitchAndSymbolSetRefusals)
{
    for (char const* pitch : {"0", "-10", "nan", "inf", "abc"}) {
        if (!init_with({{"PITCH", pitch}}))
            GTEST_SKIP() << "configuration store not available";
        EXPECT_EQ(env.hmi, 7200) << pitch;
        EXPECT_EQ(font[0].pitch, 10.0) << pitch;
    }
    ASSERT_TRUE(init_with({{"SYMSET", "18N"}}));
    EXPECT_EQ(env.text_method, 1008);
    EXPECT_EQ(font[0].symset, cv_symset_supported(590) ? 590 : 149);
    ASSERT_TRUE(init_with({{"SYMSET", "8u"}}));
    EXPECT_EQ(font[1].symset, cv_symset_supported(309) ? 309 : 149);
    for (char const* name : {"8", "119U", "X8U", "8?"}) {
        ASSERT_TRUE(init_with({{"SYMSET", name}}));
        EXPECT_EQ(font[0].symset, 149) << name;
    }
    ASSERT_TRUE(init_with({{"SYMSET", "0N"}}));
    EXPECT_EQ(font[0].symset, cv_symset_supported(14) ? 14 : 149);
    EXPECT_EQ(env.text_method, 0);
}

TEST_F(Environment, CompatibilityFlagsAreReadAfterTheDefaultsAreSaved)
{
    config_clear();
    config_add_value("CONFIG", "BCOMPAT", "2");
    config_add_value("DEFAULT", "PAGELEN", "128");
    config_add_value("DEFAULT", "LINES", "10");  // vmi 76968: 128 lines would be 6575
    if (!config_get_option("CONFIG", "BCOMPAT", nullptr))
        GTEST_SKIP() << "configuration store not available";
    pcl_init();
    EXPECT_EQ(compat_f, 2);
    EXPECT_EQ(env.vmi, 76968);  // PAGELEN was applied without the flag
    pcl_page_length(128);
    EXPECT_EQ(env.vmi, 841680 / 128);
}

}  // namespace
