#include "ghostscript.h"

std::string gs_cmd;

// Placeholder until the module is implemented.
void gs_setup(int, char const*, char const*) {}
void gs_run() {}
int gs_close() { return -1; }
