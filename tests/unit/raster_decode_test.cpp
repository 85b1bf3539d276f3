// Raster row decoders: hand-made rows for every method, seed rows, and
// hostile data (counts past the row, truncated blocks, huge offsets).
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pcl/input.h"
#include "pcl/raster_decode.h"
#include "test_support.h"

namespace {

using bytes = std::vector<uint8_t>;

// Decodes `data` as one row of `width` bytes starting from `seed`; reports
// how many bytes of the block were left unread (always none).
bytes decode(int method, bytes const& data, size_t width, bytes seed = {})
{
    byte_source src(data.data(), data.size());
    block_reader in(src, data.size());
    bytes row = seed.empty() ? bytes(width, 0xEE) : seed;
    decode_row(method, in, row);
    EXPECT_EQ(in.left(), 0u);
    EXPECT_EQ(src.next(), -1) << "the block is consumed whole";
    return row;
}

TEST(RasterDecode, Unencoded)
{
    EXPECT_EQ(decode(0, {1, 2, 3}, 5), (bytes{1, 2, 3, 0, 0}));
    EXPECT_EQ(decode(0, {1, 2, 3, 4, 5, 6, 7}, 4), (bytes{1, 2, 3, 4}));
    EXPECT_EQ(decode(0, {}, 3), (bytes{0, 0, 0}));
}

TEST(RasterDecode, RunLength)
{
    EXPECT_EQ(decode(1, {2, 0xAA, 0, 0x55}, 6), (bytes{0xAA, 0xAA, 0xAA, 0x55, 0, 0}));
    // A repeat past the row is cut; a lone count byte at the end is ignored.
    EXPECT_EQ(decode(1, {255, 0xFF, 7}, 3), (bytes{0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(decode(1, {0, 9, 4}, 3), (bytes{9, 0, 0}));
}

TEST(RasterDecode, PackBits)
{
    // Literal of 3, repeat of 4 (-3), no-op (-128), literal of 1.
    bytes const data{2, 1, 2, 3, 0xFD, 7, 0x80, 0, 9};
    EXPECT_EQ(decode(2, data, 10), (bytes{1, 2, 3, 7, 7, 7, 7, 9, 0, 0}));
    // Counts past the row: the literal is read and dropped beyond the row.
    EXPECT_EQ(decode(2, {127, 1, 2, 3}, 2), (bytes{1, 2}));
    EXPECT_EQ(decode(2, {0x81, 5}, 4), (bytes{5, 5, 5, 5}));
    // Truncated: a literal of 5 with 2 bytes, a repeat without its byte.
    EXPECT_EQ(decode(2, {4, 1, 2}, 4), (bytes{1, 2, 0, 0}));
    EXPECT_EQ(decode(2, {0, 8, 0xFE}, 3), (bytes{8, 0, 0}));
}

TEST(RasterDecode, DeltaRowChangesTheSeed)
{
    bytes const seed{1, 2, 3, 4, 5, 6};
    // Replace 2 bytes at offset 1, then 1 byte 2 further on.
    EXPECT_EQ(decode(3, {0x21, 0xA, 0xB, 0x02, 0xC}, 6, seed), (bytes{1, 0xA, 0xB, 4, 5, 0xC}));
    // An empty row repeats the seed.
    EXPECT_EQ(decode(3, {}, 6, seed), seed);
    // Offset 31 continues in the next bytes: 31 + 255 + 1 = 287, past the row.
    EXPECT_EQ(decode(3, {0x1F, 255, 1, 0x77}, 6, seed), seed);
    // Offset 31 + 2 = 33 within a longer row.
    bytes wide(40, 0);
    bytes expect = wide;
    expect[33] = 0x42;
    EXPECT_EQ(decode(3, {0x1F, 2, 0x42}, 40, wide), expect);
    // A replacement that runs past the end, and a truncated one.
    EXPECT_EQ(decode(3, {0xE4, 1, 2, 3, 4, 5, 6, 7, 8}, 6, seed), (bytes{1, 2, 3, 4, 1, 2}));
    EXPECT_EQ(decode(3, {0x60, 9, 9}, 6, seed), (bytes{9, 9, 3, 4, 5, 6}));
}

TEST(RasterDecode, ReplacementDelta)
{
    bytes const seed{1, 2, 3, 4, 5, 6, 7, 8};
    // Literal form: offset 1, count 2 (field 1).
    EXPECT_EQ(decode(9, {0x09, 0xA, 0xB}, 8, seed), (bytes{1, 0xA, 0xB, 4, 5, 6, 7, 8}));
    // Repeat form: offset 2, count 3 (field 1), byte 0.
    EXPECT_EQ(decode(9, {0xC1, 0}, 8, seed), (bytes{1, 2, 0, 0, 0, 6, 7, 8}));
    // Literal form with extended count: field 7 + 1 more = 9 bytes, cut at the row.
    bytes lit{0x07, 1};
    for (int i = 0; i < 9; ++i)
        lit.push_back(static_cast<uint8_t>(0x10 + i));
    EXPECT_EQ(decode(9, lit, 8, seed), (bytes{0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17}));
    // Repeat form with extended offset (3 + 255 + 0) lands past the row.
    EXPECT_EQ(decode(9, {0xE0, 255, 0, 9}, 8, seed), seed);
    // A huge extended count of a repeat costs no more than the row.
    bytes huge{0x9F};
    huge.insert(huge.end(), 1000, 255);
    huge.push_back(0);
    huge.push_back(0x33);
    EXPECT_EQ(decode(9, huge, 8, seed), bytes(8, 0x33));
    // Truncated after the command byte.
    EXPECT_EQ(decode(9, {0x0F}, 8, seed), seed);
}

TEST(RasterDecode, AdaptiveEntries)
{
    // A packbits row of 2 bytes, 3 empty rows, 2 duplicates, a delta row,
    // then an invalid method that ends the block.
    bytes const data{2, 0, 3, 0x01, 0xA, 0xB, 4, 0, 3, 5, 0, 2, 3, 0, 2, 0x00, 0xC, 9, 0, 0, 1, 2};
    byte_source src(data.data(), data.size());
    block_reader in(src, data.size());
    bytes row(3, 0);
    adaptive_entry e = decode_adaptive_entry(in, row);
    EXPECT_EQ(e.kind, adaptive_entry::row);
    EXPECT_EQ(row, (bytes{0xA, 0xB, 0}));
    e = decode_adaptive_entry(in, row);
    EXPECT_EQ(e.kind, adaptive_entry::empty_rows);
    EXPECT_EQ(e.count, 3u);
    e = decode_adaptive_entry(in, row);
    EXPECT_EQ(e.kind, adaptive_entry::duplicate_rows);
    EXPECT_EQ(e.count, 2u);
    e = decode_adaptive_entry(in, row);
    EXPECT_EQ(e.kind, adaptive_entry::row);
    EXPECT_EQ(row, (bytes{0xC, 0xB, 0}));
    EXPECT_EQ(decode_adaptive_entry(in, row).kind, adaptive_entry::end);
    EXPECT_EQ(in.left(), 0u);

    // A row entry whose length runs past the block takes what is there.
    bytes const cut{0, 0, 200, 7};
    byte_source src2(cut.data(), cut.size());
    block_reader in2(src2, cut.size());
    EXPECT_EQ(decode_adaptive_entry(in2, row).kind, adaptive_entry::row);
    EXPECT_EQ(row, (bytes{7, 0, 0}));
    EXPECT_EQ(decode_adaptive_entry(in2, row).kind, adaptive_entry::end);
}

TEST(RasterDecode, InputBlocksStopAtTheirCount)
{
    // Read from the PCL input: the block ends at its count even when the
    // decoder wants more, and the bytes after it stay for the parser.
    reset_converter();
    InputFromString input(std::string("\x02\x01\x02\x03XYZ", 7));
    byte_source src(5);
    block_reader in(src, 5);
    bytes row(6, 0);
    decode_row(RASTER_PACKBITS, in, row);
    EXPECT_EQ(row, (bytes{1, 2, 3, 0, 0, 0}));  // 'X' starts a literal that is cut
    EXPECT_EQ(pcl_getc(), 'Y');
}

TEST(RasterDecode, InputBlocksAcrossTheBufferDecodeWhole)
{
    // Blocks larger than the reader's buffer: an adaptive block whose
    // entries straddle its refills, and one PackBits row of 6000 bytes.
    reset_converter();
    bytes rows[3];
    std::string pcl;
    for (int r = 0; r < 3; ++r) {
        rows[r].resize(2000);
        for (size_t i = 0; i < rows[r].size(); ++i)
            rows[r][i] = static_cast<uint8_t>(i * 7 + static_cast<size_t>(r));
        pcl += std::string("\x00\x07\xd0", 3);  // unencoded, 2000 bytes
        pcl.append(rows[r].begin(), rows[r].end());
    }
    size_t const adaptive_size = pcl.size();
    bytes wide(6000);
    for (size_t i = 0; i < wide.size(); i += 100) {
        // 50 literal bytes, then a run of 50.
        pcl += static_cast<char>(49);
        for (size_t k = 0; k < 50; ++k) {
            wide[i + k] = static_cast<uint8_t>(i + k);
            pcl += static_cast<char>(wide[i + k]);
        }
        std::fill(wide.begin() + static_cast<ptrdiff_t>(i + 50),
                  wide.begin() + static_cast<ptrdiff_t>(i + 100), 0xAB);
        pcl += static_cast<char>(257 - 50);
        pcl += '\xAB';
    }
    size_t const packbits_size = pcl.size() - adaptive_size;
    InputFromString input(pcl + "Z");

    byte_source src(adaptive_size);
    block_reader in(src, adaptive_size);
    bytes row(2000, 0);
    for (auto const& expected : rows) {
        ASSERT_EQ(decode_adaptive_entry(in, row).kind, adaptive_entry::row);
        EXPECT_EQ(row, expected);
    }
    EXPECT_EQ(decode_adaptive_entry(in, row).kind, adaptive_entry::end);

    byte_source src2(packbits_size);
    block_reader in2(src2, packbits_size);
    bytes got(6000, 0);
    decode_row(RASTER_PACKBITS, in2, got);
    EXPECT_EQ(got, wide);
    EXPECT_EQ(pcl_getc(), 'Z');
}

}  // namespace
