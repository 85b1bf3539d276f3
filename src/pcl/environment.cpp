#include "pcl/environment.h"

// Placeholder until the module is implemented.
pcl_env env;
pcl_env default_env;
int default_env_valid;
int compat_f;
paper_type const known_paper_types[] = {{0, nullptr, {}}};

void pcl_init() {}
void pcl_reset() {}
void flush_page() {}
void pcl_clear_margins() {}
double dcp2in(double v) { return v * 100; }
double pcl2in(double v) { return v; }
int32_t first_line_y() { return 0; }
void pcl_page_size(double) {}
void pcl_orientation(double) {}
void pcl_paper_source(double) {}
void pcl_duplex_page_side(double) {}
void pcl_margin_left(double) {}
void pcl_margin_right(double) {}
void pcl_margin_top(double) {}
void pcl_text_length(double) {}
void pcl_page_length(double) {}
void pcl_perfskip(double) {}
void pcl_units(double) {}
void pcl_res(double) {}
void pcl_direction(double) {}
void pcl_text_parsing_method(double) {}
