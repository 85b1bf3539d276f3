// Filled rectangles in PostScript.
#pragma once

void ps_rect_fill(int width, int height, int percent);
// Forgets which page defined the shading procedures (a new document).
void ps_rect_output_reset();
