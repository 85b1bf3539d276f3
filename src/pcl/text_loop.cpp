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

constexpr int FLUSH_CONTROL = 1;
constexpr int FLUSH_END = 2;
constexpr int TAB_COLUMNS = 8;

// Makes font entry `which` the active one.
void shift_font(int which)
{
    env.font_sel = which;
    font_serial_bump();
    pcl_font_hmi_from_pitch();
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

// True when the text loop may take its bytes straight from the file: see
// input_is_direct; besides, every byte must be one character (no UTF-8
// decoding) and no macro may be recorded.
bool text_is_direct()
{
    return input_is_direct() && in_macro_definition == 0 && !utf8_text_method();
}

// Reads printable bytes (anything but the end of input, ESC and the codes
// 0-15) straight from the file into the pending run and returns the first
// byte that is not one. Runs of bytes that need nothing but the cached
// conversion are added in one tight loop; the cursor then advances once by
// the whole run (the HMI per character, or the sum of the glyph widths of
// a proportional font), which saturates exactly as one advance per
// character does because every step has the same sign.
int read_text_direct()
{
    FILE* const fp = infp;
    for (;;) {
        int c = getc_unlocked(fp);
        if (c <= 15 || c == ESC)
            return c;
        if (!cbuf_fast_open()) {
            cbuf_add_slow(c);
            continue;
        }
        uint16_t* const start = cbuf_fast_begin();
        uint16_t* const end = cbuf_fast_limit();
        uint16_t* p = start;
        *p++ = cbuf_fast_codes[c];
        int64_t widths = cbuf_fast_adv[c];
        bool stopped = false;
        while (p < end) {
            c = getc_unlocked(fp);
            if (c <= 15 || c == ESC) {
                stopped = true;
                break;
            }
            *p++ = cbuf_fast_codes[c];
            widths += cbuf_fast_adv[c];
        }
        int64_t const n = p - start;
        cbuf_fast_commit(p);
        env.cur_x = sat32(env.cur_x + (cbuf_fast_prop ? widths : n * env.hmi));
        if (stopped)
            return c;
    }
}

}  // namespace

void parse_text()
{
    cbuf_init();
    for (;;) {
        int const c = text_is_direct() ? read_text_direct() : pcl_get_char();
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
