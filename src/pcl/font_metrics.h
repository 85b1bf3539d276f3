// The PostScript font that renders a PCL font, and the advance widths of
// the standard fonts (generated from their AFM metrics into
// font_metrics_tables.cpp).
#pragma once

#include <cstdint>
#include <string_view>

#include "pcl/fonts.h"

// Encodings of the output fonts (the glyph map's `enc`).
enum ps_encoding : int {
    ENC_LATIN1 = 0,
    ENC_SYMBOL = 1,
    ENC_DINGBATS = 2,
};

struct ps_font_choice {
    char const* name;  // PostScript font name (configured or standard)
    int enc;  // ps_encoding
};

// Width tables of one font, in 1/1000 of the point size; AFM_NONE marks a
// code or glyph the font lacks.
struct afm_font {
    char const* name;
    uint16_t const* by_code;  // 256: byte of the output encoding
    uint16_t const* by_name;  // parallel to afm_glyph_names
};
inline constexpr uint16_t AFM_NONE = 0xFFFF;

extern char const* const afm_glyph_names[];  // sorted (strcmp order)
extern int const afm_glyph_count;
extern afm_font const afm_fonts[];  // sorted by name
extern int const afm_font_count;

// A character and a close one to print in its place where a font lacks it.
struct glyph_substitute {
    uint16_t code;
    uint16_t substitute;
};
extern glyph_substitute const glyph_substitutes[];  // ascending by code
extern int const glyph_substitute_count;
// The substitute of a code point, or 0.
unsigned glyph_substitute_for(unsigned code);

// The PostScript font and encoding for a PCL font: Symbol for the math
// sets, ZapfDingbats for the dingbat set, otherwise the configured [tfN]
// font or the standard font of the typeface's class.
ps_font_choice ps_font_for(pcl_font const& f);

// The configured width of a fixed-pitch text font ([tfN] width-<stroke>b
// <style>s, else width), in percent of the point size, as written; null
// when none is configured.
char const* ps_font_width_option(pcl_font const& f);

// The metrics of a font by PostScript name; null when unknown.
afm_font const* afm_find(std::string_view name);
// The glyph's index in afm_glyph_names, or -1.
int afm_glyph_index(std::string_view name);
// The width (1/1000 of the size) of what the output draws for a code
// point in the font, or -1 when the font lacks that glyph.
int afm_width(afm_font const& metrics, unsigned code, int enc);
