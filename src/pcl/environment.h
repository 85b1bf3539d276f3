// The PCL page model: the environment record, page sizes, start-up from
// the configured defaults, the printer reset and the page-setup commands.
// Lengths are int32 in 1/72000 inch; y grows downward from the top of the
// logical page.
#pragma once

#include <cstdint>

struct pcl_pos {
    int32_t x;
    int32_t y;

    bool operator==(pcl_pos const&) const = default;
};

struct pcl_env {
    int32_t page_size;
    char const* page_name;
    int32_t paper_width;
    int32_t paper_height;
    int32_t page_width;
    int32_t page_height;
    int32_t page_xofs;
    int32_t page_yofs;
    int32_t font_sel;
    int32_t paper_source;
    int32_t cur_x;
    int32_t cur_y;
    int32_t underline;
    int32_t orientation;
    int32_t direction;
    int32_t perf_skip;
    int32_t top_margin;
    int32_t text_length;
    int32_t left_margin;
    int32_t right_margin;
    int32_t vmi;
    int32_t hmi;
    int32_t resolution;
    int32_t units;
    int32_t eol_term;
    int32_t pos_sp;
    pcl_pos pos_stack[20];
    int32_t font_serial;
    int32_t page_serial;
    int32_t page_dirty;
    int32_t macro_id;
    int32_t overlay_id;
    int32_t pattern_id;
    int32_t rect_width;
    int32_t rect_height;
    int32_t font_id;
    int32_t pos_changed;
    uint32_t fg_color;
    int32_t palette;
    int32_t palette_sp;
    int32_t palette_stack[3];
    int32_t text_method;
    int32_t duplex;  // 0 simplex, 1 long-edge, 2 short-edge binding (ESC&l#S)
    int32_t copies;  // copies asked for (ESC&l#X); 0 when never set

    bool operator==(pcl_env const&) const = default;
};

struct paper_type {
    int32_t code;
    char const* name;
    int32_t dims
        [2][6];  // [portrait, landscape] x {phys W, phys L, log W, log L, xofs, yofs} in 1/300 inch
};

extern pcl_env env;
extern pcl_env default_env;
extern int default_env_valid;
extern int compat_f;

// Compatibility bits of the BCOMPAT item. Bit 4 restores the earlier
// rendering (pages, text and characters exactly as before the printer-faithful
// defaults) for sites whose downstream tools depend on it byte for byte.
enum compat_bit : int {
    COMPAT_CURSOR = 1,
    COMPAT_HALF_LINE = 2,
    COMPAT_LEGACY = 4,
};
inline bool compat_legacy() { return (compat_f & COMPAT_LEGACY) != 0; }
extern paper_type const known_paper_types[];

// Counters that the output side compares for inequality wrap around instead
// of sticking at the limit.
inline int32_t next_serial(int32_t serial)
{
    return static_cast<int32_t>(static_cast<uint32_t>(serial) + 1u);
}

// Tells the output side that the active font may have changed.
inline void font_serial_bump() { env.font_serial = next_serial(env.font_serial); }

// Start-up state: an empty environment and no saved defaults.
void environment_reset();
// The power-on environment from the configuration (after environment_reset).
void pcl_init();
// The printer reset: back to the saved defaults.
void pcl_reset();
void flush_page();
void pcl_clear_margins();
double dcp2in(double v);
double pcl2in(double v);
// The first-line position: trunc(top_margin + 0.75 * vmi).
int32_t first_line_y();

void pcl_page_size(double value);
void pcl_orientation(double value);
void pcl_paper_source(double value);
void pcl_duplex_page_side(double value);
void pcl_duplex(double value);
void pcl_copies(double value);
void pcl_margin_left(double value);
void pcl_margin_right(double value);
void pcl_margin_top(double value);
void pcl_text_length(double value);
void pcl_page_length(double value);
void pcl_perfskip(double value);
void pcl_units(double value);
void pcl_res(double value);
void pcl_direction(double value);
void pcl_text_parsing_method(double value);
