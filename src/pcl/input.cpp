#include "pcl/input.h"

// Placeholder until the module is implemented.
getchar_fn getchar_func = getc_only;
int getc_buf[8];
int getc_buf_ofs;
int getc_buf_cnt;

int getc_only() { return -1; }
int getc_copy() { return -1; }
int pcl_getc() { return getchar_func(); }
int pcl_get_char() { return pcl_getc(); }
void readhex(int) {}
