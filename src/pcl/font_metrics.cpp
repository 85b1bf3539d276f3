// Which PostScript font renders a PCL font, and how wide its glyphs are.
#include "pcl/font_metrics.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "config_store.h"
#include "pcl/glyph_map.h"
#include "symbol_sets.h"

namespace {

// The standard fonts by typeface class (rows of four: upright, italic,
// bold, bold italic).
constexpr char const* ps_fonts[28] = {
    "Courier",     "Courier-Oblique",   "Courier-Bold",   "Courier-BoldOblique",
    "Courier",     "Courier-Oblique",   "Courier-Bold",   "Courier-BoldOblique",
    "Courier",     "Courier-Oblique",   "Courier-Bold",   "Courier-BoldOblique",
    "Courier",     "Courier-Oblique",   "Courier-Bold",   "Courier-BoldOblique",
    "Helvetica",   "Helvetica-Oblique", "Helvetica-Bold", "Helvetica-BoldOblique",
    "Times-Roman", "Times-Italic",      "Times-Bold",     "Times-BoldItalic",
    "Courier",     "Courier-Oblique",   "Courier-Bold",   "Courier-BoldOblique",
};

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

// What the configuration gives a text font: its PostScript name and the
// configured width of its fixed-pitch form.
struct configured_font {
    char const* name;
    char const* width;
};

configured_font look_up_font(pcl_font const& f)
{
    char section[32];
    std::snprintf(section, sizeof section, "tf%d", f.typeface);
    char item[64];
    std::snprintf(item, sizeof item, "%db%ds", f.stroke, f.style);
    char const* name = config_get_option(section, item, nullptr);
    if (!name) {
        std::snprintf(item, sizeof item, "font-%db%ds", f.stroke, f.style);
        name = config_get_option(section, item, nullptr);
    }
    if (!name)
        name = config_get_option(section, "font", nullptr);
    if (!name)
        name = ps_fonts[typeface_class(f) * 4 + (f.stroke > 0 ? 2 : 0) + (f.style & 1)];

    std::snprintf(item, sizeof item, "width-%db%ds", f.stroke, f.style);
    char const* width = config_get_option(section, item, nullptr);
    if (!width)
        width = config_get_option(section, "width", nullptr);
    return {name, width};
}

// The text is set in a few fonts that alternate (a form's heading font and
// its body font on every page), so the answers for the last few fonts are
// kept with what they depend on: typeface, stroke, style, spacing and the
// state of the configuration. The strings they point to are the
// configuration's own, which stay valid while it is unchanged.
configured_font const& configured(pcl_font const& f)
{
    struct kept_font {
        bool used = false;
        int32_t typeface = 0, stroke = 0, style = 0, spacing = 0;
        uint32_t config = 0;
        configured_font font{};
    };
    static kept_font kept[4];
    static unsigned next_slot;
    uint32_t const config = config_changes();
    for (kept_font const& k : kept)
        if (k.used && k.typeface == f.typeface && k.stroke == f.stroke && k.style == f.style &&
            k.spacing == f.spacing && k.config == config)
            return k.font;
    kept_font& k = kept[next_slot++ % 4];
    k = {true, f.typeface, f.stroke, f.style, f.spacing, config, look_up_font(f)};
    return k.font;
}

}  // namespace

ps_font_choice ps_font_for(pcl_font const& f)
{
    if (f.symset == SS_19M || f.symset == SS_5M)
        return {"Symbol", ENC_SYMBOL};
    if (f.symset == SS_14L)
        return {"ZapfDingbats", ENC_DINGBATS};
    return {configured(f).name, ENC_LATIN1};
}

char const* ps_font_width_option(pcl_font const& f) { return configured(f).width; }

afm_font const* afm_find(std::string_view name)
{
    afm_font const* end = afm_fonts + afm_font_count;
    afm_font const* it = std::lower_bound(
        afm_fonts, end, name, [](afm_font const& f, std::string_view n) { return f.name < n; });
    return it != end && it->name == name ? it : nullptr;
}

namespace {

// The order of a glyph name against `name`, as string_view compares them
// (byte by byte, unsigned, a prefix first), read in one pass without
// measuring the table's name first: the glyph map is built from thousands
// of these searches at every start.
int compare_name(char const* glyph, std::string_view name)
{
    for (size_t i = 0;; ++i) {
        if (i == name.size())
            return glyph[i] == '\0' ? 0 : 1;
        auto const a = static_cast<unsigned char>(glyph[i]);
        auto const b = static_cast<unsigned char>(name[i]);
        if (a == '\0' || a != b)
            return a < b || a == '\0' ? -1 : 1;
    }
}

}  // namespace

int afm_glyph_index(std::string_view name)
{
    char const* const* end = afm_glyph_names + afm_glyph_count;
    char const* const* it =
        std::lower_bound(afm_glyph_names, end, name,
                         [](char const* g, std::string_view n) { return compare_name(g, n) < 0; });
    return it != end && compare_name(*it, name) == 0 ? static_cast<int>(it - afm_glyph_names) : -1;
}

int afm_width(afm_font const& metrics, unsigned code, int enc)
{
    map_record const* r = ps_map_find(code, enc);
    if (!r)
        return -1;
    uint16_t w = AFM_NONE;
    if (r->ps_code != 0) {
        w = metrics.by_code[r->ps_code & 0xff];
    } else if (int other_enc = 0; r->name && ps_map_fallback(r->name, &other_enc, &code)) {
        // A glyph of the Symbol or ZapfDingbats font at the same size.
        if (afm_font const* other = afm_find(other_enc == ENC_SYMBOL ? "Symbol" : "ZapfDingbats"))
            w = other->by_code[code & 0xff];
    } else if (std::string_view glyph; r->name && ps_map_text_glyph(r->name, &glyph)) {
        // A glyph of the text font at the same size.
        afm_font const* text = afm_find("Times-Roman");
        if (int const i = afm_glyph_index(glyph); text && i >= 0)
            w = text->by_name[i];
    } else if (r->name && r->name[0] != '!') {
        int const i = afm_glyph_index(r->name);
        if (i >= 0)
            w = metrics.by_name[i];
    }
    return w == AFM_NONE ? -1 : w;
}

unsigned glyph_substitute_for(unsigned code)
{
    glyph_substitute const* end = glyph_substitutes + glyph_substitute_count;
    glyph_substitute const* it =
        std::lower_bound(glyph_substitutes, end, code,
                         [](glyph_substitute const& g, unsigned c) { return g.code < c; });
    return it != end && it->code == code ? it->substitute : 0;
}
