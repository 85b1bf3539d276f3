// Document state that whole-document golden cases cannot reach: the lazy
// start, the interpreter pipe, origins, the marks file and the include list.
// Skeleton, prolog, pages, rotations and page boxes are pinned by the ps_*
// golden cases.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "config_store.h"
#include "ghostscript.h"
#include "pcl/environment.h"
#include "pcl/ps/document.h"
#include "pcl/ps/writer.h"
#include "pcl/text_buffer.h"
#include "ps_support.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class Document : public ::testing::Test {
protected:
    void SetUp() override { reset_ps_state(); }
    void TearDown() override { genps = 0; }
    // One text run at (x, y) in internal units, with an absolute move.
    static void text_at(char const* text, int32_t x, int32_t y)
    {
        env.cur_x = x;
        env.cur_y = y;
        env.pos_changed = 1;
        for (char const* p = text; *p; ++p)
            cbuf_add(static_cast<unsigned char>(*p));
        cbuf_flush(1);
    }
};

// Three form feeds came first: their blank pages come out before the page
// the output lands on (the earlier rendering started on that page).
TEST_F(Document, EnsureOutputStartsOnceWithoutChangingPages)
{
    for (int legacy : {0, 1}) {
        ps_document_reset();
        compat_f = legacy ? COMPAT_LEGACY : 0;
        config_add_value("CONFIG", "OVERLAY", "6");
        OutputCapture out;
        env.page_serial = 3;
        EXPECT_TRUE(ps_ensure_output());
        EXPECT_EQ(last_page, 3);
        EXPECT_EQ(ps_overlay_mode, 6);
        ps_ensure_output();
        text_at("x", 0, 28800);
        EXPECT_EQ(ps_page_counter, legacy ? 1 : 4);
        std::string const s = out.str();
        EXPECT_EQ(s.find("%!PS-Adobe-3.0"), 0u);
        EXPECT_EQ(s.find("%!PS-Adobe-3.0", 1), std::string::npos);
    }
    compat_f = 0;
}

TEST_F(Document, MissingStreamStartsTheInterpreterPipe)
{
    TempDir dir;
    std::string const target = dir.path() + "/doc.ps";
    gs_cmd = "cat > '" + target + "'";
    ASSERT_EQ(outfp, nullptr);
    text_at("piped", 0, 28800);
    ps_exit(nullptr);
    EXPECT_EQ(gs_close(), 0);
    std::string const doc = read_file(target);
    EXPECT_EQ(doc.rfind("%!PS-Adobe-3.0\n", 0), 0u);
    EXPECT_NE(doc.find("(piped)S\n"), std::string::npos);
    gs_cmd.clear();
}

TEST_F(Document, OriginsFollowOrientationAndDirection)
{
    // Reverse landscape with a top offset; text at right angles uses the page's own top.
    env.paper_width = 792000;
    env.paper_height = 612000;
    env.orientation = 3;
    env.page_yofs = 3600;
    OutputCapture out;
    ps_ensure_output();
    EXPECT_EQ(ps_page_rotate, 270);
    EXPECT_DOUBLE_EQ(ps_page_origin_y, 612.0 - 3.6);
    EXPECT_DOUBLE_EQ(ps_page_origin_width, 792.0 - 18.0);
    EXPECT_DOUBLE_EQ(ps_origin_y, ps_page_origin_y);
    ps_rotate_page(0);
    EXPECT_NE(out.str().find("792 0 translate -270 rotate\n"), std::string::npos);
    EXPECT_DOUBLE_EQ(ps_origin_y, ps_page_origin_width);
    EXPECT_EQ(env.pos_changed, 1);
    // The rotation already in force: nothing written.
    size_t const before = out.str().size();
    ps_rotate_page(0);
    env.cur_x = 72000;
    env.cur_y = 144000;
    ps_setpos();
    EXPECT_EQ(out.str().substr(before), "90 630 M\n");
}

TEST_F(Document, MarksFileFollowsTheDocument)
{
    TempDir dir;
    std::string const marks = dir.write("marks.ps", "[ /Title (T) /DOCINFO pdfmark\n");
    {
        // Nothing drawn: no document, and no marks either.
        OutputCapture out;
        env.page_serial = 4;
        cbuf_flush(1);
        ps_exit(marks.c_str());
        EXPECT_EQ(out.str(), "");
    }
    ps_document_reset();
    OutputCapture out;
    text_at("x", 0, 0);
    ps_exit(marks.c_str());
    std::string const s = out.str();
    EXPECT_EQ(s.substr(s.find("%%EOF")),
              "%%EOF\n\n% Begin " + marks + "\n[ /Title (T) /DOCINFO pdfmark\n% End\n");
}

TEST(IncludeList, SplitsOnCommasAndBoundsNames)
{
    using names = std::vector<std::string>;
    EXPECT_EQ(ps_include_names("one"), names{"one"});
    EXPECT_EQ(ps_include_names("  a , b\t,  c  "), (names{"a", "b", "c  "}));
    EXPECT_EQ(ps_include_names("a,,b"), (names{"a", "", "b"}));
    EXPECT_EQ(ps_include_names("a,"), (names{"a", ""}));
    std::string const long_name(300, 'n');
    EXPECT_EQ(ps_include_names((long_name + "," + long_name).c_str()),
              (names{std::string(255, 'n'), long_name}));
}

}  // namespace
