#include "pcl/rectangles.h"

#include <cstdio>
#include <limits>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/ps/rect_output.h"
#include "pcl/raster.h"
#include "run_mode.h"

namespace {

constexpr int palette_stack_size = 3;

// The rectangle is drawn with the absolute size; the most negative size has
// no positive counterpart and becomes the largest one.
int32_t magnitude(int32_t v)
{
    if (v == std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::max();
    return v < 0 ? -v : v;
}

constexpr uint32_t rgb_palette[8] = {
    0x000000,  // black
    0xFF0000,  // red
    0x00FF00,  // green
    0xFFFF00,  // yellow
    0x0000FF,  // blue
    0xFF00FF,  // magenta
    0x00FFFF,  // cyan
    0xFFFFFF,  // white
};

}  // namespace

int rect_shading_percent(int32_t id)
{
    if (id <= 2)
        return 1;
    if (id <= 10)
        return 3;
    if (id <= 20)
        return 11;
    if (id <= 35)
        return 21;
    if (id <= 55)
        return 36;
    if (id <= 80)
        return 56;
    if (id <= 99)
        return 81;
    return 100;
}

// A PCL-unit size needs a unit of measure of at least 1; otherwise the size
// stays as it was.
void pcl_rect_w(double value)
{
    if (env.units > 0)
        env.rect_width = to_int(pcl2in(value));
}

void pcl_rect_dw(double value) { env.rect_width = to_int(dcp2in(value)); }

void pcl_rect_h(double value)
{
    if (env.units > 0)
        env.rect_height = to_int(pcl2in(value));
}

void pcl_rect_dh(double value) { env.rect_height = to_int(dcp2in(value)); }

void pcl_pattern_id(double value) { env.pattern_id = to_int(value); }

void pcl_rect_fill(double value)
{
    int32_t const t = to_int(value);
    int percent;
    switch (t) {
    case 0:
        percent = 100;
        break;
    case 1:
        percent = 0;
        break;
    case 2:
        if (env.pattern_id < 0 || env.pattern_id > 100)
            return;
        percent = rect_shading_percent(env.pattern_id);
        break;
    default:
        if (verbose)
            std::printf("Unknown: fill rectangular area %d", t);
        return;
    }
    if (genps)
        ps_rect_fill(magnitude(env.rect_width), magnitude(env.rect_height), percent);
    env.page_dirty = 1;
}

void pcl_simple_color(double value)
{
    int32_t const v = to_int(value);
    if (v == 1 || v == 3)
        env.palette = v;
    else if (verbose)
        std::printf("Unknown: simple color palette %d\n", v);
}

void pcl_foreground_color(double value)
{
    int32_t const i = to_int(value);
    // Configured image data brings its own palette (as programmed); the
    // CMY and KCMY simple palettes are the eight colours inverted, the
    // KCMY's first plane black.
    uint32_t color = 0;
    if (raster_palette_color(i, color))
        env.fg_color = color;
    else if (env.palette == -3)
        env.fg_color = 0xFFFFFFu ^ rgb_palette[i & 7];
    else if (env.palette == -4)
        env.fg_color = (i & 1) ? 0x000000u : 0xFFFFFFu ^ rgb_palette[(i >> 1) & 7];
    else if (env.palette == 1)
        env.fg_color = (i & 1) ? 0x000000u : 0xFFFFFFu;
    else if (env.palette == 3)
        env.fg_color = rgb_palette[i & 7];
    else if (verbose)
        std::printf("Unknown: unsupported palette %d\n", env.palette);
}

void pcl_palette_push_pop(double value)
{
    if (to_int(value) == 0) {
        if (env.palette_sp < palette_stack_size) {
            env.palette_stack[env.palette_sp] = env.palette;
            raster_palette_push(env.palette_sp);
            env.palette_sp += 1;
        } else if (verbose) {
            std::printf("Unable to push palette\n");
        }
    } else if (env.palette_sp > 0) {
        env.palette_sp -= 1;
        env.palette = env.palette_stack[env.palette_sp];
        raster_palette_pop(env.palette_sp);
    }
}
