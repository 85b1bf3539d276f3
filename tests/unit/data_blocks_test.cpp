#include <string>

#include <gtest/gtest.h>

#include "pcl/data_blocks.h"
#include "pcl/environment.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class DataBlocks : public ::testing::Test {
protected:
    void SetUp() override
    {
        verbose = 0;
        debug = 0;
        genps = 0;
        pcl_init();
        verbose = 1;
        in_macro_definition = 0;
        getchar_func = getc_only;
        getc_buf_ofs = getc_buf_cnt = 0;
    }
    void TearDown() override
    {
        verbose = 0;
        genps = 0;
        in_macro_definition = 0;
    }

    // The rest of the input after a call, as raw bytes.
    static std::string rest()
    {
        std::string s;
        for (int c; (c = pcl_getc()) >= 0;)
            s.push_back(static_cast<char>(c));
        return s;
    }
};

TEST_F(DataBlocks, SkippedBlocksStopAtTheirCountOrAtEndOfInput)
{
    {
        InputFromString in("abcdef");
        readdesc(1, 3);
        EXPECT_EQ(rest(), "def");
    }
    {
        // Look-ahead bytes are consumed before the file.
        InputFromString in("abc");
        getc_buf[0] = 'x';
        getc_buf[1] = 'y';
        getc_buf_cnt = 2;
        readdesc(7, 3);
        EXPECT_EQ(rest(), "bc");
    }
    {
        // Blocks larger than the skip buffer end exactly at their count.
        InputFromString in(std::string(40000, '\x1b') + "rest");
        readdesc(1, 40000);
        EXPECT_EQ(rest(), "rest");
    }
    {
        // Under the input trace every skipped byte is still read and traced.
        InputFromString in("abcd");
        debug = 1;
        std::string const out = capture_stdout([] { readdesc(1, 2); });
        debug = 0;
        EXPECT_EQ(out, "in: a\nin: b\n");
        EXPECT_EQ(rest(), "cd");
    }
    {
        // The largest count ends at end of input and does not keep reading.
        InputFromString in("abc");
        readdesc(5, 4294967295u);
        EXPECT_EQ(rest(), "");
    }
    {
        // While a macro is recorded, even text and verbatim data are skipped
        // without trace.
        InputFromString in("ABCD%tarvo:pos");
        in_macro_definition = 1;
        std::string out = capture_stdout([] {
            readdesc(2, 2);
            readdesc(8, 2);
        });
        EXPECT_EQ(out, "");
        EXPECT_EQ(rest(), "%tarvo:pos");
    }
}

TEST_F(DataBlocks, TransparentPrintTracesEveryByte)
{
    InputFromString in("AB\rCD\x1b" "E");
    EXPECT_EQ(capture_stdout([] { readdesc(2, 5); }),
              "Char: 0x41\nChar: 0x42\nChar: 0x0d\nChar: 0x43\nChar: 0x44\nChar (5) \"AB\\x0dCD\"\n");
    EXPECT_EQ(capture_stdout([] { readchar(0); }), "");
    EXPECT_EQ(capture_stdout([] { readchar(100); }), "Char: 0x1b\nChar: 0x45\nChar (2) \"\\x1bE\"\n");
}

TEST_F(DataBlocks, VerbatimTrimmingAndTrace)
{
    struct {
        std::string data;
        std::string trace;
    } const cases[] = {
        {"abc  \r\n", "ps: abc\n"},
        {"abc\n\n", "ps: abc\n\n"},  // only one line end is removed
        {"ab\r\r", "ps: ab\r\n"},
        {"x \r", "ps: x\n"},
        {" \r\n", "ps: \n"},
        {"ab\n \n", "ps: ab\n\n"},  // the blank before the last LF goes too
        {"", "ps: \n"},
        {std::string("ab\0cd", 5), "ps: ab\n"},
    };
    for (auto const& c : cases) {
        InputFromString in(c.data + "Z");
        OutputCapture out;
        unsigned const n = static_cast<unsigned>(c.data.size());
        EXPECT_EQ(capture_stdout([n] { readdesc(8, n); }), c.trace) << c.data;
        EXPECT_EQ(out.str(), "") << "analysis mode writes nothing";
        EXPECT_EQ(rest(), "Z");
    }
}

