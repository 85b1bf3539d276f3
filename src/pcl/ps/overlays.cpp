#include "pcl/ps/overlays.h"

// Placeholder until the module is implemented.
void ps_overlay() {}
