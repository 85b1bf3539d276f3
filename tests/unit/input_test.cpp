// Character decoding of the input, look-ahead order and the input trace.
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pcl/environment.h"
#include "pcl/input.h"
#include "reset.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

class Input : public testing::Test {
protected:
    void SetUp() override { tarvo_reset(); }
    void TearDown() override { tarvo_reset(); }

    // Decodes all of `bytes` with the given text parsing method.
    static std::vector<int> decode(std::string const& bytes, int method)
    {
        InputFromString in(bytes);
        env.text_method = method;
        std::vector<int> out;
        for (int c; (c = pcl_get_char()) >= 0;)
            out.push_back(c);
        return out;
    }
    static std::string drain()
    {
        return capture_stdout([] {
            while (pcl_get_char() >= 0) {
            }
        });
    }
};

using V = std::vector<int>;

TEST_F(Input, Decoding)
{
    for (int method : {83, 1008}) {
        SCOPED_TRACE(method);
        EXPECT_EQ(decode("a\xC3\xA9z", method), (V{'a', 0xE9, 'z'}));
        EXPECT_EQ(decode("\xE2\x82\xAC", method), (V{0x20AC}));
        // Lead bytes without payload bits and stray continuation bytes.
        EXPECT_EQ(decode("\xC0\x80"
                         "\xE0\xA0\x80"
                         "\x80",
                         method),
                  (V{'?', '?', '?'}));
        // Four-byte forms are not decoded: one '?' per byte.
        EXPECT_EQ(decode("\xF0\x9F\x98\x80", method), (V{'?', '?', '?', '?'}));
        // A bad continuation byte is consumed with the sequence.
        EXPECT_EQ(decode("\xC3"
                         "AB",
                         method),
                  (V{'?', 'B'}));
        EXPECT_EQ(decode("\xE2\x82"
                         "AB",
                         method),
                  (V{'?', 'B'}));
        EXPECT_EQ(decode("x\xE2\x82", method), (V{'x', '?'}));  // truncated at end of input
    }
    for (int method : {0, 1, 21})
        EXPECT_EQ(decode(std::string("\xC3\xA9\x80\xFF\x00", 5), method),
                  (V{0xC3, 0xA9, 0x80, 0xFF, 0}));
}

TEST_F(Input, LookAheadComesFirstAndTracesShowWhatWasRead)
{
    {
        InputFromString in("Z");
        env.text_method = 83;
        for (int c : {0xC3, 0xA9, 0x51})
            getc_buf[getc_buf_cnt++] = static_cast<unsigned char>(c);
        debug = 1;
        // Look-ahead characters were read before, so only the decoded ones show.
        EXPECT_EQ(drain(), "ch: 0xe9\nch: Q\nin: Z\nch: Z\nin: EOF\nch: EOF\n");
    }
    {
        InputFromString in(std::string("A\x7f\x1b\xC3\xA9", 5));
        EXPECT_EQ(drain(), "in: A\nch: A\nin: \x7f\nch: \x7f\nin: 0x1b\nch: 0x1b\n"
                           "in: 0xc3\nin: 0xa9\nch: 0xe9\nin: EOF\nch: EOF\n");
    }
    // Replayed bytes show only the decoded trace.
    static std::string replay;
    static size_t pos;
    replay = "hi";
    pos = 0;
    getchar_func = [] {
        return pos < replay.size() ? static_cast<unsigned char>(replay[pos++]) : -1;
    };
    EXPECT_EQ(drain(), "ch: h\nch: i\nch: EOF\n");
}

TEST_F(Input, Readhex)
{
    InputFromString in("abcdef");
    getc_buf[0] = 'X';
    getc_buf_cnt = 1;
    readhex(3);  // X, a, b
    EXPECT_EQ(pcl_getc(), 'c');
    readhex(0);
    readhex(-5);
    EXPECT_EQ(pcl_getc(), 'd');
    readhex(10);  // runs past the end without complaint
    EXPECT_EQ(pcl_getc(), -1);
}

}  // namespace

// The budget for work the input can multiply grows with the bytes read since
// its start and saturates instead of wrapping.
TEST(InputAllowance, GrowsWithTheInputAndSaturates)
{
    tarvo_reset();
    FILE* tmp = std::tmpfile();
    ASSERT_NE(tmp, nullptr);
    std::string const bytes(1000, 'x');
    ASSERT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), tmp), bytes.size());
    std::rewind(tmp);
    FILE* in = input_open_fd(fileno(tmp), false);
    ASSERT_NE(in, nullptr);
    uint64_t const start = input_bytes_read();
    EXPECT_EQ(input_allowance(5, 3, start), 5u);
    while (std::fgetc(in) != EOF) {
    }
    EXPECT_EQ(input_bytes_read() - start, 1000u);

    uint64_t const max = std::numeric_limits<uint64_t>::max();
    EXPECT_EQ(input_allowance(5, 3, start), 5u + 3u * 1000u);
    EXPECT_EQ(input_allowance(5, 0, start), 5u);
    EXPECT_EQ(input_allowance(max - 10, 1, start), max);
    EXPECT_EQ(input_allowance(max, 0, start), max);
    EXPECT_EQ(input_allowance(0, max / 500, start), max);
    // A start past the count (a reset between runs) counts nothing.
    EXPECT_EQ(input_allowance(7, 3, start + 5000), 7u);
    std::fclose(in);
    std::fclose(tmp);
}
