#include "pcl/ps/text_emitter.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/barcodes.h"
#include "pcl/ps/document.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"

int ps_font_enc;
uint32_t ps_last_color;

namespace {

// The standard fonts by typeface class (rows of four: upright, italic,
// bold, bold italic).
constexpr char const* ps_fonts[28] = {
    "Courier", "Courier-Oblique", "Courier-Bold", "Courier-BoldOblique",
    "Courier", "Courier-Oblique", "Courier-Bold", "Courier-BoldOblique",
    "Courier", "Courier-Oblique", "Courier-Bold", "Courier-BoldOblique",
    "Courier", "Courier-Oblique", "Courier-Bold", "Courier-BoldOblique",
    "Helvetica", "Helvetica-Oblique", "Helvetica-Bold", "Helvetica-BoldOblique",
    "Times-Roman", "Times-Italic", "Times-Bold", "Times-BoldItalic",
    "Courier", "Courier-Oblique", "Courier-Bold", "Courier-BoldOblique",
};

constexpr int SYMSET_19M = 621;
constexpr int SYMSET_5M = 173;
constexpr int SYMSET_14L = 460;

// Advance width of the standard monospaced fonts, as a fraction of the size.
constexpr double kDefaultWidth = 0.6;

int typeface_class(pcl_font const& f)
{
    if (static_cast<uint32_t>(f.typeface) <= 6)
        return f.typeface;
    switch (f.typeface) {
    case 4099:
    case 24579:
        return 3;
    case 4148:
    case 16602:
    case 24580:
        return 4;
    case 4101:
    case 25093:
        return 5;
    default:
        return f.spacing == 0 ? 3 : 5;
    }
}

pcl_font const& active_font()
{
    return font[env.font_sel == 1 ? 1 : 0];
}

[[noreturn]] void invariant_failed(char const* expr)
{
    std::fflush(outfp);
    std::fprintf(stderr, "%s: pcl/ps: assertion failed: %s\n", progname, expr);
    std::abort();
}

// Output of one run is collected here and written with as few stdio calls
// as possible; the buffer is always empty between calls of ps_flush.
constexpr size_t kOutCap = 16384;
char out_buf[kOutCap];
size_t out_len;

inline void write_out(char const* s, size_t n)
{
    std::fwrite(s, 1, n, outfp);
}

void out_flush()
{
    if (out_len) {
        write_out(out_buf, out_len);
        out_len = 0;
    }
}

inline void out_reserve(size_t n)
{
    if (out_len + n > kOutCap)
        out_flush();
}

void out_text(char const* s, size_t n)
{
    if (n > kOutCap / 2) {
        out_flush();
        write_out(s, n);
        return;
    }
    out_reserve(n);
    std::memcpy(out_buf + out_len, s, n);
    out_len += n;
}

void out_text(char const* s)
{
    out_text(s, std::strlen(s));
}

// "%g" of a double. Positions repeat a lot (every line starts at the same
// x, every page has the same line positions), so the formatted text is
// cached by the value's bit pattern in a small two-way set-associative
// table; a miss formats with snprintf, so the text is always exactly
// printf's.
struct number_text {
    uint64_t bits;
    uint8_t len;
    bool valid;
    char text[22];
};
struct number_set {
    number_text way[2];
    uint8_t next_victim;
};
number_set number_cache[512];

void out_number(double v)
{
    uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    number_set& set = number_cache[(bits * 0x9E3779B97F4A7C15ull) >> 55];
    for (number_text const& e : set.way) {
        if (e.valid && e.bits == bits) {
            out_text(e.text, e.len);
            return;
        }
    }
    number_text& e = set.way[set.next_victim];
    set.next_victim ^= 1;
    int const n = std::snprintf(e.text, sizeof e.text, "%g", v);
    e.len = static_cast<uint8_t>(n > 0 && n < static_cast<int>(sizeof e.text) ? n : 0);
    e.bits = bits;
    e.valid = true;
    out_text(e.text, e.len);
}

void out_underline_operands(int ul)
{
    out_number(0.75);
    out_text(" ", 1);
    out_number(ul * -1.25);
    out_text(" ", 1);
}

bool font_is_used(std::string const& name)
{
    for (std::string const& used : used_font_list)
        if (used == name)
            return true;
    return false;
}

// Picks the PostScript font for the active PCL font and writes its
// selection (with the Latin-1 reencoding the first time a text font is
// used in the document).
void select_font()
{
    pcl_font const& f = active_font();
    char section[32];
    std::snprintf(section, sizeof section, "tf%d", f.typeface);
    char item[64];

    ps_font_enc = 0;
    char const* name = nullptr;
    if (f.symset == SYMSET_19M || f.symset == SYMSET_5M) {
        name = "Symbol";
        ps_font_enc = 1;
    } else if (f.symset == SYMSET_14L) {
        name = "ZapfDingbats";
        ps_font_enc = 2;
    } else {
        std::snprintf(item, sizeof item, "%db%ds", f.stroke, f.style);
        name = config_get_option(section, item, nullptr);
        if (!name) {
            std::snprintf(item, sizeof item, "font-%db%ds", f.stroke, f.style);
            name = config_get_option(section, item, nullptr);
        }
        if (!name)
            name = config_get_option(section, "font", nullptr);
        if (!name)
            name = ps_fonts[typeface_class(f) * 4 + (f.stroke > 0 ? 2 : 0) + (f.style & 1)];
    }

    double size;
    if (f.spacing != 0) {
        size = f.point_size;
    } else {
        double w = kDefaultWidth;
        if (ps_font_enc == 0) {
            std::snprintf(item, sizeof item, "width-%db%ds", f.stroke, f.style);
            char const* width = config_get_option(section, item, nullptr);
            if (!width)
                width = config_get_option(section, "width", nullptr);
            if (width) {
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

    ps_endemit();
    std::string const font_name(name);
    if (!font_is_used(font_name)) {
        used_font_list.push_back(font_name);
        if (ps_font_enc == 0)
            std::fprintf(outfp, "/%s-l1 ISOLatin1Encoding /%s reencode_font\n", name, name);
    }
    if (ps_font_enc == 0)
        std::fprintf(outfp, "/%s-l1 findfont %g scalefont setfont\n", name, size);
    else
        std::fprintf(outfp, "/%s findfont %g scalefont setfont\n", name, size);

    characteristic = env.font_serial;
}

void write_color(uint32_t color)
{
    double const r = ((color >> 16) & 0xff) / 255.0;
    double const g = ((color >> 8) & 0xff) / 255.0;
    double const b = (color & 0xff) / 255.0;
    if (r == g && g == b)
        std::fprintf(outfp, "%g setgray\n", r);
    else
        std::fprintf(outfp, "%g %g %g setrgbcolor\n", r, g, b);
}

// Closes the open string, shows one glyph by name (or writes the fragment
// the glyph map supplies for it) and reopens the string.
void out_named_glyph(char const* name, int ul)
{
    out_text(emitting == 2 ? ")U" : ")S", 2);
    if (name[0] == '!') {
        out_text(" ", 1);
        out_text(name + 1);
        out_text(" ", 1);
    } else {
        out_text(" /", 2);
        out_text(name);
        out_text(" GS ", 4);
    }
    if (emitting == 2)
        out_underline_operands(ul);
    out_text("(", 1);
}

// How a byte of the font's encoding is written inside a PostScript string:
// as itself, after a backslash, or as a backslash and three octal digits.
enum : uint8_t { CODE_PLAIN, CODE_ESCAPED, CODE_OCTAL };
constexpr auto code_kind = [] {
    std::array<uint8_t, 256> k{};
    for (int c = 0; c < 256; ++c)
        k[c] = c >= 0x7f ? CODE_OCTAL : CODE_PLAIN;
    k['('] = k[')'] = k['\\'] = CODE_ESCAPED;
    return k;
}();

// Writes one code at p (which has room for 4 bytes); returns the new end.
inline char* put_code(char* p, unsigned c)
{
    switch (code_kind[c & 0xff]) {
    case CODE_PLAIN:
        *p++ = static_cast<char>(c);
        break;
    case CODE_ESCAPED:
        *p++ = '\\';
        *p++ = static_cast<char>(c);
        break;
    default:
        *p++ = '\\';
        *p++ = static_cast<char>('0' + ((c >> 6) & 7));
        *p++ = static_cast<char>('0' + ((c >> 3) & 7));
        *p++ = static_cast<char>('0' + (c & 7));
        break;
    }
    return p;
}

// Copies the leading code points of codes[0..n) that are printable ASCII
// needing no escape (the common case of report text in a Latin-1 font)
// straight to p; returns how many were copied.
inline int copy_plain_ascii(uint16_t const* codes, int n, char* p)
{
    int i = 0;
#if defined(__SSE2__)
    __m128i const lo = _mm_set1_epi16(0x1f);
    __m128i const hi = _mm_set1_epi16(0x7f);
    __m128i const open = _mm_set1_epi16('(');
    __m128i const close = _mm_set1_epi16(')');
    __m128i const backslash = _mm_set1_epi16('\\');
    for (; i + 8 <= n; i += 8) {
        __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(codes + i));
        // Code points from 0x8000 up compare as negative and fail the
        // lower bound.
        __m128i const in_range = _mm_and_si128(_mm_cmpgt_epi16(v, lo), _mm_cmplt_epi16(v, hi));
        __m128i const special = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(v, open), _mm_cmpeq_epi16(v, close)),
                                             _mm_cmpeq_epi16(v, backslash));
        if (_mm_movemask_epi8(_mm_andnot_si128(special, in_range)) != 0xffff)
            break;
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + i), _mm_packus_epi16(v, v));
    }
