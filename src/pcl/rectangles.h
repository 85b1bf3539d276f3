// Rectangle sizes, fill, simple colour palettes and the foreground colour.
#pragma once

void pcl_rect_w(double value);
void pcl_rect_dw(double value);
void pcl_rect_h(double value);
void pcl_rect_dh(double value);
void pcl_pattern_id(double value);
void pcl_rect_fill(double value);
void pcl_simple_color(double value);
void pcl_foreground_color(double value);
void pcl_palette_push_pop(double value);
