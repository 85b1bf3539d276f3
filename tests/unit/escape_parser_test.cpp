#include <cmath>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pcl/command_table.h"
#include "pcl/environment.h"
#include "pcl/fonts.h"
#include "pcl/escape_parser.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/text_loop.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

struct call {
    std::string key;
    double value;
    int movetype;
    int fontind;
};

std::vector<call> calls;

// Replaces the handler of a table row by a recorder for the test's lifetime.
class Recorder {
public:
    explicit Recorder(char const* key) : row_(hash_lookup(key)), saved_(row_->handler)
    {
        row_->handler = record_for(key);
    }
    ~Recorder() { row_->handler = saved_; }

private:
    template <int N>
    static void record(double v)
    {
        calls.push_back({keys()[N], v, movetype, fontind});
    }
    static std::vector<std::string>& keys()
    {
        static std::vector<std::string> k;
        return k;
    }
    static pcl_handler record_for(char const* key)
    {
        static pcl_handler const fns[] = {record<0>,  record<1>,  record<2>,  record<3>,
                                          record<4>,  record<5>,  record<6>,  record<7>,
                                          record<8>,  record<9>,  record<10>, record<11>,
                                          record<12>, record<13>, record<14>, record<15>};
        auto& k = keys();
        for (size_t i = 0; i < k.size(); ++i)
            if (k[i] == key)
                return fns[i];
        k.push_back(key);
        if (k.size() > std::size(fns))
            std::abort();
        return fns[k.size() - 1];
    }
    pcl_cmd* row_;
    pcl_handler saved_;
};

class EscapeParser : public ::testing::Test {
protected:
    void SetUp() override
    {
        hash_setup();
        verbose = 0;
        debug = 0;
        genps = 0;
        pcl_init();
        verbose = 1;
        in_macro_definition = 0;
        getchar_func = getc_only;
        getc_buf_ofs = getc_buf_cnt = 0;
        calls.clear();
    }
    void TearDown() override
    {
        in_macro_definition = 0;
        verbose = 0;
    }

    // Runs the bytes through the text loop and returns the trace.
    static std::string run(std::string const& bytes)
    {
        InputFromString in(bytes);
        return capture_stdout([] { parse_text(); });
    }
};

TEST_F(EscapeParser, GroupsTracesAndValueNames)
{
    Recorder o("&lO"), a("&lA");
    EXPECT_EQ(run("\x1b&l1o2A"),
              "<ESC>&l1O -> Orientation: Landscape\n"
              "<ESC>&l2A -> Page Size: 2\n");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].key, "&lO");
    EXPECT_EQ(calls[0].value, 1.0);
    EXPECT_EQ(calls[0].movetype, 0);
    EXPECT_EQ(calls[1].key, "&lA");
    EXPECT_EQ(calls[1].value, 2.0);

    Recorder k("&kS"), st("(sS");
    // Names: negative values take the first, values past the end print the number.
    EXPECT_EQ(run("\x1b&l-1O\x1b&l7O\x1b&l3.9O"),
              "<ESC>&l-1O -> Orientation: Portrait\n"
              "<ESC>&l7O -> Orientation: 7\n"
              "<ESC>&l3.9O -> Orientation: Reverse Landscape\n");
    EXPECT_EQ(run("\x1b&k3S\x1b(s24S\x1b(s9S\x1b(s25S"),
              "<ESC>&k3S -> Font Pitch: \n"
              "<ESC>(s24S -> Primary Style: Expanded\n"
              "<ESC>(s9S -> Primary Style: \n"
              "<ESC>(s25S -> Primary Style: 25\n");
    EXPECT_EQ(run("\x1b&l99999999999O"), "<ESC>&l1e+11O -> Orientation: 2147483647\n");
    // Unknown keys show the terminator in upper case; the group is case-sensitive.
    EXPECT_EQ(run("\x1b&l1y\x1b&L1O"), "Unknown: <ESC>&l1Y\nUnknown: <ESC>&L1O\n");
}

