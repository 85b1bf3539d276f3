#include "pcl/environment.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "common/numeric.h"
#include "config_store.h"
#include "pcl/cursor.h"
#include "pcl/fonts.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/raster.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"
#include "symbol_sets.h"

pcl_env env;
pcl_env default_env;
int default_env_valid = 0;
int compat_f = 0;

// Dimensions in 1/300 inch: {physical W, physical L, logical W, logical L,
// x offset, y offset} for the portrait and the landscape orientations.
paper_type const known_paper_types[] = {
    {2, "LETTER", {{2550, 3300, 2400, 3300, 75, 0}, {3300, 2550, 3180, 2550, 60, 0}}},
    {3, "LEGAL", {{2550, 4200, 2400, 4200, 75, 0}, {4200, 2550, 4080, 2550, 60, 0}}},
    {6, "LEDGER", {{3300, 5100, 3150, 5100, 75, 0}, {5100, 3300, 4980, 3300, 60, 0}}},
    {1, "EXECUTIVE", {{2175, 3150, 2025, 3150, 75, 0}, {3150, 2175, 3030, 2175, 60, 0}}},
    {26, "A4", {{2480, 3507, 2338, 3507, 71, 0}, {3507, 2480, 3389, 2480, 59, 0}}},
    {27, "A3", {{3507, 4960, 3365, 4960, 71, 0}, {4960, 3507, 4842, 3507, 59, 0}}},
    {0, nullptr, {}},
};

namespace {

constexpr int32_t half_inch = 36000;
constexpr int32_t one_inch = 72000;
constexpr int32_t dots_to_internal = 240;  // 72000 / 300

bool is_landscape(int32_t orientation) { return orientation == 1 || orientation == 3; }

// Top margin and text length of a fresh page: half an inch at the top and
// the bottom, or the whole page when it is shorter than half an inch.
void fixed_margins()
{
    if (env.page_height < half_inch) {
        env.top_margin = 0;
        env.text_length = env.page_height;
    } else {
        env.top_margin = half_inch;
        env.text_length = sat_sub(env.page_height, one_inch);
    }
}

int32_t paper_size_code(char const* text)
{
    for (paper_type const* p = known_paper_types; p->code != 0; ++p)
        if (strcasecmp(text, p->name) == 0)
            return p->code;
    return config_int(text);
}

// A symbol-set name of two or three characters: one or two digits, then
// the letter (taken as written).
void apply_default_symset(char const* text)
{
    // Two or three characters, digits then a letter, each taken as its byte
    // value without validation: "8U" is 277 and "19U" is 629.
    size_t const len = std::strlen(text);
    auto byte = [text](size_t i) { return static_cast<int>(static_cast<unsigned char>(text[i])); };
    int code;
    if (len == 2)
        code = (byte(0) - '0') * 32 + byte(1) - 64;
    else if (len == 3)
        code = ((byte(0) - '0') * 10 + (byte(1) - '0')) * 32 + byte(2) - 64;
    else
        return;
    if (cv_symset_supported(code)) {
        fnt_set_symset(0, code);
        fnt_set_symset(1, code);
    }
    if (len == 3 && code == SS_18N)
        env.text_method = 1008;
}

void apply_default_pitch(char const* text)
{
    double const pitch = std::strtod(text, nullptr);
    // A pitch that is zero, negative or not a finite number cannot give a
    // character advance; the built-in one stays.
    if (!std::isfinite(pitch) || pitch <= 0)
        return;
    fnt_set_pitch_both(pitch);
}

void apply_default_lines(int32_t n)
{
    if (n < 5 || n > 128)
        return;
    env.top_margin = half_inch;
    env.left_margin = 0;
    env.cur_x = 0;
    env.right_margin = env.page_width;
    env.text_length = sat_sub(env.page_height, one_inch);
    env.vmi = env.text_length / n;
    env.cur_y = first_line_y();
    if (verbose >= 2)
        std::printf("FORMLEN=%d (%d), TOP=%d, TL=%d (%d), VMI=%d\n", sat_mul(env.vmi, n), n,
                    half_inch, env.text_length, safe_div(env.text_length, env.vmi), env.vmi);
}

char const* default_item(char const* item) { return config_get_option("DEFAULT", item, nullptr); }

void apply_configured_defaults()
{
    char const* s;
    if ((s = default_item("PAPER.SOURCE")))
        env.paper_source = config_int(s);
    if ((s = default_item("PAPER.SIZE")))
        pcl_page_size(paper_size_code(s));
    if ((s = default_item("SYMSET")))
        apply_default_symset(s);
    if ((s = default_item("EOLTERM")))
        pcl_eolterm(config_int(s));
    if ((s = default_item("ORIENTATION"))) {
        if (strcasecmp(s, "PORTRAIT") == 0)
            pcl_orientation(0);
        else if (strcasecmp(s, "LANDSCAPE") == 0)
            pcl_orientation(1);
        else
            pcl_orientation(config_int(s));
    }
    if ((s = default_item("PITCH")))
        apply_default_pitch(s);
    if ((s = default_item("LINES")))
        apply_default_lines(config_int(s));
    if ((s = default_item("PAGELEN")))
        pcl_page_length(config_int(s));
    if ((s = default_item("TOPMARGIN")))
        pcl_margin_top(config_int(s));
    if ((s = default_item("LEFTMARGIN")))
        pcl_margin_left(config_int(s));
    if ((s = default_item("TEXTLEN")))
        pcl_text_length(config_int(s));
}

}  // namespace

