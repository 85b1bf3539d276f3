// Map from Unicode code points to a byte of the output font's encoding
// (0 Latin-1 text fonts, 1 Symbol, 2 ZapfDingbats) or to a glyph name.
#pragma once

#include <cstdint>
#include <string_view>

struct glyph_row {
    uint16_t code;
    char const* name;
};

struct encoding_row {
    uint16_t code;
    uint16_t ps_code;
};

// One mapping of the chained hash table `ps_map`: records 0..255 are the
// bucket heads (bucket = low byte of the code point), overflow records are
// handed out from index 256 on, so a `next` of 0 ends a chain.
struct map_record {
    uint16_t code;  // Unicode code point; 0 marks an empty record
    uint16_t ps_code;  // byte of the encoding (0x20..0xFF), 0: shown by name
    char const* name;  // glyph name; null for Symbol and ZapfDingbats records
    int32_t enc;  // 0 Latin-1 text fonts, 1 Symbol, 2 ZapfDingbats
    int32_t next;  // index of the next record of the bucket, 0 at the end
};

constexpr int MAPSIZE = 4096;
constexpr int MAP_BUCKETS = 256;

extern map_record ps_map[MAPSIZE];
extern int ps_map_next;
// Counts every change of the map, so a result derived from it can tell it
// is still current.
extern uint32_t ps_map_changes;

extern glyph_row const ps_glyph_list[];
extern encoding_row const ps_encoding_symbol[];
extern encoding_row const ps_encoding_zdingbat[];

// Builds the map for the rendering in force (the earlier one lacks the
// stand-ins), starting from an empty map, so that a run in the same process
// after one of the other rendering keeps none of its records.
void ps_map_init();
// For a name the map returned: whether it stands for a glyph of the Symbol
// (enc 1) or ZapfDingbats (enc 2) font shown in place of one the text fonts
// lack, and that glyph's code.
bool ps_map_fallback(char const* name, int* enc, unsigned* code);
// For a name the map returned: whether it shows a glyph of the text font
// Times-Roman in place of one the Symbol or ZapfDingbats font lacks, and
// that glyph's name.
bool ps_map_text_glyph(char const* name, std::string_view* glyph);
void ps_map_add(unsigned code, unsigned ps_code, char const* name, int enc);
char const* ps_map_lookup(unsigned code, int enc, unsigned* ps_code);
// The record ps_map_lookup answers from, or null (no analysis message).
map_record const* ps_map_find(unsigned code, int enc);
// Empties the map (start-up state); used by tests.
void ps_map_reset();
