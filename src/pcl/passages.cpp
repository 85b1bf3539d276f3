#include "pcl/passages.h"

// Placeholder until the module is implemented.
int parse_pjl() { return -1; }
void parse_hpgl(int) {}
