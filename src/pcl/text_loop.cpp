#include "pcl/text_loop.h"

// Placeholder until the module is implemented.
void parse_text() {}
