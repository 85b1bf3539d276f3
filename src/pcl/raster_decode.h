// Decompression of PCL raster rows: unencoded, run-length, TIFF PackBits,
// delta row and replacement delta row, over a counted stream of bytes.
// Every decoder writes only inside the row it is given, whatever the data
// says; bytes that would land past the row's end are read and dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Where the bytes of a data block come from: a memory span (tests), or the
// next `count` bytes of the PCL input, read a buffer at a time (never past
// the block). `next` gives -1 at the end.
class byte_source {
public:
    byte_source(uint8_t const* data, size_t size) : pos_(data), end_(data + size), input_left_(0) {}
    // Reads from the PCL input (look-ahead, macro replay or file).
    explicit byte_source(uint64_t count) : input_left_(count) {}
    byte_source(byte_source const&) = delete;
    byte_source& operator=(byte_source const&) = delete;

    int next()
    {
        if (pos_ == end_ && !refill())
            return -1;
        return *pos_++;
    }
    // Copies up to n bytes into dst; returns how many were copied.
    size_t read(uint8_t* dst, size_t n);
    // The next n bytes (n at most buffer_size) without consuming them:
    // fewer only when the source ends before them.
    std::span<uint8_t const> peek(size_t n);
    // Consumes n bytes that peek showed.
    void skip(size_t n) { pos_ += n; }

    static constexpr size_t buffer_size = 4096;

private:
    bool refill();

    uint8_t const* pos_ = nullptr;
    uint8_t const* end_ = nullptr;
    uint64_t input_left_;
    uint8_t buf_[buffer_size];
};

// The bytes of one data block: at most `count` bytes of a source.
class block_reader {
public:
    block_reader(byte_source& src, uint64_t count) : src_(&src), left_(count) {}

    int next()
    {
        if (left_ == 0)
            return -1;
        int c = src_->next();
        if (c < 0)
            left_ = 0;
        else
            --left_;
        return c;
    }
    // Copies up to n bytes into dst; returns how many were copied.
    size_t read(uint8_t* dst, size_t n);
    // Takes the next `count` bytes (or what is left) as a block of their
    // own; this reader goes on after them once the part is consumed.
    block_reader part(uint64_t count)
    {
        uint64_t const n = count < left_ ? count : left_;
        left_ -= n;
        return block_reader(*src_, n);
    }
    // Consumes what is left of the block.
    void skip_rest();
    // What is left of the block when the source holds it all in memory (or
    // it ends there); else empty.
    std::span<uint8_t const> buffered();
    // Consumes n bytes that buffered() showed, and ends the block.
    void consume(size_t n);
    uint64_t left() const { return left_; }

private:
    byte_source* src_;
    uint64_t left_;
};

// Compression methods of ESC*b#M.
enum raster_method : int {
    RASTER_UNENCODED = 0,
    RASTER_RUN_LENGTH = 1,
    RASTER_PACKBITS = 2,
    RASTER_DELTA_ROW = 3,
    RASTER_ADAPTIVE = 5,
    RASTER_REPLACEMENT_DELTA = 9,
};

// Decodes one row of `method` (0, 1, 2, 3 or 9) from all of `in` into `row`.
// Methods 0, 1 and 2 replace the row, zero-filling what the data leaves
// short; methods 3 and 9 change the row in place (it holds the seed row, the
// previous row of the plane). The whole block is consumed.
void decode_row(int method, block_reader& in, std::span<uint8_t> row);

// What one entry of an adaptive-compression block asks for.
struct adaptive_entry {
    enum kind_t { row, empty_rows, duplicate_rows, end } kind;
    int method;  // for `row`: 0..3
    uint32_t count;  // for `empty_rows` and `duplicate_rows`
};

// Reads the next entry of an adaptive block; for `row` the row is decoded
// into `row` (seeded as for decode_row). `end` when the block is exhausted
// or its next entry is not valid (the rest is then consumed).
adaptive_entry decode_adaptive_entry(block_reader& in, std::span<uint8_t> row);
