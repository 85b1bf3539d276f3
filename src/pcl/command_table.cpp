#include "pcl/command_table.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "invariant.h"
#include "pcl/cursor.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/macros.h"
#include "pcl/raster.h"
#include "pcl/rectangles.h"
#include "run_mode.h"

namespace {

// Value names shown by the analysis trace, indexed by the command value.
constexpr char const* rf_parm[] = {
    "Black fill (rule)",         "Erase (white) fill",   "Shaded fill", "Cross-hatch fill",
    "User-defined pattern fill", "Current pattern fill", nullptr};
constexpr char const* page_side_parm[] = {"Select next side", "Select front side",
                                          "Select back side", nullptr};
constexpr char const* duplex_parm[] = {"Simplex", "Duplex long edge binding",
                                       "Duplex short edge binding", nullptr};
constexpr char const* or_parm[] = {"Portrait", "Landscape", "Reverse Portrait", "Reverse Landscape",
                                   nullptr};
constexpr char const* mctl_parm[] = {"Start macro definition",
                                     "Stop macro definition",
                                     "Execute macro",
                                     "Call macro",
                                     "Enable automatic overlay",
                                     "Disable automatic overlay",
                                     "Delete all macros",
                                     "Delete all temporary macros",
                                     "Delete macro",
                                     "Make macro temporary",
                                     "Make macro permanent",
                                     nullptr};
constexpr char const* ps_parm[] = {"Disable", "Enable", nullptr};
constexpr char const* sg_parm[] = {"Left-most position", "Current Cursor", nullptr};
constexpr char const* pm_parm[] = {"10 CPI", "5 CPI", "16.67 CPI", "", "12 CPI", nullptr};
constexpr char const* tf_parm[] = {"Line Printer",   "Pica",        "Elite",         "Courier",
                                   "Helvetica",      "Times Roman", "Letter Gothic", "Script",
                                   "Prestige Elite", nullptr};
constexpr char const* st_parm[] = {"Upright",  "Italic",    "",
                                   "",         "Condensed", "Condensed italic",
                                   "",         "",          "Compressed or extra condensed",
                                   "",         "",          "",
                                   "",         "",          "",
                                   "",         "",          "",
                                   "",         "",          "",
                                   "",         "",          "",
                                   "Expanded", nullptr};
constexpr char const* sp_parm[] = {"Fixed", "Proportional", nullptr};
constexpr char const* fch_parm[] = {"Delete all fonts",
                                    "Delete all temporary fonts",
                                    "Delete last font ID specified",
                                    "Delete last font ID and char code",
                                    "Make Temp font",
                                    "Make Perm font",
                                    "Copy/Assign",
                                    nullptr};

static_assert(sizeof st_parm / sizeof st_parm[0] == 26, "st_parm ends at index 24");

// Storage of the bucket array behind hash_buckets.
std::vector<pcl_cmd*> bucket_store;

// An internal invariant of the command hash failed: report and stop.
[[noreturn]] void hash_assert_failed(char const* function, char const* expr)
{
    invariant_failed("pcl/parser", function, expr);
}

}  // namespace

