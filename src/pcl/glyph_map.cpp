#include "pcl/glyph_map.h"

// Placeholder until the module is implemented.
glyph_row const ps_glyph_list[] = {{0, nullptr}};
encoding_row const ps_encoding_symbol[] = {{0, 0}};
encoding_row const ps_encoding_zdingbat[] = {{0, 0}};

void ps_map_init() {}
void ps_map_add(unsigned, unsigned, char const*, int) {}
char const* ps_map_lookup(unsigned, int, unsigned* ps_code) { *ps_code = 0; return ".notdef"; }
