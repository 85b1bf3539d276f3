#include "pcl/ps/image_encoding.h"

namespace {

constexpr size_t line_length = 76;
constexpr size_t max_run = 128;

}  // namespace

void run_length_encode(std::span<uint8_t const> data, std::string& out)
{
    size_t const n = data.size();
    size_t i = 0;
    while (i < n) {
        uint8_t const b = data[i];
        size_t j = i + 1;
        while (j < n && j - i < max_run && data[j] == b)
            ++j;
        if (j - i >= 2) {
            out.push_back(static_cast<char>(257 - (j - i)));
            out.push_back(static_cast<char>(b));
            i = j;
            continue;
        }
        // A literal run, up to the next run of three equal bytes.
        size_t k = i + 1;
        while (k < n && k - i < max_run &&
               !(k + 2 < n && data[k] == data[k + 1] && data[k] == data[k + 2]))
            ++k;
        out.push_back(static_cast<char>(k - i - 1));
        out.append(reinterpret_cast<char const*>(data.data() + i), k - i);
        i = k;
    }
}

void ascii85_encode(std::span<uint8_t const> data, std::string& out)
{
    size_t column = 0;
    auto put = [&](char const* chars, size_t count) {
        for (size_t i = 0; i < count; ++i) {
            if (column >= line_length) {
                out.push_back('\n');
                column = 0;
            }
            if (column == 0 && chars[i] == '%') {
                out.push_back(' ');
                ++column;
            }
            out.push_back(chars[i]);
            ++column;
        }
    };
    auto group = [&](uint32_t v, size_t bytes) {
        if (v == 0 && bytes == 4) {
            put("z", 1);
            return;
        }
        char c[5];
        for (int k = 4; k >= 0; --k) {
            c[k] = static_cast<char>('!' + v % 85);
            v /= 85;
        }
        put(c, bytes + 1);
    };
    size_t const n = data.size();
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
    if (column + 2 > line_length) {
        out.push_back('\n');
        column = 0;
    }
    put("~>", 2);
    out.push_back('\n');
}
