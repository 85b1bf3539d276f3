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

    struct Hit {
        std::string name;  // "(null)" for records without a name
        unsigned ps_code;
    };
    static Hit lookup(unsigned code, int enc)
    {
        unsigned ps_code = 0xdead;
        char const* name = ps_map_lookup(code, enc, &ps_code);
        return {name ? name : "(null)", ps_code};
    }

    std::string build_err;
};

TEST_F(GlyphMap, TextFontsByCodeOrByName)
{
    struct {
        unsigned code;
        char const* name;
        unsigned ps_code;
    } const cases[] = {
        {0x41, "A", 0x41},          {0xe9, "eacute", 0xe9},      {0x20, "space", 0x20},
        {0x7e, "asciitilde", 0x7e}, {0xa1, "exclamdown", 0xa1},  {0xff, "ydieresis", 0xff},
        {0x27, "quotesingle", 0x27}, {0x2d, "hyphen", 0x2d},     {0x60, "grave", 0x60},
        {0xad, "sfthyphen", 0xad},  {0xb5, "mu", 0xb5},
        // Outside Latin-1: by name.
        {0x2022, "bullet", 0},      {0x0410, "afii10017", 0},    {0x03bc, "mugreek", 0},
        {0x0122, "Gcedilla", 0},    {0x0162, "Tcedilla", 0},     {0x0218, "Scommaaccent", 0},
        {0x2113, "afii61289", 0},   {0x2126, "Omega", 0},        {0x03a9, "Omega", 0},
        {0x2215, "divisionslash", 0}, {0x2219, "bulletoperator", 0}, {0x2592, "shade", 0},
        {0x25a0, "filledbox", 0},   {0x2500, "SF100000", 0},     {0x2460, "onecircle", 0},
        {0x20ac, "Euro", 0},        {0x02c9, "macron", 0},       {0xfb01, "fi", 0},
        {0xf002, "fl", 0},          {0x01f8, "uni01F8", 0},      {0xfffd, "uniFFFD", 0},
    };
    for (auto const& c : cases) {
        Hit h = lookup(c.code, 0);
        EXPECT_EQ(h.name, c.name) << std::hex << c.code;
        EXPECT_EQ(h.ps_code, c.ps_code) << std::hex << c.code;
    }
}

TEST_F(GlyphMap, ControlAndC1CodesShowAsSpace)
{
    for (unsigned code : {0x00u, 0x09u, 0x1fu, 0x7fu, 0x85u, 0x9fu, 0xa0u}) {
        for (int enc : {0, 1, 2}) {
            Hit h = lookup(code, enc);
            EXPECT_EQ(h.ps_code, 0x20u) << std::hex << code << " enc " << enc;
            EXPECT_EQ(h.name, enc == 0 ? "space" : "(null)");
        }
    }
}

TEST_F(GlyphMap, SymbolAndDingbatsByCode)
{
    struct {
        unsigned code;
        int enc;
        unsigned ps_code;
    } const cases[] = {
        {0x03b1, 1, 0x61}, {0x2126, 1, 0x57}, {0x03a9, 1, 0x57}, {0x20ac, 1, 0xa0},
        {0x00b5, 1, 0x6d}, {0x03bc, 1, 0x6d}, {0x0030, 1, 0x30}, {0x0039, 1, 0x39},
        {0xf8fe, 1, 0xfe}, {0x2701, 2, 0x21}, {0x2460, 2, 0xac}, {0x2780, 2, 0xc0},
        {0x2706, 2, 0x26}, {0x2709, 2, 0x29}, {0x27be, 2, 0xfe}, {0x2794, 2, 0xd4},
    };
    for (auto const& c : cases) {
        Hit h = lookup(c.code, c.enc);
        EXPECT_EQ(h.name, "(null)") << std::hex << c.code;
        EXPECT_EQ(h.ps_code, c.ps_code) << std::hex << c.code << " enc " << c.enc;
    }
}

TEST_F(GlyphMap, UnmappedGivesNotdefAndReportsOnlyWhenAnalysing)
{
    Hit h{};
    std::string err = capture_stderr([&] { h = lookup(0x03b1, 2); });
    EXPECT_EQ(h.name, ".notdef");
    EXPECT_EQ(h.ps_code, 0u);
    EXPECT_EQ(err, "");

    verbose = 1;
    err = capture_stderr([&] { h = lookup(0x03b1, 2); });
    EXPECT_EQ(err, "ps_map_lookup: 2:03b1\n");
    err = capture_stderr([&] { h = lookup(0x4e00, 0); });
    EXPECT_EQ(h.name, ".notdef");
    EXPECT_EQ(err, "ps_map_lookup: 0:4e00\n");
    // Text-font names are not found through another encoding.
    err = capture_stderr([&] { h = lookup(0x0410, 1); });
    EXPECT_EQ(h.name, ".notdef");
    EXPECT_EQ(err, "ps_map_lookup: 1:0410\n");
}

TEST_F(GlyphMap, DuplicateKeepsFirstMapping)
{
    std::string err = capture_stderr([] { ps_map_add(0x2022, 0, "other", 0); });
    EXPECT_EQ(err, "duplicate mapping: 2022|bullet(00:0)|other(00:0)\n");
    err = capture_stderr([] { ps_map_add(0x03b1, 0x41, nullptr, 1); });
    EXPECT_EQ(err, "duplicate mapping: 03b1|NULL(61:1)|NULL(41:1)\n");
    EXPECT_EQ(lookup(0x2022, 0).name, "bullet");
    EXPECT_EQ(lookup(0x03b1, 1).ps_code, 0x61u);
    EXPECT_EQ(build_err, "");
}

TEST_F(GlyphMap, BuildAssertionsEndTheRun)
{
    EXPECT_DEATH(ps_map_add(0x4e00, 0x1f, nullptr, 1), "pcl/psglyph.*ps_code >= 0x20");
    EXPECT_DEATH(
        {
            for (unsigned code = 0x4e00; code < 0xffff; ++code)
                ps_map_add(code, 0, "x", 0);
        },
        "ps_map_next < MAPSIZE");
}

}  // namespace
