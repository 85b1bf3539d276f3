#include "symbol_sets.h"

// Placeholder until the module is implemented.
void pcl_symset(int, int) {}
int cv_symset_supported(int) { return 0; }
int cv_symset(int, int ch) { return ch; }