TEST_F(DataBlocks, VerbatimWritesTheFirst8192BytesAsACString)
{
    genps = 1;
    verbose = 0;
    std::string big(10000, 'q');
    big[8191] = 'e';
    big[8192] = 'X';
    InputFromString in(big + std::string("ab\0cd\nZ", 7));
    OutputCapture out;
    readps(10000);
    readps(6);
    std::string const written = out.str();
    ASSERT_GE(written.size(), 8196u);
    // An embedded NUL ends what is written of the second block.
    EXPECT_EQ(written.substr(written.size() - 8196), std::string(8191, 'q') + "e\nab\n");
    EXPECT_EQ(rest(), "Z");
}

TEST_F(DataBlocks, InBandCommandSyntax)
{
    std::string_view arg;
    EXPECT_EQ(parse_inband("%tarvo:pos", &arg), inband_command::pos);
    EXPECT_EQ(parse_inband("%tarvo:pos x", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarvo:position", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarvo:x", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%TARVO:pos", &arg), inband_command::none);
    EXPECT_EQ(parse_inband(" %tarvo:pos", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarvo: pos", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarvo:", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarv", &arg), inband_command::none);

    EXPECT_EQ(parse_inband("%tarvo:eps /tmp/logo.eps", &arg), inband_command::eps);
    EXPECT_EQ(arg, "/tmp/logo.eps");
    EXPECT_EQ(parse_inband("%tarvo:include  a b\"c", &arg), inband_command::include);
    EXPECT_EQ(arg, " a b\"c");  // verbatim after the first space
    EXPECT_EQ(parse_inband("%tarvo:include", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarvo:eps ", &arg), inband_command::none);
    EXPECT_EQ(parse_inband("%tarvo:Eps x", &arg), inband_command::none);
    EXPECT_EQ(arg, "");
}

}  // namespace

namespace {

// A verbatim block: the PS Verbatim command with the byte count of `data`.
std::string verbatim(std::string const& data)
{
    return "\x1b&p" + std::to_string(data.size()) + "W" + data;
}

TEST(InBandCommands, PositionIncludeAndEpsReachTheDocument)
{
    TempDir dir;
    std::string const eps = dir.write("logo.eps",
                                      "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 10 10\n"
                                      "newpath 0 0 moveto 10 10 lineto stroke\n%%EOF\n");
    std::string const snippet = dir.write("snip.ps", "% snippet\n1 0 0 setrgbcolor\n");
    std::string const job = verbatim("%tarvo:pos\r\n") + verbatim("%tarvo:eps " + eps + "  \n") +
                            verbatim("%tarvo:include " + snippet) +
                            verbatim("%tarvo:include") + verbatim("%TARVO:pos") + "X";

    RunResult r = run_tarvo({"-s"}, job);
    ASSERT_EQ(r.status, 0) << r.err;
    std::string const& ps = r.out;
    size_t const pos_line = ps.find("\n%tarvo:pos\n");
    size_t const eps_line = ps.find("\n%tarvo:eps " + eps + "\n");
    size_t const eps_body = ps.find("newpath 0 0 moveto 10 10 lineto stroke\n");
    size_t const inc_line = ps.find("\n%tarvo:include " + snippet + "\n");
    size_t const inc_body = ps.find("% snippet\n1 0 0 setrgbcolor\n");
    size_t const bare = ps.find("\n%tarvo:include\n%TARVO:pos\n");
    ASSERT_NE(pos_line, std::string::npos) << ps;
    // The move to the cursor follows the marker line at once.
    size_t const move_end = ps.find('\n', pos_line + 12);
    EXPECT_EQ(ps.substr(move_end - 2, 3), " M\n");
    EXPECT_LT(pos_line, eps_line);
    EXPECT_LT(eps_line, eps_body);
    EXPECT_LT(eps_body, inc_line);
    EXPECT_LT(inc_line, inc_body);
    EXPECT_LT(inc_body, bare);
    EXPECT_NE(bare, std::string::npos);
    EXPECT_EQ(ps.find("newpath", eps_body + 1), std::string::npos) << "embedded once";

    // Analysis mode traces the blocks and carries out nothing.
    RunResult a = run_tarvo({"-a"}, job);
    EXPECT_NE(a.out.find("ps: %tarvo:eps " + eps + "\n"), std::string::npos);
    EXPECT_EQ(a.out.find("newpath"), std::string::npos);
    EXPECT_EQ(a.out.find("snippet"), std::string::npos);
}

}  // namespace
