// Control codes of the text loop on the cursor and font state; the traces
// under -d are the txt_debug golden case.
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
#include "reset.h"
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
        tarvo_reset();
        env.page_width = 612000;
        env.page_height = 792000 * 4;
        env.text_length = 792000 * 3;
        env.left_margin = kLeft;
        env.hmi = kHmi;
        env.vmi = kVmi;
        font[0] = pcl_font{};
        font[1] = pcl_font{};
        font[0].pitch = 10;
        font[1].pitch = 16.67;
        font[0].symset = font[1].symset = 277;
    }
    void TearDown() override { tarvo_reset(); }

    static std::string run(std::string const& bytes)
    {
        InputFromString in(bytes);
        return capture_stdout([] { parse_text(); });
    }
};

TEST_F(TextLoop, ControlCodesMoveTheCursor)
{
    struct {
        int eol_term;
        int32_t hmi, left, x;
        char const* bytes;
        int32_t want_x, want_dy;
    } const cases[] = {
        {0, kHmi, kLeft, 100000, "\r", kLeft, 0},
        {0, kHmi, kLeft, 100000, "\n", 100000, kVmi},
        {2, kHmi, kLeft, 100000, "\n", kLeft, kVmi},  // LF also returns the carriage
        {1, kHmi, kLeft, 100000, "\r", kLeft, kVmi},  // CR also feeds a line
        {3, kHmi, kLeft, 100000, "\r\n", kLeft, 2 * kVmi},
        {0, kHmi, kLeft, kLeft + kHmi + 100, "\b", kLeft + 100, 0},
        {0, kHmi, kLeft, kLeft + 100, "\b\b", kLeft, 0},  // stops at the margin
        {0, INT32_MAX, INT32_MIN, INT32_MIN + 5, "\b", INT32_MIN, 0},
        // Tab stops every eight columns from the page edge, not the margin.
        {0, kHmi, kLeft, 0, "\t\t", 16 * kHmi, 0},
        {0, kHmi, kLeft, 17 * kHmi + 5, "\t", 24 * kHmi, 0},
        {0, kHmi, kLeft, kLeft, "\t", 8 * kHmi, 0},
        {0, kHmi, kLeft, -3 * kHmi, "\t", 0, 0},
        {0, 0, kLeft, 12345, "\t", 12345, 0},  // no usable HMI: the cursor stays
        {0, 1, kLeft, INT32_MAX - 2, "\t", INT32_MAX, 0},
        // Text runs saturate at the ends of the coordinate range.
        {0, kHmi, kLeft, INT32_MAX - 10000, "ABCDE", INT32_MAX, 0},
        {0, -kHmi, kLeft, INT32_MIN + 10000, "ABCDE", INT32_MIN, 0},
    };
    for (auto const& c : cases) {
        env.eol_term = c.eol_term;
        env.hmi = c.hmi;
        env.left_margin = c.left;
        env.cur_x = c.x;
        env.cur_y = 50000;
        env.pos_changed = 0;
        run(c.bytes);
        EXPECT_EQ(env.cur_x, c.want_x) << c.x << " " << c.bytes;
        EXPECT_EQ(env.cur_y, 50000 + c.want_dy) << c.bytes;
        EXPECT_TRUE(env.pos_changed || c.bytes[0] == 'A' || c.bytes[0] == '\n') << c.bytes;
    }
}

TEST_F(TextLoop, ShiftOutAndInSwitchFontAndAdvance)
{
    env.font_serial = 7;
    run("\x0e");
    EXPECT_EQ(env.font_sel, 1);
    EXPECT_EQ(env.hmi, 4319);  // trunc(72000 / 16.67)
    run("\x0f\x0f");
    EXPECT_EQ(env.font_sel, 0);
    EXPECT_EQ(env.font_serial, 10);  // counted even without a change
    EXPECT_EQ(env.hmi, 7200);
    // Unusable pitches leave the advance alone; a tiny one saturates.
    for (double pitch : {0.0, std::nan(""), -4.0}) {
        font[1].pitch = pitch;
        run("\x0e");
        EXPECT_EQ(env.hmi, 7200) << pitch;
    }
    font[1].pitch = 1e-300;
    run("\x0e");
    EXPECT_EQ(env.hmi, INT32_MAX);
}

TEST_F(TextLoop, RunsSplitAtTheBufferTakeLookAheadFirstAndPauseInMacros)
{
    env.hmi = 1;
    env.cur_x = 0;
    run(std::string(2500, 'a') + "bc");
    EXPECT_EQ(env.cur_x, 2502);
    EXPECT_EQ(c_buf_curX, 2048);
    EXPECT_EQ(c_buf[452], 'b');

    // Pending look-ahead bytes come before the file's, and a control code
    // read straight from the file still ends the run.
    env.hmi = kHmi;
    env.cur_x = 0;
    getc_buf[0] = 'x';
    getc_buf[1] = 'y';
    getc_buf_cnt = 2;
    run("z\x0e");
    EXPECT_EQ(std::string(c_buf, c_buf + 3), "xyz");
    EXPECT_EQ(env.font_sel, 1);
    EXPECT_EQ(env.cur_x, 3 * kHmi);

    // While a macro is recorded only the escape character counts.
    in_macro_definition = verbose = 1;
    pcl_env const before = env;
    EXPECT_EQ(run("AB\r\n\b\t\x0e\x0f"), "");
    EXPECT_EQ(env.cur_x + env.cur_y + env.font_serial,
              before.cur_x + before.cur_y + before.font_serial);
}

}  // namespace
