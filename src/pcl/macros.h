// PCL macros: recording, the store, execute, call and automatic overlay.
#pragma once

#include <cstdint>

#include "pcl/environment.h"
#include "pcl/fonts.h"

constexpr int MAC_EXECUTE = 0;
constexpr int MAC_CALL = 1;
constexpr int MAC_OVERLAY = 2;
constexpr int MAC_MAX_SIZE = 1048576;

struct pcl_macro {
    pcl_macro* next;
    int32_t id;
    int32_t type;
    int32_t size;
    unsigned char* data;
};

struct macro_frame {
    int32_t mode;
    pcl_macro* macro;
    unsigned char* pos;
    pcl_env env;
    pcl_font font[2];
};

extern pcl_macro* macro_list;
extern pcl_macro* cur_macro;
extern int in_macro_definition;
extern macro_frame macro_stack[2];
extern int mac_nesting;
extern pcl_macro* exec_macro;
extern unsigned char* exec_macro_p;

void pcl_macro_id(double value);
void pcl_macro_ctl(double value);

void mac_start_def(int id);
void mac_end_def();
void mac_buf_add(int byte);
void mac_buf_flush();
pcl_macro* mac_call(int id, int mode);
int mac_getc();
int auto_getc();
void mac_pop();
pcl_macro* mac_get_byid(int id);
void mac_free(pcl_macro* macro);
void mac_reset(int kind);
