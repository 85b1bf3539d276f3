#include "pcl/ps/rect_output.h"

// Placeholder until the module is implemented.
void ps_rect_fill(int, int, int) {}
