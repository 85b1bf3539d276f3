// Fill colours of shaded rectangles; the path and page handling are pinned
// by the ps_rect golden cases.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "pcl/ps/rect_output.h"
#include "pcl/ps/text_emitter.h"
#include "ps_support.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

TEST(RectOutput, FillColourFromForegroundAndShading)
{
    reset_ps_state();
    OutputCapture out;
    struct Case {
        uint32_t color;
        int percent;
        char const* line;
    } const cases[] = {
        {0, 100, "0 setgray"}, {0, 0, "1 setgray"}, {0, 21, "0.79 setgray"}, {0, 1, "0.99 setgray"},
        {0, 250, "0 setgray"}, {0, -5, "1 setgray"},  // held to 0..100
        {0xFF0000, 100, "1 0 0 setrgbcolor"}, {0xFF0000, 0, "1 1 1 setrgbcolor"},
        {0xFF0000, 50, "1 0.5 0.5 setrgbcolor"}, {0x0000FF, 21, "0.79 0.79 1 setrgbcolor"},
        // Grey foregrounds stay grey levels; white is white at any shading.
        {0x808080, 100, "0.501961 setgray"}, {0x808080, 0, "1 setgray"}, {0xFFFFFF, 100, "1 setgray"},
    };
    for (Case const& c : cases) {
        env.fg_color = c.color;
        size_t const mark = out.str().size();
        ps_rect_fill(72000, 72000, c.percent);
        std::string const s = out.str().substr(mark);
        EXPECT_NE(s.find(std::string("gsave\n") + c.line + "\nfill\ngrestore\n"), std::string::npos)
            << std::hex << c.color << " " << std::dec << c.percent << ":\n" << s;
    }
    // The fill colour lives inside gsave/grestore: the text colour memory is untouched.
    ps_last_color = 0x00FF00;
    ps_rect_fill(72000, 72000, 100);
    EXPECT_EQ(ps_last_color, 0x00FF00u);
    genps = 0;
}

}  // namespace
