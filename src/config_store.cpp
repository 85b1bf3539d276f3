#include "config_store.h"

// Placeholder until the module is implemented.
int config_add_value(char const*, char const*, char const*) { return 0; }
char const* config_get_option(char const*, char const*, char const* def) { return def; }
char const* config_enum_section(char const*, char const**, int*) { return nullptr; }
char const* config_enum_item(char const*, char const*, int*) { return nullptr; }
int config_read_file(char const*, int optional) { return optional ? 2 : 0; }
int config_parse_option(char const*) { return 1; }
void config_clear() {}
