#include "pcl/ps/image_encoding.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr size_t line_length = 76;
constexpr size_t max_run = 128;

}  // namespace

namespace {

// Length of the run of `b` starting at d[i], up to `limit` (8 bytes at a
// time while they all match).
size_t run_end(uint8_t const* d, size_t i, size_t limit, uint8_t b)
{
    uint64_t const pattern = 0x0101010101010101ull * b;
    size_t j = i + 1;
    while (j + 8 <= limit) {
        uint64_t w;
        std::memcpy(&w, d + j, 8);
        if (w != pattern)
            break;
        j += 8;
    }
    while (j < limit && d[j] == b)
        ++j;
    return j;
}

// The two ASCII85 digits of each value below 85 * 85.
constexpr auto digit_pairs = [] {
    std::array<std::array<char, 2>, 85 * 85> t{};
    for (size_t i = 0; i < t.size(); ++i)
        t[i] = {static_cast<char>('!' + i / 85), static_cast<char>('!' + i % 85)};
    return t;
}();

}  // namespace

size_t run_length_encode(std::span<uint8_t const> data, char* const out)
{
    size_t const n = data.size();
    uint8_t const* d = data.data();
    char* o = out;
    size_t i = 0;
    while (i < n) {
        uint8_t const b = d[i];
        size_t const limit = std::min(n, i + max_run);
        size_t const j = run_end(d, i, limit, b);
        if (j - i >= 2) {
            *o++ = static_cast<char>(257 - (j - i));
            *o++ = static_cast<char>(b);
            i = j;
            continue;
        }
        // A literal run, up to the next run of three equal bytes. A run
        // starting at k or k + 1 needs d[k + 1] == d[k + 2]: when they
        // differ, k + 2 is the next place one can start.
        size_t k = i + 1;
        size_t const checked = std::min(limit, n >= 2 ? n - 2 : 0);
        while (k < checked) {
            if (d[k + 1] != d[k + 2]) {
                k += 2;
                continue;
            }
            if (d[k] == d[k + 1])
                break;
            ++k;
        }
        k = std::min(k, std::max(checked, i + 1));
        if (k >= checked)
            k = std::max(k, limit);
        *o++ = static_cast<char>(k - i - 1);
        std::memcpy(o, d + i, k - i);
        o += k - i;
        i = k;
    }
    return static_cast<size_t>(o - out);
}

void run_length_encode(std::span<uint8_t const> data, std::string& out)
{
    size_t const start = out.size();
    out.resize(start + run_length_bound(data.size()));
    out.resize(start + run_length_encode(data, out.data() + start));
}

size_t ascii85_encode(std::span<uint8_t const> data, char* const out)
{
    size_t const n = data.size();
    uint8_t const* d = data.data();
    char* o = out;
    size_t column = 0;
    // Starts a new line when `count` more characters would not fit; a line
    // never begins with '%'.
    auto room = [&](size_t count, char lead) {
        if (column + count > line_length) {
            *o++ = '\n';
            column = 0;
        }
        if (column == 0 && lead == '%') {
            *o++ = ' ';
            column = 1;
        }
    };
    auto group = [&](uint32_t v, size_t bytes) {
        if (v == 0 && bytes == 4) {
            room(1, 'z');
            *o++ = 'z';
            ++column;
            return;
        }
        // Two digits at a time: v = (hi * 85 + c2) * 7225 + lo, where hi
        // and lo are below 7225 and give two digits each from the table.
        char c[5];
        uint32_t const lo = v % 7225;
        uint32_t const mid = v / 7225;
        uint32_t const hi = mid / 85;
        std::memcpy(c, digit_pairs[hi].data(), 2);
        c[2] = static_cast<char>('!' + (mid - hi * 85));
        std::memcpy(c + 3, digit_pairs[lo].data(), 2);
        room(bytes + 1, c[0]);
        std::memcpy(o, c, 5);
        o += bytes + 1;
        column += bytes + 1;
    };
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        uint32_t const v = static_cast<uint32_t>(d[i]) << 24 |
                           static_cast<uint32_t>(d[i + 1]) << 16 |
                           static_cast<uint32_t>(d[i + 2]) << 8 | d[i + 3];
        group(v, 4);
    }
    if (i < n) {
        uint32_t v = 0;
        for (size_t k = 0; k < 4; ++k)
            v = v << 8 | (i + k < n ? d[i + k] : 0u);
        group(v, n - i);
    }
    // The end marker stays on one line.
    room(2, '~');
    std::memcpy(o, "~>\n", 3);
    o += 3;
    return static_cast<size_t>(o - out);
}

void ascii85_encode(std::span<uint8_t const> data, std::string& out)
{
    size_t const start = out.size();
    out.resize(start + ascii85_bound(data.size()));
    out.resize(start + ascii85_encode(data, out.data() + start));
}