double dcp2in(double v) { return v * 100.0; }

double pcl2in(double v)
{
    // A unit of measure below 1 gives no distance at all rather than a
    // division by zero or a mirrored one.
    if (env.units <= 0)
        return 0.0;
    return v * 72000.0 / env.units;
}

int32_t first_line_y() { return to_int(env.top_margin + 0.75 * env.vmi); }

void flush_page()
{
    if (!env.page_dirty)
        return;
    cbuf_flush(1);
    pcl_ff();
}

void pcl_clear_margins()
{
    env.left_margin = 0;
    env.right_margin = env.page_width;
}

void pcl_page_size(double value)
{
    int32_t const code = to_int(value);
    flush_page();

    paper_type const* row = known_paper_types;
    while (row->code != 0 && row->code != code)
        ++row;
    if (row->code != 0) {
        env.page_size = code;
        env.page_name = row->name;
        if (verbose >= 2)
            std::printf("page orientation: %d\n", env.orientation);
        int32_t const* d = row->dims[is_landscape(env.orientation) ? 1 : 0];
        env.paper_width = d[0] * dots_to_internal;
        env.paper_height = d[1] * dots_to_internal;
        env.page_width = d[2] * dots_to_internal;
        env.page_height = d[3] * dots_to_internal;
        env.page_xofs = d[4] * dots_to_internal;
        env.page_yofs = d[5] * dots_to_internal;
    } else if (verbose >= 1) {
        std::printf("Unknown: page size: %d\n", code);
    }

    int32_t bottom;
    if (default_env_valid) {
        env.top_margin = default_env.top_margin;
        env.left_margin = default_env.left_margin;
        bottom = sat_mul(default_env.top_margin, 2);
    } else {
        env.top_margin = half_inch;
        env.left_margin = 0;
        bottom = one_inch;
    }
    env.cur_x = 0;
    env.pos_changed = 1;
    env.overlay_id = -1;
    env.right_margin = env.page_width;
    env.text_length = sat_sub(env.page_height, bottom);
    env.cur_y = first_line_y();
    if (verbose >= 2)
        std::printf("PAGESIZE=%d, W=%d, H=%d, TOP=%d, TL=%d (%d)\n", code, env.page_width,
                    env.page_height, env.top_margin, env.text_length,
                    safe_div(env.text_length, env.vmi));
}

