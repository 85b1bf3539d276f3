// PCL symbol sets: the supported codes, selection for the primary and
// secondary font, and conversion of character codes to Unicode.
#pragma once

#include <cstdint>

// number * 32 + (letter - 64)
constexpr int symset_code(int number, char letter) { return number * 32 + (letter - 64); }

// The supported symbol-set codes.
enum : int {
    SS_0B = symset_code(0, 'B'),  // line drawing
    SS_0L = symset_code(0, 'L'),  // line drawing
    SS_0N = symset_code(0, 'N'),  // ISO 8859-1
    SS_2N = symset_code(2, 'N'),  // ISO 8859-2
    SS_3N = symset_code(3, 'N'),  // ISO 8859-3
    SS_4N = symset_code(4, 'N'),  // ISO 8859-4
    SS_4U = symset_code(4, 'U'),  // Roman-8 with the euro sign
    SS_5M = symset_code(5, 'M'),  // math symbols
    SS_5N = symset_code(5, 'N'),  // ISO 8859-5
    SS_8U = symset_code(8, 'U'),  // Roman-8
    SS_9N = symset_code(9, 'N'),  // ISO 8859-15
    SS_9U = symset_code(9, 'U'),  // code page 1252
    SS_10U = symset_code(10, 'U'),  // code page 437
    SS_11U = symset_code(11, 'U'),  // code page 437, Nordic variant
    SS_12U = symset_code(12, 'U'),  // code page 850
    SS_14L = symset_code(14, 'L'),  // dingbats
    SS_18N = symset_code(18, 'N'),  // Unicode
    SS_19M = symset_code(19, 'M'),  // math symbols
    SS_19U = symset_code(19, 'U'),  // code page 1252
};

void pcl_symset(int code, int which);
int cv_symset_supported(int code);
int cv_symset(int code, int ch);

extern uint16_t const map_8859_1[256];
extern uint16_t const map_8859_2[256];
extern uint16_t const map_8859_3[256];
extern uint16_t const map_8859_4[256];
extern uint16_t const map_8859_5[256];
extern uint16_t const map_8859_15[256];
extern uint16_t const map_cp1252[256];
extern uint16_t const map_cp437[256];
extern uint16_t const map_cp437n[256];
extern uint16_t const map_cp850[256];
extern uint16_t const map_roman8[256];
extern uint16_t const map_math[256];
extern uint16_t const map_zdingbat[256];
extern uint16_t const map_ldraw[96];

// The further published sets, in ascending order of code.
struct symset_table {
    int32_t code;
    char const* id;
    uint16_t map[256];
};
extern symset_table const symset_tables[];
extern int const symset_table_count;
