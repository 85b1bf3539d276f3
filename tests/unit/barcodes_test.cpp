// Barcode runs against the text state; the strings written for each kind of
// description are pinned by the ps_barcodes golden case.
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
};

}  // namespace

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
