#include "pcl/ps/image_encoding.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t line_length = 76;
constexpr size_t max_run = 128;

}  // namespace

void run_length_encode(std::span<uint8_t const> data, std::string& out)
{
    size_t const n = data.size();
    uint8_t const* d = data.data();
    // At most one length byte per 128 data bytes comes on top of the data.
    size_t const start = out.size();
    out.resize(start + n + n / max_run + 2);
    char* o = out.data() + start;
    size_t i = 0;
    while (i < n) {
        uint8_t const b = d[i];
        size_t const limit = std::min(n, i + max_run);
        size_t j = i + 1;
        while (j < limit && d[j] == b)
            ++j;
        if (j - i >= 2) {
            *o++ = static_cast<char>(257 - (j - i));
            *o++ = static_cast<char>(b);
            i = j;
            continue;
        }
        // A literal run, up to the next run of three equal bytes.
        size_t k = i + 1;
        size_t const checked = std::min(limit, n >= 2 ? n - 2 : 0);
        while (k < checked && !(d[k] == d[k + 1] && d[k] == d[k + 2]))
            ++k;
        if (k >= checked)
            k = std::max(k, limit);
        *o++ = static_cast<char>(k - i - 1);
        std::memcpy(o, d + i, k - i);
        o += k - i;
        i = k;
    }
    out.resize(static_cast<size_t>(o - out.data()));
}

void ascii85_encode(std::span<uint8_t const> data, std::string& out)
{
    size_t const n = data.size();
    // Five characters per four bytes, a newline per line, a blank now and
    // then: reserved at once so the loop only stores.
    out.reserve(out.size() + n / 4 * 5 + n / 4 * 5 / line_length * 2 + 16);
    size_t column = 0;
    // Starts a new line when `count` more characters would not fit; a line
    // never begins with '%'.
    auto room = [&](size_t count, char first) {
        if (column + count > line_length) {
            out.push_back('\n');
            column = 0;
        }
        if (column == 0 && first == '%') {
            out.push_back(' ');
            column = 1;
        }
    };
    auto group = [&](uint32_t v, size_t bytes) {
        if (v == 0 && bytes == 4) {
            room(1, 'z');
            out.push_back('z');
            ++column;
            return;
        }
        char c[5];
        for (int k = 4; k >= 0; --k) {
            c[k] = static_cast<char>('!' + v % 85);
            v /= 85;
        }
        room(bytes + 1, c[0]);
        out.append(c, bytes + 1);
        column += bytes + 1;
    };
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        uint32_t const v = static_cast<uint32_t>(data[i]) << 24 | static_cast<uint32_t>(data[i + 1]) << 16 |
                           static_cast<uint32_t>(data[i + 2]) << 8 | data[i + 3];
        group(v, 4);
    }
    if (i < n) {
        uint32_t v = 0;
        for (size_t k = 0; k < 4; ++k)
            v = v << 8 | (i + k < n ? data[i + k] : 0u);
        group(v, n - i);
    }
    // The end marker stays on one line.
    room(2, '~');
    out.append("~>\n");
}
