// Writing text runs: font selection, size, rotation, colour, position,
// underline and the escaped string with glyphshow fallback.
#pragma once

#include <cstdint>

extern int ps_font_enc;
extern uint32_t ps_last_color;
// The string being shown: 0 none, 1 plain, 2 underlined.
extern int emitting;
// The font counter of the font last selected in the output (0: none).
extern int characteristic;

void ps_flush(uint16_t const* codes, int count);
// Closes the string being shown, if any.
void ps_endemit();
// A new page: showpage dropped the font and set the colour back to black.
void ps_text_page_start();
// Start-up state: no string open, no font selected, no font encoding
// chosen, black text.
void ps_text_reset();