void pcl_orientation(double value)
{
    int32_t const v = to_int(value);
    // Only a change of orientation sets the page up again (and ends a
    // marked page); a command repeating the orientation in force, or one
    // naming none, leaves the page as it is. The earlier rendering set the
    // page up again every time.
    bool const change = v >= 0 && v <= 3 && v != env.orientation;
    if (!change && !compat_legacy()) {
        if ((v < 0 || v > 3) && verbose >= 1)
            std::printf("Unknown: orientation %d\n", v);
        return;
    }
    if (v >= 0 && v <= 3)
        env.orientation = v;
    else if (verbose >= 1)
        std::printf("Unknown: orientation %d\n", v);

    // Orientations 0 and 2 share the portrait spacing, 1 and 3 the landscape
    // one; the configured spacing belongs to the default's group only.
    if (default_env_valid && ((env.orientation ^ default_env.orientation) & 1) == 0) {
        env.vmi = default_env.vmi;
        env.hmi = default_env.hmi;
    } else {
        env.vmi = 12000;
        env.hmi = 7200;
    }
    pcl_page_size(env.page_size);
}

void pcl_duplex(double value)
{
    int32_t const v = to_int(value);
    if (v >= 0 && v <= 2)
        env.duplex = v;
}

void pcl_copies(double value)
{
    int32_t const v = to_int(value);
    if (v >= 1)
        env.copies = v > 999 ? 999 : v;
}

void pcl_paper_source(double value)
{
    int32_t const v = to_int(value);
    if (v > 0)
        env.paper_source = v;
    flush_page();
    env.cur_x = 0;
    env.pos_changed = 1;
    env.cur_y = first_line_y();
}

void pcl_duplex_page_side(double value)
{
    int32_t const v = to_int(value);
    if ((v < 0 || v > 2) && verbose >= 1)
        std::printf("Unknown: page side %d\n", v);
    flush_page();
}

void pcl_margin_left(double value)
{
    int32_t const m = sat_mul(to_int(value), env.hmi);
    if (m >= 0 && m <= env.right_margin)
        env.left_margin = m;
    if (env.cur_x < env.left_margin)
        env.cur_x = env.left_margin;
    env.pos_changed = 1;
}

void pcl_margin_right(double value)
{
    int32_t m = sat_mul(to_int(value), env.hmi);
    if (m > env.page_width)
        m = env.page_width;
    if (env.left_margin <= m)
        env.right_margin = m;
    if (env.cur_x > env.right_margin)
        env.cur_x = env.right_margin;
    env.pos_changed = 1;
}

void pcl_margin_top(double value)
{
    int32_t const t = sat_mul(to_int(value), env.vmi);
    if (t < 0 || t > env.page_height || env.vmi == 0)
        return;
    env.top_margin = t;
    env.text_length = sat_sub(sat_sub(env.page_height, t), half_inch);
    if (verbose >= 2)
        std::printf("TOP=%d, H=%d TL=%d (%d)\n", t, env.page_height, env.text_length,
                    safe_div(env.text_length, env.vmi));
    env.pos_changed = 1;
    env.cur_y = first_line_y();
}

void pcl_text_length(double value)
{
    if (env.vmi != 0) {
        int32_t const wanted = sat_mul(to_int(value), env.vmi);
        int32_t const room = sat_sub(env.page_height, env.top_margin);
        env.text_length = wanted < room ? wanted : room;
    }
    if (verbose >= 2)
        std::printf("TEXTLEN=%d, H=%d\n", env.text_length, env.page_height);
}

