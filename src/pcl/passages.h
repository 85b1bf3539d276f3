// Skipping of PJL lines after the universal exit and of HP-GL/2 passages.
#pragma once

int parse_pjl();
void parse_hpgl(int value);
