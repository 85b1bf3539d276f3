// Raster blocks run through the converter: what a run may draw is bounded by
// its input, however the rows are repeated, while rows sent as data and
// blank repeats are never cut.
#include "converter_test.h"
#include "pcl/ps/document.h"
#include "pcl/raster.h"

namespace {

using namespace std::string_literals;

std::string const E = "\x1b";

// A block at the top of the page in adaptive compression: one entry (method,
// count, data) and a duplicate entry repeating its row `dups` times.
std::string adaptive_block(std::string const& entry, int dups)
{
    std::string const dup = "\x05"s + static_cast<char>(dups >> 8) + static_cast<char>(dups & 0xff);
    std::string const data = entry + dup;
    return E + "*p0Y" + E + "*r1A" + E + "*b5M" + E + "*b" + std::to_string(data.size()) + "W" +
           data + E + "*rB";
}

// A run-length row of 256 black bytes.
std::string const black_row = "\x01\x00\x02\xff\xff"s;

class Raster : public testing::Test {
protected:
    void SetUp() override
    {
        reset_converter();
        ps_document_reset();
        genps = 1;
    }
    void TearDown() override
    {
        raster_set_draw_base(RASTER_DRAW_BASE);
        genps = 0;
    }
    // Converts `pcl`; returns what it said on standard error.
    static std::string convert(std::string const& pcl, std::string* ps = nullptr)
    {
        OutputCapture out;
        std::string err;
        {
            InputFromString in(pcl, true);
            err = capture_stderr([] { parse_text(); });
        }
        if (ps)
            *ps = out.str();
        return err;
    }
};

TEST_F(Raster, RepeatedRowsAcrossManyBlocksStayWithinTheAllowance)
{
    // Each block turns 35 bytes into a page of black rows (about 1 MB).
    constexpr uint64_t base = 1 << 20;
    raster_set_draw_base(base);
    std::string pcl = E + "E" + E + "*t300R";
    for (int i = 0; i < 200; ++i)
        pcl += adaptive_block(black_row, 65535);
    pcl += E + "*p0x600Yafter";
    std::string ps;
    std::string const err = convert(pcl, &ps);

    uint64_t const allowance = base + RASTER_DRAW_PER_INPUT_BYTE * pcl.size();
    EXPECT_GE(raster_drawn() + 300, base) << "drawn up to the allowance";
    EXPECT_LE(raster_drawn(), allowance);
    EXPECT_LT(ps.size(), allowance / 8) << "repeated rows compress";
    // One message, naming the allowance at the time rows were refused.
    EXPECT_EQ(err.rfind("tarvo: input: raster images drew more than ", 0), 0u) << err;
    EXPECT_EQ(err.find('\n'), err.size() - 1);
    EXPECT_NE(err.find(" bytes; further rows skipped"), std::string::npos);
    // The job goes on: the text after the blocks is still set.
    EXPECT_NE(ps.find("(after)"), std::string::npos);
}

TEST_F(Raster, RowsSentAsDataAndBlankRepeatsAreNeverCut)
{
    // No fixed part: every row drawn is paid for by the input.
    raster_set_draw_base(0);
    std::string pcl = E + "E" + E + "&l2A" + E + "*t300R" + E + "*r1A";
    std::string const row(300, '\xff');
    for (int i = 0; i < 500; ++i)
        pcl += E + "*b300W" + row;
    pcl += E + "*rB";
    // Pages of blank repeats cost nothing, however many blocks send them.
    for (int i = 0; i < 100; ++i)
        pcl += adaptive_block("\x01\x00\x02\xff\x00"s, 65535);
    EXPECT_EQ(convert(pcl), "");
    EXPECT_EQ(raster_drawn(), 500u * 300);
}

TEST_F(Raster, TheAllowanceBelongsToTheRun)
{
    // A second file in the same run gets its own input's share (and what the
    // first left, less than a row), and the limit is reported once.
    raster_set_draw_base(64 << 10);
    std::string const job = E + "E" + E + "*t300R" + adaptive_block(black_row, 65535);
    EXPECT_NE(convert(job), "");
    uint64_t const after_first = raster_drawn();
    EXPECT_EQ(convert(job), "");
    EXPECT_LE(raster_drawn() - after_first, RASTER_DRAW_PER_INPUT_BYTE * job.size() + 300);
}

}  // namespace
