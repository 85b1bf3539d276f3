// Map from Unicode code points to a byte of the output font's encoding
// (0 Latin-1 text fonts, 1 Symbol, 2 ZapfDingbats) or to a glyph name.
#pragma once

#include <cstdint>

struct glyph_row {
    uint16_t code;
    char const* name;
};

struct encoding_row {
    uint16_t code;
    uint16_t ps_code;
};

extern glyph_row const ps_glyph_list[];
extern encoding_row const ps_encoding_symbol[];
extern encoding_row const ps_encoding_zdingbat[];

void ps_map_init();
void ps_map_add(unsigned code, unsigned ps_code, char const* name, int enc);
char const* ps_map_lookup(unsigned code, int enc, unsigned* ps_code);
