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

// Empties the run and forgets the conversion tables (the start of a file).
void cbuf_init();
// Start-up state of the text buffer.
void cbuf_reset();
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

// Whether a byte may take the fast path: room in the buffer, the symbol
// set and font of the cached conversion, no analysis.
inline bool cbuf_fast_open()
{
    return c_buf_len < CBUF_SIZE && !verbose && active_font().symset == cbuf_fast_symset &&
           env.font_serial == cbuf_fast_serial;
}

// The fast path writes converted codes straight into the buffer: from
// cbuf_fast_begin (which starts a run at the cursor when the buffer is
// empty) up to at most cbuf_fast_limit, then hands the end to
// cbuf_fast_commit. Only valid while cbuf_fast_open holds.
inline uint16_t* cbuf_fast_begin()
{
    if (c_buf_len == 0) {
        c_buf_curX = env.cur_x;
        c_buf_ul = env.underline;
    }
    return c_buf_p;
}

inline uint16_t* cbuf_fast_limit() { return c_buf + CBUF_SIZE; }

inline void cbuf_fast_commit(uint16_t* end)
{
    c_buf_len += static_cast<int>(end - c_buf_p);
    c_buf_p = end;
}

// Appends one printable character to the run. The common case (a byte in
// the symbol set and font of the previous character, room in the buffer,
// no analysis) is inlined into the text loop.
inline void cbuf_add(int ch)
{
    if (static_cast<unsigned>(ch) <= 0xFF && cbuf_fast_open()) [[likely]] {
        uint16_t* const p = cbuf_fast_begin();
        *p = cbuf_fast_codes[ch];
        cbuf_fast_commit(p + 1);
        env.cur_x = sat_add(env.cur_x, cbuf_fast_prop ? cbuf_fast_adv[ch] : env.hmi);
        return;
    }
    cbuf_add_slow(ch);
}
