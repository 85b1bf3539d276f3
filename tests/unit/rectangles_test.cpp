#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/rectangles.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class Rectangles : public testing::Test {
protected:
    void SetUp() override
    {
        config_clear();
        verbose = 0;
        genps = 0;
        pcl_init();
    }
    void TearDown() override { verbose = 0; }
};

TEST_F(Rectangles, SizesInPclUnitsAndDecipoints)
{
    pcl_rect_w(300);
    pcl_rect_h(150);
    EXPECT_EQ(env.rect_width, 72000);
    EXPECT_EQ(env.rect_height, 36000);
    pcl_rect_dw(720);
    pcl_rect_dh(0.5);
    EXPECT_EQ(env.rect_width, 72000);
    EXPECT_EQ(env.rect_height, 50);
    pcl_units(7200);
    pcl_rect_w(1);  // multiplied before dividing: 10 exactly
    EXPECT_EQ(env.rect_width, 10);
    pcl_rect_w(-300);  // kept with its sign
    EXPECT_EQ(env.rect_width, -3000);

    env.units = 0;  // no usable unit: the size stays
    pcl_rect_w(5);
    pcl_rect_h(5);
    EXPECT_EQ(env.rect_width, -3000);
    EXPECT_EQ(env.rect_height, 50);

    pcl_rect_dw(1e308);
    pcl_rect_dh(-1e308);
    EXPECT_EQ(env.rect_width, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(env.rect_height, std::numeric_limits<int32_t>::min());
    pcl_rect_dw(std::nan(""));
    pcl_pattern_id(-1e308);
    EXPECT_EQ(env.rect_width, 0);
    EXPECT_EQ(env.pattern_id, std::numeric_limits<int32_t>::min());
}

TEST_F(Rectangles, ShadingLevelsMapToTheLowerBoundOfTheirRange)
{
    struct {
        int id, percent;
    } const cases[] = {{0, 1},   {2, 1},   {3, 3},   {10, 3},  {11, 11}, {20, 11},
                       {21, 21}, {25, 21}, {35, 21}, {36, 36}, {55, 36}, {56, 56},
                       {80, 56}, {81, 81}, {99, 81}, {100, 100}};
    for (auto const& c : cases)
        EXPECT_EQ(rect_shading_percent(c.id), c.percent) << c.id;
}

TEST_F(Rectangles, FillAcceptsThreeTypesAndMarksThePage)
{
    for (double type : {0.0, 1.0, 2.9}) {
        env.page_dirty = 0;
        pcl_rect_fill(type);
        EXPECT_EQ(env.page_dirty, 1) << type;
    }

    env.page_dirty = 0;
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_rect_fill(3); }), "Unknown: fill rectangular area 3");
    EXPECT_EQ(capture_stdout([] { pcl_rect_fill(-1e308); }),
              "Unknown: fill rectangular area -2147483648");
    EXPECT_EQ(env.page_dirty, 0);

    // A shaded fill with an area-fill ID outside 0..100 does nothing at all.
    for (double id : {101.0, -1.0, 1e308}) {
        pcl_pattern_id(id);
        EXPECT_EQ(capture_stdout([] { pcl_rect_fill(2); }), "");
        EXPECT_EQ(env.page_dirty, 0);
    }
    pcl_pattern_id(100);
    pcl_rect_fill(2);
    EXPECT_EQ(env.page_dirty, 1);

    // With PostScript generation the extreme negative size still fills.
    genps = 1;
    pcl_rect_dw(-1e308);
    pcl_rect_fill(0);
    genps = 0;
}

TEST_F(Rectangles, SimpleAndForegroundColours)
{
    pcl_foreground_color(0);
    EXPECT_EQ(env.fg_color, 0xFFFFFFu);
    pcl_foreground_color(1);
    EXPECT_EQ(env.fg_color, 0x000000u);
    pcl_foreground_color(-1);  // odd in two's complement
    EXPECT_EQ(env.fg_color, 0x000000u);

    pcl_simple_color(3);
    EXPECT_EQ(env.fg_color, 0x000000u);  // the palette alone keeps the colour
    pcl_foreground_color(2);
    EXPECT_EQ(env.fg_color, 0x00FF00u);
    pcl_foreground_color(9);
    EXPECT_EQ(env.fg_color, 0xFF0000u);
    pcl_foreground_color(-2);  // ...11110: 6, cyan
    EXPECT_EQ(env.fg_color, 0x00FFFFu);
    pcl_foreground_color(std::nan(""));
    EXPECT_EQ(env.fg_color, 0x000000u);

    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_simple_color(-3); }), "Unknown: simple color palette -3\n");
    EXPECT_EQ(env.palette, 3);
    env.palette = 7;
    env.fg_color = 0x123456;
    EXPECT_EQ(capture_stdout([] { pcl_foreground_color(1); }), "Unknown: unsupported palette 7\n");
    EXPECT_EQ(env.fg_color, 0x123456u);
}

TEST_F(Rectangles, PaletteStackHoldsThree)
{
    verbose = 1;
    std::string out = capture_stdout([] {
        pcl_palette_push_pop(0);
        pcl_simple_color(3);
        pcl_palette_push_pop(0);
        pcl_palette_push_pop(0);
        pcl_palette_push_pop(0);
    });
    EXPECT_EQ(out, "Unable to push palette\n");
    EXPECT_EQ(env.palette_sp, 3);
    pcl_simple_color(1);
    pcl_palette_push_pop(1);
    EXPECT_EQ(env.palette, 3);
    pcl_palette_push_pop(1);
    pcl_palette_push_pop(-1e308);
    EXPECT_EQ(env.palette, 1);
    EXPECT_EQ(env.palette_sp, 0);
    EXPECT_EQ(capture_stdout([] { pcl_palette_push_pop(1); }), "");
    EXPECT_EQ(env.palette, 1);
}

}  // namespace
