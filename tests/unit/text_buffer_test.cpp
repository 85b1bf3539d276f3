#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/text_buffer.h"
#include "ps_support.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class TextBuffer : public ::testing::Test {
protected:
    void SetUp() override
    {
        reset_ps_state();
        genps = 0;
        verbose = 1;
    }
    void TearDown() override
    {
        cbuf_init();
        verbose = 0;
    }
};

TEST_F(TextBuffer, RunKeepsItsStartAndSplitsWhenFull)
{
    env.cur_x = 500;
    env.underline = 2;
    cbuf_add('x');
    env.underline = 0;  // the run keeps the mode it started with
    std::string const trace = capture_stdout([] {
        for (int i = 1; i < CBUF_SIZE; ++i)
            cbuf_add('x');
    });
    EXPECT_EQ(trace, "");
    EXPECT_EQ(c_buf_len, CBUF_SIZE);
    EXPECT_EQ(c_buf_ul, 2);
    EXPECT_EQ(capture_stdout([] { cbuf_add('y'); }), "Char (1024) \"" + std::string(CBUF_SIZE, 'x') + "\"\n");
    EXPECT_EQ(c_buf_len, 1);
    EXPECT_EQ(c_buf[0], 'y');
    EXPECT_EQ(c_buf_curX, 500 + CBUF_SIZE * 7200);
    EXPECT_EQ(env.cur_x, 500 + (CBUF_SIZE + 1) * 7200);
    // The advance saturates instead of wrapping around.
    env.cur_x = INT_MAX - 10;
    cbuf_add('D');
    EXPECT_EQ(env.cur_x, INT_MAX);
}

TEST_F(TextBuffer, AnalysisTraceEscapesNonPrintables)
{
    for (uint16_t c : {0x09, 0x7e, 0x7f, 0x20, 0x100, 0x22})
        *c_buf_p++ = c;
    c_buf_len = 6;
    EXPECT_EQ(capture_stdout([] { cbuf_flush(2); }), "Char (6) \"\\x09~\\x7f \\x100\"\"\n");
    EXPECT_EQ(c_buf_len, 0);
    EXPECT_EQ(env.page_dirty, 1);
}

TEST_F(TextBuffer, UnmappedCharactersReportedOnlyWhenAnalysing)
{
    // ISO 8859-3 has a hole at 0xA5; each occurrence is reported.
    font[0].symset = 110;  // 3N
    std::string const err = capture_stderr([] {
        capture_stdout([] {
            cbuf_add(0xA5);
            cbuf_add(0xA5);
            cbuf_flush(1);
        });
    });
    EXPECT_EQ(err, "unmapped: 00a5\nunmapped: 00a5\n");
    verbose = 0;
    EXPECT_EQ(capture_stderr([] { cbuf_add(0xA5); }), "");
    EXPECT_EQ(c_buf[0], 0xBF);
}

}  // namespace
