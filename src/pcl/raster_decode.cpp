#include "pcl/raster_decode.h"

#include <algorithm>
#include <cstring>

#include "pcl/input.h"

bool byte_source::refill()
{
    if (input_left_ == 0)
        return false;
    size_t const want = static_cast<size_t>(std::min<uint64_t>(input_left_, sizeof buf_));
    size_t const got = pcl_read(buf_, want);
    // The end of input ends the block too.
    input_left_ = got < want ? 0 : input_left_ - got;
    pos_ = buf_;
    end_ = buf_ + got;
    return got != 0;
}

size_t byte_source::read(uint8_t* dst, size_t n)
{
    size_t done = 0;
    while (done < n) {
        if (pos_ == end_ && !refill())
            break;
        size_t const k = std::min<size_t>(n - done, static_cast<size_t>(end_ - pos_));
        std::memcpy(dst + done, pos_, k);
        pos_ += k;
        done += k;
    }
    return done;
}

std::span<uint8_t const> byte_source::peek(size_t n)
{
    size_t have = static_cast<size_t>(end_ - pos_);
    if (have < n && input_left_ > 0 && n <= sizeof buf_) {
        // Moves what is left to the front and reads the rest behind it.
        if (have > 0)
            std::memmove(buf_, pos_, have);
        size_t const want =
            static_cast<size_t>(std::min<uint64_t>(input_left_, sizeof buf_ - have));
        size_t const got = pcl_read(buf_ + have, want);
        input_left_ = got < want ? 0 : input_left_ - got;
        pos_ = buf_;
        end_ = buf_ + have + got;
        have += got;
    }
    return {pos_, std::min(n, have)};
}

std::span<uint8_t const> block_reader::buffered()
{
    if (left_ > byte_source::buffer_size)
        return {};
    return src_->peek(static_cast<size_t>(left_));
}

void block_reader::consume(size_t n)
{
    src_->skip(n);
    left_ = 0;
}

size_t block_reader::read(uint8_t* dst, size_t n)
{
    size_t const want = static_cast<size_t>(std::min<uint64_t>(n, left_));
    size_t const got = src_->read(dst, want);
    left_ = got < want ? 0 : left_ - got;
    return got;
}

void block_reader::skip_rest()
{
    uint8_t scratch[4096];
    while (left_ > 0 && read(scratch, sizeof scratch) > 0) {
    }
    left_ = 0;
}

