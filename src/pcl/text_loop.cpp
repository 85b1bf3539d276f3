#include "pcl/text_loop.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "common/numeric.h"
#include "pcl/cursor.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "pcl/fonts.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

namespace {

constexpr int ESC = 27;
constexpr int FLUSH_CONTROL = 1;
constexpr int FLUSH_END = 2;
constexpr int TAB_COLUMNS = 8;

// Makes font entry `which` the active one. An unusable pitch (zero,
// negative or NaN) leaves the advance as it was.
void shift_font(int which)
{
    env.font_sel = which;
    env.font_serial = sat_add(env.font_serial, 1);
    double const pitch = font[which].pitch;
    if (pitch > 0.0)
        env.hmi = to_int(72000.0 / pitch);
}

// Tab stops stand every 8 columns of the current HMI, counted from x = 0 of
// the logical page (not from the left margin). The cursor goes to the next
// stop strictly to its right; a cursor left of x = 0 goes to the first stop
// at or right of it. Without a usable HMI the cursor stays.
void tab()
{
    if (env.hmi > 0) {
        int64_t const col = env.cur_x / env.hmi;
        int64_t rem = col % TAB_COLUMNS;
        if (rem < 0)
            rem += TAB_COLUMNS;
        int64_t const stop = col - rem + TAB_COLUMNS;
        env.cur_x = sat32(stop * env.hmi);
    }
    env.pos_changed = 1;
}

void line_feed_down()
{
    env.cur_y = sat_add(env.cur_y, env.vmi);
    env.pos_changed = 1;
}

void control(int c)
{
    switch (c) {
    case 0:
    case 7:
    case 11:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("Char: 0x%02x\n", static_cast<unsigned>(c));
        break;
    case 8:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<BS>\n");
        env.cur_x = sat_sub(env.cur_x, env.hmi);
        if (env.cur_x < env.left_margin)
            env.cur_x = env.left_margin;
        env.pos_changed = 1;
        break;
    case 9:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<TAB>\n");
        tab();
        break;
    case 10:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<LF>\n");
        line_feed_down();
        if (env.eol_term & 2)
            env.cur_x = env.left_margin;
        pcl_lf_cond();
        break;
    case 12:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<FF>\n");
        pcl_ff();
        break;
    case 13:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<CR>\n");
        env.cur_x = env.left_margin;
        env.pos_changed = 1;
        if (env.eol_term & 1) {
            env.cur_y = sat_add(env.cur_y, env.vmi);
            pcl_lf_cond();
        }
        break;
    case 14:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<SO> -> Secondary font\n");
        shift_font(1);
        break;
    case 15:
        cbuf_flush(FLUSH_CONTROL);
        if (verbose)
            std::printf("<SI> -> Primary font\n");
        shift_font(0);
        break;
    default:
        cbuf_add(c);
        break;
    }
}

}  // namespace

void parse_text()
{
    cbuf_init();
    for (;;) {
        int const c = pcl_get_char();
        if (c < 0)
            break;
        if (in_macro_definition) {
            // The bytes are being recorded by the input source; only the
            // escape sequences matter, to see the end of the definition.
            if (c == ESC)
                parse_escape();
            continue;
        }
        if (c == ESC) {
            cbuf_flush(FLUSH_CONTROL);
            parse_escape();
            continue;
        }
        if (debug) [[unlikely]] {
            if (c >= 32 && c <= 127) {
                std::printf("Char: %c\n", c);
                cbuf_add(c);
                continue;
            }
            std::printf("Char: 0x%02x\n", static_cast<unsigned>(c));
        }
        if (c > 15)
            cbuf_add(c);
        else
            control(c);
    }
    if (!in_macro_definition)
        cbuf_flush(FLUSH_END);
}