void pcl_page_length(double value)
{
    int32_t const n = to_int(value);
    if (n < 5 || n > 128 || env.vmi == 0)
        return;
    int32_t const length = sat_mul(n, env.vmi);
    if (length > env.page_height) {
        int32_t const v = env.page_height / n;
        // Adapting is refused when it would halve the line spacing or more,
        // unless the compatibility flag asks for it always.
        if ((compat_f & COMPAT_HALF_LINE) || v > env.vmi / 2) {
            if (verbose >= 2)
                std::printf("page length %d exceeds logical page %d, adapt vmi %d to %d\n", length,
                            env.page_height, env.vmi, v);
            env.vmi = v;
        }
    }
    fixed_margins();
    env.left_margin = 0;
    env.right_margin = env.page_width;
    env.cur_x = 0;
    env.pos_changed = 1;
    env.cur_y = first_line_y();
    if (verbose >= 2)
        std::printf("PAGELEN=%d (%d), TOP=%d, TL=%d (%d)\n", sat_mul(n, env.vmi), n, env.top_margin,
                    env.text_length, safe_div(env.text_length, env.vmi));
}

void pcl_perfskip(double value)
{
    int32_t const v = to_int(value);
    if (v != 0 && v != 1) {
        if (verbose >= 1)
            std::printf("Unknown: perforation skip %d\n", v);
        return;
    }
    if (v == env.perf_skip)
        return;
    env.perf_skip = v;
    fixed_margins();
    if (verbose >= 2)
        std::printf("PERFSKIP=%d, TOP=%d, H=%d TL=%d (%d)\n", v, env.top_margin, env.page_height,
                    env.text_length, safe_div(env.text_length, env.vmi));
}

void pcl_units(double value)
{
    int32_t const v = to_int(value);
    // Every PCL-unit distance divides by the unit; a unit below 1 is
    // meaningless and leaves the current one in force.
    if (v > 0)
        env.units = v;
}

void pcl_res(double value)
{
    int32_t const v = to_int(value);
    switch (v) {
    case 75:
    case 100:
    case 150:
    case 200:
    case 300:
    case 600:
        env.resolution = v;
        break;
    default:
        if (verbose >= 1)
            std::printf("Unknown: resolution %d\n", v);
    }
}

void pcl_direction(double value)
{
    int32_t const v = to_int(value);
    if (v == 0 || v == 90 || v == 180 || v == 270)
        env.direction = v;
    else if (verbose >= 1)
        std::printf("Unknown: direction %d\n", v);
}

void pcl_text_parsing_method(double value)
{
    int32_t const v = to_int(value);
    if (v == 0 || v == 1 || v == 83 || v == 1008) {
        env.text_method = v;
    } else {
        env.text_method = 0;
        if (verbose >= 1)
            std::printf("Unknown: text parsing method %d\n", v);
    }
}

void environment_reset()
{
    env = pcl_env{};
    default_env = pcl_env{};
    default_env_valid = 0;
    compat_f = 0;
}

void pcl_init()
{
    default_env_valid = 0;
    compat_f = 0;
    raster_reset();

    env = pcl_env{};
    env.perf_skip = 1;
    env.vmi = 12000;
    env.hmi = 7200;
    env.resolution = 75;
    env.units = 300;

    pcl_page_size(26);

    fnt_restore({font_defaults, font_defaults});
    font_serial_bump();
    env.font_sel = 0;
    env.overlay_id = -1;
    env.pos_changed = 1;
    env.fg_color = 0;
    env.palette = 1;

    apply_configured_defaults();

    fnt_save_defaults();
    default_env = env;
    default_env_valid = 1;

    if (char const* s = config_get_option("CONFIG", "BCOMPAT", nullptr))
        compat_f = config_int(s);
}

void pcl_reset()
{
    flush_page();
    raster_reset();
    fnt_restore(default_font);
    // The page counter and the page's used flag survive the reset: the output
    // side opens a new page only when the counter differs from the one of its
    // open page, and a page ended by the flush above must stay ended.
    // The font counter moves on instead of going back: the output selects a
    // font again only when the counter differs from the one it last saw, and
    // an old value could match a font it selected before.
    int32_t const page_serial = env.page_serial;
    int32_t const page_dirty = env.page_dirty;
    int32_t const font_serial = next_serial(env.font_serial);
    env = default_env;
    env.page_serial = page_serial;
    env.page_dirty = page_dirty;
    env.font_serial = font_serial;
    mac_reset(TEMPORARY);
    fnt_reset();
}
