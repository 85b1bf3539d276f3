#include "converter_test.h"
#include "pcl/rectangles.h"

namespace {

class Rectangles : public testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { tarvo_reset(); }
};

// Sizes, shading levels, fill types and hostile sizes are the rect_edges
// golden case.
TEST_F(Rectangles, ColoursAndPalettes)
{
    // Black-and-white palette, then the eight-colour one; odd values are
    // odd in two's complement too. The palette stack is traced in the
    // env_settings golden case.
    int const colours[][3] = {
        {1, 0, 0xFFFFFF}, {1, -1, 0}, {3, 2, 0x00FF00}, {3, 9, 0xFF0000}, {3, -2, 0x00FFFF}};
    for (auto const& c : colours) {
        pcl_simple_color(c[0]);
        pcl_foreground_color(c[1]);
        EXPECT_EQ(env.fg_color, static_cast<uint32_t>(c[2])) << c[0] << " " << c[1];
    }
    pcl_palette_push_pop(-1e308);
    pcl_palette_push_pop(1);  // empty: nothing happens
    EXPECT_EQ((std::array{env.palette, env.palette_sp}), (std::array{3, 0}));
    env.palette = 7;
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { pcl_foreground_color(1); }), "Unknown: unsupported palette 7\n");
    EXPECT_EQ(env.fg_color, 0x00FFFFu);
}

}  // namespace