namespace {

// A block held whole in memory: the decoders' fast path.
class span_reader {
public:
    explicit span_reader(std::span<uint8_t const> bytes)
        : pos_(bytes.data()), end_(bytes.data() + bytes.size())
    {
    }
    int next() { return pos_ < end_ ? *pos_++ : -1; }
    size_t read(uint8_t* dst, size_t n)
    {
        size_t const k = std::min(n, static_cast<size_t>(end_ - pos_));
        if (k <= 8) {
            for (size_t i = 0; i < k; ++i)
                dst[i] = pos_[i];
        } else {
            std::memcpy(dst, pos_, k);
        }
        pos_ += k;
        return k;
    }

private:
    uint8_t const* pos_;
    uint8_t const* end_;
};

// Copies up to n bytes of `in` into the row at `pos`; bytes past the row's
// end are read and dropped. Returns the number of bytes read.
template <class Reader>
size_t copy_into(Reader& in, std::span<uint8_t> row, size_t pos, size_t n)
{
    size_t room = pos < row.size() ? std::min(n, row.size() - pos) : 0;
    size_t got = room ? in.read(row.data() + pos, room) : 0;
    if (got < room)
        return got;
    for (size_t i = got; i < n; ++i) {
        if (in.next() < 0)
            return i;
    }
    return n;
}

void fill(std::span<uint8_t> row, size_t pos, uint64_t n, uint8_t value)
{
    if (pos >= row.size())
        return;
    size_t const k = static_cast<size_t>(std::min<uint64_t>(n, row.size() - pos));
    std::memset(row.data() + pos, value, k);
}

template <class Reader>
void decode_unencoded(Reader& in, std::span<uint8_t> row)
{
    size_t const got = in.read(row.data(), row.size());
    std::fill(row.begin() + static_cast<ptrdiff_t>(got), row.end(), uint8_t{0});
}

// Pairs of (repeat count - 1, byte).
template <class Reader>
void decode_run_length(Reader& in, std::span<uint8_t> row)
{
    size_t pos = 0;
    for (;;) {
        int const n = in.next();
        int const b = in.next();
        if (b < 0)
            break;
        fill(row, pos, static_cast<uint64_t>(n) + 1, static_cast<uint8_t>(b));
        pos += static_cast<size_t>(n) + 1;
        if (pos >= row.size())
            break;
    }
    if (pos < row.size())
        std::fill(row.begin() + static_cast<ptrdiff_t>(pos), row.end(), uint8_t{0});
}

// Control byte n: 0..127 copies n + 1 literal bytes, -127..-1 repeats the
// next byte 1 - n times, -128 does nothing.
template <class Reader>
void decode_packbits(Reader& in, std::span<uint8_t> row)
{
    size_t pos = 0;
    for (;;) {
        int const c = in.next();
        if (c < 0)
            break;
        if (c < 128) {
            size_t const n = static_cast<size_t>(c) + 1;
            size_t const got = copy_into(in, row, pos, n);
            pos += got;
            if (got < n)
                break;  // truncated: what arrived stays, the rest is zero

        } else if (c > 128) {
            int const b = in.next();
            if (b < 0)
                break;
            size_t const n = static_cast<size_t>(257 - c);
            fill(row, pos, n, static_cast<uint8_t>(b));
            pos += n;
        }
        if (pos >= row.size())
            break;
    }
    if (pos < row.size())
        std::fill(row.begin() + static_cast<ptrdiff_t>(pos), row.end(), uint8_t{0});
}

// Adds extension bytes to a field that was at its largest value: each byte
// is added, and a byte of 255 says that another follows. Saturates.
template <class Reader>
bool extend(Reader& in, uint64_t* value)
{
    for (;;) {
        int const b = in.next();
        if (b < 0)
            return false;
        *value = std::min<uint64_t>(*value + static_cast<uint64_t>(b), UINT32_MAX);
        if (b != 255)
            return true;
    }
}

// Command byte: bits 7-5 replacement count - 1, bits 4-0 offset (31: more
// offset bytes follow). The offset counts from the byte after the last one
// replaced; the bytes not replaced keep the seed row.
template <class Reader>
void decode_delta_row(Reader& in, std::span<uint8_t> row)
{
    uint64_t pos = 0;
    for (;;) {
        int const c = in.next();
        if (c < 0)
            return;
        uint64_t const count = static_cast<uint64_t>(c >> 5) + 1;
        uint64_t offset = static_cast<uint64_t>(c & 31);
        if (offset == 31 && !extend(in, &offset))
            return;
        pos += offset;
        size_t const at = pos < row.size() ? static_cast<size_t>(pos) : row.size();
        if (copy_into(in, row, at, count) < count)
            return;
        pos += count;
    }
}

// Command byte, bit 7 clear: bits 6-3 offset (15: more follow), bits 2-0
// count - 1 (7: more follow), then the literal bytes. Bit 7 set: bits 6-5
// offset (3: more follow), bits 4-0 count - 2 (31: more follow), then one
// byte repeated count times. Offset extension bytes come first.
template <class Reader>
void decode_replacement_delta(Reader& in, std::span<uint8_t> row)
{
    uint64_t pos = 0;
    for (;;) {
        int const c = in.next();
        if (c < 0)
            return;
        bool const repeat = (c & 0x80) != 0;
        uint64_t offset =
            repeat ? static_cast<uint64_t>((c >> 5) & 3) : static_cast<uint64_t>((c >> 3) & 15);
        uint64_t const offset_max = repeat ? 3 : 15;
        uint64_t count = repeat ? static_cast<uint64_t>(c & 31) : static_cast<uint64_t>(c & 7);
        uint64_t const count_max = repeat ? 31 : 7;
        if (offset == offset_max && !extend(in, &offset))
            return;
        if (count == count_max && !extend(in, &count))
            return;
        count += repeat ? 2 : 1;
        pos += offset;
        size_t const at = pos < row.size() ? static_cast<size_t>(pos) : row.size();
        if (repeat) {
            int const b = in.next();
            if (b < 0)
                return;
            fill(row, at, count, static_cast<uint8_t>(b));
        } else if (copy_into(in, row, at, count) < count) {
            return;
        }
        pos += count;
    }
}

template <class Reader>
void decode_with(int method, Reader& in, std::span<uint8_t> row)
{
    switch (method) {
    case RASTER_RUN_LENGTH:
        decode_run_length(in, row);
        break;
    case RASTER_PACKBITS:
        decode_packbits(in, row);
        break;
    case RASTER_DELTA_ROW:
        decode_delta_row(in, row);
        break;
    case RASTER_REPLACEMENT_DELTA:
        decode_replacement_delta(in, row);
        break;
    default:
        decode_unencoded(in, row);
        break;
    }
}

}  // namespace

void decode_row(int method, block_reader& in, std::span<uint8_t> row)
{
    // A block that fits the input buffer is decoded from memory.
    std::span<uint8_t const> const whole = in.buffered();
    if (whole.size() == in.left()) {
        span_reader r(whole);
        decode_with(method, r, row);
        in.consume(whole.size());
        return;
    }
    decode_with(method, in, row);
    in.skip_rest();
}

adaptive_entry decode_adaptive_entry(block_reader& in, std::span<uint8_t> row)
{
    int const m = in.next();
    int const hi = in.next();
    int const lo = in.next();
    if (lo < 0 || m > 5) {
        in.skip_rest();
        return {adaptive_entry::end, 0, 0};
    }
    uint32_t const count = static_cast<uint32_t>(hi) << 8 | static_cast<uint32_t>(lo);
    if (m == 4)
        return {adaptive_entry::empty_rows, 0, count};
    if (m == 5)
        return {adaptive_entry::duplicate_rows, 0, count};
    block_reader part = in.part(count);
    decode_row(m, part, row);
    return {adaptive_entry::row, m, 0};
}
