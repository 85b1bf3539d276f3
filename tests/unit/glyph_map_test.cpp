// The map from Unicode code points to PostScript glyphs, per encoding.
#include <string>

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "pcl/environment.h"
#include "pcl/font_metrics.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "run_mode.h"
#include "symbol_sets.h"
#include "test_support.h"

namespace {

class GlyphMap : public testing::Test {
protected:
    void SetUp() override { build(COMPAT_LEGACY); }
    void TearDown() override
    {
        verbose = 0;
        compat_f = 0;
    }
    void build(int compat)
    {
        verbose = 0;
        compat_f = compat;
        ps_map_reset();
        build_err = capture_stderr([] { ps_map_init(); });
    }
    // "name/code" of a lookup, "(null)" for records without a name.
    static std::string lookup(unsigned code, int enc)
    {
        unsigned ps_code = 0xdead;
        char const* name = ps_map_lookup(code, enc, &ps_code);
        return std::string(name ? name : "(null)") + "/" + std::to_string(ps_code);
    }
    std::string build_err;
};

// The map of the earlier rendering: the glyph list's names as they stand.
TEST_F(GlyphMap, LookupsPerEncoding)
{
    struct {
        unsigned code;
        int enc;
        char const* hit;
    } const cases[] = {
        // Text fonts: Latin-1 by code, the rest by name.
        {0x41, 0, "A/65"},
        {0xe9, 0, "eacute/233"},
        {0x27, 0, "quotesingle/39"},
        {0x60, 0, "grave/96"},
        {0xad, 0, "sfthyphen/173"},
        {0xb5, 0, "mu/181"},
        {0xff, 0, "ydieresis/255"},
        {0x2022, 0, "bullet/0"},
        {0x0410, 0, "afii10017/0"},
        {0x03bc, 0, "mugreek/0"},
        {0x0162, 0, "Tcedilla/0"},
        {0x0218, 0, "Scommaaccent/0"},
        {0x2126, 0, "Omega/0"},
        {0x03a9, 0, "Omega/0"},
        {0x2215, 0, "divisionslash/0"},
        {0x2500, 0, "SF100000/0"},
        {0x20ac, 0, "Euro/0"},
        {0x02c9, 0, "macron/0"},
        {0xf002, 0, "fl/0"},
        {0x01f8, 0, "uni01F8/0"},
        // Symbol (1) and dingbats (2) by code only.
        {0x03b1, 1, "(null)/97"},
        {0x2126, 1, "(null)/87"},
        {0x03a9, 1, "(null)/87"},
        {0x20ac, 1, "(null)/160"},
        {0x03bc, 1, "(null)/109"},
        {0xf8fe, 1, "(null)/254"},
        {0x2701, 2, "(null)/33"},
        {0x2460, 2, "(null)/172"},
        {0x27be, 2, "(null)/254"},
        // Control and C1 codes and the no-break space show as the space.
        {0x00, 0, "space/32"},
        {0x85, 0, "space/32"},
        {0xa0, 0, "space/32"},
        {0x1f, 1, "(null)/32"},
        {0x9f, 2, "(null)/32"},
        // Unmapped, or a text-font name through another encoding.
        {0x03b1, 2, ".notdef/0"},
        {0x4e00, 0, ".notdef/0"},
        {0x0410, 1, ".notdef/0"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(lookup(c.code, c.enc), c.hit) << std::hex << c.code << " enc " << c.enc;
    EXPECT_EQ(build_err, "");
}

// By default a glyph the text fonts lack is shown by a name they carry, or
// from the Symbol or ZapfDingbats font at the text's size.
TEST_F(GlyphMap, StandInsForGlyphsTheTextFontsLack)
{
    build(0);
    EXPECT_EQ(build_err, "");
    EXPECT_EQ(lookup(0x03bc, 0), "uni03BC/0");
    EXPECT_EQ(lookup(0x03a9, 0), "uni03A9/0");
    EXPECT_EQ(lookup(0xfb00, 0), "ff/0");
    EXPECT_EQ(lookup(0x2022, 0), "bullet/0");
    EXPECT_EQ(lookup(0x0122, 0), "Gcommaaccent/0");
    EXPECT_EQ(lookup(0x2200, 0), "!(\\042)/Symbol XF/0");
    EXPECT_EQ(lookup(0x2520, 0), "SF080000/0");  // heavy and light lines: the light line
    EXPECT_EQ(lookup(0x00e2, 1), "!/acircumflex /Times-Roman XF/0");
    EXPECT_EQ(lookup(0x22ef, 1), "(null)/188");  // the Symbol font's ellipsis
    int enc = 0;
    unsigned code = 0;
    EXPECT_TRUE(ps_map_fallback(ps_map_lookup(0x2200, 0, &code), &enc, &code));
    EXPECT_EQ(enc, 1);
    EXPECT_EQ(code, 0x22u);
    EXPECT_FALSE(ps_map_fallback(ps_map_lookup(0x03bc, 0, &code), &enc, &code));
}

bool text_font_carries(std::string const& name)
{
    int const i = afm_glyph_index(name);
    return i >= 0 && afm_find("Times-Roman")->by_name[i] != AFM_NONE;
}

// Characters no standard font has: private-use code points (the
// font-specific sets), Arabic and its joiners and marks, and a few signs.
bool without_standard_glyph(unsigned cp)
{
    return (cp >= 0xE000 && cp <= 0xF8FF) || (cp >= 0x0600 && cp <= 0x06FF) ||
           (cp >= 0x200C && cp <= 0x200F);
}

// Every character of every supported symbol set reaches a glyph that the
// font printing the set carries: by code in its encoding, by a name in its
// glyph list, or through a Symbol or ZapfDingbats stand-in.
TEST_F(GlyphMap, EverySymbolSetCharacterHasAGlyphOfItsFont)
{
    build(0);
    afm_font const* symbol = afm_find("Symbol");
    afm_font const* dingbats = afm_find("ZapfDingbats");
    ASSERT_TRUE(symbol && dingbats);
    std::vector<std::string> missing;
    for (int set = 0; set < 600 * 32; ++set) {
        if (!cv_symset_supported(set) || set == symset_code(18, 'N'))
            continue;
        pcl_font f = font_defaults;
        f.symset = set;
        ps_font_choice const choice = ps_font_for(f);
        afm_font const* metrics = afm_find(choice.name);
        ASSERT_TRUE(metrics) << choice.name;
        for (int ch = 0x20; ch < 256; ++ch) {
            unsigned const cp = static_cast<unsigned>(cv_symset(set, ch));
            map_record const* r = ps_map_find(cp, choice.enc);
            int enc = 0;
            unsigned code = 0;
            bool found = false;
            if (!r)
                found = false;
            else if (r->ps_code)
                found = metrics->by_code[r->ps_code] != AFM_NONE;
            else if (ps_map_fallback(r->name, &enc, &code))
                found = (enc == 1 ? symbol : dingbats)->by_code[code] != AFM_NONE;
            else if (std::string const n = r->name; n.rfind("!/", 0) == 0 && n.size() > 2)
                found = text_font_carries(n.substr(2, n.find(' ') - 2));
            else if (int const i = afm_glyph_index(r->name); i >= 0)
                found = metrics->by_name[i] != AFM_NONE;
            if (!found && !without_standard_glyph(cp)) {
                char text[64];
                std::snprintf(text, sizeof text, "%d%c 0x%02X U+%04X", set / 32, set % 32 + 64, ch,
                              cp);
                missing.push_back(text);
            }
        }
    }
    EXPECT_EQ(missing.size(), 0u) << testing::PrintToString(missing);
}

TEST_F(GlyphMap, ReportsOnlyWhenAnalysingAndKeepsTheFirstMapping)
{
    EXPECT_EQ(capture_stderr([] { lookup(0x03b1, 2); }), "");
    verbose = 1;
    EXPECT_EQ(capture_stderr([] { lookup(0x03b1, 2); }), "ps_map_lookup: 2:03b1\n");
    EXPECT_EQ(capture_stderr([] { ps_map_add(0x2022, 0, "other", 0); }),
              "duplicate mapping: 2022|bullet(00:0)|other(00:0)\n");
    EXPECT_EQ(capture_stderr([] { ps_map_add(0x03b1, 0x41, nullptr, 1); }),
              "duplicate mapping: 03b1|NULL(61:1)|NULL(41:1)\n");
    EXPECT_EQ(lookup(0x2022, 0), "bullet/0");
    EXPECT_DEATH(ps_map_add(0x4e00, 0x1f, nullptr, 1), "ps_code >= 0x20");
    EXPECT_DEATH(
        {
            for (unsigned code = 0x4e00; code < 0xffff; ++code)
                ps_map_add(code, 0, "x", 0);
        },
        "ps_map_next < MAPSIZE");
}

}  // namespace
