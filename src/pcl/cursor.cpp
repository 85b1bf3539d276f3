#include "pcl/cursor.h"

#include <cstdio>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "pcl/macros.h"
#include "pcl/raster.h"
#include "pcl/text_loop.h"
#include "run_mode.h"

namespace {

constexpr int cursor_stack_size = 20;

// A signed command value moves relative to the current position, an
// unsigned one sets it.
int32_t moved(int32_t current, int32_t distance)
{
    return movetype ? sat_add(current, distance) : distance;
}

// Spacing changes move the cursor to the first line while the page is empty,
// so that the first line's baseline follows the new spacing.
void follow_spacing()
{
    if (!env.page_dirty)
        env.cur_y = first_line_y();
}

}  // namespace

void pcl_movec(double value)
{
    env.cur_x = moved(env.cur_x, sat_mul(to_int(value), env.hmi));
    env.pos_changed = 1;
}

void pcl_movedx(double value)
{
    env.cur_x = moved(env.cur_x, to_int(dcp2in(value)));
    env.pos_changed = 1;
}

void pcl_movex(double value)
{
    // With no usable unit of measure a PCL-unit move goes nowhere.
    if (env.units > 0)
        env.cur_x = moved(env.cur_x, to_int(pcl2in(value)));
    env.pos_changed = 1;
}

void pcl_mover(double value)
{
    int32_t const rows = sat_mul(to_int(value), env.vmi);
    if (movetype)
        env.cur_y = sat_add(env.cur_y, rows);
    else if (compat_f & COMPAT_CURSOR)
        env.cur_y = sat_add(env.top_margin, rows);
    else
        env.cur_y = to_int(static_cast<double>(env.top_margin) + rows + 0.75 * env.vmi);
    env.pos_changed = 1;
}

void pcl_movedy(double value)
{
    int32_t const d = to_int(dcp2in(value));
    env.cur_y = movetype ? sat_add(env.cur_y, d) : sat_add(env.top_margin, d);
    env.pos_changed = 1;
}

void pcl_movey(double value)
{
    if (env.units > 0) {
        int32_t const d = to_int(pcl2in(value));
        env.cur_y = movetype ? sat_add(env.cur_y, d) : sat_add(env.top_margin, d);
    }
    env.pos_changed = 1;
}

void pcl_hmi(double value)
{
    if (value >= 0) {
        env.hmi = to_int(value * 600.0);
        if (verbose >= 2)
            std::printf("HMI=%d\n", env.hmi);
    } else if (verbose >= 1) {
        std::printf("Unknown: HMI %g\n", value);
    }
}

void pcl_vmi(double value)
{
    if (value >= 0) {
        env.vmi = to_int(value * 1500.0);
        if (verbose >= 2)
            std::printf("VMI=%d\n", env.vmi);
    } else if (verbose >= 1) {
        std::printf("Unknown: VMI %g\n", value);
    }
    follow_spacing();
}

void pcl_lpi(double value)
{
    int32_t const n = to_int(value);
    switch (n) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 6:
    case 8:
    case 12:
    case 16:
    case 24:
    case 48:
        env.vmi = 72000 / n;
        if (verbose >= 2)
            std::printf("VMI=%d\n", env.vmi);
        break;
    default:
        if (verbose >= 1)
            std::printf("Unknown: LPI %d\n", n);
    }
    follow_spacing();
}

void pcl_eolterm(double value)
{
    int32_t const v = to_int(value);
    if (v >= 0 && v <= 3)
        env.eol_term = v;
    else if (verbose >= 1)
        std::printf("Unknown: line termination %d\n", v);
}

void pcl_cursor_push_pop(double value)
{
    if (to_int(value) == 0) {
        if (env.pos_sp < cursor_stack_size) {
            env.pos_stack[env.pos_sp] = pcl_pos{env.cur_x, env.cur_y};
            env.pos_sp += 1;
        }
    } else if (env.pos_sp > 0) {
        env.pos_sp -= 1;
        env.cur_x = env.pos_stack[env.pos_sp].x;
        env.cur_y = env.pos_stack[env.pos_sp].y;
    }
    env.pos_changed = 1;
}

void pcl_ff()
{
    // A raster image ends with its page.
    raster_end_block();
    // The overlay prints on the page that is ending; its macro frame keeps
    // the environment of the page and gives it back when its bytes run out.
    if (env.overlay_id != -1 && mac_call(env.overlay_id, MAC_OVERLAY) != nullptr) {
        env.cur_x = env.left_margin;
        env.cur_y = first_line_y();
        parse_text();
    }
    env.page_serial = next_serial(env.page_serial);
    env.page_dirty = 0;
    env.pos_changed = 1;
    env.cur_x = env.left_margin;
    env.cur_y = first_line_y();
}

void pcl_lf_cond()
{
    if (env.perf_skip) {
        if (env.cur_y > sat_add(env.top_margin, env.text_length))
            pcl_ff();
    } else if (env.cur_y >= env.page_height) {
        // Without perforation skip the text runs to the end of the logical
        // page and the next page continues at its very top.
        pcl_ff();
        env.cur_y = to_int(0.75 * env.vmi);
    }
}

void pcl_half_lf()
{
    env.cur_y = sat_add(env.cur_y, env.vmi / 2);
    // An explicit move like any other: the next text is placed absolutely.
    env.pos_changed = 1;
    pcl_lf_cond();
}
