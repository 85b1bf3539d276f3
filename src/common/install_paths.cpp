#include "common/install_paths.h"

static char path[1024] = "/opt/zenthorax/8.4";

// Placeholder until the module is implemented.
char* zx_path() { return path; }
char* zx_lib_path() { return path; }
char* zx_bin_path() { return path; }
char* zx_lbin_path() { return path; }
char* zx_dll_path() { return path; }
char* zx_terminal_path() { return path; }
char* zx_terminfo_path() { return path; }
char* zx_share_path() { return path; }
char* zx_tmp_path() { return path; }
char* zx_config_path() { return path; }
nl_catd zx_catopen(char const*, char const*) { return reinterpret_cast<nl_catd>(-1); }
void product_banner(char const*) {}
void validate_product(char const*) {}
