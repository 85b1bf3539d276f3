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
        bool legacy;  // compatibility bit 4: shading as an opaque lighter colour
        char const* line;
    } const cases[] = {
        {0, 100, false, "0 setgray\nfill"},
        {0, 0, false, "1 setgray\nfill"},
        {0, 250, false, "0 setgray\nfill"},
        {0, -5, false, "1 setgray\nfill"},  // held to 0..100
        {0xFF0000, 100, false, "1 0 0 setrgbcolor\nfill"},
        {0xFF0000, 0, false, "1 1 1 setrgbcolor\nfill"},
        {0x808080, 100, false, "0.501961 setgray\nfill"},
        {0xFFFFFF, 100, false, "1 setgray\nfill"},
        // Shading: dots of the foreground colour, grey or RGB.
        {0, 21, false, "0 21 SHG"},
        {0, 1, false, "0 1 SHG"},
        {0xFF0000, 50, false, "1 0 0 50 SHC"},
        {0x808080, 36, false, "0.501961 36 SHG"},
        {0, 21, true, "0.79 setgray\nfill"},
        {0, 1, true, "0.99 setgray\nfill"},
        {0xFF0000, 50, true, "1 0.5 0.5 setrgbcolor\nfill"},
        {0x0000FF, 21, true, "0.79 0.79 1 setrgbcolor\nfill"},
        {0x808080, 0, true, "1 setgray\nfill"},
    };
    for (Case const& c : cases) {
        env.fg_color = c.color;
        compat_f = c.legacy ? COMPAT_LEGACY : 0;
        size_t const mark = out.str().size();
        ps_rect_fill(72000, 72000, c.percent);
        std::string const s = out.str().substr(mark);
        EXPECT_NE(s.find(std::string("\n") + c.line + "\ngrestore\n"), std::string::npos)
            << std::hex << c.color << " " << std::dec << c.percent << ":\n"
            << s;
    }
    compat_f = 0;
    // The shading procedures are defined once on the page that first shades.
    std::string const all = out.str();
    EXPECT_EQ(all.find("/SHP {"), all.rfind("/SHP {"));
    EXPECT_LT(all.find("/SHP {"), all.find(" SHG"));
    // The fill colour lives inside gsave/grestore: the text colour memory is untouched.
    ps_last_color = 0x00FF00;
    ps_rect_fill(72000, 72000, 100);
    EXPECT_EQ(ps_last_color, 0x00FF00u);
    genps = 0;
}

}  // namespace
