#include "pcl/ps/rect_output.h"

#include <cstdint>
#include <cstdio>

#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "run_mode.h"

namespace {

double to_points(int32_t v)
{
    return static_cast<double>(v) * 72.0 / 72000.0;
}

// The fill colour: the foreground colour lightened toward white by the
// shading, c' = 1 - (1 - c) * percent / 100 per component. Black keeps the
// plain grey level (100 - percent) / 100; a grey foreground stays a grey
// level, any other colour is written as RGB. A solid fill (100) is the
// foreground colour itself and a white fill (0) is white in every colour.
void write_fill_color(uint32_t color, int percent)
{
    if (color == 0) {
        std::fprintf(outfp, "%g setgray\n", (100 - percent) / 100.0);
        return;
    }
    double const shade = percent / 100.0;
    double const r = 1.0 - (1.0 - ((color >> 16) & 0xff) / 255.0) * shade;
    double const g = 1.0 - (1.0 - ((color >> 8) & 0xff) / 255.0) * shade;
    double const b = 1.0 - (1.0 - (color & 0xff) / 255.0) * shade;
    uint32_t const rb = (color >> 16) & 0xff;
    uint32_t const gb = (color >> 8) & 0xff;
    uint32_t const bb = color & 0xff;
    if (rb == gb && gb == bb)
        std::fprintf(outfp, "%g setgray\n", r);
    else
        std::fprintf(outfp, "%g %g %g setrgbcolor\n", r, g, b);
}

}  // namespace

void ps_rect_fill(int width, int height, int percent)
{
    if (!ps_sync_page())
        return;

    // The page model passes 0..100; anything else is held to that range so
    // the colour stays a valid level.
    if (percent < 0)
        percent = 0;
    else if (percent > 100)
        percent = 100;

    double const x = to_points(env.cur_x) + ps_origin_x;
    double const top = ps_origin_y - to_points(env.cur_y);
    double const w = to_points(width);
    double const h = to_points(height);

    std::fprintf(outfp,
                 "newpath\n"
                 "%g %g moveto\n"
                 "0 %g rlineto\n"
                 "%g 0 rlineto\n"
                 "0 %g rlineto\n"
                 "%g 0 rlineto\n"
                 "closepath\n"
                 "gsave\n",
                 x, top - h, h, w, -h, -w);
    write_fill_color(env.fg_color, percent);
    std::fputs("fill\ngrestore\n", outfp);

    env.pos_changed = 1;
}
