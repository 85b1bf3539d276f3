// The reset, hostile values and configured defaults of the page model. Page
// sizes, orientations, lengths and margins are the env_settings,
// env_margins* and env_config* golden cases.
#include "converter_test.h"

namespace {

class Environment : public testing::Test {
protected:
    void SetUp() override { init_with({}); }
    // Re-runs the start-up with the given DEFAULT items.
    static void init_with(std::initializer_list<std::pair<char const*, char const*>> items)
    {
        tarvo_reset();
        for (auto const& [item, value] : items)
            config_add_value("DEFAULT", item, value);
        pcl_init();
    }
};

TEST_F(Environment, ResetRestoresTheStartUpState)
{
    EXPECT_TRUE(env == default_env);
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
    EXPECT_TRUE(env == default_env);
    EXPECT_EQ(font[0].pitch, 10.0);

    default_env.vmi = 9000;  // as if LINES or PITCH had been configured
    pcl_orientation(2);
    EXPECT_EQ(env.vmi, 9000);
    pcl_orientation(1);  // the other group gets the built-in spacing
    EXPECT_EQ(env.vmi, 12000);
}

TEST_F(Environment, HostileValues)
{
    pcl_units(600);
    EXPECT_EQ(pcl2in(1), 120.0);
    for (double v : {1e308, -1e308, std::nan(""), 0.0}) {
        for (auto handler :
             {pcl_margin_left, pcl_margin_right, pcl_margin_top, pcl_text_length, pcl_page_length,
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

TEST_F(Environment, ConfiguredPitchAndSymbolSet)
{
    init_with({{"PITCH", "12"}, {"LINES", "50"}});
    EXPECT_EQ((std::array{env.hmi, env.font_serial, env.vmi}), (std::array{6000, 2, 15393}));
    EXPECT_EQ(default_font[1].pitch, 12.0);
    EXPECT_TRUE(env == default_env);
    for (char const* pitch : {"0", "-10", "nan", "inf", "abc"}) {
        init_with({{"PITCH", pitch}});
        EXPECT_EQ(env.hmi, 7200) << pitch;
    }
    init_with({{"SYMSET", "18N"}});
    EXPECT_EQ(env.text_method, 1008);
    init_with({{"SYMSET", "8u"}});
    EXPECT_EQ(font[0].symset, SS_9U);  // the letter counts as its byte: "8u" is 309, the code of 9U
    for (char const* name : {"8", "119U", "X8U", "8?"}) {
        init_with({{"SYMSET", name}});
        EXPECT_EQ(font[0].symset, 149) << name;
    }
    // Characters are not validated: ':' counts as the digit ten, so ":U" is 10U.
    init_with({{"SYMSET", ":U"}});
    EXPECT_EQ(font[1].symset, 341);
}

}  // namespace
