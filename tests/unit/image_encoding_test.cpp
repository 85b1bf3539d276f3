// Image data encodings: run-length data that decodes back to its input,
// ASCII85 text in clean lines.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pcl/ps/image_encoding.h"

namespace {

using bytes = std::vector<uint8_t>;

// The RunLengthDecode filter's reading of `data` (no end marker).
bytes run_length_decode(std::string const& data)
{
    bytes out;
    for (size_t i = 0; i < data.size();) {
        auto const n = static_cast<uint8_t>(data[i++]);
        EXPECT_NE(n, 128) << "no end marker inside the data";
        if (n < 128) {
            for (size_t k = 0; k <= n && i < data.size(); ++k)
                out.push_back(static_cast<uint8_t>(data[i++]));
        } else {
            out.insert(out.end(), 257u - n, static_cast<uint8_t>(data[i++]));
        }
    }
    return out;
}

bytes ascii85_decode(std::string const& text)
{
    bytes out;
    uint32_t v = 0;
    int n = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        if (c == '~')
            break;
        if (c == ' ' || c == '\n')
            continue;
        if (c == 'z') {
            out.insert(out.end(), 4, 0);
            continue;
        }
        v = v * 85 + static_cast<uint32_t>(c - '!');
        if (++n == 5) {
            for (int k = 3; k >= 0; --k)
                out.push_back(static_cast<uint8_t>(v >> (8 * k)));
            v = 0;
            n = 0;
        }
    }
    if (n > 0) {
        for (int k = n; k < 5; ++k)
            v = v * 85 + 84;
        for (int k = 3; k > 3 - (n - 1); --k)
            out.push_back(static_cast<uint8_t>(v >> (8 * k)));
    }
    return out;
}

TEST(ImageEncoding, RunLengthRoundTrips)
{
    std::mt19937 rng(7);
    std::vector<bytes> cases = {{}, {1}, {5, 5}, {1, 2, 3}, bytes(300, 0), bytes(129, 9)};
    for (int n = 0; n < 50; ++n) {
        bytes b(static_cast<size_t>(rng() % 700));
        // Few distinct values, so runs of every length occur.
        for (auto& x : b)
            x = static_cast<uint8_t>(rng() % 3 == 0 ? rng() : 0);
        cases.push_back(b);
    }
    for (bytes const& b : cases) {
        std::string enc;
        run_length_encode(b, enc);
        EXPECT_EQ(run_length_decode(enc), b);
    }
    std::string enc;
    run_length_encode(bytes(1280, 0), enc);
    EXPECT_EQ(enc.size(), 20u) << "ten runs of 128";
}

TEST(ImageEncoding, Ascii85)
{
    std::string out;
    ascii85_encode(bytes{'M', 'a', 'n', ' ', 0, 0, 0, 0, 0xFF}, out);
    EXPECT_EQ(out, "9jqo^zrr~>\n");

    std::mt19937 rng(3);
    bytes b(5000);
    for (auto& x : b)
        x = static_cast<uint8_t>(rng());
    out.clear();
    ascii85_encode(b, out);
    EXPECT_EQ(ascii85_decode(out), b);
    size_t start = 0;
    while (start < out.size()) {
        size_t const end = out.find('\n', start);
        std::string const line = out.substr(start, end - start);
        EXPECT_LE(line.size(), 77u);
        EXPECT_NE(line[0], '%') << line;
        start = end + 1;
    }
    EXPECT_EQ(out.substr(out.size() - 3), "~>\n");
}

}  // namespace
