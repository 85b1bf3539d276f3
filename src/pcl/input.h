// The character source of the PCL reader: a look-ahead buffer in front of a
// replaceable raw input function, and the decoding of characters under the
// current text parsing method.
#pragma once

using getchar_fn = int (*)();

extern getchar_fn getchar_func;
extern int getc_buf[8];
extern int getc_buf_ofs;
extern int getc_buf_cnt;

int getc_only();
int getc_copy();
int pcl_getc();
int pcl_get_char();
void readhex(int count);
