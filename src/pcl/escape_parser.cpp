#include "pcl/escape_parser.h"

// Placeholder until the module is implemented.
int movetype;
int fontind;

void parse_escape() {}
void multisequence(char, char) {}
void interp(char, char, char, double) {}
