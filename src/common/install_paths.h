// Directories of the installed product family, from environment variables
// with built-in defaults, and the product banner.
#pragma once

#include <nl_types.h>

#include <cstdio>

char* zx_path();
char* zx_lib_path();
char* zx_bin_path();
char* zx_lbin_path();
char* zx_dll_path();
char* zx_terminal_path();
char* zx_terminfo_path();
char* zx_share_path();
char* zx_tmp_path();
char* zx_config_path();
nl_catd zx_catopen(char const* name, char const* locale);
// Prints the banner to standard error, or to `out` (the help text).
void product_banner(char const* name, FILE* out = stderr);
void validate_product(char const* name);
