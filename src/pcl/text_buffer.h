// The pending text run: characters that share one start position, font and
// underline mode, converted to Unicode as they arrive.
#pragma once

#include <cstdint>

constexpr int CBUF_SIZE = 1024;

extern uint16_t c_buf[CBUF_SIZE];
extern uint16_t* c_buf_p;
extern int c_buf_len;
extern int c_buf_curX;
extern int c_buf_ul;

void cbuf_init();
void cbuf_add(int ch);
void cbuf_flush(int reason);
