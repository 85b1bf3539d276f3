// Primary and secondary font selection, the horizontal motion index that
// follows the active font, underline mode, font IDs and the font list.
//
// No font is loaded here: an entry only describes the wanted font. The
// output side picks a PostScript font from it when font_serial changes.

#include "pcl/fonts.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "common/numeric.h"
#include "pcl/environment.h"
#include "pcl/escape_parser.h"
#include "run_mode.h"

pcl_font font[2] = {font_defaults, font_defaults};
pcl_font default_font[2] = {font_defaults, font_defaults};
std::vector<font_node> font_list;

namespace {

constexpr int32_t STYLE_MAX = 32767;
constexpr int32_t TYPEFACE_MAX = 65535;
constexpr int32_t STROKE_MIN = -7;
constexpr int32_t STROKE_MAX = 7;

// The entry addressed by the primary (ESC(s) or secondary (ESC)s) commands.
int addressed_index() { return fontind != 0 ? 1 : 0; }

// Re-derives hmi when the addressed entry is the active one.
void changed(int index)
{
    if (index == active_font_index())
        pcl_font_recompute_hmi();
}

// |v| limited to `max`, without overflowing on INT32_MIN.
int32_t magnitude_limited(double value, int32_t max)
{
    int64_t const v = to_int(value);
    return static_cast<int32_t>(std::min<int64_t>(v < 0 ? -v : v, max));
}

font_node* find_node(int32_t id)
{
    auto const it = std::find_if(font_list.begin(), font_list.end(),
                                 [id](font_node const& n) { return n.id == id; });
    return it == font_list.end() ? nullptr : &*it;
}

}  // namespace

void pcl_font_hmi_from_pitch()
{
    double const pitch = active_font().pitch;
    // An entry's pitch is always positive; the guard keeps a broken value
    // (zero, negative or NaN) from producing a division by zero.
    if (pitch > 0.0)
        env.hmi = to_int(72000.0 / pitch);
}

void pcl_font_recompute_hmi()
{
    pcl_font_hmi_from_pitch();
    if (verbose >= 2)
        std::printf("HMI=%d\n", env.hmi);
    font_serial_bump();
}

void pcl_font_spacing(double value)
{
    int32_t const v = to_int(value);
    if (v != 0 && v != 1) {
        if (verbose)
            std::printf("Unknown: font spacing %d\n", v);
        return;
    }
    int const i = addressed_index();
    font[i].spacing = v;
    changed(i);
}

void pcl_font_pitch(double value)
{
    if (!(value > 0.0)) {
        if (verbose)
            std::printf("Unknown: font pitch %g\n", value);
        return;
    }
    int const i = addressed_index();
    font[i].pitch = value;
    changed(i);
}

void pcl_font_size(double value)
{
    if (!(value > 0.0)) {
        if (verbose)
            std::printf("Unknown: font size %g\n", value);
        return;
    }
    int const i = addressed_index();
    // PCL's point sizes are 0.25 to 999.75.
    font[i].point_size = std::clamp(value, 0.25, 999.75);
    if (verbose >= 2)
        std::printf("font_size [%d]: %g\n", fontind, value);
    if (font[i].spacing != 0) {
        // Proportional fonts have no pitch of their own; estimate it from an
        // average character width of 0.6 em.
        font[i].pitch = (72.0 / value) / 0.6;
        if (verbose >= 2)
            std::printf("est. pitch = %g\n", font[i].pitch);
    }
    changed(i);
}

void pcl_font_style(double value)
{
    int const i = addressed_index();
    font[i].style = magnitude_limited(value, STYLE_MAX);
    changed(i);
}

void pcl_font_stroke(double value)
{
    int const i = addressed_index();
    font[i].stroke = std::clamp(to_int(value), STROKE_MIN, STROKE_MAX);
    changed(i);
}

void pcl_font_typeface(double value)
{
    int const i = addressed_index();
    font[i].typeface = magnitude_limited(value, TYPEFACE_MAX);
    changed(i);
}

void pcl_font_pitch_mode(double value)
{
    int32_t const v = to_int(value);
    double pitch;
    switch (v) {
    case 0:
        pitch = 10.0;
        break;
    case 1:
        pitch = 5.0;
        break;
    case 2:
        pitch = 16.67;
        break;
    case 4:
        pitch = 12.0;
        break;
    default:
        if (verbose)
            std::printf("Unknown: font pitch %d\n", v);
        return;
    }
    font[0].pitch = pitch;
    font[1].pitch = pitch;
    pcl_font_recompute_hmi();
}

void pcl_underline_on(double value)
{
    // A second "underline on" cannot switch between fixed and floating.
    if (env.underline != 0)
        return;
    env.underline = to_int(value) == 3 ? 2 : 1;
}

void pcl_underline_off(double) { env.underline = 0; }

void pcl_font_id(double value) { env.font_id = to_int(value); }

void pcl_font_ctl(double value)
{
    int32_t const v = to_int(value);
    int32_t const id = env.font_id;
    switch (v) {
    case 0:
        font_list.clear();
        break;
    case 1:
        fnt_reset();
        break;
    case 2:
        std::erase_if(font_list, [id](font_node const& n) { return n.id == id; });
        break;
    case 3:
        if (verbose)
            std::printf("Currently not implemented\n");
        break;
    case 4:
        if (font_node* fp = find_node(id))
            fp->type = TEMPORARY;
        break;
    case 5:
        if (font_node* fp = find_node(id))
            fp->type = PERMANENT;
        break;
    case 6: {
        font_node* fp = find_node(id);
        if (!fp) {
            // Nothing reads the list, so a bound on its length costs no
            // output; it keeps memory and the linear searches bounded.
            if (font_list.size() >= FONT_LIST_MAX) {
                if (verbose)
                    std::printf("Unknown: font list full\n");
                return;
            }
            fp = &font_list.emplace_back();
        }
        fp->id = id;
        fp->type = TEMPORARY;
        fp->font = font[active_font_index()];
        break;
    }
    default:
        if (verbose)
            std::printf("Unknown: font ctl %d\n", v);
        break;
    }
}

void pcl_font_byid(int id, int which)
{
    int const i = which != 0 ? 1 : 0;
    font[i].id = id;
    changed(i);
}

void fnt_reset()
{
    std::erase_if(font_list, [](font_node const& n) { return n.type == TEMPORARY; });
}

void fnt_restore(pcl_font const (&entries)[2])
{
    font[0] = entries[0];
    font[1] = entries[1];
}

void fnt_save_defaults()
{
    default_font[0] = font[0];
    default_font[1] = font[1];
}

void fnt_set_symset(int which, int32_t code) { font[which != 0 ? 1 : 0].symset = code; }

void fnt_set_pitch_both(double pitch)
{
    font[0].pitch = pitch;
    font[1].pitch = pitch;
    pcl_font_recompute_hmi();
}

void fonts_reset()
{
    font[0] = font[1] = font_defaults;
    default_font[0] = default_font[1] = font_defaults;
    font_list.clear();
}
