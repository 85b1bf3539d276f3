#include "pcl/data_blocks.h"

// Placeholder until the module is implemented.
void readdesc(int, unsigned) {}
void readchar(unsigned) {}
void readps(unsigned) {}
