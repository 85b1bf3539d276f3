#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pcl/input.h"
#include "pcl/macros.h"
#include "pcl/passages.h"
#include "run_mode.h"
#include "test_support.h"

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

TEST_F(Passages, PjlLinesAreTracedUntilTheFirstOtherLine)
{
    InputFromString in("@PJL JOB\r\n@PJL \t  ENTER LANGUAGE=PCL\r\n\x1b" "E");
    int result = 0;
    EXPECT_EQ(capture_stdout([&] { result = parse_pjl(); }),
              "@PJL JOB\n@PJL ENTER LANGUAGE=PCL\n");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(handed_back(), std::vector<int>{27});
    EXPECT_EQ(rest_of_file(), "E");
    // The handed-back bytes come first for the PCL reader.
    EXPECT_EQ(pcl_getc(), 27);
}

TEST_F(Passages, PjlLineEdges)
{
    std::string const long_line(100, 'x');
    {
        InputFromString in("@PJL " + long_line + "\n@PJL\r\n@PJL\tA\r");
        EXPECT_EQ(capture_stdout([] { EXPECT_EQ(parse_pjl(), -1); }),
                  "@PJL " + long_line.substr(0, 64) + " ...\n@PJL \n@PJL A\r\n");
        EXPECT_TRUE(handed_back().empty());
    }
    {
        // An empty line ends the passage; its line end goes back to PCL.
        InputFromString in("@PJL A\n\r\n@PJL B\n");
        EXPECT_EQ(capture_stdout([] { EXPECT_EQ(parse_pjl(), 1); }), "@PJL A\n");
        EXPECT_EQ(handed_back(), std::vector<int>{'\r'});
        EXPECT_EQ(rest_of_file(), "\n@PJL B\n");
    }
    {
        InputFromString in("@PJ");
        EXPECT_EQ(parse_pjl(), 4);
        EXPECT_EQ(handed_back(), (std::vector<int>{'@', 'P', 'J', -1}));
    }
    {
        InputFromString in("@pjl x\n");
        EXPECT_EQ(parse_pjl(), 2);
        EXPECT_EQ(handed_back(), (std::vector<int>{'@', 'p'}));
    }
    {
        verbose = 0;
        InputFromString in("@PJL SILENT\n");
        EXPECT_EQ(capture_stdout([] { EXPECT_EQ(parse_pjl(), -1); }), "");
    }
}

TEST_F(Passages, HpglStatementsUntilEscape)
{
    InputFromString in("IN;SP1;\r\nPU0,0;\tPD100,100;\x1b%0A");
    getc_buf[0] = 'Q';  // stale look-ahead is discarded
    getc_buf_cnt = 1;
    EXPECT_EQ(capture_stdout([] { parse_hpgl(1); }),
              "HP-GL: IN;\nHP-GL: SP1;\nHP-GL: PU0,0;\nHP-GL:  PD100,100;\n");
    EXPECT_EQ(handed_back(), std::vector<int>{27});
    EXPECT_EQ(pcl_getc(), 27);
    EXPECT_EQ(pcl_getc(), '%');
}

TEST_F(Passages, HpglStatementEdges)
{
    std::string const long_stmt = "LB" + std::string(100, 'y') + ";";
    {
        InputFromString in(long_stmt + "PU1\x1b");
        EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }),
                  "HP-GL: LB" + std::string(62, 'y') + " ...\nHP-GL: PU1\n");
    }
    {
        // End of input drops an unfinished statement; an ESC right away
        // traces nothing.
        InputFromString in("IN;PU");
        EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "HP-GL: IN;\n");
        EXPECT_TRUE(handed_back().empty());
    }
    {
        InputFromString in("\r\n\x1b");
        EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "");
        EXPECT_EQ(handed_back(), std::vector<int>{27});
    }
    {
        // Inside a macro definition the statements show only at level 2.
        in_macro_definition = 1;
        InputFromString in("IN;");
        EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "");
        verbose = 2;
        InputFromString in2("IN;");
        EXPECT_EQ(capture_stdout([] { parse_hpgl(0); }), "HP-GL: IN;\n");
    }
}

}  // namespace
