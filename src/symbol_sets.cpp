// PCL symbol sets: which codes are supported, selecting the primary and
// secondary symbol set, and converting character codes to Unicode through
// the constant tables of symbol_set_tables.cpp.

#include "symbol_sets.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "run_mode.h"

namespace {

static_assert(SS_8U == 277 && SS_0N == 14 && SS_4U == 149 && SS_18N == 590);

constexpr int UNMAPPED_CHAR = 0xBF;  // inverted question mark
constexpr int INVALID_CHAR = 0xA1;  // inverted exclamation mark
constexpr uint16_t HOLE = 0xFFFF;  // table entry of an unassigned code

int unmapped(int ch)
{
    if (verbose)
        std::fprintf(stderr, "unmapped: %04x\n", static_cast<unsigned>(ch));
    return UNMAPPED_CHAR;
}

int invalid(int ch)
{
    if (verbose)
        std::fprintf(stderr, "invalid: %04x\n", static_cast<unsigned>(ch));
    return INVALID_CHAR;
}

// A table entry, or the unmapped result for a hole.
int lookup(uint16_t const (&table)[256], int ch)
{
    uint16_t const v = table[ch];
    return v == HOLE ? unmapped(ch) : v;
}

// The published table of a further set, or null.
symset_table const* find_table(int code)
{
    symset_table const* end = symset_tables + symset_table_count;
    symset_table const* it = std::lower_bound(
        symset_tables, end, code, [](symset_table const& t, int c) { return t.code < c; });
    return it != end && it->code == code ? it : nullptr;
}

}  // namespace

int cv_symset_supported(int code)
{
    switch (code) {
    case SS_0B:
    case SS_0L:
    case SS_0N:
    case SS_2N:
    case SS_3N:
    case SS_4N:
    case SS_4U:
    case SS_5M:
    case SS_5N:
    case SS_8U:
    case SS_9N:
    case SS_9U:
    case SS_10U:
    case SS_11U:
    case SS_12U:
    case SS_14L:
    case SS_18N:
    case SS_19M:
    case SS_19U:
        return 1;
    default:
        // The earlier rendering knows only the sets above.
        return !compat_legacy() && find_table(code) ? 1 : 0;
    }
}

void pcl_symset(int code, int which)
{
    if (!cv_symset_supported(code)) {
        if (compat_legacy()) {
            // The earlier rendering keeps the previous set.
            if (verbose >= 2)
                std::printf("Unknown: symset %d\n", code);
            return;
        }
        // A set without a table prints in the default set, as a printer
        // falls back to its default symbol set.
        if (verbose) {
            if (code >= 0 && code % 32 >= 1 && code % 32 <= 26)
                std::printf("symset %d%c unknown\n", code / 32, static_cast<char>(code % 32 + 64));
            else
                std::printf("symset %d unknown\n", code);
        }
        code = default_font[which == 1 ? 1 : 0].symset;
    }
    if (which != 0 && which != 1)
        return;
    fnt_set_symset(which, code);
    if (which == active_font_index())
        font_serial_bump();
}

int cv_symset(int code, int ch)
{
    if (code == SS_18N)
        return ch >= 0 && ch < 0x10000 ? ch : invalid(ch);
    if (ch < 0 || ch > 0xFF)
        return invalid(ch);

    switch (code) {
    case SS_0B:
    case SS_0L: {
        int const b = ch & 0x7F;
        return b < 0x20 ? b : map_ldraw[b - 0x20];
    }
    case SS_3N:
        return lookup(map_8859_3, ch);
    case SS_4U:
        return ch == 0xBA ? 0x20AC : lookup(map_roman8, ch);
    case SS_8U:
        return lookup(map_roman8, ch);
    case SS_5M:
    case SS_19M:
        return lookup(map_math, ch);
    case SS_0N:
        return map_8859_1[ch];
    case SS_2N:
        return map_8859_2[ch];
    case SS_4N:
        return map_8859_4[ch];
    case SS_5N:
        return map_8859_5[ch];
    case SS_9N:
        return map_8859_15[ch];
    case SS_9U:
    case SS_19U:
        return map_cp1252[ch];
    case SS_10U:
        return map_cp437[ch];
    case SS_11U:
        return map_cp437n[ch];
    case SS_12U:
        return map_cp850[ch];
    case SS_14L:
        return map_zdingbat[ch];
    default:
        if (symset_table const* t = find_table(code))
            return lookup(t->map, ch);
        return invalid(ch);
    }
}
