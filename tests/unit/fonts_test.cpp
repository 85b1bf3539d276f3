// Hostile values and the font list; the derived pitch and motion index, the
// pending secondary entry and the underline commands are the font_commands
// golden case.
#include "converter_test.h"

namespace {

class Fonts : public ::testing::Test {
protected:
    void SetUp() override
    {
        tarvo_reset();
        env.hmi = 7200;
        env.font_serial = 100;
    }

    static std::vector<int32_t> ids()
    {
        std::vector<int32_t> out;
        for (font_node const& n : font_list)
            out.push_back(n.id);
        return out;
    }
};

TEST_F(Fonts, RejectedAndHostileValues)
{
    pcl_font const before = font[0];
    for (double v : {0.0, -3.0, std::nan(""), -1e308})
        pcl_font_pitch(v), pcl_font_size(v);
    for (double v : {2.0, -1.0})
        pcl_font_spacing(v);
    for (double v : {3.0, -1e308})
        pcl_font_pitch_mode(v);
    for (double v : {3.0, 7.0, -1.0})
        pcl_font_ctl(v);
    EXPECT_TRUE(font_list.empty());
    EXPECT_TRUE(before == font[0]);
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(env.font_serial, 100);

    // Clamped to the field's range, truncated, saturated or zero for NaN.
    struct Clamp {
        void (*set)(double);
        double value;
        int32_t pcl_font::*field;
        int32_t expected;
    };
    Clamp const clamps[] = {
        {pcl_font_stroke, 9, &pcl_font::stroke, 7},
        {pcl_font_stroke, -12, &pcl_font::stroke, -7},
        {pcl_font_stroke, 1e308, &pcl_font::stroke, 7},
        {pcl_font_stroke, -1e308, &pcl_font::stroke, -7},
        {pcl_font_style, -1, &pcl_font::style, 1},
        {pcl_font_style, 40000, &pcl_font::style, 32767},
        {pcl_font_style, -1e308, &pcl_font::style, 32767},
        {pcl_font_typeface, 70000, &pcl_font::typeface, 65535},
        {pcl_font_typeface, -2147483648.0, &pcl_font::typeface, 65535},
        {pcl_font_typeface, std::nan(""), &pcl_font::typeface, 0},
        {pcl_font_spacing, 1.9, &pcl_font::spacing, 1},
    };
    for (Clamp const& c : clamps) {
        c.set(c.value);
        EXPECT_EQ(font[0].*c.field, c.expected) << c.value;
    }

    font[0].spacing = 0;
    pcl_font_pitch(1e308);
    EXPECT_EQ(env.hmi, 0);
    pcl_font_pitch(1e-300);
    EXPECT_EQ(env.hmi, INT32_MAX);
    font[0].spacing = 1;
    pcl_font_size(1e308);
    EXPECT_EQ(env.hmi, INT32_MAX);
    pcl_font_size(std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(env.hmi, 0);
}

TEST_F(Fonts, FontListAssignResetAndDelete)
{
    // Assigning twice keeps one node with the active entry's latest values.
    pcl_font_id(5), pcl_font_ctl(6);
    env.font_sel = 1;
    font[1].typeface = 7;
    pcl_font_ctl(6);
    ASSERT_EQ(ids(), std::vector<int32_t>{5});
    EXPECT_EQ(font_list[0].type, TEMPORARY);
    EXPECT_EQ(font_list[0].font.typeface, 7);
    pcl_font_ctl(2);

    for (int id : {1, 2, 3, 4})
        pcl_font_id(id), pcl_font_ctl(6);
    pcl_font_id(3), pcl_font_ctl(5);
    pcl_font_id(1), pcl_font_ctl(5);
    pcl_font_id(99), pcl_font_ctl(2);  // no such node
    fnt_reset();
    EXPECT_EQ(ids(), (std::vector<int32_t>{1, 3}));

    // A permanent node made temporary again dies at the next reset.
    pcl_font_id(3), pcl_font_ctl(4), pcl_font_ctl(1);
    EXPECT_EQ(ids(), std::vector<int32_t>{1});
    pcl_font_ctl(0);
    EXPECT_TRUE(font_list.empty());
}

TEST_F(Fonts, FontListIsBounded)
{
    for (size_t id = 0; id < FONT_LIST_MAX; ++id)
        pcl_font_id(static_cast<double>(id)), pcl_font_ctl(6);
    pcl_font_id(-5);
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_font_ctl(6); }), "Unknown: font list full\n");
    EXPECT_EQ(font_list.size(), FONT_LIST_MAX);
    // Existing IDs can still be reassigned, and room made by deleting.
    pcl_font_id(0), pcl_font_ctl(6), pcl_font_ctl(2);
    pcl_font_id(-5), pcl_font_ctl(6);
    EXPECT_EQ(font_list.back().id, -5);
    EXPECT_EQ(font_list.size(), FONT_LIST_MAX);
}

}  // namespace
