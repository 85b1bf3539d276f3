#include "pcl/ps/rect_output.h"

#include <cstdint>

#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "pcl/ps/writer.h"

namespace {

// The page on which the shading procedures were last defined. They are
// defined on every page that shades, so that each page can be printed on its
// own (a print server may extract or reorder pages).
int shading_page = 0;

// Shaded fills are drawn as a pattern of dots in the foreground colour on an
// unpainted background, as a printer's halftone cell is: marks already on the
// page stay visible between the dots. A cell of 2.4 points holds one square
// dot whose area is the shading's share of the cell. SHP makes (and keeps for
// the page) the pattern of a percentage; SHG and SHC fill the current path
// with it in a grey level or an RGB colour.
constexpr char kShadingProcs[] = R"PS(/SHD 16 dict def
/SHP { % percent -> pattern
  SHD 1 index known not {
    dup dup 100 div sqrt 2.4 mul
    << /PatternType 1 /PaintType 2 /TilingType 1
       /BBox [0 0 2.4 2.4] /XStep 2.4 /YStep 2.4
       /PaintProc { begin 1.2 Side 2 div sub dup Side Side rectfill end } >>
    dup /Side 4 -1 roll put
    matrix makepattern SHD 3 1 roll put
  } if
  SHD exch get
} bind def
/SHG { SHP [/Pattern /DeviceGray] setcolorspace setcolor fill } bind def
/SHC { SHP [/Pattern /DeviceRGB] setcolorspace setcolor fill } bind def
)PS";

// Fills the current path with a shading of 1..99 percent as dots in the
// foreground colour.
void write_shading_fill(uint32_t color, int percent)
{
    if (shading_page != ps_page_counter) {
        ps_put(kShadingProcs);
        shading_page = ps_page_counter;
    }
    uint32_t const rb = (color >> 16) & 0xff;
    uint32_t const gb = (color >> 8) & 0xff;
    uint32_t const bb = color & 0xff;
    if (rb == gb && gb == bb) {
        ps_put_num(rb / 255.0);
        ps_put(' ');
        ps_put_int(percent);
        ps_put(" SHG\n");
    } else {
        ps_put_nums({rb / 255.0, gb / 255.0, bb / 255.0});
        ps_put(' ');
        ps_put_int(percent);
        ps_put(" SHC\n");
    }
}

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
    if (percent > 0 && percent < 100 && !compat_legacy()) {
        write_shading_fill(env.fg_color, percent);
        ps_put("grestore\n");
    } else {
        write_fill_color(env.fg_color, percent);
        ps_put("fill\ngrestore\n");
    }

    env.pos_changed = 1;
}

void ps_rect_output_reset() { shading_page = 0; }
