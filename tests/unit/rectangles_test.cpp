#include "converter_test.h"
#include "pcl/rectangles.h"

namespace {

class Rectangles : public testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { verbose = genps = 0; }
};

TEST_F(Rectangles, SizesAndFills)
{
    pcl_rect_w(300);
    pcl_rect_h(150);
    pcl_units(7200);
    pcl_rect_dw(-720.5);  // kept with its sign
    pcl_units(0);         // refused: the PCL-unit forms stay usable
    pcl_rect_h(-1);       // multiplied before dividing
    EXPECT_EQ(env.rect_width, -72050);
    EXPECT_EQ(env.rect_height, -10);
    env.units = 0;
    pcl_rect_h(5);
    EXPECT_EQ(env.rect_height, -10);

    int const levels[][2] = {{0, 1}, {2, 1}, {3, 3}, {10, 3}, {35, 21}, {36, 36}, {99, 81}, {100, 100}};
    for (auto const& l : levels)
        EXPECT_EQ(rect_shading_percent(l[0]), l[1]) << l[0];

    for (double type : {0.0, 1.0, 2.9}) {
        env.page_dirty = 0;
        pcl_rect_fill(type);
        EXPECT_EQ(env.page_dirty, 1) << type;
    }
    env.page_dirty = 0;
    pcl_rect_fill(3);
    for (double id : {101.0, -1.0, 1e308}) {
        pcl_pattern_id(id);
        pcl_rect_fill(2);
    }
    EXPECT_EQ(env.page_dirty, 0);
    genps = 1;  // the most negative size still has a magnitude to draw
    pcl_rect_dw(-1e308);
    pcl_rect_fill(0);
    EXPECT_EQ(env.rect_width, std::numeric_limits<int32_t>::min());
}

TEST_F(Rectangles, ColoursAndPaletteStack)
{
    pcl_foreground_color(0);
    EXPECT_EQ(env.fg_color, 0xFFFFFFu);
    pcl_foreground_color(-1);  // odd in two's complement
    EXPECT_EQ(env.fg_color, 0x000000u);
    pcl_simple_color(3);
    pcl_foreground_color(2);
    EXPECT_EQ(env.fg_color, 0x00FF00u);
    pcl_foreground_color(9);
    EXPECT_EQ(env.fg_color, 0xFF0000u);
    pcl_foreground_color(-2);
    EXPECT_EQ(env.fg_color, 0x00FFFFu);

    // Traced in the env_settings golden case.
    pcl_simple_color(-3);
    pcl_palette_push_pop(0);
    pcl_simple_color(1);
    for (int i = 0; i < 3; ++i)
        pcl_palette_push_pop(0);
    pcl_palette_push_pop(1);
    pcl_palette_push_pop(1);
    EXPECT_EQ(env.palette, 1);
    pcl_palette_push_pop(-1e308);
    pcl_palette_push_pop(1);  // empty: nothing happens
    EXPECT_EQ(env.palette, 3);
    EXPECT_EQ(env.palette_sp, 0);

    env.palette = 7;
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_foreground_color(1); }), "Unknown: unsupported palette 7\n");
    EXPECT_EQ(env.fg_color, 0x00FFFFu);
}

}  // namespace
