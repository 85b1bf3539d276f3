#include "pcl/cursor.h"

// Placeholder until the module is implemented.
void pcl_movec(double) {}
void pcl_movedx(double) {}
void pcl_movex(double) {}
void pcl_mover(double) {}
void pcl_movedy(double) {}
void pcl_movey(double) {}
void pcl_hmi(double) {}
void pcl_vmi(double) {}
void pcl_lpi(double) {}
void pcl_eolterm(double) {}
void pcl_cursor_push_pop(double) {}
void pcl_ff() {}
void pcl_lf_cond() {}
void pcl_half_lf() {}
