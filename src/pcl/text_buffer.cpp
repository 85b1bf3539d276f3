#include "pcl/text_buffer.h"

// Placeholder until the module is implemented.
uint16_t c_buf[CBUF_SIZE];
uint16_t* c_buf_p = c_buf;
int c_buf_len;
int c_buf_curX;
int c_buf_ul;

void cbuf_init() {}
void cbuf_add(int) {}
void cbuf_flush(int) {}
