// The map from Unicode code points to PostScript glyphs, per encoding.
#include <string>

#include <gtest/gtest.h>

#include "pcl/glyph_map.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class GlyphMap : public testing::Test {
protected:
    void SetUp() override
    {
        verbose = 0;
        ps_map_reset();
        build_err = capture_stderr([] { ps_map_init(); });
    }
    void TearDown() override { verbose = 0; }
    // "name/code" of a lookup, "(null)" for records without a name.
    static std::string lookup(unsigned code, int enc)
    {
        unsigned ps_code = 0xdead;
        char const* name = ps_map_lookup(code, enc, &ps_code);
        return std::string(name ? name : "(null)") + "/" + std::to_string(ps_code);
    }
    std::string build_err;
};

TEST_F(GlyphMap, LookupsPerEncoding)
{
    struct {
        unsigned code;
        int enc;
        char const* hit;
    } const cases[] = {
        // Text fonts: Latin-1 by code, the rest by name.
        {0x41, 0, "A/65"}, {0xe9, 0, "eacute/233"}, {0x27, 0, "quotesingle/39"}, {0x60, 0, "grave/96"},
        {0xad, 0, "sfthyphen/173"}, {0xb5, 0, "mu/181"}, {0xff, 0, "ydieresis/255"},
        {0x2022, 0, "bullet/0"}, {0x0410, 0, "afii10017/0"}, {0x03bc, 0, "mugreek/0"},
        {0x0162, 0, "Tcedilla/0"}, {0x0218, 0, "Scommaaccent/0"}, {0x2126, 0, "Omega/0"},
        {0x03a9, 0, "Omega/0"}, {0x2215, 0, "divisionslash/0"}, {0x2500, 0, "SF100000/0"},
        {0x20ac, 0, "Euro/0"}, {0x02c9, 0, "macron/0"}, {0xf002, 0, "fl/0"}, {0x01f8, 0, "uni01F8/0"},
        // Symbol (1) and dingbats (2) by code only.
        {0x03b1, 1, "(null)/97"}, {0x2126, 1, "(null)/87"}, {0x03a9, 1, "(null)/87"},
        {0x20ac, 1, "(null)/160"}, {0x03bc, 1, "(null)/109"}, {0xf8fe, 1, "(null)/254"},
        {0x2701, 2, "(null)/33"}, {0x2460, 2, "(null)/172"}, {0x27be, 2, "(null)/254"},
        // Control and C1 codes and the no-break space show as the space.
        {0x00, 0, "space/32"}, {0x85, 0, "space/32"}, {0xa0, 0, "space/32"},
        {0x1f, 1, "(null)/32"}, {0x9f, 2, "(null)/32"},
        // Unmapped, or a text-font name through another encoding.
        {0x03b1, 2, ".notdef/0"}, {0x4e00, 0, ".notdef/0"}, {0x0410, 1, ".notdef/0"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(lookup(c.code, c.enc), c.hit) << std::hex << c.code << " enc " << c.enc;
    EXPECT_EQ(build_err, "");
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
