#include <cmath>
#include <cstring>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "pcl/fonts.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class Fonts : public ::testing::Test {
protected:
    void SetUp() override
    {
        verbose = 0;
        fontind = 0;
        font[0] = font[1] = font_defaults;
        env = pcl_env{};
        env.font_sel = 0;
        env.hmi = 7200;
        env.font_serial = 100;
        while (font_list)
            fnt_free(font_list);
    }

    static int list_length()
    {
        int n = 0;
        for (font_node* fp = font_list; fp; fp = fp->next)
            ++n;
        return n;
    }
};

TEST_F(Fonts, PointSizeEstimatesPitchOfProportionalEntry)
{
    pcl_font_spacing(1);
    EXPECT_EQ(env.font_serial, 101);

    pcl_font_size(12);
    EXPECT_DOUBLE_EQ(font[0].pitch, 10.0);
    EXPECT_EQ(env.hmi, 7200);

    // 72000 / 17.142857142857146 is 4199.999999999999: truncated, not rounded.
    pcl_font_size(7);
    EXPECT_EQ(font[0].pitch, 17.142857142857146);
    EXPECT_EQ(env.hmi, 4199);
    EXPECT_EQ(env.font_serial, 103);
    EXPECT_EQ(font[0].point_size, 7.0);

    verbose = 2;
    EXPECT_EQ(capture_stdout([] { pcl_font_size(7); }),
              "font_size [0]: 7\nest. pitch = 17.1429\nHMI=4199\n");
}

TEST_F(Fonts, PointSizeOfFixedEntryKeepsPitchButRederivesHmi)
{
    font[0].pitch = 12.0;
    pcl_font_size(12);
    EXPECT_EQ(font[0].pitch, 12.0);
    EXPECT_EQ(env.hmi, 6000);
    EXPECT_EQ(env.font_serial, 101);
}

TEST_F(Fonts, ChangesToInactiveEntryWaitForShift)
{
    fontind = 1;
    pcl_font_pitch(16.67);
    pcl_font_size(8);
    pcl_font_style(1);
    pcl_font_stroke(3);
    pcl_font_typeface(4);
    pcl_font_spacing(1);
    pcl_font_byid(9, 1);
    EXPECT_EQ(font[1].pitch, 16.67);
    EXPECT_EQ(font[1].point_size, 8.0);
    EXPECT_EQ(font[1].style, 1);
    EXPECT_EQ(font[1].stroke, 3);
    EXPECT_EQ(font[1].typeface, 4);
    EXPECT_EQ(font[1].spacing, 1);
    EXPECT_EQ(font[1].id, 9);
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(env.font_serial, 100);
    EXPECT_EQ(font[0].pitch, 10.0);

    // Once the secondary entry is active, its changes take effect at once.
    env.font_sel = 1;
    pcl_font_pitch(12);
    EXPECT_EQ(env.hmi, 6000);
    EXPECT_EQ(env.font_serial, 101);
}

TEST_F(Fonts, RejectedValuesChangeNothingAndAreReportedInAnalysis)
{
    pcl_font const before = font[0];
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_font_pitch(0); }), "Unknown: font pitch 0\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_pitch(std::nan("")); }).rfind("Unknown: font pitch ", 0), 0u);
    EXPECT_EQ(capture_stdout([] { pcl_font_size(-3); }), "Unknown: font size -3\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_spacing(2); }), "Unknown: font spacing 2\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_spacing(-1); }), "Unknown: font spacing -1\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_pitch_mode(3); }), "Unknown: font pitch 3\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_pitch_mode(-1e308); }),
              "Unknown: font pitch -2147483648\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_ctl(3); }), "Currently not implemented\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_ctl(7); }), "Unknown: font ctl 7\n");
    EXPECT_EQ(capture_stdout([] { pcl_font_ctl(-1); }), "Unknown: font ctl -1\n");
    verbose = 0;
    EXPECT_EQ(capture_stdout([] { pcl_font_size(0); }), "");
    EXPECT_EQ(capture_stdout([] { pcl_font_ctl(3); }), "");
    EXPECT_EQ(font_list, nullptr);
    EXPECT_EQ(std::memcmp(&before, &font[0], sizeof before), 0);
    EXPECT_EQ(font[1].pitch, 10.0);
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(env.font_serial, 100);
}

TEST_F(Fonts, StyleStrokeTypefaceAndSpacingAreClampedOrTruncated)
{
    pcl_font_stroke(9);
    EXPECT_EQ(font[0].stroke, 7);
    pcl_font_stroke(-12);
    EXPECT_EQ(font[0].stroke, -7);
    pcl_font_style(-1);
    EXPECT_EQ(font[0].style, 1);
    pcl_font_style(40000);
    EXPECT_EQ(font[0].style, 32767);
    pcl_font_typeface(70000);
    EXPECT_EQ(font[0].typeface, 65535);
    pcl_font_spacing(1.9);
    EXPECT_EQ(font[0].spacing, 1);

    // Values at and beyond the integer range.
    pcl_font_style(-1e308);
    EXPECT_EQ(font[0].style, 32767);
    pcl_font_typeface(-2147483648.0);
    EXPECT_EQ(font[0].typeface, 65535);
    pcl_font_typeface(std::nan(""));
    EXPECT_EQ(font[0].typeface, 0);
    pcl_font_stroke(1e308);
    EXPECT_EQ(font[0].stroke, 7);
    pcl_font_stroke(-1e308);
    EXPECT_EQ(font[0].stroke, -7);
}

