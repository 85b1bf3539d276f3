#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "pcl/ps/rect_output.h"
#include "pcl/ps/text_emitter.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class RectOutput : public ::testing::Test {
protected:
    void SetUp() override
    {
        ps_document_reset();
        config_clear();
        env = pcl_env{};
        env.paper_width = 612000;
        env.paper_height = 792000;
        env.page_xofs = 18000;
        genps = 1;
        out_ = std::make_unique<OutputCapture>();
    }

    void TearDown() override
    {
        out_.reset();
        genps = 0;
    }

    std::string take()
    {
        std::string const s = out_->str();
        std::string const part = s.substr(mark_);
        mark_ = s.size();
        return part;
    }

    // The colour line of one filled rectangle.
    std::string fill_color(uint32_t color, int percent)
    {
        env.fg_color = color;
        ps_rect_fill(72000, 72000, percent);
        std::string const s = take();
        size_t const a = s.rfind("gsave\n");
        size_t const b = s.find("fill\n");
        if (a == std::string::npos || b == std::string::npos)
            return "<bad: " + s + ">";
        return s.substr(a + 6, b - a - 6);
    }

    std::unique_ptr<OutputCapture> out_;
    size_t mark_ = 0;
};

TEST_F(RectOutput, FirstRectangleStartsTheDocument)
{
    ps_rect_fill(144000, 72000, 100);
    std::string const s = take();
    EXPECT_EQ(s.rfind("%!PS-Adobe-3.0\n", 0), 0u);
    std::string const page = s.substr(s.find("%%Page: 1 1\n"));
    EXPECT_EQ(page,
              "%%Page: 1 1\n"
              "newpath\n"
              "18 720 moveto\n"
              "0 72 rlineto\n"
              "144 0 rlineto\n"
              "0 -72 rlineto\n"
              "-144 0 rlineto\n"
              "closepath\n"
              "gsave\n"
              "0 setgray\n"
              "fill\n"
              "grestore\n");
    EXPECT_EQ(env.pos_changed, 1);
}

TEST_F(RectOutput, ZeroHeightAndPageChange)
{
    ps_rect_fill(0, 0, 100);
    take();
    env.cur_x = 36000;
    env.cur_y = 72000;
    ps_rect_fill(72000, 0, 100);
    EXPECT_EQ(take(),
              "newpath\n54 720 moveto\n0 0 rlineto\n72 0 rlineto\n0 -0 rlineto\n-72 0 rlineto\n"
              "closepath\ngsave\n0 setgray\nfill\ngrestore\n");

    env.page_serial = 1;
    ps_rect_fill(72000, 72000, 100);
    EXPECT_EQ(take().rfind("%%EndPage: 1 1\nshowpage\n\n%%Page: 2 2\nnewpath\n", 0), 0u);
}

TEST_F(RectOutput, ShadingWithBlack)
{
    EXPECT_EQ(fill_color(0, 100), "0 setgray\n");
    EXPECT_EQ(fill_color(0, 0), "1 setgray\n");
    EXPECT_EQ(fill_color(0, 21), "0.79 setgray\n");
    EXPECT_EQ(fill_color(0, 1), "0.99 setgray\n");
    // Out-of-range shadings are held to 0..100.
    EXPECT_EQ(fill_color(0, 250), "0 setgray\n");
    EXPECT_EQ(fill_color(0, -5), "1 setgray\n");
}

TEST_F(RectOutput, ColouredForegroundBlendsTowardWhite)
{
    EXPECT_EQ(fill_color(0xFF0000, 100), "1 0 0 setrgbcolor\n");
    EXPECT_EQ(fill_color(0xFF0000, 0), "1 1 1 setrgbcolor\n");
    EXPECT_EQ(fill_color(0xFF0000, 50), "1 0.5 0.5 setrgbcolor\n");
    EXPECT_EQ(fill_color(0x0000FF, 21), "0.79 0.79 1 setrgbcolor\n");
    // Grey foregrounds stay grey levels; white is white at any shading.
    EXPECT_EQ(fill_color(0x808080, 100), "0.501961 setgray\n");
    EXPECT_EQ(fill_color(0x808080, 0), "1 setgray\n");
    EXPECT_EQ(fill_color(0xFFFFFF, 100), "1 setgray\n");

    // The fill colour lives inside gsave/grestore: the text colour memory
    // is untouched.
    ps_last_color = 0x00FF00;
    fill_color(0xFF0000, 100);
    EXPECT_EQ(ps_last_color, 0x00FF00u);
}

}  // namespace
