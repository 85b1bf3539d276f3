// The pending text run: characters that share one start position, font and
// underline mode, converted to Unicode as they arrive.
#pragma once

#include <cstdint>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "run_mode.h"

constexpr int CBUF_SIZE = 1024;

extern uint16_t c_buf[CBUF_SIZE];
extern uint16_t* c_buf_p;
extern int c_buf_len;
extern int c_buf_curX;
extern int c_buf_ul;

// The pending run is drawn without its underline (a bar code replaces it).
void cbuf_drop_underline();

void cbuf_init();
void cbuf_flush(int reason);

// The byte conversion of the symbol set used last (see cbuf_add_slow);
// cbuf_fast_symset is -1 while no table is valid.
extern int cbuf_fast_symset;
extern uint16_t cbuf_fast_codes[256];
// The advance of each byte in the font of font_serial cbuf_fast_serial:
// the glyph's width when the font is proportional (cbuf_fast_prop), else
// the HMI applies.
extern int32_t cbuf_fast_serial;
extern bool cbuf_fast_prop;
extern int32_t cbuf_fast_adv[256];
// cbuf_add for every case: a full buffer, a character beyond a byte, a
// different symbol set or font, analysis mode.
void cbuf_add_slow(int ch);

// Appends one printable character to the run. The common case (a byte in
// the symbol set and font of the previous character, room in the buffer,
// no analysis) is inlined into the text loop.
inline void cbuf_add(int ch)
{
    if (c_buf_len < CBUF_SIZE && static_cast<unsigned>(ch) <= 0xFF && !verbose &&
        active_font().symset == cbuf_fast_symset && env.font_serial == cbuf_fast_serial)
        [[likely]] {
        if (c_buf_len == 0) {
            c_buf_curX = env.cur_x;
            c_buf_ul = env.underline;
        }
        *c_buf_p++ = cbuf_fast_codes[ch];
        ++c_buf_len;
        env.cur_x = sat_add(env.cur_x, cbuf_fast_prop ? cbuf_fast_adv[ch] : env.hmi);
        return;
    }
    cbuf_add_slow(ch);
}