TEST_F(Fonts, ExtremePitchAndSizeSaturateHmi)
{
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

TEST_F(Fonts, PitchModeSetsBothEntriesAndActiveHmi)
{
    fontind = 1;
    pcl_font_pitch_mode(2);
    EXPECT_EQ(font[0].pitch, 16.67);
    EXPECT_EQ(font[1].pitch, 16.67);
    EXPECT_EQ(env.hmi, 4319);
    EXPECT_EQ(env.font_serial, 101);
    pcl_font_pitch_mode(1);
    EXPECT_EQ(env.hmi, 14400);
    pcl_font_pitch_mode(4);
    EXPECT_EQ(env.hmi, 6000);
    pcl_font_pitch_mode(0);
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(font[0].spacing, 0);
}

TEST_F(Fonts, UnderlineModeIsFixedUntilSwitchedOff)
{
    pcl_underline_on(3);
    EXPECT_EQ(env.underline, 2);
    pcl_underline_on(0);
    EXPECT_EQ(env.underline, 2);
    pcl_underline_off(0);
    EXPECT_EQ(env.underline, 0);
    pcl_underline_on(0);
    EXPECT_EQ(env.underline, 1);
    pcl_underline_on(3);
    EXPECT_EQ(env.underline, 1);
}

TEST_F(Fonts, SelectByIdStoresOnlyTheId)
{
    font[0].pitch = 12.0;
    pcl_font const before = font[0];
    pcl_font_byid(8, 0);
    EXPECT_EQ(font[0].id, 8);
    EXPECT_EQ(font[0].pitch, before.pitch);
    EXPECT_EQ(font[0].symset, before.symset);
    EXPECT_EQ(env.hmi, 6000);
    EXPECT_EQ(env.font_serial, 101);
    EXPECT_EQ(font[1].id, 0);
}

TEST_F(Fonts, AssignTwiceKeepsOneNodeWithLatestCharacteristics)
{
    pcl_font_id(5);
    pcl_font_ctl(6);
    pcl_font_typeface(4);
    pcl_font_ctl(6);
    ASSERT_EQ(list_length(), 1);
    EXPECT_EQ(font_list->id, 5);
    EXPECT_EQ(font_list->type, TEMPORARY);
    EXPECT_EQ(font_list->font.typeface, 4);

    // The copy is of the active entry, not of the addressed one.
    env.font_sel = 1;
    fontind = 0;
    font[1].typeface = 7;
    pcl_font_ctl(6);
    EXPECT_EQ(font_list->font.typeface, 7);
}

TEST_F(Fonts, ResetRemovesTemporaryNodesAndDeletesFindTheirId)
{
    for (int id : {1, 2, 3, 4}) {
        pcl_font_id(id);
        pcl_font_ctl(6);
    }
    pcl_font_id(3);
    pcl_font_ctl(5);
    pcl_font_id(1);
    pcl_font_ctl(5);
    pcl_font_id(99);
    pcl_font_ctl(2);  // no such node
    pcl_font_ctl(4);
    EXPECT_EQ(list_length(), 4);

    fnt_reset();
    ASSERT_EQ(list_length(), 2);
    EXPECT_EQ(font_list->id, 3);
    EXPECT_EQ(font_list->next->id, 1);

    // A permanent node made temporary again dies at the next reset.
    pcl_font_id(3);
    pcl_font_ctl(4);
    pcl_font_ctl(1);
    ASSERT_EQ(list_length(), 1);
    EXPECT_EQ(font_list->id, 1);

    pcl_font_id(1);
    pcl_font_ctl(2);
    EXPECT_EQ(font_list, nullptr);
    pcl_font_ctl(6);
    pcl_font_ctl(5);
    pcl_font_ctl(0);
    EXPECT_EQ(font_list, nullptr);
}

TEST_F(Fonts, FontListIsBounded)
{
    for (size_t id = 0; id < FONT_LIST_MAX; ++id) {
        pcl_font_id(static_cast<double>(id));
        pcl_font_ctl(6);
    }
    pcl_font_id(-5);
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_font_ctl(6); }), "Unknown: font list full\n");
    EXPECT_EQ(list_length(), static_cast<int>(FONT_LIST_MAX));
    // Existing IDs can still be reassigned, and room made by deleting.
    pcl_font_id(0);
    pcl_font_ctl(6);
    pcl_font_ctl(2);
    pcl_font_id(-5);
    pcl_font_ctl(6);
    EXPECT_EQ(font_list->id, -5);
    EXPECT_EQ(list_length(), static_cast<int>(FONT_LIST_MAX));
}

TEST_F(Fonts, FreeingANodeNotOnTheListStopsTheRun)
{
    font_node stray{};
    EXPECT_DEATH(fnt_free(&stray), "pcl/parser: fnt_free: Assertion `font_list != NULL' failed");
    pcl_font_id(1);
    pcl_font_ctl(6);
    EXPECT_DEATH(fnt_free(&stray), "Assertion `fp->next != NULL' failed");
}

}  // namespace
