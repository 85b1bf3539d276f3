#include "pcl/macros.h"

// Placeholder until the module is implemented.
pcl_macro* macro_list;
pcl_macro* cur_macro;
int in_macro_definition;
macro_frame macro_stack[2];
int mac_nesting;
pcl_macro* exec_macro;
unsigned char* exec_macro_p;

void pcl_macro_id(double) {}
void pcl_macro_ctl(double) {}
void mac_start_def(int) {}
void mac_end_def() {}
void mac_buf_add(int) {}
void mac_buf_flush() {}
pcl_macro* mac_call(int, int) { return nullptr; }
int mac_getc() { return -1; }
int auto_getc() { return -1; }
void mac_pop() {}
pcl_macro* mac_get_byid(int) { return nullptr; }
void mac_free(pcl_macro*) {}
void mac_reset(int) {}
