// The PostScript writer: numbers exactly as printf's "%g", string escapes,
// the buffer that reaches the stream only when flushed, and the first write
// error kept for the caller.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pcl/ps/writer.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

// What a number becomes before it is written: NaN is 0, the rest is held
// to 1e7 in magnitude.
double held(double v) { return std::isnan(v) ? 0.0 : std::clamp(v, -1e7, 1e7); }

std::string printf_g(double v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

std::string written_num(OutputCapture& out, double v)
{
    size_t const mark = out.str().size();
    ps_put_num(v);
    return out.str().substr(mark);
}

TEST(Writer, NumbersAsPrintfG)
{
    OutputCapture out;
    std::vector<double> values = {
        0.0, -0.0, 1.0, -1.0, 0.75, -1.25, 18, 763.2, 612, 595.2, 841.68, 0.501961, 128 / 255.0,
        0.79,
        // the edges of plain notation and of rounding up to the next digit
        1e-4, 9.99999e-5, 0.000099999951, 0.00009999995, 999999.4, 999999.5, 999999.49999, 1e6,
        99999.95, 9.999995, 9.9999951, 0.1, 0.01, 0.001, 0.0999999999, 123456.5, 0.5, 2.5, 1234565,
        12345.65,
        // the exponential range and the values that are no numbers
        1e-5, 1.5e-300, 1e300, -2.5e7, std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::denorm_min()};
    // Positions (thousandths of a point) and colour levels, as the output
    // has them, and values of every magnitude.
    std::mt19937_64 rng(17);
    for (int i = 0; i < 20000; ++i) {
        values.push_back(static_cast<double>(static_cast<int32_t>(rng())) * 72.0 / 72000.0);
        values.push_back(static_cast<double>(rng() % 256) / 255.0);
        double const mantissa = std::uniform_real_distribution<double>(-10, 10)(rng);
        values.push_back(mantissa * std::pow(10.0, static_cast<int>(rng() % 16) - 8));
        // six digits and a half, which lie next to a rounding tie
        values.push_back((static_cast<double>(rng() % 900000 + 100000) + 0.5) *
                         std::pow(10.0, -static_cast<int>(rng() % 10)));
    }
    std::string expected, got;
    for (double v : values) {
        expected += printf_g(held(v)) + "\n";
        ps_put_num(v);
        ps_put('\n');
    }
    got = out.str();
    EXPECT_EQ(got, expected);
    // What no interpreter would take is held to the limits.
    EXPECT_EQ(written_num(out, std::nan("")), "0");
    EXPECT_EQ(written_num(out, -std::numeric_limits<double>::infinity()), "-1e+07");
    EXPECT_EQ(written_num(out, 1e308), "1e+07");
    EXPECT_EQ((std::array{ps_point_size(0), ps_point_size(std::nan("")), ps_point_size(1e308),
                          ps_point_size(12)}),
              (std::array{0.25, 0.25, 999.75, 12.0}));
}

TEST(Writer, Primitives)
{
    OutputCapture out;
    ps_put("a ");
    ps_put_int(-2147483647 - 1);
    ps_put(' ');
    ps_put_nums({0.0, -0.0, 72.5});
    ps_put(' ');
    ps_put_pos(17.04, 796.68);
    ps_put('\n');
    ps_put_rect_path(54, 635.28, 504, 0);
    EXPECT_EQ(out.str(), "a -2147483648 0 -0 72.5 17.04 796.68 M\n"
                         "newpath\n54 635.28 moveto\n0 0 rlineto\n504 0 rlineto\n0 -0 rlineto\n"
                         "-504 0 rlineto\nclosepath\n");
}

TEST(Writer, RectanglePathWritesEachSideAsPrintfWould)
{
    // The sides back are written from the text of the sides out; whatever
    // the sign, zero, NaN, bound or rounding, they read as "%g" of -w, -h.
    double const nan = std::nan("");
    double const inf = std::numeric_limits<double>::infinity();
    double const sides[] = {0.0,      -0.0,      1.44, -1.44, 504,    -504,      0.00012345,
                            999999.5, -999999.4, 1e7,  2e7,   -1e308, 123456789, 0.1 + 0.2,
                            5e-5,     nan,       -nan, inf,   -inf};
    auto g = [](double v) { return printf_g(held(v)); };
    for (double w : sides)
        for (double h : sides) {
            OutputCapture out;
            ps_put_rect_path(1, 2, w, h);
            EXPECT_EQ(out.str(), "newpath\n1 2 moveto\n0 " + g(h) + " rlineto\n" + g(w) +
                                     " 0 rlineto\n0 " + g(-h) + " rlineto\n" + g(-w) +
                                     " 0 rlineto\nclosepath\n")
                << w << ' ' << h;
        }
}

TEST(Writer, StringBytes)
{
    OutputCapture out;
    for (unsigned c = 0; c < 0x100; ++c)
        ps_put_str_byte(c);
    std::string expected;
    for (unsigned c = 0; c < 0x100; ++c) {
        if (c == '(' || c == ')' || c == '\\') {
            expected += '\\';
            expected += static_cast<char>(c);
        } else if (c < 0x7f) {
            expected += static_cast<char>(c);
        } else {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\%03o", c);
            expected += buf;
        }
    }
    EXPECT_EQ(out.str(), expected);

    // The plain ASCII run stops at the first code that needs more than a copy.
    OutputCapture run;
    std::vector<uint16_t> codes(40, 'x');
    codes[37] = '(';
    EXPECT_EQ(ps_put_plain_ascii(codes.data(), codes.size()), 37u);
    codes[37] = 0xe9;
    codes[3] = 0x7f;
    EXPECT_EQ(ps_put_plain_ascii(codes.data(), codes.size()), 3u);
    codes[0] = 0x120;
    EXPECT_EQ(ps_put_plain_ascii(codes.data(), codes.size()), 0u);
    EXPECT_EQ(run.str(), std::string(40, 'x'));
}

TEST(Writer, BytesLeaveOnlyWhenFlushedAndTheFirstErrorIsKept)
{
    FILE* const full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    FILE* const saved = outfp;
    ps_out_reset();
    ps_out_set_stream(full);
    ps_put("%!PS\n");
    ps_put(std::string(100000, '%'));  // longer than the buffer
    EXPECT_EQ(ps_out_error(), ENOSPC);
    ps_out_reset();
    ps_out_set_stream(full);
    ps_put("%!PS\n");
    EXPECT_EQ(ps_out_error(), 0);  // not flushed yet
    ps_out_flush();
    EXPECT_EQ(ps_out_error(), ENOSPC);
    ps_out_reset();
    ps_out_set_stream(saved);
    std::fclose(full);

    // Blocks of any size arrive whole and in order.
    OutputCapture out;
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        std::string const piece(static_cast<size_t>(i % 97), static_cast<char>('a' + i % 26));
        ps_put(piece);
        expected += piece;
    }
    EXPECT_EQ(out.str(), expected);
}

TEST(Writer, LargeBlocksKeepTheirPlaceAmongWhatTheStreamHolds)
{
    // Traces written to the same stream between blocks stay in order, on a
    // stream with a descriptor, whatever the block sizes.
    FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    FILE* const saved = outfp;
    ps_out_reset();
    ps_out_set_stream(file);
    std::string expected;
    for (size_t size : {size_t{10}, size_t{70000}, size_t{16384}, size_t{200000}, size_t{3}}) {
        std::fputs("trace\n", file);
        expected += "trace\n";
        std::string const block(size, static_cast<char>('a' + size % 26));
        ps_put(block);
        expected += block;
        ps_out_flush();
    }
    EXPECT_EQ(ps_out_error(), 0);
    std::rewind(file);
    std::string got;
    char chunk[4096];
    for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, file)) > 0;)
        got.append(chunk, n);
    EXPECT_EQ(got, expected);
    ps_out_set_stream(saved);
    std::fclose(file);
}

}  // namespace
