// Filled rectangles in PostScript.
#pragma once

void ps_rect_fill(int width, int height, int percent);
