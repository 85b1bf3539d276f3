// Rectangle sizes, fill, simple colour palettes and the foreground colour.
#pragma once

#include <cstdint>

void pcl_rect_w(double value);
void pcl_rect_dw(double value);
void pcl_rect_h(double value);
void pcl_rect_dh(double value);
void pcl_pattern_id(double value);
void pcl_rect_fill(double value);
void pcl_simple_color(double value);
void pcl_foreground_color(double value);
void pcl_palette_push_pop(double value);

// The shading level (percent) printed for a shaded fill with an area-fill
// ID of 0..100: each range of IDs prints with the level of its lower bound
// (0 shares the first range).
int rect_shading_percent(int32_t pattern_id);
