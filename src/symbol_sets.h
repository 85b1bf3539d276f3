// PCL symbol sets: the supported codes, selection for the primary and
// secondary font, and conversion of character codes to Unicode.
#pragma once

#include <cstdint>

// number * 32 + (letter - 64)
constexpr int symset_code(int number, char letter) { return number * 32 + (letter - 64); }

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
