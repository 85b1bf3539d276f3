// Primary and secondary font selection, underline, font IDs and the font
// list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "pcl/environment.h"
#include "symbol_sets.h"

constexpr int PERMANENT = 3;
constexpr int TEMPORARY = 4;

struct pcl_font {
    int32_t id;
    int32_t symset;
    int32_t spacing;
    int32_t style;
    int32_t stroke;
    int32_t typeface;
    double pitch;
    double point_size;

    bool operator==(pcl_font const&) const = default;
};

// The characteristics of both entries before the configuration applies:
// fixed 10 pitch 12 point upright medium typeface 0 in symbol set 4U.
inline constexpr pcl_font font_defaults{0, SS_4U, 0, 0, 0, 0, 10.0, 12.0};

// At most this many font IDs are kept in font_list; assigning a further new
// ID is refused.
inline constexpr size_t FONT_LIST_MAX = 1024;

struct font_node {
    int32_t id;
    int32_t type;
    pcl_font font;
};

extern pcl_font font[2];
extern pcl_font default_font[2];
// Assigned font IDs, oldest first.
extern std::vector<font_node> font_list;

// The index of the active entry: env.font_sel names it, 0 primary and 1
// secondary (SI and SO switch it).
inline int active_font_index() { return env.font_sel != 0 ? 1 : 0; }
inline pcl_font const& active_font() { return font[active_font_index()]; }

void pcl_font_spacing(double value);
void pcl_font_pitch(double value);
void pcl_font_size(double value);
void pcl_font_style(double value);
void pcl_font_stroke(double value);
void pcl_font_typeface(double value);
void pcl_font_pitch_mode(double value);
void pcl_underline_on(double value);
void pcl_underline_off(double value);
void pcl_font_id(double value);
void pcl_font_ctl(double value);

void pcl_font_byid(int id, int which);
// hmi = trunc(72000 / pitch of the active entry), traced at level 2, and
// font_serial incremented.
void pcl_font_recompute_hmi();
// hmi = trunc(72000 / pitch of the active entry) without trace or counter;
// an unusable pitch leaves it as it was.
void pcl_font_hmi_from_pitch();
// Deletes the temporary font IDs (a printer reset).
void fnt_reset();

// Both entries at once: the built-in pair, the saved defaults of a printer
// reset, or the caller's pair after a macro level.
void fnt_restore(pcl_font const (&entries)[2]);
// The current entries become the defaults a printer reset returns to.
void fnt_save_defaults();
// The symbol set of entry `which` (0 or 1), as the designating command or
// the configuration sets it; the caller decides what else follows.
void fnt_set_symset(int which, int32_t code);
// The configured default pitch for both entries; the HMI follows.
void fnt_set_pitch_both(double pitch);

// Start-up state: both entries and their defaults built in, no font IDs.
void fonts_reset();
