#include "pcl/ps/text_emitter.h"

// Placeholder until the module is implemented.
int ps_font_enc;
uint32_t ps_last_color;

void ps_flush(uint16_t const*, int) {}
