#include "pcl/fonts.h"

// Placeholder until the module is implemented.
pcl_font font[2];
pcl_font default_font[2];
font_node* font_list;

void pcl_font_spacing(double) {}
void pcl_font_pitch(double) {}
void pcl_font_size(double) {}
void pcl_font_style(double) {}
void pcl_font_stroke(double) {}
void pcl_font_typeface(double) {}
void pcl_font_pitch_mode(double) {}
void pcl_underline_on(double) {}
void pcl_underline_off(double) {}
void pcl_font_id(double) {}
void pcl_font_ctl(double) {}
void pcl_font_byid(int, int) {}
void pcl_font_recompute_hmi() {}
font_node* fnt_alloc() { return nullptr; }
void fnt_free(font_node*) {}
void fnt_reset() {}
