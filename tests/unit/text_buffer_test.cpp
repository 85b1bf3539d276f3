#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "config_store.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/ps/document.h"
#include "pcl/text_buffer.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class TextBuffer : public ::testing::Test {
protected:
    void SetUp() override
    {
        env = pcl_env{};
        env.hmi = 7200;
        font[0] = pcl_font{};
        font[1] = pcl_font{};
        font[0].symset = 14;  // 0N, ISO 8859-1
        font[1].symset = 14;
        genps = 0;
        verbose = 0;
        cbuf_init();
        ps_document_reset();
        config_clear();
    }

    void TearDown() override
    {
        cbuf_init();
        genps = 0;
        verbose = 0;
    }

    static void set_run(std::u16string const& codes)
    {
        cbuf_init();
        for (char16_t c : codes)
            *c_buf_p++ = static_cast<uint16_t>(c);
        c_buf_len = static_cast<int>(codes.size());
    }
};

TEST_F(TextBuffer, EmptyFlushDoesNothing)
{
    verbose = 1;
    EXPECT_EQ(capture_stdout([] { cbuf_flush(1); }), "");
    EXPECT_EQ(env.page_dirty, 0);

    genps = 1;
    OutputCapture out;
    cbuf_flush(2);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(ps_page_counter, 0);
    EXPECT_EQ(env.page_dirty, 0);
}

TEST_F(TextBuffer, RunRecordsStartAndAdvancesCursor)
{
    env.cur_x = 1000;
    env.underline = 2;
    cbuf_add('A');
    env.underline = 0;  // cannot happen without a flush; the run keeps its mode
    cbuf_add('B');
    cbuf_add('C');
    EXPECT_EQ(c_buf_len, 3);
    EXPECT_EQ(c_buf_p, c_buf + 3);
    EXPECT_EQ(c_buf_curX, 1000);
    EXPECT_EQ(c_buf_ul, 2);
    EXPECT_EQ(env.cur_x, 1000 + 3 * 7200);
    EXPECT_EQ(c_buf[0], 'A');
    EXPECT_EQ(c_buf[2], 'C');

    // The advance saturates instead of wrapping around.
    env.cur_x = INT_MAX - 10;
    cbuf_add('D');
    EXPECT_EQ(env.cur_x, INT_MAX);
}

TEST_F(TextBuffer, FullBufferSplitsTheRun)
{
    verbose = 1;
    env.cur_x = 500;
    std::string const trace = capture_stdout([] {
        for (int i = 0; i < CBUF_SIZE; ++i)
            cbuf_add('x');
    });
    EXPECT_EQ(trace, "");
    EXPECT_EQ(c_buf_len, CBUF_SIZE);

    std::string const split = capture_stdout([] { cbuf_add('y'); });
    EXPECT_EQ(split, "Char (1024) \"" + std::string(CBUF_SIZE, 'x') + "\"\n");
    EXPECT_EQ(c_buf_len, 1);
    EXPECT_EQ(c_buf[0], 'y');
    EXPECT_EQ(c_buf_curX, 500 + CBUF_SIZE * 7200);
    EXPECT_EQ(env.cur_x, 500 + (CBUF_SIZE + 1) * 7200);
}

TEST_F(TextBuffer, AnalysisTraceEscapesNonPrintables)
{
    verbose = 1;
    set_run(u"A\u00e9B");
    EXPECT_EQ(capture_stdout([] { cbuf_flush(1); }), "Char (3) \"A\\xe9B\"\n");
    EXPECT_EQ(c_buf_len, 0);
    EXPECT_EQ(c_buf_p, c_buf);
    EXPECT_EQ(env.page_dirty, 1);

    set_run(u"A\u20ac");
    EXPECT_EQ(capture_stdout([] { cbuf_flush(1); }), "Char (2) \"A\\x20ac\"\n");

    set_run(std::u16string(u"\t~\u007f \u0100\"", 6));
    EXPECT_EQ(capture_stdout([] { cbuf_flush(2); }), "Char (6) \"\\x09~\\x7f \\x100\"\"\n");
}

TEST_F(TextBuffer, SilentModeDropsRunButMarksPage)
{
    set_run(u"abc");
    EXPECT_EQ(capture_stdout([] { cbuf_flush(1); }), "");
    EXPECT_EQ(c_buf_len, 0);
    EXPECT_EQ(env.page_dirty, 1);
}

TEST_F(TextBuffer, ConvertsThroughTheActiveFontsSymbolSet)
{
    // Byte 0xC5 is A-ring in ISO 8859-1 and e-acute in Roman-8.
    font[0].symset = 277;  // 8U
    font[1].symset = 14;   // 0N
    env.font_sel = 1;
    cbuf_add(0xC5);
    env.font_sel = 0;
    cbuf_add(0xC5);
    EXPECT_EQ(c_buf[0], 0x00C5);
    EXPECT_EQ(c_buf[1], 0x00E9);
}

TEST_F(TextBuffer, AnalysisModeReportsEveryUnmappedCharacter)
{
    // ISO 8859-3 has a hole at 0xA5; each occurrence is reported.
    verbose = 1;
    font[0].symset = 110;  // 3N
    std::string const err = capture_stderr([] {
        capture_stdout([] {
            cbuf_add(0xA5);
            cbuf_add(0xA5);
            cbuf_flush(1);
        });
    });
    EXPECT_EQ(err, "unmapped: 00a5\nunmapped: 00a5\n");

    // The same bytes outside analysis mode convert silently and alike.
    verbose = 0;
    std::string const quiet = capture_stderr([] {
        cbuf_add(0xA5);
        cbuf_add(0xA5);
    });
    EXPECT_EQ(quiet, "");
    EXPECT_EQ(c_buf[0], 0xBF);
    EXPECT_EQ(c_buf[1], 0xBF);
}

TEST_F(TextBuffer, PostScriptModeWritesTheRun)
{
    genps = 1;
    env.paper_width = 612000;
    env.paper_height = 792000;
    env.font_serial = 1;
    font[0].pitch = 10;
    font[0].point_size = 12;
    font[0].typeface = 3;
    env.pos_changed = 1;
    env.cur_y = 28800;
    OutputCapture out;
    cbuf_add('H');
    cbuf_add('i');
    cbuf_flush(1);
    EXPECT_NE(out.str().find("\n0 763.2 M (Hi)S\n"), std::string::npos) << out.str();
    EXPECT_EQ(env.page_dirty, 1);
    EXPECT_EQ(c_buf_len, 0);
}

}  // namespace
