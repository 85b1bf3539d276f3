#include "pcl/text_buffer.h"

#include <cstdio>
#include <cstring>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/font_metrics.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/text_emitter.h"
#include "run_mode.h"
#include "symbol_sets.h"

uint16_t c_buf[CBUF_SIZE];
uint16_t* c_buf_p = c_buf;
int c_buf_len;
int c_buf_curX;
int c_buf_ul;

int cbuf_fast_symset = -1;
uint16_t cbuf_fast_codes[256];
int32_t cbuf_fast_serial;
bool cbuf_fast_prop;
int32_t cbuf_fast_adv[256];

namespace {

// The 256 codes of a symbol set. A macro replayed on every page starts
// the text buffer afresh each time, so the tables of the last few sets are
// kept rather than converted again.
void fill_codes(int symset, uint16_t (&codes)[256])
{
    struct table {
        bool used = false;
        int symset = 0;
        uint16_t codes[256];
    };
    static table kept[4];
    static unsigned next_slot;
    for (table const& t : kept)
        if (t.used && t.symset == symset) {
            std::memcpy(codes, t.codes, sizeof codes);
            return;
        }
    table& t = kept[next_slot++ % 4];
    for (int b = 0; b < 256; ++b)
        t.codes[b] = static_cast<uint16_t>(cv_symset(symset, b));
    t.symset = symset;
    t.used = true;
    std::memcpy(codes, t.codes, sizeof codes);
}

// The conversion of a byte depends only on the symbol set; it has a side
// effect (a diagnostic) only in analysis mode, which therefore always
// converts directly. Otherwise the 256 bytes of the set are converted once
// and kept until another set is used.
uint16_t convert(int symset, int ch)
{
    if (static_cast<unsigned>(ch) > 0xFF || verbose)
        return static_cast<uint16_t>(cv_symset(symset, ch));
    if (symset != cbuf_fast_symset) {
        fill_codes(symset, cbuf_fast_codes);
        cbuf_fast_symset = symset;
        // The advances follow the codes: make them stale too.
        cbuf_fast_serial = static_cast<int32_t>(static_cast<uint32_t>(env.font_serial) - 1u);
    }
    return cbuf_fast_codes[ch];
}

// The metrics of the active font while it is proportional: a proportional
// font advances by the width of each glyph the output draws for it. A
// fixed-pitch font, a font without known metrics (a configured font
// outside the standard set) and the earlier rendering advance by the HMI.
struct proportional_font {
    afm_font const* metrics = nullptr;
    int enc = 0;
    double size = 0.0;
};
proportional_font prop;
int32_t prop_serial;
bool prop_valid;

void refresh_font(pcl_font const& f)
{
    if (prop_valid && prop_serial == env.font_serial)
        return;
    prop_valid = true;
    prop_serial = env.font_serial;
    prop = proportional_font{};
    if (f.spacing == 0 || compat_legacy())
        return;
    ps_font_choice const choice = ps_font_for(f);
    prop.metrics = afm_find(choice.name);
    prop.enc = choice.enc;
    prop.size = f.point_size;
}

// The advance of one code point in 1/72000 inch: the glyph's width (in
// 1/1000 of the size) times the size in points; a glyph the font lacks
// advances by the HMI.
int32_t advance(unsigned code)
{
    if (!prop.metrics)
        return env.hmi;
    int const w = afm_width(*prop.metrics, code, prop.enc);
    if (w < 0)
        return env.hmi;
    return to_int(w * prop.size + 0.5);
}

// The advances of the 256 bytes (codes `codes`) in the active font. A job
// that switches between a few fonts (a form overlay's heading font on every
// page) would otherwise measure the same 256 glyphs again at each switch,
// so the last few tables are kept with everything they were computed from:
// the font's metrics, encoding and size, the HMI (the advance of a glyph the
// font lacks), the codes and the state of the glyph map.
void fill_advances(uint16_t const (&codes)[256], int32_t (&adv)[256])
{
    struct table {
        afm_font const* metrics = nullptr;
        int enc = 0;
        double size = 0.0;
        int32_t hmi = 0;
        uint32_t map_changes = 0;
        bool used = false;
        uint16_t codes[256];
        int32_t adv[256];
    };
    static table kept[4];
    static unsigned next_slot;
    for (table const& t : kept)
        if (t.used && t.metrics == prop.metrics && t.enc == prop.enc && t.size == prop.size &&
            t.hmi == env.hmi && t.map_changes == ps_map_changes &&
            std::memcmp(t.codes, codes, sizeof codes) == 0) {
            std::memcpy(adv, t.adv, sizeof adv);
            return;
        }
    for (int b = 0; b < 256; ++b)
        adv[b] = advance(codes[b]);
    table& t = kept[next_slot++ % 4];
    t.metrics = prop.metrics;
    t.enc = prop.enc;
    t.size = prop.size;
    t.hmi = env.hmi;
    t.map_changes = ps_map_changes;
    t.used = true;
    std::memcpy(t.codes, codes, sizeof codes);
    std::memcpy(t.adv, adv, sizeof adv);
}

}  // namespace

void cbuf_init()
{
    c_buf_p = c_buf;
    c_buf_len = 0;
    cbuf_fast_symset = -1;
    prop_valid = false;
}

void cbuf_reset()
{
    cbuf_init();
    c_buf_curX = 0;
    c_buf_ul = 0;
    std::memset(cbuf_fast_codes, 0, sizeof cbuf_fast_codes);
    std::memset(cbuf_fast_adv, 0, sizeof cbuf_fast_adv);
    cbuf_fast_serial = 0;
    cbuf_fast_prop = false;
    prop = proportional_font{};
    prop_serial = 0;
}

void cbuf_add_slow(int ch)
{
    if (c_buf_len >= CBUF_SIZE)
        cbuf_flush(0);

    pcl_font const& f = active_font();
    uint16_t const code = convert(f.symset, ch);
    refresh_font(f);

    if (c_buf_len == 0) {
        c_buf_curX = env.cur_x;
        c_buf_ul = env.underline;
    }
    *c_buf_p++ = code;
    ++c_buf_len;

    if (f.symset == cbuf_fast_symset && env.font_serial != cbuf_fast_serial) {
        cbuf_fast_prop = prop.metrics != nullptr;
        if (cbuf_fast_prop)
            fill_advances(cbuf_fast_codes, cbuf_fast_adv);
        cbuf_fast_serial = env.font_serial;
    }
    env.cur_x = sat_add(env.cur_x, advance(code));
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

void cbuf_drop_underline() { c_buf_ul = 0; }
