// Barcode runs against the text state; the strings written for each kind of
// description are pinned by the ps_barcodes golden case.
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

TEST(Barcodes, PlainTextAndState)
{
    ps_map_init();
    env.font_sel = 0;
    font[0].typeface = 30;
    font[0].point_size = 12;
    ps_text_reset();
    ps_origin_x = 18;
    ps_origin_y = 700;
    uint16_t seven = '7';
    auto run = [&](char const* desc, int enabled, int* handled) {
        config_clear();
        if (desc)
            config_add_value("BARCODE", "30", desc);
        ps_barcode = enabled;
        OutputCapture out;
        *handled = ps_barcode_run(&seven, 1);
        return out.str();
    };
    int handled = -1;
    c_buf_ul = 1;
    for (char const* desc : {static_cast<char const*>(nullptr), "", "   "}) {
        EXPECT_EQ(run(desc, 1, &handled), "");
        EXPECT_EQ(handled, 0);
    }
    EXPECT_EQ(run("code128", 0, &handled), "");
    EXPECT_EQ(c_buf_ul, 1);

    c_buf_curX = 72000;
    env.cur_y = 7200;
    env.pos_changed = 1;
    emitting = 0;
    EXPECT_EQ(run("code128", 1, &handled).substr(0, 13), "90 692.8 M (7");
    EXPECT_EQ(handled, 1);
    EXPECT_EQ(c_buf_ul, 0);
    EXPECT_EQ(emitting, 0);
    EXPECT_EQ(env.pos_changed, 1);
    env.pos_changed = 0;  // no move when the position is current
    EXPECT_EQ(run("code128", 1, &handled).substr(0, 3), "(7)");
    EXPECT_EQ(env.pos_changed, 1);
}

}  // namespace
