#include "pcl/command_table.h"

// Placeholder until the module is implemented.
pcl_cmd intlist[] = {{nullptr, nullptr, nullptr, nullptr, nullptr}};
pcl_cmd** hash_buckets;
unsigned int hash_max_buckets;
unsigned int fnv_x;
unsigned int fnv_mask_32;

void hash_setup() {}
unsigned int hash_key(char const*) { return 0; }
pcl_cmd* hash_lookup(char const*) { return nullptr; }
