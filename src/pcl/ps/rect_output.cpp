#include "pcl/ps/rect_output.h"

#include <cstdint>

#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "pcl/ps/writer.h"

namespace {

// The fill colour: the foreground colour lightened toward white by the
// shading, c' = 1 - (1 - c) * percent / 100 per component. Black keeps the
// plain grey level (100 - percent) / 100; a grey foreground stays a grey
// level, any other colour is written as RGB. A solid fill (100) is the
// foreground colour itself and a white fill (0) is white in every colour.
void write_fill_color(uint32_t color, int percent)
{
    if (color == 0) {
        ps_put_num((100 - percent) / 100.0);
        ps_put(" setgray\n");
        return;
    }
    double const shade = percent / 100.0;
    double const r = 1.0 - (1.0 - ((color >> 16) & 0xff) / 255.0) * shade;
    double const g = 1.0 - (1.0 - ((color >> 8) & 0xff) / 255.0) * shade;
    double const b = 1.0 - (1.0 - (color & 0xff) / 255.0) * shade;
    uint32_t const rb = (color >> 16) & 0xff;
    uint32_t const gb = (color >> 8) & 0xff;
    uint32_t const bb = color & 0xff;
    if (rb == gb && gb == bb) {
        ps_put_num(r);
        ps_put(" setgray\n");
    } else {
        ps_put_nums({r, g, b});
        ps_put(" setrgbcolor\n");
    }
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

    double const h = ps_points(height);
    ps_put_rect_path(ps_x(env.cur_x), ps_y(env.cur_y) - h, ps_points(width), h);
    ps_put("gsave\n");
    write_fill_color(env.fg_color, percent);
    ps_put("fill\ngrestore\n");

    env.pos_changed = 1;
}
