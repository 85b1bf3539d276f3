#include <cmath>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/text_buffer.h"
#include "pcl/text_loop.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

constexpr int32_t kLeft = 36000;
constexpr int32_t kHmi = 7200;
constexpr int32_t kVmi = 12000;

class TextLoop : public testing::Test {
protected:
    void SetUp() override
    {
        env = pcl_env{};
        env.page_width = 612000;
        env.page_height = 792000 * 4;
        env.text_length = 792000 * 3;
        env.left_margin = kLeft;
        env.hmi = kHmi;
        env.vmi = kVmi;
        env.cur_x = 100000;
        env.cur_y = 50000;
        font[0] = pcl_font{};
        font[1] = pcl_font{};
        font[0].pitch = 10;
        font[1].pitch = 16.67;
        font[0].symset = font[1].symset = 277;
        in_macro_definition = 0;
        verbose = debug = genps = 0;
        getchar_func = getc_only;
        getc_buf_ofs = getc_buf_cnt = 0;
    }
    void TearDown() override { verbose = debug = 0; in_macro_definition = 0; }

    // Runs the text loop over `bytes` and returns its standard output.
    static std::string run(std::string const& bytes)
    {
        InputFromString in(bytes);
        return capture_stdout([] { parse_text(); });
    }
};

TEST_F(TextLoop, CarriageReturnAndLineFeedFollowLineTermination)
{
    run("\r");
    EXPECT_EQ(env.cur_x, kLeft);
    EXPECT_EQ(env.cur_y, 50000);
    EXPECT_EQ(env.pos_changed, 1);

    env.cur_x = 100000;
    run("\n");
    EXPECT_EQ(env.cur_x, 100000);
    EXPECT_EQ(env.cur_y, 50000 + kVmi);

    env.eol_term = 2;  // LF also returns the carriage
    run("\n");
    EXPECT_EQ(env.cur_x, kLeft);
    EXPECT_EQ(env.cur_y, 50000 + 2 * kVmi);

    env.eol_term = 1;  // CR also feeds a line
    env.cur_x = 100000;
    run("\r");
    EXPECT_EQ(env.cur_x, kLeft);
    EXPECT_EQ(env.cur_y, 50000 + 3 * kVmi);

    env.eol_term = 3;
    run("\r\n");
    EXPECT_EQ(env.cur_y, 50000 + 5 * kVmi);
}

TEST_F(TextLoop, BackspaceStopsAtTheLeftMargin)
{
    env.cur_x = kLeft + kHmi + 100;
    run("\b");
    EXPECT_EQ(env.cur_x, kLeft + 100);
    run("\b");
    EXPECT_EQ(env.cur_x, kLeft);
    env.pos_changed = 0;
    run("\b");
    EXPECT_EQ(env.cur_x, kLeft);
    EXPECT_EQ(env.pos_changed, 1);
    // A hostile HMI cannot wrap the cursor around.
    env.cur_x = INT32_MIN + 5;
    env.left_margin = INT32_MIN;
    env.hmi = INT32_MAX;
    run("\b");
    EXPECT_EQ(env.cur_x, INT32_MIN);
}

TEST_F(TextLoop, TabStopsEveryEightColumnsFromThePageEdge)
{
    env.cur_x = 0;
    run("\t");
    EXPECT_EQ(env.cur_x, 8 * kHmi);
    run("\t");  // from a stop to the next one
    EXPECT_EQ(env.cur_x, 16 * kHmi);
    env.cur_x = 17 * kHmi + 5;
    run("\t");
    EXPECT_EQ(env.cur_x, 24 * kHmi);
    env.cur_x = kLeft;  // the margin does not shift the stops: column 5
    run("\t");
    EXPECT_EQ(env.cur_x, 8 * kHmi);
    env.cur_x = -3 * kHmi;
    run("\t");
    EXPECT_EQ(env.cur_x, 0);

    // No usable HMI: the cursor stays, the move is still signalled.
    env.hmi = 0;
    env.cur_x = 12345;
    env.pos_changed = 0;
    run("\t");
    EXPECT_EQ(env.cur_x, 12345);
    EXPECT_EQ(env.pos_changed, 1);
    env.hmi = 1;
    env.cur_x = INT32_MAX - 2;
    run("\t");
    EXPECT_EQ(env.cur_x, INT32_MAX);
}

