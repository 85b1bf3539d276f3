// Writing text runs: font selection, size, rotation, colour, position,
// underline and the escaped string with glyphshow fallback.
#pragma once

#include <cstdint>

extern int ps_font_enc;
extern uint32_t ps_last_color;

void ps_flush(uint16_t const* codes, int count);
