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

TEST(TextBuffer, RunKeepsItsStartSplitsWhenFullAndReportsHoles)
{
    reset_ps_state();
    genps = 0;
    verbose = 1;
    env.cur_x = 500;
    env.underline = 2;
    cbuf_add('x');
    env.underline = 0;  // the run keeps the mode it started with
    EXPECT_EQ(capture_stdout([] {
                  for (int i = 1; i < CBUF_SIZE; ++i)
                      cbuf_add('x');
              }),
              "");
    EXPECT_EQ(c_buf_ul, 2);
    EXPECT_EQ(capture_stdout([] { cbuf_add('y'); }),
              "Char (1024) \"" + std::string(CBUF_SIZE, 'x') + "\"\n");
    EXPECT_EQ(c_buf_len, 1);
    EXPECT_EQ(c_buf_curX, 500 + CBUF_SIZE * 7200);
    EXPECT_EQ(env.cur_x, 500 + (CBUF_SIZE + 1) * 7200);
    env.cur_x = INT_MAX - 10;  // the advance saturates
    cbuf_add('D');
    EXPECT_EQ(env.cur_x, INT_MAX);
    cbuf_init();

    // ISO 8859-3 has a hole at 0xA5; each occurrence is reported when analysing.
    font[0].symset = 110;
    EXPECT_EQ(capture_stderr([] {
                  capture_stdout([] {
                      cbuf_add(0xA5);
                      cbuf_add(0xA5);
                      cbuf_flush(1);
                  });
              }),
              "unmapped: 00a5\nunmapped: 00a5\n");
    verbose = 0;
    EXPECT_EQ(capture_stderr([] { cbuf_add(0xA5); }), "");
    EXPECT_EQ(c_buf[0], 0xBF);
    cbuf_init();
}

}  // namespace