pcl_cmd intlist[] = {
    {"&lX", "Number of Copies", nullptr, pcl_copies, nullptr},
    {"&lS", "Simplex/Duplex", duplex_parm, pcl_duplex, nullptr},
    {"&lU", "Left Offset", nullptr, nullptr, nullptr},
    {"&lZ", "Top Offset", nullptr, nullptr, nullptr},
    {"&aG", "Duplex Page Side Selection", page_side_parm, pcl_duplex_page_side, nullptr},
    {"&lT", "Job Separation", nullptr, nullptr, nullptr},
    {"&lG", "Output Bin Selection", nullptr, nullptr, nullptr},
    {"&uD", "Units of Measure", nullptr, pcl_units, nullptr},
    {"&lA", "Page Size", nullptr, pcl_page_size, nullptr},
    {"&lH", "Paper Source", nullptr, pcl_paper_source, nullptr},
    {"&lO", "Orientation", or_parm, pcl_orientation, nullptr},
    {"&aP", "Print Direction", nullptr, pcl_direction, nullptr},
    {"&nW", "Paper Type", nullptr, nullptr, nullptr},
    {"&aL", "Left Margin", nullptr, pcl_margin_left, nullptr},
    {"&aM", "Right Margin", nullptr, pcl_margin_right, nullptr},
    {"&lE", "Top Margin", nullptr, pcl_margin_top, nullptr},
    {"&lF", "Text Length", nullptr, pcl_text_length, nullptr},
    {"&lL", "Perf Skip", ps_parm, pcl_perfskip, nullptr},
    {"&kH", "HMI", nullptr, pcl_hmi, nullptr},
    {"&lC", "VMI", nullptr, pcl_vmi, nullptr},
    {"&lD", "Lines/Inch", nullptr, pcl_lpi, nullptr},
    {"&lP", "Page Length", nullptr, pcl_page_length, nullptr},
    {"&aC", "Horizontal Cursor Positioning (Columns)", nullptr, pcl_movec, nullptr},
    {"&aH", "Horizontal Cursor Positioning (Decipoints)", nullptr, pcl_movedx, nullptr},
    {"*pX", "Horizontal Cursor Positioning (PCL Units)", nullptr, pcl_movex, nullptr},
    {"&aR", "Vertical Cursor Positioning (Rows)", nullptr, pcl_mover, nullptr},
    {"&aV", "Vertical Cursor Positioning (Decipoints)", nullptr, pcl_movedy, nullptr},
    {"*pY", "Vertical Cursor Positioning (PCL Units)", nullptr, pcl_movey, nullptr},
    {"&kG", "Line Termination", nullptr, pcl_eolterm, nullptr},
    {"&fS", "Push/Pop Cursor Position", nullptr, pcl_cursor_push_pop, nullptr},
    {"&sC", "Line Wrap", nullptr, nullptr, nullptr},
    {"(sP", "Primary Spacing", sp_parm, pcl_font_spacing, nullptr},
    {"(sH", "Primary Pitch", nullptr, pcl_font_pitch, nullptr},
    {"(sV", "Primary Point Size", nullptr, pcl_font_size, nullptr},
    {"(sS", "Primary Style", st_parm, pcl_font_style, nullptr},
    {"(sB", "Primary Stroke", nullptr, pcl_font_stroke, nullptr},
    {"(sT", "Primary Typeface", tf_parm, pcl_font_typeface, nullptr},
    {")sP", "Secondary Spacing", sp_parm, pcl_font_spacing, nullptr},
    {")sH", "Secondary Pitch", nullptr, pcl_font_pitch, nullptr},
    {")sV", "Secondary Point Size", nullptr, pcl_font_size, nullptr},
    {")sS", "Secondary Style", st_parm, pcl_font_style, nullptr},
    {")sB", "Secondary Stroke", nullptr, pcl_font_stroke, nullptr},
    {")sT", "Secondary Typeface", tf_parm, pcl_font_typeface, nullptr},
    {"&kS", "Font Pitch", pm_parm, pcl_font_pitch_mode, nullptr},
    {"&pX", "Transparent Print", nullptr, nullptr, nullptr},
    {"&pW", "PS Verbatim", nullptr, nullptr, nullptr},
    {"&dD", "Underline on", nullptr, pcl_underline_on, nullptr},
    {"&d@", "Underline off", nullptr, pcl_underline_off, nullptr},
    {"*cD", "Font ID", nullptr, pcl_font_id, nullptr},
    {"*cF", "Font/Char control", fch_parm, pcl_font_ctl, nullptr},
    {"*cR", "Symbol Set ID", nullptr, nullptr, nullptr},
    {"(fW", "Downoad Symbol Set", nullptr, nullptr, nullptr},
    {"*cS", "Symbol Set Control", nullptr, nullptr, nullptr},
    {")sW", "Create Font Header", nullptr, nullptr, nullptr},
    {"*cE", "Character Code", nullptr, nullptr, nullptr},
    {"(sW", "Download Character", nullptr, nullptr, nullptr},
    {"&fY", "Macro ID", nullptr, pcl_macro_id, nullptr},
    {"&fX", "Macro control", mctl_parm, pcl_macro_ctl, nullptr},
    {"*vN", "Transparency Mode", nullptr, nullptr, nullptr},
    {"*vO", "Pattern Transparency Mode", nullptr, nullptr, nullptr},
    {"*vT", "Select Current Pattern", nullptr, nullptr, nullptr},
    {"*cW", "Transfer pattern", nullptr, nullptr, nullptr},
    {"*pR", "Set Pattern Reference Point", nullptr, nullptr, nullptr},
    {"*cQ", "Pattern Control", nullptr, nullptr, nullptr},
    {"*cH", "Horizontal Rectangle Size (Decipoints)", nullptr, pcl_rect_dw, nullptr},
    {"*cA", "Horizontal Rectangle Size (PCL Units)", nullptr, pcl_rect_w, nullptr},
    {"*cV", "Vertical Rectangle Size (Decipoints)", nullptr, pcl_rect_dh, nullptr},
    {"*cB", "Vertical Rectangle Size (PCL Units)", nullptr, pcl_rect_h, nullptr},
    {"*cG", "Pattern id", nullptr, pcl_pattern_id, nullptr},
    {"*cP", "Fill Rectangular Area", rf_parm, pcl_rect_fill, nullptr},
    {"*tR", "Raster Graphics Resolution", nullptr, pcl_res, nullptr},
    {"*rF", "Raster Graphics Presentation Mode", nullptr, pcl_raster_presentation, nullptr},
    {"*rT", "Raster Height", nullptr, pcl_raster_height, nullptr},
    {"*rS", "Raster Width", nullptr, pcl_raster_width, nullptr},
    {"*rA", "Start Graphics", sg_parm, pcl_raster_start, nullptr},
    {"*bY", "Raster Y Offset", nullptr, pcl_raster_y_offset, nullptr},
    {"*bM", "Compression Method", nullptr, pcl_raster_compression, nullptr},
    {"*bW", "Transfer Raster Data", nullptr, nullptr, nullptr},
    {"*bV", "Transfer Raster Plane", nullptr, nullptr, nullptr},
    {"*gW", "Configure Raster Data", nullptr, nullptr, nullptr},
    {"*rC", "End Raster Graphics", nullptr, pcl_raster_end_reset, nullptr},
    {"*rB", "End Raster Graphics", nullptr, pcl_raster_end, nullptr},
    {"*rU", "Simple Color", nullptr, pcl_raster_simple_color, nullptr},
    {"*vS", "Foreground Color", nullptr, pcl_foreground_color, nullptr},
    {"*pP", "Push/Pop Palette", nullptr, pcl_palette_push_pop, nullptr},
    {"&pI", "Palette ID", nullptr, nullptr, nullptr},
    {"&pC", "Palette op", nullptr, nullptr, nullptr},
    {"&pS", "Select palette", nullptr, nullptr, nullptr},
    {"*vA", "Color component 1", nullptr, pcl_raster_component_1, nullptr},
    {"*vB", "Color component 2", nullptr, pcl_raster_component_2, nullptr},
    {"*vC", "Color component 3", nullptr, pcl_raster_component_3, nullptr},
    {"*vI", "Assign color index", nullptr, pcl_raster_assign_color, nullptr},
    {"&bM", "Monochrome Print Mode", nullptr, nullptr, nullptr},
    {"*tH", "Scaled Raster Width", nullptr, pcl_raster_dest_width, nullptr},
    {"*tV", "Scaled Raster Height", nullptr, pcl_raster_dest_height, nullptr},
    {"*cT", "HP GL Picture anchor point (current position)", nullptr, nullptr, nullptr},
    {"*cX", "HP GL Picture frame width (decipoints)", nullptr, nullptr, nullptr},
    {"*cY", "HP GL Picture frame height (decipoints)", nullptr, nullptr, nullptr},
    {"*vW", "Image data (RGB)", nullptr, nullptr, nullptr},
    {"*lO", "Raster OP", nullptr, nullptr, nullptr},
    {"*lW", "Color Lookup Tables", nullptr, nullptr, nullptr},
    {"*iW", "Viewing Illuminant", nullptr, nullptr, nullptr},
    {"*mW", "Download Dither Matrix", nullptr, nullptr, nullptr},
    {"*oW", "Driver Configuration", nullptr, nullptr, nullptr},
    {"&bW", "Configuration (I/O)", nullptr, nullptr, nullptr},
    {"&tP", "Text Parsing Method", nullptr, pcl_text_parsing_method, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

pcl_cmd** hash_buckets;
unsigned int hash_max_buckets;
unsigned int fnv_x;
unsigned int fnv_mask_32;

namespace {

constexpr uint32_t fnv_offset_basis = 0x811C9DC5u;
constexpr uint32_t fnv_prime = 16777619u;
constexpr unsigned max_hash_bits = 16;

// Every command a job sends is looked up, so the keys made of a
// parameterized character (& * ( )), a lower-case group character and a
// terminator from @ to Z are also found through a direct table, indexed by
// those three characters, holding the row's index plus one (0: no such
// command). The hash chains stay the reference: the table is filled from
// them, and keys outside its range are looked up in them.
constexpr int direct_groups = 26;
constexpr int direct_terminators = 'Z' - '@' + 1;
uint16_t direct_rows[4][direct_groups][direct_terminators];

// The table plane of each parameterized character, -1 for other bytes.
constexpr auto direct_planes = [] {
    std::array<int8_t, 256> planes{};
    planes.fill(-1);
    planes['&'] = 0;
    planes['*'] = 1;
    planes['('] = 2;
    planes[')'] = 3;
    return planes;
}();

// The table position of a key, or false when the key lies outside it.
inline bool direct_slot(char const* key, int* p, int* g, int* t)
{
    // Each character is read only when the ones before it are not the end.
    *p = direct_planes[static_cast<unsigned char>(key[0])];
    if (*p < 0)
        return false;
    *g = key[1] - 'a';
    if (static_cast<unsigned>(*g) >= static_cast<unsigned>(direct_groups))
        return false;
    *t = key[2] - '@';
    return static_cast<unsigned>(*t) < static_cast<unsigned>(direct_terminators) && key[3] == '\0';
}

}  // namespace

void hash_setup()
{
    int cnt = 0;
    while (intlist[cnt].key != nullptr)
        ++cnt;

    unsigned bits = 1;
    while (bits < max_hash_bits && (1u << bits) < static_cast<unsigned>(cnt))
        ++bits;
    fnv_x = bits;
    hash_max_buckets = 1u << bits;
    fnv_mask_32 = hash_max_buckets - 1;
    if (debug >= 2)
        std::printf("hash: cnt = %d, fnv_x = %u, hash_size = %u, mask = 0x%x\n", cnt, fnv_x,
                    hash_max_buckets, fnv_mask_32);

    bucket_store.assign(hash_max_buckets, nullptr);
    hash_buckets = bucket_store.data();
    if (hash_buckets == nullptr)
        hash_assert_failed("hash_setup", "hash_buckets != NULL");

    int synonyms = 0;
    for (int i = 0; i < cnt; ++i) {
        pcl_cmd& row = intlist[i];
        unsigned h = hash_key(row.key);
        if (debug >= 2)
            std::printf("hash: [%02x] %s\n", h, row.key);
        // Later rows go in front of earlier ones in the same bucket.
        row.next = hash_buckets[h];
        if (row.next != nullptr)
            ++synonyms;
        hash_buckets[h] = &row;
    }
    if (debug >= 2)
        std::printf("hash: syn cnt = %d\n", synonyms);

    // The direct table answers as the chains do: for each key in its range,
    // the first row of the key's chain that has that key.
    std::memset(direct_rows, 0, sizeof direct_rows);
    static_assert(sizeof intlist / sizeof intlist[0] < UINT16_MAX,
                  "row indexes fit the direct table");
    for (int i = 0; i < cnt; ++i) {
        int p, g, t;
        if (!direct_slot(intlist[i].key, &p, &g, &t) || direct_rows[p][g][t] != 0)
            continue;
        pcl_cmd const* first = hash_buckets[hash_key(intlist[i].key)];
        while (first != nullptr && std::strcmp(first->key, intlist[i].key) != 0)
            first = first->next;
        direct_rows[p][g][t] = static_cast<uint16_t>(first - intlist + 1);
    }
}

unsigned int hash_key(char const* key)
{
    uint32_t h = fnv_offset_basis;
    for (unsigned char const* p = reinterpret_cast<unsigned char const*>(key); *p; ++p) {
        h ^= *p;
        h *= fnv_prime;
    }
    unsigned index;
    if (fnv_x > 15)
        index = (h & 0xFFFFu) ^ (h >> 16);
    else
        index = ((h >> fnv_x) ^ h) & fnv_mask_32;
    if (index >= hash_max_buckets)
        hash_assert_failed("hash_key", "hash < hash_max_buckets");
    return index;
}

namespace {

// Keys are three characters; an inline comparison is much cheaper than a
// library call for every command of a job.
inline bool same_key(char const* a, char const* b)
{
    while (*a != '\0' && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

// The lookup through the hash chains, out of line so that the direct path
// needs no stack frame.
[[gnu::noinline]] pcl_cmd* chain_lookup(char const* key)
{
    for (pcl_cmd* row = hash_buckets[hash_key(key)]; row != nullptr; row = row->next)
        if (same_key(row->key, key))
            return row;
    return nullptr;
}

}  // namespace

pcl_cmd* hash_lookup(char const* key)
{
    if (hash_buckets == nullptr)
        return nullptr;
    if (int p, g, t; direct_slot(key, &p, &g, &t)) {
        unsigned const row = direct_rows[p][g][t];
        return row != 0 ? &intlist[row - 1] : nullptr;
    }
    return chain_lookup(key);
}
