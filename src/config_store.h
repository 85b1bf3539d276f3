// The configuration store: (section, item, value) strings from the
// configuration file and -C definitions. Names compare without regard to
// case; the first matching entry wins; an empty value counts as absent.
#pragma once

#include <cstdint>

int config_add_value(char const* section, char const* item, char const* value);
char const* config_get_option(char const* section, char const* item, char const* def);
char const* config_enum_section(char const* section, char const** item, int* index);
char const* config_enum_item(char const* section, char const* item, int* index);
int config_read_file(char const* path, int optional);
int config_parse_option(char const* text);

// A configured number: a base-10 integer as strtol reads it, saturated to the
// int32 range; text that is not a number reads as 0.
int32_t config_int(char const* text);

// A count that changes whenever an entry is added or the store is emptied:
// what was computed from the configuration under an equal count still holds.
uint32_t config_changes();

// Empties the store (start-up state); used by tests.
void config_clear();
