#include "pcl/text_buffer.h"

#include <cstdio>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/ps/text_emitter.h"
#include "run_mode.h"
#include "symbol_sets.h"

uint16_t c_buf[CBUF_SIZE];
uint16_t* c_buf_p = c_buf;
int c_buf_len;
int c_buf_curX;
int c_buf_ul;

void cbuf_init()
{
    c_buf_p = c_buf;
    c_buf_len = 0;
}

int cbuf_fast_symset = -1;
uint16_t cbuf_fast_codes[256];

namespace {

// The conversion of a byte depends only on the symbol set; it has a side
// effect (a diagnostic) only in analysis mode, which therefore always
// converts directly. Otherwise the 256 bytes of the set are converted once
// and kept until another set is used.
uint16_t convert(int symset, int ch)
{
    if (static_cast<unsigned>(ch) > 0xFF || verbose)
        return static_cast<uint16_t>(cv_symset(symset, ch));
    if (symset != cbuf_fast_symset) {
        for (int b = 0; b < 256; ++b)
            cbuf_fast_codes[b] = static_cast<uint16_t>(cv_symset(symset, b));
        cbuf_fast_symset = symset;
    }
    return cbuf_fast_codes[ch];
}

}  // namespace

void cbuf_add_slow(int ch)
{
    if (c_buf_len >= CBUF_SIZE)
        cbuf_flush(0);

    // font_sel is 0 (primary) or 1 (secondary); anything else reads the
    // primary entry rather than memory outside the pair.
    uint16_t const code = convert(font[env.font_sel == 1 ? 1 : 0].symset, ch);

    if (c_buf_len == 0) {
        c_buf_curX = env.cur_x;
        c_buf_ul = env.underline;
    }
    *c_buf_p++ = code;
    ++c_buf_len;

    // Every character advances by the same HMI; the PostScript side places
    // the glyphs of a run by the font's own widths.
    env.cur_x = sat_add(env.cur_x, env.hmi);
}

namespace {

// The analysis trace of a run: Char (n) "text" with non-printable code
// points as \x escapes. Built in one buffer and written at once.
void trace_run()
{
    // Worst case per code point: "\xffff" (6 bytes).
    char line[32 + CBUF_SIZE * 6 + 4];
    int len = std::snprintf(line, 32, "Char (%d) \"", c_buf_len);
    static constexpr char hex[] = "0123456789abcdef";
    for (int i = 0; i < c_buf_len; ++i) {
        unsigned const c = c_buf[i];
        if (c >= 32 && c <= 126) {
            line[len++] = static_cast<char>(c);
            continue;
        }
        line[len++] = '\\';
        line[len++] = 'x';
        if (c > 0xfff)
            line[len++] = hex[(c >> 12) & 0xf];
        if (c > 0xff)
            line[len++] = hex[(c >> 8) & 0xf];
        line[len++] = hex[(c >> 4) & 0xf];
        line[len++] = hex[c & 0xf];
    }
    line[len++] = '"';
    line[len++] = '\n';
    std::fwrite(line, 1, static_cast<size_t>(len), stdout);
}

}  // namespace

void cbuf_flush(int /*reason*/)
{
    if (c_buf_len == 0)
        return;

    env.page_dirty = 1;
    if (genps)
        ps_flush(c_buf, c_buf_len);
    else if (verbose)
        trace_run();

    c_buf_p = c_buf;
    c_buf_len = 0;
}
