#include "pcl/ps/eps.h"

// Placeholder until the module is implemented.
int eps_read_header(FILE*, int*, double box[4]) { box[0] = box[1] = box[2] = box[3] = 0; return -1; }
void ps_eps_file(char const*) {}
void ps_include_file(char const*) {}
void eps_embed(FILE*, int, double) {}
void ps_include_eps_file(double, double, char const*, int, int) {}