TEST_F(TextLoop, ShiftOutAndInSwitchFontAndAdvance)
{
    env.font_serial = 7;
    run("\x0e");
    EXPECT_EQ(env.font_sel, 1);
    EXPECT_EQ(env.font_serial, 8);
    EXPECT_EQ(env.hmi, 4319);  // trunc(72000 / 16.67)
    run("\x0f\x0f");
    EXPECT_EQ(env.font_sel, 0);
    EXPECT_EQ(env.font_serial, 10);  // counted even without a change
    EXPECT_EQ(env.hmi, 7200);

    // Unusable pitches leave the advance alone; a tiny one saturates.
    font[1].pitch = 0;
    run("\x0e");
    EXPECT_EQ(env.hmi, 7200);
    EXPECT_EQ(env.font_sel, 1);
    font[1].pitch = std::nan("");
    run("\x0e");
    EXPECT_EQ(env.hmi, 7200);
    font[1].pitch = -4;
    run("\x0e");
    EXPECT_EQ(env.hmi, 7200);
    font[1].pitch = 1e-300;
    run("\x0e");
    EXPECT_EQ(env.hmi, INT32_MAX);
}

TEST_F(TextLoop, DebugTracesEveryCharacter)
{
    debug = 1;
    EXPECT_EQ(run("A\r"), "in: A\nch: A\nChar: A\nin: 0x0d\nch: 0x0d\nChar: 0x0d\nin: EOF\nch: EOF\n");
    verbose = 1;
    EXPECT_EQ(run(std::string("\x00", 1)),
              "in: 0x00\nch: 0x00\nChar: 0x00\nChar: 0x00\nin: EOF\nch: EOF\n");
}

TEST_F(TextLoop, RunsAdvanceAndSaturateAsOneCharacterAtATime)
{
    // Runs longer than the run buffer are cut into full buffers.
    env.cur_x = 0;
    env.hmi = 1;
    run(std::string(2500, 'a') + "bc");
    EXPECT_EQ(env.cur_x, 2502);
    EXPECT_EQ(c_buf_curX, 2048);
    EXPECT_EQ(c_buf[0], 'a');
    EXPECT_EQ(c_buf[452], 'b');
    EXPECT_EQ(c_buf[453], 'c');

    // The cursor stops at the ends of the coordinate range, either way.
    env.hmi = kHmi;
    env.cur_x = INT32_MAX - 10000;
    run("ABCDE");
    EXPECT_EQ(env.cur_x, INT32_MAX);
    env.hmi = -kHmi;
    env.cur_x = INT32_MIN + 10000;
    run("ABCDE");
    EXPECT_EQ(env.cur_x, INT32_MIN);

    // Pending look-ahead bytes come before the file's, and a control code
    // read straight from the file still ends the run.
    env.hmi = kHmi;
    env.cur_x = 0;
    getc_buf[0] = 'x';
    getc_buf[1] = 'y';
    getc_buf_ofs = 0;
    getc_buf_cnt = 2;
    run("z\x0e");
    EXPECT_EQ(c_buf[0], 'x');
    EXPECT_EQ(c_buf[1], 'y');
    EXPECT_EQ(c_buf[2], 'z');
    EXPECT_EQ(c_buf_curX, 0);
    EXPECT_EQ(env.font_sel, 1);
    EXPECT_EQ(env.cur_x, 3 * kHmi);
}

TEST_F(TextLoop, MacroDefinitionOnlyWatchesForEscape)
{
    in_macro_definition = 1;
    verbose = 1;
    pcl_env const before = env;
    EXPECT_EQ(run("AB\r\n\b\t\x0e\x0f"), "");
    EXPECT_EQ(env.cur_x, before.cur_x);
    EXPECT_EQ(env.cur_y, before.cur_y);
    EXPECT_EQ(env.font_sel, before.font_sel);
    EXPECT_EQ(env.font_serial, before.font_serial);
    EXPECT_EQ(env.pos_changed, 0);
}

}  // namespace
