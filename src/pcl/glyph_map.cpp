// Map from Unicode code points to glyph codes or names of the output fonts.
//
// A chained hash table in static storage: records 0..255 are the bucket
// heads (bucket = low byte of the code point), records from 256 on are
// overflow records handed out in order. Index 0 can never be an overflow
// record, so a `next` of 0 ends a chain. The tables live in glyph_tables.cpp.
#include "pcl/glyph_map.h"

#include <cstdio>
#include <cstdlib>

#include "run_mode.h"

map_record ps_map[MAPSIZE];
int ps_map_next = MAP_BUCKETS;

namespace {

[[noreturn]] void map_assert_failed(char const* expr, int line)
{
    std::fflush(stdout);
    std::fprintf(stderr, "%s: pcl/psglyph:%d: ps_map_add: Assertion `%s' failed.\n",
                 progname ? progname : "tarvo", line, expr);
    std::abort();
}

#define MAP_ASSERT(expr) ((expr) ? static_cast<void>(0) : map_assert_failed(#expr, __LINE__))

char const* or_null(char const* name) { return name ? name : "NULL"; }

void fill(map_record& r, unsigned code, unsigned ps_code, char const* name, int enc)
{
    r.code = static_cast<uint16_t>(code);
    r.ps_code = static_cast<uint16_t>(ps_code);
    r.name = name;
    r.enc = enc;
    r.next = 0;
}

}  // namespace

void ps_map_add(unsigned code, unsigned ps_code, char const* name, int enc)
{
    // Glyph-list rows for the text fonts: ASCII graphics and the Latin-1
    // upper half go by code through ISOLatin1Encoding, all others by name.
    if (ps_code == 0 && enc == 0) {
        if ((code >= 0x20 && code <= 0x7e) || (code >= 0xa1 && code <= 0xff))
            ps_code = code;
    }
    MAP_ASSERT(!ps_code || (ps_code >= 0x20 && ps_code <= 0xff));

    map_record* r = &ps_map[code & 0xff];
    if (r->code == 0) {
        fill(*r, code, ps_code, name, enc);
        return;
    }
    for (;;) {
        if (r->code == code && r->enc == enc) {
            std::fprintf(stderr, "duplicate mapping: %04x|%s(%02x:%d)|%s(%02x:%d)\n", code,
                         or_null(r->name), r->ps_code, r->enc, or_null(name), ps_code, enc);
            return;
        }
        if (r->next == 0)
            break;
        r = &ps_map[r->next];
    }
    MAP_ASSERT(ps_map_next < MAPSIZE);
    r->next = ps_map_next;
    fill(ps_map[ps_map_next++], code, ps_code, name, enc);
}

void ps_map_init()
{
    for (glyph_row const* g = ps_glyph_list; g->code; ++g)
        ps_map_add(g->code, 0, g->name, 0);
    for (encoding_row const* e = ps_encoding_symbol; e->code; ++e)
        ps_map_add(e->code, e->ps_code, nullptr, 1);
    for (encoding_row const* e = ps_encoding_zdingbat; e->code; ++e)
        ps_map_add(e->code, e->ps_code, nullptr, 2);
}

map_record const* ps_map_find(unsigned code, int enc)
{
    // Control and C1 codes (and the no-break space) are shown as a space.
    if (code <= 0x1f || (code >= 0x7f && code <= 0xa0))
        code = 0x20;
    map_record const* r = &ps_map[code & 0xff];
    if (r->code == 0)
        return nullptr;
    for (;;) {
        if (r->code == code && r->enc == enc)
            return r;
        if (r->next == 0)
            return nullptr;
        r = &ps_map[r->next];
    }
}

char const* ps_map_lookup(unsigned code, int enc, unsigned* ps_code)
{
    if (map_record const* r = ps_map_find(code, enc)) {
        *ps_code = r->ps_code;
        return r->name;
    }
    if (verbose) {
        unsigned const shown = code <= 0x1f || (code >= 0x7f && code <= 0xa0) ? 0x20 : code;
        std::fprintf(stderr, "ps_map_lookup: %d:%04x\n", enc, shown);
    }
    *ps_code = 0;
    return ".notdef";
}

void ps_map_reset()
{
    for (map_record& r : ps_map)
        r = map_record{};
    ps_map_next = MAP_BUCKETS;
}
