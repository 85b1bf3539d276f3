// The PostScript document frame: header, prolog, setup, pages with their
// rotation and coordinate transform, and the trailer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

extern int ps_mode;
extern int ps_page_counter;
extern int last_page;
extern int ps_landscape;
extern double ps_paper_width, ps_paper_height;
extern double ps_bb_width, ps_bb_height;
extern double ps_bb_width_1, ps_bb_height_1;
extern double ps_origin_x;
extern double ps_origin_y;
extern double ps_page_origin_y;
extern double ps_page_origin_width;
extern int ps_page_rotate;
extern int ps_last_rotate;
extern int ps_tray;
extern std::vector<std::string> used_font_list;
extern int ps_barcode;
extern int ps_overlay_mode;

void ps_set_mode(int mode);
void ps_init();
// Starts the document or moves to a new page before a mark is written.
// Returns false (and writes nothing) when there is no output stream.
bool ps_sync_page();
// Makes sure the output stream exists (starts the document if needed);
// used before verbatim data and inclusions are written. Returns false when
// there is no output stream to write to.
bool ps_ensure_output();
void ps_page_header(int first);
void ps_page_trailer();
void ps_rotate_page(int angle);
void ps_setpos();
// The coordinate transform: a position of the logical page (1/72000 inch,
// x to the right, y downward) in PostScript points of the rotation in force.
double ps_x(int64_t x);
double ps_y(int64_t y);
void ps_exit(char const* marks_path);
// The resource names of the CONFIG item INCLUDE, in list order.
std::vector<std::string> ps_include_names(char const* list);
// Returns the document module to its start-up state; used by tests.
void ps_document_reset();
