#include "pcl/rectangles.h"

// Placeholder until the module is implemented.
void pcl_rect_w(double) {}
void pcl_rect_dw(double) {}
void pcl_rect_h(double) {}
void pcl_rect_dh(double) {}
void pcl_pattern_id(double) {}
void pcl_rect_fill(double) {}
void pcl_simple_color(double) {}
void pcl_foreground_color(double) {}
void pcl_palette_push_pop(double) {}
