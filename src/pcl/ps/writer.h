// The PostScript writer. Every byte of the document goes through these
// primitives into one output buffer; ps_out_flush hands the buffer to the
// output stream and is the only place where bytes leave the converter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string_view>

// Internal lengths (1/72000 inch) in PostScript points, multiplied before
// dividing so the result is the same double wherever it is computed.
constexpr double ps_points(int64_t units) { return static_cast<double>(units) * 72.0 / 72000.0; }

// Every number written is finite and at most this large in magnitude, so
// that any PostScript interpreter takes it (a NaN is written as 0). No real
// page comes near: the page model's own coordinates stay below 2.2e6 points.
inline constexpr double kPsNumberLimit = 1e7;

constexpr double ps_bounded(double v)
{
    if (v != v)
        return 0.0;
    return v > kPsNumberLimit ? kPsNumberLimit : v < -kPsNumberLimit ? -kPsNumberLimit : v;
}

// Font sizes are held to the point sizes PCL allows.
inline constexpr double kPsMinPointSize = 0.25;
inline constexpr double kPsMaxPointSize = 999.75;

constexpr double ps_point_size(double v)
{
    if (!(v >= kPsMinPointSize))
        return kPsMinPointSize;
    return v > kPsMaxPointSize ? kPsMaxPointSize : v;
}

// The stream the document goes to: the driver's file or standard output,
// or the interpreter's pipe once it starts; null while there is none.
extern FILE* outfp;
void ps_out_set_stream(FILE* stream);
// The descriptor of the output stream, -1 while there is none (or the
// stream has no descriptor).
int ps_out_fd();

// Whether there is an output stream to write to (the Ghostscript pipe is
// opened only when the document starts).
bool ps_out_ready();

// Writes the buffered output to the output stream and flushes it. A failed
// write is recorded (see ps_out_error) and the output goes on.
void ps_out_flush();

// The errno of the first write that failed, or 0.
int ps_out_error();

// Called as soon as the output fails: with the errno of the first write
// that failed, or with 0 when the output stream could not be opened (the
// opener has said why). The driver ends the run there. Without a handler
// (as in tests) a failed write is only recorded.
using ps_out_error_handler = void (*)(int err);
void ps_out_on_error(ps_out_error_handler handler);

// The output stream could not be opened: the handler is told.
void ps_out_open_failed();

// Start-up state: no stream, no buffered output, no recorded error, no
// handler.
void ps_out_reset();

namespace ps_out_detail {
inline constexpr size_t kCapacity = 64 * 1024;
extern char buf[kCapacity];
extern size_t len;
// The buffer is passed on once it holds more than this: the capacity, or 0
// while traces share standard output with the document, so that both
// appear in the order they were written.
extern size_t limit;
// Passes the buffered bytes on to the stream without flushing it.
void pass_on();
// Writes a literal too long for the buffer.
void put_large(std::string_view text);
}  // namespace ps_out_detail

// Room for n bytes (n <= 32 KiB) at the returned pointer; a primitive
// writes there and passes the end of what it wrote to ps_out_commit.
inline char* ps_out_reserve(size_t n)
{
    if (n > ps_out_detail::kCapacity - ps_out_detail::len)
        ps_out_flush();
    return ps_out_detail::buf + ps_out_detail::len;
}

inline void ps_out_commit(char* end)
{
    ps_out_detail::len = static_cast<size_t>(end - ps_out_detail::buf);
    if (ps_out_detail::len > ps_out_detail::limit)
        ps_out_detail::pass_on();
}

// Literal text, written as it stands.
inline void ps_put(std::string_view text)
{
    if (text.size() > ps_out_detail::kCapacity / 2) {
        ps_out_detail::put_large(text);
        return;
    }
    char* p = ps_out_reserve(text.size());
    std::memcpy(p, text.data(), text.size());
    ps_out_commit(p + text.size());
}

inline void ps_put(char c)
{
    char* p = ps_out_reserve(1);
    *p = c;
    ps_out_commit(p + 1);
}

// A decimal integer ("%d").
void ps_put_int(long long v);

// A number as C's "%g" writes it (six significant digits, no trailing
// zeros), whatever the locale; held to the range of ps_bounded first (so are
// the numbers of every primitive below).
void ps_put_num(double v);

// Numbers separated by blanks.
void ps_put_nums(std::initializer_list<double> values);

// An absolute move of the current point: "x y M".
void ps_put_pos(double x, double y);

// One byte inside a PostScript string: "(", ")" and "\" after a backslash,
// other bytes below 0x7F as themselves, the rest as a backslash and three
// octal digits.
inline void ps_put_str_byte(unsigned code)
{
    unsigned const c = code & 0xffu;
    char* p = ps_out_reserve(4);
    if (c == '(' || c == ')' || c == '\\') {
        *p++ = '\\';
        *p++ = static_cast<char>(c);
    } else if (c < 0x7f) {
        *p++ = static_cast<char>(c);
    } else {
        *p++ = '\\';
        *p++ = static_cast<char>('0' + (c >> 6));
        *p++ = static_cast<char>('0' + ((c >> 3) & 7));
        *p++ = static_cast<char>('0' + (c & 7));
    }
    ps_out_commit(p);
}

// Writes the leading code points of codes[0..n) that are printable ASCII
// standing for themselves inside a string (no escape needed); returns how
// many were written. The fast path of text in the Latin-1 fonts.
size_t ps_put_plain_ascii(uint16_t const* codes, size_t n);

// The closed path of a rectangle with lower-left corner (x, y), width w and
// height h, one operator per line, from "newpath" to "closepath".
void ps_put_rect_path(double x, double y, double w, double h);

// Copies the rest of a file unchanged; returns its last byte, or -1 when
// there was none.
int ps_put_rest_of(FILE* in);
