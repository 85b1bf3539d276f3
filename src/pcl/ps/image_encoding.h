// Encodings of image data inside the PostScript document: run-length
// encoding as the RunLengthDecode filter reads it, and ASCII85 text lines,
// so binary samples stay 7-bit clean.
#pragma once

#include <cstdint>
#include <span>
#include <string>

// Appends the run-length encoding of `data` to `out`, without the
// end-of-data byte (128).
void run_length_encode(std::span<uint8_t const> data, std::string& out);

// Appends the ASCII85 encoding of `data` to `out` in lines of at most 76
// characters, ending with "~>" and a newline. A line never begins with '%'
// (a blank goes first), so no data line looks like a document comment.
void ascii85_encode(std::span<uint8_t const> data, std::string& out);
