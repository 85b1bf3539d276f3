#include "pcl/ps/text_emitter.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "invariant.h"
#include "pcl/environment.h"
#include "pcl/font_metrics.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/barcodes.h"
#include "pcl/ps/document.h"
#include "pcl/ps/writer.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

int ps_font_enc;
uint32_t ps_last_color;
int emitting;
int characteristic;

namespace {

// Advance width of the standard monospaced fonts, as a fraction of the size.
constexpr double kDefaultWidth = 0.6;

// UG shows a glyph by a procedure (a glyph by name, or one from another
// font) and underlines the advance it made, with the operands of U:
// thickness, offset, procedure. A glyph the Latin-1 fonts lack (curly
// quotes, dashes, the euro sign) would otherwise leave a gap in an
// underlined passage. It is defined on every page that uses it, so that
// each page can be printed on its own.
constexpr char kUnderlinedGlyphProc[] = R"PS(/UG { currentpoint 5 2 roll exec currentpoint gsave
  2 index add 6 -2 roll 4 index add moveto lineto pop setlinewidth stroke grestore } bind def
)PS";

// The page on which UG was last defined.
int underline_proc_page = 0;

// The output written so far leaves before the run ends.
[[noreturn]] void emitter_invariant_failed(char const* condition)
{
    ps_out_flush();
    invariant_failed("pcl/ps", "ps_flush", condition);
}

void put_underline_operands(int ul)
{
    ps_put_nums({0.75, ul * -1.25});
    ps_put(' ');
}

bool font_is_used(std::string const& name)
{
    for (std::string const& used : used_font_list)
        if (used == name)
            return true;
    return false;
}

// Picks the PostScript font for the active PCL font and writes its
// selection. A text font is shown through its Latin-1 copy ("-l1"); the
// earlier rendering defines that copy once, the first time the font is
// used in the document.
void select_font()
{
    pcl_font const& f = active_font();
    ps_font_choice const choice = ps_font_for(f);
    char const* const name = choice.name;
    ps_font_enc = choice.enc;

    double size;
    if (f.spacing != 0) {
        size = f.point_size;
    } else {
        double w = kDefaultWidth;
        if (ps_font_enc == 0) {
            if (char const* width = ps_font_width_option(f)) {
                double const percent = std::strtod(width, nullptr);
                // Zero, negative or non-finite widths would give no usable
                // size; they fall back to the standard width.
                if (std::isfinite(percent) && percent > 0.0)
                    w = percent / 100.0;
            }
        }
        // The size follows the characters per inch of the current HMI. An
        // HMI of 0 has no pitch to follow; the font keeps its point size.
        if (env.hmi > 0)
            size = 72.0 / (w * (72000.0 / env.hmi));
        else
            size = f.point_size;
    }
    // An extreme pitch or configured width gives no usable size.
    size = ps_point_size(size);

    ps_endemit();
    std::string const font_name(name);
    bool const first_use = !font_is_used(font_name);
    if (first_use)
        used_font_list.push_back(font_name);
    if (ps_font_enc == 0 && !compat_legacy()) {
        // The prolog's SF re-encodes the font where it is not yet defined.
        ps_put('/');
        ps_put(font_name);
        ps_put(" /");
        ps_put(font_name);
        ps_put("-l1 ");
        ps_put_num(size);
        ps_put(" SF\n");
    } else {
        if (first_use && ps_font_enc == 0) {
            ps_put('/');
            ps_put(font_name);
            ps_put("-l1 ISOLatin1Encoding /");
            ps_put(font_name);
            ps_put(" reencode_font\n");
        }
        ps_put('/');
        ps_put(font_name);
        ps_put(ps_font_enc == 0 ? "-l1 findfont " : " findfont ");
        ps_put_num(size);
        ps_put(" scalefont setfont\n");
    }
    characteristic = env.font_serial;
}

void write_color(uint32_t color)
{
    double const r = ((color >> 16) & 0xff) / 255.0;
    double const g = ((color >> 8) & 0xff) / 255.0;
    double const b = (color & 0xff) / 255.0;
    if (r == g && g == b) {
        ps_put_num(r);
        ps_put(" setgray\n");
    } else {
        ps_put_nums({r, g, b});
        ps_put(" setrgbcolor\n");
    }
}

// Closes the open string, shows one glyph by name (or writes the fragment
// the glyph map supplies for it) and reopens the string.
void put_named_glyph(char const* name, int ul)
{
    ps_put(emitting == 2 ? ")U" : ")S");
    // The earlier rendering shows the glyph without its underline.
    bool const underlined = emitting == 2 && !compat_legacy();
    if (underlined) {
        if (underline_proc_page != ps_page_counter) {
            ps_put('\n');
            ps_put(kUnderlinedGlyphProc);
            underline_proc_page = ps_page_counter;
        } else {
            ps_put(' ');
        }
        put_underline_operands(ul);
        ps_put('{');
    } else {
        ps_put(' ');
    }
    if (name[0] == '!') {
        ps_put(name + 1);
    } else {
        ps_put('/');
        ps_put(name);
        ps_put(" GS");
    }
    ps_put(underlined ? "} UG " : " ");
    if (emitting == 2)
        put_underline_operands(ul);
    ps_put('(');
}

}  // namespace

void ps_flush(uint16_t const* codes, int count)
{
    if (!ps_sync_page())
        return;

    if (env.font_serial != characteristic)
        select_font();

    long long const turn = (static_cast<long long>(env.direction) + ps_page_rotate) % 360;
    ps_rotate_page(static_cast<int>(turn < 0 ? turn + 360 : turn));

    if (env.fg_color != ps_last_color) {
        ps_last_color = env.fg_color;
        write_color(ps_last_color);
    }

    if (ps_barcode && ps_barcode_run(codes, count))
        return;

    if (env.pos_changed) {
        ps_put_pos(ps_x(c_buf_curX), ps_y(env.cur_y));
        ps_put(' ');
        env.pos_changed = 0;
    }

    int const ul = c_buf_ul;
    if (ul != 0)
        put_underline_operands(ul);

    emitting = ul != 0 ? 2 : 1;
    ps_put('(');

    int const enc = ps_font_enc;
    for (int i = 0; i < count; ++i) {
        if (enc == 0) {
            i += static_cast<int>(ps_put_plain_ascii(codes + i, static_cast<size_t>(count - i)));
            if (i == count)
                break;
        }
        unsigned const cp = codes[i];
        // Printable ASCII is its own code in the Latin-1 text fonts; only
        // the rest needs the glyph map.
        if (enc == 0 && cp - 0x20u < 0x5fu) {
            ps_put_str_byte(cp);
            continue;
        }
        unsigned ps_code = 0;
        char const* name = ps_map_lookup(cp, enc, &ps_code);
        if (ps_code != 0) {
            if (ps_code < 0x20 || ps_code > 0xff)
                emitter_invariant_failed("ps_code >= 0x20 && ps_code <= 0xff");
            ps_put_str_byte(ps_code);
            continue;
        }
        if (!name)
            emitter_invariant_failed("sym != NULL");
        put_named_glyph(name, ul);
    }
    ps_endemit();
}

void ps_endemit()
{
    if (emitting == 2)
        ps_put(")U\n");
    else if (emitting == 1)
        ps_put(")S\n");
    emitting = 0;
}

void ps_text_page_start()
{
    characteristic = 0;
    ps_last_color = 0;
}

void ps_text_reset()
{
    emitting = 0;
    characteristic = 0;
    ps_font_enc = 0;
    ps_last_color = 0;
    underline_proc_page = 0;
}