TEST_F(EscapeParser, SignsDecimalsAndMovetype)
{
    Recorder c("&aC"), x("*pX");
    run("\x1b&a+5C\x1b&a-5C\x1b&a5C\x1b&a--5C\x1b&a5-C\x1b&aC");
    ASSERT_EQ(calls.size(), 6u);
    EXPECT_EQ(calls[0].value, 5.0);
    EXPECT_EQ(calls[0].movetype, 1);
    EXPECT_EQ(calls[1].value, -5.0);
    EXPECT_EQ(calls[1].movetype, 1);
    EXPECT_EQ(calls[2].value, 5.0);
    EXPECT_EQ(calls[2].movetype, 0);
    EXPECT_EQ(calls[3].value, 5.0);
    EXPECT_EQ(calls[3].movetype, 1);
    EXPECT_EQ(calls[4].value, -5.0);  // the sign may follow the digits
    EXPECT_EQ(calls[5].value, 0.0);
    EXPECT_EQ(movetype, 0);

    // A sign in one group does not leak into the next.
    calls.clear();
    run("\x1b&a-2c3C");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].movetype, 1);
    EXPECT_EQ(calls[1].movetype, 0);
    EXPECT_EQ(calls[1].value, 3.0);

    calls.clear();
    std::string huge(400, '9');
    run("\x1b*p1.5X\x1b*p.5.5X\x1b*p0.123456789987X\x1b*p" + huge + "X\x1b*p-" + huge +
        ".5X");
    ASSERT_EQ(calls.size(), 5u);
    EXPECT_DOUBLE_EQ(calls[0].value, 1.5);
    EXPECT_DOUBLE_EQ(calls[1].value, 1.0);  // a second point restarts at tenths
    EXPECT_DOUBLE_EQ(calls[2].value, 0.123456789);  // decimals past the ninth are ignored
    EXPECT_TRUE(std::isfinite(calls[3].value));
    EXPECT_EQ(calls[3].value, 1e308);
    EXPECT_EQ(calls[4].value, -1e308);
}

TEST_F(EscapeParser, InterruptedAndMalformedSequences)
{
    Recorder a("&lA");
    EXPECT_EQ(run("\x1b&l1\x1b&l2A"),
              "Unknown: <ESC>&l1<1b> (bad)\n<ESC>&l2A -> Page Size: 2\n");
    EXPECT_EQ(run("\x1b&l\x1b&l3A"), "<ESC>&l3A -> Page Size: 3\n");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].value, 3.0);

    // Any other character ends the sequence and is dropped.
    EXPECT_EQ(run("\x1b&l4#\x1b&l-0!"),
              "Unknown: <ESC>&l4<23> (bad)\nUnknown: <ESC>&l-0<21> (bad)\n");
    // End of input inside a sequence executes nothing.
    calls.clear();
    EXPECT_EQ(run("\x1b&l5"), "Unknown: <ESC>&l5<ff> (bad)\n");
    EXPECT_EQ(run("\x1b*"), "Unknown: <ESC>*\xff" "0<ff> (bad)\n");
    EXPECT_TRUE(calls.empty());

    EXPECT_EQ(run("\x1bq\x1b"), "Unknown: <ESC>71\nUnknown: <ESC>ffffffff\n");
}

TEST_F(EscapeParser, InterruptedRunsUseConstantStack)
{
    verbose = 0;
    std::string bytes;
    for (int i = 0; i < 500000; ++i)
        bytes += "\x1b&l1";
    for (int i = 0; i < 500000; ++i)
        bytes += "\x1b*p";
    bytes += "\x1b&l2A";
    Recorder a("&lA");
    run(bytes);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].value, 2.0);
}

TEST_F(EscapeParser, TwoCharacterEscapes)
{
    env.left_margin = 7200;
    env.right_margin = 36000;
    int32_t const y = env.cur_y;
    EXPECT_EQ(run("\x1bz\x1bY\x1bZ\x1b="),
              "<ESC>z -> Self test\n<ESC>Y -> Display functions on\n"
              "<ESC>Z -> Display functions off\n<ESC>= -> Half linefeed\n");
    EXPECT_EQ(env.cur_y, y + env.vmi / 2);
    EXPECT_EQ(run("\x1b" "9"), "<ESC>9 -> Clear Margins\n");
    EXPECT_EQ(env.left_margin, 0);
    EXPECT_EQ(env.right_margin, env.page_width);
    env.cur_x = 12345;
    EXPECT_EQ(run("\x1b" "E"), "<ESC>E -> Reset\n");
    EXPECT_EQ(env.cur_x, default_env.cur_x);
}