#endif
    for (; i < n; ++i) {
        unsigned const c = codes[i];
        if (c - 0x20u >= 0x5fu || code_kind[c] != CODE_PLAIN)
            break;
        p[i] = static_cast<char>(c);
    }
    return i;
}

// Worst-case size of the escaped characters i..count-1 plus the closing
// ")S\n"; always fits in the buffer since a run holds at most CBUF_SIZE.
static_assert(4 * CBUF_SIZE + 8 <= kOutCap);
inline char* reserve_rest(int remaining)
{
    out_reserve(4 * static_cast<size_t>(remaining) + 8);
    return out_buf + out_len;
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
        out_number(static_cast<double>(c_buf_curX) * 72 / 72000 + ps_origin_x);
        out_text(" ", 1);
        out_number(ps_origin_y - static_cast<double>(env.cur_y) * 72 / 72000);
        out_text(" M ", 3);
        env.pos_changed = 0;
    }

    int const ul = c_buf_ul;
    if (ul != 0)
        out_underline_operands(ul);

    emitting = ul != 0 ? 2 : 1;
    out_text("(", 1);

    int const enc = ps_font_enc;
    char* p = reserve_rest(count);
    for (int i = 0; i < count; ++i) {
        if (enc == 0) {
            int const plain = copy_plain_ascii(codes + i, count - i, p);
            p += plain;
            i += plain;
            if (i == count)
                break;
        }
        unsigned const cp = codes[i];
        // Printable ASCII is its own code in the Latin-1 text fonts; only
        // the rest needs the glyph map.
        if (enc == 0 && cp - 0x20u < 0x5fu) {
            p = put_code(p, cp);
            continue;
        }
        unsigned ps_code = 0;
        char const* name = ps_map_lookup(cp, enc, &ps_code);
        if (ps_code != 0) {
            if (ps_code < 0x20 || ps_code > 0xff)
                invariant_failed("ps_code >= 0x20 && ps_code <= 0xff");
            p = put_code(p, ps_code);
            continue;
        }
        if (!name)
            invariant_failed("sym != NULL");
        out_len = static_cast<size_t>(p - out_buf);
        out_named_glyph(name, ul);
        p = reserve_rest(count - i - 1);
    }

    // Close the string as ps_endemit does, in the same buffer.
    std::memcpy(p, emitting == 2 ? ")U\n" : ")S\n", 3);
    out_len = static_cast<size_t>(p + 3 - out_buf);
    emitting = 0;
    out_flush();
}
