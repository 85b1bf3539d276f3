#include "pcl/ps/document.h"

// Placeholder until the module is implemented.
int ps_mode;
int ps_page_counter;
int last_page;
int ps_landscape;
double ps_paper_width, ps_paper_height;
double ps_bb_width, ps_bb_height;
double ps_bb_width_1, ps_bb_height_1;
double ps_origin_x;
double ps_origin_y;
double ps_page_origin_y;
double ps_page_origin_width;
int ps_page_rotate;
int ps_last_rotate;
int ps_tray;
int emitting;
int characteristic;
std::vector<std::string> used_font_list;
int ps_barcode;
int ps_overlay_mode = 1;

void ps_set_mode(int mode) { ps_mode = mode; }
void ps_init() {}
void ps_sync_page() {}
void ps_ensure_output() {}
void ps_page_header(int) {}
void ps_page_trailer() {}
void ps_rotate_page(int) {}
void ps_endemit() {}
void ps_setpos() {}
void ps_exit(char const*) {}
void ps_document_reset() {}
