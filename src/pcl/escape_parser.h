// The escape-sequence parser: two-character escapes, font-ID and symbol-set
// forms, mode forms and parameterized multi-group sequences.
#pragma once

extern int movetype;  // 1 when the current value carried an explicit sign
extern int fontind;  // 0 after ESC (, 1 after ESC )

// Start-up state: no sign seen, the primary font addressed.
void escape_parser_reset();

void parse_escape();
void multisequence(char p, char g);
void interp(char p, char g, char t, double value);
