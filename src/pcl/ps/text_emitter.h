// Writing text runs: font selection, size, rotation, colour, position,
// underline and the escaped string with glyphshow fallback.
#pragma once

#include <cstdint>

extern int ps_font_enc;
extern uint32_t ps_last_color;

void ps_flush(uint16_t const* codes, int count);
// A new page: showpage set the colour back to black.
void ps_text_page_start();
// Start-up state: no font encoding chosen, black text.
void ps_text_reset();
