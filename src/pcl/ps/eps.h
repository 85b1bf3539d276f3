// EPS and PostScript file inclusion.
#pragma once

#include <cstdio>

// Start-up state: no unreadable file reported yet.
void eps_reset();

int eps_read_header(FILE* f, int* count, double box[4]);
void ps_eps_file(char const* path);
void ps_include_file(char const* path);
void eps_embed(FILE* f, int length, double height);
void ps_include_eps_file(double x, double y, char const* path, int scale, int align);
