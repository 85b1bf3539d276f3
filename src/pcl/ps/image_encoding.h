// Encodings of image data inside the PostScript document: run-length
// encoding as the RunLengthDecode filter reads it, and ASCII85 text lines,
// so binary samples stay 7-bit clean.
#pragma once

#include <cstdint>
#include <span>
#include <string>

// The most bytes run_length_encode writes for `n` bytes of data.
constexpr size_t run_length_bound(size_t n) { return n + n / 128 + 2; }
// Writes the run-length encoding of `data` to `out` (room for
// run_length_bound bytes), without the end-of-data byte (128); returns its
// length.
size_t run_length_encode(std::span<uint8_t const> data, char* out);
// The same, appended to a string.
void run_length_encode(std::span<uint8_t const> data, std::string& out);

// The most characters ascii85_encode writes for `n` bytes of data.
constexpr size_t ascii85_bound(size_t n)
{
    // Five characters per four bytes; a line of 76 holds at least 72 of
    // them, and each line adds a newline and perhaps a blank.
    size_t const chars = (n / 4 + 1) * 5;
    return chars + 2 * (chars / 71 + 2) + 8;
}
// Writes the ASCII85 encoding of `data` to `out` (room for ascii85_bound
// characters) in lines of at most 76 characters, ending with "~>" and a
// newline; returns its length. A line never begins with '%' (a blank goes
// first), so no data line looks like a document comment.
size_t ascii85_encode(std::span<uint8_t const> data, char* out);
// The same, appended to a string.
void ascii85_encode(std::span<uint8_t const> data, std::string& out);
