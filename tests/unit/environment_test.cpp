#include "converter_test.h"

namespace {

using Page = std::array<int32_t, 6>;
// Logical width and height, x offset, top margin, text length, cursor y.
Page page() { return {env.page_width, env.page_height, env.page_xofs, env.top_margin, env.text_length, env.cur_y}; }

class Environment : public testing::Test {
protected:
    void SetUp() override { init_with({}); }
    // Re-runs the start-up with the given DEFAULT items.
    static void init_with(std::initializer_list<std::pair<char const*, char const*>> items)
    {
        verbose = genps = 0;
        config_clear();
        for (auto const& [item, value] : items)
            config_add_value("DEFAULT", item, value);
        pcl_init();
    }
};

TEST_F(Environment, StartUpIsA4PortraitAndTheResetRestoresIt)
{
    EXPECT_EQ(page(), (Page{561120, 841680, 17040, 36000, 769680, 45000}));
    EXPECT_EQ((std::array{env.paper_width, env.right_margin, env.vmi, env.hmi, env.font_serial, env.overlay_id}),
              (std::array{595200, 561120, 12000, 7200, 1, -1}));
    EXPECT_EQ(font[1].symset, 149);
    EXPECT_EQ(font[1].pitch, 10.0);
    EXPECT_EQ(std::memcmp(&env, &default_env, sizeof env), 0);

    env.page_dirty = 1;  // a used page is ended by the reset and stays ended
    pcl_margin_left(10);
    pcl_vmi(4);
    env.pos_sp = env.palette = 3;
    font[0].pitch = 17;
    int32_t const font_serial = env.font_serial;
    pcl_reset();
    EXPECT_EQ(env.page_serial, 1);
    // The font counter moves on, so the output selects the reset font again.
    EXPECT_EQ(env.font_serial, font_serial + 1);
    env.page_serial = 0;
    env.font_serial = default_env.font_serial;
    EXPECT_EQ(std::memcmp(&env, &default_env, sizeof env), 0);
    EXPECT_EQ(font[0].pitch, 10.0);
}

TEST_F(Environment, PageSizesOrientationAndPaperSource)
{
    pcl_page_size(2);
    EXPECT_STREQ(env.page_name, "LETTER");
    EXPECT_EQ(page(), (Page{576000, 792000, 18000, 36000, 720000, 45000}));
    pcl_orientation(3);
    EXPECT_EQ(page(), (Page{763200, 612000, 14400, 36000, 540000, 45000}));

    // An unknown size keeps the dimensions but still resets the page.
    env.overlay_id = 5;
    env.left_margin = env.text_length = env.cur_x = env.cur_y = 999;
    pcl_page_size(99);
    EXPECT_EQ(page(), (Page{763200, 612000, 14400, 36000, 540000, 45000}));
    EXPECT_EQ(env.overlay_id + env.left_margin + env.cur_x, -1);

    env.page_dirty = 1;  // a used page ends once before the set-up
    pcl_page_size(27);
    pcl_paper_source(4);
    pcl_paper_source(-2);
    EXPECT_EQ(env.page_serial, 1);
    EXPECT_EQ(env.paper_source, 4);

    default_env.vmi = 9000;  // as if LINES or PITCH had been configured
    pcl_orientation(2);
    EXPECT_EQ(env.vmi, 9000);
    pcl_orientation(1);  // the other group gets the built-in spacing
    EXPECT_EQ(env.vmi, 12000);
}

// The traces of these commands are the env_settings golden case.
TEST_F(Environment, PageLengthAdaptsOrRefusesTheSpacing)
{
    pcl_page_size(2);  // page_height 792000
    pcl_page_length(80);
    EXPECT_EQ(env.vmi, 9900);
    env.vmi = 24000;
    pcl_page_length(128);  // 6187 would halve the spacing: refused
    EXPECT_EQ(env.vmi, 24000);
    compat_f = 2;
    pcl_page_length(128);
    EXPECT_EQ(env.vmi, 6187);
    compat_f = 0;
    env.left_margin = 7200;
    for (double n : {4.0, 129.0, std::nan("")})
        pcl_page_length(n);
    EXPECT_EQ(env.left_margin, 7200);
}

// The vertical page model's traces are the env_page_model golden case.
TEST_F(Environment, HorizontalMargins)
{
    pcl_margin_left(10);
    EXPECT_EQ(env.cur_x, 72000);
    env.cur_x = 500000;
    pcl_margin_right(5);  // left of the left margin: refused
    pcl_margin_left(-1);
    pcl_margin_left(100);
    EXPECT_EQ((std::array{env.left_margin, env.right_margin, env.cur_x}), (std::array{72000, 561120, 500000}));
    pcl_margin_right(60);  // the cursor is pulled back
    EXPECT_EQ(env.cur_x, 432000);
    pcl_margin_right(1000);
    EXPECT_EQ(env.right_margin, 561120);
}

TEST_F(Environment, HostileValues)
{
    pcl_text_parsing_method(83);
    pcl_text_parsing_method(21);
    EXPECT_EQ(env.text_method, 0);
    pcl_units(600);
    EXPECT_EQ(pcl2in(1), 120.0);

    for (double v : {1e308, -1e308, std::nan(""), 0.0}) {
        for (auto handler : {pcl_margin_left, pcl_margin_right, pcl_margin_top, pcl_text_length, pcl_page_length,
                             pcl_perfskip, pcl_units, pcl_orientation, pcl_page_size, pcl_paper_source})
            handler(v);
        EXPECT_GT(env.units, 0);
        EXPECT_LE(env.left_margin, env.right_margin);
        EXPECT_LE(env.right_margin, env.page_width);
    }
    env.units = 0;
    EXPECT_EQ(pcl2in(300), 0.0);
    env.vmi = std::numeric_limits<int32_t>::max();
    pcl_page_size(26);
    EXPECT_EQ(env.cur_y, 36000 + 1610612735);
}

TEST_F(Environment, ConfiguredDefaults)
{
    init_with({{"PAPER.SIZE", "letter"}, {"PAPER.SOURCE", "2"}, {"EOLTERM", "3"},
               {"PITCH", "12"}, {"LINES", "50"}, {"LEFTMARGIN", "5"}});
    EXPECT_EQ((std::array{env.page_size, env.paper_source, env.eol_term, env.hmi, env.font_serial, env.vmi}),
              (std::array{2, 2, 3, 6000, 2, 14400}));
    EXPECT_EQ(default_font[1].pitch, 12.0);
    EXPECT_EQ(std::memcmp(&env, &default_env, sizeof env), 0);
    pcl_page_size(26);  // takes the configured margins
    EXPECT_EQ(env.left_margin, 30000);

    init_with({{"ORIENTATION", "Landscape"}, {"LINES", "4"}, {"TOPMARGIN", "2"}});
    EXPECT_EQ(page(), (Page{3389 * 240, 595200, 59 * 240, 24000, 595200 - 60000, 33000}));
    init_with({{"ORIENTATION", "3"}, {"PAPER.SIZE", "6"}, {"TEXTLEN", "10"}});
    EXPECT_EQ(page(), (Page{4980 * 240, 792000, 14400, 36000, 120000, 45000}));

    for (char const* pitch : {"0", "-10", "nan", "inf", "abc"}) {
        init_with({{"PITCH", pitch}});
        EXPECT_EQ(env.hmi, 7200) << pitch;
    }
    init_with({{"SYMSET", "18N"}});
    EXPECT_EQ(env.text_method, 1008);
    init_with({{"SYMSET", "8u"}});
    EXPECT_EQ(font[0].symset, cv_symset_supported(309) ? 309 : 149);
    for (char const* name : {"8", "119U", "X8U", "8?"}) {
        init_with({{"SYMSET", name}});
        EXPECT_EQ(font[0].symset, 149) << name;
    }
    init_with({{"SYMSET", "0N"}});
    EXPECT_EQ(font[1].symset, cv_symset_supported(14) ? 14 : 149);
    // Characters are not validated: ':' counts as the digit ten, so ":U" is 10U.
    init_with({{"SYMSET", ":U"}});
    EXPECT_EQ(font[0].symset, 341);

    // The flags are read after the defaults were saved: the configured page
    // length (vmi 76968; 128 lines would need 6575) was not adapted.
    config_add_value("CONFIG", "BCOMPAT", "2");
    config_add_value("DEFAULT", "LINES", "10");
    config_add_value("DEFAULT", "PAGELEN", "128");
    pcl_init();
    EXPECT_EQ(compat_f, 2);
    EXPECT_EQ(env.vmi, 76968);
}

}  // namespace
