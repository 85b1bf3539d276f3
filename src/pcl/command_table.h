// The table of parameterized PCL commands and its FNV-1a hash.
#pragma once

using pcl_handler = void (*)(double value);

struct pcl_cmd {
    char const* key;  // parameterized char, group char, upper-case terminator
    char const* description;  // shown by the analysis trace
    char const* const* value_names;  // null-terminated, or null
    pcl_handler handler;  // null: recognised and ignored
    pcl_cmd* next;  // hash chain
};

extern pcl_cmd intlist[];
extern pcl_cmd** hash_buckets;
extern unsigned int hash_max_buckets;
extern unsigned int fnv_x;
extern unsigned int fnv_mask_32;

void hash_setup();
unsigned int hash_key(char const* key);
pcl_cmd* hash_lookup(char const* key);