TEST_F(EscapeParser, FontAndSymbolSetForms)
{
    EXPECT_EQ(run("\x1b(8U\x1b)0N\x1b(10X\x1b(X\x1b(@\x1b(3@\x1b)5X\x1b)7@"),
              "<ESC>(8U -> Primary symbol set: 8U (277)\n"
              "<ESC>)0N -> Secondary Symbol set: 0N (14)\n"
              "<ESC>(10X -> Primary font 10\n"
              "<ESC>(0X -> Primary font 0\n"
              "<ESC>(0@ -> Primary font value 0\n"
              "<ESC>(3@ -> Primary font value 3\n"
              "<ESC>)5X -> Secondary font 5\n"
              "<ESC>)7@ -> Secondary font value 7\n");
    EXPECT_EQ(font[0].symset, 277);
    EXPECT_EQ(font[1].symset, 14);
    EXPECT_EQ(run("\x1b(8#\x1b)12!"), "Unknown: <ESC>(8#\nUnknown: <ESC>)12!\n");
    // ESC ) X is a parameterized sequence with group character X.
    EXPECT_EQ(run("\x1b)X3Q"), "Unknown: <ESC>)X3Q\n");
    // A long number saturates instead of overflowing.
    EXPECT_EQ(run("\x1b(99999999999U"),
              "<ESC>(2147483647U -> Primary symbol set: 2147483647U (2147483647)\n");

    Recorder p("(sP"), s("(sH"), q(")sP");
    run("\x1b(s1p10H\x1b)s1P");
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].key, "(sP");
    EXPECT_EQ(calls[0].fontind, 0);
    EXPECT_EQ(calls[1].fontind, 0);
    EXPECT_EQ(calls[1].value, 10.0);
    EXPECT_EQ(calls[2].key, ")sP");
    EXPECT_EQ(calls[2].fontind, 1);
}

TEST_F(EscapeParser, ModeForms)
{
    EXPECT_EQ(run("\x1b%1A\x1b%12345X\x1b%-1x"),
              "<ESC>%1A -> PCL mode\nUnknown: <ESC>%12345X\nUnknown: <ESC>%-1x\n");
    EXPECT_EQ(run("\x1b%0BIN;PU0\x1b%0A"),
              "<ESC>%0B -> HP-GL/2 mode\nHP-GL: IN;\nHP-GL: PU0\n<ESC>%0A -> PCL mode\n");
    EXPECT_EQ(run("\x1b%-12345X@PJL JOB\r\n\x1b%-1B"),
              "ESC%-12345X\n@PJL JOB\n<ESC>%-1B -> HP-GL/2 mode\n");
}

TEST_F(EscapeParser, DataBlocksFollowTheirCommands)
{
    Recorder m("*bM"), o("&lO");
    // Raster data in the middle of a combined sequence, then the next group.
    EXPECT_EQ(run("\x1b*b2wXY1M\x1b*b3W\x1b&l1\x1b&l1O"),
              "<ESC>*b2W -> Transfer Raster Data: 2\n"
              "<ESC>*b1M -> Compression Method: 1\n"
              "<ESC>*b3W -> Transfer Raster Data: 3\n"
              "Char (1) \"1\"\n"  // the digit after the data is text
              "<ESC>&l1O -> Orientation: Landscape\n");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].value, 1.0);
    EXPECT_EQ(calls[1].key, "&lO");
    EXPECT_EQ(run("\x1b&p2XA\x1b"),
              "<ESC>&p2X -> Transparent Print: 2\nChar: 0x41\nChar: 0x1b\nChar (2) \"A\\x1b\"\n");
}

TEST_F(EscapeParser, MacroDefinitionPrefixRule)
{
    Recorder o("&lO"), f("&fX");
    env.left_margin = 7200;
    int32_t const y = env.cur_y;
    int32_t const symset = font[0].symset;
    in_macro_definition = 1;
    EXPECT_EQ(run("\x1b&l1O\x1b(8U\x1b%1A\x1b(3@\x1b" "9"),
              "<ESC>(3@ -> Primary font value 3\n<ESC>9 -> Clear Margins\n");
    EXPECT_TRUE(calls.empty());
    run("\x1b=\x1b(0N");
    EXPECT_EQ(env.left_margin, 7200);
    EXPECT_EQ(env.cur_y, y);
    EXPECT_EQ(font[0].symset, symset);
    verbose = 2;
    EXPECT_EQ(run("\x1b&l1O\x1b(8U\x1b)2X\x1b%1A\x1b&l5Y"),
              " <ESC>&l1O -> Orientation: Landscape\n"
              " <ESC>(8U -> Primary symbol set: 8U (277)\n"
              " <ESC>)2X -> Secondary font 2\n"
              " <ESC>%1A -> PCL mode\n"
              "Unknown: <ESC>&l5Y\n");
    EXPECT_TRUE(calls.empty());
    // Macro control is traced without prefix at level 1 and still executed.
    verbose = 1;
    EXPECT_EQ(run("\x1b&f1X"), "<ESC>&f1X -> Macro control: Stop macro definition\n");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].key, "&fX");
}

}  // namespace
