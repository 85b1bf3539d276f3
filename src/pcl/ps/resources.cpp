#include "pcl/ps/resources.h"

// Placeholder until the module is implemented.
void ps_include_resource(char const*) {}
void ps_pdfa_def() {}
