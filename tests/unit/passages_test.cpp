#include "converter_test.h"
#include "pcl/passages.h"

namespace {

class Passages : public ::testing::Test {
protected:
    void SetUp() override
    {
        verbose = 1;
        debug = 0;
        in_macro_definition = 0;
        getchar_func = getc_only;
        getc_buf_ofs = getc_buf_cnt = 0;
    }
    void TearDown() override
    {
        verbose = 0;
        in_macro_definition = 0;
    }

    static std::vector<int> handed_back()
    {
        return std::vector<int>(getc_buf + getc_buf_ofs, getc_buf + getc_buf_cnt);
    }
    static std::string rest_of_file()
    {
        std::string s;
        for (int c; (c = std::getc(infp)) != EOF;)
            s.push_back(static_cast<char>(c));
        return s;
    }
};

// What the passage readers hand back to the PCL reader; their traces are
// the esc_trace and esc_passages golden cases.
TEST_F(Passages, BytesHandedBackToPcl)
{
    struct Case {
        char const* input;
        int result;
        std::vector<int> back;
    };
    Case const cases[] = {
        {"@PJL A\n@PJL B\r\n\x1b" "E", 1, {27}},
        {"@PJL A\n\r\n@PJL B\n", 1, {'\r'}},  // an empty line ends the passage
        {"@PJL A\r", -1, {}},
        {"@PJ", 4, {'@', 'P', 'J', -1}},
        {"@pjl x\n", 2, {'@', 'p'}},
    };
    for (Case const& c : cases) {
        InputFromString in(c.input);
        int result = 0;
        capture_stdout([&] { result = parse_pjl(); });
        EXPECT_EQ(result, c.result) << c.input;
        EXPECT_EQ(handed_back(), c.back) << c.input;
    }
    InputFromString in("@PJL A\n\x1b" "E");
    capture_stdout([] { parse_pjl(); });
    EXPECT_EQ(pcl_getc(), 27);  // the handed-back bytes come first
    EXPECT_EQ(rest_of_file(), "E");
}

TEST_F(Passages, HpglHandsBackTheEscape)
{
    InputFromString in("IN;\x1b%0A");
    getc_buf[0] = 'Q';  // stale look-ahead is discarded
    getc_buf_cnt = 1;
    capture_stdout([] { parse_hpgl(1); });
    EXPECT_EQ(pcl_getc(), 27);
    EXPECT_EQ(pcl_getc(), '%');

    // Inside a macro definition the statements show only at level 2.
    in_macro_definition = 1;
    InputFromString in1("IN;");
    EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "");
    verbose = 2;
    InputFromString in2("IN;");
    EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "HP-GL: IN;\n");
}

}  // namespace
