// The character source of the PCL reader: a look-ahead buffer in front of a
// replaceable raw input function, and the decoding of characters under the
// current text parsing method.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "pcl/environment.h"
#include "run_mode.h"

// The escape character that starts every PCL command.
constexpr int ESC = 27;

using getchar_fn = int (*)();

extern getchar_fn getchar_func;
extern int getc_buf[8];
extern int getc_buf_ofs;
extern int getc_buf_cnt;

int getc_only();
int getc_copy();
int pcl_getc();
int pcl_get_char();
void readhex(int count);

// Opens the input stream over the descriptor `fd`: a buffered stream that
// counts the bytes it delivers and remembers the error of a failed read.
// Closing the stream closes `fd` when `owns_fd` is set. Returns null (errno
// set) when the stream cannot be made.
FILE* input_open_fd(int fd, bool owns_fd);
// Bytes delivered so far by every stream input_open_fd made (the whole
// run's input, however it arrives: file, pipe or terminal).
uint64_t input_bytes_read();
// A budget that grows with the input: `base` plus `per_byte` for every byte
// delivered since the count stood at `start`, saturating at the largest
// value. Work that input can multiply (macro replay, raster repeats) is
// held to such a budget, so it stays proportional to the job's size.
uint64_t input_allowance(uint64_t base, uint64_t per_byte, uint64_t start);
// Says once per run (`reported` remembers it), on standard error with the
// program's and the input's names, that such work went past its budget:
// "PROG: FILE: WHAT more than N bytes; THEN".
void input_allowance_exceeded(bool& reported, char const* what, uint64_t allowance,
                              char const* then);
// The first bytes (up to 8) the current input stream delivered.
std::string_view input_head();
// The errno of the last failed read of a stream input_open_fd made, 0 if
// none failed; input_open_fd clears it.
int input_read_error();

// Reads and drops up to `count` raw bytes (look-ahead first), stopping at
// the end of input.
void pcl_skip(unsigned count);

// Reads up to `count` raw bytes into `dst` (look-ahead first), stopping at
// the end of input; returns how many were read.
size_t pcl_read(unsigned char* dst, size_t count);

// The text parsing methods whose characters are UTF-8 sequences; under any
// other method a byte is one character.
constexpr int UTF8_TEXT_METHOD = 83;
constexpr int UTF8_TEXT_METHOD_ALT = 1008;

inline bool utf8_text_method()
{
    return env.text_method == UTF8_TEXT_METHOD || env.text_method == UTF8_TEXT_METHOD_ALT;
}

// Installs the raw input function (the file reader, or a macro replay).
inline void input_set_reader(getchar_fn reader) { getchar_func = reader; }

// Drops the pending look-ahead bytes.
void input_clear_lookahead();
// Queues `c` (a byte, or -1 for the end of input) as the next raw byte
// after those already queued; at most 8 can be pending.
void input_unread(int c);

// Start-up state: the file reader, no look-ahead, nothing read.
void input_reset();

// True while no look-ahead byte is pending.
inline bool lookahead_empty()
{
    return !(getc_buf_ofs < getc_buf_cnt && static_cast<unsigned>(getc_buf_ofs) < 8u);
}

// True while the next raw byte is simply the next byte of `infp`: no
// look-ahead pending, the plain file reader installed (no macro recorded or
// replayed) and no input trace. Readers may then take bytes from `infp`
// themselves.
inline bool input_is_direct()
{
    return lookahead_empty() && getchar_func == getc_only && debug == 0;
}

// pcl_get_char with its common case inline: a byte straight from `infp`
// is the character itself unless the text method decodes UTF-8.
inline int pcl_next_char()
{
    if (input_is_direct() && !utf8_text_method()) [[likely]]
        return getc_unlocked(infp);
    return pcl_get_char();
}
