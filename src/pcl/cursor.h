// Cursor motion, spacing, line termination, the cursor stack and the line
// and page advance.
#pragma once

void pcl_movec(double value);
void pcl_movedx(double value);
void pcl_movex(double value);
void pcl_mover(double value);
void pcl_movedy(double value);
void pcl_movey(double value);
void pcl_hmi(double value);
void pcl_vmi(double value);
void pcl_lpi(double value);
void pcl_eolterm(double value);
void pcl_cursor_push_pop(double value);

void pcl_ff();
void pcl_lf_cond();
void pcl_half_lf();
