// Map from Unicode code points to glyph codes or names of the output fonts.
//
// A chained hash table in static storage: records 0..255 are the bucket
// heads (bucket = low byte of the code point), records from 256 on are
// overflow records handed out in order. Index 0 can never be an overflow
// record, so a `next` of 0 ends a chain. The tables live in glyph_tables.cpp.
#include "pcl/glyph_map.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "pcl/environment.h"
#include "pcl/font_metrics.h"
#include "symbol_sets.h"

#include "invariant.h"
#include "run_mode.h"

map_record ps_map[MAPSIZE];
int ps_map_next = MAP_BUCKETS;
uint32_t ps_map_changes;

namespace {

[[noreturn]] void map_assert_failed(char const* expr, int line)
{
    static_cast<void>(line);
    invariant_failed("pcl/psglyph", "ps_map_add", expr);
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
    ++ps_map_changes;
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

namespace {

// Fragments that show one glyph of the Symbol font ([0]) or the
// ZapfDingbats font ([1]) at the size of the current text font (XF of the
// prolog), by code: "!(\ooo)/Symbol XF".
char fallback_text[2][256][28];

// The end of a fragment that shows a glyph of the text font by name within
// a Symbol or ZapfDingbats font: "!/name /Times-Roman XF".
constexpr std::string_view text_glyph_suffix = " /Times-Roman XF";

// Names and fragments made while the map is built; a deque keeps the
// strings in place.
std::deque<std::string> made_names;

char const* keep(std::string text)
{
    made_names.push_back(std::move(text));
    return made_names.back().c_str();
}

bool carried(char const* name, afm_font const& font)
{
    int const i = afm_glyph_index(name);
    return i >= 0 && font.by_name[i] != AFM_NONE;
}

// Where the text fonts lack the glyph of a code point (named `name` in the
// glyph list, or null): another name they carry for it ("uniXXXX", or the
// comma-accent name of a cedilla letter), else the Symbol or ZapfDingbats
// glyph of the code point, else null.
// The rows of the Symbol and ZapfDingbats encodings ordered by code point,
// each with its font (0 Symbol, 1 ZapfDingbats); among rows of one code
// point the Symbol rows come first, each font's in table order.
struct font_row {
    uint16_t code;
    uint8_t font;
    uint8_t ps_code;
};

std::vector<font_row> const& font_rows_by_code()
{
    static std::vector<font_row> const rows = [] {
        std::vector<font_row> r;
        encoding_row const* tables[2] = {ps_encoding_symbol, ps_encoding_zdingbat};
        for (uint8_t f = 0; f < 2; ++f)
            for (encoding_row const* e = tables[f]; e->code; ++e)
                r.push_back(
                    {static_cast<uint16_t>(e->code), f, static_cast<uint8_t>(e->ps_code & 0xff)});
        std::stable_sort(r.begin(), r.end(),
                         [](font_row a, font_row b) { return a.code < b.code; });
        return r;
    }();
    return rows;
}

char const* text_font_stand_in(unsigned code, char const* name, afm_font const& text)
{
    // "uni" and four upper-case hex digits.
    static constexpr char hex[] = "0123456789ABCDEF";
    char const uni[8] = {'u',
                         'n',
                         'i',
                         hex[(code >> 12) & 0xf],
                         hex[(code >> 8) & 0xf],
                         hex[(code >> 4) & 0xf],
                         hex[code & 0xf],
                         '\0'};
    if (carried(uni, text))
        return keep(uni);
    if (name) {
        std::string alias(name);
        size_t const at = alias.find("cedilla");
        if (at != std::string::npos && at > 0) {
            alias.replace(at, 7, "commaaccent");
            if (carried(alias.c_str(), text))
                return keep(alias);
        }
    }
    char const* fonts[2] = {"Symbol", "ZapfDingbats"};
    std::vector<font_row> const& rows = font_rows_by_code();
    auto const it = std::lower_bound(rows.begin(), rows.end(), code,
                                     [](font_row r, unsigned c) { return r.code < c; });
    if (it == rows.end() || it->code != code)
        return nullptr;
    char* t = fallback_text[it->font][it->ps_code];
    std::snprintf(t, sizeof fallback_text[0][0], "!(\\%03o)/%s XF", unsigned{it->ps_code},
                  fonts[it->font]);
    return t;
}

// The map of the earlier rendering, extended: glyphs the text fonts lack
// are shown by a name they carry or from the Symbol or ZapfDingbats font,
// and so are the code points of the symbol sets that the glyph list lacks;
// characters of the math and dingbat sets that the Symbol and ZapfDingbats
// fonts lack are shown from the text font (XF of the prolog).
void init_with_stand_ins()
{
    afm_font const& text = *afm_find("Times-Roman");
    // Characters without a glyph or stand-in of their own take their
    // substitute's once every other row is in.
    std::vector<std::pair<unsigned, char const*>> later;
    for (glyph_row const* g = ps_glyph_list; g->code; ++g) {
        char const* name = g->name;
        bool const by_code =
            (g->code >= 0x20 && g->code <= 0x7e) || (g->code >= 0xa1 && g->code <= 0xff);
        if (!by_code && !carried(name, text)) {
            char const* stand_in = text_font_stand_in(g->code, name, text);
            if (!stand_in && glyph_substitute_for(g->code)) {
                later.emplace_back(g->code, name);
                continue;
            }
            if (stand_in)
                name = stand_in;
        }
        ps_map_add(g->code, 0, name, 0);
    }
    static bool seen[0x10000];
    std::fill(std::begin(seen), std::end(seen), false);
    for (glyph_row const* g = ps_glyph_list; g->code; ++g)
        seen[g->code] = true;
    auto add = [&](unsigned code) {
        if (code <= 0x20 || (code >= 0x7f && code <= 0xa0) || code == 0xffff || seen[code])
            return;
        seen[code] = true;
        if (char const* stand_in = text_font_stand_in(code, nullptr, text))
            ps_map_add(code, 0, stand_in, 0);
        else if (glyph_substitute_for(code))
            later.emplace_back(code, nullptr);
    };
    for (symset_table const* t = symset_tables; t != symset_tables + symset_table_count; ++t)
        for (uint16_t code : t->map)
            add(code);
    for (uint16_t const* m : {map_8859_2, map_8859_3, map_8859_4, map_8859_5, map_8859_15,
                              map_cp1252, map_cp437, map_cp437n, map_cp850, map_roman8})
        for (int b = 0; b < 256; ++b)
            add(m[b]);
    for (uint16_t code : map_ldraw)
        add(code);
    for (auto const& [code, name] : later) {
        if (map_record const* r = ps_map_find(glyph_substitute_for(code), 0))
            ps_map_add(code, r->ps_code, r->name, 0);
        else if (name)
            ps_map_add(code, 0, name, 0);
    }
}

// After the Symbol and ZapfDingbats rows: the characters of the math and
// dingbat sets that those fonts lack, from the text font.
void add_text_stand_ins(int enc, uint16_t const (&table)[256])
{
    afm_font const& text = *afm_find("Times-Roman");
    for (int b = 0x20; b < 256; ++b) {
        // A hole prints as the inverted question mark.
        unsigned const code = table[b] == 0xffff ? 0xbf : table[b];
        if ((code >= 0x7f && code <= 0xa0) || ps_map_find(code, enc))
            continue;
        unsigned const substitute = glyph_substitute_for(code);
        if (map_record const* same = substitute ? ps_map_find(substitute, enc) : nullptr) {
            ps_map_add(code, same->ps_code, nullptr, enc);
            continue;
        }
        map_record const* r = ps_map_find(code, 0);
        if (!r || !r->name || r->name[0] == '!' || !carried(r->name, text))
            continue;
        ps_map_add(code, 0, keep(std::string("!/") + r->name + std::string(text_glyph_suffix)),
                   enc);
    }
}

}  // namespace

bool ps_map_text_glyph(char const* name, std::string_view* glyph)
{
    std::string_view const n(name);
    if (n.size() <= 2 + text_glyph_suffix.size() || !n.starts_with("!/") ||
        !n.ends_with(text_glyph_suffix))
        return false;
    *glyph = n.substr(2, n.size() - 2 - text_glyph_suffix.size());
    return true;
}

bool ps_map_fallback(char const* name, int* enc, unsigned* code)
{
    char const* const first = &fallback_text[0][0][0];
    if (name < first || name >= first + sizeof fallback_text)
        return false;
    size_t const offset = static_cast<size_t>(name - first);
    *enc = static_cast<int>(offset / sizeof fallback_text[0]) + 1;
    *code = static_cast<unsigned>(offset % sizeof fallback_text[0] / sizeof fallback_text[0][0]);
    return true;
}

void ps_map_init()
{
    ps_map_reset();
    bool const stand_ins = !compat_legacy();
    if (stand_ins) {
        made_names.clear();
        init_with_stand_ins();
    } else {
        for (glyph_row const* g = ps_glyph_list; g->code; ++g)
            ps_map_add(g->code, 0, g->name, 0);
    }
    for (encoding_row const* e = ps_encoding_symbol; e->code; ++e)
        ps_map_add(e->code, e->ps_code, nullptr, 1);
    for (encoding_row const* e = ps_encoding_zdingbat; e->code; ++e)
        ps_map_add(e->code, e->ps_code, nullptr, 2);
    if (stand_ins) {
        add_text_stand_ins(1, map_math);
        add_text_stand_ins(2, map_zdingbat);
    }
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
    ++ps_map_changes;
}
