#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/glyph_map.h"
#include "pcl/ps/barcodes.h"
#include "pcl/ps/document.h"
#include "pcl/ps/text_emitter.h"
#include "pcl/text_buffer.h"
#include "test_support.h"

namespace {

std::string const R = BARCODE_RESOURCE_CATEGORY;

class BarcodeTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ps_map_init(); }
    void SetUp() override
    {
        ps_barcode = 1;
        env.font_sel = 0;
        font[0].typeface = 30;
        font[0].point_size = 12;
        ps_font_enc = 0;
        ps_origin_x = 18;
        ps_origin_y = 700;
        c_buf_curX = 0;
        env.cur_y = 0;
    }
    // Writes `text` in typeface 30 described by `desc` (null: no item);
    // *handled receives the result.
    std::string run(char const* desc, std::u16string const& text, int* handled = nullptr)
    {
        config_clear();
        if (desc)
            config_add_value("BARCODE", "30", desc);
        std::vector<uint16_t> codes(text.begin(), text.end());
        env.pos_changed = 1;
        OutputCapture out;
        int r = ps_barcode_run(codes.data(), static_cast<int>(codes.size()));
        if (handled)
            *handled = r;
        return out.str();
    }
    // The data and option strings of a run.
    std::string strings(char const* desc, std::u16string const& text)
    {
        std::string out = run(desc, text);
        size_t open = out.find('(');
        return out.substr(open, out.find(") /") + 1 - open);
    }
};

}  // namespace

TEST_F(BarcodeTest, DescriptionsAndScale)
{
    std::string const exec = " findresource exec\n";
    EXPECT_EQ(run("code128", u"ABC-123"), "18 700 M (ABC-123) (height=0.166667) /code128 /" + R + exec);
    EXPECT_EQ(run("code39 scale=2 includetext", u"*12345*"),
              "18 700 M gsave 2 2 scale\n(12345) (height=0.0833333 includetext) /code39 /" + R + exec + "grestore\n");
    EXPECT_EQ(run("qrcode eclevel=M", u"HELLO"), "18 700 M (HELLO) (eclevel=M) /qrcode /" + R + exec);
    EXPECT_EQ(run("interleaved2of5 height=no", u"1234"), "18 700 M (1234) () /interleaved2of5 /" + R + exec);
    EXPECT_EQ(run("code128 scale=0", u"1"), "18 700 M (1) (height=0.166667) /code128 /" + R + exec);
    EXPECT_EQ(run("code128 width=3 scale=2", u"1").substr(0, 34), "18 700 M gsave 2 2 scale\n(1) (heig");
    EXPECT_EQ(strings("code128 includetext width=3", u"1"), "(1) (height=0.166667 includetext width=3)");
    EXPECT_EQ(strings("code128 height=default", u"1"), "(1) ()");
    EXPECT_EQ(strings("code128 height=0.5 x", u"1"), "(1) (height=0.5 x)");
    EXPECT_EQ(strings("qrcode height=font", u"1"), "(1) (height=0.166667)");
    EXPECT_EQ(strings("code128 scale=nan", u"1"), "(1) (height=0.166667)");
    std::string name(40, 'e'), options(300, 'o');
    EXPECT_NE(run(name.c_str(), u"1").find(") /" + name.substr(0, 31) + " /" + R), std::string::npos);
    EXPECT_EQ(strings(("qrcode " + options).c_str(), u"1"), "(1) (" + options.substr(0, 255) + ")");
}

TEST_F(BarcodeTest, DataString)
{
    EXPECT_EQ(strings("code39", u"*ABC*"), "(ABC) (height=0.166667)");
    EXPECT_EQ(strings("code39", u"ABC*"), "(ABC) (height=0.166667)");
    EXPECT_EQ(strings("code39", u"*"), "() (height=0.166667)");
    EXPECT_EQ(strings("code39", u"*ABC"), "(AB) (height=0.166667)");
    EXPECT_EQ(strings("code39ext", u"*ABC*"), "(*ABC*) (height=0.166667)");
    // Escapes and octal as for text; no glyph fallback: a bullet and a
    // control code point become spaces. Options reach the encoder as written.
    EXPECT_EQ(strings("qrcode t=(x\\", u"(a)\\\u00e9\u2022\u0085z"), "(\\(a\\)\\\\\\351  z) (t=\\(x\\\\)");
}

TEST_F(BarcodeTest, PlainTextAndState)
{
    int handled = -1;
    c_buf_ul = 1;
    for (char const* desc : {static_cast<char const*>(nullptr), "", "   "}) {
        EXPECT_EQ(run(desc, u"x", &handled), "");
        EXPECT_EQ(handled, 0);
    }
    ps_barcode = 0;
    EXPECT_EQ(run("code128", u"x", &handled), "");
    EXPECT_EQ(c_buf_ul, 1);

    ps_barcode = 1;
    c_buf_curX = 72000;
    env.cur_y = 7200;
    emitting = 0;
    EXPECT_EQ(run("code128", u"7", &handled).substr(0, 13), "90 692.8 M (7");
    EXPECT_EQ(handled, 1);
    EXPECT_EQ(c_buf_ul, 0);
    EXPECT_EQ(emitting, 0);
    EXPECT_EQ(env.pos_changed, 1);
    env.pos_changed = 0;  // no move when the position is current
    OutputCapture out;
    uint16_t seven = '7';
    ps_barcode_run(&seven, 1);
    EXPECT_EQ(out.str().substr(0, 3), "(7)");
    EXPECT_EQ(env.pos_changed, 1);
}

TEST_F(BarcodeTest, CategoryIsTheOneTheInstalledLibraryUses)
{
    std::ifstream lib("/usr/share/libpostscriptbarcode/barcode.ps");
    if (!lib)
        GTEST_SKIP() << "barcode library not installed";
    int found = 0;
    for (std::string line; std::getline(lib, line);)
        for (std::string enc : {" code128 ", " code39 ", " qrcode ", " interleaved2of5 "})
            if (line.rfind("%%BeginResource: ", 0) == 0 && line.find(enc) != std::string::npos) {
                EXPECT_EQ(line.substr(17, line.find(enc) - 17), BARCODE_RESOURCE_CATEGORY);
                ++found;
            }
    EXPECT_EQ(found, 4);
}
