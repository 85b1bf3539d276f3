// Data blocks: where skipped and verbatim blocks end, and the in-band
// commands. Verbatim trimming and transparent-print traces are the
// blk_verbatim golden case.
#include <string>

#include <gtest/gtest.h>

#include "pcl/data_blocks.h"
#include "pcl/environment.h"
#include "pcl/input.h"
#include "pcl/macros.h"
#include "reset.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class DataBlocks : public ::testing::Test {
protected:
    void SetUp() override { reset_converter(); }
    void TearDown() override { tarvo_reset(); }

    // The rest of the input after a call, as raw bytes.
    static std::string rest()
    {
        std::string s;
        for (int c; (c = pcl_getc()) >= 0;)
            s.push_back(static_cast<char>(c));
        return s;
    }
};

TEST_F(DataBlocks, BlocksStopAtTheirCountOrAtEndOfInput)
{
    struct {
        std::string input, lookahead;
        int kind;
        unsigned count;
        std::string left;
    } const cases[] = {
        {"abcdef", "", RASTER_ROW, 3, "def"},
        {"abc", "xy", PAPER_TYPE, 3, "bc"},  // look-ahead bytes are consumed first
        {std::string(40000, '\x1b') + "rest", "", RASTER_ROW, 40000,
         "rest"},  // beyond the skip buffer
        {"abc", "", SYMSET_DEFINITION, 4294967295u, ""},  // the largest count ends at end of input
    };
    for (auto const& c : cases) {
        InputFromString in(c.input);
        getc_buf_ofs = getc_buf_cnt = 0;
        for (char ch : c.lookahead)
            getc_buf[getc_buf_cnt++] = static_cast<unsigned char>(ch);
        readdesc(c.kind, c.count);
        EXPECT_EQ(rest(), c.left) << c.count;
    }
    {
        // Under the input trace every skipped byte is still read and traced.
        InputFromString in("abcd");
        debug = 1;
        EXPECT_EQ(capture_stdout([] { readdesc(RASTER_ROW, 2); }), "in: a\nin: b\n");
        debug = 0;
        EXPECT_EQ(rest(), "cd");
    }
    {
        // While a macro is recorded, text and verbatim data are skipped untraced.
        InputFromString in("ABCD%tarvo:pos");
        in_macro_definition = verbose = 1;
        EXPECT_EQ(capture_stdout([] {
                      readdesc(TRANSPARENT_PRINT, 2);
                      readdesc(PS_VERBATIM, 2);
                  }),
                  "");
        EXPECT_EQ(rest(), "%tarvo:pos");
    }
}

TEST_F(DataBlocks, VerbatimWritesTheFirst8192BytesAsACString)
{
    genps = 1;
    std::string big(10000, 'q');
    big[8191] = 'e';
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

TEST(InBand, CommandSyntax)
{
    struct {
        char const* line;
        inband_command cmd;
        char const* arg;
    } const cases[] = {
        {"%tarvo:pos", inband_command::pos, ""},
        {"%tarvo:eps /tmp/logo.eps", inband_command::eps, "/tmp/logo.eps"},
        {"%tarvo:include  a b\"c", inband_command::include, " a b\"c"},  // verbatim after one space
        {"%tarvo:pos x", inband_command::none, ""},
        {"%tarvo:position", inband_command::none, ""},
        {"%TARVO:pos", inband_command::none, ""},
        {" %tarvo:pos", inband_command::none, ""},
        {"%tarvo: pos", inband_command::none, ""},
        {"%tarvo:", inband_command::none, ""},
        {"%tarv", inband_command::none, ""},
        {"%tarvo:include", inband_command::none, ""},
        {"%tarvo:eps ", inband_command::none, ""},
        {"%tarvo:Eps x", inband_command::none, ""},
    };
    for (auto const& c : cases) {
        std::string_view arg;
        EXPECT_EQ(parse_inband(c.line, &arg), c.cmd) << c.line;
        EXPECT_EQ(c.cmd == inband_command::none ? c.arg : arg, c.arg) << c.line;
    }
}

// A verbatim block: the PS Verbatim command with the byte count of `data`.
std::string verbatim(std::string const& data)
{
    return "\x1b&p" + std::to_string(data.size()) + "W" + data;
}

TEST(InBand, PositionIncludeAndEpsReachTheDocumentInOrder)
{
    TempDir dir;
    std::string const eps =
        dir.write("logo.eps", "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 10 10\n"
                              "newpath 0 0 moveto 10 10 lineto stroke\n%%EOF\n");
    std::string const snippet = dir.write("snip.ps", "% snippet\n1 0 0 setrgbcolor\n");
    std::string const job = verbatim("%tarvo:pos\r\n") + verbatim("%tarvo:eps " + eps + "  \n") +
                            verbatim("%tarvo:include " + snippet) + "X";
    RunResult r = run_tarvo({"-s"}, job);
    ASSERT_EQ(r.status, 0) << r.err;
    std::string const& ps = r.out;
    size_t const pos_line = ps.find("\n%tarvo:pos\n");
    ASSERT_NE(pos_line, std::string::npos) << ps;
    // The move to the cursor follows the marker line at once.
    size_t const move_end = ps.find('\n', pos_line + 12);
    EXPECT_EQ(ps.substr(move_end - 2, 3), " M\n");
    size_t const eps_body = ps.find("newpath 0 0 moveto 10 10 lineto stroke\n");
    EXPECT_LT(pos_line, ps.find("\n%tarvo:eps " + eps + "\n"));
    EXPECT_LT(ps.find("\n%tarvo:eps " + eps + "\n"), eps_body);
    EXPECT_LT(eps_body, ps.find("\n%tarvo:include " + snippet + "\n"));
    EXPECT_NE(ps.find("% snippet\n1 0 0 setrgbcolor\n"), std::string::npos);
    EXPECT_EQ(ps.find("newpath", eps_body + 1), std::string::npos) << "embedded once";
}

}  // namespace
